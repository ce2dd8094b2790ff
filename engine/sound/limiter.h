// The last stage of the output's sound: a peak limiter, so that a mix of
// many loud sources never clips. It runs on the thread that takes the frames
// in order and keeps its gain from one frame to the next.
#pragma once

#include <vector>

namespace orma {

class Limiter {
public:
  /// `ceiling`: the largest sample value let through (linear, 0..1).
  explicit Limiter(int sampleRate, float ceiling = kCeiling);

  /// Limits `samples` samples of every plane in place. Where the loudest
  /// channel would pass the ceiling, the gain of all channels goes down:
  /// ahead of the peak within the block (so the peak is reached gradually),
  /// at once at a block's first sample if needed, and it comes back slowly
  /// afterwards. Values that are not numbers become silence.
  void Process(float* const* planes, int channels, int samples);

  float gain() const { return gain_; }

  static constexpr float kCeiling = 0.891f; ///< -1 dBFS: room for lossy coding's overshoot

private:
  float ceiling_;
  float attackStep_;  ///< the largest gain drop per sample ahead of a peak
  float releaseStep_; ///< the largest gain rise per sample after one
  float gain_ = 1.0f;
  std::vector<float> needed_;
};

} // namespace orma
