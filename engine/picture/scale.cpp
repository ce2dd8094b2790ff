// ScaleYuv and ScaleRgba (scale.h) on FFmpeg's scaler, with a small cache
// of scaler contexts per thread; a source in another colour matrix than the
// canvas's is scaled in its own and converted afterwards.
#include "engine/picture/scale.h"

#include "engine/core/av_handles.h"
#include "engine/picture/geometry.h"
#include "platform/per_thread.h"

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

// The calling thread's scaler contexts.
ScalerCache& Scalers() {
  return platform::PerThread<ScalerCache>([] {});
}

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
  SwsContext* ctx = Scalers().Get(key);
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
  SwsContext* ctx = Scalers().Get(key);
  if (!ctx) return false;
  const uint8_t* planes[4] = {rgba + static_cast<size_t>(sy) * stride + static_cast<size_t>(sx) * 4, nullptr,
                              nullptr, nullptr};
  int strides[4] = {stride, 0, 0, 0};
  uint8_t* out[4] = {dst.p[0], dst.p[1], dst.p[2], dst.p[3]};
  int outStrides[4] = {dst.s[0], dst.s[1], dst.s[2], dst.s[3]};
  sws_scale(ctx, planes, strides, 0, sh, out, outStrides);
  return true;
}

} // namespace orma
