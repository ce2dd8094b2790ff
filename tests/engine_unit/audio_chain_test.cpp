#include <gtest/gtest.h>

#include <cstdint>
#include <random>

#include "engine/sound/audio_chain.h"
#include "tests/engine_unit/tone.h"

using namespace orma;

namespace {

constexpr int kRate = 44100;

// Runs a mono signal through a chain (as two identical channels) in blocks
// of one 25 fps frame and returns the left channel of everything that comes
// out.
std::vector<float> Process(const AudioChain::Settings& s, const std::vector<float>& in) {
  AudioChain chain;
  std::string error;
  EXPECT_TRUE(chain.Open(s, &error)) << error;
  std::vector<float> out, left(4096), right(4096);
  float* outPlanes[2] = {left.data(), right.data()};
  auto take = [&] {
    int n;
    while ((n = chain.Pull(outPlanes, 4096)) > 0)
      out.insert(out.end(), left.begin(), left.begin() + n);
  };
  for (size_t i = 0; i < in.size(); i += 1764) {
    int n = static_cast<int>(std::min<size_t>(1764, in.size() - i));
    const float* planes[2] = {in.data() + i, in.data() + i};
    EXPECT_TRUE(chain.Push(planes, n));
    take();
  }
  chain.Finish();
  take();
  return out;
}

AudioChain::Settings With(double speed, int effect = 0, int noise = 0) {
  AudioChain::Settings s;
  s.sampleRate = kRate;
  s.channels = 2;
  s.speed = speed;
  s.effect = effect;
  s.noiseLevel = noise;
  return s;
}

// Up to the last sample that is not (nearly) silent.
double Seconds(const std::vector<float>& v) {
  size_t last = v.size();
  while (last > 0 && std::fabs(v[last - 1]) < 0.01f)
    --last;
  return static_cast<double>(last) / kRate;
}

double DominantInMiddle(const std::vector<float>& v) {
  size_t n = std::min<size_t>(v.size() / 2, kRate / 4);
  return tone::Dominant(v.data() + v.size() / 4, static_cast<int>(n), kRate);
}

} // namespace

TEST(AudioChain, PlainSettingsChangeNothing) {
  EXPECT_FALSE(AudioChain::Changes(With(1.0)));
  EXPECT_FALSE(AudioChain::Changes(With(0.0)));
  EXPECT_FALSE(AudioChain::Changes(With(1.0, 99)));
  EXPECT_TRUE(AudioChain::Changes(With(2.0)));
  EXPECT_TRUE(AudioChain::Changes(With(1.0, kVoiceEcho)));
  EXPECT_TRUE(AudioChain::Changes(With(1.0, 0, 1)));
  std::vector<float> in = tone::Sine(440, 1.0, kRate);
  std::vector<float> out = Process(With(1.0), in);
  ASSERT_GE(out.size(), in.size());
  for (size_t i = 0; i < in.size(); i += 997)
    EXPECT_FLOAT_EQ(out[i], in[i]);
}

TEST(AudioChain, SpeedTwoHalvesTheLengthAndKeepsThePitch) {
  std::vector<float> out = Process(With(2.0), tone::Sine(440, 2.0, kRate));
  EXPECT_NEAR(Seconds(out), 1.0, 0.02);
  EXPECT_NEAR(DominantInMiddle(out), 440, 440 * 0.03);
}

TEST(AudioChain, SlowSpeedsChainTimeStretchersAndKeepThePitch) {
  EXPECT_NE(AudioChain::Description(With(0.1)).find("atempo=0.5,atempo=0.5,atempo=0.5,atempo=0.8"),
            std::string::npos)
      << AudioChain::Description(With(0.1));
  EXPECT_NE(AudioChain::Description(With(10)).find("atempo=2,atempo=2,atempo=2,atempo=1.25"),
            std::string::npos)
      << AudioChain::Description(With(10));
  std::vector<float> out = Process(With(0.1), tone::Sine(440, 0.3, kRate));
  EXPECT_NEAR(Seconds(out), 3.0, 0.1);
  EXPECT_NEAR(DominantInMiddle(out), 440, 440 * 0.03);
}

TEST(AudioChain, ChipmunkAndDeepVoiceShiftThePitchAndKeepTheLength) {
  std::vector<float> in = tone::Sine(440, 1.0, kRate);
  std::vector<float> high = Process(With(1.0, kVoiceChipmunk), in), low = Process(With(1.0, kVoiceDeep), in);
  EXPECT_NEAR(Seconds(high), 1.0, 0.03);
  EXPECT_NEAR(Seconds(low), 1.0, 0.03);
  EXPECT_NEAR(DominantInMiddle(high), 660, 660 * 0.03);
  EXPECT_NEAR(DominantInMiddle(low), 330, 330 * 0.03);
}

TEST(AudioChain, TelephoneKeepsOnlyTheVoiceBand) {
  std::vector<float> lowIn = tone::Sine(80, 1.0, kRate), midIn = tone::Sine(1000, 1.0, kRate);
  std::vector<float> low = Process(With(1.0, kVoiceTelephone), lowIn),
                     mid = Process(With(1.0, kVoiceTelephone), midIn);
  double lowRatio = tone::Rms(low.data() + kRate / 2, kRate / 4) / tone::Rms(lowIn.data(), kRate / 4);
  double midRatio = tone::Rms(mid.data() + kRate / 2, kRate / 4) / tone::Rms(midIn.data(), kRate / 4);
  EXPECT_LT(lowRatio, 0.25);
  EXPECT_GT(midRatio, 0.5);
}

TEST(AudioChain, EchoAndReverbLeaveATailAfterTheSound) {
  std::vector<float> burst = tone::Sine(440, 0.2, kRate);
  burst.resize(kRate, 0.0f); // then 0.8 s of silence
  for (int effect : {kVoiceEcho, kVoiceReverb}) {
    std::vector<float> out = Process(With(1.0, effect), burst);
    ASSERT_GE(out.size(), static_cast<size_t>(kRate * 0.9));
    int from = effect == kVoiceEcho ? kRate * 3 / 10 : kRate * 21 / 100, count = kRate / 10;
    EXPECT_GT(tone::Rms(out.data() + from, count), 0.02) << "effect " << effect;
  }
}

TEST(AudioChain, RobotAndTheOthersChangeTheSound) {
  std::vector<float> in = tone::Sine(440, 1.0, kRate);
  for (int effect : {kVoiceRobot, kVoiceMegaphone, kVoiceUnderwater}) {
    std::vector<float> out = Process(With(1.0, effect), in);
    ASSERT_GE(out.size(), in.size() / 2) << effect;
    double diff = 0;
    for (size_t i = kRate / 4; i < kRate / 2; ++i)
      diff += std::fabs(out[i] - in[i]);
    EXPECT_GT(diff / (kRate / 4), 0.02) << "effect " << effect;
  }
}

TEST(AudioChain, NoiseSuppressionLowersNoiseMoreAtHigherLevels) {
  std::mt19937 random(5);
  std::normal_distribution<float> noise(0.0f, 0.05f);
  std::vector<float> in = tone::Sine(440, 2.0, kRate, 0.3f);
  for (float& v : in)
    v += noise(random);
  auto residual = [&](const std::vector<float>& out) {
    // What is left besides the tone, over the last half second.
    std::vector<float> clean = tone::Sine(440, 2.0, kRate, 0.3f);
    double best = 1e9;
    for (int shift = 0; shift < 256; ++shift) { // the filters may delay the sound a little
      double sum = 0;
      for (int i = kRate * 3 / 2; i < kRate * 2 - 300; ++i) {
        double d = out[i] - clean[i - shift];
        sum += d * d;
      }
      best = std::min(best, std::sqrt(sum / (kRate / 2 - 300)));
    }
    return best;
  };
  double none = residual(in);
  double level[5] = {none, 0, 0, 0, 0};
  for (int l = 2; l <= 4; ++l)
    level[l] = residual(Process(With(1.0, 0, l), in));
  EXPECT_LT(level[2], none * 0.9);
  EXPECT_LT(level[3], level[2]);
  EXPECT_LT(level[4], level[3]);
  EXPECT_LT(level[4], none * 0.5);
}

TEST(AudioChain, EffectsAreNumberedInATable) {
  int count = 0;
  const VoiceEffectInfo* effects = VoiceEffects(&count);
  ASSERT_GE(count, 7);
  for (int i = 0; i < count; ++i)
    EXPECT_EQ(effects[i].number, i);
  EXPECT_STREQ(effects[kVoiceRobot].name, "robot");
}

TEST(AudioChain, ResetStartsAgain) {
  AudioChain chain;
  std::string error;
  ASSERT_TRUE(chain.Open(With(2.0), &error)) << error;
  std::vector<float> in = tone::Sine(440, 0.5, kRate);
  const float* planes[2] = {in.data(), in.data()};
  chain.Push(planes, static_cast<int>(in.size()));
  ASSERT_TRUE(chain.Reset(&error)) << error;
  EXPECT_EQ(chain.Available(), 0);
  EXPECT_FALSE(chain.finished());
}
