// Music tracks and sound effects added to the virtual video: arguments,
// call order of each kind, and every failure the library can report.
#include <gtest/gtest.h>

#include <cstring>

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

class TimelineAudio : public ::testing::Test {
protected:
  void SetUp() override {
    recorder::Reset();
    vv_ = OrmaVirtualVideoCreate(); // "h1"
    std::memset(message_, 0, sizeof(message_));
  }
  int32_t Run() { return AddTimelineEffects(doc_.get(), vv_, message_); }
  static Strings AudioCalls() {
    Strings out;
    for (const std::string& call : recorder::Formatted("Orma"))
      if (call.find("Audio") != std::string::npos) out.push_back(call);
    return out;
  }
  static void Fill(AudioTrackRecord* a) {
    a->volume = 0.75f;
    a->trimTimeStart = 1.5f;
    a->trimTimeEnd = 4.25f;
    a->timelineFrom = 2.0f;
    a->timelineTo = 4.75f;
    a->fadeInDuration = 0.5f;
    a->fadeOutDuration = 1.25f;
    a->speed = 1.5f;
    a->audioFilterType = 2.7f;
    a->denoiseLevel = 3.9f;
    a->pitch = 7.0f;
    a->speedHoldPitch = 1.0f;
    a->isFadeInOut = 1;
  }

  StageDocument doc_;
  OrmaVideoHandle vv_ = nullptr;
  char message_[2048];
};

TEST_F(TimelineAudio, MusicIsCreatedWithVolumeAndTimesThenCutFadeSpeedEffectNoise) {
  Fill(doc_.AddMusic("music/song.mp3"));
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(AudioCalls(),
            (Strings{"OrmaAddAudioMedia(h1, \"" + Joined(kDraftFolder, "music/song.mp3") +
                         "\", 0.75, 1500000, 4250000, 2000000, 4750000)",
                     "OrmaSetAudioMediaCutTime(h2, 1500000, 4250000)",
                     "OrmaSetAudioMediaFadeTime(h2, 500000, 1250000)", "OrmaSetAudioMediaPlaySpeed(h2, 1.5)",
                     "OrmaSetAudioMediaEffect(h2, 2)", "OrmaSetAudioMediaNsLevel(h2, 3)"}));
  EXPECT_STREQ(message_, "");
}

TEST_F(TimelineAudio, SoundEffectSetsNoiseBeforeSpeedAndGetsItsVolumeAsAFactor) {
  Fill(doc_.AddSoundEffect("/sounds/bell.wav"));
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(AudioCalls(),
            (Strings{"OrmaAddAudioMedia(h1, \"/sounds/bell.wav\", 0.75, 1500000, 4250000, 2000000, 4750000)",
                     "OrmaSetAudioMediaCutTime(h2, 1500000, 4250000)",
                     "OrmaSetAudioMediaFadeTime(h2, 500000, 1250000)", "OrmaSetAudioMediaNsLevel(h2, 3)",
                     "OrmaSetAudioMediaPlaySpeed(h2, 1.5)", "OrmaSetAudioMediaVolFactor(h2, 0.75)",
                     "OrmaSetAudioMediaEffect(h2, 2)"}));
}

TEST_F(TimelineAudio, VolumeIsWidenedToDoubleNotRounded) {
  // 0.1f widened is 0.100000001490116...; a rounding through text or a
  // decimal constant would give 0.1 exactly.
  doc_.AddMusic("a.mp3")->volume = 0.1f;
  doc_.AddSoundEffect("b.wav")->volume = 0.1f;
  ASSERT_EQ(Run(), 1);
  for (const recorder::Call& c : recorder::Calls()) {
    if (c.name == "OrmaAddAudioMedia") {
      EXPECT_EQ(c.args[2], "0.100000001");
    }
    if (c.name == "OrmaSetAudioMediaVolFactor") {
      EXPECT_EQ(c.args[1], "0.100000001");
    }
  }
  EXPECT_EQ(CallsNamed({"OrmaAddAudioMedia", "OrmaSetAudioMediaVolFactor"}).size(), 3u);
}

TEST_F(TimelineAudio, MusicVolumeIsGivenOnlyAtCreation) {
  doc_.AddMusic("a.mp3")->volume = 0.5f;
  ASSERT_EQ(Run(), 1);
  EXPECT_TRUE(CallsNamed({"OrmaSetAudioMediaVolFactor"}).empty());
}

TEST_F(TimelineAudio, AllMusicsComeBeforeAllSoundEffectsInListOrder) {
  doc_.AddSoundEffect("s1.wav");
  doc_.AddMusic("m1.mp3");
  doc_.AddSoundEffect("s2.wav");
  doc_.AddMusic("m2.mp3");
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(CallsNamed({"OrmaAddAudioMedia"}),
            (Strings{"OrmaAddAudioMedia(h1, \"" + Joined(kDraftFolder, "m1.mp3") + "\", 0, 0, 0, 0, 0)",
                     "OrmaAddAudioMedia(h1, \"" + Joined(kDraftFolder, "m2.mp3") + "\", 0, 0, 0, 0, 0)",
                     "OrmaAddAudioMedia(h1, \"" + Joined(kDraftFolder, "s1.wav") + "\", 0, 0, 0, 0, 0)",
                     "OrmaAddAudioMedia(h1, \"" + Joined(kDraftFolder, "s2.wav") + "\", 0, 0, 0, 0, 0)"}));
}

TEST_F(TimelineAudio, NegativeLevelsAndTypesTruncateTowardZero) {
  AudioTrackRecord* a = doc_.AddMusic("a.mp3");
  a->audioFilterType = -1.9f;
  a->denoiseLevel = -2.5f;
  a->trimTimeStart = -0.0000019f;
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(CallsNamed({"OrmaSetAudioMediaEffect", "OrmaSetAudioMediaNsLevel", "OrmaSetAudioMediaCutTime"}),
            (Strings{"OrmaSetAudioMediaCutTime(h2, -1, 0)", "OrmaSetAudioMediaEffect(h2, -1)",
                     "OrmaSetAudioMediaNsLevel(h2, -2)"}));
}

TEST_F(TimelineAudio, PitchFadeFlagAndNameAreNotPassed) {
  AudioTrackRecord* a = doc_.AddSoundEffect("a.wav");
  a->pitch = 12.0f;
  a->speedHoldPitch = 1.0f;
  a->isFadeInOut = 1;
  std::strcpy(a->name, "bell");
  ASSERT_EQ(Run(), 1);
  for (const std::string& call : recorder::Formatted("Orma")) {
    EXPECT_EQ(call.find("12"), std::string::npos) << call;
    EXPECT_EQ(call.find("bell"), std::string::npos) << call;
  }
  EXPECT_EQ(recorder::CallNames().size(), 8u); // creation of vv and seven audio calls
}

// --- failures of music tracks ---

struct AudioFailure {
  const char* name; ///< names the instantiated test
  const char* call;
  int64_t result;
  int32_t expected;
  const char* message;
};

class MusicFailure : public TimelineAudio, public ::testing::WithParamInterface<AudioFailure> {};

TEST_P(MusicFailure, EndsTheStageWithTheCallsResultAndMessage) {
  const AudioFailure f = GetParam();
  doc_.AddMusic("a.mp3");
  doc_.AddMusic("b.mp3");
  doc_.AddSoundEffect("c.wav");
  doc_.AddToning(0, 1);
  recorder::SetResult(f.call, f.result);
  EXPECT_EQ(Run(), f.expected);
  EXPECT_STREQ(message_, f.message);
  const Strings names = recorder::CallNames();
  EXPECT_EQ(names.back(), f.call);
  EXPECT_EQ(CallsNamed({"OrmaAddAudioMedia"}).size(), 1u);
  EXPECT_TRUE(CallsNamed({"OrmaAddFilterAdjustment"}).empty());
}

INSTANTIATE_TEST_SUITE_P(
    EveryCall, MusicFailure,
    ::testing::Values(
        AudioFailure{"CreationRefused", "OrmaAddAudioMedia", 0, kAddMusicFailed, "Add audio media fail"},
        AudioFailure{"CutTimeNegative", "OrmaSetAudioMediaCutTime", -7, -7, "Set audio media cut time fail"},
        AudioFailure{"CutTimeZero", "OrmaSetAudioMediaCutTime", 0, 0, "Set audio media cut time fail"},
        AudioFailure{"FadeTimeNegative", "OrmaSetAudioMediaFadeTime", -8, -8,
                     "Set audio media fade time fail"},
        AudioFailure{"PlaySpeedNegative", "OrmaSetAudioMediaPlaySpeed", -9, -9,
                     "Set audio media play speed fail"},
        AudioFailure{"EffectZero", "OrmaSetAudioMediaEffect", 0, 0, "Set audio media effect fail"},
        AudioFailure{"EffectNegative", "OrmaSetAudioMediaEffect", -10, -10, "Set audio media effect fail"},
        AudioFailure{"DenoiseNegative", "OrmaSetAudioMediaNsLevel", -11, -11,
                     "Set audio media denoise level fail"},
        AudioFailure{"DenoiseZero", "OrmaSetAudioMediaNsLevel", 0, 0, "Set audio media denoise level fail"}),
    [](const ::testing::TestParamInfo<AudioFailure>& info) { return std::string(info.param.name); });

// --- failures of sound effects ---

class SoundEffectFailure : public TimelineAudio, public ::testing::WithParamInterface<AudioFailure> {};

TEST_P(SoundEffectFailure, EndsTheStageWithTheCallsResultAndMessage) {
  const AudioFailure f = GetParam();
  doc_.AddSoundEffect("a.wav");
  doc_.AddSoundEffect("b.wav");
  doc_.AddToning(0, 1);
  recorder::SetResult(f.call, f.result);
  EXPECT_EQ(Run(), f.expected);
  EXPECT_STREQ(message_, f.message);
  EXPECT_EQ(recorder::CallNames().back(), f.call);
  EXPECT_EQ(CallsNamed({"OrmaAddAudioMedia"}).size(), 1u);
  EXPECT_TRUE(CallsNamed({"OrmaAddFilterAdjustment"}).empty());
}

INSTANTIATE_TEST_SUITE_P(
    EveryCall, SoundEffectFailure,
    ::testing::Values(
        AudioFailure{"CreationRefused", "OrmaAddAudioMedia", 0, kAddSoundEffectFailed,
                     "Add audio media fail"},
        AudioFailure{"CutTimeNegative", "OrmaSetAudioMediaCutTime", -7, -7, "Set audio media cut time fail"},
        AudioFailure{"FadeTimeZero", "OrmaSetAudioMediaFadeTime", 0, 0, "Set audio media fade time fail"},
        AudioFailure{"DenoiseNegative", "OrmaSetAudioMediaNsLevel", -11, -11,
                     "Set audio media denoise level fail"},
        AudioFailure{"PlaySpeedNegative", "OrmaSetAudioMediaPlaySpeed", -9, -9,
                     "Set audio media play speed fail"},
        AudioFailure{"VolumeFactorNegative", "OrmaSetAudioMediaVolFactor", -12, -12,
                     "Set audio media play speed fail"},
        AudioFailure{"EffectNegative", "OrmaSetAudioMediaEffect", -10, -10, "Set audio media effect fail"}),
    [](const ::testing::TestParamInfo<AudioFailure>& info) { return std::string(info.param.name); });

TEST_F(TimelineAudio, SoundEffectWhoseVolumeFactorFailsReportsThePlaySpeedText) {
  doc_.AddSoundEffect("a.wav")->volume = 0.5f;
  recorder::SetResult("OrmaSetAudioMediaVolFactor", 0);
  EXPECT_EQ(Run(), 0);
  EXPECT_STREQ(message_, "Set audio media play speed fail");
  EXPECT_TRUE(CallsNamed({"OrmaSetAudioMediaEffect"}).empty());
}

TEST_F(TimelineAudio, MusicFailureStopsBeforeAnySoundEffect) {
  doc_.AddMusic("a.mp3");
  doc_.AddSoundEffect("b.wav");
  recorder::QueueResults("OrmaAddAudioMedia", {0});
  EXPECT_EQ(Run(), kAddMusicFailed);
  EXPECT_EQ(CallsNamed({"OrmaAddAudioMedia"}).size(), 1u);
}

TEST_F(TimelineAudio, SoundEffectCreationFailureAfterMusicsHasItsOwnCode) {
  doc_.AddMusic("a.mp3");
  doc_.AddSoundEffect("b.wav");
  recorder::QueueResults("OrmaAddAudioMedia", {1, 0});
  EXPECT_EQ(Run(), kAddSoundEffectFailed);
  EXPECT_STREQ(message_, "Add audio media fail");
}

} // namespace
