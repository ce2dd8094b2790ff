// Exact frame rates and the conversions between microseconds, the unit of
// the core library's API, and frames of the output, the unit everything is
// rendered in. Rates are kept as fractions (30000/1001) so that frame
// positions of long timelines do not drift.
#pragma once

#include <cstdint>

namespace orma {

struct Rational {
  int num = 25;
  int den = 1;
};

/// Exact rational frame rate of a double: 25 -> 25/1, 29.97 -> 30000/1001.
Rational RationalFps(double fps);

/// Microseconds to frames at `fps`, rounded to the nearest frame.
int64_t UsToFrames(int64_t us, Rational fps);
int64_t FramesToUs(int64_t frames, Rational fps);

} // namespace orma
