#include "engine/render/scene.h"
#include "engine/picture/mix.h"
#include "engine/picture/scale.h"
#include "engine/picture/scratch.h"

#include "engine/render/item_audio.h"
#include "engine/render/item_look.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>

namespace orma {

namespace {

Yuv SubView(Yuv& canvas, int x, int y, int w, int h) {
  Yuv v;
  v.w = w;
  v.h = h;
  v.p[0] = canvas.p[0] + y * canvas.s[0] + x;
  v.s[0] = canvas.s[0];
  for (int k = 1; k <= 2; ++k) {
    v.p[k] = canvas.p[k] + (y / 2) * canvas.s[k] + x / 2;
    v.s[k] = canvas.s[k];
  }
  return v;
}

} // namespace

SourceArea CropArea(const float crop[4], int width, int height) {
  float c[4];
  for (int k = 0; k < 4; ++k)
    c[k] = std::clamp(crop[k], 0.0f, 1.0f);
  if (c[2] <= c[0] || c[3] <= c[1]) {
    c[0] = c[1] = 0;
    c[2] = c[3] = 1;
  }
  SourceArea a;
  a.x = static_cast<int>(std::floor(c[0] * width / 2.0f)) * 2;
  a.y = static_cast<int>(std::floor(c[1] * height / 2.0f)) * 2;
  a.w = std::max(1, static_cast<int>(std::lround((c[2] - c[0]) * width)));
  a.h = std::max(1, static_cast<int>(std::lround((c[3] - c[1]) * height)));
  a.x = std::clamp(a.x, 0, std::max(0, width - 2));
  a.y = std::clamp(a.y, 0, std::max(0, height - 2));
  a.w = std::min(a.w, width - a.x);
  a.h = std::min(a.h, height - a.y);
  return a;
}

void DrawItem(const SourceFrame& frame, const ItemLayout& layout, Yuv& canvas, int matrix) {
  if (!frame.visible) return;
  if (frame.look) {
    DrawLook(frame, canvas);
    return;
  }
  if (frame.still) {
    Blend(canvas, frame.still->view(), layout.x, layout.y, layout.opacity);
    return;
  }
  if (!frame.decoded) return;
  const Decoded& d = *frame.decoded;
  SourceArea area = CropArea(layout.crop, d.width, d.height);
  if (d.rgba) {
    Picture& item = ScratchPicture(0, layout.w, layout.h, true);
    ScaleRgba(d.rgba, d.width * 4, area.x, area.y, area.w, area.h, item.view(), matrix);
    Mirror(item.view(), layout.mirrorH, layout.mirrorV);
    Blend(canvas, item.view(), layout.x, layout.y, layout.opacity);
    return;
  }
  bool inside =
      layout.x >= 0 && layout.y >= 0 && layout.x + layout.w <= canvas.w && layout.y + layout.h <= canvas.h;
  if (layout.opacity >= 1.0f && inside) {
    // Opaque and on the canvas: scale straight into place.
    Yuv target = SubView(canvas, layout.x, layout.y, layout.w, layout.h);
    ScaleYuv(d.yuv, area.x, area.y, area.w, area.h, d.color, target, matrix, false);
    Mirror(target, layout.mirrorH, layout.mirrorV);
    return;
  }
  Picture& item = ScratchPicture(0, layout.w, layout.h, false);
  ScaleYuv(d.yuv, area.x, area.y, area.w, area.h, d.color, item.view(), matrix, false);
  Mirror(item.view(), layout.mirrorH, layout.mirrorV);
  Blend(canvas, item.view(), layout.x, layout.y, layout.opacity);
}

bool CoverScale(const SourceFrame& frame, const ItemLayout& layout, Yuv& dst, int matrix) {
  if (!frame.visible) return false;
  // The source area to cover dst with: the item's crop area (or the whole
  // picture already scaled for a still), trimmed to dst's aspect ratio.
  auto cover = [&](int w, int h, SourceArea a) {
    double want = static_cast<double>(dst.w) / dst.h;
    double have = static_cast<double>(a.w) / a.h;
    if (have > want) {
      int nw = std::max(2, static_cast<int>(std::lround(a.h * want)));
      a.x += ((a.w - nw) / 2) & ~1;
      a.w = nw;
    } else if (have < want) {
      int nh = std::max(2, static_cast<int>(std::lround(a.w / want)));
      a.y += ((a.h - nh) / 2) & ~1;
      a.h = nh;
    }
    a.w = std::min(a.w, w - a.x);
    a.h = std::min(a.h, h - a.y);
    return a;
  };
  if (frame.still) {
    const Yuv& v = frame.still->view();
    SourceArea a = cover(v.w, v.h, SourceArea{0, 0, v.w, v.h});
    Colorimetry c;
    c.matrix = matrix;
    return ScaleYuv(v, a.x, a.y, a.w, a.h, c, dst, matrix, false);
  }
  if (!frame.decoded) return false;
  const Decoded& d = *frame.decoded;
  SourceArea a = cover(d.width, d.height, CropArea(layout.crop, d.width, d.height));
  if (d.rgba) {
    Picture& tmp = ScratchPicture(1, dst.w, dst.h, true);
    if (!ScaleRgba(d.rgba, d.width * 4, a.x, a.y, a.w, a.h, tmp.view(), matrix)) return false;
    CopyPicture(dst, tmp.view());
    return true;
  }
  return ScaleYuv(d.yuv, a.x, a.y, a.w, a.h, d.color, dst, matrix, false);
}

std::unique_ptr<Painter> MakePainter(const Background& background, RenderContext& ctx) {
  // One painter per background kind.
  static const struct {
    BackgroundKind kind;
    PainterFactory make;
  } kPainters[] = {
      {BackgroundKind::None, MakeBlackPainter},
      {BackgroundKind::Color, MakeColorPainter},
      {BackgroundKind::Picture, MakePicturePainter},
      {BackgroundKind::Blur, MakeBlurPainter},
  };
  for (const auto& p : kPainters)
    if (p.kind == background.kind) return p.make(background, ctx);
  return MakeBlackPainter(background, ctx);
}

} // namespace orma
