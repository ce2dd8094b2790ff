#include "engine/picture/image.h"

#include "engine/picture/geometry.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace orma {

namespace {

// Planes per allocation are padded to 64 bytes so rows can be processed with
// wide loads without touching the next plane.
int Align64(int n) { return (n + 63) & ~63; }

} // namespace

Picture::Picture(int width, int height, bool alpha) {
  width = std::max(width, 2);
  height = std::max(height, 2);
  int ys = Align64(width);
  int cs = Align64(Half(width));
  size_t ysize = static_cast<size_t>(ys) * height;
  size_t csize = static_cast<size_t>(cs) * Half(height);
  size_t total = ysize + 2 * csize + (alpha ? ysize : 0) + 64;
  buffer_.reset(new uint8_t[total]);
  uint8_t* base = buffer_.get();
  view_.w = width;
  view_.h = height;
  view_.p[0] = base;
  view_.s[0] = ys;
  view_.p[1] = base + ysize;
  view_.s[1] = cs;
  view_.p[2] = base + ysize + csize;
  view_.s[2] = cs;
  if (alpha) {
    view_.p[3] = base + ysize + 2 * csize;
    view_.s[3] = ys;
  }
}

YuvColor RgbToYuv(float red, float green, float blue, int matrix) {
  double kr = matrix == 709 ? 0.2126 : 0.299;
  double kb = matrix == 709 ? 0.0722 : 0.114;
  double r = std::clamp<double>(red, 0.0, 1.0);
  double g = std::clamp<double>(green, 0.0, 1.0);
  double b = std::clamp<double>(blue, 0.0, 1.0);
  double y = kr * r + (1.0 - kr - kb) * g + kb * b;
  double cb = (b - y) / (2.0 * (1.0 - kb));
  double cr = (r - y) / (2.0 * (1.0 - kr));
  YuvColor c;
  c.y = static_cast<uint8_t>(std::lround(16.0 + 219.0 * y));
  c.u = static_cast<uint8_t>(std::clamp<long>(std::lround(128.0 + 224.0 * cb), 16, 240));
  c.v = static_cast<uint8_t>(std::clamp<long>(std::lround(128.0 + 224.0 * cr), 16, 240));
  return c;
}

int Yuv420Size(int width, int height) { return width * height + 2 * Half(width) * Half(height); }

Yuv Yuv420View(uint8_t* data, int width, int height) {
  Yuv v;
  v.w = width;
  v.h = height;
  v.p[0] = data;
  v.s[0] = width;
  v.p[1] = data + width * height;
  v.s[1] = Half(width);
  v.p[2] = v.p[1] + Half(width) * Half(height);
  v.s[2] = Half(width);
  return v;
}

void Fill(Yuv& dst, YuvColor color) {
  for (int y = 0; y < dst.h; ++y)
    std::memset(dst.p[0] + y * dst.s[0], color.y, dst.w);
  for (int y = 0; y < Half(dst.h); ++y) {
    std::memset(dst.p[1] + y * dst.s[1], color.u, Half(dst.w));
    std::memset(dst.p[2] + y * dst.s[2], color.v, Half(dst.w));
  }
  if (dst.p[3])
    for (int y = 0; y < dst.h; ++y)
      std::memset(dst.p[3] + y * dst.s[3], 255, dst.w);
}

void CopyPicture(Yuv& dst, const Yuv& src) {
  int w = std::min(dst.w, src.w), h = std::min(dst.h, src.h);
  for (int y = 0; y < h; ++y)
    std::memcpy(dst.p[0] + y * dst.s[0], src.p[0] + y * src.s[0], w);
  for (int y = 0; y < Half(h); ++y) {
    std::memcpy(dst.p[1] + y * dst.s[1], src.p[1] + y * src.s[1], Half(w));
    std::memcpy(dst.p[2] + y * dst.s[2], src.p[2] + y * src.s[2], Half(w));
  }
}

void FillAlpha(Yuv& img) {
  if (!img.p[3]) return;
  for (int y = 0; y < img.h; ++y)
    std::memset(img.p[3] + y * img.s[3], 255, img.w);
}

namespace {
void MirrorPlane(uint8_t* p, int stride, int w, int h, bool horizontal, bool vertical) {
  if (horizontal)
    for (int y = 0; y < h; ++y)
      std::reverse(p + y * stride, p + y * stride + w);
  if (vertical)
    for (int y = 0; y < h / 2; ++y)
      std::swap_ranges(p + y * stride, p + y * stride + w, p + (h - 1 - y) * stride);
}
} // namespace

void Mirror(Yuv& img, bool horizontal, bool vertical) {
  if (!horizontal && !vertical) return;
  MirrorPlane(img.p[0], img.s[0], img.w, img.h, horizontal, vertical);
  MirrorPlane(img.p[1], img.s[1], Half(img.w), Half(img.h), horizontal, vertical);
  MirrorPlane(img.p[2], img.s[2], Half(img.w), Half(img.h), horizontal, vertical);
  if (img.p[3]) MirrorPlane(img.p[3], img.s[3], img.w, img.h, horizontal, vertical);
}

RowSpans SpansOfCoverage(const uint8_t* coverage, const uint8_t* extra, int stride, int w, int h,
                         int margin) {
  const int rows = (h + 1) / 2;
  // First and last non-zero column of each picture row (w, -1: none).
  std::vector<int> first(h, w), last(h, -1);
  for (int y = 0; y < h; ++y)
    for (const uint8_t* plane : {coverage, extra}) {
      if (!plane) continue;
      const uint8_t* row = plane + static_cast<size_t>(y) * stride;
      int x = 0;
      while (x < first[y] && row[x] == 0)
        ++x;
      first[y] = std::min(first[y], x);
      int z = w - 1;
      while (z > last[y] && row[z] == 0)
        --z;
      last[y] = std::max(last[y], z);
    }
  RowSpans spans;
  spans.lo.assign(rows, 0);
  spans.hi.assign(rows, 0);
  for (int r = 0; r < rows; ++r) {
    int lo = w, hi = -1;
    for (int y = std::max(0, 2 * r - margin); y <= std::min(h - 1, 2 * r + 1 + margin); ++y) {
      lo = std::min(lo, first[y]);
      hi = std::max(hi, last[y]);
    }
    if (hi < lo) continue;
    spans.lo[r] = std::max(0, lo - margin) & ~1;
    spans.hi[r] = std::min(w, (hi + margin + 2) & ~1);
  }
  return spans;
}

} // namespace orma
