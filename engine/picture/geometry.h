// Small pixel-geometry helpers shared by the picture kernels and the steps
// above them: the size of a 4:2:0 chroma plane, and the one bilinear sampler
// of an 8-bit plane (8-bit weights, rounded), used wherever a plane is read
// at fractional positions (blurs along lines, face shaping).
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace orma {

/// The chroma size of a luma size in 4:2:0: half, rounded up.
inline int Half(int n) { return (n + 1) / 2; }

/// The plane's value at (x, y), interpolated between its four neighbours;
/// positions outside the plane read its edge.
inline uint8_t SampleBilinear(const uint8_t* p, int stride, int w, int h, float x, float y) {
  x = std::clamp(x, 0.0f, static_cast<float>(w - 1));
  y = std::clamp(y, 0.0f, static_cast<float>(h - 1));
  int x0 = static_cast<int>(x), y0 = static_cast<int>(y);
  int x1 = std::min(x0 + 1, w - 1), y1 = std::min(y0 + 1, h - 1);
  int fx = static_cast<int>((x - x0) * 256.0f), fy = static_cast<int>((y - y0) * 256.0f);
  const uint8_t* r0 = p + static_cast<size_t>(y0) * stride;
  const uint8_t* r1 = p + static_cast<size_t>(y1) * stride;
  int top = r0[x0] * (256 - fx) + r0[x1] * fx;
  int bottom = r1[x0] * (256 - fx) + r1[x1] * fx;
  return static_cast<uint8_t>((top * (256 - fy) + bottom * fy + 32768) >> 16);
}

} // namespace orma
