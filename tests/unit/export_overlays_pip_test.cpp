// Picture-in-picture overlays: one scene per overlay on the virtual video,
// its level, its media placed in overlay form, and each failure.
#include <gtest/gtest.h>

#include <cstring>

#include "export/overlays_logo.h"
#include "platform/program_results.h"
#include "tests/support/export_stage_document.h"
#include "tests/support/joined_path.h"
#include "tests/support/recording_core.h"

using stagetest::CallsNamed;
using stagetest::kDraftFolder;
using stagetest::NamesAmong;
using stagetest::StageDocument;
using testpath::Joined;
using Strings = std::vector<std::string>;

namespace {

const Strings kPipCalls = {"OrmaCreatePIPScene", "OrmaAddScene", "OrmaUpdateEffectLevel",
                           "OrmaSceneCreateMedia", "OrmaSceneAddMediaHandle"};

class Overlays : public ::testing::Test {
protected:
  void SetUp() override {
    recorder::Reset();
    vv_ = OrmaVirtualVideoCreate(); // "h1"
    std::memset(message_, 0, sizeof(message_));
  }
  int32_t Run() { return AddOverlays(doc_.get(), vv_, message_); }

  StageDocument doc_;
  OrmaVideoHandle vv_ = nullptr;
  char message_[2048];
};

TEST_F(Overlays, OverlayBecomesAPipSceneHoldingItsMediaPlacedAsAnOverlay) {
  OverlayRecord* overlay = doc_.AddOverlay(1.5f, 4.0f);
  overlay->level = 3;
  MediaRecord* item = StageDocument::AddOverlayMedia(overlay, "pip/a.png");
  item->isHorizontalMirror = 1;
  item->blendType = 2.0f;
  ASSERT_EQ(Run(), 1);
  EXPECT_STREQ(message_, "");
  EXPECT_EQ(
      CallsNamed(kPipCalls),
      (Strings{"OrmaCreatePIPScene(1500000, 4000000)", "OrmaAddScene(h1, h2)", "OrmaUpdateEffectLevel(h2, 3)",
               "OrmaSceneCreateMedia(\"" + Joined(kDraftFolder, "pip/a.png") + "\")",
               "OrmaSceneAddMediaHandle(h2, h3)"}));
  // The attribute routine gets the new media handle and the overlay's own
  // item, in overlay form (the blend mode is only sent for overlays).
  EXPECT_EQ(CallsNamed({"OrmaSetMediaFlip", "OrmaSetMediaBlendMode"}),
            (Strings{"OrmaSetMediaFlip(h3, 1)", "OrmaSetMediaBlendMode(h3, 2)"}));
  const Strings order = NamesAmong({"OrmaSceneAddMediaHandle", "OrmaSetMediaFlip"});
  EXPECT_EQ(order, (Strings{"OrmaSceneAddMediaHandle", "OrmaSetMediaFlip"}));
}

TEST_F(Overlays, OverlayTimesAreFloatMicroseconds) {
  doc_.AddOverlay(2.3f, 1e30f);
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(CallsNamed({"OrmaCreatePIPScene"}), Strings{"OrmaCreatePIPScene(2300000, 9223372036854775807)"});
}

TEST_F(Overlays, OverlayLevelIsAppliedOnlyWhenPositive) {
  doc_.AddOverlay(0, 1)->level = 0;
  doc_.AddOverlay(0, 1)->level = -4;
  doc_.AddOverlay(0, 1)->level = 1;
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(CallsNamed({"OrmaUpdateEffectLevel"}), Strings{"OrmaUpdateEffectLevel(h4, 1)"});
}

TEST_F(Overlays, OverlayWithoutMediaIsStillCreatedAndAdded) {
  doc_.AddOverlay(1, 2);
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(CallsNamed(kPipCalls), (Strings{"OrmaCreatePIPScene(1000000, 2000000)", "OrmaAddScene(h1, h2)"}));
}

TEST_F(Overlays, OverlaysAreAddedInListOrderEachWithItsMedia) {
  StageDocument::AddOverlayMedia(doc_.AddOverlay(0, 1), "/abs/one.mp4");
  StageDocument::AddOverlayMedia(doc_.AddOverlay(1, 2), "C:\\media\\two.png");
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(CallsNamed(kPipCalls),
            (Strings{"OrmaCreatePIPScene(0, 1000000)", "OrmaAddScene(h1, h2)",
                     "OrmaSceneCreateMedia(\"/abs/one.mp4\")", "OrmaSceneAddMediaHandle(h2, h3)",
                     "OrmaCreatePIPScene(1000000, 2000000)", "OrmaAddScene(h1, h4)",
                     "OrmaSceneCreateMedia(\"C:\\media\\two.png\")", "OrmaSceneAddMediaHandle(h4, h5)"}));
}

TEST_F(Overlays, NoOverlaysAddNothing) {
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(recorder::CallNames(), Strings{"OrmaVirtualVideoCreate"});
  EXPECT_EQ(AddOverlays(nullptr, vv_, message_), 1);
}

TEST_F(Overlays, OverlayItemRefusedByItsSceneReportsTheSceneText) {
  StageDocument::AddOverlayMedia(doc_.AddOverlay(0, 1), "a.png");
  recorder::SetResult("OrmaSceneAddMediaHandle", -4);
  EXPECT_EQ(Run(), -4);
  EXPECT_STREQ(message_, "Add media to scene fail");
  EXPECT_TRUE(CallsNamed({"OrmaSetMediaFlip"}).empty());
}

// --- every failure of the table ---

struct PipFailure {
  const char* name;
  const char* call;
  int64_t result;
  int32_t expected;
  const char* message;
};

class OverlayFailure : public Overlays, public ::testing::WithParamInterface<PipFailure> {};

TEST_P(OverlayFailure, EndsTheStageWithTheResultAndMessage) {
  const PipFailure f = GetParam();
  StageDocument::AddOverlayMedia(doc_.AddOverlay(0, 1), "a.png");
  StageDocument::AddOverlayMedia(doc_.AddOverlay(1, 2), "b.png");
  recorder::SetResult(f.call, f.result);
  testing::internal::CaptureStdout();
  EXPECT_EQ(Run(), f.expected);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_STREQ(message_, f.message);
  EXPECT_EQ(recorder::CallNames().back(), f.call);
  EXPECT_EQ(CallsNamed({"OrmaCreatePIPScene"}).size(), 1u); // the second overlay is never built
}

INSTANTIATE_TEST_SUITE_P(
    EveryCall, OverlayFailure,
    ::testing::Values(
        PipFailure{"PipSceneRefused", "OrmaCreatePIPScene", 0, kCreateOverlaySceneFailed,
                   "PIP create fail,timeline is invalid"},
        PipFailure{"AddSceneNegative", "OrmaAddScene", -3, -3, "Add PIP fail"},
        PipFailure{"AddSceneZero", "OrmaAddScene", 0, 0, "Add PIP fail"},
        PipFailure{"MediaRefused", "OrmaSceneCreateMedia", 0, kOverlayMediaFailed, "Add media to PIP fail"},
        PipFailure{"MediaNotAdded", "OrmaSceneAddMediaHandle", 0, 0, "Add media to scene fail"},
        PipFailure{"AttributeRefused", "OrmaSetMediaFlip", -6, -6, "Set PIP media attribute fail"}),
    [](const ::testing::TestParamInfo<PipFailure>& info) { return std::string(info.param.name); });

} // namespace
