#include "engine/core/rational.h"

#include <cmath>

namespace orma {

Rational RationalFps(double fps) {
  Rational r;
  if (!(fps > 0.0) || !std::isfinite(fps)) return r;
  double whole = std::round(fps);
  if (std::fabs(fps - whole) < 1e-6) {
    r.num = static_cast<int>(whole);
    r.den = 1;
    return r;
  }
  // NTSC-style rates: n * 1000 / 1001 (23.976, 29.97, 59.94 ...).
  double ntsc = std::round(fps * 1.001);
  if (ntsc > 0 && std::fabs(fps - ntsc * 1000.0 / 1001.0) < 0.0051) {
    r.num = static_cast<int>(ntsc) * 1000;
    r.den = 1001;
    return r;
  }
  // Anything else to the nearest 1/1000 of a frame per second.
  r.num = static_cast<int>(std::lround(fps * 1000.0));
  r.den = 1000;
  int a = r.num, b = r.den;
  while (b) {
    int t = a % b;
    a = b;
    b = t;
  }
  r.num /= a;
  r.den /= a;
  return r;
}

int64_t UsToFrames(int64_t us, Rational fps) {
  // Nearest frame; exact in integers for the range of any real timeline.
  __int128 n = static_cast<__int128>(us) * fps.num;
  __int128 d = static_cast<__int128>(fps.den) * 1000000;
  __int128 q = (n >= 0 ? n + d / 2 : n - d / 2) / d;
  return static_cast<int64_t>(q);
}

int64_t FramesToUs(int64_t frames, Rational fps) {
  __int128 n = static_cast<__int128>(frames) * fps.den * 1000000;
  return static_cast<int64_t>(n / fps.num);
}

} // namespace orma
