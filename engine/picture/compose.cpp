#include "engine/picture/compose.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "engine/core/vector_clones.h"
#include "engine/picture/blend_modes.h"
#include "engine/picture/geometry.h"
#include "engine/picture/mix.h"
#include "engine/picture/resampled_rows.h"
#include "platform/per_thread.h"

namespace orma {

namespace {

struct Inverse {
  float a, b, c, d, tx, ty; // item = M * canvas + t
};

Inverse Invert(const Placement& p) {
  float det = p.a * p.d - p.b * p.c;
  Inverse r;
  r.a = p.d / det;
  r.b = -p.b / det;
  r.c = -p.c / det;
  r.d = p.a / det;
  r.tx = -(r.a * p.tx + r.b * p.ty);
  r.ty = -(r.c * p.tx + r.d * p.ty);
  return r;
}

// Coverage 0..256 of a point of the item: its alpha, fading to 0 over the
// pixel beyond the edge so rotated edges are smooth.
// `kx` and `ky` are canvas pixels per item pixel along the item's axes.
inline int Coverage(const Yuv& item, const float* r, float kx, float ky, float x, float y) {
  // Distance in canvas pixels from the pixel's centre to the nearest edge,
  // plus half a pixel.
  float ex = std::min(x + 0.5f - r[0], r[2] - 0.5f - x) * kx + 0.5f;
  float ey = std::min(y + 0.5f - r[1], r[3] - 0.5f - y) * ky + 0.5f;
  float e = std::min(ex, ey);
  if (e <= 0.0f) return 0;
  int edge = e >= 1.0f ? 256 : static_cast<int>(e * 256.0f);
  if (!item.p[3]) return edge;
  int a = SampleBilinear(item.p[3], item.s[3], item.w, item.h, x, y);
  return (a * edge + 127) / 255;
}

struct Rgb {
  float c[3];
};

struct Matrix {
  float kr, kg, kb;
  explicit Matrix(int m)
      : kr(m == 709 ? 0.2126f : 0.299f), kg(m == 709 ? 0.7152f : 0.587f), kb(m == 709 ? 0.0722f : 0.114f) {}
  void ToRgb(float y, float u, float v, float* c) const {
    float l = (y - 16.0f) / 219.0f, cb = (u - 128.0f) / 224.0f, cr = (v - 128.0f) / 224.0f;
    c[0] = std::clamp(l + 2.0f * (1.0f - kr) * cr, 0.0f, 1.0f);
    c[2] = std::clamp(l + 2.0f * (1.0f - kb) * cb, 0.0f, 1.0f);
    c[1] = std::clamp((l - kr * (l + 2.0f * (1.0f - kr) * cr) - kb * (l + 2.0f * (1.0f - kb) * cb)) / kg,
                      0.0f, 1.0f);
  }
  float Luma(const float* c) const { return kr * c[0] + kg * c[1] + kb * c[2]; }
};

inline uint8_t Code(float v) { return static_cast<uint8_t>(std::clamp(std::lround(v), 0L, 255L)); }

// What every path works out first: the visible part of the item, the canvas
// area it can touch (in whole 2x2 blocks), the inverse mapping and the
// opacity in 1/256.
struct Job {
  float vis[4]; ///< the visible part of the item (left, top, right, bottom)
  int x0, x1, y0, y1;
  Inverse inv;
  float kx, ky; ///< canvas pixels per item pixel along the item's axes
  int op;
  const RowSpans* visible = nullptr; ///< outside these the item's alpha is 0
};

bool Prepare(const Yuv& canvas, const Yuv& item, const Placement& p, float opacity, const float* region,
             Job* job) {
  const float whole[4] = {0, 0, static_cast<float>(item.w), static_cast<float>(item.h)};
  std::copy_n(region ? region : whole, 4, job->vis);
  const float* vis = job->vis;
  if (vis[2] <= vis[0] || vis[3] <= vis[1]) return false;
  if (opacity <= 0.0f || item.w <= 0 || item.h <= 0 || !p.Invertible()) return false;
  float xs[4] = {p.tx, p.a * item.w + p.tx, p.b * item.h + p.tx, p.a * item.w + p.b * item.h + p.tx};
  float ys[4] = {p.ty, p.c * item.w + p.ty, p.d * item.h + p.ty, p.c * item.w + p.d * item.h + p.ty};
  int x0 = static_cast<int>(std::floor(*std::min_element(xs, xs + 4))) - 1;
  int x1 = static_cast<int>(std::ceil(*std::max_element(xs, xs + 4))) + 1;
  int y0 = static_cast<int>(std::floor(*std::min_element(ys, ys + 4))) - 1;
  int y1 = static_cast<int>(std::ceil(*std::max_element(ys, ys + 4))) + 1;
  job->x0 = std::max(0, x0) & ~1;
  job->y0 = std::max(0, y0) & ~1;
  job->x1 = std::min(canvas.w, x1);
  job->y1 = std::min(canvas.h, y1);
  if (job->x0 >= job->x1 || job->y0 >= job->y1) return false;
  job->inv = Invert(p);
  job->kx = std::sqrt(p.a * p.a + p.c * p.c);
  job->ky = std::sqrt(p.b * p.b + p.d * p.d);
  job->op = static_cast<int>(std::lround(opacity * 256.0f));
  return true;
}

// Where one canvas coordinate samples the item along one axis: the two
// neighbouring item samples, the weight of the second (0..256) and, for
// luma, the edge coverage along that axis (0..256). The same arithmetic as
// SampleBilinear() and Coverage(), so both paths give the same codes.
struct Tap {
  int i0, i1, f, edge;
};

inline Tap MakeTap(float pos, int size, float lo, float hi, float k) {
  Tap t;
  float e = std::min(pos + 0.5f - lo, hi - 0.5f - pos) * k + 0.5f;
  t.edge = e <= 0.0f ? 0 : (e >= 1.0f ? 256 : static_cast<int>(e * 256.0f));
  float c = std::clamp(pos, 0.0f, static_cast<float>(size - 1));
  t.i0 = static_cast<int>(c);
  t.i1 = std::min(t.i0 + 1, size - 1);
  t.f = static_cast<int>((c - t.i0) * 256.0f);
  return t;
}

// One row of chroma blocks: the two resampled item rows mixed by `fy`, laid
// over the canvas rows by each block's weight. The rows are distinct rows
// of distinct planes, which lets the compiler vectorise the loop.
inline void MixChromaRow(uint8_t* __restrict du, uint8_t* __restrict dv, const uint16_t* __restrict u0,
                         const uint16_t* __restrict u1, const uint16_t* __restrict v0,
                         const uint16_t* __restrict v1, const int32_t* __restrict weight, int fy,
                         int blocks) {
  const int gy = 256 - fy;
  for (int b = 0; b < blocks; ++b) {
    int su = (u0[b] * gy + u1[b] * fy + 32768) >> 16, sv = (v0[b] * gy + v1[b] * fy + 32768) >> 16;
    du[b] = static_cast<uint8_t>(du[b] + (((su - du[b]) * weight[b] + 128) >> 8));
    dv[b] = static_cast<uint8_t>(dv[b] + (((sv - dv[b]) * weight[b] + 128) >> 8));
  }
}

// An item that is only scaled and moved (no rotation), laid over normally:
// the sampling positions along each axis are worked out once per column and
// once per row, the bilinear samples are taken in two separable steps, and
// every loop over a row is straight arithmetic.
ORMA_VECTOR_CLONES void ComposeAxisAligned(Yuv& canvas, const Yuv& item, const Job& job) {
  const int x0 = job.x0, x1 = job.x1, y0 = job.y0, y1 = job.y1, op = job.op;
  const Inverse& inv = job.inv;
  const float* vis = job.vis;
  const int width = x1 - x0, blocks = (width + 1) / 2;
  const int cw = Half(item.w), ch = Half(item.h);
  const bool alpha = item.p[3] != nullptr;
  // Per column: first and second sample, weight, edge coverage; per chroma
  // column: first and second sample, weight; and the chroma weights.
  struct Columns {
    std::array<std::vector<int32_t>, 4> luma;
    std::array<std::vector<int32_t>, 3> chroma;
    std::vector<int32_t> chromaWeight;
    std::array<std::vector<int32_t>, 2> weight;
    std::array<ResampledRows::Scratch, 4> rows;
  };
  Columns& perThread = platform::PerThread<Columns>([] {});
  auto& columns = perThread.luma;
  auto& chromaColumns = perThread.chroma;
  auto& chromaWeight = perThread.chromaWeight;
  auto& weight = perThread.weight;
  for (auto& c : columns)
    c.resize(width);
  // A column at the last item column samples it with weight 0 on a second
  // neighbour; it is taken as the column before it with weight 256 on the
  // last (the same value), so that every column reads two neighbours.
  auto pairUp = [](Tap& t) {
    if (t.i1 == t.i0 && t.i0 > 0) {
      t.i0 = t.i1 - 1;
      t.f = 256;
    }
  };
  const bool adjacent = item.w >= 2, chromaAdjacent = cw >= 2;
  for (int x = x0; x < x1; ++x) {
    float cx = x + 0.5f;
    Tap t = MakeTap(inv.a * cx + inv.tx - 0.5f, item.w, vis[0], vis[2], job.kx);
    pairUp(t);
    columns[0][x - x0] = t.i0;
    columns[1][x - x0] = t.i1;
    columns[2][x - x0] = t.f;
    columns[3][x - x0] = t.edge;
  }
  for (auto& c : chromaColumns)
    c.resize(blocks);
  chromaWeight.resize(blocks);
  for (int b = 0; b < blocks; ++b) {
    float cx = x0 + 2 * b + 1.0f;
    Tap t = MakeTap((inv.a * cx + inv.tx) * 0.5f - 0.5f, cw, 0, 0, 0);
    pairUp(t);
    chromaColumns[0][b] = t.i0;
    chromaColumns[1][b] = t.i1;
    chromaColumns[2][b] = t.f;
  }
  for (int k = 0; k < 2; ++k) {
    weight[k].resize(width);
  }
  auto& scratch = perThread.rows;
  ResampledRows lumaRows(item.p[0], item.s[0], item.h, columns[0].data(), columns[1].data(),
                         columns[2].data(), width, adjacent, scratch[0]);
  ResampledRows alphaRows(item.p[3], item.s[3], item.h, columns[0].data(), columns[1].data(),
                          columns[2].data(), width, adjacent, scratch[3]);
  ResampledRows uRows(item.p[1], item.s[1], ch, chromaColumns[0].data(), chromaColumns[1].data(),
                      chromaColumns[2].data(), blocks, chromaAdjacent, scratch[1]);
  ResampledRows vRows(item.p[2], item.s[2], ch, chromaColumns[0].data(), chromaColumns[1].data(),
                      chromaColumns[2].data(), blocks, chromaAdjacent, scratch[2]);
  const int32_t* edgeX = columns[3].data();
  // With the item's visible spans, each pair of canvas rows is drawn only
  // from the first column that samples a visible item column to the last
  // (the columns walk through the item in one direction when inv.a > 0);
  // elsewhere every weight is 0, which leaves the canvas as it is.
  const RowSpans* spans = job.visible && inv.a > 0 ? job.visible : nullptr;
  for (int y = y0; y < y1; y += 2) {
    const int rows = std::min(2, y1 - y);
    Tap ty[2];
    bool any = false;
    int lo = item.w, hi = 0; // item columns that may be visible
    for (int r = 0; r < rows; ++r) {
      ty[r] = MakeTap(inv.d * (y + r + 0.5f) + inv.ty - 0.5f, item.h, vis[1], vis[3], job.ky);
      if (ty[r].edge == 0) continue;
      any = true;
      if (!spans) continue;
      for (int row : {ty[r].i0, ty[r].i1}) {
        const int k = row / 2;
        if (spans->hi[k] <= spans->lo[k]) continue;
        lo = std::min(lo, spans->lo[k]);
        hi = std::max(hi, spans->hi[k]);
      }
    }
    if (!any) continue;
    int from = 0, to = width;
    if (spans) {
      if (hi <= lo) continue;
      from = static_cast<int>(std::lower_bound(columns[1].begin(), columns[1].begin() + width, lo) -
                              columns[1].begin());
      to = static_cast<int>(std::lower_bound(columns[0].begin(), columns[0].begin() + width, hi) -
                            columns[0].begin());
      if (to <= from) continue;
    }
    // The chroma blocks of the drawn columns; the others keep their codes.
    // Their weights read the pixels' weights from 2 * firstBlock (from, or
    // the column before) to 2 * endBlock (to, or the column after).
    const int firstBlock = from / 2, endBlock = std::min(blocks, (to + 1) / 2);
    const int readFrom = 2 * firstBlock, readTo = std::min(width, 2 * endBlock);
    for (int r = 0; r < rows; ++r) {
      int32_t* w = weight[r].data();
      if (ty[r].edge == 0) {
        std::fill(w + readFrom, w + readTo, 0);
        continue;
      }
      std::fill(w + readFrom, w + from, 0);
      std::fill(w + to, w + readTo, 0);
      const int fy = ty[r].f, gy = 256 - fy, edgeY = ty[r].edge;
      const uint16_t *l0, *l1, *a0 = nullptr, *a1 = nullptr;
      lumaRows.Pair(ty[r].i0, ty[r].i1, from, to, &l0, &l1);
      if (alpha) alphaRows.Pair(ty[r].i0, ty[r].i1, from, to, &a0, &a1);
      // One pass per row: the pixel's weight (edge coverage, times its alpha,
      // times the opacity), kept for the chroma, and its luma mixed in. A
      // pixel of weight 0 keeps its code, so every pixel can be mixed.
      uint8_t* __restrict d = canvas.p[0] + static_cast<size_t>(y + r) * canvas.s[0] + x0;
      int32_t* __restrict wr = w;
      if (alpha) {
        for (int i = from; i < to; ++i) {
          // (a * coverage + 127) / 255, without a division.
          int v = ((a0[i] * gy + a1[i] * fy + 32768) >> 16) * std::min(edgeX[i], edgeY) + 127;
          int c = (((v + 1 + (v >> 8)) >> 8) * op + 128) >> 8;
          wr[i] = c;
          int lv = (l0[i] * gy + l1[i] * fy + 32768) >> 16;
          d[i] = static_cast<uint8_t>(d[i] + (((lv - d[i]) * c + 128) >> 8));
        }
      } else {
        for (int i = from; i < to; ++i) {
          int c = (std::min(edgeX[i], edgeY) * op + 128) >> 8;
          wr[i] = c;
          int lv = (l0[i] * gy + l1[i] * fy + 32768) >> 16;
          d[i] = static_cast<uint8_t>(d[i] + (((lv - d[i]) * c + 128) >> 8));
        }
      }
    }
    float cy = y + 1.0f;
    Tap tc = MakeTap((inv.d * cy + inv.ty) * 0.5f - 0.5f, ch, 0, 0, 0);
    const uint16_t *u0, *u1, *v0, *v1;
    uRows.Pair(tc.i0, tc.i1, firstBlock, endBlock, &u0, &u1);
    vRows.Pair(tc.i0, tc.i1, firstBlock, endBlock, &v0, &v1);
    // A block's chroma weight is the mean of its pixels' weights; a block of
    // weight 0 keeps its codes, so every block can be mixed.
    const int32_t* w0 = weight[0].data();
    const int32_t* w1 = weight[1].data();
    int32_t* cwgt = chromaWeight.data();
    const int pairs = width / 2;
    if (rows == 2) {
      for (int b = firstBlock; b < std::min(pairs, endBlock); ++b)
        cwgt[b] = (w0[2 * b] + w0[2 * b + 1] + w1[2 * b] + w1[2 * b + 1] + 2) >> 2;
    } else {
      for (int b = firstBlock; b < std::min(pairs, endBlock); ++b)
        cwgt[b] = (w0[2 * b] + w0[2 * b + 1] + 1) >> 1;
    }
    if (pairs < blocks && pairs < endBlock) {
      int sum = w0[2 * pairs] + (rows == 2 ? w1[2 * pairs] : 0);
      cwgt[pairs] = (sum + rows / 2) / rows;
    }
    uint8_t* du = canvas.p[1] + static_cast<size_t>(y / 2) * canvas.s[1] + x0 / 2;
    uint8_t* dv = canvas.p[2] + static_cast<size_t>(y / 2) * canvas.s[2] + x0 / 2;
    MixChromaRow(du + firstBlock, dv + firstBlock, u0 + firstBlock, u1 + firstBlock, v0 + firstBlock,
                 v1 + firstBlock, cwgt + firstBlock, tc.f, endBlock - firstBlock);
  }
}

} // namespace

bool Placement::Invertible() const { return std::fabs(a * d - b * c) > 1e-6f; }

void ComposeEachPixel(Yuv& canvas, const Yuv& item, const Placement& p, float opacity, int blendMode,
                      int matrix, const float* region) {
  Job job;
  if (!Prepare(canvas, item, p, opacity, region, &job)) return;
  const BlendModeInfo* mode = FindBlendMode(blendMode);
  auto mix = mode ? mode->mix : nullptr;
  const int x0 = job.x0, x1 = job.x1, y0 = job.y0, y1 = job.y1, op = job.op;
  const Inverse& inv = job.inv;
  const float* vis = job.vis;
  const float kx = job.kx, ky = job.ky;
  int width = x1 - x0;
  auto& sy = platform::PerThread<std::array<std::vector<int>, 2>>([] {});
  auto& sw = platform::PerThread<std::array<std::vector<int>, 2>>([] {});
  for (int r = 0; r < 2; ++r) {
    sy[r].resize(width + 1);
    sw[r].resize(width + 1);
  }
  const int cw = Half(item.w), ch = Half(item.h);
  Matrix mat(matrix);
  for (int y = y0; y < y1; y += 2) {
    int rows = std::min(2, y1 - y);
    // Luma and coverage of the two rows.
    for (int r = 0; r < rows; ++r) {
      float cy = y + r + 0.5f;
      for (int x = x0; x < x1; ++x) {
        float cx = x + 0.5f;
        float ix = inv.a * cx + inv.b * cy + inv.tx - 0.5f;
        float iy = inv.c * cx + inv.d * cy + inv.ty - 0.5f;
        int cov = Coverage(item, vis, kx, ky, ix, iy);
        sw[r][x - x0] = (cov * op + 128) >> 8;
        sy[r][x - x0] = cov ? SampleBilinear(item.p[0], item.s[0], item.w, item.h, ix, iy) : 0;
      }
    }
    for (int bx = x0; bx < x1; bx += 2) {
      int cols = std::min(2, x1 - bx);
      int sum = 0, n = 0;
      for (int r = 0; r < rows; ++r)
        for (int c = 0; c < cols; ++c) {
          sum += sw[r][bx - x0 + c];
          ++n;
        }
      if (sum == 0) continue;
      // Item chroma at the block's centre.
      float cx = bx + 1.0f, cy = y + 1.0f;
      float ix = (inv.a * cx + inv.b * cy + inv.tx) * 0.5f - 0.5f;
      float iy = (inv.c * cx + inv.d * cy + inv.ty) * 0.5f - 0.5f;
      int su = SampleBilinear(item.p[1], item.s[1], cw, ch, ix, iy);
      int sv = SampleBilinear(item.p[2], item.s[2], cw, ch, ix, iy);
      uint8_t* du = canvas.p[1] + static_cast<size_t>(y / 2) * canvas.s[1] + bx / 2;
      uint8_t* dv = canvas.p[2] + static_cast<size_t>(y / 2) * canvas.s[2] + bx / 2;
      int cwgt = (sum + n / 2) / n;
      if (!mix) {
        for (int r = 0; r < rows; ++r) {
          uint8_t* d = canvas.p[0] + static_cast<size_t>(y + r) * canvas.s[0] + bx;
          for (int c = 0; c < cols; ++c) {
            int w = sw[r][bx - x0 + c];
            d[c] = static_cast<uint8_t>(d[c] + (((sy[r][bx - x0 + c] - d[c]) * w + 128) >> 8));
          }
        }
        *du = static_cast<uint8_t>(*du + (((su - *du) * cwgt + 128) >> 8));
        *dv = static_cast<uint8_t>(*dv + (((sv - *dv) * cwgt + 128) >> 8));
        continue;
      }
      // A blend mode works on R'G'B': each pixel of the block is mixed, luma
      // kept per pixel, chroma from the block's mean colour.
      float mean[3] = {0, 0, 0};
      for (int r = 0; r < rows; ++r) {
        uint8_t* d = canvas.p[0] + static_cast<size_t>(y + r) * canvas.s[0] + bx;
        for (int c = 0; c < cols; ++c) {
          int w = sw[r][bx - x0 + c];
          float top[3], bottom[3], out[3];
          mat.ToRgb(static_cast<float>(sy[r][bx - x0 + c]), static_cast<float>(su), static_cast<float>(sv),
                    top);
          mat.ToRgb(d[c], *du, *dv, bottom);
          float k = w / 256.0f;
          for (int i = 0; i < 3; ++i) {
            out[i] = bottom[i] + (mix(top[i], bottom[i]) - bottom[i]) * k;
            mean[i] += out[i];
          }
          if (w) d[c] = Code(16.0f + 219.0f * mat.Luma(out));
        }
      }
      for (float& m : mean)
        m /= static_cast<float>(n);
      float l = mat.Luma(mean);
      *du = Code(128.0f + 224.0f * (mean[2] - l) / (2.0f * (1.0f - mat.kb)));
      *dv = Code(128.0f + 224.0f * (mean[0] - l) / (2.0f * (1.0f - mat.kr)));
    }
  }
}

void Compose(Yuv& canvas, const Yuv& item, const Placement& p, float opacity, int blendMode, int matrix,
             const float* region, const RowSpans* visible) {
  const BlendModeInfo* mode = FindBlendMode(blendMode);
  bool normal = !mode || !mode->mix;
  // Unscaled, unrotated, at an even position and normal: the plain blend.
  if (normal && !region && p.a == 1 && p.d == 1 && p.b == 0 && p.c == 0 && p.tx == std::floor(p.tx) &&
      p.ty == std::floor(p.ty) && static_cast<int>(p.tx) % 2 == 0 && static_cast<int>(p.ty) % 2 == 0) {
    if (opacity > 0.0f && item.w > 0 && item.h > 0)
      Blend(canvas, item, static_cast<int>(p.tx), static_cast<int>(p.ty), opacity);
    return;
  }
  if (normal && p.b == 0 && p.c == 0) {
    Job job;
    if (Prepare(canvas, item, p, opacity, region, &job)) {
      job.visible = item.p[3] ? visible : nullptr;
      ComposeAxisAligned(canvas, item, job);
    }
    return;
  }
  ComposeEachPixel(canvas, item, p, opacity, blendMode, matrix, region);
}

} // namespace orma
