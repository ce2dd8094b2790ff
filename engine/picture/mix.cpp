// Laying one picture over another and mixing two (mix.h); the switch-order
// mix is built for AVX2 and the baseline (ORMA_VECTOR_CLONES).
#include "engine/picture/mix.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/core/vector_clones.h"
#include "engine/picture/geometry.h"

namespace orma {

void Blend(Yuv& dst, const Yuv& src, int x, int y, float opacity) {
  x &= ~1;
  y &= ~1;
  int x0 = std::max(x, 0), y0 = std::max(y, 0);
  int x1 = std::min(x + src.w, dst.w), y1 = std::min(y + src.h, dst.h);
  if (x0 >= x1 || y0 >= y1 || opacity <= 0.0f) return;
  int op = static_cast<int>(std::lround(std::clamp(opacity, 0.0f, 1.0f) * 256.0f));
  bool opaque = !src.HasAlpha() && op >= 256;
  if (opaque) {
    for (int yy = y0; yy < y1; ++yy)
      std::memcpy(dst.p[0] + yy * dst.s[0] + x0, src.p[0] + (yy - y) * src.s[0] + (x0 - x), x1 - x0);
    int cx0 = x0 / 2, cx1 = Half(x1), cy0 = y0 / 2, cy1 = Half(y1);
    for (int k = 1; k <= 2; ++k)
      for (int yy = cy0; yy < cy1; ++yy)
        std::memcpy(dst.p[k] + yy * dst.s[k] + cx0, src.p[k] + (yy - y / 2) * src.s[k] + (cx0 - x / 2),
                    cx1 - cx0);
    return;
  }
  // Luma with per-pixel weight a (0..256).
  for (int yy = y0; yy < y1; ++yy) {
    uint8_t* d = dst.p[0] + yy * dst.s[0];
    const uint8_t* s = src.p[0] + (yy - y) * src.s[0] - x;
    const uint8_t* a = src.HasAlpha() ? src.p[3] + (yy - y) * src.s[3] - x : nullptr;
    for (int xx = x0; xx < x1; ++xx) {
      int w = a ? (a[xx] * op + 127) / 255 : op;
      d[xx] = static_cast<uint8_t>(d[xx] + (((s[xx] - d[xx]) * w + 128) >> 8));
    }
  }
  int cx0 = x0 / 2, cx1 = Half(x1), cy0 = y0 / 2, cy1 = Half(y1);
  for (int yy = cy0; yy < cy1; ++yy) {
    int sy = yy - y / 2;
    for (int k = 1; k <= 2; ++k) {
      uint8_t* d = dst.p[k] + yy * dst.s[k];
      const uint8_t* s = src.p[k] + sy * src.s[k] - x / 2;
      for (int xx = cx0; xx < cx1; ++xx) {
        int w = op;
        if (src.HasAlpha()) {
          // Chroma weight: the mean alpha of the luma samples it covers.
          int ax = 2 * (xx - x / 2), ay = 2 * sy;
          int ax1 = std::min(ax + 1, src.w - 1), ay1 = std::min(ay + 1, src.h - 1);
          const uint8_t* r0 = src.p[3] + ay * src.s[3];
          const uint8_t* r1 = src.p[3] + ay1 * src.s[3];
          int mean = (r0[ax] + r0[ax1] + r1[ax] + r1[ax1] + 2) / 4;
          w = (mean * op + 127) / 255;
        }
        d[xx] = static_cast<uint8_t>(d[xx] + (((s[xx] - d[xx]) * w + 128) >> 8));
      }
    }
  }
}

void Mix(Yuv& dst, const Yuv& a, const Yuv& b, float t) {
  int w = static_cast<int>(std::lround(std::clamp(t, 0.0f, 1.0f) * 256.0f));
  for (int k = 0; k < 3; ++k) {
    int pw = k ? Half(dst.w) : dst.w, ph = k ? Half(dst.h) : dst.h;
    for (int y = 0; y < ph; ++y) {
      uint8_t* d = dst.p[k] + y * dst.s[k];
      const uint8_t* pa = a.p[k] + y * a.s[k];
      const uint8_t* pb = b.p[k] + y * b.s[k];
      for (int x = 0; x < pw; ++x)
        d[x] = static_cast<uint8_t>(pa[x] + (((pb[x] - pa[x]) * w + 128) >> 8));
    }
  }
}

ORMA_VECTOR_CLONES void SwitchMix(Yuv& dst, const Yuv& a, const Yuv& b, const uint8_t* order,
                                  const uint8_t* orderHalf, const SwitchRamp& ramp) {
  const SwitchRamp r = ramp; // a local copy: the byte stores cannot change it
  for (int k = 0; k < 3; ++k) {
    const int w = k ? Half(dst.w) : dst.w, h = k ? Half(dst.h) : dst.h;
    const uint8_t* codes = k ? orderHalf : order;
    for (int y = 0; y < h; ++y) {
      uint8_t* __restrict d = dst.p[k] + static_cast<size_t>(y) * dst.s[k];
      const uint8_t* __restrict pa = a.p[k] + static_cast<size_t>(y) * a.s[k];
      const uint8_t* __restrict pb = b.p[k] + static_cast<size_t>(y) * b.s[k];
      const uint8_t* __restrict m = codes + static_cast<size_t>(y) * w;
      for (int x = 0; x < w; ++x) {
        d[x] = static_cast<uint8_t>(pa[x] + (((pb[x] - pa[x]) * r.Weight(m[x]) + 128) >> 8));
      }
    }
  }
}

} // namespace orma
