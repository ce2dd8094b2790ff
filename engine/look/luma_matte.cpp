// The luma matte of luma_matte.h: a still picture is read once, a video is
// decoded frame by frame and loops.
#include "engine/look/luma_matte.h"

#include <algorithm>
#include <vector>

#include "engine/media/still_image.h"
#include "engine/picture/filters.h"
#include "engine/picture/scale.h"
#include "engine/picture/scratch.h"
#include "platform/per_thread.h"

namespace orma {

// One frame of a matte: a decoded video frame, or the still picture.
struct MatteFrame {
  DecodedPtr decoded;
  PicturePtr picture;
};

LumaMatte::LumaMatte(const std::string& path, RenderContext& ctx) : ctx_(ctx) {
  probe_ = ProbeMedia(path.c_str(), false);
  if (!probe_.ok) ctx_.Fail(path + ": " + probe_.error);
  frames_ = probe_.still ? 1 : std::max<int64_t>(1, UsToFrames(probe_.durationUs, ctx.fps));
}

LumaMatte::~LumaMatte() { Release(); }

void LumaMatte::Release() {
  still_.reset();
  video_.reset();
}

std::shared_ptr<const MatteFrame> LumaMatte::Fetch(int64_t itemFrame) {
  if (!probe_.ok || !probe_.hasVideo) return nullptr;
  if (probe_.still) {
    if (!still_) {
      RgbaImage image;
      std::string error;
      if (!LoadRgba(probe_, &image, &error)) {
        ctx_.Fail(error);
        return nullptr;
      }
      auto frame = std::make_shared<MatteFrame>();
      frame->picture = std::make_shared<Picture>(image.width, image.height, true);
      ScaleRgba(image.pixels.data(), image.width * 4, 0, 0, image.width, image.height, frame->picture->view(),
                ctx_.matrix);
      still_ = frame;
    }
    return still_;
  }
  std::string error;
  if (!video_) {
    video_ = VideoDecoder::Open(probe_, ctx_.fps, ctx_.matrix, false, &error);
    if (!video_) {
      ctx_.Fail(error);
      return nullptr;
    }
  }
  int64_t position = ((itemFrame % frames_) + frames_) % frames_;
  auto frame = std::make_shared<MatteFrame>();
  frame->decoded = video_->PictureAt(position, &error);
  if (!frame->decoded) {
    ctx_.Fail(error.empty() ? probe_.path + ": cannot decode the mask video" : error);
    return nullptr;
  }
  return frame;
}

void LumaMatte::Apply(Yuv& img, const std::shared_ptr<const MatteFrame>& frame) const {
  if (!frame || !img.p[3]) return;
  const MatteFrame& m = *frame;
  Picture& scaled = ScratchPicture(45, img.w, img.h, false);
  bool ok = false;
  if (m.picture) {
    Colorimetry c;
    c.matrix = ctx_.matrix;
    const Yuv& v = m.picture->view();
    ok = ScaleYuv(v, 0, 0, v.w, v.h, c, scaled.view(), ctx_.matrix, false);
  } else if (m.decoded && m.decoded->rgba) {
    const Decoded& d = *m.decoded;
    Picture& withAlpha = ScratchPicture(46, img.w, img.h, true);
    ok = ScaleRgba(d.rgba, d.width * 4, 0, 0, d.width, d.height, withAlpha.view(), ctx_.matrix);
    if (ok) CopyPicture(scaled.view(), withAlpha.view());
  } else if (m.decoded) {
    const Decoded& d = *m.decoded;
    ok = ScaleYuv(d.yuv, 0, 0, d.width, d.height, d.color, scaled.view(), ctx_.matrix, false);
  }
  if (!ok) return;
  // Limited-range luma to coverage: black hides, white keeps.
  std::vector<uint8_t>& matte = platform::PerThread<std::vector<uint8_t>>([] {});
  matte.resize(static_cast<size_t>(img.w) * img.h);
  const Yuv& s = scaled.view();
  for (int y = 0; y < img.h; ++y) {
    const uint8_t* row = s.p[0] + static_cast<size_t>(y) * s.s[0];
    for (int x = 0; x < img.w; ++x)
      matte[static_cast<size_t>(y) * img.w + x] =
          static_cast<uint8_t>(std::clamp((row[x] - 16) * 255 / 219, 0, 255));
  }
  MultiplyAlpha(img, matte.data(), img.w);
}

} // namespace orma
