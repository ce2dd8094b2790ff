// Theme requests: how the request is read, how its theme is found in the
// library, where the video and the new draft go, and how the caller's media
// are laid end to end.
#include <filesystem>

#include "draft/draft.h"
#include "platform/platform.h"
#include "tests/unit/theme_fixture.h"

using namespace themetest;
using drafttest::Native;

namespace {

class ThemeRequestTest : public ThemeTest {
protected:
  // A one-placeholder theme at lib/FOLDER.
  void OneSlotTheme(const std::string& folder) {
    WriteTheme(folder, Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3)}));
  }
  int Read(const std::string& requestJson) {
    std::string path = folder_.Write("req/r.json", requestJson);
    record_.reset(static_cast<ThemeRequest*>(std::calloc(1, sizeof(ThemeRequest))));
    testing::internal::CaptureStdout();
    int result = ReadThemeRequest(record_.get(), path.c_str());
    printed_ = testing::internal::GetCapturedStdout();
    return result;
  }
  static std::string RequestJson(const std::string& id, const std::string& output = "out/v.mp4",
                                 const std::string& type = "TemplateThemes") {
    return R"({"ver": 1, "type": ")" + type + R"(", "id": ")" + id + R"(", "outputPath": ")" + output +
           R"("})";
  }
  themetest::Request record_;
};

TEST_F(ThemeRequestTest, ATwoPartIdFindsTheGroupAndThemeBySecondNamePart) {
  OneSlotTheme("group_travel/t01_summer");
  ASSERT_EQ(Read(RequestJson("travel-summer")), 1);
  EXPECT_STREQ(record_->idGroup, "travel");
  EXPECT_STREQ(record_->idItem, "summer");
  EXPECT_EQ(std::string(record_->themeConfigPath),
            folder_.Join("lib") + Native("//group_travel/t01_summer/config.json"));
}

TEST_F(ThemeRequestTest, AnIdOfThreePartsNamesOneFolder) {
  OneSlotTheme("sea-sun-sky");
  ASSERT_EQ(Read(RequestJson("sea-sun-sky")), 1);
  EXPECT_EQ(std::string(record_->themeConfigPath), folder_.Join("lib") + Native("//sea-sun-sky/config.json"));
  EXPECT_STREQ(record_->idGroup, "");
}

TEST_F(ThemeRequestTest, AnIdWithoutDashNamesOneFolder) {
  OneSlotTheme("Slideshow");
  EXPECT_EQ(Read(RequestJson("Slideshow")), 1);
  EXPECT_EQ(Read(RequestJson("slideshow")), 0); // names compare exactly
}

TEST_F(ThemeRequestTest, AThemeFolderNamedInChineseIsFoundByItsName) {
  const std::string theme = "旅行相册";
  ASSERT_NE(folder_.WriteUtf8("lib/" + theme + "/config.json",
                              Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3)})),
            "");
  ASSERT_EQ(Read(RequestJson(theme)), 1) << printed_;
  const std::string config = record_->themeConfigPath;
  EXPECT_NE(config.find(theme), std::string::npos) << config;
  EXPECT_TRUE(platform::IsRegularFile(config.c_str())) << config;
}

TEST_F(ThemeRequestTest, AnEmptyIdFails) {
  OneSlotTheme("Slideshow");
  EXPECT_EQ(Read(RequestJson("")), 0);
}

TEST_F(ThemeRequestTest, FolderNamesOfFiveCharactersOrFewerAreNeverFound) {
  OneSlotTheme("group_travel/1_sun");
  EXPECT_EQ(Read(RequestJson("travel-sun")), 0);
  OneSlotTheme("abcde");
  EXPECT_EQ(Read(RequestJson("abcde")), 0);
}

TEST_F(ThemeRequestTest, AGroupFolderWithMorePartsIsSearchedUnderItsFirstTwo) {
  OneSlotTheme("group_travel_more/t01_summer");
  EXPECT_EQ(Read(RequestJson("travel-summer")), 0);
}

TEST_F(ThemeRequestTest, ATypeThatDiffersOnlyInCaseIsRefused) {
  OneSlotTheme("Slideshow");
  EXPECT_EQ(Read(RequestJson("Slideshow", "out/v.mp4", "templateThemes")), 0);
  EXPECT_EQ(Read(RequestJson("Slideshow", "out/v.mp4", "TemplateThemes")), 1);
}

TEST_F(ThemeRequestTest, MissingVersionOutputOrIdIsRefused) {
  OneSlotTheme("Slideshow");
  EXPECT_EQ(Read(R"({"type": "TemplateThemes", "id": "Slideshow", "outputPath": "v.mp4"})"), 0);
  EXPECT_EQ(Read(R"({"ver": 1, "type": "TemplateThemes", "id": "Slideshow"})"), 0);
  EXPECT_EQ(Read(R"({"ver": 1, "type": "TemplateThemes", "outputPath": "v.mp4"})"), 0);
  EXPECT_EQ(Read(R"({"ver": 1, "id": "Slideshow", "outputPath": "v.mp4"})"), 0);
  EXPECT_EQ(Read(R"({"ver": 1, "type": "TemplateThemes", "id": 7, "outputPath": "v.mp4"})"), 0);
  EXPECT_EQ(Read("not json"), 0);
}

TEST_F(ThemeRequestTest, ARelativeOutputPathJoinsTheRequestFolderWithoutSlashChanges) {
  OneSlotTheme("Slideshow");
  ASSERT_EQ(Read(RequestJson("Slideshow", "out/v.mp4")), 1);
  EXPECT_EQ(std::string(record_->outputPath), folder_.Join("req") + Native("/") + "out/v.mp4");
  EXPECT_NE(printed_.find("Directory created: " + folder_.Join("req") + Native("/") + "out\n"),
            std::string::npos)
      << printed_;
  EXPECT_TRUE(std::filesystem::is_directory(folder_.Join("req/out")));
  ASSERT_EQ(Read(RequestJson("Slideshow", "sub\\\\v.mp4")), 1);
  EXPECT_EQ(std::string(record_->outputPath), folder_.Join("req") + Native("/") + "sub\\v.mp4");
}

TEST_F(ThemeRequestTest, AnAbsoluteOutputPathGetsTheSystemsSeparators) {
  OneSlotTheme("Slideshow");
#if defined(_WIN32)
  // Windows takes a drive path as it is: the scratch folder's own.
  std::string drive = std::filesystem::absolute(folder_.Join("d")).string();
  std::string driveInJson, driveBack;
  for (char c : drive) {
    driveInJson += c == '\\' ? std::string("\\\\") : std::string(1, c);
    driveBack += c == '/' ? '\\' : c;
  }
  ASSERT_EQ(Read(RequestJson("Slideshow", driveInJson + "/o\\\\w.mp4")), 1);
  EXPECT_EQ(std::string(record_->outputPath), driveBack + "\\o\\w.mp4");
#else
  setenv("ORMADRAFT_DRIVE_MAP", ("D:=" + folder_.Join("d")).c_str(), 1);
  ASSERT_EQ(Read(RequestJson("Slideshow", "D:/o/v.mp4")), 1);
  EXPECT_STREQ(record_->outputPath, "D:/o/v.mp4");
  ASSERT_EQ(Read(RequestJson("Slideshow", "D:\\\\o\\\\w.mp4")), 1);
  EXPECT_STREQ(record_->outputPath, "D:/o/w.mp4");
  unsetenv("ORMADRAFT_DRIVE_MAP");
#endif
  EXPECT_TRUE(std::filesystem::is_directory(folder_.Join("d/o")));
  const std::string posix = folder_.Join("abs\\\\x.mp4");
  ASSERT_EQ(Read(RequestJson("Slideshow", posix)), 1);
  EXPECT_EQ(std::string(record_->outputPath), Native(folder_.Join("abs/x.mp4")));
}

TEST_F(ThemeRequestTest, TheNewDraftIsWrittenToTheDraftsFolderAndLoads) {
  OneSlotTheme("Slideshow");
  FakeTable()["a.mp4"] = {4};
  const auto before = folder_.Listing();
  Request record = Load(WriteRequest("Slideshow", {"a.mp4"}));
  ASSERT_NE(record, nullptr) << printed_;
  const std::string draft = record->draftPath;
  EXPECT_EQ(draft.rfind(folder_.Join("drafts") + Native("/config_temp_"), 0), 0u) << draft;
  EXPECT_EQ(draft.substr(draft.size() - 5), ".json");
  EXPECT_NE(printed_.find("Directory created: " + folder_.Join("drafts") + Native("/")), std::string::npos)
      << printed_;
  std::unique_ptr<DraftDocument, drafttest::DocumentDeleter> document(loadDraft(draft.c_str(), nullptr, 1));
  ASSERT_NE(document, nullptr);
  EXPECT_EQ(document->duration, 4.0f);
  EXPECT_EQ(std::string(document->scenes->media->path), folder_.Join("req") + Native("/a.mp4"));
  // Nothing was written into the theme library.
  for (const std::string& name : folder_.Listing()) {
    if (name.rfind("lib", 0) == 0) {
      EXPECT_TRUE(before.count(name)) << name;
    }
  }
}

TEST_F(ThemeRequestTest, UserMediaAreLaidEndToEndInWholeSeconds) {
  OneSlotTheme("Slideshow");
  FakeTable()["a.mp4"] = {2.9};
  FakeTable()["half.mp4"] = {0.5};
  FakeTable()["b.jpg"] = {0};
  FakeTable()["c.mp4"] = {7};
  Request record = Load(WriteRequest("Slideshow", {"a.mp4", "half.mp4", "b.jpg", "c.mp4"}));
  ASSERT_NE(record, nullptr) << printed_;
  const MediaInfoEntry* e = record->userMedia;
  const double expected[][2] = {{0, 2}, {2, 2}, {2, 5}, {5, 12}}; // the 0.5 s clip takes no time
  for (int i = 0; i < 4; ++i, e = e->next) {
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->timelineFrom, expected[i][0]) << i;
    EXPECT_EQ(e->timelineTo, expected[i][1]) << i;
    EXPECT_EQ(e->groupId, i);
    EXPECT_EQ(e->width, 1280);
  }
  drafttest::Json draft = Written(record.get());
  EXPECT_EQ(Num(Item(draft.get(), 1), "trimTimeEnd"), 0); // the 0.5 s clip
  EXPECT_EQ(Num(draft.get(), "duration"), 12);
}

TEST_F(ThemeRequestTest, MediaThatCannotBeOpenedKeepTheirPlaceAndTakeNoTime) {
  OneSlotTheme("Slideshow");
  FakeTable()["a.mp4"] = {3};
  Request record = Load(WriteRequest("Slideshow", {"gone.mp4", "a.mp4"}));
  ASSERT_NE(record, nullptr) << printed_;
  EXPECT_NE(printed_.find("theme media cannot be opened: " + folder_.Join("req") + Native("/gone.mp4")),
            std::string::npos);
  EXPECT_STREQ(record->userMedia->path, "gone.mp4");
  // Its size is unknown when it is put into its placeholder: the error block.
  // The block has its own dashed line of 27 dashes (not the 37 of the others).
  const std::string dashes(27, '-');
  EXPECT_NE(printed_.find("\n" + dashes + "\ngetMediaSize "), std::string::npos) << printed_;
  EXPECT_NE(printed_.find(" 363\n" + dashes + "\n"), std::string::npos) << printed_;
  EXPECT_EQ(printed_.find(std::string(28, '-') + "\ngetMediaSize "), std::string::npos) << printed_;
  EXPECT_EQ(record->userMedia->next->timelineFrom, 0);
  EXPECT_EQ(record->userMedia->next->timelineTo, 3);
}

TEST_F(ThemeRequestTest, BrokenThemesAndEmptyMediaGiveNoRequest) {
  FakeTable()["a.mp4"] = {3};
  WriteTheme("NotJson", "{ scenes: ");
  EXPECT_EQ(Load(WriteRequest("NotJson", {"a.mp4"})), nullptr);
  EXPECT_NE(printed_.find("the theme draft is not JSON"), std::string::npos) << printed_;
  WriteTheme("NoMediaInfo", R"({"scenes": [{"media": [{"path": "p.mp4", "trimTimeEnd": 3}]}]})");
  EXPECT_EQ(Load(WriteRequest("NoMediaInfo", {"a.mp4"})), nullptr);
  WriteTheme("NoScenes", R"({"mediaInfo": [{"path": "p.mp4", "timelineTo": 3}]})");
  EXPECT_EQ(Load(WriteRequest("NoScenes", {"a.mp4"})), nullptr);
  OneSlotTheme("Slideshow");
  EXPECT_EQ(Load(WriteRequest("Slideshow", {})), nullptr);
  EXPECT_NE(printed_.find("no usable \"medias\""), std::string::npos) << printed_;
  EXPECT_EQ(Load(WriteRequest("Unknown", {"a.mp4"})), nullptr);
  EXPECT_NE(printed_.find("no theme \"Unknown\""), std::string::npos) << printed_;
  EXPECT_FALSE(std::filesystem::exists(folder_.Join("drafts")));
}

TEST_F(ThemeRequestTest, AMissingMediaGroupFileGivesNoRequest) {
  OneSlotTheme("Slideshow");
  FakeTable()["a.mp4"] = {3};
  EXPECT_EQ(Load(WriteRequest("Slideshow", {"a.mp4", folder_.Join("none.json")})), nullptr);
  EXPECT_NE(printed_.find("media-group file cannot be read: " + folder_.Join("none.json")),
            std::string::npos);
}

TEST_F(ThemeRequestTest, AMediaGroupFileThatIsNotJsonIsIgnored) {
  OneSlotTheme("Slideshow");
  FakeTable()["a.mp4"] = {3};
  const std::string group = folder_.Write("group.json", "[not json");
  Request record = Load(WriteRequest("Slideshow", {"a.mp4", group}));
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->userMediaRecords, nullptr);
  EXPECT_FALSE(record->isMute);
}

TEST_F(ThemeRequestTest, ARequestNamedByABareFileNameIsTakenFromTheCurrentFolder) {
  OneSlotTheme("Slideshow");
  FakeTable()["a.mp4"] = {3};
  WriteRequest("Slideshow", {"a.mp4"});
  const auto previous = std::filesystem::current_path();
  std::filesystem::current_path(folder_.Join("req"));
#if defined(_WIN32)
  // The current folder as Windows names it ("Z:\tmp\..." under Wine).
  const std::string here = std::filesystem::current_path().string();
#else
  const std::string here = folder_.Join("req");
#endif
  Request record = Load("request.json");
  std::filesystem::current_path(previous);
  ASSERT_NE(record, nullptr) << printed_;
  EXPECT_EQ(std::string(record->userMedia->path), here + Native("/a.mp4"));
  EXPECT_EQ(std::string(record->outputPath), here + Native("/") + "out/v.mp4");
}

} // namespace
