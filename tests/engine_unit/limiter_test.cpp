#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "engine/sound/limiter.h"

namespace {

constexpr int kRate = 48000;

// Stereo blocks of a sine of amplitude `amplitude`, processed frame by frame
// (1920 samples, 25 fps) the way the output takes them.
std::vector<float> RunSine(orma::Limiter& limiter, float amplitude, int blocks, int* phase) {
  std::vector<float> all;
  std::vector<float> left(1920), right(1920);
  for (int b = 0; b < blocks; ++b) {
    for (int s = 0; s < 1920; ++s, ++*phase) {
      left[s] = amplitude * static_cast<float>(std::sin(2 * M_PI * 440.0 * *phase / kRate));
      right[s] = -left[s];
    }
    float* planes[2] = {left.data(), right.data()};
    limiter.Process(planes, 2, 1920);
    all.insert(all.end(), left.begin(), left.end());
  }
  return all;
}

TEST(Limiter, QuietSoundPassesUnchanged) {
  orma::Limiter limiter(kRate);
  std::vector<float> a(1000), b(1000);
  for (int i = 0; i < 1000; ++i)
    a[i] = b[i] = 0.5f * static_cast<float>(std::sin(i * 0.05));
  float* planes[1] = {a.data()};
  limiter.Process(planes, 1, 1000);
  for (int i = 0; i < 1000; ++i)
    ASSERT_FLOAT_EQ(a[i], b[i]);
  EXPECT_FLOAT_EQ(limiter.gain(), 1.0f);
}

TEST(Limiter, ALoudMixNeverPassesTheCeiling) {
  orma::Limiter limiter(kRate);
  int phase = 0;
  std::vector<float> out = RunSine(limiter, 10.0f, 25, &phase);
  float peak = 0;
  for (float v : out)
    peak = std::max(peak, std::fabs(v));
  EXPECT_LE(peak, orma::Limiter::kCeiling);
  // Still loud: limited, not silenced.
  EXPECT_GT(peak, 0.8f * orma::Limiter::kCeiling);
}

TEST(Limiter, GainComesBackAfterTheLoudPart) {
  orma::Limiter limiter(kRate);
  int phase = 0;
  RunSine(limiter, 4.0f, 10, &phase);
  EXPECT_LT(limiter.gain(), 0.3f);
  RunSine(limiter, 0.25f, 25, &phase); // one second of quiet sound
  EXPECT_FLOAT_EQ(limiter.gain(), 1.0f);
}

TEST(Limiter, GainFallsBeforeAPeakWithinABlock) {
  orma::Limiter limiter(kRate);
  std::vector<float> block(1920, 0.1f);
  block[1500] = 3.0f;
  float* planes[1] = {block.data()};
  limiter.Process(planes, 1, 1920);
  EXPECT_NEAR(block[1500], orma::Limiter::kCeiling, 1e-5);
  // 2 ms before the peak the gain is already below 1, long before it is 1.
  EXPECT_LT(block[1500 - 96], 0.1f);
  EXPECT_FLOAT_EQ(block[100], 0.1f);
}

TEST(Limiter, NotANumberBecomesSilence) {
  orma::Limiter limiter(kRate);
  std::vector<float> block = {0.1f, std::nanf(""), INFINITY, 0.1f};
  float* planes[1] = {block.data()};
  limiter.Process(planes, 1, 4);
  EXPECT_EQ(block[1], 0.0f);
  EXPECT_EQ(block[2], 0.0f);
  EXPECT_FLOAT_EQ(block[3], 0.1f);
}

} // namespace
