#include "engine/item_compose.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace orma {

namespace {

int Half(int n) { return (n + 1) / 2; }

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
    {0, "normal", nullptr},        {1, "cut-out", nullptr},
    {2, "multiply", Multiply},     {3, "screen", Screen},
    {4, "overlay", Overlay},       {5, "darken", Darken},
    {6, "lighten", Lighten},       {7, "colour dodge", ColorDodge},
    {8, "colour burn", ColorBurn}, {9, "soft light", SoftLight},
    {10, "hard light", HardLight}, {11, "difference", Difference},
    {12, "exclusion", Exclusion},  {13, "add", Add},
    {14, "subtract", Subtract},
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

// Bilinear sample of a plane with the edge extended.
inline int Sample(const uint8_t* p, int stride, int w, int h, float x, float y) {
  x = std::clamp(x, 0.0f, static_cast<float>(w - 1));
  y = std::clamp(y, 0.0f, static_cast<float>(h - 1));
  int x0 = static_cast<int>(x), y0 = static_cast<int>(y);
  int x1 = std::min(x0 + 1, w - 1), y1 = std::min(y0 + 1, h - 1);
  int fx = static_cast<int>((x - x0) * 256.0f), fy = static_cast<int>((y - y0) * 256.0f);
  const uint8_t* r0 = p + static_cast<size_t>(y0) * stride;
  const uint8_t* r1 = p + static_cast<size_t>(y1) * stride;
  int top = r0[x0] * (256 - fx) + r0[x1] * fx;
  int bottom = r1[x0] * (256 - fx) + r1[x1] * fx;
  return (top * (256 - fy) + bottom * fy + 32768) >> 16;
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
  int a = Sample(item.p[3], item.s[3], item.w, item.h, x, y);
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

} // namespace

bool Placement::Invertible() const { return std::fabs(a * d - b * c) > 1e-6f; }

const BlendModeInfo* FindBlendMode(int number) {
  for (const auto& m : kModes)
    if (m.number == number) return &m;
  return nullptr;
}

const BlendModeInfo* BlendModes(int* count) {
  *count = static_cast<int>(sizeof kModes / sizeof kModes[0]);
  return kModes;
}

void Compose(Yuv& canvas, const Yuv& item, const Placement& p, float opacity, int blendMode, int matrix,
             const float* region) {
  float whole[4] = {0, 0, static_cast<float>(item.w), static_cast<float>(item.h)};
  const float* vis = region ? region : whole;
  if (vis[2] <= vis[0] || vis[3] <= vis[1]) return;
  opacity = std::clamp(opacity, 0.0f, 1.0f);
  if (opacity <= 0.0f || item.w <= 0 || item.h <= 0 || !p.Invertible()) return;
  const BlendModeInfo* mode = FindBlendMode(blendMode);
  auto mix = mode ? mode->mix : nullptr;
  // Unscaled, unrotated, at an even position and normal: the plain blend.
  if (!mix && !region && p.a == 1 && p.d == 1 && p.b == 0 && p.c == 0 && p.tx == std::floor(p.tx) &&
      p.ty == std::floor(p.ty) && static_cast<int>(p.tx) % 2 == 0 && static_cast<int>(p.ty) % 2 == 0) {
    Blend(canvas, item, static_cast<int>(p.tx), static_cast<int>(p.ty), opacity);
    return;
  }
  // Bounding box on the canvas, in whole 2x2 blocks.
  float xs[4] = {p.tx, p.a * item.w + p.tx, p.b * item.h + p.tx, p.a * item.w + p.b * item.h + p.tx};
  float ys[4] = {p.ty, p.c * item.w + p.ty, p.d * item.h + p.ty, p.c * item.w + p.d * item.h + p.ty};
  int x0 = static_cast<int>(std::floor(*std::min_element(xs, xs + 4))) - 1;
  int x1 = static_cast<int>(std::ceil(*std::max_element(xs, xs + 4))) + 1;
  int y0 = static_cast<int>(std::floor(*std::min_element(ys, ys + 4))) - 1;
  int y1 = static_cast<int>(std::ceil(*std::max_element(ys, ys + 4))) + 1;
  x0 = std::max(0, x0) & ~1;
  y0 = std::max(0, y0) & ~1;
  x1 = std::min(canvas.w, x1);
  y1 = std::min(canvas.h, y1);
  if (x0 >= x1 || y0 >= y1) return;
  Inverse inv = Invert(p);
  const float kx = std::sqrt(p.a * p.a + p.c * p.c), ky = std::sqrt(p.b * p.b + p.d * p.d);
  int op = static_cast<int>(std::lround(opacity * 256.0f));
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
        sy[r][x - x0] = cov ? Sample(item.p[0], item.s[0], item.w, item.h, ix, iy) : 0;
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
      int su = Sample(item.p[1], item.s[1], cw, ch, ix, iy);
      int sv = Sample(item.p[2], item.s[2], cw, ch, ix, iy);
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

} // namespace orma
