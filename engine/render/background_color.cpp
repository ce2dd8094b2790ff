// Backgrounds of a single colour: black where a scene has none, or the
// draft's colour (components 0..1, alpha laid over black).
#include <algorithm>

#include "engine/render/scene.h"

namespace orma {

namespace {

class ColorPainter : public Painter {
public:
  explicit ColorPainter(YuvColor color) : color_(color) {}
  void Paint(const SceneRenderer&, const SceneRenderer::Frame&, Yuv& canvas) const override {
    Fill(canvas, color_);
  }

private:
  YuvColor color_;
};

} // namespace

std::unique_ptr<Painter> MakeBlackPainter(const Background&, RenderContext& ctx) {
  return std::make_unique<ColorPainter>(RgbToYuv(0, 0, 0, ctx.matrix));
}

std::unique_ptr<Painter> MakeColorPainter(const Background& background, RenderContext& ctx) {
  float a = std::clamp(background.rgba[3], 0.0f, 1.0f);
  return std::make_unique<ColorPainter>(
      RgbToYuv(background.rgba[0] * a, background.rgba[1] * a, background.rgba[2] * a, ctx.matrix));
}

} // namespace orma
