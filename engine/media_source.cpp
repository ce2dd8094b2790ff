#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "engine/item_audio.h"
#include "engine/item_look.h"
#include "engine/log.h"
#include "engine/mlt_runtime.h"
#include "engine/render.h"

namespace orma {

namespace {

void CloseDescriptor(void* box) {
  int* fd = static_cast<int*>(box);
  if (*fd >= 0) ::close(*fd);
  delete fd;
}

// Rectangles are (left, top, right, bottom); all zero means the whole frame.
void NormalisedRect(const PropertyBag& attrs, const char* name, float out[4]) {
  float r[4] = {0, 0, 0, 0};
  attrs.GetRect(name, r);
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

Decoded::~Decoded() {
  if (child) mlt_frame_close(child);
  if (keep) mlt_producer_close(keep);
}

// Opens the file through MLT's avformat producer. The resource is the plain
// absolute path with FFmpeg's protocol whitelist, or, for a path the
// producer would misread (one holding ':'), a /proc/self/fd alias of a
// descriptor opened here that lives as long as the producer.
mlt_producer OpenAvformat(const MediaProbe& probe, RenderContext& ctx, const std::string& extra,
                          std::string* error) {
  std::string path = probe.path;
  int fd = -1;
  if (!PathIsPlainForAvformat(path)) {
    fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat st;
    if (fd < 0 || fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
      if (fd >= 0) ::close(fd);
      *error = path + ": " + std::strerror(errno);
      return nullptr;
    }
    path = "/proc/self/fd/" + std::to_string(fd);
  }
  std::string options = extra;
  if (probe.container == "image2") options += std::string(options.empty() ? "" : "&") + "pattern_type=none";
  std::string resource = AvformatResource(path, options, error);
  if (resource.empty()) {
    if (fd >= 0) ::close(fd);
    return nullptr;
  }
  ClearLibraryError();
  mlt_producer producer = mlt_factory_producer(ctx.profile, "avformat", resource.c_str());
  if (!producer) {
    std::string cause = LastLibraryError();
    *error = probe.path + ": cannot be opened for decoding" + (cause.empty() ? "" : " (" + cause + ")");
    if (fd >= 0) ::close(fd);
    return nullptr;
  }
  if (fd >= 0)
    mlt_properties_set_data(MLT_PRODUCER_PROPERTIES(producer), "orma.fd", new int(fd), 0, CloseDescriptor,
                            nullptr);
  return producer;
}

MediaSource::MediaSource(const Media& media, int64_t sceneFrames, RenderContext& ctx)
    : media_(media), ctx_(ctx), sceneFrames_(sceneFrames) {
  const PropertyBag& a = media.attrs;
  Rational fps = ctx.fps;
  int64_t start = 0, duration = 0;
  if (a.GetPair("timeline", &start, &duration)) {
    offset_ = std::max<int64_t>(0, UsToFrames(start, fps));
    duration_ = duration > 0 ? UsToFrames(duration, fps) : sceneFrames - offset_;
  } else {
    duration_ = sceneFrames;
  }
  int64_t trimIn = 0, trimOut = 0;
  if (a.GetPair("cut", &trimIn, &trimOut)) {
    trimStart_ = std::max<int64_t>(0, UsToFrames(trimIn, fps));
    if (trimOut > trimIn) trimLast_ = std::max(trimStart_, UsToFrames(trimOut, fps) - 1);
  }
  speed_ = a.GetReal("speed", 1.0);
  if (!(speed_ > 0.0)) speed_ = 1.0;
  if (speed_ < 0.1 || speed_ > 10.0) {
    LogOnce("speed-range", "play speeds are limited to 0.1 to 10");
    speed_ = std::clamp(speed_, 0.1, 10.0);
  }
  sourceLast_ = media.probe.still ? 0 : std::max<int64_t>(0, UsToFrames(media.probe.durationUs, fps) - 1);
  volume_ = static_cast<float>(std::clamp(a.GetReal("volume", 1.0), 0.0, 4.0));
  audioWanted_ = media.probe.hasAudio && volume_ > 0.0f;
  // Sound at another speed, with a voice effect or noise suppression is read
  // on its own and processed (item_audio.h); otherwise it comes with the
  // picture's frames.
  soundSettings_.speed = speed_;
  soundSettings_.effect = static_cast<int>(a.GetInt("audioEffect", 0));
  soundSettings_.noiseLevel = static_cast<int>(a.GetInt("audioNsLevel", 0));
  processedSound_ = audioWanted_ && AudioChain::Changes(soundSettings_);
  int64_t fadeIn = 0, fadeOut = 0;
  if (a.GetPair("audioFade", &fadeIn, &fadeOut)) {
    fadeInFrames_ = std::max<int64_t>(0, UsToFrames(fadeIn, fps));
    fadeOutFrames_ = std::max<int64_t>(0, UsToFrames(fadeOut, fps));
  }

  // Placement: the show rectangle in canvas units, the crop in source units.
  float show[4];
  NormalisedRect(a, "show", show);
  NormalisedRect(a, "crop", layout_.crop);
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
  int flip = static_cast<int>(a.GetInt("flip", 0));
  layout_.mirrorH = (flip & 1) != 0;
  layout_.mirrorV = (flip & 2) != 0;
  layout_.opacity = static_cast<float>(std::clamp(a.GetReal("opacity", 1.0), 0.0, 1.0));

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
  if (producer_) {
    ctx_.producers.Give(PoolKey(), producer_, lastPosition_ == INT64_MIN ? 0 : lastPosition_);
    producer_ = nullptr;
  }
  lastPosition_ = INT64_MIN;
}

std::string MediaSource::PoolKey() const {
  return media_.probe.path + (audioWanted_ ? "\n+sound" : "\n-sound");
}

bool MediaSource::OpenProducer(int64_t position) {
  producer_ = ctx_.producers.Take(PoolKey(), position);
  if (producer_) return true;
  std::string error;
  producer_ = OpenAvformat(media_.probe, ctx_, ctx_.decoderOptions, &error);
  if (!producer_) {
    ctx_.Fail(error);
    return false;
  }
  mlt_properties props = MLT_PRODUCER_PROPERTIES(producer_);
  // Frames are read in order and held by the engine itself; the producer's
  // own cache of decoded pictures would only add memory.
  mlt_properties_set_int(props, "noimagecache", 1);
  // One decoding thread: decoding runs ahead of the encoder, which is the
  // bottleneck, and each frame thread would keep pictures of its own (about
  // 20 MB at 1080p for a second thread).
  mlt_properties_set_int(props, "threads", 1);
  if (!audioWanted_ || processedSound_) {
    mlt_properties_set_int(props, "audio_index", -1);
  } else {
    // Sound in the output's rate and channel layout.
    mlt_filter resample = mlt_factory_filter(ctx_.profile, "swresample", nullptr);
    if (resample) {
      mlt_producer_attach(producer_, resample);
      mlt_filter_close(resample);
    }
  }
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
    if (!still_) still_ = LoadStill();
    frame->still = still_;
    frame->visible = still_ != nullptr;
    if (look_ && frame->visible) frame->look = look_->Prepare(t - offset_, frame.get());
    return frame;
  }
  if (!producer_ && !OpenProducer(position)) {
    frame->visible = false;
    return frame;
  }
  // A held frame (the same source position again) reuses the decoded
  // picture instead of seeking and decoding it once more.
  if (position == lastPosition_ && last_) {
    frame->decoded = last_;
  } else {
    mlt_producer_seek(producer_, position);
    mlt_frame child = nullptr;
    if (mlt_service_get_frame(MLT_PRODUCER_SERVICE(producer_), &child, 0) != 0 || !child) {
      ctx_.Fail(media_.probe.path + ": cannot read frame " + std::to_string(position));
      frame->visible = false;
      return frame;
    }
    auto decoded = std::make_shared<Decoded>();
    decoded->child = child;
    mlt_properties_inc_ref(MLT_PRODUCER_PROPERTIES(producer_));
    decoded->keep = producer_;
    if (media_.probe.hasVideo) {
      uint8_t* image = nullptr;
      mlt_image_format format = mlt_image_yuv420p;
      int w = 0, h = 0;
      ClearLibraryError();
      if (mlt_frame_get_image(child, &image, &format, &w, &h, 0) != 0 || !image || w <= 0 || h <= 0) {
        std::string cause = LastLibraryError();
        ctx_.Fail(media_.probe.path + ": cannot decode frame " + std::to_string(position) +
                  (cause.empty() ? "" : " (" + cause + ")"));
        frame->visible = false;
        return frame;
      }
      decoded->width = w;
      decoded->height = h;
      // The matrix the file declares; a file that declares none is taken to
      // be in the canvas's matrix (MLT 7.12 would call every such file
      // BT.601, and converting would cost every frame for a guess).
      mlt_properties props = MLT_FRAME_PROPERTIES(child);
      decoded->color.matrix = media_.probe.matrix ? media_.probe.matrix : ctx_.matrix;
      decoded->color.fullRange = media_.probe.fullRange || mlt_properties_get_int(props, "full_range") != 0;
      if (format == mlt_image_yuv420p) {
        // MLT's contiguous 4:2:0 layout (mlt_image_format_planes of MLT
        // 7.12 misplaces the third plane, so it is not used).
        decoded->yuv = Yuv420View(image, w, h);
      } else if (format == mlt_image_rgba) {
        decoded->rgba = image;
      } else {
        // Ask for RGBA, which every source converts to.
        format = mlt_image_rgba;
        if (mlt_frame_get_image(child, &image, &format, &w, &h, 0) != 0 || format != mlt_image_rgba) {
          ctx_.Fail(media_.probe.path + ": unsupported picture format");
          frame->visible = false;
          return frame;
        }
        decoded->rgba = image;
      }
    }
    last_ = decoded;
    lastPosition_ = position;
    frame->decoded = decoded;
    frame->audio = withAudio && audioWanted_ && !clamped;
  }

  if (frame->audio) {
    int64_t u = t - offset_;
    frame->gainStart = GainAt(u);
    frame->gainEnd = GainAt(u + 1);
  }
  if (look_ && frame->visible) frame->look = look_->Prepare(t - offset_, frame.get());
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
  if (!LoadRgba(media_.probe, ctx_, &image, &error)) {
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
