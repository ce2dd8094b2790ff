// An export settings file that asks for the picture alone or the sound alone
// (as a render farm does for its range parts and its sound pass) reaches the
// library as one OrmaSetOutputStreams call after the other output settings;
// a value the program does not know ends the export before anything is built.
#include "export/export_draft.h"

#include <algorithm>

#include "tests/unit/export_fixtures.h"

using exporttest::Arena;
using exporttest::ScratchFolder;
using exporttest::SetText;

namespace {

class ExportStreams : public ::testing::Test {
protected:
  void SetUp() override {
    recorder::Reset();
    document = arena.New<DraftDocument>();
    document->width = 320;
    document->height = 180;
    SetText(document->draftPath, folder.Join("d_1.json"));
    document->mediaInfo = arena.New<MediaInfoEntry>();
    SetText(document->mediaInfo->path, "unmatched.mp4");
    document->scenes = arena.New<SceneRecord>();
    MediaRecord* item = document->scenes->media = arena.New<MediaRecord>();
    SetText(item->path, "a.mp4");
    item->volume = 1.0f;
    item->trimTimeEnd = 2;
    item->timelineFrom = 0;
    item->timelineTo = 2;
  }

  int32_t ExportWith(const std::string& json) {
    SetText(document->exportPath, folder.Write("settings.json", json));
    testing::internal::CaptureStdout();
    const int32_t result = ExportDraft(document, message);
    console = testing::internal::GetCapturedStdout();
    return result;
  }

  ScratchFolder folder;
  Arena arena;
  DraftDocument* document = nullptr;
  char message[kExportMessageSize] = {};
  std::string console;
};

TEST_F(ExportStreams, PictureAloneIsAskedForAfterTheHardwareSettings) {
  EXPECT_EQ(ExportWith(R"({"video": {}, "hw": {"encoder": 1}, "streams": "video"})"), 1);
  EXPECT_EQ(recorder::Formatted("OrmaSetOutputStreams"),
            std::vector<std::string>{"OrmaSetOutputStreams(h1, 1)"});
  const std::vector<std::string> names = recorder::CallNames();
  const auto hw = std::find(names.begin(), names.end(), "OrmaEnableHWEncoder");
  ASSERT_NE(hw, names.end());
  EXPECT_EQ(*(hw + 1), "OrmaSetOutputStreams");
  EXPECT_EQ(*(hw + 2), "OrmaCreateScene");
}

TEST_F(ExportStreams, SoundAloneIsAskedForWithTheSoundConstant) {
  EXPECT_EQ(ExportWith(R"({"streams": "audio"})"), 1);
  EXPECT_EQ(recorder::Formatted("OrmaSetOutputStreams"),
            std::vector<std::string>{"OrmaSetOutputStreams(h1, 2)"});
}

TEST_F(ExportStreams, BothStreamsMakeNoCallAtAll) {
  EXPECT_EQ(ExportWith(R"({"streams": "both"})"), 1);
  EXPECT_TRUE(recorder::Formatted("OrmaSetOutputStreams").empty());
  recorder::Reset();
  EXPECT_EQ(ExportWith(R"({"outUrl": "x.mp4"})"), 1);
  EXPECT_TRUE(recorder::Formatted("OrmaSetOutputStreams").empty());
}

TEST_F(ExportStreams, UnknownStreamsEndTheExportBeforeAnySceneIsBuilt) {
  EXPECT_EQ(ExportWith(R"({"streams": "pictures"})"), kUnknownExportStreams);
  EXPECT_STREQ(message, "Export streams unknown");
  EXPECT_NE(console.find("\"streams\" is \"pictures\""), std::string::npos) << console;
  EXPECT_TRUE(recorder::Formatted("OrmaCreateScene").empty());
  EXPECT_TRUE(recorder::Formatted("OrmaEditMedia").empty());
}

TEST_F(ExportStreams, RefusedStreamsEndTheExportWithTheLibrarysResult) {
  recorder::SetResult("OrmaSetOutputStreams", -7);
  EXPECT_EQ(ExportWith(R"({"streams": "video"})"), -7);
  EXPECT_STREQ(message, "Set output streams fail");
  EXPECT_TRUE(recorder::Formatted("OrmaEditMedia").empty());
}

} // namespace
