#include "engine/sound/limiter.h"

#include <algorithm>
#include <cmath>

namespace orma {

namespace {
// The gain falls over 5 ms before a peak and recovers over 200 ms: short
// enough to follow drums, long enough not to pump within a tone.
constexpr double kAttackSeconds = 0.005;
constexpr double kReleaseSeconds = 0.2;
} // namespace

Limiter::Limiter(int sampleRate, float ceiling) : ceiling_(ceiling) {
  double rate = sampleRate > 0 ? sampleRate : 44100;
  attackStep_ = static_cast<float>(1.0 / (kAttackSeconds * rate));
  releaseStep_ = static_cast<float>(1.0 / (kReleaseSeconds * rate));
}

void Limiter::Process(float* const* planes, int channels, int samples) {
  if (channels <= 0 || samples <= 0) return;
  needed_.resize(static_cast<size_t>(samples));
  // The gain each sample needs to stay under the ceiling.
  for (int s = 0; s < samples; ++s) {
    float peak = 0.0f;
    for (int c = 0; c < channels; ++c) {
      float& v = planes[c][s];
      if (!std::isfinite(v)) v = 0.0f;
      peak = std::max(peak, std::fabs(v));
    }
    needed_[s] = peak > ceiling_ ? ceiling_ / peak : 1.0f;
  }
  // Backwards: the gain may fall at most attackStep_ per sample on the way
  // into a peak, so it starts falling before the peak arrives.
  for (int s = samples - 2; s >= 0; --s)
    needed_[s] = std::min(needed_[s], needed_[s + 1] + attackStep_);
  // Forwards: never above what is needed, rising back slowly.
  float g = gain_;
  for (int s = 0; s < samples; ++s) {
    g = std::min(needed_[s], g + releaseStep_);
    for (int c = 0; c < channels; ++c)
      planes[c][s] = std::clamp(planes[c][s] * g, -ceiling_, ceiling_);
    needed_[s] = g;
  }
  gain_ = g;
}

} // namespace orma
