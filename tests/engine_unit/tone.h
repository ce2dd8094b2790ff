// Measuring test tones: the strongest frequency of a stretch of sound (a
// Goertzel scan), and its level.
#pragma once

#include <cmath>
#include <vector>

namespace tone {

/// The frequency in [lo, hi] Hz (1 Hz steps) with the most energy.
inline double Dominant(const float* samples, int count, int rate, int lo = 50, int hi = 2000) {
  double best = 0, bestPower = -1;
  for (int f = lo; f <= hi; ++f) {
    double w = 2.0 * M_PI * f / rate, k = 2.0 * std::cos(w), s1 = 0, s2 = 0;
    for (int i = 0; i < count; ++i) {
      double s = samples[i] + k * s1 - s2;
      s2 = s1;
      s1 = s;
    }
    double power = s1 * s1 + s2 * s2 - k * s1 * s2;
    if (power > bestPower) {
      bestPower = power;
      best = f;
    }
  }
  return best;
}

inline double Rms(const float* samples, int count) {
  double sum = 0;
  for (int i = 0; i < count; ++i)
    sum += static_cast<double>(samples[i]) * samples[i];
  return count > 0 ? std::sqrt(sum / count) : 0.0;
}

/// A sine of `seconds` at `amplitude`.
inline std::vector<float> Sine(double frequency, double seconds, int rate, float amplitude = 0.5f) {
  std::vector<float> out(static_cast<size_t>(seconds * rate));
  for (size_t i = 0; i < out.size(); ++i)
    out[i] = amplitude * static_cast<float>(std::sin(2.0 * M_PI * frequency * i / rate));
  return out;
}

} // namespace tone
