// Stickers (caption kind 2): the frames of the sticker's folder, advancing
// at their rate and looping over the sticker's span, placed at its centre
// and size, scaled, turned and faded. Frames are decoded at the sticker's
// first frame and dropped after its last; a frame is scaled to the
// sticker's size once and then only blended, unless the sticker turns or
// its scale changes.
#include <cmath>
#include <map>
#include <mutex>

#include "engine/core/log.h"
#include "engine/look/sticker.h"
#include "engine/render/caption_segments.h"
#include "engine/text/caption_pose.h"

namespace orma {

namespace {

struct StickerJob : FrameJob {
  std::shared_ptr<const Sprite> sprite;
  Affine place;
  float opacity = 1;
};

class StickerSegment : public CaptionSegment<StickerJob> {
public:
  StickerSegment(const Caption& caption, RenderContext& ctx) : CaptionSegment(caption, ctx) {}

protected:
  std::shared_ptr<StickerJob> FetchJob(int64_t f) override {
    std::shared_ptr<StickerJob> job;
    if (Load()) job = Place(f);
    if (f >= end - 1) Drop(); // in-flight jobs keep the sprites they use
    return job;
  }

  void RenderJob(const StickerJob& job, Yuv& canvas) const override {
    if (job.sprite) DrawSprite(*job.sprite, job.place, job.opacity, SpritePart{}, canvas, ctx_.matrix);
  }

private:
  bool Load() {
    if (loaded_ || failed_) return loaded_;
    std::string error;
    if (!caption_.sticker || !LoadStickerFrames(*caption_.sticker, &frames_, &error)) {
      LogText("sticker " + caption_.configPath + " is left out: " + error);
      failed_ = true;
      return false;
    }
    loaded_ = true;
    return true;
  }

  void Drop() {
    frames_ = StickerFrames();
    scaled_.clear();
    loaded_ = false;
  }

  std::shared_ptr<StickerJob> Place(int64_t f) {
    int64_t us = std::max<int64_t>(0, FramesToUs(f, ctx_.fps) - caption_.startUs);
    CaptionPose pose = motion_.At(us);
    size_t index = frames_.FrameAt(us);
    const std::shared_ptr<Sprite>& frame = frames_.sprites[index];
    // The sticker's box; a missing side follows the picture's proportions,
    // and without any the picture keeps its own size.
    double w = pose.boxW, h = pose.boxH;
    if (w <= 0 && h <= 0) {
      w = frame->width;
      h = frame->height;
    } else if (w <= 0) {
      w = h * frame->width / frame->height;
    } else if (h <= 0) {
      h = w * frame->height / frame->width;
    }
    w *= pose.scale;
    h *= pose.scale;
    auto job = std::make_shared<StickerJob>();
    job->opacity = pose.opacity;
    if (job->opacity <= 0 || w < 1 || h < 1) return nullptr;
    double turn = std::fmod(pose.angle, 360.0);
    if (turn == 0 && !motion_.Moves() && w <= 8192 && h <= 8192) {
      // Scaled once per frame picture, then only moved.
      int sw = static_cast<int>(std::lround(w)), sh = static_cast<int>(std::lround(h));
      auto& cached = scaled_[index];
      if (!cached || cached->width != ((sw + 1) & ~1) || cached->height != ((sh + 1) & ~1))
        cached = ScaledSprite(*frame, sw, sh, ctx_.matrix);
      job->sprite = cached;
      job->place = Affine::Translation(pose.cx - sw / 2.0, pose.cy - sh / 2.0);
      return job;
    }
    job->sprite = frame;
    job->place = Affine::Translation(pose.cx, pose.cy)
                     .After(Affine::Rotation(pose.angle))
                     .After(Affine::Scaling(w / frame->width, h / frame->height))
                     .After(Affine::Translation(-frame->width / 2.0, -frame->height / 2.0));
    return job;
  }

  StickerFrames frames_;
  std::map<size_t, std::shared_ptr<Sprite>> scaled_;
  bool loaded_ = false;
  bool failed_ = false;
};

} // namespace

std::unique_ptr<Segment> MakeStickerSegment(const Caption& caption, RenderContext& ctx) {
  return std::make_unique<StickerSegment>(caption, ctx);
}

} // namespace orma
