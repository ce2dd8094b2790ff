#include "engine/picture/filters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

#include "engine/core/vector_clones.h"
#include "engine/picture/blur.h"
#include "engine/picture/color_table.h"
#include "engine/picture/geometry.h"
#include "platform/per_thread.h"

namespace orma {

namespace {

float Smoothstep(float a, float b, float x) {
  float t = std::clamp((x - a) / (b - a), 0.0f, 1.0f);
  return t * t * (3.0f - 2.0f * t);
}

// Per-thread scratch buffers, grown as needed and kept between frames.
std::vector<uint8_t>& Scratch(int slot, size_t size) {
  auto& buffers = platform::PerThread<std::array<std::vector<uint8_t>, 6>>([] {});
  std::vector<uint8_t>& b = buffers[slot];
  if (b.size() < size) b.resize(size);
  return b;
}

// A packed copy of a plane (stride = w).
const uint8_t* CopyPlane(int slot, const uint8_t* p, int stride, int w, int h) {
  std::vector<uint8_t>& b = Scratch(slot, static_cast<size_t>(w) * h);
  for (int y = 0; y < h; ++y)
    std::memcpy(b.data() + static_cast<size_t>(y) * w, p + static_cast<size_t>(y) * stride, w);
  return b.data();
}

// Averages `taps` samples along a line through each pixel: the line runs
// from the pixel towards `to(x, y)` (radial) or along a fixed vector.
template <class Line>
void LineBlurPlane(uint8_t* p, int stride, int w, int h, int slot, int taps, float scale, Line line) {
  const uint8_t* src = CopyPlane(slot, p, stride, w, h);
  for (int y = 0; y < h; ++y) {
    uint8_t* row = p + static_cast<size_t>(y) * stride;
    for (int x = 0; x < w; ++x) {
      float dx, dy;
      line((x + 0.5f) * scale, (y + 0.5f) * scale, &dx, &dy);
      dx /= scale;
      dy /= scale;
      if (std::fabs(dx) < 0.5f && std::fabs(dy) < 0.5f) continue;
      int sum = 0;
      for (int i = 0; i < taps; ++i) {
        float t = static_cast<float>(i) / (taps - 1);
        int sx = std::clamp(static_cast<int>(x + dx * t + 0.5f), 0, w - 1);
        int sy = std::clamp(static_cast<int>(y + dy * t + 0.5f), 0, h - 1);
        sum += src[static_cast<size_t>(sy) * w + sx];
      }
      row[x] = static_cast<uint8_t>((sum + taps / 2) / taps);
    }
  }
}

} // namespace

void BlurAll(Yuv& img, float sigma) {
  if (sigma < 0.5f) return;
  GaussianBlur(img, sigma);
  if (img.p[3]) GaussianBlurPlane(img.p[3], img.s[3], img.w, img.h, sigma);
}

void ApplyBlur(Yuv& img, const BlurSettings& blur) {
  if (!blur.Active() || img.w < 2 || img.h < 2) return;
  float intensity = std::clamp(blur.intensity, 0.0f, 1.0f);
  float side = static_cast<float>(std::min(img.w, img.h));
  float size = (blur.radius > 0 ? std::clamp(blur.radius, 0.0f, 1.0f) : 0.1f) * side;
  float cx = blur.centerX * img.w, cy = blur.centerY * img.h;
  switch (blur.type) {
  case kBlurRadial: {
    // Zoom blur towards the centre; the radius keeps a sharp disc around it.
    float clear = blur.radius > 0 ? blur.radius * side : 0.0f;
    float ramp = 0.25f * side;
    auto line = [&](float x, float y, float* dx, float* dy) {
      float vx = cx - x, vy = cy - y;
      float d = std::sqrt(vx * vx + vy * vy);
      float k = 0.3f * intensity * Smoothstep(clear, clear + ramp, d);
      *dx = vx * k;
      *dy = vy * k;
    };
    for (int k = 0; k < 3; ++k) {
      int w = k ? Half(img.w) : img.w, h = k ? Half(img.h) : img.h;
      LineBlurPlane(img.p[k], img.s[k], w, h, 0, 12, k ? 2.0f : 1.0f, line);
    }
    return;
  }
  case kBlurMotion: {
    // Along the direction from the middle of the picture to the centre
    // point (horizontal when they coincide), over intensity x 2 x size.
    float vx = blur.centerX - 0.5f, vy = blur.centerY - 0.5f;
    float len = std::sqrt(vx * vx + vy * vy);
    if (len < 1e-3f) {
      vx = 1;
      vy = 0;
    } else {
      vx /= len;
      vy /= len;
    }
    float length = intensity * 2.0f * size;
    int taps = std::clamp(static_cast<int>(length / 2.0f), 3, 24);
    // The line is centred on the pixel.
    for (int k = 0; k < 4; ++k) {
      if (!img.p[k]) continue;
      bool chroma = k == 1 || k == 2;
      int w = chroma ? Half(img.w) : img.w, h = chroma ? Half(img.h) : img.h;
      float scale = chroma ? 2.0f : 1.0f;
      const uint8_t* src = CopyPlane(0, img.p[k], img.s[k], w, h);
      float dx = vx * length / scale, dy = vy * length / scale;
      for (int y = 0; y < h; ++y) {
        uint8_t* row = img.p[k] + static_cast<size_t>(y) * img.s[k];
        for (int x = 0; x < w; ++x) {
          int sum = 0;
          for (int i = 0; i < taps; ++i) {
            float t = static_cast<float>(i) / (taps - 1) - 0.5f;
            int sx = std::clamp(static_cast<int>(x + dx * t + 0.5f), 0, w - 1);
            int sy = std::clamp(static_cast<int>(y + dy * t + 0.5f), 0, h - 1);
            sum += src[static_cast<size_t>(sy) * w + sx];
          }
          row[x] = static_cast<uint8_t>((sum + taps / 2) / taps);
        }
      }
    }
    return;
  }
  default:
    BlurAll(img, intensity * size * 0.5f);
    return;
  }
}

ORMA_VECTOR_CLONES void Sharpen(Yuv& img, float amount, const RowSpans* spans) {
  amount = std::clamp(amount, -1.0f, 1.0f);
  if (amount == 0.0f || img.w < 3 || img.h < 3) return;
  const int w = img.w, h = img.h;
  const int k = static_cast<int>(std::lround((amount > 0 ? 1.5f * amount : amount) * 256.0f));
  const int strength = std::abs(k), sign = k > 0 ? 1 : -1;
  // Rows are written in place, so the original of the row above and of the
  // current row are kept; the 3x3 sums come from per-column sums of three
  // rows (edges repeat the border row or column).
  std::vector<uint8_t>& keep = Scratch(0, static_cast<size_t>(2) * w);
  std::vector<uint16_t>& columns = platform::PerThread<std::vector<uint16_t>>([] {});
  columns.resize(w);
  uint8_t* above = keep.data();
  uint8_t* current = keep.data() + w;
  std::memcpy(above, img.p[0], w);
  std::memcpy(current, img.p[0], w);
  for (int y = 0; y < h; ++y) {
    uint8_t* out = img.p[0] + static_cast<size_t>(y) * img.s[0];
    const uint8_t* below = y + 1 < h ? out + img.s[0] : current;
    const int lo = spans ? std::min(spans->lo[y / 2], w) : 0, hi = spans ? std::min(spans->hi[y / 2], w) : w;
    if (lo < hi) {
      uint16_t* col = columns.data();
      for (int x = std::max(lo - 1, 0); x < std::min(hi + 1, w); ++x)
        col[x] = static_cast<uint16_t>(above[x] + current[x] + below[x]);
      auto sharpen = [&](int x, int sum) {
        int mean = (sum * 7282 + 32768) >> 16; // / 9
        int v = current[x];
        int diff = sign * (v - mean);
        out[x] = static_cast<uint8_t>(std::clamp(v + ((diff * strength + 128) >> 8), 0, 255));
      };
      if (lo == 0) sharpen(0, 2 * col[0] + col[1]);
      for (int x = std::max(lo, 1); x < std::min(hi, w - 1); ++x)
        sharpen(x, col[x - 1] + col[x] + col[x + 1]);
      if (hi == w) sharpen(w - 1, col[w - 2] + 2 * col[w - 1]);
    }
    std::swap(above, current);
    if (y + 1 < h) std::memcpy(current, below, w);
  }
}

ORMA_VECTOR_CLONES void Vignette(Yuv& img, float strength, const RowSpans* spans) {
  strength = std::clamp(strength, 0.0f, 1.0f);
  if (strength <= 0.0f) return;
  // The gain map depends only on the size and the strength: kept per thread.
  // The gains are mirrored about the middle row, so the map holds the upper
  // half; each is 51..256, kept less one in a byte.
  struct Map {
    int w = 0, h = 0;
    float strength = -1;
    std::vector<uint8_t> luma, chroma;
  };
  Map& map = platform::PerThread<Map>([] {});
  const int w = img.w, h = img.h, cw = Half(w), ch = Half(h);
  // Chroma rows sit at luma rows 1, 3, 5...: mirrored only in an even height.
  const bool chromaMirrored = h % 2 == 0;
  const int chromaRows = chromaMirrored ? Half(ch) : ch;
  if (map.w != w || map.h != h || map.strength != strength) {
    map.w = w;
    map.h = h;
    map.strength = strength;
    auto gain = [&](float x, float y) {
      float dx = (x - w * 0.5f) / (w * 0.5f), dy = (y - h * 0.5f) / (h * 0.5f);
      float r = std::sqrt((dx * dx + dy * dy) * 0.5f);
      return static_cast<uint8_t>(std::lround(256.0f * (1.0f - 0.8f * strength * Smoothstep(0.3f, 1.0f, r))) -
                                  1);
    };
    map.luma.resize(static_cast<size_t>(w) * Half(h));
    for (int y = 0; y < Half(h); ++y)
      for (int x = 0; x < w; ++x)
        map.luma[static_cast<size_t>(y) * w + x] = gain(x + 0.5f, y + 0.5f);
    map.chroma.resize(static_cast<size_t>(cw) * chromaRows);
    for (int y = 0; y < chromaRows; ++y)
      for (int x = 0; x < cw; ++x)
        map.chroma[static_cast<size_t>(y) * cw + x] = gain(2.0f * x + 1.0f, 2.0f * y + 1.0f);
  }
  for (int y = 0; y < h; ++y) {
    uint8_t* row = img.p[0] + static_cast<size_t>(y) * img.s[0];
    const uint8_t* g = map.luma.data() + static_cast<size_t>(std::min(y, h - 1 - y)) * w;
    const int lo = spans ? spans->lo[y / 2] : 0, hi = spans ? std::min(spans->hi[y / 2], w) : w;
    for (int x = lo; x < hi; ++x)
      row[x] = static_cast<uint8_t>(16 + (((row[x] - 16) * (g[x] + 1) + 128) >> 8));
  }
  for (int k = 1; k <= 2; ++k)
    for (int y = 0; y < ch; ++y) {
      uint8_t* row = img.p[k] + static_cast<size_t>(y) * img.s[k];
      const uint8_t* g =
          map.chroma.data() + static_cast<size_t>(chromaMirrored ? std::min(y, ch - 1 - y) : y) * cw;
      const int lo = spans ? spans->lo[y] / 2 : 0, hi = spans ? std::min(Half(spans->hi[y]), cw) : cw;
      for (int x = lo; x < hi; ++x)
        row[x] = static_cast<uint8_t>(128 + (((row[x] - 128) * (g[x] + 1) + 128) >> 8));
    }
}

ORMA_VECTOR_CLONES void AddGrain(Yuv& img, float amount, uint32_t seed, const RowSpans* spans) {
  amount = std::clamp(amount, 0.0f, 1.0f);
  if (amount <= 0.0f) return;
  const int k = static_cast<int>(std::lround(amount * 30.0f * 256.0f / 128.0f));
  const int w = img.w, h = img.h;
  for (int y = 0; y < h; ++y) {
    uint8_t* row = img.p[0] + static_cast<size_t>(y) * img.s[0];
    // HashNoise(x, y, seed), spelled out so that the row vectorises.
    const uint32_t base = static_cast<uint32_t>(y) * 668265263u + seed * 2246822519u;
    const int lo = spans ? spans->lo[y / 2] : 0, hi = spans ? std::min(spans->hi[y / 2], w) : w;
    for (int x = lo; x < hi; ++x) {
      uint32_t hash = static_cast<uint32_t>(x) * 374761393u + base;
      hash = (hash ^ (hash >> 13)) * 1274126177u;
      int n = static_cast<int>((hash ^ (hash >> 16)) & 255u) - 128;
      int v = row[x] + ((n * k) >> 8);
      row[x] = static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
    }
  }
}

void ChromaKey(Yuv& img, const ChromaKeySettings& key, int matrix) {
  if (!img.p[3]) return;
  const int w = img.w, h = img.h, cw = Half(w), ch = Half(h);
  YuvColor kc = RgbToYuv(std::clamp(key.red, 0, 255) / 255.0f, std::clamp(key.green, 0, 255) / 255.0f,
                         std::clamp(key.blue, 0, 255) / 255.0f, matrix);
  float kb = kc.u - 128.0f, kr = kc.v - 128.0f;
  float threshold = 0.08f + 0.42f * std::clamp(key.factor, 0, 100) / 100.0f;
  const float band = 0.08f;
  float lo = std::clamp(key.alphaLower, 0, 100) / 100.0f;
  float hi = (key.alphaUpper <= 0 ? 100 : std::clamp(key.alphaUpper, 0, 100)) / 100.0f;
  if (hi <= lo) hi = std::min(1.0f, lo + 0.01f);
  if (hi <= lo) lo = hi - 0.01f;

  // Alpha at chroma resolution from the distance to the key chroma.
  std::vector<uint8_t>& half = Scratch(1, static_cast<size_t>(cw) * ch);
  for (int y = 0; y < ch; ++y) {
    const uint8_t* u = img.p[1] + static_cast<size_t>(y) * img.s[1];
    const uint8_t* v = img.p[2] + static_cast<size_t>(y) * img.s[2];
    for (int x = 0; x < cw; ++x) {
      float db = u[x] - 128.0f - kb, dr = v[x] - 128.0f - kr;
      float d = std::sqrt(db * db + dr * dr) / 224.0f;
      float a = Smoothstep(threshold, threshold + band, d);
      a = std::clamp((a - lo) / (hi - lo), 0.0f, 1.0f);
      half[static_cast<size_t>(y) * cw + x] = static_cast<uint8_t>(std::lround(a * 255.0f));
    }
  }
  // Up to luma resolution (bilinear), multiplied into the alpha plane.
  std::vector<uint8_t>& full = Scratch(2, static_cast<size_t>(w) * h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      full[static_cast<size_t>(y) * w + x] =
          SampleBilinear(half.data(), cw, cw, ch, (x - 0.5f) * 0.5f, (y - 0.5f) * 0.5f);
  int edge = std::clamp(key.edgeSize, 0, 100);
  if (edge > 0) {
    // Erode the matte by half the edge size, then soften it over the edge.
    int r = edge / 2;
    if (r > 0) {
      std::vector<uint8_t>& tmp = Scratch(3, static_cast<size_t>(std::max(w, h)));
      for (int y = 0; y < h; ++y) {
        uint8_t* row = full.data() + static_cast<size_t>(y) * w;
        std::memcpy(tmp.data(), row, w);
        for (int x = 0; x < w; ++x) {
          uint8_t m = 255;
          for (int i = std::max(0, x - r); i <= std::min(w - 1, x + r); ++i)
            m = std::min(m, tmp[i]);
          row[x] = m;
        }
      }
      for (int x = 0; x < w; ++x) {
        for (int y = 0; y < h; ++y)
          tmp[y] = full[static_cast<size_t>(y) * w + x];
        for (int y = 0; y < h; ++y) {
          uint8_t m = 255;
          for (int i = std::max(0, y - r); i <= std::min(h - 1, y + r); ++i)
            m = std::min(m, tmp[i]);
          full[static_cast<size_t>(y) * w + x] = m;
        }
      }
    }
    GaussianBlurPlane(full.data(), w, w, h, edge / 3.0f);
  }
  MultiplyAlpha(img, full.data(), w);

  // Spill removal: the key's strongest primary may not exceed the mean of
  // the other two, so edges and reflections lose the key's cast. Luma is
  // kept; the chroma is recomputed.
  float keyRgb[3] = {static_cast<float>(key.red), static_cast<float>(key.green),
                     static_cast<float>(key.blue)};
  int m = static_cast<int>(std::max_element(keyRgb, keyRgb + 3) - keyRgb);
  int o1 = (m + 1) % 3, o2 = (m + 2) % 3;
  const float kR = matrix == 709 ? 0.2126f : 0.299f, kB = matrix == 709 ? 0.0722f : 0.114f, kG = 1 - kR - kB;
  for (int y = 0; y < ch; ++y) {
    uint8_t* u = img.p[1] + static_cast<size_t>(y) * img.s[1];
    uint8_t* v = img.p[2] + static_cast<size_t>(y) * img.s[2];
    const uint8_t* l0 = img.p[0] + static_cast<size_t>(2 * y) * img.s[0];
    const uint8_t* l1 = 2 * y + 1 < h ? l0 + img.s[0] : l0;
    for (int x = 0; x < cw; ++x) {
      int x1 = std::min(2 * x + 1, w - 1);
      float l = ((l0[2 * x] + l0[x1] + l1[2 * x] + l1[x1]) * 0.25f - 16.0f) / 219.0f;
      float cb = (u[x] - 128.0f) / 224.0f, cr = (v[x] - 128.0f) / 224.0f;
      float c[3];
      c[0] = l + 2.0f * (1.0f - kR) * cr;
      c[2] = l + 2.0f * (1.0f - kB) * cb;
      c[1] = (l - kR * c[0] - kB * c[2]) / kG;
      float limit = 0.5f * (c[o1] + c[o2]);
      if (c[m] <= limit) continue;
      c[m] = limit;
      float nl = kR * c[0] + kG * c[1] + kB * c[2];
      // Keep the luma of the block: shift the colour back to it.
      for (float& e : c)
        e += l - nl;
      float nb = (c[2] - l) / (2.0f * (1.0f - kB)), nr = (c[0] - l) / (2.0f * (1.0f - kR));
      u[x] = static_cast<uint8_t>(std::clamp(std::lround(128.0f + 224.0f * nb), 0L, 255L));
      v[x] = static_cast<uint8_t>(std::clamp(std::lround(128.0f + 224.0f * nr), 0L, 255L));
    }
  }
}

void SmoothSkin(Yuv& img, float amount) {
  amount = std::clamp(amount, 0.0f, 1.0f);
  if (amount <= 0.0f || img.w < 4 || img.h < 4) return;
  const int w = img.w, h = img.h;
  std::vector<uint8_t>& blurred = Scratch(1, static_cast<size_t>(w) * h);
  for (int y = 0; y < h; ++y)
    std::memcpy(blurred.data() + static_cast<size_t>(y) * w, img.p[0] + static_cast<size_t>(y) * img.s[0], w);
  float sigma = std::max(1.5f, std::min(w, h) / 150.0f);
  GaussianBlurPlane(blurred.data(), w, w, h, sigma);
  int k = static_cast<int>(std::lround(amount * 256.0f));
  for (int y = 0; y < h; ++y) {
    uint8_t* row = img.p[0] + static_cast<size_t>(y) * img.s[0];
    const uint8_t* b = blurred.data() + static_cast<size_t>(y) * w;
    const uint8_t* u = img.p[1] + static_cast<size_t>(y / 2) * img.s[1];
    const uint8_t* v = img.p[2] + static_cast<size_t>(y / 2) * img.s[2];
    for (int x = 0; x < w; ++x) {
      int d = b[x] - row[x];
      // Edges (large differences) are kept; small texture is smoothed.
      int edge = std::max(0, 256 - std::abs(d) * 256 / 24);
      if (!edge) continue;
      int skin = static_cast<int>(SkinLikelihood(u[x / 2], v[x / 2]) * 256.0f);
      if (!skin) continue;
      int weight = (((k * edge) >> 8) * skin) >> 8;
      row[x] = static_cast<uint8_t>(row[x] + ((d * weight + 128) >> 8));
    }
  }
}

ORMA_VECTOR_CLONES void MultiplyAlpha(Yuv& img, const uint8_t* matte, int stride) {
  if (!img.p[3]) return;
  // Sizes in locals: stores through byte pointers could change them as far
  // as the compiler knows, which would keep the rows from vectorising.
  const int w = img.w, h = img.h;
  for (int y = 0; y < h; ++y) {
    uint8_t* a = img.p[3] + static_cast<size_t>(y) * img.s[3];
    const uint8_t* m = matte + static_cast<size_t>(y) * stride;
    for (int x = 0; x < w; ++x) {
      // (a * m + 127) / 255 without a division (exact up to 65407).
      unsigned v = a[x] * m[x] + 127u;
      a[x] = static_cast<uint8_t>((v + 1 + (v >> 8)) >> 8);
    }
  }
}

void AffineResample(const Yuv& src, Yuv& dst, const float m[6]) {
  for (int k = 0; k < 4; ++k) {
    if (!dst.p[k]) continue;
    bool chroma = k == 1 || k == 2;
    if (k == 3 && !src.p[3]) {
      for (int y = 0; y < dst.h; ++y)
        std::memset(dst.p[3] + static_cast<size_t>(y) * dst.s[3], 255, dst.w);
      continue;
    }
    int dw = chroma ? Half(dst.w) : dst.w, dh = chroma ? Half(dst.h) : dst.h;
    int sw = chroma ? Half(src.w) : src.w, sh = chroma ? Half(src.h) : src.h;
    float s = chroma ? 2.0f : 1.0f;
    for (int y = 0; y < dh; ++y) {
      uint8_t* row = dst.p[k] + static_cast<size_t>(y) * dst.s[k];
      float py = (y + 0.5f) * s;
      for (int x = 0; x < dw; ++x) {
        float px = (x + 0.5f) * s;
        float sx = (m[0] * px + m[1] * py + m[2]) / s - 0.5f;
        float sy = (m[3] * px + m[4] * py + m[5]) / s - 0.5f;
        row[x] = SampleBilinear(src.p[k], src.s[k], sw, sh, sx, sy);
      }
    }
  }
}

} // namespace orma
