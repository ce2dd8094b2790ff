// Mosaic regions, look-up filters, tonings and special effects laid onto the
// virtual video, and the order of all timeline-wide kinds.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "export/timeline_effects.h"
#include "platform/program_results.h"
#include "tests/support/export_stage_document.h"
#include "tests/support/joined_path.h"
#include "tests/support/recording_core.h"

using stagetest::CallsNamed;
using stagetest::kDraftFolder;
using stagetest::StageDocument;
using testpath::Joined;
using Strings = std::vector<std::string>;

namespace {

class TimelineEffects : public ::testing::Test {
protected:
  void SetUp() override {
    recorder::Reset();
    vv_ = OrmaVirtualVideoCreate(); // "h1"
    std::memset(message_, 0, sizeof(message_));
  }
  int32_t Run() { return AddTimelineEffects(doc_.get(), vv_, message_); }
  static OrmaAdjustmentBlock AdjustmentSent(size_t index = 0) {
    size_t seen = 0;
    for (const recorder::Call& c : recorder::Calls()) {
      if (c.name != "OrmaAddFilterAdjustment") continue;
      if (seen++ != index) continue;
      OrmaAdjustmentBlock block{};
      EXPECT_EQ(c.blocks.at(0).size(), sizeof(block));
      std::memcpy(&block, c.blocks.at(0).data(), sizeof(block));
      return block;
    }
    ADD_FAILURE() << "no adjustment sent";
    return OrmaAdjustmentBlock{};
  }

  StageDocument doc_;
  OrmaVideoHandle vv_ = nullptr;
  char message_[2048];
};

// --- times and narrowed numbers ---

TEST_F(TimelineEffects, TimesAreTruncatedTowardZero) {
  doc_.AddMosaic(0, -0.0000015f, 0.0000019f); // -1.5 us and 1.9 us
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(recorder::Formatted("OrmaAddMosaic"), Strings{"OrmaAddMosaic(h1, {0,0,0,0}, 0, -1, 1)"});
}

TEST_F(TimelineEffects, TimeProductIsRoundedToFloatBeforeTruncation) {
  // 2.3f is 2.29999995...; in double the product truncates to 2299999, the
  // 32-bit product rounds to 2300000 first.
  doc_.AddFilter("l.png", 2.3f, 4.1f);
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(recorder::Formatted("OrmaAddLUT"),
            Strings{"OrmaAddLUT(h1, \"" + Joined(kDraftFolder, "l.png") + "\", 0, 2300000, 4100000)"});
}

TEST_F(TimelineEffects, OutOfRangeTimesSaturateAndNanGivesZero) {
  doc_.AddToning(-1e30f, 1e30f);
  doc_.AddToning(std::nanf(""), std::numeric_limits<float>::infinity());
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(recorder::Formatted("OrmaAddFilterAdjustment"),
            (Strings{"OrmaAddFilterAdjustment(h1, block0, -9223372036854775808, 9223372036854775807)",
                     "OrmaAddFilterAdjustment(h1, block0, 0, 9223372036854775807)"}));
}

TEST_F(TimelineEffects, AudioTypeAndNoiseLevelSaturateAsInt32) {
  AudioTrackRecord* music = doc_.AddMusic("m.mp3");
  music->audioFilterType = 3e9f;
  music->denoiseLevel = std::nanf("");
  AudioTrackRecord* sound = doc_.AddSoundEffect("s.wav");
  sound->audioFilterType = -3e9f;
  sound->denoiseLevel = 2.7f;
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(CallsNamed({"OrmaSetAudioMediaEffect", "OrmaSetAudioMediaNsLevel"}),
            (Strings{"OrmaSetAudioMediaEffect(h2, 2147483647)", "OrmaSetAudioMediaNsLevel(h2, 0)",
                     "OrmaSetAudioMediaNsLevel(h3, 2)", "OrmaSetAudioMediaEffect(h3, -2147483648)"}));
}

TEST_F(TimelineEffects, EffectSpanIsTestedBeforeItIsNarrowed) {
  // 1e-7 s is 0.1 us: positive as a float, 0 once truncated; still accepted.
  doc_.AddEffect("fx", 0, 1e-7f);
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(
      recorder::Formatted("OrmaAddSpecialEffect"),
      Strings{"OrmaAddSpecialEffect(h1, \"" + Joined(kDraftFolder, "fx", "config.json") + "\", 0, 0, 0)"});
}

// --- whole stage ---

TEST_F(TimelineEffects, EmptyDocumentAddsNothingAndSucceeds) {
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(recorder::CallNames(), Strings{"OrmaVirtualVideoCreate"});
  EXPECT_STREQ(message_, "");
}

TEST_F(TimelineEffects, KindsAreAddedMosaicsFiltersMusicsSoundsToningsEffects) {
  // Each list holds one element, so only the stage order can order the calls.
  doc_.AddEffect("fx", 0, 1)->level = 6;
  doc_.AddToning(0, 1)->level = 5;
  doc_.AddSoundEffect("s.wav");
  doc_.AddMusic("m.mp3");
  doc_.AddFilter("l.png", 0, 1)->level = 4;
  doc_.AddMosaic(0, 0, 1);
  ASSERT_EQ(Run(), 1);
  Strings names = recorder::CallNames();
  names.erase(names.begin());
  EXPECT_EQ(names, (Strings{"OrmaAddMosaic",
                            "OrmaAddLUT",
                            "OrmaUpdateEffectLevel",
                            "OrmaAddAudioMedia",
                            "OrmaSetAudioMediaCutTime",
                            "OrmaSetAudioMediaFadeTime",
                            "OrmaSetAudioMediaPlaySpeed",
                            "OrmaSetAudioMediaEffect",
                            "OrmaSetAudioMediaNsLevel",
                            "OrmaAddAudioMedia",
                            "OrmaSetAudioMediaCutTime",
                            "OrmaSetAudioMediaFadeTime",
                            "OrmaSetAudioMediaNsLevel",
                            "OrmaSetAudioMediaPlaySpeed",
                            "OrmaSetAudioMediaVolFactor",
                            "OrmaSetAudioMediaEffect",
                            "OrmaAddFilterAdjustment",
                            "OrmaUpdateEffectLevel",
                            "OrmaAddSpecialEffect",
                            "OrmaUpdateEffectLevel"}));
  EXPECT_EQ(CallsNamed({"OrmaUpdateEffectLevel"}),
            (Strings{"OrmaUpdateEffectLevel(h3, 4)", "OrmaUpdateEffectLevel(h6, 5)",
                     "OrmaUpdateEffectLevel(h7, 6)"}));
}

// --- mosaics ---

TEST_F(TimelineEffects, MosaicRegionIsFirstPointXYSecondPointXFourthPointY) {
  MosaicRecord* m = doc_.AddMosaic(0, 1.5f, 4.0f);
  m->intensity = 0.75f;
  const float xy[4][2] = {{0.125f, 0.25f}, {0.375f, 0.5f}, {0.625f, 0.75f}, {0.875f, 1.125f}};
  for (int i = 0; i < 4; ++i) {
    m->points[i].x = xy[i][0];
    m->points[i].y = xy[i][1];
  }
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(recorder::Formatted("OrmaAddMosaic"),
            Strings{"OrmaAddMosaic(h1, {0.125,0.25,0.375,1.125}, 0.75, 1500000, 4000000)"});
}

TEST_F(TimelineEffects, MosaicTypesChooseMosaicGaussBlurOrDelogoInListOrder) {
  MosaicRecord* delogo = doc_.AddMosaic(2, 0.5f, 1.0f);
  delogo->intensity = 0.5f;
  delogo->points[0] = {0.25f, 0.5f};
  delogo->points[1] = {0.75f, 0.5f};
  delogo->points[3] = {0.25f, 1.0f};
  MosaicRecord* blur = doc_.AddMosaic(1, 2.0f, 3.0f);
  blur->intensity = 0.25f;
  blur->points[1].x = 1.0f;
  blur->points[3].y = 1.0f;
  doc_.AddMosaic(0, 0, 0.25f)->intensity = 2.0f;
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(CallsNamed({"OrmaAddMosaic", "OrmaAddGaussBlur", "OrmaAddDeLogo"}),
            (Strings{"OrmaAddDeLogo(h1, {0.25,0.5,0.75,1}, 500000, 1000000)",
                     "OrmaAddGaussBlur(h1, {0,0,1,1}, 0.25, 2000000, 3000000)",
                     "OrmaAddMosaic(h1, {0,0,0,0}, 2, 0, 250000)"}));
}

TEST_F(TimelineEffects, MosaicLevelIsNeverApplied) {
  doc_.AddMosaic(0, 0, 1)->level = 3;
  doc_.AddMosaic(1, 0, 1)->level = 4;
  doc_.AddMosaic(2, 0, 1)->level = 5;
  ASSERT_EQ(Run(), 1);
  EXPECT_TRUE(CallsNamed({"OrmaUpdateEffectLevel"}).empty());
}

TEST_F(TimelineEffects, MosaicOfUnknownTypeEndsWithoutMessage) {
  doc_.AddMosaic(0, 0, 1);
  doc_.AddMosaic(3, 0, 1);
  doc_.AddMosaic(0, 0, 1);
  doc_.AddMusic("m.mp3");
  EXPECT_EQ(Run(), kUnknownMosaicType);
  EXPECT_STREQ(message_, "");
  EXPECT_EQ(recorder::CallNames(), (Strings{"OrmaVirtualVideoCreate", "OrmaAddMosaic"}));
}

TEST_F(TimelineEffects, RefusedMosaicEndsWithItsCode) {
  doc_.AddMosaic(0, 0, 1);
  doc_.AddMusic("m.mp3");
  recorder::SetResult("OrmaAddMosaic", 0);
  EXPECT_EQ(Run(), kAddMosaicFailed);
  EXPECT_STREQ(message_, "Add mosaic fail");
  EXPECT_TRUE(CallsNamed({"OrmaAddAudioMedia"}).empty());
}

TEST_F(TimelineEffects, RefusedGaussBlurEndsWithItsCode) {
  doc_.AddMosaic(1, 0, 1);
  doc_.AddMosaic(1, 0, 1);
  recorder::SetResult("OrmaAddGaussBlur", 0);
  EXPECT_EQ(Run(), kAddGaussBlurFailed);
  EXPECT_STREQ(message_, "Add gauss blur fail");
  EXPECT_EQ(CallsNamed({"OrmaAddGaussBlur"}).size(), 1u);
}

TEST_F(TimelineEffects, RefusedDelogoEndsWithItsCode) {
  doc_.AddMosaic(2, 0, 1);
  doc_.AddFilter("l.png", 0, 1);
  recorder::SetResult("OrmaAddDeLogo", 0);
  EXPECT_EQ(Run(), kAddDeLogoFailed);
  EXPECT_STREQ(message_, "Add delogo fail");
  EXPECT_TRUE(CallsNamed({"OrmaAddLUT"}).empty());
}

// --- custom look-up filters ---

TEST_F(TimelineEffects, LookupFilterPathIsResolvedAgainstTheDraftFolder) {
  doc_.AddFilter("luts/warm.png", 1.0f, 2.5f)->lookUpFilterIntensity = 0.625f;
  doc_.AddFilter("/res/luts/cold.png", 0, 0.5f)->lookUpFilterIntensity = 1.0f;
  doc_.AddFilter("C:\\res\\luts\\grey.png", 0, 0.5f);
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(
      recorder::Formatted("OrmaAddLUT"),
      (Strings{"OrmaAddLUT(h1, \"" + Joined(kDraftFolder, "luts/warm.png") + "\", 0.625, 1000000, 2500000)",
               "OrmaAddLUT(h1, \"/res/luts/cold.png\", 1, 0, 500000)",
               "OrmaAddLUT(h1, \"C:\\res\\luts\\grey.png\", 0, 0, 500000)"}));
}

TEST_F(TimelineEffects, LookupFilterLevelIsAppliedOnlyWhenPositive) {
  doc_.AddFilter("a.png", 0, 1)->level = 0;
  doc_.AddFilter("b.png", 0, 1)->level = -2;
  doc_.AddFilter("c.png", 0, 1)->level = 7;
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(CallsNamed({"OrmaAddLUT", "OrmaUpdateEffectLevel"}).size(), 4u);
  EXPECT_EQ(CallsNamed({"OrmaUpdateEffectLevel"}), Strings{"OrmaUpdateEffectLevel(h4, 7)"});
}

TEST_F(TimelineEffects, MissingLookupFileOnlyLogsAndTheExportGoesOn) {
  doc_.AddFilter("missing.png", 0, 1)->level = 2;
  doc_.AddFilter("b.png", 0, 1)->level = 3;
  doc_.AddToning(0, 1);
  recorder::QueueResults("OrmaAddLUT", {0});
  testing::internal::CaptureStdout();
  const int32_t result = Run();
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(result, 1);
  EXPECT_STREQ(message_, "");
  EXPECT_NE(out.find("] -- Add lookup failed\n"), std::string::npos) << out;
  EXPECT_EQ(out.substr(0, 1), "[");
  // The refused filter gets no level; the next one and the later kinds do.
  EXPECT_EQ(CallsNamed({"OrmaAddLUT", "OrmaUpdateEffectLevel", "OrmaAddFilterAdjustment"}),
            (Strings{"OrmaAddLUT(h1, \"" + Joined(kDraftFolder, "missing.png") + "\", 0, 0, 1000000)",
                     "OrmaAddLUT(h1, \"" + Joined(kDraftFolder, "b.png") + "\", 0, 0, 1000000)",
                     "OrmaUpdateEffectLevel(h2, 3)", "OrmaAddFilterAdjustment(h1, block0, 0, 1000000)"}));
}

// --- tonings ---

TEST_F(TimelineEffects, OldDraftToningMapsSaturationContrastSharpnessFromTheirOldScales) {
  doc_->ver = 4;
  ToningRecord* t = doc_.AddToning(0, 1);
  t->levels.saturation = 1.2f;
  t->levels.contrast = 1.6f;
  t->levels.sharpness = -2.0f;
  ASSERT_EQ(Run(), 1);
  const OrmaAdjustmentBlock b = AdjustmentSent();
  EXPECT_NEAR(b.saturation, 20.0f, 1e-4);
  EXPECT_NEAR(b.contrast, 20.0f, 1e-4);
  EXPECT_NEAR(b.sharpness, 25.0f, 1e-4);
}

TEST_F(TimelineEffects, NewDraftToningUsesPercentScales) {
  doc_->ver = 5;
  ToningRecord* t = doc_.AddToning(0, 1);
  t->levels.saturation = 1.2f;
  t->levels.contrast = 1.6f;
  t->levels.sharpness = -2.0f;
  ASSERT_EQ(Run(), 1);
  const OrmaAdjustmentBlock b = AdjustmentSent();
  EXPECT_NEAR(b.saturation, 120.0f, 1e-4);
  EXPECT_NEAR(b.contrast, 160.0f, 1e-4);
  EXPECT_NEAR(b.sharpness, -50.0f, 1e-4);
}

TEST_F(TimelineEffects, OldDraftContrastBelowOneIsNotCompressed) {
  doc_->ver = 0;
  ToningRecord* t = doc_.AddToning(0, 1);
  t->levels.contrast = 0.4f;
  ASSERT_EQ(Run(), 1);
  const OrmaAdjustmentBlock b = AdjustmentSent();
  EXPECT_NEAR(b.contrast, -60.0f, 1e-4);
  EXPECT_NEAR(b.saturation, -100.0f, 1e-4);
  EXPECT_NEAR(b.sharpness, 50.0f, 1e-4);
}

TEST_F(TimelineEffects, ToningSlotsAreScaledInBlockOrderWithTheRestZero) {
  for (int ver : {3, 9}) {
    recorder::Reset();
    StageDocument doc;
    doc->ver = ver;
    ToningRecord* t = doc.AddToning(0.5f, 2.0f);
    t->levels.brightness = 0.2f;
    t->levels.vignette = 0.1f;
    t->levels.whiteBalance = -0.3f;
    t->levels.tint = 0.4f;
    t->levels.shadows = -0.5f;
    t->levels.graininess = 0.6f;
    t->levels.highlight = -0.7f;
    t->levels.lightSensation = 0.8f;
    t->levels.fade = 0.9f;
    t->tag = 3.9f;
    char message[2048] = {};
    OrmaVideoHandle vv = OrmaVirtualVideoCreate();
    ASSERT_EQ(AddTimelineEffects(doc.get(), vv, message), 1);
    EXPECT_EQ(recorder::Formatted("OrmaAddFilterAdjustment"),
              Strings{"OrmaAddFilterAdjustment(h1, block0, 500000, 2000000)"});
    const OrmaAdjustmentBlock b = AdjustmentSent();
    EXPECT_NEAR(b.brightness, 51.0f, 1e-4) << ver;
    EXPECT_NEAR(b.vignette, 10.0f, 1e-4);
    EXPECT_NEAR(b.whiteBalance, -30.0f, 1e-4);
    EXPECT_NEAR(b.tint, 40.0f, 1e-4);
    EXPECT_NEAR(b.shadows, -50.0f, 1e-4);
    EXPECT_NEAR(b.graininess, 60.0f, 1e-4);
    EXPECT_NEAR(b.highlight, -70.0f, 1e-4);
    EXPECT_NEAR(b.lightSensation, 80.0f, 1e-4);
    EXPECT_NEAR(b.fade, 90.0f, 1e-4);
    for (float r : b.reserved)
      EXPECT_EQ(r, 0.0f);
    EXPECT_EQ(b.flags, 0);
  }
}

TEST_F(TimelineEffects, ToningBlockBytesFollowTheLibraryLayout) {
  ToningRecord* t = doc_.AddToning(0, 1);
  t->levels.brightness = 1.0f; // slot 0
  t->levels.fade = 0.5f;       // slot 11
  ASSERT_EQ(Run(), 1);
  recorder::Call call;
  for (const recorder::Call& c : recorder::Calls())
    if (c.name == "OrmaAddFilterAdjustment") call = c;
  ASSERT_EQ(call.blocks.size(), 1u);
  ASSERT_EQ(call.blocks[0].size(), 84u);
  float slot0 = 0, slot11 = 0;
  std::memcpy(&slot0, call.blocks[0].data(), 4);
  std::memcpy(&slot11, call.blocks[0].data() + 44, 4);
  EXPECT_EQ(slot0, 255.0f);
  EXPECT_EQ(slot11, 50.0f);
}

TEST_F(TimelineEffects, ToningLevelIsAppliedOnlyWhenPositive) {
  doc_.AddToning(0, 1)->level = 0;
  doc_.AddToning(0, 1)->level = 2;
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(CallsNamed({"OrmaUpdateEffectLevel"}), Strings{"OrmaUpdateEffectLevel(h3, 2)"});
}

TEST_F(TimelineEffects, RefusedAdjustmentEndsWithItsCode) {
  doc_.AddToning(0, 1);
  doc_.AddEffect("fx", 0, 1);
  recorder::SetResult("OrmaAddFilterAdjustment", 0);
  EXPECT_EQ(Run(), kAddAdjustmentFailed);
  EXPECT_STREQ(message_, "Add adjustment fail");
  EXPECT_TRUE(CallsNamed({"OrmaAddSpecialEffect"}).empty());
}

// --- special effects ---

TEST_F(TimelineEffects, EffectSpanEndingAtZeroIsRejected) {
  doc_.AddEffect("fx", 0, 0);
  EXPECT_EQ(Run(), kSpecialEffectSpanInvalid);
  EXPECT_STREQ(message_, "Effect timeline is invalid");
  EXPECT_TRUE(CallsNamed({"OrmaAddSpecialEffect"}).empty());
}

TEST_F(TimelineEffects, EffectSpanFromZeroToHalfASecondIsAccepted) {
  EffectRecord* e = doc_.AddEffect("effects/glow", 0, 0.5f);
  e->nApplyRange = 2;
  ASSERT_EQ(Run(), 1);
  EXPECT_STREQ(message_, "");
  EXPECT_EQ(recorder::Formatted("OrmaAddSpecialEffect"),
            Strings{"OrmaAddSpecialEffect(h1, \"" + Joined(kDraftFolder, "effects/glow", "config.json") +
                    "\", 2, 0, 500000)"});
}

TEST_F(TimelineEffects, EffectStartingBeforeZeroIsRejectedAfterEarlierEffects) {
  doc_.AddEffect("a", 1, 2);
  doc_.AddEffect("b", -0.5f, 2);
  doc_.AddEffect("c", 1, 2);
  EXPECT_EQ(Run(), kSpecialEffectSpanInvalid);
  EXPECT_STREQ(message_, "Effect timeline is invalid");
  EXPECT_EQ(CallsNamed({"OrmaAddSpecialEffect"}).size(), 1u);
}

TEST_F(TimelineEffects, EffectConfigOfAbsoluteFolderIsTheFolderAndConfigJson) {
  doc_.AddEffect("/res/effects/snow", 1, 2);
  doc_.AddEffect("D:\\res\\rain", 1, 2);
  doc_.AddEffect("\\\\server\\fx", 1, 2);
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(recorder::Formatted("OrmaAddSpecialEffect"),
            (Strings{"OrmaAddSpecialEffect(h1, \"" + Joined("/res/effects/snow", "config.json") +
                         "\", 0, 1000000, 2000000)",
                     "OrmaAddSpecialEffect(h1, \"" + Joined("D:\\res\\rain", "config.json") +
                         "\", 0, 1000000, 2000000)",
                     "OrmaAddSpecialEffect(h1, \"" + Joined("\\\\server\\fx", "config.json") +
                         "\", 0, 1000000, 2000000)"}));
}

TEST_F(TimelineEffects, RefusedEffectOnlyLogsAndTheNextIsAdded) {
  doc_.AddEffect("a", 0, 1)->level = 4;
  doc_.AddEffect("b", 0, 1)->level = 5;
  recorder::QueueResults("OrmaAddSpecialEffect", {0});
  testing::internal::CaptureStdout();
  const int32_t result = Run();
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(result, 1);
  EXPECT_STREQ(message_, "");
  EXPECT_NE(out.find("] -- OrmaAddSpecialEffect failed\n"), std::string::npos) << out;
  EXPECT_EQ(CallsNamed({"OrmaUpdateEffectLevel"}), Strings{"OrmaUpdateEffectLevel(h2, 5)"});
}

TEST_F(TimelineEffects, EffectLevelIsAppliedOnlyWhenPositive) {
  doc_.AddEffect("a", 0, 1)->level = 0;
  doc_.AddEffect("b", 0, 1)->level = 1;
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(CallsNamed({"OrmaUpdateEffectLevel"}), Strings{"OrmaUpdateEffectLevel(h3, 1)"});
}

TEST_F(TimelineEffects, NullDocumentAddsNothing) {
  EXPECT_EQ(AddTimelineEffects(nullptr, vv_, message_), 1);
  EXPECT_EQ(recorder::CallNames(), Strings{"OrmaVirtualVideoCreate"});
}

} // namespace
