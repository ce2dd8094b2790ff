#include "engine/picture/compose.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <vector>

#include "corelib/orma_core.h"
#include "engine/core/registry.h"
#include "engine/core/vector_clones.h"
#include "engine/picture/geometry.h"

#if ORMA_AVX2
#include <immintrin.h>
#endif

namespace orma {

namespace {

float Multiply(float s, float d) { return s * d; }
float Screen(float s, float d) { return 1 - (1 - s) * (1 - d); }
float Overlay(float s, float d) { return d < 0.5f ? 2 * s * d : 1 - 2 * (1 - s) * (1 - d); }
float Darken(float s, float d) { return std::min(s, d); }
float Lighten(float s, float d) { return std::max(s, d); }
float ColorDodge(float s, float d) { return d <= 0 ? 0 : (s >= 1 ? 1 : std::min(1.0f, d / (1 - s))); }
float ColorBurn(float s, float d) { return d >= 1 ? 1 : (s <= 0 ? 0 : 1 - std::min(1.0f, (1 - d) / s)); }
float SoftLight(float s, float d) {
  if (s <= 0.5f) return d - (1 - 2 * s) * d * (1 - d);
  float g = d <= 0.25f ? ((16 * d - 12) * d + 4) * d : std::sqrt(d);
  return d + (2 * s - 1) * (g - d);
}
float HardLight(float s, float d) { return s < 0.5f ? 2 * s * d : 1 - 2 * (1 - s) * (1 - d); }
float Difference(float s, float d) { return std::fabs(s - d); }
float Exclusion(float s, float d) { return s + d - 2 * s * d; }
float Add(float s, float d) { return std::min(1.0f, s + d); }
float Subtract(float s, float d) { return std::max(0.0f, d - s); }

// 1 is the draft's cut-out mode: the chroma key makes the cut, the item is
// then laid over normally.
const BlendModeInfo kModes[] = {
    {ORMA_BLEND_NORMAL, "normal", nullptr},
    {ORMA_BLEND_CUT_OUT, "cut-out", nullptr},
    {ORMA_BLEND_MULTIPLY, "multiply", Multiply},
    {ORMA_BLEND_SCREEN, "screen", Screen},
    {ORMA_BLEND_OVERLAY, "overlay", Overlay},
    {ORMA_BLEND_DARKEN, "darken", Darken},
    {ORMA_BLEND_LIGHTEN, "lighten", Lighten},
    {ORMA_BLEND_COLOR_DODGE, "colour dodge", ColorDodge},
    {ORMA_BLEND_COLOR_BURN, "colour burn", ColorBurn},
    {ORMA_BLEND_SOFT_LIGHT, "soft light", SoftLight},
    {ORMA_BLEND_HARD_LIGHT, "hard light", HardLight},
    {ORMA_BLEND_DIFFERENCE, "difference", Difference},
    {ORMA_BLEND_EXCLUSION, "exclusion", Exclusion},
    {ORMA_BLEND_ADD, "add", Add},
    {ORMA_BLEND_SUBTRACT, "subtract", Subtract},
};

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
  opacity = std::clamp(opacity, 0.0f, 1.0f);
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

#if ORMA_AVX2
// One item row resampled, eight columns at a time: out[i] = src[i0[i]] *
// (256 - f[i]) + src[i0[i] + 1] * f[i], both neighbours gathered as one
// little-endian word. The word reaches two bytes beyond the second
// neighbour, so the caller uses this only where a next row follows.
ORMA_AVX2_FUNCTION void ResampleRowAvx2(const uint8_t* src, const int32_t* i0, const int32_t* f, int from,
                                        int to, uint16_t* out) {
  const __m256i low = _mm256_set1_epi32(255), whole = _mm256_set1_epi32(256);
  int i = from;
  for (; i + 8 <= to; i += 8) {
    __m256i index = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(i0 + i));
    __m256i words = _mm256_i32gather_epi32(reinterpret_cast<const int*>(src), index, 1);
    __m256i weight = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(f + i));
    __m256i first = _mm256_and_si256(words, low);
    __m256i second = _mm256_and_si256(_mm256_srli_epi32(words, 8), low);
    __m256i sum = _mm256_add_epi32(_mm256_mullo_epi32(first, _mm256_sub_epi32(whole, weight)),
                                   _mm256_mullo_epi32(second, weight));
    // At most 255 * 256: packed to 16 bits without saturating.
    __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi32(sum, sum), 0x08);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm256_castsi256_si128(packed));
  }
  for (; i < to; ++i)
    out[i] = static_cast<uint16_t>(src[i0[i]] * (256 - f[i]) + src[i0[i] + 1] * f[i]);
}

// Where every eight columns read both their neighbours from one window of 16
// bytes (an item enlarged, mirrored, or made smaller by up to half), the row is
// resampled from two such windows at a time with byte shuffles instead of
// gathers: `base` holds each group's window start, `masks` the shuffles
// that spread a window into its first and second neighbours (16 bytes each
// per group), `weights` 256 - f and f as 16-bit words. Sums stay below 2^16,
// so 16-bit products give the same values.
struct WindowPlan {
  std::vector<int32_t> base;
  std::vector<uint8_t> first, second; // 16 bytes per group
  std::vector<int16_t> keep, take;    // 256 - f and f per column
  int groups = 0;                     // of eight columns
};

bool MakeWindowPlan(const int32_t* i0, const int32_t* f, int width, WindowPlan* plan) {
  plan->groups = width / 8;
  plan->base.resize(plan->groups);
  plan->first.resize(static_cast<size_t>(plan->groups) * 16);
  plan->second.resize(static_cast<size_t>(plan->groups) * 16);
  plan->keep.resize(width);
  plan->take.resize(width);
  for (int g = 0; g < plan->groups; ++g) {
    const int c = 8 * g, base = *std::min_element(i0 + c, i0 + c + 8);
    if (*std::max_element(i0 + c, i0 + c + 8) + 1 - base > 15) return false;
    plan->base[g] = base;
    for (int j = 0; j < 8; ++j) {
      plan->first[16 * g + 2 * j] = static_cast<uint8_t>(i0[c + j] - base);
      plan->first[16 * g + 2 * j + 1] = 0x80; // a zero high byte
      plan->second[16 * g + 2 * j] = static_cast<uint8_t>(i0[c + j] + 1 - base);
      plan->second[16 * g + 2 * j + 1] = 0x80;
    }
  }
  for (int i = 0; i < width; ++i) {
    plan->keep[i] = static_cast<int16_t>(256 - f[i]);
    plan->take[i] = static_cast<int16_t>(f[i]);
  }
  return true;
}

// Columns `from` to `to` and the rest of their groups. Reads up to 15 bytes
// beyond a group's last neighbour, so the caller uses this only where a next
// row follows.
ORMA_AVX2_FUNCTION void ResampleRowWindowsAvx2(const uint8_t* src, const WindowPlan& plan, const int32_t* i0,
                                               const int32_t* f, int from, int to, uint16_t* out) {
  int g = from / 8;
  const int groups = std::min(plan.groups, (to + 7) / 8);
  for (; g + 2 <= groups; g += 2) {
    __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + plan.base[g]));
    __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + plan.base[g + 1]));
    __m256i window = _mm256_inserti128_si256(_mm256_castsi128_si256(lo), hi, 1);
    __m256i first = _mm256_shuffle_epi8(
        window, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(plan.first.data() + 16 * g)));
    __m256i second = _mm256_shuffle_epi8(
        window, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(plan.second.data() + 16 * g)));
    __m256i keep = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(plan.keep.data() + 8 * g));
    __m256i take = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(plan.take.data() + 8 * g));
    __m256i sum = _mm256_add_epi16(_mm256_mullo_epi16(first, keep), _mm256_mullo_epi16(second, take));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 8 * g), sum);
  }
  for (int i = 8 * g; i < to; ++i)
    out[i] = static_cast<uint16_t>(src[i0[i]] * (256 - f[i]) + src[i0[i] + 1] * f[i]);
}
#endif

// Item rows resampled to the canvas columns, kept exact (at most 255 * 256)
// so that mixing two of them finishes the same bilinear sum as SampleBilinear(); kept
// for the next canvas row: when an item is enlarged, each item row is
// between two canvas rows.
class ResampledRows {
public:
  /// Memory kept between composites (per thread and plane), so that a frame
  /// allocates nothing once the sizes have been seen.
  struct Scratch {
    std::vector<uint16_t> rows[2];
#if ORMA_AVX2
    WindowPlan plan;
#endif
  };

  /// `i1` is `i0` + 1 in every column when `adjacent` is true.
  ResampledRows(const uint8_t* plane, int stride, int height, const int32_t* i0, const int32_t* i1,
                const int32_t* f, int width, bool adjacent, Scratch& scratch)
      : plane_(plane), stride_(stride), height_(height), i0_(i0), i1_(i1), f_(f), width_(width),
        adjacent_(adjacent)
#if ORMA_AVX2
        ,
        plan_(scratch.plan)
#endif
  {
    for (int k = 0; k < 2; ++k) {
      scratch.rows[k].resize(width);
      slots_[k].row = -1;
      slots_[k].values = scratch.rows[k].data();
    }
#if ORMA_AVX2
    windows_ = adjacent_ && plane_ && HasAvx2() && MakeWindowPlan(i0_, f_, width_, &plan_);
#endif
  }
  /// Rows `a` and `b` resampled, at least in columns `from` to `to`; both
  /// pointers stay valid until the next call.
  void Pair(int a, int b, int from, int to, const uint16_t** ra, const uint16_t** rb) {
    Slot* sa = Find(a, from, to);
    Slot* sb = Find(b, from, to);
    if (!sa) sa = Fill(a, sb, from, to);
    if (!sb) sb = Fill(b, sa, from, to);
    *ra = sa->values;
    *rb = sb->values;
  }

private:
  struct Slot {
    int row;
    int from, to; // the columns resampled
    uint16_t* values;
  };
  // The slot of `row`; one that lacks some of the columns is resampled again
  // over both ranges (the ranges of neighbouring rows overlap).
  Slot* Find(int row, int& from, int& to) {
    for (Slot& s : slots_)
      if (s.row == row) {
        if (s.from <= from && to <= s.to) return &s;
        from = std::min(from, s.from);
        to = std::max(to, s.to);
        s.row = -1;
      }
    return nullptr;
  }
  Slot* Fill(int row, const Slot* keep, int from, int to) {
    // The other slot than the one kept, else the one farther from `row`
    // (the canvas rows walk through the item in one direction).
    auto distance = [row](const Slot& s) { return s.row < 0 ? INT_MAX : std::abs(s.row - row); };
    Slot& s = keep == &slots_[0]                           ? slots_[1]
              : keep == &slots_[1]                         ? slots_[0]
              : distance(slots_[0]) >= distance(slots_[1]) ? slots_[0]
                                                           : slots_[1];
    s.row = row;
    s.from = from;
    s.to = to;
    const uint8_t* src = plane_ + static_cast<size_t>(row) * stride_;
    uint16_t* out = s.values;
#if ORMA_AVX2
    if (windows_ && row + 1 < height_) {
      ResampleRowWindowsAvx2(src, plan_, i0_, f_, from, to, out);
      return &s;
    }
    if (adjacent_ && row + 1 < height_ && HasAvx2()) {
      ResampleRowAvx2(src, i0_, f_, from, to, out);
      return &s;
    }
#endif
    for (int i = from; i < to; ++i)
      out[i] = static_cast<uint16_t>(src[i0_[i]] * (256 - f_[i]) + src[i1_[i]] * f_[i]);
    return &s;
  }
  const uint8_t* plane_;
  int stride_, height_;
  const int32_t *i0_, *i1_, *f_;
  int width_;
  bool adjacent_;
  Slot slots_[2];
#if ORMA_AVX2
  WindowPlan& plan_;
  bool windows_ = false;
#endif
};

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
  thread_local std::vector<int32_t> columns[4]; // first and second sample, weight, edge coverage
  thread_local std::vector<int32_t> chromaColumns[3], chromaWeight;
  thread_local std::vector<int32_t> weight[2];
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
  thread_local ResampledRows::Scratch scratch[4];
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

const BlendModeInfo* FindBlendMode(int number) { return FindIn(kModes, &BlendModeInfo::number, number); }

const BlendModeInfo* BlendModes(int* count) {
  *count = static_cast<int>(sizeof kModes / sizeof kModes[0]);
  return kModes;
}

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
  thread_local std::vector<int> sy[2], sw[2];
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
      Blend(canvas, item, static_cast<int>(p.tx), static_cast<int>(p.ty), std::min(opacity, 1.0f));
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
