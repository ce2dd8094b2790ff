// What a theme run prints when a step cannot do its work, and the smaller
// rules of filling a theme: every error block of media replacement and
// retiming where and as it is printed, "Error opening file." and "localtime
// function failed", the "sharpness" of drafts without "pipList", the
// media-group file's rotation and mirrors, a "mediaInfo" path without a dot,
// and a theme request that comes with a preview command.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "driver/run_driver.h"
#include "platform/codepage.h"
#include "platform/platform.h"
#include "tests/support/recording_core.h"
#include "tests/support/stopping_pipe.h"
#include "tests/unit/theme_fixture.h"
#include "themes/media_replace.h"
#include "themes/retime.h"

using namespace themetest;
namespace fs = std::filesystem;

namespace {

std::string Block(const std::string& message) {
  const std::string dashes = "-------------------------------------\n";
  return dashes + message + dashes;
}

class ThemeMessagesTest : public ThemeTest {
protected:
  drafttest::Json Fill(const std::string& theme, const std::vector<std::string>& media,
                       const std::string& more = "") {
    WriteTheme("Sample", theme);
    record_ = Load(WriteRequest("Sample", media, more));
    return record_ ? Written(record_.get()) : drafttest::Json();
  }
  bool Printed(const std::string& text) const { return printed_.find(text) != std::string::npos; }
  static Request NewRequest() {
    return Request(static_cast<ThemeRequest*>(std::calloc(1, sizeof(ThemeRequest))));
  }
  themetest::Request record_;
};

TEST_F(ThemeMessagesTest, PlaceholdersDeletedFromADraftWithoutMediaInfoPrintBlocks466And452) {
  Request record = NewRequest();
  drafttest::Json tree = drafttest::Parse(R"({"scenes": []})");
  testing::internal::CaptureStdout();
  DeleteSpareScenes(record.get(), tree.get(), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            Block("error : cJSON_GetObjectItem mediaInfo fail 466! \n") +
                Block("error : cJSON_GetObjectItem mediaInfo fail 452! \n"));
}

TEST_F(ThemeMessagesTest, PlaceholdersCopiedInADraftWithoutMediaInfoPrintBlocks518And502) {
  Request record = NewRequest();
  drafttest::Json tree = drafttest::Parse(R"({"scenes": []})");
  testing::internal::CaptureStdout();
  CopyPlaceholderScenes(record.get(), tree.get(), 3);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            Block("error : cJSON_GetObjectItem mediaInfo fail 518! \n") +
                Block("error : cJSON_GetObjectItem mediaInfo fail 502! \n"));
}

TEST_F(ThemeMessagesTest, APlaceholderWithoutEndPrintsBlock528WhenCopiedAnd565WhenFilledAndTheRunGoesOn) {
  FakeTable()["a.mp4"] = {3};
  FakeTable()["b.mp4"] = {3};
  drafttest::Json draft =
      Fill(Theme(3, {R"({"path": "p1.mp4", "timelineFrom": 0})"}, {Scene("p1.mp4", 3)}), {"a.mp4", "b.mp4"});
  ASSERT_TRUE(draft) << printed_;
  EXPECT_TRUE(Printed(Block("error : addSceneMediaObjectFromIndex fail 528! \n"))) << printed_;
  const std::string block565 = Block("error : updateScenesJSONObject fail 565! \n");
  const size_t first = printed_.find(block565);
  ASSERT_NE(first, std::string::npos) << printed_;
  EXPECT_NE(printed_.find(block565, first + 1), std::string::npos) << "one block per medium\n" << printed_;
  EXPECT_EQ(Size(Get(draft.get(), "mediaInfo")), 2); // the element was still copied
}

TEST_F(ThemeMessagesTest, AMediaGroupFileWithFewerRecordsThanMediaPrintsBlock1374AndKeepsTheLaidOutTimes) {
  FakeTable()["a.mp4"] = {4};
  FakeTable()["b.mp4"] = {5};
  const std::string group = folder_.Write("group.json", R"({"medias": [{"path": "a.mp4", "trimTimeStart": 0,
      "trimTimeEnd": 2}]})");
  drafttest::Json draft =
      Fill(Theme(6, {Slot("p1.mp4", 0, 3), Slot("p2.mp4", 3, 6)}, {Scene("p1.mp4", 3), Scene("p2.mp4", 3)}),
           {"a.mp4", "b.mp4", group});
  ASSERT_TRUE(draft) << printed_;
  const std::string block = Block("error : updateScenesJSONObject fail 1374! \n");
  const size_t at = printed_.find(block);
  ASSERT_NE(at, std::string::npos) << printed_;
  EXPECT_EQ(printed_.find(block, at + 1), std::string::npos) << "only the second medium lacks a record";
  const cJSON* info = Get(draft.get(), "mediaInfo");
  EXPECT_EQ(Num(At(info, 0), "timelineTo"), 2);   // the record's own length
  EXPECT_EQ(Num(At(info, 1), "timelineFrom"), 4); // laid out, not moved
  EXPECT_EQ(Num(At(info, 1), "timelineTo"), 9);
}

TEST_F(ThemeMessagesTest, MediaThatTakeNoTimePrintBlock762AndGiveNoRequest) {
  FakeTable()["half.mp4"] = {0.5}; // counts 0 s
  drafttest::Json draft = Fill(Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3)}), {"half.mp4"});
  EXPECT_FALSE(draft);
  EXPECT_TRUE(Printed(Block("error : cJSON_GetObjectItem fail 762! \n"))) << printed_;
  EXPECT_FALSE(Printed("fail 781")) << "retiming must not run";
}

TEST_F(ThemeMessagesTest, AThemeWithoutDurationFailsRetimingAtItsFirstStepWithBlock781) {
  FakeTable()["a.mp4"] = {3};
  std::string theme = Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3)});
  theme.replace(theme.find(R"("duration": )"), std::string(R"("duration": 3.000000, )").size(), "");
  ASSERT_EQ(theme.find("duration"), std::string::npos) << theme;
  drafttest::Json draft = Fill(theme, {"a.mp4"});
  EXPECT_FALSE(draft);
  EXPECT_TRUE(Printed(Block("error : updateJsonOverlaysObject fail 781! \n"))) << printed_;
  EXPECT_FALSE(Printed("fail 792")) << printed_;
}

// The retiming routines refuse what they cannot work on.
TEST_F(ThemeMessagesTest, EveryRetimingRoutineRefusesAMissingTreeOrDurationsNotAboveZero) {
  Request record = NewRequest();
  drafttest::Json tree = drafttest::Parse("{}");
  for (const RetimeStep& step : kRetimeSteps) {
    record->oldDuration = 5;
    EXPECT_EQ(step.update(record.get(), tree.get(), 5), 1) << step.failure;
    EXPECT_EQ(step.update(nullptr, tree.get(), 5), 0) << step.failure;
    EXPECT_EQ(step.update(record.get(), nullptr, 5), 0) << step.failure;
    EXPECT_EQ(step.update(record.get(), tree.get(), 0), 0) << step.failure;
    record->oldDuration = 0;
    EXPECT_EQ(step.update(record.get(), tree.get(), 5), 0) << step.failure;
  }
}

int gRuns = 0;
int Succeeds(ThemeRequest*, cJSON*, float) { return ++gRuns, 1; }
int Fails(ThemeRequest*, cJSON*, float) { return ++gRuns, 0; }

TEST_F(ThemeMessagesTest, TheFirstRetimingStepThatFailsPrintsItsBlock781To820AndTheRestDoNotRun) {
  const RetimeStep* steps = kRetimeSteps;
  const struct {
    int (*update)(ThemeRequest*, cJSON*, float);
    const char* failure;
  } expected[] = {
      {UpdateJsonOverlaysObject, "error : updateJsonOverlaysObject fail 781! \n"},
      {UpdateJsonSpecialEffectsObject, "error : updateJsonSpecialEffectsObject fail 792! \n"},
      {UpdateJsonStickersObject, "error : updateJsonStickersObject fail 802! \n"},
      {UpdateJsonCaptionObject, "error : updateJsonCaptionObject fail 810! \n"},
      {UpdateJsonMusicsObject, "error : updateJsonMusicsObject fail 820! \n"},
      {UpdateJsonLogosObject, "error : updateJsonLogosObject fail 820! \n"},
  };
  for (int k = 0; k < 6; ++k) {
    EXPECT_EQ(steps[k].update, expected[k].update) << k;
    EXPECT_STREQ(steps[k].failure, expected[k].failure) << k;
  }
  Request record = NewRequest();
  drafttest::Json tree = drafttest::Parse("{}");
  for (int failing = 0; failing < 6; ++failing) {
    RetimeStep trial[6];
    for (int k = 0; k < 6; ++k)
      trial[k] = {k == failing ? Fails : Succeeds, steps[k].failure};
    gRuns = 0;
    testing::internal::CaptureStdout();
    EXPECT_EQ(RunRetimeSteps(record.get(), tree.get(), 5, trial, 6), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), Block(expected[failing].failure)) << failing;
    EXPECT_EQ(gRuns, failing + 1) << failing;
  }
}

TEST_F(ThemeMessagesTest, SharpnessIsSetToMinusFourOnlyInDraftsWithoutPipList) {
  FakeTable()["a.mp4"] = {3};
  drafttest::Json draft =
      Fill(Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3, R"(, "sharpness": 0.5)")}), {"a.mp4"});
  ASSERT_TRUE(draft) << printed_;
  EXPECT_EQ(Num(Item(draft.get(), 0), "sharpness"), -4);
  EXPECT_EQ(LastKey(Item(draft.get(), 0)), "sharpness");
  draft = Fill(
      Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3, R"(, "sharpness": 0.5)")}, R"(, "pipList": [])"),
      {"a.mp4"});
  ASSERT_TRUE(draft) << printed_;
  EXPECT_EQ(Num(Item(draft.get(), 0), "sharpness"), 0.5);
}

TEST_F(ThemeMessagesTest, ADraftsFolderThatCannotBeWrittenPrintsErrorOpeningFile) {
  FakeTable()["a.mp4"] = {3};
  WriteTheme("Sample", Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3)}));
  // A folder that exists but takes no new file, even for root.
  setenv("ORMADRAFT_DRAFTS", "/proc/self", 1);
  const std::string request = WriteRequest("Sample", {"a.mp4"});
  testing::internal::CaptureStderr();
  Request record = Load(request);
  const std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(record, nullptr);
  // The fixed line first, then the reason for the person at the console.
  EXPECT_EQ(err.rfind("Error opening file.\n", 0), 0u) << err;
  EXPECT_NE(err.find("ormadraft: the new draft /proc/self" + drafttest::Native("/config_temp_")),
            std::string::npos)
      << err;
}

std::tm* FailingLocalTime(const std::time_t*, std::tm*) { return nullptr; }

TEST_F(ThemeMessagesTest, ALocalTimeThatCannotBeHadPrintsLocaltimeFunctionFailed) {
  FakeTable()["a.mp4"] = {3};
  WriteTheme("Sample", Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3)}));
  const std::string request = WriteRequest("Sample", {"a.mp4"});
  SetLocalTimeFunction(FailingLocalTime);
  Request record = Load(request);
  SetLocalTimeFunction(nullptr);
  EXPECT_EQ(record, nullptr);
  EXPECT_TRUE(Printed("localtime function failed")) << printed_;
  EXPECT_FALSE(fs::exists(folder_.Join("drafts")));
  // With the clock back the same request is filled.
  EXPECT_NE(Load(request), nullptr) << printed_;
}

TEST_F(ThemeMessagesTest, RotationAndMirrorsAreCopiedFromTheGroupFilesRecordWhenItSetsThem) {
  FakeTable()["a.mp4"] = {3};
  FakeTable()["b.mp4"] = {3};
  const std::string group = folder_.Write("group.json", R"({"medias": [
      {"path": "a.mp4", "rotate": 180, "isHorizontalMirror": 1, "isVerticalMirror": 1},
      {"path": "b.mp4"}]})");
  const std::string own = R"(, "rotate": 90, "isHorizontalMirror": 0, "isVerticalMirror": 0)";
  drafttest::Json draft = Fill(Theme(6, {Slot("p1.mp4", 0, 3), Slot("p2.mp4", 3, 6)},
                                     {Scene("p1.mp4", 3, own), Scene("p2.mp4", 3, own)}),
                               {"a.mp4", "b.mp4", group});
  ASSERT_TRUE(draft) << printed_;
  EXPECT_EQ(Num(Item(draft.get(), 0), "rotate"), 180);
  EXPECT_EQ(Num(Item(draft.get(), 0), "isHorizontalMirror"), 1);
  EXPECT_EQ(Num(Item(draft.get(), 0), "isVerticalMirror"), 1);
  // A record that sets none of them leaves the theme's own.
  EXPECT_EQ(Num(Item(draft.get(), 1), "rotate"), 90);
  EXPECT_EQ(Num(Item(draft.get(), 1), "isHorizontalMirror"), 0);
  EXPECT_EQ(Num(Item(draft.get(), 1), "isVerticalMirror"), 0);
}

TEST_F(ThemeMessagesTest, AMediaInfoPathWithoutADotIsRewrittenAsEmptyAndASceneItemsIsLeftAlone) {
  Request record = NewRequest();
  std::snprintf(record->stamp, sizeof(record->stamp), "_2024_08_23_16_00_42");
  drafttest::Json tree = drafttest::Parse(R"({"mediaInfo": [{"path": "clip"}, {"path": "a/b.mp4"}],
      "scenes": [{"media": [{"path": "clip"}, {"path": "a/b.mp4"}]}]})");
  EXPECT_EQ(StampMediaPaths(record.get(), tree.get()), 1);
  const cJSON* info = Get(tree.get(), "mediaInfo");
  EXPECT_EQ(Str(At(info, 0), "path"), "");
  EXPECT_EQ(Str(At(info, 1), "path"), "a/b_2024_08_23_16_00_42.mp4");
  const cJSON* media = Get(At(Get(tree.get(), "scenes"), 0), "media");
  EXPECT_EQ(Str(At(media, 0), "path"), "clip");
  EXPECT_EQ(Str(At(media, 1), "path"), "a/b_2024_08_23_16_00_42.mp4");
}

TEST_F(ThemeMessagesTest, ATemplateRequestWithAPreviewCommandIsFilledAndThenPreviewed) {
  recorder::Reset();
  FakeTable()["a.mp4"] = {3};
  WriteTheme("Sample", Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3)}));
  std::string request = WriteRequest("Sample", {"a.mp4"});
  const std::string pipe = TestPipeName(folder_.Join("app"));
  const std::string preview =
      folder_.Write("preview.json", R"({"type": "ThemesPreview", "hWnd": "0x1A2B", "pipeName": ")" +
                                        PipeNameInJson(pipe) + R"("})");
  StoppingPipe application(pipe);
  std::vector<std::string> args = {"ormadraft", request, preview};
  std::vector<char*> argv;
  for (std::string& a : args)
    argv.push_back(a.data());
  argv.push_back(nullptr);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(RunDriver(3, argv.data()), 1);
  const std::string out = testing::internal::GetCapturedStdout();
  testing::internal::GetCapturedStderr();
  const std::string drafts = folder_.Join("drafts") + drafttest::Native("/");
  EXPECT_NE(out.find("load templateThems json success! themes json path:" + drafts + "config_temp_"),
            std::string::npos)
      << out;
  EXPECT_EQ(out.find("export path:"), std::string::npos) << out;
  EXPECT_NE(out.find("ExportDraft out!\n"), std::string::npos) << out;
  bool window = false, played = false, userMedium = false;
  for (const std::string& call : recorder::Formatted()) {
    window = window || call == "OrmaSetPreviewWindowsHwnd(h1, 6699)";
    played = played || call == "OrmaPreview(h1)";
    userMedium = userMedium || call.find("\"" + folder_.Join("req") + drafttest::Native("/a.mp4") + "\"") !=
                                   std::string::npos;
  }
  EXPECT_TRUE(window);
  EXPECT_TRUE(played);
  EXPECT_TRUE(userMedium) << "the theme's placeholder was not filled with the request's medium";
  EXPECT_NE(application.Reply().find("playtime"), std::string::npos);
}

// The command line is in the ANSI code page; the request's folder (素材
// under 936, café elsewhere) reaches the core library in UTF-8 with the
// caller's medium and video joined to it.
TEST_F(ThemeMessagesTest, ARequestNamedInTheAnsiCodePageGivesTheLibraryUtf8Paths) {
  recorder::Reset();
  FakeTable()["a.mp4"] = {3};
  WriteTheme("Sample", Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3)}));
  const std::string folder = platform::AnsiCodeset() == "CP936" ? "素材" : "café";
  folder_.WriteUtf8(folder + "/a.mp4", "");
  const std::string request = folder_.WriteUtf8(
      folder + "/r.json",
      R"({"ver": 1, "type": "TemplateThemes", "id": "Sample", "outputPath": "v.mp4", "medias": [{"path": "a.mp4"}]})");
  ASSERT_NE(request, "");
  char ansi[1024] = {0};
  int capacity = sizeof(ansi);
  ASSERT_GT(Utf8ToAnsi(request.c_str(), nullptr, ansi, &capacity), 0);
  std::vector<std::string> args = {"ormadraft", ansi};
  std::vector<char*> argv;
  for (std::string& a : args)
    argv.push_back(a.data());
  argv.push_back(nullptr);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(RunDriver(2, argv.data()), 1);
  const std::string out = testing::internal::GetCapturedStdout();
  testing::internal::GetCapturedStderr();
  EXPECT_NE(out.find("export success!"), std::string::npos) << out;
  const std::string utf8Folder = folder_.Join(folder);
  bool medium = false, video = false;
  for (const std::string& call : recorder::Formatted()) {
    medium = medium || call.find(utf8Folder + platform::kSeparator + "a.mp4") != std::string::npos ||
             call.find(utf8Folder + "/a.mp4") != std::string::npos;
    video = video || call.find(utf8Folder + platform::kSeparator + "v.mp4") != std::string::npos ||
            call.find(utf8Folder + "/v.mp4") != std::string::npos;
  }
  EXPECT_TRUE(medium) << out;
  EXPECT_TRUE(video) << out;
}

TEST_F(ThemeMessagesTest, ATemplateMediumOfUnknownSizePrintsBlock323BetweenItsOwnDashes) {
  FakeTable()["a.mp4"] = {3}; // the theme's p1.mp4 is known to no one
  drafttest::Json draft = Fill(Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3)}), {"a.mp4"});
  ASSERT_TRUE(draft) << printed_;
  const std::string dashes(27, '-');
  EXPECT_NE(printed_.find(dashes + "\ngetMediaSize "), std::string::npos) << printed_;
  EXPECT_NE(printed_.find(" 323\n" + dashes + "\n"), std::string::npos) << printed_;
  EXPECT_FALSE(Printed(" 363\n")) << "the user's medium is known\n" << printed_;
}

TEST_F(ThemeMessagesTest, AMediaSizeIsAskedAgainWithTheNameRebuiltFromItsFirstAndLastDotParts) {
  FakeTable()["clip.mp4"] = {3, 640, 480};
  const std::string base = folder_.Write("req/request.json", "{}");
  folder_.Write("req/clip.mp4", "");
  int width = 0, height = 0;
  EXPECT_EQ(themes::GetMediaSize(base.c_str(), "clip.x.mp4", &width, &height), 1);
  EXPECT_EQ(width, 640);
  EXPECT_EQ(height, 480);
  EXPECT_EQ(themes::GetMediaSize(base.c_str(), "other.mp4", &width, &height), 0);
}

TEST_F(ThemeMessagesTest, TheRequestsOwnTimesAndGroupAreReplacedAndItsReplaceTypeKept) {
  FakeTable()["a.mp4"] = {3};
  WriteTheme("Sample", Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3)}));
  const std::string request = folder_.Write("req/request.json", R"({"ver": 1, "type": "TemplateThemes",
      "id": "Sample", "outputPath": "out/v.mp4", "medias": [{"path": "a.mp4", "timelineFrom": 50,
      "timelineTo": 60, "groupId": 9, "replaceType": 2}]})");
  folder_.Write("req/a.mp4", "");
  record_ = Load(request);
  ASSERT_NE(record_, nullptr) << printed_;
  EXPECT_EQ(record_->userMedia->timelineFrom, 0);
  EXPECT_EQ(record_->userMedia->timelineTo, 3);
  EXPECT_EQ(record_->userMedia->groupId, 0);
  EXPECT_EQ(record_->userMedia->replaceType, 2);
}

TEST_F(ThemeMessagesTest, OnlyTheFirstMediaGroupFileCountsWhateverTheCaseOfItsNameAndItIsTakenAsWritten) {
  FakeTable()["a.mp4"] = {3};
  folder_.Write("groups/first.JSON", R"({"medias": [{"path": "a.mp4"}], "volume": 0.3})");
  folder_.Write("groups/second.json", R"({"medias": [{"path": "a.mp4"}], "volume": 0.7})");
  WriteTheme("Sample", Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3)}));
  // The group files are named relative to the current folder, not to the
  // request's folder (req/), where they are not.
  const std::string request = WriteRequest("Sample", {"a.mp4", "groups/first.JSON", "groups/second.json"});
  const fs::path before = fs::current_path();
  fs::current_path(folder_.Join(""));
  record_ = Load(request);
  fs::current_path(before);
  ASSERT_NE(record_, nullptr) << printed_;
  EXPECT_FLOAT_EQ(record_->volume, 0.3f);
  ASSERT_NE(record_->userMediaRecords, nullptr);
  EXPECT_EQ(record_->userMedia->next, nullptr) << "a group file is no medium";
}

} // namespace
