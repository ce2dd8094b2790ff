// A blurred copy of the scene's own media behind it: the first visible item
// is scaled to cover the canvas, blurred, and shown where the media leave the
// canvas uncovered. The blur is computed at a reduced size (the result is
// smooth, so nothing is lost) to keep its cost small at any intensity.
#include <algorithm>
#include <cmath>

#include "engine/picture/blur.h"
#include "engine/picture/scale.h"
#include "engine/picture/scratch.h"
#include "engine/render/scene.h"

namespace orma {

namespace {

class BlurPainter : public Painter {
public:
  BlurPainter(const Background& background, RenderContext& ctx) : intensity_(background.blur), ctx_(ctx) {}

  void Paint(const SceneRenderer& scene, const SceneRenderer::Frame& frame, Yuv& canvas) const override {
    const ItemLayout* layout = nullptr;
    const SourceFrame* source = scene.FirstPicture(frame, &layout);
    if (!source) {
      Fill(canvas, RgbToYuv(0, 0, 0, ctx_.matrix));
      return;
    }
    // Standard deviation in canvas pixels: up to 5 % of the shorter side.
    float sigma = std::clamp(intensity_, 0.0f, 1.0f) * 0.05f * std::min(canvas.w, canvas.h);
    int factor = std::clamp(static_cast<int>(sigma / 3.0f), 1, 8);
    int sw = std::max(2, (canvas.w / factor) & ~1), sh = std::max(2, (canvas.h / factor) & ~1);
    Picture& small = ScratchPicture(2, sw, sh, false);
    if (!CoverScale(*source, *layout, small.view(), ctx_.matrix)) {
      Fill(canvas, RgbToYuv(0, 0, 0, ctx_.matrix));
      return;
    }
    GaussianBlur(small.view(), sigma / factor);
    Colorimetry c;
    c.matrix = ctx_.matrix;
    ScaleYuv(small.view(), 0, 0, sw, sh, c, canvas, ctx_.matrix, false);
  }

private:
  float intensity_;
  RenderContext& ctx_;
};

} // namespace

std::unique_ptr<Painter> MakeBlurPainter(const Background& background, RenderContext& ctx) {
  return std::make_unique<BlurPainter>(background, ctx);
}

} // namespace orma
