// The box passes behind GaussianBlur and GaussianBlurPlane (blur.h).
#include "engine/picture/blur.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "engine/picture/geometry.h"

namespace orma {

namespace {

// One box pass of radius r along rows (step 1) or columns (step = stride),
// with edges extended.
void BoxPass(uint8_t* p, int count, int lines, int step, int lineStep, int r, std::vector<uint8_t>& tmp) {
  if (r <= 0) return;
  tmp.resize(count);
  int size = 2 * r + 1;
  for (int line = 0; line < lines; ++line) {
    uint8_t* base = p + static_cast<size_t>(line) * lineStep;
    for (int i = 0; i < count; ++i)
      tmp[i] = base[static_cast<size_t>(i) * step];
    int sum = 0;
    for (int i = -r; i <= r; ++i)
      sum += tmp[std::clamp(i, 0, count - 1)];
    for (int i = 0; i < count; ++i) {
      base[static_cast<size_t>(i) * step] = static_cast<uint8_t>((sum + size / 2) / size);
      sum += tmp[std::min(i + r + 1, count - 1)] - tmp[std::max(i - r, 0)];
    }
  }
}

void BlurPlane(uint8_t* p, int stride, int w, int h, float sigma) {
  if (sigma < 0.5f) return;
  // Three box passes approximate a Gaussian (box widths after Kovesi).
  const int passes = 3;
  double ideal = std::sqrt(12.0 * sigma * sigma / passes + 1.0);
  int wl = static_cast<int>(std::floor(ideal));
  if (wl % 2 == 0) --wl;
  int wu = wl + 2;
  double mIdeal =
      (12.0 * sigma * sigma - passes * wl * wl - 4.0 * passes * wl - 3.0 * passes) / (-4.0 * wl - 4.0);
  int m = static_cast<int>(std::lround(mIdeal));
  std::vector<uint8_t> tmp;
  for (int i = 0; i < passes; ++i) {
    int r = ((i < m ? wl : wu) - 1) / 2;
    BoxPass(p, w, h, 1, stride, r, tmp);
    BoxPass(p, h, w, stride, 1, r, tmp);
  }
}

} // namespace

void GaussianBlurPlane(uint8_t* plane, int stride, int w, int h, float sigma) {
  BlurPlane(plane, stride, w, h, sigma);
}

void GaussianBlur(Yuv& img, float sigma) {
  BlurPlane(img.p[0], img.s[0], img.w, img.h, sigma);
  BlurPlane(img.p[1], img.s[1], Half(img.w), Half(img.h), sigma / 2);
  BlurPlane(img.p[2], img.s[2], Half(img.w), Half(img.h), sigma / 2);
}

} // namespace orma
