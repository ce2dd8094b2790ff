#include "engine/picture/sprite.h"
#include "engine/picture/mix.h"
#include "engine/picture/scratch.h"
#include "platform/per_thread.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace orma {

namespace {

int Even(int n) { return (n + 1) & ~1; }

/// Fixed-point (16.16) coefficients of limited-range Y'CbCr from 8-bit RGB.
struct YuvCoefficients {
  int yr, yg, yb, ur, ug, ub, vr, vg, vb;
  explicit YuvCoefficients(int matrix) {
    double kr = matrix == 709 ? 0.2126 : 0.299;
    double kb = matrix == 709 ? 0.0722 : 0.114;
    double kg = 1.0 - kr - kb;
    auto fix = [](double v) { return static_cast<int>(std::lround(v * 65536.0)); };
    double ys = 219.0 / 255.0, cs = 224.0 / 255.0;
    yr = fix(kr * ys);
    yg = fix(kg * ys);
    yb = fix(kb * ys);
    double cbScale = cs / (2.0 * (1.0 - kb)), crScale = cs / (2.0 * (1.0 - kr));
    ur = fix(-kr * cbScale);
    ug = fix(-kg * cbScale);
    ub = fix((1.0 - kb) * cbScale);
    vr = fix((1.0 - kr) * crScale);
    vg = fix(-kg * crScale);
    vb = fix(-kb * crScale);
  }
};

inline uint8_t Clamp8(int v) { return static_cast<uint8_t>(std::clamp(v, 0, 255)); }

/// Scratch ARGB buffer of the calling thread for transformed drawing.
struct Scratch {
  std::vector<uint32_t> pixels;
  uint32_t* Get(int w, int h) {
    size_t n = static_cast<size_t>(w) * h;
    if (pixels.size() < n) pixels.resize(n);
    std::memset(pixels.data(), 0, n * 4);
    return pixels.data();
  }
};

cairo_surface_t* Wrap(const uint32_t* pixels, int w, int h) {
  return cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(const_cast<uint32_t*>(pixels)),
                                             CAIRO_FORMAT_ARGB32, w, h, w * 4);
}

} // namespace

Affine Affine::Translation(double x, double y) {
  Affine a;
  a.x0 = x;
  a.y0 = y;
  return a;
}

Affine Affine::Scaling(double sx, double sy) {
  Affine a;
  a.xx = sx;
  a.yy = sy;
  return a;
}

Affine Affine::Rotation(double degrees) {
  // Clockwise on the screen, whose y axis points down.
  double r = degrees * std::numbers::pi / 180.0;
  double c = std::cos(r), s = std::sin(r);
  if (std::fabs(c) < 1e-12) c = 0;
  if (std::fabs(s) < 1e-12) s = 0;
  Affine a;
  a.xx = c;
  a.xy = -s;
  a.yx = s;
  a.yy = c;
  return a;
}

Affine Affine::After(const Affine& f) const {
  Affine r;
  r.xx = xx * f.xx + xy * f.yx;
  r.xy = xx * f.xy + xy * f.yy;
  r.yx = yx * f.xx + yy * f.yx;
  r.yy = yx * f.xy + yy * f.yy;
  r.x0 = xx * f.x0 + xy * f.y0 + x0;
  r.y0 = yx * f.x0 + yy * f.y0 + y0;
  return r;
}

Sprite::Sprite(int w, int h) : width(Even(std::max(w, 2))), height(Even(std::max(h, 2))) {
  argb.assign(static_cast<size_t>(width) * height, 0);
}

void Sprite::Finish(int matrix) {
  yuva = std::make_unique<Picture>(width, height, true);
  ArgbToYuva(argb.data(), width, yuva->view(), matrix);
}

void ArgbToYuva(const uint32_t* argb, int stride, Yuv& dst, int matrix) {
  const YuvCoefficients k(matrix);
  for (int y = 0; y < dst.h; ++y) {
    const uint32_t* row = argb + static_cast<size_t>(y) * stride;
    uint8_t* py = dst.p[0] + y * dst.s[0];
    uint8_t* pa = dst.p[3] + y * dst.s[3];
    for (int x = 0; x < dst.w; ++x) {
      uint32_t p = row[x];
      int a = static_cast<int>(p >> 24);
      pa[x] = static_cast<uint8_t>(a);
      if (a == 0) {
        py[x] = 16;
        continue;
      }
      // Straight colour from premultiplied.
      int r = static_cast<int>((p >> 16) & 255) * 255 / a;
      int g = static_cast<int>((p >> 8) & 255) * 255 / a;
      int b = static_cast<int>(p & 255) * 255 / a;
      py[x] = Clamp8(16 + ((k.yr * r + k.yg * g + k.yb * b + 32768) >> 16));
    }
  }
  for (int cy = 0; cy < (dst.h + 1) / 2; ++cy) {
    const uint32_t* r0 = argb + static_cast<size_t>(2 * cy) * stride;
    const uint32_t* r1 = argb + static_cast<size_t>(std::min(2 * cy + 1, dst.h - 1)) * stride;
    uint8_t* pu = dst.p[1] + cy * dst.s[1];
    uint8_t* pv = dst.p[2] + cy * dst.s[2];
    for (int cx = 0; cx < (dst.w + 1) / 2; ++cx) {
      int x0 = 2 * cx, x1 = std::min(2 * cx + 1, dst.w - 1);
      uint32_t q[4] = {r0[x0], r0[x1], r1[x0], r1[x1]};
      int sa = 0, sr = 0, sg = 0, sb = 0;
      for (uint32_t p : q) {
        sa += static_cast<int>(p >> 24);
        sr += static_cast<int>((p >> 16) & 255);
        sg += static_cast<int>((p >> 8) & 255);
        sb += static_cast<int>(p & 255);
      }
      if (sa == 0) {
        pu[cx] = pv[cx] = 128;
        continue;
      }
      int r = sr * 255 / sa, g = sg * 255 / sa, b = sb * 255 / sa;
      pu[cx] = Clamp8(128 + ((k.ur * r + k.ug * g + k.ub * b + 32768) >> 16));
      pv[cx] = Clamp8(128 + ((k.vr * r + k.vg * g + k.vb * b + 32768) >> 16));
    }
  }
}

void RgbaToArgb(const uint8_t* rgba, int count, uint32_t* argb) {
  for (int i = 0; i < count; ++i) {
    const uint8_t* s = rgba + 4 * static_cast<size_t>(i);
    uint32_t a = s[3];
    uint32_t r = (s[0] * a + 127) / 255, g = (s[1] * a + 127) / 255, b = (s[2] * a + 127) / 255;
    argb[i] = (a << 24) | (r << 16) | (g << 8) | b;
  }
}

std::shared_ptr<Sprite> ScaledSprite(const Sprite& source, int w, int h, int matrix) {
  auto out = std::make_shared<Sprite>(w, h);
  cairo_surface_t* dst = Wrap(out->argb.data(), out->width, out->height);
  cairo_surface_t* src = Wrap(source.argb.data(), source.width, source.height);
  cairo_t* cr = cairo_create(dst);
  cairo_scale(cr, static_cast<double>(w) / source.width, static_cast<double>(h) / source.height);
  cairo_set_source_surface(cr, src, 0, 0);
  cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
  cairo_pattern_set_extend(cairo_get_source(cr), CAIRO_EXTEND_PAD);
  cairo_rectangle(cr, 0, 0, source.width, source.height);
  cairo_fill(cr);
  cairo_destroy(cr);
  cairo_surface_destroy(src);
  cairo_surface_flush(dst);
  cairo_surface_destroy(dst);
  out->Finish(matrix);
  return out;
}

void DrawSprite(const Sprite& sprite, const Affine& place, float opacity, const SpritePart& wanted,
                Yuv& canvas, int matrix) {
  if (opacity <= 0.0f) return;
  SpritePart part = wanted;
  part.x0 = std::clamp(part.x0, 0.0, static_cast<double>(sprite.width));
  part.x1 = std::clamp(part.x1, 0.0, static_cast<double>(sprite.width));
  part.y0 = std::clamp(part.y0, 0.0, static_cast<double>(sprite.height));
  part.y1 = std::clamp(part.y1, 0.0, static_cast<double>(sprite.height));
  if (part.x1 <= part.x0 || part.y1 <= part.y0) return;

  if (place.IsTranslation() && sprite.yuva) {
    // A plain move: blend the kept picture (on even pixels, as 4:2:0 needs).
    int px0 = static_cast<int>(std::lround(part.x0 / 2)) * 2,
        px1 = static_cast<int>(std::lround(part.x1 / 2)) * 2;
    int py0 = static_cast<int>(std::lround(part.y0 / 2)) * 2,
        py1 = static_cast<int>(std::lround(part.y1 / 2)) * 2;
    if (px1 <= px0 || py1 <= py0) return;
    const Yuv& whole = sprite.yuva->view();
    Yuv sub;
    sub.w = px1 - px0;
    sub.h = py1 - py0;
    sub.p[0] = whole.p[0] + py0 * whole.s[0] + px0;
    sub.p[3] = whole.p[3] + py0 * whole.s[3] + px0;
    sub.p[1] = whole.p[1] + (py0 / 2) * whole.s[1] + px0 / 2;
    sub.p[2] = whole.p[2] + (py0 / 2) * whole.s[2] + px0 / 2;
    for (int k = 0; k < 4; ++k)
      sub.s[k] = whole.s[k];
    int x = static_cast<int>(std::lround(place.x0 / 2)) * 2 + px0;
    int y = static_cast<int>(std::lround(place.y0 / 2)) * 2 + py0;
    Blend(canvas, sub, x, y, opacity);
    return;
  }

  // Bounding box of the placed part on the canvas.
  double cx[4] = {part.x0, part.x1, part.x1, part.x0}, cy[4] = {part.y0, part.y0, part.y1, part.y1};
  double minX = 1e18, minY = 1e18, maxX = -1e18, maxY = -1e18;
  for (int i = 0; i < 4; ++i) {
    double x = place.xx * cx[i] + place.xy * cy[i] + place.x0;
    double y = place.yx * cx[i] + place.yy * cy[i] + place.y0;
    minX = std::min(minX, x);
    maxX = std::max(maxX, x);
    minY = std::min(minY, y);
    maxY = std::max(maxY, y);
  }
  if (!std::isfinite(minX) || !std::isfinite(minY) || !std::isfinite(maxX) || !std::isfinite(maxY)) return;
  int bx0 = std::max(0, (static_cast<int>(std::floor(minX)) - 1) & ~1);
  int by0 = std::max(0, (static_cast<int>(std::floor(minY)) - 1) & ~1);
  int bx1 = std::min(canvas.w, Even(static_cast<int>(std::ceil(maxX)) + 1));
  int by1 = std::min(canvas.h, Even(static_cast<int>(std::ceil(maxY)) + 1));
  if (bx1 <= bx0 || by1 <= by0) return;
  int w = bx1 - bx0, h = by1 - by0;

  Scratch& scratch = platform::PerThread<Scratch>([] {});
  uint32_t* pixels = scratch.Get(w, h);
  cairo_surface_t* dst = Wrap(pixels, w, h);
  cairo_surface_t* src = Wrap(sprite.argb.data(), sprite.width, sprite.height);
  cairo_t* cr = cairo_create(dst);
  cairo_translate(cr, -bx0, -by0);
  cairo_matrix_t m;
  cairo_matrix_init(&m, place.xx, place.yx, place.xy, place.yy, place.x0, place.y0);
  cairo_transform(cr, &m);
  cairo_rectangle(cr, part.x0, part.y0, part.x1 - part.x0, part.y1 - part.y0);
  cairo_clip(cr);
  cairo_set_source_surface(cr, src, 0, 0);
  cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
  cairo_paint_with_alpha(cr, std::clamp(opacity, 0.0f, 1.0f));
  cairo_destroy(cr);
  cairo_surface_destroy(src);
  cairo_surface_flush(dst);
  cairo_surface_destroy(dst);

  Picture& placed = ScratchPicture(7, w, h, true);
  ArgbToYuva(pixels, w, placed.view(), matrix);
  Blend(canvas, placed.view(), bx0, by0, 1.0f);
}

namespace {

/// One box blur of radius r over `count` premultiplied ARGB pixels spaced
/// `step` apart, all four components at once; `line` is scratch space.
void BoxLine(uint32_t* first, int count, size_t step, int r, std::vector<uint32_t>& line) {
  for (int i = 0; i < count; ++i)
    line[i] = first[i * step];
  const int width = 2 * r + 1;
  int sum[4] = {0, 0, 0, 0};
  auto add = [&](int i, int sign) {
    if (i < 0 || i >= count) return;
    const uint32_t p = line[i];
    for (int c = 0; c < 4; ++c)
      sum[c] += sign * static_cast<int>((p >> (8 * c)) & 0xff);
  };
  for (int i = -r; i <= r; ++i)
    add(i, 1);
  for (int i = 0; i < count; ++i) {
    uint32_t out = 0;
    for (int c = 0; c < 4; ++c)
      out |= static_cast<uint32_t>((sum[c] + width / 2) / width) << (8 * c);
    first[i * step] = out;
    add(i + r + 1, 1);
    add(i - r, -1);
  }
}

} // namespace

std::shared_ptr<Sprite> BlurredSprite(const Sprite& source, double sigma, int pad, int matrix) {
  pad = std::max(pad, 0);
  auto out = std::make_shared<Sprite>(source.width + 2 * pad, source.height + 2 * pad);
  for (int y = 0; y < source.height; ++y)
    std::copy_n(&source.argb[static_cast<size_t>(y) * source.width], source.width,
                &out->argb[static_cast<size_t>(y + pad) * out->width + pad]);
  // Three box blurs of this radius have about the Gaussian's spread.
  const int r = static_cast<int>(std::lround(std::sqrt(4.0 * sigma * sigma + 1.0) / 2.0));
  if (r >= 1) {
    std::vector<uint32_t> line(static_cast<size_t>(std::max(out->width, out->height)));
    for (int pass = 0; pass < 3; ++pass) {
      for (int y = 0; y < out->height; ++y)
        BoxLine(&out->argb[static_cast<size_t>(y) * out->width], out->width, 1, r, line);
      for (int x = 0; x < out->width; ++x)
        BoxLine(&out->argb[x], out->height, static_cast<size_t>(out->width), r, line);
    }
  }
  out->Finish(matrix);
  return out;
}

} // namespace orma
