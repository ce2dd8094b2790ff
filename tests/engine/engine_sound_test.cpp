// Time and sound of media items in the rendered video: trims, speed with the
// pitch kept, volume, fades, voice effects and noise suppression.
#include <algorithm>
#include <cmath>
#include <string>

#include "tests/engine/engine_test_support.h"
#include "tests/engine_unit/tone.h"

namespace {

const Rgb kRed{255, 0, 0}, kGreen{0, 255, 0};

int F(double seconds) { return static_cast<int>(std::lround(seconds * 25)); }

// The strongest frequency of the decoded sound between two times.
double Dominant(const DecodedVideo& v, double from, double to) {
  int a = static_cast<int>(from * v.sampleRate), b = static_cast<int>(to * v.sampleRate);
  b = std::min<int>(b, static_cast<int>(v.mono.size()));
  if (b <= a) return 0;
  return tone::Dominant(v.mono.data() + a, b - a, v.sampleRate);
}

double Peak(const DecodedVideo& v, double from, double to) {
  float peak = 0;
  for (size_t i = static_cast<size_t>(from * v.sampleRate); i < v.mono.size() && i < to * v.sampleRate; ++i)
    peak = std::max(peak, std::fabs(v.mono[i]));
  return peak;
}

// RMS of the sample-to-sample differences: high frequencies (noise) count,
// a low tone hardly does.
double HighRms(const DecodedVideo& v, double from, double to) {
  double sum = 0;
  size_t a = static_cast<size_t>(from * v.sampleRate) + 1,
         b = std::min(v.mono.size(), size_t(to * v.sampleRate));
  for (size_t i = a; i < b; ++i)
    sum += (v.mono[i] - v.mono[i - 1]) * (v.mono[i] - v.mono[i - 1]);
  return b > a ? std::sqrt(sum / (b - a)) : 0.0;
}

class EngineSound : public EngineTest {
protected:
  // A scene [from, to) playing `media` trimmed to [trimFrom, trimTo) seconds
  // at `speed`, the item lasting the trimmed length over the speed.
  OrmaMediaHandle Item(OrmaVideoHandle vv, double from, const std::string& media, double trimFrom,
                       double trimTo, double speed) {
    double length = (trimTo - trimFrom) / speed;
    OrmaMediaHandle m = nullptr;
    AddScene(vv, from, from + length, media, &m);
    EXPECT_EQ(OrmaSetMediaTimeLine(m, 0, static_cast<int64_t>(length * kSecond)), 1);
    EXPECT_EQ(OrmaSetMediaCutTime(m, static_cast<int64_t>(trimFrom * kSecond),
                                  static_cast<int64_t>(trimTo * kSecond)),
              1);
    EXPECT_EQ(OrmaSetMediaPlaySpeed(m, speed), 1);
    return m;
  }
};

TEST_F(EngineSound, SpeedTwoHalvesTheDurationAndKeepsThePitch) {
  OrmaVideoHandle vv = NewVideo();
  Item(vv, 0, "red.mp4", 0, 3, 2.0);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_NEAR(v.durationSeconds, 1.5, 1.0 / 25);
  EXPECT_GT(v.Rms(0.2, 1.3), 0.03); // the sound plays, time-stretched
  EXPECT_NEAR(Dominant(v, 0.3, 1.2), 440, 440 * 0.03);
}

TEST_F(EngineSound, SlowSpeedStretchesTheSoundWithItsPitch) {
  OrmaVideoHandle vv = NewVideo();
  Item(vv, 0, "red.mp4", 0, 1, 0.5);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_NEAR(v.durationSeconds, 2.0, 1.0 / 25);
  EXPECT_GT(v.Rms(1.5, 1.9), 0.03);
  EXPECT_NEAR(Dominant(v, 0.3, 1.7), 440, 440 * 0.03);
}

TEST_F(EngineSound, VideoFramesAreResampledAtTheSpeed) {
  OrmaVideoHandle vv = NewVideo();
  Item(vv, 0, "redgreen.mp4", 0, 1, 2.0); // red for 0.5 s of source, then green
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_NEAR(v.FrameCount(), 13, 1);
  EXPECT_PRED2(Close, v.At(F(0.1), 0.5, 0.5), kRed);
  EXPECT_PRED2(Close, v.At(F(0.4), 0.5, 0.5), kGreen);
}

TEST_F(EngineSound, TheItemPlaysItsTrimmedSourceOverItsDuration) {
  OrmaVideoHandle vv = NewVideo();
  Item(vv, 0, "redgreen.mp4", 0.5, 1.0, 1.0); // the green half only
  Item(vv, 0.5, "red.mp4", 1.0, 2.0, 1.0);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_NEAR(v.durationSeconds, 1.5, 1.0 / 25);
  EXPECT_PRED2(Close, v.At(1, 0.5, 0.5), kGreen);
  EXPECT_PRED2(Close, v.At(F(0.4), 0.5, 0.5), kGreen);
  EXPECT_PRED2(Close, v.At(F(1.0), 0.5, 0.5), kRed);
  EXPECT_GT(v.Rms(0.7, 1.3), 0.03);
}

TEST_F(EngineSound, FadesRampTheAudioLevel) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle plain = Item(vv, 0, "red.mp4", 0, 3, 1.0);
  OrmaMediaHandle processed = Item(vv, 3, "red.mp4", 0, 3, 1.0);
  for (OrmaMediaHandle m : {plain, processed})
    ASSERT_EQ(OrmaSetMediaAudioFadeTime(m, 1 * kSecond, 1 * kSecond), 1);
  ASSERT_EQ(OrmaSetMediaAudioEffect(processed, 6), 1); // through the sound chain
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  for (double start : {0.0, 3.0}) {
    double rising0 = v.Rms(start + 0.1, start + 0.3), rising1 = v.Rms(start + 0.6, start + 0.8);
    double full = v.Rms(start + 1.3, start + 1.7);
    double falling0 = v.Rms(start + 2.2, start + 2.4), falling1 = v.Rms(start + 2.7, start + 2.9);
    EXPECT_LT(rising0, rising1 * 0.7) << "item at " << start;
    EXPECT_LT(rising1, full * 0.9) << "item at " << start;
    EXPECT_LT(falling0, full * 0.9) << "item at " << start;
    EXPECT_LT(falling1, falling0 * 0.7) << "item at " << start;
  }
}

TEST_F(EngineSound, VolumeScalesTheSoundAndLoudSoundIsLimited) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle one = Item(vv, 0, "red.mp4", 0, 1, 1.0);
  OrmaMediaHandle two = Item(vv, 1, "red.mp4", 0, 1, 1.0);
  OrmaMediaHandle mute = Item(vv, 2, "red.mp4", 0, 1, 1.0);
  OrmaMediaHandle loud = Item(vv, 3, "loud.mp4", 0, 1, 1.0);
  ASSERT_EQ(OrmaSetMediaAudioFactor(one, 1.0f), 1);
  ASSERT_EQ(OrmaSetMediaAudioFactor(two, 2.0f), 1);
  ASSERT_EQ(OrmaSetMediaAudioFactor(mute, 0.0f), 1);
  ASSERT_EQ(OrmaSetMediaAudioFactor(loud, 4.0f), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_NEAR(v.Rms(1.2, 1.8) / v.Rms(0.2, 0.8), 2.0, 0.25);
  EXPECT_LT(v.Rms(2.2, 2.8), 0.001);
  // Limited, not clipped: the loud tone stays a sine (RMS / peak = 0.707;
  // clipping would square it towards 1) below the output's ceiling.
  double peak = Peak(v, 3.2, 3.8);
  EXPECT_GT(v.Rms(3.2, 3.8), 0.5);
  EXPECT_NEAR(v.Rms(3.2, 3.8) / peak, 0.707, 0.04);
  EXPECT_LE(peak, 0.891 * std::sqrt(2.0) * 1.05); // the mono mix-down adds both channels at -3 dB
}

TEST_F(EngineSound, ChipmunkAndDeepVoiceMoveThePitch) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle high = Item(vv, 0, "red.mp4", 0, 1, 1.0);
  OrmaMediaHandle low = Item(vv, 1, "red.mp4", 0, 1, 1.0);
  ASSERT_EQ(OrmaSetMediaAudioEffect(high, 3), 1);
  ASSERT_EQ(OrmaSetMediaAudioEffect(low, 4), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_NEAR(Dominant(v, 0.2, 0.8), 660, 660 * 0.03);
  EXPECT_NEAR(Dominant(v, 1.2, 1.8), 330, 330 * 0.03);
}

TEST_F(EngineSound, EchoLeavesATailAfterTheSound) {
  OrmaVideoHandle vv = NewVideo();
  Item(vv, 0, "burst.mp4", 0, 2, 1.0);
  OrmaMediaHandle echo = Item(vv, 2, "burst.mp4", 0, 2, 1.0);
  ASSERT_EQ(OrmaSetMediaAudioEffect(echo, 1), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_LT(v.Rms(0.45, 0.6), 0.003);
  EXPECT_GT(v.Rms(2.35, 2.6), 0.01);
}

TEST_F(EngineSound, NoiseSuppressionLowersTheNoiseAndKeepsTheTone) {
  OrmaVideoHandle vv = NewVideo();
  Item(vv, 0, "noisy.mp4", 0, 3, 1.0);
  OrmaMediaHandle clean = Item(vv, 3, "noisy.mp4", 0, 3, 1.0);
  ASSERT_EQ(OrmaSetMediaAudioNsLevel(clean, 4), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_LT(HighRms(v, 4.0, 5.5), HighRms(v, 1.0, 2.5) * 0.5);
  EXPECT_NEAR(v.Rms(4.0, 5.5), 0.088, 0.015); // the tone stays
  EXPECT_NEAR(Dominant(v, 4.0, 5.0), 440, 440 * 0.03);
}

} // namespace
