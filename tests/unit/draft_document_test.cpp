// The draft file, the root record, the replaceable media list, the stacking
// levels and the working copy.
#include <sys/stat.h>
#include <unistd.h>

#include <regex>

#include "draft/draft.h"
#include "draft/json_read.h"
#include "tests/unit/draft_fixture.h"

using namespace drafttest;

namespace {

// The system's separator in a regular expression.
const std::string kSeparatorPattern = platform::kSeparator == '/' ? "/" : "\\\\";

// A regular expression that matches just this text ("." and "\\" escaped).
std::string Literally(const std::string& text) {
  return std::regex_replace(text, std::regex("[.\\\\]"), "\\$&");
}

Document LoadText(const TempFolder& folder, const std::string& text, const char* aux = nullptr,
                  int templateMode = 0) {
  std::string path = folder.Write("draft.json", text);
  return Document(loadDraft(path.c_str(), aux, templateMode));
}

// Loading must fail and leave the folder exactly as it was.
void ExpectLoadFailsQuietly(const TempFolder& folder, const std::string& path) {
  std::set<std::string> before = folder.Listing();
  DraftDocument* document = loadDraft(path.c_str(), nullptr, 0);
  EXPECT_EQ(document, nullptr);
  freeDraft(document);
  EXPECT_EQ(folder.Listing(), before);
}

} // namespace

TEST(DraftLevels, WithoutPipListLevelsRunAcrossKindsWithoutGaps) {
  TempFolder folder;
  Document document = LoadText(folder, R"({
    "mediaInfo": [], "scenes": [{"media": [{"path": "a.mp4"}]}],
    "overlays": [{"media": {"path": "o1.png"}}, {"media": {"path": "o2.png"}}],
    "specialEffects": [{"folderPath": "fx"}],
    "mosaics": [{"type": 0}, {"type": 1}],
    "customFilters": [{"name": "f"}],
    "tonings": [{"tag": 1}],
    "stickers": [{"imageFolderPath": "s1"}, {"imageFolderPath": "s2"}],
    "subtitleExs": [{"wordItem": []}],
    "logoOverlay": {"path": "logo.png"}})");
  ASSERT_NE(document, nullptr);
  std::vector<int> levels;
  for (auto* r = document->overlays; r; r = r->next)
    levels.push_back(r->level);
  for (auto* r = document->specialEffects; r; r = r->next)
    levels.push_back(r->level);
  for (auto* r = document->mosaics; r; r = r->next)
    levels.push_back(r->level);
  for (auto* r = document->customFilters; r; r = r->next)
    levels.push_back(r->level);
  for (auto* r = document->tonings; r; r = r->next)
    levels.push_back(r->level);
  for (auto* r = document->stickers; r; r = r->next)
    levels.push_back(r->level);
  for (auto* r = document->captions; r; r = r->next)
    levels.push_back(r->level);
  ASSERT_NE(document->logo, nullptr);
  levels.push_back(document->logo->level);
  EXPECT_EQ(levels, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  EXPECT_EQ(document->pipCount, 0);
}

TEST(DraftLevels, PipListKeepsTheReadersLevelsAndCountsItsElements) {
  TempFolder folder;
  Document document = LoadText(folder, R"({
    "mediaInfo": [], "scenes": [{"media": [{"path": "a.mp4"}]}],
    "mosaics": [{"type": 0}],
    "pipList": [{"pipType": 3, "wordItem": []}, {"pipType": 0, "media": {"path": "o.png"}},
                {"pipType": 4, "imageFolderPath": "s"}],
    "logoOverlay": {"path": "logo.png"}})");
  ASSERT_NE(document, nullptr);
  EXPECT_EQ(document->pipCount, 3);
  ASSERT_NE(document->captions, nullptr);
  EXPECT_EQ(document->captions->level, 1);
  ASSERT_NE(document->overlays, nullptr);
  EXPECT_EQ(document->overlays->level, 2);
  ASSERT_NE(document->stickers, nullptr);
  EXPECT_EQ(document->stickers->level, 3);
  EXPECT_EQ(document->mosaics->level, 0);
  EXPECT_EQ(document->logo->level, 0);
}

TEST(DraftMediaInfo, EntriesNamingJsonInAnyCaseCountAsNoneAndScenesAreUsed) {
  Json root = Parse(R"({
    "mediaInfo": [{"path": "x/Theme.JSON"}, {"path": "config.json", "timelineTo": 3}],
    "scenes": [{"media": [{"path": "a.mp4", "trimTimeStart": 1.5, "trimTimeEnd": 4,
                           "timelineFrom": 9, "replaceType": 3, "groupId": 2}]},
               {"media": [{"path": "b.png"}]}]})");
  MediaInfoEntry* list = readMediaInfo(root.get(), nullptr);
  ASSERT_EQ(Count(list), 2);
  EXPECT_STREQ(list->path, "a.mp4");
  EXPECT_FLOAT_EQ(list->timelineFrom, 0.0f);
  EXPECT_FLOAT_EQ(list->timelineTo, 2.5f);
  EXPECT_EQ(list->replaceType, 3);
  EXPECT_EQ(list->groupId, 2);
  EXPECT_STREQ(list->next->path, "b.png");
  EXPECT_FLOAT_EQ(list->next->timelineTo, 0.0f);
  DraftDocument* owned = NewRecord<DraftDocument>();
  owned->mediaInfo = list;
  freeDraft(owned);
}

TEST(DraftMediaInfo, EntriesAreReadInOrderAndOneWithoutPathIsKept) {
  Json root = Parse(R"({"MEDIAINFO": [
    {"path": "a.mp4", "timelineFrom": 1.25, "timelineTo": 3.5, "replaceType": 3, "groupId": 7},
    {"timelineTo": 2}, {"path": 5}]})");
  MediaInfoEntry* list = readMediaInfo(root.get(), nullptr);
  ASSERT_EQ(Count(list), 3);
  EXPECT_STREQ(list->path, "a.mp4");
  EXPECT_FLOAT_EQ(list->timelineFrom, 1.25f);
  EXPECT_FLOAT_EQ(list->timelineTo, 3.5f);
  EXPECT_EQ(list->replaceType, 3);
  EXPECT_EQ(list->groupId, 7);
  EXPECT_STREQ(list->next->path, "");
  EXPECT_FLOAT_EQ(list->next->timelineTo, 2.0f);
  EXPECT_STREQ(list->next->next->path, "");
  DraftDocument* owned = NewRecord<DraftDocument>();
  owned->mediaInfo = list;
  freeDraft(owned);
}

TEST(DraftMediaInfo, AnotherKeyCanBeNamed) {
  Json root = Parse(R"({"replaceable": [{"path": "a.png"}]})");
  MediaInfoEntry* list = readMediaInfo(root.get(), "replaceable");
  ASSERT_EQ(Count(list), 1);
  DraftDocument* owned = NewRecord<DraftDocument>();
  owned->mediaInfo = list;
  freeDraft(owned);
  EXPECT_EQ(readMediaInfo(root.get(), nullptr), nullptr);
}

TEST(DraftMediaInfo, ASceneWithoutMediaMakesTheDerivedListFail) {
  Json root = Parse(R"({"mediaInfo": [], "scenes": [{"media": [{"path": "a.mp4"}]}, {"identifier": "x"}]})");
  EXPECT_EQ(readMediaInfo(root.get(), nullptr), nullptr);
}

TEST(DraftDocument, DurationUsesTheIntegerView) {
  TempFolder folder;
  Document document =
      LoadText(folder, R"({"duration": 7.9, "mediaInfo": [], "scenes": [{"media": [{"path": "a"}]}]})");
  ASSERT_NE(document, nullptr);
  EXPECT_FLOAT_EQ(document->duration, 7.0f);
}

TEST(DraftDocument, OutputSizeIsSetOnlyWhenWidthAndHeightAreBothPositive) {
  TempFolder folder;
  std::string half = folder.Write("half.json", R"({"video": {"w": 1920, "h": 0}})");
  Document document = LoadText(folder, kMinimalDraft, half.c_str());
  ASSERT_NE(document, nullptr);
  EXPECT_FLOAT_EQ(document->videoW, 0.0f);
  EXPECT_FLOAT_EQ(document->videoH, 0.0f);

  std::string full = folder.Write("full.json", R"({"video": {"w": 1280.9, "h": 720}, "audio": {}})");
  Document sized = LoadText(folder, kMinimalDraft, full.c_str());
  ASSERT_NE(sized, nullptr);
  EXPECT_FLOAT_EQ(sized->videoW, 1280.0f);
  EXPECT_FLOAT_EQ(sized->videoH, 720.0f);
}

TEST(DraftDocument, MissingOrMalformedAuxiliaryFileIsIgnored) {
  TempFolder folder;
  std::string broken = folder.Write("broken.json", "{\"video\": {\"w\": 1920,");
  Document withBroken = LoadText(folder, kMinimalDraft, broken.c_str());
  ASSERT_NE(withBroken, nullptr);
  EXPECT_FLOAT_EQ(withBroken->videoW, 0.0f);
  Document withMissing = LoadText(folder, kMinimalDraft, folder.Join("nothing.json").c_str());
  ASSERT_NE(withMissing, nullptr);
  Document withEmpty = LoadText(folder, kMinimalDraft, "");
  ASSERT_NE(withEmpty, nullptr);
}

TEST(DraftDocument, RootScalarsAreReadCaseInsensitively) {
  TempFolder folder;
  Document document = LoadText(folder, R"({
    "VER": 3, "Name": "My draft", "description": "d", "creationTime": -5, "cover": "c.png",
    "coverPath": "covers/c.png", "picture_need": 4, "video_need": 2, "text_need": 1, "draft": 1,
    "Size": {"Width": 1080.7, "HEIGHT": 1920}, "isHasEndScene": 1,
    "MediaInfo": [], "Scenes": [{"Media": [{"Path": "a.mp4"}]}]})");
  ASSERT_NE(document, nullptr);
  EXPECT_EQ(document->ver, 3);
  EXPECT_STREQ(document->name, "My draft");
  EXPECT_STREQ(document->description, "d");
  EXPECT_EQ(document->creationTime, -5);
  EXPECT_STREQ(document->cover, "c.png");
  EXPECT_STREQ(document->coverPath, "covers/c.png");
  EXPECT_EQ(document->picture_need, 4);
  EXPECT_EQ(document->video_need, 2);
  EXPECT_EQ(document->text_need, 1);
  EXPECT_EQ(document->draft, 1);
  EXPECT_FLOAT_EQ(document->width, 1080.0f);
  EXPECT_FLOAT_EQ(document->height, 1920.0f);
  EXPECT_EQ(document->isHasEndScene, 1);
  ASSERT_NE(document->scenes, nullptr);
  EXPECT_STREQ(document->scenes->media->path, "a.mp4");
  EXPECT_STREQ(document->mediaInfo->path, "a.mp4");
}

TEST(DraftDocument, KeysOfTheWrongTypeReadAsZero) {
  TempFolder folder;
  Document document = LoadText(folder, R"({
    "ver": "3", "name": 12, "duration": "7", "size": [1, 2], "creationTime": true,
    "mediaInfo": [], "scenes": [{"media": [{"path": ["a"], "volume": "1"}]}]})");
  ASSERT_NE(document, nullptr);
  EXPECT_EQ(document->ver, 0);
  EXPECT_STREQ(document->name, "");
  EXPECT_FLOAT_EQ(document->duration, 0.0f);
  EXPECT_FLOAT_EQ(document->width, 0.0f);
  EXPECT_EQ(document->creationTime, 1);
  EXPECT_STREQ(document->scenes->media->path, "");
  EXPECT_FLOAT_EQ(document->scenes->media->volume, 0.0f);
}

TEST(DraftDocument, TrailingBytesAfterTheRootAreAccepted) {
  TempFolder folder;
  Document document = LoadText(folder, std::string(kMinimalDraft) + "\n}garbage");
  EXPECT_NE(document, nullptr);
}

TEST(DraftDocument, OverLongTextsAreTruncatedToTheirBuffers) {
  TempFolder folder;
  std::string longName(5000, 'n');
  Document document = LoadText(folder, R"({"name": ")" + longName +
                                           R"(", "mediaInfo": [], "scenes": [{"media": [{"path": "a"}]}]})");
  ASSERT_NE(document, nullptr);
  EXPECT_EQ(std::string(document->name), std::string(1023, 'n'));
}

TEST(DraftDocument, DraftPathTakesTheNativeSeparatorAndTheCopyLowerCasesOnlyTheFileName) {
  TempFolder folder;
  folder.Write("A/Draft.JSON", kMinimalDraft);
#if defined(_WIN32)
  // Windows opens a drive path itself: the folder stands in for the drive.
  const std::string drive = folder.path();
#else
  ASSERT_EQ(setenv("ORMADRAFT_DRIVE_MAP", ("C:=" + folder.path()).c_str(), 1), 0);
  const std::string drive = "C:";
#endif

  // Template mode keeps the path as the loader stored it.
  DraftDocument* inPlace = loadDraft((drive + "\\A\\Draft.JSON").c_str(), nullptr, 1);
  ASSERT_NE(inPlace, nullptr);
  EXPECT_STREQ(inPlace->draftPath, Native(drive + "/A/Draft.JSON").c_str());
  freeDraft(inPlace);

  DraftDocument* copied = loadDraft((drive + "/A/Draft.JSON").c_str(), nullptr, 0);
#if !defined(_WIN32)
  unsetenv("ORMADRAFT_DRIVE_MAP");
#endif
  ASSERT_NE(copied, nullptr);
  std::string copy = copied->draftPath;
  freeDraft(copied);
  std::smatch match;
  ASSERT_TRUE(std::regex_match(copy, match,
                               std::regex(Literally(Native(drive)) + kSeparatorPattern + "A" +
                                          kSeparatorPattern + "draft_([0-9]+)\\.json")))
      << copy;
  EXPECT_TRUE(std::filesystem::is_regular_file(folder.Join("A/draft_" + match[1].str() + ".json")));
}

TEST(DraftDocument, WorkingCopyIsWrittenBesideTheDraftAndBecomesTheDraftPath) {
  TempFolder folder;
  const std::string original = R"({"name":"x","mediaInfo":[],"scenes":[{"media":[{"path":"a.mp4"}]}]})";
  std::string path = folder.Write("Sub.Folder/My.Project.json.bak.JSON", original);
  Document document(loadDraft(path.c_str(), nullptr, 0));
  ASSERT_NE(document, nullptr);
  std::string copy = document->draftPath;
  std::smatch match;
  // The loader stores the draft's path with the system's separators.
  ASSERT_TRUE(std::regex_match(copy, match,
                               std::regex(Literally(Native(folder.path())) + kSeparatorPattern +
                                          "Sub\\.Folder" + kSeparatorPattern + "my\\.project_[0-9]+\\.json")))
      << copy;
  EXPECT_EQ(ReadFile(path), original);
  std::string written = ReadFile(copy);
  ASSERT_FALSE(written.empty());
  EXPECT_NE(written.back(), '\0');
  EXPECT_NE(written.find("\n\t"), std::string::npos) << "formatted output expected";
  Json before = Parse(original);
  Json after = Parse(written);
  EXPECT_TRUE(cJSON_Compare(before.get(), after.get(), 1));
  EXPECT_EQ(folder.Listing().size(), 3u);
}

TEST(DraftDocument, TemplateModeOverwritesTheDraftInPlace) {
  TempFolder folder;
  const std::string original = R"({"name":"t","mediaInfo":[],"scenes":[{"media":[{"path":"a.mp4"}]}]})";
  std::string path = folder.Write("Theme.json", original);
  std::set<std::string> before = folder.Listing();
  Document document(loadDraft(path.c_str(), nullptr, 1));
  ASSERT_NE(document, nullptr);
  EXPECT_EQ(std::string(document->draftPath), Native(path));
  EXPECT_EQ(folder.Listing(), before);
  std::string written = ReadFile(path);
  EXPECT_NE(written, original);
  EXPECT_NE(written.find("\n\t"), std::string::npos);
  Json a = Parse(original);
  Json b = Parse(written);
  EXPECT_TRUE(cJSON_Compare(a.get(), b.get(), 1));
}

TEST(DraftDocument, FileNameWithNothingBeforeJsonFailsToLoad) {
  TempFolder folder;
  std::string path = folder.Write(".json", kMinimalDraft);
  ExpectLoadFailsQuietly(folder, path);
}

TEST(DraftDocument, FileNameWithoutJsonKeepsItsWholeName) {
  TempFolder folder;
  std::string path = folder.Write("Draft.TXT", kMinimalDraft);
  Document document(loadDraft(path.c_str(), nullptr, 0));
  ASSERT_NE(document, nullptr);
  EXPECT_TRUE(std::regex_match(std::string(document->draftPath),
                               std::regex(".*" + kSeparatorPattern + "draft\\.txt_[0-9]+\\.json")))
      << document->draftPath;
}

TEST(DraftDocument, UnwritableWorkingCopyFailsToLoad) {
  if (geteuid() == 0) GTEST_SKIP() << "root writes into read-only folders";
  TempFolder folder;
  std::string path = folder.Write("ro/draft.json", kMinimalDraft);
  chmod(folder.Join("ro").c_str(), 0555);
  EXPECT_EQ(loadDraft(path.c_str(), nullptr, 0), nullptr);
  chmod(folder.Join("ro").c_str(), 0755);
}

TEST(DraftDocument, FreeDraftIgnoresNull) { freeDraft(nullptr); }

TEST(DraftBadInput, MissingFileFailsToLoad) {
  TempFolder folder;
  ExpectLoadFailsQuietly(folder, folder.Join("absent.json"));
  EXPECT_EQ(loadDraft(nullptr, nullptr, 0), nullptr);
}

TEST(DraftBadInput, FolderInsteadOfFileFailsToLoad) {
  TempFolder folder;
  folder.Write("dir.json/inner.txt", "x");
  ExpectLoadFailsQuietly(folder, folder.Join("dir.json"));
}

TEST(DraftBadInput, UnreadableFileFailsToLoad) {
  if (geteuid() == 0) GTEST_SKIP() << "root reads files without permission bits";
  TempFolder folder;
  std::string path = folder.Write("draft.json", kMinimalDraft);
  chmod(path.c_str(), 0);
  ExpectLoadFailsQuietly(folder, path);
}

TEST(DraftBadInput, EmptyFileFailsToLoad) {
  TempFolder folder;
  ExpectLoadFailsQuietly(folder, folder.Write("draft.json", ""));
}

TEST(DraftBadInput, BinaryBytesFailToLoad) {
  TempFolder folder;
  std::string bytes;
  for (int i = 0; i < 512; ++i)
    bytes.push_back(static_cast<char>((i * 37 + 11) & 0xFF));
  bytes[0] = '\x89';
  ExpectLoadFailsQuietly(folder, folder.Write("draft.json", bytes));
  ExpectLoadFailsQuietly(folder, folder.Write("zero.json", std::string("\0{\"scenes\":[]}", 14)));
}

TEST(DraftBadInput, MalformedJsonFailsToLoad) {
  TempFolder folder;
  ExpectLoadFailsQuietly(folder, folder.Write("draft.json", R"({"mediaInfo": [], "scenes": [{"media": [)"));
  ExpectLoadFailsQuietly(folder, folder.Write("draft2.json", "{'scenes': 1}"));
}

TEST(DraftBadInput, DraftWithoutScenesFailsToLoad) {
  TempFolder folder;
  ExpectLoadFailsQuietly(folder, folder.Write("draft.json", R"({"mediaInfo": [{"path": "a.mp4"}]})"));
  ExpectLoadFailsQuietly(folder,
                         folder.Write("empty.json", R"({"mediaInfo": [{"path": "a.mp4"}], "scenes": []})"));
}

TEST(DraftBadInput, ScenesWithoutMediaAndWithoutMediaInfoFailToLoad) {
  TempFolder folder;
  ExpectLoadFailsQuietly(folder, folder.Write("draft.json", R"({"scenes": [{"media": [{"path": "a"}]}]})"));
  ExpectLoadFailsQuietly(folder,
                         folder.Write("d2.json", R"({"mediaInfo": [], "scenes": [{"identifier": "s"}]})"));
  ExpectLoadFailsQuietly(folder, folder.Write("d3.json", R"({"mediaInfo": [], "scenes": [{"media": []}]})"));
}

TEST(DraftBadInput, RootThatIsNotAnObjectFailsToLoad) {
  TempFolder folder;
  ExpectLoadFailsQuietly(folder, folder.Write("draft.json", "[1, 2, 3]"));
  ExpectLoadFailsQuietly(folder, folder.Write("d2.json", "\"scenes\""));
  ExpectLoadFailsQuietly(folder, folder.Write("d3.json", "null"));
}

TEST(DraftBadInput, OverLongPathFailsToLoad) {
  TempFolder folder;
  folder.Write("draft.json", kMinimalDraft);
  std::string path = folder.path();
  while (path.size() <= 4200)
    path += "/.";
  path += "/draft.json";
  ExpectLoadFailsQuietly(folder, path);
  // Longer than the record's path buffer but short enough to open.
  std::string medium = folder.path();
  while (medium.size() <= 1100)
    medium += "/.";
  medium += "/draft.json";
  ExpectLoadFailsQuietly(folder, medium);
}

TEST(DraftCorpus, EveryFuzzingSeedLoads) {
  TempFolder folder;
  int seeds = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::string(ORMA_SOURCE_DIR) + "/tests/fuzz/corpus")) {
    std::string path = folder.Write(entry.path().filename().string(), ReadFile(entry.path().string()));
    testing::internal::CaptureStdout();
    DraftDocument* document = loadDraft(path.c_str(), path.c_str(), 0);
    testing::internal::GetCapturedStdout();
    EXPECT_NE(document, nullptr) << entry.path();
    freeDraft(document);
    ++seeds;
  }
  EXPECT_GE(seeds, 8);
}
