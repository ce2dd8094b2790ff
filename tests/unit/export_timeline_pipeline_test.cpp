// The timeline-wide stages, the overlays and the logo inside a whole export:
// where they run, and that their failures end the export.
#include "export/export_draft.h"

#include "tests/support/joined_path.h"
#include "tests/unit/export_fixtures.h"

using exporttest::Arena;
using exporttest::ScratchFolder;
using exporttest::SetText;
using testpath::Joined;
using Lines = std::vector<std::string>;

namespace {

class ExportTimelineStages : public ::testing::Test {
protected:
  void SetUp() override {
    recorder::Reset();
    document = arena.New<DraftDocument>();
    document->ver = 5;
    document->width = 1280;
    document->height = 720;
    SetText(document->draftPath, folder.Join("d_1.json"));
    document->mediaInfo = arena.New<MediaInfoEntry>();
    SetText(document->mediaInfo->path, "unmatched.mp4");
    // One scene of 10 s with an explicit span.
    SceneRecord* scene = Append(&document->scenes);
    MediaRecord* item = Append(&scene->media);
    SetText(item->path, "a.mp4");
    item->trimTimeEnd = 10;
    item->timelineTo = 10;
  }

  template <typename T> T* Append(T** head) {
    while (*head)
      head = &(*head)->next;
    return *head = arena.New<T>();
  }

  // One element of every kind the later stages build.
  void AddOneOfEach() {
    Append(&document->mosaics)->timelineTo = 1;
    SetText(Append(&document->customFilters)->lookUpFilterPath, "lut.png");
    SetText(Append(&document->musics)->path, "m.mp3");
    SetText(Append(&document->soundEffects)->path, "s.wav");
    Append(&document->tonings)->timelineTo = 1;
    EffectRecord* effect = Append(&document->specialEffects);
    SetText(effect->folderPath, "fx");
    effect->timelineTo = 1;
    OverlayRecord* overlay = Append(&document->overlays);
    overlay->timelineFrom = 8;
    overlay->timelineTo = 14; // beyond the last scene
    SetText(Append(&overlay->media)->path, "pip.png");
    SetText(Append(&document->logo)->path, "logo.png");
  }

  int32_t Export() {
    testing::internal::CaptureStdout();
    const int32_t result = ExportDraft(document, message);
    console = testing::internal::GetCapturedStdout();
    return result;
  }

  // The calls that mark each stage, in the order they were made.
  static Lines Markers() {
    static const Lines kMarkers = {"OrmaCreateScene",
                                   "OrmaAddMosaic",
                                   "OrmaAddLUT",
                                   "OrmaAddAudioMedia",
                                   "OrmaAddFilterAdjustment",
                                   "OrmaAddSpecialEffect",
                                   "OrmaCreatePIPScene",
                                   "OrmaGetTotalPlaybackTime",
                                   "OrmaEditMedia"};
    Lines lines;
    for (const recorder::Call& c : recorder::Calls())
      for (const std::string& m : kMarkers)
        if (c.name == m) lines.push_back(recorder::Format(c));
    return lines;
  }

  static bool Called(const std::string& name) {
    for (const std::string& n : recorder::CallNames())
      if (n == name) return true;
    return false;
  }

  ScratchFolder folder;
  Arena arena;
  DraftDocument* document = nullptr;
  char message[kExportMessageSize] = {};
  std::string console;
};

TEST_F(ExportTimelineStages, StagesRunAfterTheScenesInTheirFixedOrderWithTheLogoLast) {
  AddOneOfEach();
  recorder::SetResult("OrmaGetTotalPlaybackTime", 14000000);
  EXPECT_EQ(Export(), 1);
  EXPECT_STREQ(message, "");
  const std::string base = folder.path();
  EXPECT_EQ(Markers(),
            (Lines{"OrmaCreateScene(0, 10000000)", "OrmaAddMosaic(h1, {0,0,0,0}, 0, 0, 1000000)",
                   "OrmaAddLUT(h1, \"" + Joined(base, "lut.png") + "\", 0, 0, 0)",
                   "OrmaAddAudioMedia(h1, \"" + Joined(base, "m.mp3") + "\", 0, 0, 0, 0, 0)",
                   "OrmaAddAudioMedia(h1, \"" + Joined(base, "s.wav") + "\", 0, 0, 0, 0, 0)",
                   "OrmaAddFilterAdjustment(h1, block0, 0, 1000000)",
                   "OrmaAddSpecialEffect(h1, \"" + Joined(base, "fx", "config.json") + "\", 0, 0, 1000000)",
                   "OrmaCreatePIPScene(8000000, 14000000)", "OrmaGetTotalPlaybackTime(h1)",
                   "OrmaCreatePIPScene(0, 14000000)", "OrmaEditMedia(h1)"}));
}

TEST_F(ExportTimelineStages, LogoAsksForTheLengthOnlyAfterEveryOtherElementIsOnTheTimeline) {
  AddOneOfEach();
  EXPECT_EQ(Export(), 1);
  const Lines names = recorder::CallNames();
  size_t total = 0, lastOverlay = 0;
  for (size_t i = 0; i < names.size(); ++i) {
    if (names[i] == "OrmaGetTotalPlaybackTime") total = i;
    if (names[i] == "OrmaSceneAddMediaHandle" && !total) lastOverlay = i;
  }
  ASSERT_GT(total, 0u);
  EXPECT_GT(total, lastOverlay);
  for (const char* earlier : {"OrmaAddMosaic", "OrmaAddSpecialEffect", "OrmaCreateScene"}) {
    size_t at = 0;
    for (size_t i = 0; i < names.size(); ++i)
      if (names[i] == earlier) at = i;
    EXPECT_LT(at, total) << earlier;
  }
}

TEST_F(ExportTimelineStages, TimelineStageFailureEndsTheExportWithItsCode) {
  AddOneOfEach();
  document->mosaics->type = 3;
  EXPECT_EQ(Export(), kUnknownMosaicType);
  EXPECT_STREQ(message, "");
  EXPECT_FALSE(Called("OrmaAddLUT"));
  EXPECT_FALSE(Called("OrmaCreatePIPScene"));
  EXPECT_FALSE(Called("OrmaEditMedia"));
}

TEST_F(ExportTimelineStages, AudioFailureEndsTheExportWithTheLibrarysResult) {
  AddOneOfEach();
  recorder::SetResult("OrmaSetAudioMediaFadeTime", -12);
  EXPECT_EQ(Export(), -12);
  EXPECT_STREQ(message, "Set audio media fade time fail");
  EXPECT_FALSE(Called("OrmaAddFilterAdjustment"));
  EXPECT_FALSE(Called("OrmaEditMedia"));
}

TEST_F(ExportTimelineStages, SkippedLookupAndEffectFailuresLetTheExportFinish) {
  AddOneOfEach();
  recorder::SetResult("OrmaAddLUT", 0);
  recorder::SetResult("OrmaAddSpecialEffect", 0);
  recorder::SetResult("OrmaEditMedia", 3);
  EXPECT_EQ(Export(), 3);
  EXPECT_STREQ(message, "");
  EXPECT_NE(console.find("] -- Add lookup failed\n"), std::string::npos) << console;
  EXPECT_NE(console.find("] -- OrmaAddSpecialEffect failed\n"), std::string::npos) << console;
  EXPECT_TRUE(Called("OrmaCreatePIPScene"));
}

TEST_F(ExportTimelineStages, OverlayFailureEndsTheExportBeforeTheLogo) {
  AddOneOfEach();
  recorder::SetResult("OrmaCreatePIPScene", 0);
  EXPECT_EQ(Export(), kCreateOverlaySceneFailed);
  EXPECT_STREQ(message, "PIP create fail,timeline is invalid");
  EXPECT_FALSE(Called("OrmaGetTotalPlaybackTime"));
  EXPECT_FALSE(Called("OrmaEditMedia"));
}

TEST_F(ExportTimelineStages, LogoFailureEndsTheExportAndIsShownOnTheConsole) {
  AddOneOfEach();
  // The scene item and the overlay item are created; the logo's is refused.
  recorder::QueueResults("OrmaSceneCreateMedia", {1, 1, 0});
  EXPECT_EQ(Export(), kLogoMediaFailed);
  const std::string text = "(logo)Add media to PIP fail! path:" + Joined(folder.path(), "logo.png") + "\n ";
  EXPECT_EQ(std::string(message), text);
  EXPECT_NE(console.find(text), std::string::npos) << console;
  EXPECT_FALSE(Called("OrmaEditMedia"));
}

} // namespace
