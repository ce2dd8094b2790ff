#include <algorithm>
#include <cmath>

#include "engine/core/log.h"
#include "engine/media/still_image.h"
#include "engine/picture/scale.h"
#include "engine/render/item_audio.h"
#include "engine/render/item_look.h"
#include "engine/render/scene.h"

namespace orma {

namespace {

// Rectangles are (left, top, right, bottom); all zero means the whole frame.
void NormalisedRect(const float r[4], float out[4]) {
  if (r[0] == 0 && r[1] == 0 && r[2] == 0 && r[3] == 0) {
    out[0] = 0;
    out[1] = 0;
    out[2] = 1;
    out[3] = 1;
    return;
  }
  std::copy(r, r + 4, out);
}

int EvenFloor(double v) { return static_cast<int>(std::floor(v / 2.0)) * 2; }

} // namespace

MediaSource::MediaSource(const Media& media, int64_t sceneFrames, RenderContext& ctx)
    : media_(media), ctx_(ctx), sceneFrames_(sceneFrames) {
  const MediaAttributes& a = media.attrs;
  Rational fps = ctx.fps;
  if (a.timeline.set) {
    int64_t start = a.timeline.first, duration = a.timeline.second;
    offset_ = std::max<int64_t>(0, UsToFrames(start, fps));
    duration_ = duration > 0 ? UsToFrames(duration, fps) : sceneFrames - offset_;
  } else {
    duration_ = sceneFrames;
  }
  if (a.cut.set) {
    int64_t trimIn = a.cut.first, trimOut = a.cut.second;
    trimStart_ = std::max<int64_t>(0, UsToFrames(trimIn, fps));
    if (trimOut > trimIn) trimLast_ = std::max(trimStart_, UsToFrames(trimOut, fps) - 1);
  }
  speed_ = a.speed;
  if (!(speed_ > 0.0)) speed_ = 1.0;
  if (speed_ < 0.1 || speed_ > 10.0) {
    LogOnce("speed-range", "play speeds are limited to 0.1 to 10");
    speed_ = std::clamp(speed_, 0.1, 10.0);
  }
  sourceLast_ = media.probe.still ? 0 : std::max<int64_t>(0, UsToFrames(media.probe.durationUs, fps) - 1);
  volume_ = static_cast<float>(std::clamp(a.volume, 0.0, 4.0));
  audioWanted_ = media.probe.hasAudio && volume_ > 0.0f;
  // Sound at another speed, with a voice effect or noise suppression is read
  // on its own and processed (item_audio.h); otherwise it comes with the
  // picture's frames.
  soundSettings_.speed = speed_;
  soundSettings_.effect = a.audioEffect;
  soundSettings_.noiseLevel = a.audioNsLevel;
  processedSound_ = audioWanted_ && AudioChain::Changes(soundSettings_);
  if (a.audioFade.set) {
    fadeInFrames_ = std::max<int64_t>(0, UsToFrames(a.audioFade.first, fps));
    fadeOutFrames_ = std::max<int64_t>(0, UsToFrames(a.audioFade.second, fps));
  }

  // Placement: the show rectangle in canvas units, the crop in source units.
  float show[4];
  NormalisedRect(a.show, show);
  NormalisedRect(a.crop, layout_.crop);
  for (float& v : layout_.crop)
    v = std::clamp(v, 0.0f, 1.0f);
  if (layout_.crop[2] <= layout_.crop[0] || layout_.crop[3] <= layout_.crop[1]) {
    layout_.crop[0] = layout_.crop[1] = 0;
    layout_.crop[2] = layout_.crop[3] = 1;
  }
  int x0 = EvenFloor(show[0] * ctx.width), y0 = EvenFloor(show[1] * ctx.height);
  int x1 = EvenFloor(show[2] * ctx.width + 1.0), y1 = EvenFloor(show[3] * ctx.height + 1.0);
  layout_.x = x0;
  layout_.y = y0;
  layout_.w = std::max(2, x1 - x0);
  layout_.h = std::max(2, y1 - y0);
  int flip = a.flip;
  layout_.mirrorH = (flip & ORMA_FLIP_HORIZONTAL) != 0;
  layout_.mirrorV = (flip & ORMA_FLIP_VERTICAL) != 0;
  layout_.opacity = static_cast<float>(a.opacity); // 0..1: OrmaSetMediaTransparency brings it into range

  std::string error;
  look_ = ItemLook::Make(media, ctx, layout_, duration_, &error);
  if (!look_ && !error.empty()) ctx.Fail(error);
}

MediaSource::~MediaSource() { Release(); }

void MediaSource::Release() {
  last_.reset();
  still_.reset();
  sound_.reset();
  if (look_) look_->Release();
  if (reader_.video || reader_.sound) ctx_.clips.Give(media_.probe.path, std::move(reader_));
  reader_ = ClipReader();
  lastPosition_ = INT64_MIN;
}

bool MediaSource::OpenReader(int64_t position) {
  reader_ = ctx_.clips.Take(media_.probe.path, position);
  if (media_.probe.hasVideo && !reader_.video) {
    std::string error;
    reader_.video = VideoDecoder::Open(media_.probe, ctx_.fps, ctx_.matrix, ctx_.hardwareDecoding, &error);
    if (!reader_.video) {
      ctx_.Fail(error);
      return false;
    }
  }
  if (audioWanted_ && !processedSound_ && !reader_.sound)
    reader_.sound = std::make_shared<ClipSound>(media_.probe, ctx_);
  return true;
}

int64_t MediaSource::SourceFrameAt(int64_t t, bool* clamped, bool* visible) const {
  *visible = true;
  int64_t u = t - offset_;
  // Before its start inside the scene, or before the scene when the item
  // does not start with it, the item shows nothing.
  if ((t >= 0 && u < 0) || (t < 0 && offset_ > 0)) {
    *visible = false;
    return 0;
  }
  int64_t position = trimStart_ + static_cast<int64_t>(std::llround(static_cast<double>(u) * speed_));
  int64_t limit = sourceLast_;
  bool reachesEnd = offset_ + duration_ >= sceneFrames_;
  if (trimLast_ >= 0 && (t < sceneFrames_ || !reachesEnd)) limit = std::min(limit, trimLast_);
  int64_t clampedPosition = std::clamp<int64_t>(position, 0, std::max<int64_t>(limit, 0));
  *clamped = clampedPosition != position;
  return clampedPosition;
}

SourceFramePtr MediaSource::Fetch(int64_t t, bool withAudio) {
  auto frame = std::make_shared<SourceFrame>();
  if (!media_.probe.hasVideo && !audioWanted_) return frame;
  bool clamped = false, visible = false;
  int64_t position = SourceFrameAt(t, &clamped, &visible);
  if (!visible) return frame;
  frame->visible = media_.probe.hasVideo;
  if (processedSound_ && withAudio) {
    int64_t u = t - offset_;
    if (u >= 0 && u < duration_) {
      if (!sound_) {
        int64_t last = trimLast_ >= 0 ? std::min(trimLast_, sourceLast_) : sourceLast_;
        sound_ = std::make_shared<ItemAudio>(media_.probe, ctx_, soundSettings_, trimStart_, last);
      }
      frame->sound = sound_;
      frame->soundFrame = u;
      frame->gainStart = GainAt(u);
      frame->gainEnd = GainAt(u + 1);
    }
    if (!media_.probe.hasVideo) return frame;
  }

  if (media_.probe.still) {
    if (!ctx_.drawPictures) return frame;
    if (!still_) still_ = LoadStill();
    frame->still = still_;
    frame->visible = still_ != nullptr;
    if (look_ && frame->visible) frame->look = look_->Prepare(t - offset_, frame.get());
    return frame;
  }
  if (!reader_.video && !reader_.sound && !OpenReader(position)) {
    frame->visible = false;
    return frame;
  }
  // A held frame (the same source position again) reuses the decoded
  // picture and plays no sound; the decoder itself also keeps its last
  // picture for a source frame shown at several positions.
  const bool pictures = media_.probe.hasVideo && ctx_.drawPictures;
  bool fresh = position != lastPosition_ || (pictures && !last_);
  if (!fresh) {
    frame->decoded = last_;
  } else {
    if (pictures) {
      std::string error;
      DecodedPtr decoded = reader_.video->PictureAt(position, &error);
      if (!decoded) {
        ctx_.Fail(error.empty() ? media_.probe.path + ": cannot decode frame " + std::to_string(position)
                                : error);
        frame->visible = false;
        return frame;
      }
      last_ = decoded;
      frame->decoded = decoded;
    }
    lastPosition_ = position;
    frame->audio = withAudio && audioWanted_ && !processedSound_ && !clamped;
    if (frame->audio) {
      frame->clipSound = reader_.sound;
      frame->clipPosition = position;
    }
  }

  if (frame->audio) {
    int64_t u = t - offset_;
    frame->gainStart = GainAt(u);
    frame->gainEnd = GainAt(u + 1);
  }
  if (look_ && frame->visible && ctx_.drawPictures) frame->look = look_->Prepare(t - offset_, frame.get());
  return frame;
}

float MediaSource::GainAt(int64_t u) const {
  double g = volume_;
  if (fadeInFrames_ > 0 && u < fadeInFrames_)
    g *= std::max<double>(0.0, static_cast<double>(u) / fadeInFrames_);
  if (fadeOutFrames_ > 0 && duration_ - u < fadeOutFrames_)
    g *= std::max<double>(0.0, static_cast<double>(duration_ - u) / fadeOutFrames_);
  return static_cast<float>(g);
}

PicturePtr MediaSource::LoadStill() {
  RgbaImage image;
  std::string error;
  if (!LoadRgba(media_.probe, &image, &error)) {
    ctx_.Fail(error);
    return nullptr;
  }
  // An item with a look crops, mirrors and scales its picture per frame.
  if (look_) return ItemLook::StillPicture(image, ctx_.matrix);
  int sx = EvenFloor(layout_.crop[0] * image.width), sy = EvenFloor(layout_.crop[1] * image.height);
  int sw = std::max(1, static_cast<int>(std::lround((layout_.crop[2] - layout_.crop[0]) * image.width)));
  int sh = std::max(1, static_cast<int>(std::lround((layout_.crop[3] - layout_.crop[1]) * image.height)));
  sw = std::min(sw, image.width - sx);
  sh = std::min(sh, image.height - sy);
  auto picture = std::make_shared<Picture>(layout_.w, layout_.h, true);
  if (!ScaleRgba(image.pixels.data(), image.width * 4, sx, sy, sw, sh, picture->view(), ctx_.matrix)) {
    ctx_.Fail(media_.probe.path + ": cannot scale the picture");
    return nullptr;
  }
  Mirror(picture->view(), layout_.mirrorH, layout_.mirrorV);
  // Most pictures are opaque: keep them without alpha so that they are
  // copied rather than blended.
  const Yuv& v = picture->view();
  bool opaque = true;
  for (int y = 0; y < v.h && opaque; ++y) {
    const uint8_t* row = v.p[3] + y * v.s[3];
    for (int x = 0; x < v.w; ++x)
      if (row[x] != 255) {
        opaque = false;
        break;
      }
  }
  if (!opaque) return picture;
  auto plain = std::make_shared<Picture>(layout_.w, layout_.h, false);
  CopyPicture(plain->view(), v);
  return plain;
}

} // namespace orma
