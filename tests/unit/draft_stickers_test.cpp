// Stickers: reading, separation of shared frame folders, and the folder copy.
#include <filesystem>

#include "draft/draft.h"
#include "draft/record_lists.h"
#include "platform/platform.h"
#include "tests/unit/draft_fixture.h"

using namespace drafttest;
namespace fs = std::filesystem;

namespace {

struct Stickers {
  StickerRecord* head = nullptr;
  ~Stickers() { FreeStickers(head); }
};

// A document whose draft lies in the folder, for the readers' path rules.
Document DocumentIn(const TempFolder& folder) {
  Document document(NewRecord<DraftDocument>());
  std::snprintf(document->draftPath, sizeof(document->draftPath), "%s", folder.Join("draft.json").c_str());
  return document;
}

void MakeFrames(const TempFolder& folder, const std::string& name) {
  folder.Write(name + "/frame_000.png", "png0");
  folder.Write(name + "/frame_001.png", "png1");
  folder.Write(name + "/sub/config.json", "{}");
}

std::vector<std::string> FolderNames(const cJSON* array) {
  std::vector<std::string> names;
  for (const cJSON* e = array ? array->child : nullptr; e; e = e->next) {
    const cJSON* name = cJSON_GetObjectItem(e, "imageFolderPath");
    names.push_back(cJSON_IsString(name) ? name->valuestring : "-");
  }
  return names;
}

} // namespace

TEST(DraftStickers, EveryKeyIsRead) {
  Json root = Parse(R"({"stickers": [{
      "timelineFrom": 1, "timelineTo": 2.5, "opacity": 0.8, "scale": 1.5, "blendType": 3.7, "angle": -20,
      "isHorizontalMirror": 1, "isEnableTracking": true, "isVerticalMirror": 2,
      "imageFolderPath": "stickers/heart", "networkCategoryId": "", "networkResourceId": "res-1",
      "sizeF": {"width": 0.3, "height": 0.2}, "centerF": {"x": 0.5, "y": 0.4},
      "customAnimations": [{"type": 1.9, "folderPath": "anim/%d"}]}, {}]})");
  Stickers stickers{readStickers(nullptr, root.get())};
  ASSERT_EQ(Count(stickers.head), 2);
  const StickerRecord& s = *stickers.head;
  EXPECT_EQ(s.level, 1);
  EXPECT_FLOAT_EQ(s.timelineFrom, 1.0f);
  EXPECT_FLOAT_EQ(s.timelineTo, 2.5f);
  EXPECT_FLOAT_EQ(s.opacity, 0.8f);
  EXPECT_FLOAT_EQ(s.scale, 1.5f);
  EXPECT_EQ(s.blendType, 3);
  EXPECT_FLOAT_EQ(s.angle, -20.0f);
  EXPECT_EQ(s.isHorizontalMirror, 1);
  EXPECT_EQ(s.isEnableTracking, 1);
  EXPECT_EQ(s.isVerticalMirror, 2);
  EXPECT_STREQ(s.imageFolderPath, "stickers/heart");
  EXPECT_STREQ(s.networkCategoryId, "");
  EXPECT_STREQ(s.networkResourceId, "res-1");
  EXPECT_FLOAT_EQ(s.size.width, 0.3f);
  EXPECT_FLOAT_EQ(s.size.height, 0.2f);
  EXPECT_FLOAT_EQ(s.center.x, 0.5f);
  EXPECT_FLOAT_EQ(s.center.y, 0.4f);
  ASSERT_EQ(Count(s.customAnimations), 1);
  EXPECT_EQ(s.customAnimations->type, 1);
  EXPECT_STREQ(s.customAnimations->folderPath, "anim/%d");
  const StickerRecord& empty = *s.next;
  EXPECT_EQ(empty.level, 2);
  EXPECT_FLOAT_EQ(empty.opacity, 0.0f);
  EXPECT_FLOAT_EQ(empty.scale, 0.0f);
}

TEST(DraftStickers, PipListStickersKeepTheirPositionAndUntypedElementsAreSkipped) {
  Json root = Parse(R"({"stickers": [], "pipList": [
      {"pipType": 3}, {"imageFolderPath": "untyped"}, {"pipType": 4, "imageFolderPath": "s1"},
      {"pipType": "4"}, {"pipType": 4.7, "imageFolderPath": "s2"}]})");
  Stickers stickers{readStickers(nullptr, root.get())};
  ASSERT_EQ(Count(stickers.head), 2);
  EXPECT_EQ(stickers.head->level, 3);
  EXPECT_STREQ(stickers.head->imageFolderPath, "s1");
  EXPECT_EQ(stickers.head->next->level, 5);
}

TEST(DraftStickers, NoSourceGivesNone) {
  Json root = Parse(R"({"stickers": []})");
  EXPECT_EQ(readStickers(nullptr, root.get()), nullptr);
  EXPECT_EQ(readStickers(nullptr, nullptr), nullptr);
}

TEST(DraftStickers, SharedFolderIsSeparatedIntoCopiesWithTheRenamingRule) {
  TempFolder folder;
  MakeFrames(folder, "a/s");
  std::string path =
      folder.Write("draft.json", R"({"mediaInfo": [], "scenes": [{"media": [{"path": "v.mp4"}]}],
      "stickers": [{"imageFolderPath": "a\\s", "opacity": 1}, {"imageFolderPath": "a\\s"},
                   {"imageFolderPath": "a\\s"}]})");
  Document document(loadDraft(path.c_str(), nullptr, 0));
  ASSERT_NE(document, nullptr);
  std::vector<std::string> names;
  for (StickerRecord* s = document->stickers; s; s = s->next)
    names.push_back(s->imageFolderPath);
  EXPECT_EQ(names, (std::vector<std::string>{"a\\t11", "a\\t0", "a\\s"}));
  for (const char* copy : {"a/t0", "a/t11"}) {
    EXPECT_EQ(ReadFile(folder.Join(std::string(copy) + "/frame_000.png")), "png0") << copy;
    EXPECT_EQ(ReadFile(folder.Join(std::string(copy) + "/frame_001.png")), "png1") << copy;
    EXPECT_TRUE(fs::is_regular_file(folder.Join(std::string(copy) + "/sub/config.json"))) << copy;
  }
  EXPECT_TRUE(fs::is_directory(folder.Join("a/s")));
  Json copy = Parse(ReadFile(document->draftPath));
  const cJSON* array = cJSON_GetObjectItem(copy.get(), "stickers");
  EXPECT_EQ(FolderNames(array), (std::vector<std::string>{"a\\t11", "a\\t0", "a\\s"}));
  // A renamed member moves to the end of its object.
  EXPECT_STREQ(array->child->child->string, "opacity");
  EXPECT_STREQ(array->child->child->next->string, "imageFolderPath");
}

TEST(DraftStickers, UniqueFolderIsLeftUntouchedAndNothingIsCopied) {
  TempFolder folder;
  MakeFrames(folder, "one");
  MakeFrames(folder, "two");
  Document document = DocumentIn(folder);
  std::set<std::string> before = folder.Listing();
  Json root = Parse(R"({"stickers": [{"imageFolderPath": "one"}, {"imageFolderPath": "two"}]})");
  char* printed = cJSON_PrintUnformatted(root.get());
  std::string printedBefore(printed);
  cJSON_free(printed);
  Stickers stickers{readStickers(document.get(), root.get())};
  ASSERT_EQ(Count(stickers.head), 2);
  EXPECT_STREQ(stickers.head->imageFolderPath, "one");
  EXPECT_STREQ(stickers.head->next->imageFolderPath, "two");
  EXPECT_EQ(folder.Listing(), before);
  char* printedAfter = cJSON_PrintUnformatted(root.get());
  EXPECT_EQ(printedBefore, printedAfter);
  cJSON_free(printedAfter);
}

TEST(DraftStickers, EmptyDraftPathSkipsTheSeparation) {
  TempFolder folder;
  MakeFrames(folder, "s");
  Document document(NewRecord<DraftDocument>());
  Json root = Parse(R"({"stickers": [{"imageFolderPath": "s"}, {"imageFolderPath": "s"}]})");
  std::set<std::string> before = folder.Listing();
  Stickers stickers{readStickers(document.get(), root.get())};
  EXPECT_STREQ(stickers.head->imageFolderPath, "s");
  EXPECT_STREQ(stickers.head->next->imageFolderPath, "s");
  EXPECT_EQ(FolderNames(cJSON_GetObjectItem(root.get(), "stickers")), (std::vector<std::string>{"s", "s"}));
  EXPECT_EQ(folder.Listing(), before);
  EXPECT_FALSE(fs::exists("t0"));
}

TEST(DraftStickers, PipListElementIsRenamedInPlace) {
  TempFolder folder;
  MakeFrames(folder, "f");
  Document document = DocumentIn(folder);
  Json root =
      Parse(R"({"pipList": [{"pipType": 3, "imageFolderPath": "f"}, {"pipType": 4, "imageFolderPath": "f"},
                                    {"pipType": 4, "imageFolderPath": "f"}]})");
  Stickers stickers{readStickers(document.get(), root.get())};
  ASSERT_EQ(Count(stickers.head), 2);
  EXPECT_STREQ(stickers.head->imageFolderPath, "g0");
  EXPECT_STREQ(stickers.head->next->imageFolderPath, "f");
  EXPECT_EQ(FolderNames(cJSON_GetObjectItem(root.get(), "pipList")),
            (std::vector<std::string>{"f", "g0", "f"}));
  EXPECT_TRUE(fs::is_regular_file(folder.Join("g0/frame_000.png")));
}

TEST(DraftStickers, AbsoluteFolderInsideTheDraftFolderIsSeparated) {
  TempFolder folder;
  MakeFrames(folder, "abs");
  Document document = DocumentIn(folder);
  std::string absolute = folder.Join("abs");
  Json root = Parse(R"({"stickers": [{"imageFolderPath": ")" + absolute + R"("}, {"imageFolderPath": ")" +
                    absolute + R"("}]})");
  Stickers stickers{readStickers(document.get(), root.get())};
  EXPECT_EQ(std::string(stickers.head->imageFolderPath), folder.Join("abt0"));
  EXPECT_TRUE(fs::is_regular_file(folder.Join("abt0/frame_001.png")));
}

TEST(DraftStickers, FolderOutsideTheDraftFolderIsNeitherCopiedNorRenamed) {
  TempFolder outer;
  MakeFrames(outer, "shared");
  outer.Write("drafts/placeholder.txt", "");
  Document document(NewRecord<DraftDocument>());
  std::snprintf(document->draftPath, sizeof(document->draftPath), "%s", outer.Join("drafts/d.json").c_str());
  std::set<std::string> before = outer.Listing();
  for (std::string name : {std::string("../shared"), std::string("..\\\\shared"), outer.Join("shared")}) {
    Json root = Parse(R"({"stickers": [{"imageFolderPath": ")" + name + R"("}, {"imageFolderPath": ")" +
                      name + R"("}]})");
    testing::internal::CaptureStdout();
    Stickers stickers{readStickers(document.get(), root.get())};
    std::string out = testing::internal::GetCapturedStdout();
    std::string stored = stickers.head->imageFolderPath;
    EXPECT_EQ(stored, std::string(stickers.head->next->imageFolderPath));
    EXPECT_NE(out.find("sticker folder not separated"), std::string::npos) << out;
    EXPECT_NE(out.find(stored), std::string::npos) << out;
    EXPECT_EQ(FolderNames(cJSON_GetObjectItem(root.get(), "stickers")),
              (std::vector<std::string>{stored, stored}));
  }
  EXPECT_EQ(outer.Listing(), before);
}

TEST(DraftStickers, MissingOrLinkedFolderIsNotCopied) {
  TempFolder folder;
  TempFolder elsewhere;
  MakeFrames(elsewhere, "real");
  fs::create_directory_symlink(elsewhere.Join("real"), folder.Join("link"));
  folder.Write("plain.txt", "not a folder");
  Document document = DocumentIn(folder);
  std::set<std::string> before = folder.Listing();
  Json root = Parse(R"({"stickers": [{"imageFolderPath": "missing"}, {"imageFolderPath": "missing"},
                                     {"imageFolderPath": "link"}, {"imageFolderPath": "link"},
                                     {"imageFolderPath": "plain.txt"}, {"imageFolderPath": "plain.txt"}]})");
  testing::internal::CaptureStdout();
  Stickers stickers{readStickers(document.get(), root.get())};
  testing::internal::GetCapturedStdout();
  std::vector<std::string> names;
  for (StickerRecord* s = stickers.head; s; s = s->next)
    names.push_back(s->imageFolderPath);
  EXPECT_EQ(names,
            (std::vector<std::string>{"missing", "missing", "link", "link", "plain.txt", "plain.txt"}));
  EXPECT_EQ(folder.Listing(), before);
}

TEST(DraftStickers, FolderNameThatWouldNestInItselfIsNotCopied) {
  TempFolder folder;
  MakeFrames(folder, "x");
  Document document = DocumentIn(folder);
  // "x/." becomes "x//0" (the "." turns into "/"): a folder inside its source.
  Json root = Parse(R"({"stickers": [{"imageFolderPath": "x/."}, {"imageFolderPath": "x/."}]})");
  std::set<std::string> before = folder.Listing();
  testing::internal::CaptureStdout();
  Stickers stickers{readStickers(document.get(), root.get())};
  testing::internal::GetCapturedStdout();
  EXPECT_STREQ(stickers.head->imageFolderPath, "x/.");
  EXPECT_EQ(folder.Listing(), before);
}

TEST(DraftStickers, StickersWithoutFolderAreNotSeparated) {
  TempFolder folder;
  Document document = DocumentIn(folder);
  Json root = Parse(R"({"stickers": [{"imageFolderPath": ""}, {}, {"imageFolderPath": 3}]})");
  std::set<std::string> before = folder.Listing();
  Stickers stickers{readStickers(document.get(), root.get())};
  ASSERT_EQ(Count(stickers.head), 3);
  for (StickerRecord* s = stickers.head; s; s = s->next)
    EXPECT_STREQ(s->imageFolderPath, "");
  EXPECT_EQ(folder.Listing(), before);
}

TEST(DraftFolderCopy, CopiesFilesAndSubfolders) {
  TempFolder folder;
  MakeFrames(folder, "src");
  folder.Write("src/deep/er/file.bin", std::string("\0\1\2", 3));
  CopyFolderTree(folder.Join("src").c_str(), folder.Join("dst").c_str());
  EXPECT_EQ(ReadFile(folder.Join("dst/frame_000.png")), "png0");
  EXPECT_EQ(ReadFile(folder.Join("dst/deep/er/file.bin")), std::string("\0\1\2", 3));
  EXPECT_TRUE(fs::is_regular_file(folder.Join("dst/sub/config.json")));
}

TEST(DraftFolderCopy, OverwritesFilesThatAlreadyExist) {
  TempFolder folder;
  MakeFrames(folder, "src");
  folder.Write("dst/frame_000.png", "old");
  folder.Write("dst/keep.txt", "kept");
  CopyFolderTree(folder.Join("src").c_str(), folder.Join("dst").c_str());
  EXPECT_EQ(ReadFile(folder.Join("dst/frame_000.png")), "png0");
  EXPECT_EQ(ReadFile(folder.Join("dst/keep.txt")), "kept");
}

// Folder names come in the program's UTF-8 whatever the system's code page.
TEST(DraftFolderCopy, CopiesAFolderNamedInChinese) {
  TempFolder folder;
  ASSERT_FALSE(folder.WriteUtf8("贴纸/frame_000.png", "png0").empty());
  CopyFolderTree(folder.Join("贴纸").c_str(), folder.Join("副本").c_str());
  std::string copied;
  EXPECT_TRUE(platform::ReadWholeFile(folder.Join("副本/frame_000.png").c_str(), &copied));
  EXPECT_EQ(copied, "png0");
}

TEST(DraftFolderCopy, LinksAreReportedAndNeverFollowed) {
  TempFolder folder;
  TempFolder elsewhere;
  elsewhere.Write("secret/data.txt", "secret");
  MakeFrames(folder, "src");
  fs::create_directory_symlink(elsewhere.Join("secret"), folder.Join("src/linked"));
  fs::create_symlink(elsewhere.Join("secret/data.txt"), folder.Join("src/file_link"));
  testing::internal::CaptureStderr();
  CopyFolderTree(folder.Join("src").c_str(), folder.Join("dst").c_str());
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_NE(err.find("Unhandled path type: " + folder.Join("src/linked") + "\n"), std::string::npos) << err;
  EXPECT_NE(err.find("Unhandled path type: " + folder.Join("src/file_link") + "\n"), std::string::npos)
      << err;
  EXPECT_FALSE(fs::exists(folder.Join("dst/linked")));
  EXPECT_FALSE(fs::exists(folder.Join("dst/file_link")));
  EXPECT_EQ(ReadFile(folder.Join("dst/frame_001.png")), "png1");
}

TEST(DraftFolderCopy, ErrorsAreReportedAndNotThrown) {
  TempFolder folder;
  MakeFrames(folder, "src");
  testing::internal::CaptureStderr();
  CopyFolderTree(folder.Join("src").c_str(), folder.Join("no/such/parent").c_str());
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(err.rfind("Error occurred: ", 0), 0u) << err;
  EXPECT_NE(err.find("create_directory"), std::string::npos) << err;
  EXPECT_FALSE(fs::exists(folder.Join("no")));

  testing::internal::CaptureStderr();
  CopyFolderTree(folder.Join("absent").c_str(), folder.Join("dst").c_str());
  err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(err.rfind("Error occurred: ", 0), 0u) << err;
}
