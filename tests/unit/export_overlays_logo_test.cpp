// The logo: one picture-in-picture layer per item over the whole timeline,
// stacked above every element of the editor's list.
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

const Strings kLogoCalls = {"OrmaGetTotalPlaybackTime", "OrmaCreatePIPScene",   "OrmaAddScene",
                            "OrmaUpdateEffectLevel",    "OrmaSceneCreateMedia", "OrmaSceneAddMediaHandle"};

class Logo : public ::testing::Test {
protected:
  void SetUp() override {
    recorder::Reset();
    vv_ = OrmaVirtualVideoCreate(); // "h1"
    std::memset(message_, 0, sizeof(message_));
  }
  int32_t Run() { return AddLogo(doc_.get(), vv_, message_); }

  StageDocument doc_;
  OrmaVideoHandle vv_ = nullptr;
  char message_[2048];
};

TEST_F(Logo, LogoItemBecomesAPipLayerOverTheTimelinePlacedAsAnOverlay) {
  LogoRecord* item = doc_.AddLogoItem("brand/logo.png");
  item->blendType = 3.0f;
  item->isVerticalMirror = 1;
  doc_->pipCount = 2;
  recorder::SetResult("OrmaGetTotalPlaybackTime", 12000000);
  ASSERT_EQ(Run(), 1);
  EXPECT_STREQ(message_, "");
  EXPECT_EQ(CallsNamed(kLogoCalls),
            (Strings{"OrmaGetTotalPlaybackTime(h1)", "OrmaCreatePIPScene(0, 12000000)",
                     "OrmaAddScene(h1, h2)", "OrmaUpdateEffectLevel(h2, 3)",
                     "OrmaSceneCreateMedia(\"" + Joined(kDraftFolder, "brand/logo.png") + "\")",
                     "OrmaSceneAddMediaHandle(h2, h3)"}));
  EXPECT_EQ(CallsNamed({"OrmaSetMediaFlip", "OrmaSetMediaBlendMode"}),
            (Strings{"OrmaSetMediaFlip(h3, 2)", "OrmaSetMediaBlendMode(h3, 3)"}));
}

TEST_F(Logo, TwoItemsWithPipCountThreeStackAtLevelsFourAndFive) {
  doc_.AddLogoItem("a.png");
  doc_.AddLogoItem("b.png");
  doc_->pipCount = 3;
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(CallsNamed({"OrmaUpdateEffectLevel"}),
            (Strings{"OrmaUpdateEffectLevel(h2, 4)", "OrmaUpdateEffectLevel(h4, 5)"}));
}

TEST_F(Logo, WithPipCountZeroNoLayerGetsALevel) {
  doc_.AddLogoItem("a.png");
  doc_.AddLogoItem("b.png");
  doc_->pipCount = 0;
  ASSERT_EQ(Run(), 1);
  EXPECT_TRUE(CallsNamed({"OrmaUpdateEffectLevel"}).empty());
  EXPECT_EQ(CallsNamed({"OrmaCreatePIPScene"}).size(), 2u);
}

TEST_F(Logo, LevelsStopAtTheLargestInt32) {
  doc_.AddLogoItem("a.png");
  doc_->pipCount = INT32_MAX;
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(CallsNamed({"OrmaUpdateEffectLevel"}), Strings{"OrmaUpdateEffectLevel(h2, 2147483647)"});
}

TEST_F(Logo, TimelineLengthIsAskedAgainForEveryItem) {
  doc_.AddLogoItem("a.png");
  doc_.AddLogoItem("b.png");
  recorder::QueueResults("OrmaGetTotalPlaybackTime", {10000000, 20000000});
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(NamesAmong({"OrmaGetTotalPlaybackTime", "OrmaCreatePIPScene"}),
            (Strings{"OrmaGetTotalPlaybackTime", "OrmaCreatePIPScene", "OrmaGetTotalPlaybackTime",
                     "OrmaCreatePIPScene"}));
  EXPECT_EQ(CallsNamed({"OrmaCreatePIPScene"}),
            (Strings{"OrmaCreatePIPScene(0, 10000000)", "OrmaCreatePIPScene(0, 20000000)"}));
}

TEST_F(Logo, TimelineLengthGoesThroughAFloat) {
  doc_.AddLogoItem("a.png");
  doc_.AddLogoItem("b.png");
  // 123456789 is not a float; the nearest one is 123456792. The largest
  // int64 becomes 2^63 as a float and comes back saturated.
  recorder::QueueResults("OrmaGetTotalPlaybackTime", {123456789, INT64_MAX});
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(CallsNamed({"OrmaCreatePIPScene"}),
            (Strings{"OrmaCreatePIPScene(0, 123456792)", "OrmaCreatePIPScene(0, 9223372036854775807)"}));
}

TEST_F(Logo, LogoSpansOverlaysThatReachBeyondTheLastScene) {
  // The scenes end at 10 s; an overlay runs to 30 s. The library reports the
  // whole length only once the overlay is on the timeline, and the logo asks
  // after the overlays were added.
  StageDocument::AddOverlayMedia(doc_.AddOverlay(25.0f, 30.0f), "pip.png");
  doc_.AddLogoItem("logo.png");
  ASSERT_EQ(AddOverlays(doc_.get(), vv_, message_), 1);
  recorder::SetResult("OrmaGetTotalPlaybackTime", 30000000);
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(NamesAmong({"OrmaCreatePIPScene", "OrmaAddScene", "OrmaGetTotalPlaybackTime"}),
            (Strings{"OrmaCreatePIPScene", "OrmaAddScene", "OrmaGetTotalPlaybackTime", "OrmaCreatePIPScene",
                     "OrmaAddScene"}));
  EXPECT_EQ(CallsNamed({"OrmaCreatePIPScene"}),
            (Strings{"OrmaCreatePIPScene(25000000, 30000000)", "OrmaCreatePIPScene(0, 30000000)"}));
}

TEST_F(Logo, NoLogoAddsNothing) {
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(recorder::CallNames(), Strings{"OrmaVirtualVideoCreate"});
  EXPECT_EQ(AddLogo(nullptr, vv_, message_), 1);
}

TEST_F(Logo, MediaFailureIsWrittenAndPrintedWithThePathAndATrailingBlank) {
  doc_.AddLogoItem("brand/logo.png");
  doc_.AddLogoItem("b.png");
  recorder::SetResult("OrmaSceneCreateMedia", 0);
  testing::internal::CaptureStdout();
  const int32_t result = Run();
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(result, kLogoMediaFailed);
  const std::string expected =
      "(logo)Add media to PIP fail! path:" + Joined(kDraftFolder, "brand/logo.png") + "\n ";
  EXPECT_STREQ(message_, expected.c_str());
  EXPECT_EQ(out, expected);
  EXPECT_EQ(CallsNamed({"OrmaCreatePIPScene"}).size(), 1u);
}

TEST_F(Logo, PercentSignsInTheLogoPathAreCopiedLiterally) {
  doc_.AddLogoItem("/res/100%s%d.png");
  recorder::SetResult("OrmaSceneCreateMedia", 0);
  testing::internal::CaptureStdout();
  EXPECT_EQ(Run(), kLogoMediaFailed);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "(logo)Add media to PIP fail! path:/res/100%s%d.png\n ");
  EXPECT_STREQ(message_, "(logo)Add media to PIP fail! path:/res/100%s%d.png\n ");
}

// --- every failure of the table ---

struct LogoFailureCase {
  const char* name;
  const char* call;
  int64_t result;
  int32_t expected;
  const char* message;
};

class LogoFailure : public Logo, public ::testing::WithParamInterface<LogoFailureCase> {};

TEST_P(LogoFailure, EndsTheStageWithTheResultAndMessageOnlyInTheBuffer) {
  const LogoFailureCase f = GetParam();
  doc_.AddLogoItem("a.png");
  doc_.AddLogoItem("b.png");
  doc_->pipCount = 1;
  recorder::SetResult(f.call, f.result);
  testing::internal::CaptureStdout();
  EXPECT_EQ(Run(), f.expected);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_STREQ(message_, f.message);
  EXPECT_EQ(recorder::CallNames().back(), f.call);
  EXPECT_EQ(CallsNamed({"OrmaGetTotalPlaybackTime"}).size(), 1u); // the second layer is never built
}

INSTANTIATE_TEST_SUITE_P(
    EveryCall, LogoFailure,
    ::testing::Values(
        LogoFailureCase{"PipSceneRefused", "OrmaCreatePIPScene", 0, kCreateLogoSceneFailed,
                        "(logo)PIP create fail,timeline is invalid"},
        LogoFailureCase{"AddSceneNegative", "OrmaAddScene", -2, -2, "(logo)Add PIP fail"},
        LogoFailureCase{"AddSceneZero", "OrmaAddScene", 0, 0, "(logo)Add PIP fail"},
        LogoFailureCase{"MediaNotAdded", "OrmaSceneAddMediaHandle", -3, -3, "(logo)Add media to scene fail"},
        LogoFailureCase{"AttributeRefused", "OrmaSetMediaFlip", 0, 0, "(logo)Set PIP media attribute fail"}),
    [](const ::testing::TestParamInfo<LogoFailureCase>& info) { return std::string(info.param.name); });

} // namespace
