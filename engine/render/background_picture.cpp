// A picture behind the scene's media, scaled to cover the canvas (cropped
// equally on both sides). It is decoded and scaled once, when the scene is
// first rendered, and dropped when the scene is over.
#include <algorithm>
#include <cmath>

#include "engine/media/still_image.h"
#include "engine/picture/mix.h"
#include "engine/picture/scale.h"
#include "engine/render/scene.h"

namespace orma {

namespace {

// The scaled picture, held by every frame that paints it.
struct PictureJob : FrameJob {
  PicturePtr picture;
};

class PicturePainter : public Painter {
public:
  PicturePainter(const Background& background, RenderContext& ctx) : probe_(background.picture), ctx_(ctx) {}

  FrameJobPtr Prepare(const SceneRenderer&) override {
    if (!canvas_ && !failed_) Load();
    return canvas_;
  }

  void Paint(const SceneRenderer&, const SceneRenderer::Frame& frame, Yuv& canvas) const override {
    const PictureJob* job = JobAs<PictureJob>(frame.background.get());
    if (job)
      CopyPicture(canvas, job->picture->view());
    else
      Fill(canvas, RgbToYuv(0, 0, 0, ctx_.matrix));
  }

  void Release() override { canvas_.reset(); }

private:
  void Load() {
    RgbaImage image;
    std::string error;
    if (!LoadRgba(probe_, &image, &error)) {
      failed_ = true;
      ctx_.Fail(error);
      return;
    }
    double want = static_cast<double>(ctx_.width) / ctx_.height;
    double have = static_cast<double>(image.width) / image.height;
    int sx = 0, sy = 0, sw = image.width, sh = image.height;
    if (have > want) {
      sw = std::max(1, static_cast<int>(std::lround(image.height * want)));
      sx = (image.width - sw) / 2;
    } else if (have < want) {
      sh = std::max(1, static_cast<int>(std::lround(image.width / want)));
      sy = (image.height - sh) / 2;
    }
    Picture withAlpha(ctx_.width, ctx_.height, true);
    if (!ScaleRgba(image.pixels.data(), image.width * 4, sx, sy, sw, sh, withAlpha.view(), ctx_.matrix)) {
      failed_ = true;
      ctx_.Fail(probe_.path + ": cannot scale the background picture");
      return;
    }
    // Transparent parts of the picture show black.
    auto canvas = std::make_shared<Picture>(ctx_.width, ctx_.height, false);
    Fill(canvas->view(), RgbToYuv(0, 0, 0, ctx_.matrix));
    Blend(canvas->view(), withAlpha.view(), 0, 0, 1.0f);
    canvas_ = std::make_shared<PictureJob>();
    canvas_->picture = canvas;
  }

  MediaProbe probe_;
  RenderContext& ctx_;
  std::shared_ptr<PictureJob> canvas_;
  bool failed_ = false;
};

} // namespace

std::unique_ptr<Painter> MakePicturePainter(const Background& background, RenderContext& ctx) {
  return std::make_unique<PicturePainter>(background, ctx);
}

} // namespace orma
