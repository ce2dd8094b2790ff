#include "engine/picture/image.h"

#include "engine/core/av_handles.h"
#include "engine/core/vector_clones.h"
#include "engine/picture/geometry.h"

extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

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

namespace {

// A few scaler contexts per thread: MLT renders frames on several worker
// threads at once and a context must not be shared between them.
struct ScalerKey {
  int sw, sh, sfmt, dw, dh, dfmt, flags, srcFull, matrixFrom, matrixTo;
  bool operator==(const ScalerKey& o) const { return std::memcmp(this, &o, sizeof o) == 0; }
};

struct ScalerCache {
  struct Entry {
    ScalerKey key;
    SwsPtr ctx;
    uint64_t used;
  };
  std::vector<Entry> entries;
  uint64_t clock = 0;
  SwsContext* Get(const ScalerKey& key) {
    ++clock;
    for (auto& e : entries)
      if (e.key == key) {
        e.used = clock;
        return e.ctx.get();
      }
    SwsPtr owner(sws_getContext(key.sw, key.sh, static_cast<AVPixelFormat>(key.sfmt), key.dw, key.dh,
                                static_cast<AVPixelFormat>(key.dfmt), key.flags, nullptr, nullptr, nullptr));
    SwsContext* ctx = owner.get();
    if (!ctx) return nullptr;
    int srcSpace = key.matrixFrom == 709 ? SWS_CS_ITU709 : SWS_CS_ITU601;
    int dstSpace = key.matrixTo == 709 ? SWS_CS_ITU709 : SWS_CS_ITU601;
    sws_setColorspaceDetails(ctx, sws_getCoefficients(srcSpace), key.srcFull, sws_getCoefficients(dstSpace),
                             0, 0, 1 << 16, 1 << 16);
    if (entries.size() >= 6) {
      auto oldest = std::min_element(entries.begin(), entries.end(),
                                     [](const Entry& a, const Entry& b) { return a.used < b.used; });
      entries.erase(oldest);
    }
    entries.push_back({key, std::move(owner), clock});
    return ctx;
  }
};

thread_local ScalerCache tScalers;

// Y'CbCr of one matrix to another, on normalised values (Y 0..1, C -0.5..0.5).
struct MatrixConversion {
  int m[3][3]; // 16.16 fixed point
};

MatrixConversion MakeConversion(int from, int to) {
  auto rgb2yuv = [](int matrix, double out[3][3]) {
    double kr = matrix == 709 ? 0.2126 : 0.299, kb = matrix == 709 ? 0.0722 : 0.114, kg = 1 - kr - kb;
    double r[3][3] = {{kr, kg, kb},
                      {-kr / (2 * (1 - kb)), -kg / (2 * (1 - kb)), 0.5},
                      {0.5, -kg / (2 * (1 - kr)), -kb / (2 * (1 - kr))}};
    std::memcpy(out, r, sizeof r);
  };
  auto yuv2rgb = [](int matrix, double out[3][3]) {
    double kr = matrix == 709 ? 0.2126 : 0.299, kb = matrix == 709 ? 0.0722 : 0.114, kg = 1 - kr - kb;
    double r[3][3] = {
        {1, 0, 2 * (1 - kr)}, {1, -2 * (1 - kb) * kb / kg, -2 * (1 - kr) * kr / kg}, {1, 2 * (1 - kb), 0}};
    std::memcpy(out, r, sizeof r);
  };
  double a[3][3], b[3][3];
  rgb2yuv(to, a);
  yuv2rgb(from, b);
  MatrixConversion c;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      double sum = 0;
      for (int k = 0; k < 3; ++k)
        sum += a[i][k] * b[k][j];
      c.m[i][j] = static_cast<int>(std::lround(sum * 65536.0));
    }
  return c;
}

// Re-expresses limited-range Y'CbCr of matrix `from` in matrix `to`. Luma
// uses the chroma sample that covers it.
void ConvertMatrix(Yuv& img, int from, int to) {
  MatrixConversion c = MakeConversion(from, to);
  // Luma and chroma scale differently in limited range: work on values
  // normalised to 219 (luma) and 224 (chroma) steps.
  for (int cy = 0; cy < Half(img.h); ++cy) {
    uint8_t* u = img.p[1] + cy * img.s[1];
    uint8_t* v = img.p[2] + cy * img.s[2];
    for (int cx = 0; cx < Half(img.w); ++cx) {
      int cb = u[cx] - 128, cr = v[cx] - 128; // in 224ths
      // Chroma contribution to luma, converted from 224ths to 219ths.
      int lumaShift = static_cast<int>(((int64_t)c.m[0][1] * cb + (int64_t)c.m[0][2] * cr) * 219 / 224 >> 16);
      for (int dy = 0; dy < 2; ++dy) {
        int yy = cy * 2 + dy;
        if (yy >= img.h) break;
        uint8_t* row = img.p[0] + yy * img.s[0];
        for (int dx = 0; dx < 2; ++dx) {
          int xx = cx * 2 + dx;
          if (xx >= img.w) break;
          int luma = row[xx] - 16;
          int out = 16 + static_cast<int>(((int64_t)c.m[0][0] * luma >> 16)) + lumaShift;
          row[xx] = static_cast<uint8_t>(std::clamp(out, 0, 255));
        }
      }
      int nu = 128 + static_cast<int>(((int64_t)c.m[1][1] * cb + (int64_t)c.m[1][2] * cr) >> 16);
      int nv = 128 + static_cast<int>(((int64_t)c.m[2][1] * cb + (int64_t)c.m[2][2] * cr) >> 16);
      u[cx] = static_cast<uint8_t>(std::clamp(nu, 0, 255));
      v[cx] = static_cast<uint8_t>(std::clamp(nv, 0, 255));
    }
  }
}

} // namespace

void FillAlpha(Yuv& img) {
  if (!img.p[3]) return;
  for (int y = 0; y < img.h; ++y)
    std::memset(img.p[3] + y * img.s[3], 255, img.w);
}

bool ScaleYuv(const Yuv& src, int sx, int sy, int sw, int sh, Colorimetry srcColor, Yuv& dst, int dstMatrix,
              bool smooth) {
  sx &= ~1;
  sy &= ~1;
  sw = std::min(sw, src.w - sx);
  sh = std::min(sh, src.h - sy);
  if (sw <= 0 || sh <= 0 || dst.w <= 0 || dst.h <= 0) return false;
  bool alpha = src.HasAlpha() && dst.HasAlpha();
  ScalerKey key{};
  key.sw = sw;
  key.sh = sh;
  key.sfmt = alpha ? AV_PIX_FMT_YUVA420P : AV_PIX_FMT_YUV420P;
  key.dw = dst.w;
  key.dh = dst.h;
  key.dfmt = key.sfmt;
  key.flags = smooth ? SWS_BICUBIC | SWS_ACCURATE_RND : SWS_BILINEAR;
  key.srcFull = srcColor.fullRange ? 1 : 0;
  key.matrixFrom = srcColor.matrix;
  key.matrixTo = srcColor.matrix;
  SwsContext* ctx = tScalers.Get(key);
  if (!ctx) return false;
  const uint8_t* planes[4] = {src.p[0] + sy * src.s[0] + sx, src.p[1] + (sy / 2) * src.s[1] + sx / 2,
                              src.p[2] + (sy / 2) * src.s[2] + sx / 2,
                              alpha ? src.p[3] + sy * src.s[3] + sx : nullptr};
  int strides[4] = {src.s[0], src.s[1], src.s[2], alpha ? src.s[3] : 0};
  uint8_t* out[4] = {dst.p[0], dst.p[1], dst.p[2], alpha ? dst.p[3] : nullptr};
  int outStrides[4] = {dst.s[0], dst.s[1], dst.s[2], alpha ? dst.s[3] : 0};
  sws_scale(ctx, planes, strides, 0, sh, out, outStrides);
  if (dst.HasAlpha() && !alpha) FillAlpha(dst);
  if (srcColor.matrix != dstMatrix) ConvertMatrix(dst, srcColor.matrix, dstMatrix);
  return true;
}

bool ScaleRgba(const uint8_t* rgba, int stride, int sx, int sy, int sw, int sh, Yuv& dst, int dstMatrix) {
  if (sw <= 0 || sh <= 0 || !dst.HasAlpha()) return false;
  ScalerKey key{};
  key.sw = sw;
  key.sh = sh;
  key.sfmt = AV_PIX_FMT_RGBA;
  key.dw = dst.w;
  key.dh = dst.h;
  key.dfmt = AV_PIX_FMT_YUVA420P;
  key.flags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP;
  key.srcFull = 1;
  key.matrixFrom = dstMatrix;
  key.matrixTo = dstMatrix;
  SwsContext* ctx = tScalers.Get(key);
  if (!ctx) return false;
  const uint8_t* planes[4] = {rgba + static_cast<size_t>(sy) * stride + static_cast<size_t>(sx) * 4, nullptr,
                              nullptr, nullptr};
  int strides[4] = {stride, 0, 0, 0};
  uint8_t* out[4] = {dst.p[0], dst.p[1], dst.p[2], dst.p[3]};
  int outStrides[4] = {dst.s[0], dst.s[1], dst.s[2], dst.s[3]};
  sws_scale(ctx, planes, strides, 0, sh, out, outStrides);
  return true;
}

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
