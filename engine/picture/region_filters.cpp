#include "engine/picture/region_filters.h"
#include "engine/picture/blur.h"
#include "engine/picture/geometry.h"
#include "platform/per_thread.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace orma {

namespace {

Yuv SubPicture(Yuv& img, const PixelRect& r) {
  Yuv v;
  v.w = r.Width();
  v.h = r.Height();
  v.p[0] = img.p[0] + r.y0 * img.s[0] + r.x0;
  v.s[0] = img.s[0];
  for (int k = 1; k <= 2; ++k) {
    v.p[k] = img.p[k] + (r.y0 / 2) * img.s[k] + r.x0 / 2;
    v.s[k] = img.s[k];
  }
  return v;
}

// One plane's rectangle: the luma rectangle, or its half for chroma.
struct PlaneRect {
  int x0, y0, x1, y1, w, h;
};

PlaneRect ForPlane(const PixelRect& r, const Yuv& img, int plane) {
  if (plane == 0) return {r.x0, r.y0, r.x1, r.y1, img.w, img.h};
  return {r.x0 / 2, r.y0 / 2, Half(r.x1), Half(r.y1), Half(img.w), Half(img.h)};
}

void PixelatePlane(uint8_t* p, int stride, const PlaneRect& r, int block) {
  for (int by = r.y0; by < r.y1; by += block) {
    int ey = std::min(by + block, r.y1);
    for (int bx = r.x0; bx < r.x1; bx += block) {
      int ex = std::min(bx + block, r.x1);
      int sum = 0;
      for (int y = by; y < ey; ++y) {
        const uint8_t* row = p + static_cast<size_t>(y) * stride;
        for (int x = bx; x < ex; ++x)
          sum += row[x];
      }
      int count = (ey - by) * (ex - bx);
      uint8_t mean = static_cast<uint8_t>((sum + count / 2) / count);
      for (int y = by; y < ey; ++y)
        std::fill(p + static_cast<size_t>(y) * stride + bx, p + static_cast<size_t>(y) * stride + ex, mean);
    }
  }
}

void FillPlane(uint8_t* p, int stride, const PlaneRect& r, std::vector<float>& border) {
  // The sides the fill is taken from: the pixels just outside the region,
  // or its own outermost pixels where it touches the picture's edge.
  int xl = r.x0 > 0 ? r.x0 - 1 : r.x0;
  int xr = r.x1 < r.w ? r.x1 : r.x1 - 1;
  int yt = r.y0 > 0 ? r.y0 - 1 : r.y0;
  int yb = r.y1 < r.h ? r.y1 : r.y1 - 1;
  int rows = r.y1 - r.y0, cols = r.x1 - r.x0;
  // Read every side before writing: a side inside the region is overwritten.
  border.resize(static_cast<size_t>(2 * rows + 2 * cols));
  float* left = border.data();
  float* right = left + rows;
  float* top = right + rows;
  float* bottom = top + cols;
  auto at = [&](int x, int y) { return static_cast<float>(p[static_cast<size_t>(y) * stride + x]); };
  for (int y = r.y0; y < r.y1; ++y) {
    left[y - r.y0] = at(xl, y);
    right[y - r.y0] = at(xr, y);
  }
  for (int x = r.x0; x < r.x1; ++x) {
    top[x - r.x0] = at(x, yt);
    bottom[x - r.x0] = at(x, yb);
  }
  float spanX = static_cast<float>(xr - xl), spanY = static_cast<float>(yb - yt);
  for (int y = r.y0; y < r.y1; ++y) {
    uint8_t* row = p + static_cast<size_t>(y) * stride;
    float fy = spanY > 0 ? (y - yt) / spanY : 0.5f;
    float dy = static_cast<float>(std::min(y - yt, yb - y));
    for (int x = r.x0; x < r.x1; ++x) {
      float fx = spanX > 0 ? (x - xl) / spanX : 0.5f;
      float dx = static_cast<float>(std::min(x - xl, xr - x));
      float across = left[y - r.y0] + (right[y - r.y0] - left[y - r.y0]) * fx;
      float down = top[x - r.x0] + (bottom[x - r.x0] - top[x - r.x0]) * fy;
      // Near a left or right side the row's blend decides, near the top
      // or bottom the column's, so both meet their sides exactly.
      float total = dx + dy;
      float v = total > 0 ? (across * dy + down * dx) / total : across;
      row[x] = static_cast<uint8_t>(std::clamp(std::lround(v), 0L, 255L));
    }
  }
}

} // namespace

PixelRect RegionPixels(const float region[4], int width, int height) {
  PixelRect r;
  for (int i = 0; i < 4; ++i)
    if (!std::isfinite(region[i])) return r;
  float left = std::min(region[0], region[2]), right = std::max(region[0], region[2]);
  float top = std::min(region[1], region[3]), bottom = std::max(region[1], region[3]);
  auto down = [](double v, int limit) {
    return std::clamp(static_cast<int>(std::floor(v / 2.0)) * 2, 0, limit & ~1);
  };
  auto up = [](double v, int limit) {
    return std::clamp(static_cast<int>(std::ceil(v / 2.0)) * 2, 0, limit & ~1);
  };
  r.x0 = down(static_cast<double>(left) * width, width);
  r.y0 = down(static_cast<double>(top) * height, height);
  r.x1 = up(static_cast<double>(right) * width, width);
  r.y1 = up(static_cast<double>(bottom) * height, height);
  return r;
}

int MosaicBlockSize(float intensity, int width, int height) {
  float i = std::isfinite(intensity) ? std::clamp(intensity, 0.0f, 1.0f) : 0.0f;
  int shorter = std::min(width, height);
  int block = static_cast<int>(std::lround((0.02 + 0.08 * i) * shorter / 2.0)) * 2;
  return std::max(2, block);
}

float RegionBlurSigma(float intensity, int width, int height) {
  float i = std::isfinite(intensity) ? std::clamp(intensity, 0.0f, 1.0f) : 0.0f;
  return static_cast<float>((0.005 + 0.045 * i) * std::min(width, height));
}

void Pixelate(Yuv& img, const PixelRect& region, int block) {
  if (region.Empty() || block < 2) return;
  for (int k = 0; k < 3; ++k)
    PixelatePlane(img.p[k], img.s[k], ForPlane(region, img, k), k == 0 ? block : block / 2);
}

void BlurRegion(Yuv& img, const PixelRect& region, float sigma) {
  if (region.Empty()) return;
  Yuv part = SubPicture(img, region);
  GaussianBlur(part, sigma);
}

void FillFromBorder(Yuv& img, const PixelRect& region) {
  if (region.Empty()) return;
  std::vector<float>& border = platform::PerThread<std::vector<float>>([] {});
  for (int k = 0; k < 3; ++k)
    FillPlane(img.p[k], img.s[k], ForPlane(region, img, k), border);
}

} // namespace orma
