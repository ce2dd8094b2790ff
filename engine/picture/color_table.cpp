#include "engine/picture/color_table.h"

#include <algorithm>
#include <cmath>

#include "engine/core/vector_clones.h"

#if ORMA_AVX2
#include <immintrin.h>
#endif

namespace orma {

namespace {

struct Weights {
  float kr, kg, kb;
};

Weights LumaWeights(int matrix) {
  return matrix == 709 ? Weights{0.2126f, 0.7152f, 0.0722f} : Weights{0.299f, 0.587f, 0.114f};
}

float Luma(const Weights& w, const float c[3]) { return w.kr * c[0] + w.kg * c[1] + w.kb * c[2]; }

float Smoothstep(float a, float b, float x) {
  float t = std::clamp((x - a) / (b - a), 0.0f, 1.0f);
  return t * t * (3.0f - 2.0f * t);
}

// Limited-range Y'CbCr code values to R'G'B' 0..1 (not clamped).
void ToRgb(const Weights& w, float y, float cb, float cr, float rgb[3]) {
  float l = (y - 16.0f) / 219.0f, u = (cb - 128.0f) / 224.0f, v = (cr - 128.0f) / 224.0f;
  rgb[0] = l + 2.0f * (1.0f - w.kr) * v;
  rgb[2] = l + 2.0f * (1.0f - w.kb) * u;
  rgb[1] = (l - w.kr * rgb[0] - w.kb * rgb[2]) / w.kg;
}

void ToYuv(const Weights& w, const float rgb[3], float* y, float* cb, float* cr) {
  float l = Luma(w, rgb);
  *y = 16.0f + 219.0f * l;
  *cb = 128.0f + 224.0f * (rgb[2] - l) / (2.0f * (1.0f - w.kb));
  *cr = 128.0f + 224.0f * (rgb[0] - l) / (2.0f * (1.0f - w.kr));
}

float Level(int value, int lo, int hi, float scale) {
  return static_cast<float>(std::clamp(value, lo, hi)) / scale;
}

} // namespace

bool ColorLevels::Neutral() const {
  return brightness == 0 && contrast == 0 && saturation == 0 && whiteBalance == 0 && tint == 0 &&
         highlight == 0 && shadows == 0 && lightSensation == 0 && fade == 0 && beautyBright == 0 &&
         beautyTone == 0;
}

bool ColorLevels::operator==(const ColorLevels& o) const {
  return brightness == o.brightness && contrast == o.contrast && saturation == o.saturation &&
         whiteBalance == o.whiteBalance && tint == o.tint && highlight == o.highlight &&
         shadows == o.shadows && lightSensation == o.lightSensation && fade == o.fade &&
         beautyBright == o.beautyBright && beautyTone == o.beautyTone;
}

void Lut3D::Sample(const float in[3], float out[3]) const {
  if (size < 2) {
    std::copy(in, in + 3, out);
    return;
  }
  int i0[3], i1[3];
  float f[3];
  for (int k = 0; k < 3; ++k) {
    float span = domainMax[k] - domainMin[k];
    float t = span > 0 ? (in[k] - domainMin[k]) / span : in[k];
    float x = std::clamp(t, 0.0f, 1.0f) * static_cast<float>(size - 1);
    i0[k] = std::min(static_cast<int>(x), size - 2);
    f[k] = x - static_cast<float>(i0[k]);
    i1[k] = i0[k] + 1;
  }
  auto at = [&](int r, int g, int b) {
    return &rgb[3 *
                ((static_cast<size_t>(b) * size + static_cast<size_t>(g)) * size + static_cast<size_t>(r))];
  };
  for (int c = 0; c < 3; ++c) {
    float c00 = at(i0[0], i0[1], i0[2])[c] * (1 - f[0]) + at(i1[0], i0[1], i0[2])[c] * f[0];
    float c10 = at(i0[0], i1[1], i0[2])[c] * (1 - f[0]) + at(i1[0], i1[1], i0[2])[c] * f[0];
    float c01 = at(i0[0], i0[1], i1[2])[c] * (1 - f[0]) + at(i1[0], i0[1], i1[2])[c] * f[0];
    float c11 = at(i0[0], i1[1], i1[2])[c] * (1 - f[0]) + at(i1[0], i1[1], i1[2])[c] * f[0];
    float c0 = c00 * (1 - f[1]) + c10 * f[1];
    float c1 = c01 * (1 - f[1]) + c11 * f[1];
    out[c] = c0 * (1 - f[2]) + c1 * f[2];
  }
}

float SkinLikelihood(float cb, float cr) {
  // An ellipse around the usual skin chroma (Cb 77..127, Cr 133..173).
  float u = (cb - 102.0f) / 25.0f, v = (cr - 153.0f) / 20.0f;
  return std::clamp(1.5f * (1.0f - (u * u + v * v)), 0.0f, 1.0f);
}

void AdjustRgb(const ColorLevels& levels, const Lut3D* lut, float lutIntensity, int matrix, float skin,
               float c[3]) {
  const Weights w = LumaWeights(matrix);
  if (levels.beautyBright) {
    // Brightening lifts the middle tones most and leaves black and white.
    float b = Level(levels.beautyBright, 0, 100, 100.0f);
    for (int k = 0; k < 3; ++k) {
      float x = std::clamp(c[k], 0.0f, 1.0f);
      c[k] += 0.6f * b * x * (1.0f - x);
    }
  }
  if (levels.beautyTone && skin > 0.0f) {
    // Skin gets a rosier, more even tone: a little less saturated, warmer.
    float t = Level(levels.beautyTone, 0, 100, 100.0f) * skin;
    float l = Luma(w, c);
    for (int k = 0; k < 3; ++k)
      c[k] = l + (c[k] - l) * (1.0f - 0.15f * t);
    c[0] += 0.08f * t;
    c[1] += 0.01f * t;
    c[2] += 0.03f * t;
  }
  if (lut && lutIntensity > 0.0f) {
    float out[3];
    lut->Sample(c, out);
    float k = std::clamp(lutIntensity, 0.0f, 1.0f);
    for (int i = 0; i < 3; ++i)
      c[i] += (out[i] - c[i]) * k;
  }
  if (levels.lightSensation) {
    // Exposure: linear light times 2^(1.2 e), which on gamma-coded values
    // (gamma 2.2) is a gain of 2^(1.2 e / 2.2).
    float gain = std::exp2(1.2f * Level(levels.lightSensation, -100, 100, 100.0f) / 2.2f);
    for (int k = 0; k < 3; ++k)
      c[k] *= gain;
  }
  if (levels.brightness) {
    float b = Level(levels.brightness, -255, 255, 255.0f);
    for (int k = 0; k < 3; ++k)
      c[k] += 0.4f * b;
  }
  if (levels.contrast) {
    float v = Level(levels.contrast, -100, 100, 100.0f);
    float k = v < 0 ? 1.0f + v : 1.0f + 2.0f * v;
    for (int i = 0; i < 3; ++i)
      c[i] = (c[i] - 0.5f) * k + 0.5f;
  }
  if (levels.highlight || levels.shadows) {
    float l = std::clamp(Luma(w, c), 0.0f, 1.0f);
    float d = 0.3f * Level(levels.highlight, -100, 100, 100.0f) * Smoothstep(0.45f, 1.0f, l) +
              0.3f * Level(levels.shadows, -100, 100, 100.0f) * (1.0f - Smoothstep(0.0f, 0.55f, l));
    for (int k = 0; k < 3; ++k)
      c[k] += d;
  }
  if (levels.whiteBalance) {
    float t = Level(levels.whiteBalance, -100, 100, 100.0f);
    c[0] *= 1.0f + 0.15f * t;
    c[2] *= 1.0f - 0.15f * t;
  }
  if (levels.tint) c[1] *= 1.0f - 0.15f * Level(levels.tint, -100, 100, 100.0f);
  if (levels.saturation) {
    float f = 1.0f + Level(levels.saturation, -100, 100, 100.0f);
    float l = Luma(w, c);
    for (int k = 0; k < 3; ++k)
      c[k] = l + (c[k] - l) * f;
  }
  if (levels.fade) {
    // A faded print: raised blacks, lowered whites, paler colours.
    float f = Level(levels.fade, 0, 100, 100.0f);
    for (int k = 0; k < 3; ++k)
      c[k] = 0.1f * f + c[k] * (1.0f - 0.25f * f);
    float l = Luma(w, c);
    for (int k = 0; k < 3; ++k)
      c[k] = l + (c[k] - l) * (1.0f - 0.3f * f);
  }
}

std::shared_ptr<const ColorTable> ColorTable::Build(const ColorLevels& levels, const Lut3D* lut,
                                                    float lutIntensity, int matrix) {
  bool useLut = lut && lut->size >= 2 && lutIntensity > 0.0f;
  if (levels.Neutral() && !useLut) return nullptr;
  auto table = std::make_shared<ColorTable>();
  const size_t n = static_cast<size_t>(kNodes) * kNodes * kNodes;
  std::vector<int16_t> nodes[3];
  for (auto& v : nodes)
    v.resize(n);
  const Weights w = LumaWeights(matrix);
  for (int ci = 0; ci < kNodes; ++ci)
    for (int ri = 0; ri < kNodes; ++ri) {
      float cb = static_cast<float>(ci * 8), cr = static_cast<float>(ri * 8);
      float skin = SkinLikelihood(cb, cr);
      for (int yi = 0; yi < kNodes; ++yi) {
        float rgb[3];
        ToRgb(w, static_cast<float>(yi * 8), cb, cr, rgb);
        AdjustRgb(levels, useLut ? lut : nullptr, lutIntensity, matrix, skin, rgb);
        float oy, ob, orr;
        ToYuv(w, rgb, &oy, &ob, &orr);
        size_t i = (static_cast<size_t>(ci) * kNodes + ri) * kNodes + yi;
        nodes[0][i] = static_cast<int16_t>(std::lround(std::clamp(oy, 0.0f, 255.0f) * 4.0f));
        nodes[1][i] = static_cast<int16_t>(std::lround(std::clamp(ob, 0.0f, 255.0f) * 4.0f));
        nodes[2][i] = static_cast<int16_t>(std::lround(std::clamp(orr, 0.0f, 255.0f) * 4.0f));
      }
    }
  // Along luma every code gets its entry, interpolated between the nodes
  // without rounding (weights 0..8), so a lookup only interpolates between
  // the four chroma corners and gives what the trilinear sum would.
  table->luma_.resize(static_cast<size_t>(kNodes) * kNodes * 256);
  table->chroma_.resize(static_cast<size_t>(kNodes) * kNodes * 256);
  for (int ci = 0; ci < kNodes; ++ci)
    for (int ri = 0; ri < kNodes; ++ri) {
      size_t column = static_cast<size_t>(ci) * kNodes + ri;
      for (int y = 0; y < 256; ++y) {
        int yi = y >> 3, yf = y & 7;
        auto along = [&](int k, size_t node) {
          return static_cast<int16_t>(nodes[k][node] * (8 - yf) + nodes[k][node + 1] * yf);
        };
        size_t node = column * kNodes + yi, i = column * 256 + y;
        // The last Cr node has no next one; no chroma pair reaches past it.
        table->luma_[i] = {along(0, node), ri + 1 < kNodes ? along(0, node + kNodes) : int16_t{0}};
        table->chroma_[i] = {along(1, node), along(2, node)};
      }
    }
  return table;
}

namespace {

// The four chroma corners of a chroma pair (the offsets of their columns of
// entries) and their weights (sum 64).
struct Corners {
  size_t column[4];
  int weight[4];
};

inline Corners ChromaCorners(int cb, int cr) {
  constexpr int n = ColorTable::kNodes;
  int ci = cb >> 3, cf = cb & 7, ri = cr >> 3, rf = cr & 7;
  Corners c;
  c.column[0] = static_cast<size_t>(ci * n + ri) * 256;
  c.column[1] = static_cast<size_t>((ci + 1) * n + ri) * 256;
  c.column[2] = static_cast<size_t>(ci * n + ri + 1) * 256;
  c.column[3] = static_cast<size_t>((ci + 1) * n + ri + 1) * 256;
  c.weight[0] = (8 - cf) * (8 - rf);
  c.weight[1] = cf * (8 - rf);
  c.weight[2] = (8 - cf) * rf;
  c.weight[3] = cf * rf;
  return c;
}

inline uint8_t Finish(int sum) { return static_cast<uint8_t>(std::min((sum + 1024) >> 11, 255)); }

// Corners 2 and 3 are the next Cr nodes of corners 0 and 1.
inline uint8_t LookupLuma(const ColorTable::LumaPair* t, const Corners& c, int y) {
  const ColorTable::LumaPair &a = t[c.column[0] + y], &b = t[c.column[1] + y];
  return Finish(a.here * c.weight[0] + b.here * c.weight[1] + a.next * c.weight[2] + b.next * c.weight[3]);
}

inline void LookupChroma(const ColorTable::ChromaPair* t, const Corners& c, int y, uint8_t* cb, uint8_t* cr) {
  int b = 0, r = 0;
  for (int k = 0; k < 4; ++k) {
    const ColorTable::ChromaPair& e = t[c.column[k] + y];
    b += e.cb * c.weight[k];
    r += e.cr * c.weight[k];
  }
  *cb = Finish(b);
  *cr = Finish(r);
}

#if ORMA_AVX2
// Eight values 0..65535 to eight 16-bit lanes.
ORMA_AVX2_FUNCTION inline __m128i Narrow(__m256i x) {
  return _mm256_castsi256_si128(_mm256_permute4x64_epi64(_mm256_packus_epi32(x, x), 0x08));
}

// Eight blocks at a time from `from` while they lie within both rows and
// `width`: the four chroma corners of each block, then each of its four
// luma codes (two gathers of corner pairs, weighed with one multiply-add
// each) and its Cb and Cr looked up with gathers; the same sums as
// LookupLuma and LookupChroma. Returns the first block not done.
ORMA_AVX2_FUNCTION int ApplyBlocksAvx2(const ColorTable::LumaPair* luma, const ColorTable::ChromaPair* chroma,
                                       uint8_t* row0, uint8_t* row1, uint8_t* u, uint8_t* v, int from, int to,
                                       int width) {
  const __m256i seven = _mm256_set1_epi32(7), eight = _mm256_set1_epi32(8),
                nodes = _mm256_set1_epi32(ColorTable::kNodes);
  const __m256i column = _mm256_set1_epi32(256), nodeColumn = _mm256_set1_epi32(ColorTable::kNodes * 256);
  const __m256i low16 = _mm256_set1_epi32(0xffff), round = _mm256_set1_epi32(1024),
                top = _mm256_set1_epi32(255);
  const __m128i lowByte = _mm_set1_epi16(0x00ff);
  int cx = from;
  for (; cx + 8 <= to && 2 * (cx + 8) <= width; cx += 8) {
    __m256i cb = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(u + cx)));
    __m256i cr = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(v + cx)));
    __m256i cf = _mm256_and_si256(cb, seven), rf = _mm256_and_si256(cr, seven);
    __m256i base[4];
    base[0] = _mm256_mullo_epi32(
        _mm256_add_epi32(_mm256_mullo_epi32(_mm256_srli_epi32(cb, 3), nodes), _mm256_srli_epi32(cr, 3)),
        column);
    base[1] = _mm256_add_epi32(base[0], nodeColumn);
    base[2] = _mm256_add_epi32(base[0], column);
    base[3] = _mm256_add_epi32(base[1], column);
    __m256i cg = _mm256_sub_epi32(eight, cf), rg = _mm256_sub_epi32(eight, rf);
    __m256i weight[4] = {_mm256_mullo_epi32(cg, rg), _mm256_mullo_epi32(cf, rg), _mm256_mullo_epi32(cg, rf),
                         _mm256_mullo_epi32(cf, rf)};
    // Weights of (here, next) in the 16-bit halves of each lane: corners 0
    // and 2 for the first pair, 1 and 3 for the second.
    __m256i pairWeight[2] = {_mm256_or_si256(weight[0], _mm256_slli_epi32(weight[2], 16)),
                             _mm256_or_si256(weight[1], _mm256_slli_epi32(weight[3], 16))};
    __m128i r0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row0 + 2 * cx));
    __m128i r1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row1 + 2 * cx));
    __m256i y[4] = {
        _mm256_cvtepu16_epi32(_mm_and_si128(r0, lowByte)), _mm256_cvtepu16_epi32(_mm_srli_epi16(r0, 8)),
        _mm256_cvtepu16_epi32(_mm_and_si128(r1, lowByte)), _mm256_cvtepu16_epi32(_mm_srli_epi16(r1, 8))};
    __m256i mean = _mm256_srli_epi32(
        _mm256_add_epi32(_mm256_add_epi32(_mm256_add_epi32(y[0], y[1]), _mm256_add_epi32(y[2], y[3])),
                         _mm256_set1_epi32(2)),
        2);
    __m256i out[4];
    for (int p = 0; p < 4; ++p) {
      __m256i sum = round;
      for (int k = 0; k < 2; ++k) {
        __m256i e =
            _mm256_i32gather_epi32(reinterpret_cast<const int*>(luma), _mm256_add_epi32(base[k], y[p]), 4);
        sum = _mm256_add_epi32(sum, _mm256_madd_epi16(e, pairWeight[k]));
      }
      out[p] = _mm256_min_epi32(_mm256_srli_epi32(sum, 11), top);
    }
    __m256i cbSum = round, crSum = round;
    for (int k = 0; k < 4; ++k) {
      __m256i e =
          _mm256_i32gather_epi32(reinterpret_cast<const int*>(chroma), _mm256_add_epi32(base[k], mean), 4);
      cbSum = _mm256_add_epi32(cbSum, _mm256_mullo_epi32(_mm256_and_si256(e, low16), weight[k]));
      crSum = _mm256_add_epi32(crSum, _mm256_mullo_epi32(_mm256_srli_epi32(e, 16), weight[k]));
    }
    // Even and odd columns back together, low byte first.
    _mm_storeu_si128(reinterpret_cast<__m128i*>(row0 + 2 * cx),
                     Narrow(_mm256_or_si256(out[0], _mm256_slli_epi32(out[1], 8))));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(row1 + 2 * cx),
                     Narrow(_mm256_or_si256(out[2], _mm256_slli_epi32(out[3], 8))));
    __m128i cbOut = Narrow(_mm256_min_epi32(_mm256_srli_epi32(cbSum, 11), top));
    __m128i crOut = Narrow(_mm256_min_epi32(_mm256_srli_epi32(crSum, 11), top));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(u + cx), _mm_packus_epi16(cbOut, cbOut));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(v + cx), _mm_packus_epi16(crOut, crOut));
  }
  return cx;
}
#endif

} // namespace

void ColorTable::Map(int y, int cb, int cr, int* outY, int* outCb, int* outCr) const {
  Corners c = ChromaCorners(std::clamp(cb, 0, 255), std::clamp(cr, 0, 255));
  y = std::clamp(y, 0, 255);
  uint8_t b, r;
  LookupChroma(chroma_.data(), c, y, &b, &r);
  *outY = LookupLuma(luma_.data(), c, y);
  *outCb = b;
  *outCr = r;
}

void ColorTable::Apply(Yuv& img, const RowSpans* spans) const {
  const LumaPair* luma = luma_.data();
  const ChromaPair* chroma = chroma_.data();
  int cw = (img.w + 1) / 2, ch = (img.h + 1) / 2;
  for (int cy = 0; cy < ch; ++cy) {
    uint8_t* row0 = img.p[0] + static_cast<size_t>(2 * cy) * img.s[0];
    uint8_t* row1 = 2 * cy + 1 < img.h ? row0 + img.s[0] : row0;
    uint8_t* u = img.p[1] + static_cast<size_t>(cy) * img.s[1];
    uint8_t* v = img.p[2] + static_cast<size_t>(cy) * img.s[2];
    bool twoRows = row1 != row0;
    int from = spans ? spans->lo[cy] / 2 : 0, to = spans ? (spans->hi[cy] + 1) / 2 : cw;
    int cx = from;
#if ORMA_AVX2
    if (twoRows && HasAvx2()) cx = ApplyBlocksAvx2(luma, chroma, row0, row1, u, v, from, to, img.w);
#endif
    for (; cx < to; ++cx) {
      Corners c = ChromaCorners(u[cx], v[cx]);
      int x0 = 2 * cx, x1 = std::min(x0 + 1, img.w - 1);
      int mean = (row0[x0] + row0[x1] + row1[x0] + row1[x1] + 2) >> 2;
      LookupChroma(chroma, c, mean, &u[cx], &v[cx]);
      row0[x0] = LookupLuma(luma, c, row0[x0]);
      if (x1 != x0) row0[x1] = LookupLuma(luma, c, row0[x1]);
      if (twoRows) {
        row1[x0] = LookupLuma(luma, c, row1[x0]);
        if (x1 != x0) row1[x1] = LookupLuma(luma, c, row1[x1]);
      }
    }
  }
}

} // namespace orma
