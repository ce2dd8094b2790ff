// Small helpers for the tests of picture kernels: pictures of one colour and
// reading a pixel back as R'G'B' 0..255.
#pragma once

#include <algorithm>
#include <cmath>
#include <string>

#include "engine/picture/image.h"

namespace testpic {

struct Rgb8 {
  int r, g, b;
};

inline std::string Text(Rgb8 c) {
  return "(" + std::to_string(c.r) + "," + std::to_string(c.g) + "," + std::to_string(c.b) + ")";
}

inline void FillRgb(orma::Yuv& img, float r, float g, float b, int x0 = 0, int y0 = 0, int x1 = -1,
                    int y1 = -1) {
  if (x1 < 0) x1 = img.w;
  if (y1 < 0) y1 = img.h;
  orma::YuvColor c = orma::RgbToYuv(r, g, b, 601);
  for (int y = y0; y < y1; ++y)
    for (int x = x0; x < x1; ++x) {
      img.p[0][y * img.s[0] + x] = c.y;
      img.p[1][(y / 2) * img.s[1] + x / 2] = c.u;
      img.p[2][(y / 2) * img.s[2] + x / 2] = c.v;
    }
}

inline Rgb8 At(const orma::Yuv& img, int x, int y) {
  float l = (img.p[0][y * img.s[0] + x] - 16.0f) / 219.0f;
  float cb = (img.p[1][(y / 2) * img.s[1] + x / 2] - 128.0f) / 224.0f;
  float cr = (img.p[2][(y / 2) * img.s[2] + x / 2] - 128.0f) / 224.0f;
  float r = l + 1.402f * cr, b = l + 1.772f * cb;
  float g = (l - 0.299f * r - 0.114f * b) / 0.587f;
  auto q = [](float v) { return static_cast<int>(std::lround(std::clamp(v, 0.0f, 1.0f) * 255.0f)); };
  return {q(r), q(g), q(b)};
}

inline bool Near(Rgb8 a, Rgb8 b, int tolerance) {
  return std::abs(a.r - b.r) <= tolerance && std::abs(a.g - b.g) <= tolerance &&
         std::abs(a.b - b.b) <= tolerance;
}

inline int Alpha(const orma::Yuv& img, int x, int y) { return img.p[3][y * img.s[3] + x]; }

} // namespace testpic
