#include "engine/timeline/timeline.h"

extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "engine/core/av_handles.h"
#include "engine/core/log.h"
#include "engine/sound/limiter.h"
#include "engine/timeline/elements.h"

namespace orma {

struct ClipState {
  Timeline* timeline;
  Segment* segment;
};

// The segments of one track in time order, behind the track's producer.
struct TrackClips {
  ProducerPtr blank;
  std::vector<std::unique_ptr<ClipState>> clips;

  ClipState* At(int64_t f) const {
    auto next =
        std::upper_bound(clips.begin(), clips.end(), f, [](int64_t at, const std::unique_ptr<ClipState>& c) {
          return at < c->segment->start;
        });
    if (next == clips.begin()) return nullptr;
    ClipState* clip = std::prev(next)->get();
    return f < clip->segment->end ? clip : nullptr;
  }
};

namespace {

struct ClipJob {
  ClipState* clip;
  FrameJobPtr job;
};

void DeleteClipJob(void* p) { delete static_cast<ClipJob*>(p); }

// Converts the rendered 4:2:0 canvas for a consumer that asks for another
// format (a preview window may want packed 4:2:2 or RGB).
bool ConvertCanvas(const uint8_t* src, int w, int h, mlt_image_format to, uint8_t** out, int* size) {
  AVPixelFormat target;
  switch (to) {
  case mlt_image_yuv422:
    target = AV_PIX_FMT_YUYV422;
    break;
  case mlt_image_rgba:
    target = AV_PIX_FMT_RGBA;
    break;
  case mlt_image_rgb:
    target = AV_PIX_FMT_RGB24;
    break;
  default:
    return false;
  }
  *size = mlt_image_format_size(to, w, h, nullptr);
  uint8_t* buffer = static_cast<uint8_t*>(mlt_pool_alloc(*size));
  SwsPtr ctx(sws_getContext(w, h, AV_PIX_FMT_YUV420P, w, h, target, SWS_BILINEAR, nullptr, nullptr, nullptr));
  if (!ctx) {
    mlt_pool_release(buffer);
    return false;
  }
  uint8_t* planes[4];
  int strides[4];
  mlt_image_format_planes(mlt_image_yuv420p, w, h, const_cast<uint8_t*>(src), planes, strides);
  uint8_t* dst[4];
  int dstStrides[4];
  mlt_image_format_planes(to, w, h, buffer, dst, dstStrides);
  sws_scale(ctx.get(), planes, strides, 0, h, dst, dstStrides);
  *out = buffer;
  return true;
}

int ClipGetImage(mlt_frame frame, uint8_t** image, mlt_image_format* format, int* width, int* height, int) {
  auto* box =
      static_cast<ClipJob*>(mlt_properties_get_data(MLT_FRAME_PROPERTIES(frame), "orma.job", nullptr));
  if (!box) return 1;
  RenderContext& ctx = box->clip->timeline->ctx;
  int w = ctx.width, h = ctx.height;
  int size = Yuv420Size(w, h);
  mlt_image_format requested = *format;
  uint8_t* buffer = static_cast<uint8_t*>(mlt_pool_alloc(size));
  Yuv canvas = Yuv420View(buffer, w, h);
  if (box->clip->segment->overlay) Fill(canvas, YuvColor{});
  box->clip->segment->Render(box->job, canvas);
  if (!box->clip->segment->overlay) box->clip->segment->Drawn(box->job);
  if (requested != mlt_image_yuv420p && requested != mlt_image_none && requested != mlt_image_movit) {
    uint8_t* converted = nullptr;
    int convertedSize = 0;
    if (ConvertCanvas(buffer, w, h, requested, &converted, &convertedSize)) {
      mlt_pool_release(buffer);
      mlt_frame_set_image(frame, converted, convertedSize, mlt_pool_release);
      *image = converted;
      *format = requested;
      *width = w;
      *height = h;
      return 0;
    }
  }
  mlt_frame_set_image(frame, buffer, size, mlt_pool_release);
  *image = buffer;
  *format = mlt_image_yuv420p;
  *width = w;
  *height = h;
  return 0;
}

int ClipGetAudio(mlt_frame frame, void** buffer, mlt_audio_format* format, int* frequency, int* channels,
                 int* samples) {
  auto* box =
      static_cast<ClipJob*>(mlt_properties_get_data(MLT_FRAME_PROPERTIES(frame), "orma.job", nullptr));
  if (!box) return 1;
  RenderContext& ctx = box->clip->timeline->ctx;
  AudioBlock block;
  block.frequency = *frequency > 0 ? *frequency : 48000;
  block.channels = *channels > 0 ? *channels : 2;
  double fps = static_cast<double>(ctx.fps.num) / ctx.fps.den;
  block.samples = *samples > 0 ? *samples
                               : mlt_audio_calculate_frame_samples(static_cast<float>(fps), block.frequency,
                                                                   mlt_frame_get_position(frame));
  block.data.assign(static_cast<size_t>(block.channels) * block.samples, 0.0f);
  box->clip->segment->Audio(box->job, block);

  // The asked format when it is one of the common ones, else planar floats
  // (the export asks for those).
  mlt_audio_format out = *format;
  if (out != mlt_audio_s16 && out != mlt_audio_s32 && out != mlt_audio_s32le && out != mlt_audio_f32le)
    out = mlt_audio_float;
  int n = block.samples, ch = block.channels;
  int size = mlt_audio_format_size(out, n, ch);
  void* data = mlt_pool_alloc(size);
  for (int c = 0; c < ch; ++c) {
    const float* src = block.Plane(c);
    for (int s = 0; s < n; ++s) {
      // Float sound goes on to the mixing and the limiter unclipped.
      float v = out == mlt_audio_float ? src[s] : std::clamp(src[s], -1.0f, 1.0f);
      switch (out) {
      case mlt_audio_s16:
        static_cast<int16_t*>(data)[static_cast<size_t>(s) * ch + c] = static_cast<int16_t>(v * 32767.0f);
        break;
      case mlt_audio_s32:
        static_cast<int32_t*>(data)[static_cast<size_t>(c) * n + s] = static_cast<int32_t>(v * 2147483647.0);
        break;
      case mlt_audio_s32le:
        static_cast<int32_t*>(data)[static_cast<size_t>(s) * ch + c] = static_cast<int32_t>(v * 2147483647.0);
        break;
      case mlt_audio_f32le:
        static_cast<float*>(data)[static_cast<size_t>(s) * ch + c] = v;
        break;
      default:
        static_cast<float*>(data)[static_cast<size_t>(c) * n + s] = v;
        break;
      }
    }
  }
  mlt_frame_set_audio(frame, data, out, size, mlt_pool_release);
  *buffer = data;
  *format = out;
  *frequency = block.frequency;
  *channels = ch;
  *samples = n;
  return 0;
}

void ClipFrame(ClipState* clip, mlt_producer producer, mlt_position position, mlt_frame_ptr frame) {
  int64_t f = position;
  clip->timeline->Retire(f);
  RenderContext& ctx = clip->timeline->ctx;
  auto box = new ClipJob{clip, clip->segment->Fetch(f)};
  *frame = mlt_frame_init(MLT_PRODUCER_SERVICE(producer));
  mlt_properties props = MLT_FRAME_PROPERTIES(*frame);
  mlt_frame_set_position(*frame, position);
  mlt_properties_set_int(props, "progressive", 1);
  mlt_properties_set_double(props, "aspect_ratio", 1.0);
  mlt_properties_set_int(props, "width", ctx.width);
  mlt_properties_set_int(props, "height", ctx.height);
  mlt_properties_set_int(props, "meta.media.width", ctx.width);
  mlt_properties_set_int(props, "meta.media.height", ctx.height);
  mlt_properties_set_int(props, "format", mlt_image_yuv420p);
  mlt_properties_set_int(props, "colorspace", ctx.matrix);
  mlt_properties_set_data(props, "orma.job", box, 0, DeleteClipJob, nullptr);
  mlt_frame_push_get_image(*frame, ClipGetImage);
  if (!clip->segment->picture) mlt_properties_set_int(props, "test_image", 1);
  if (clip->segment->overlay)
    mlt_properties_set_int(props, "test_audio", 1);
  else
    mlt_frame_push_audio(*frame, reinterpret_cast<void*>(ClipGetAudio));
}

int TrackGetFrame(mlt_producer producer, mlt_frame_ptr frame, int index) {
  auto* track = static_cast<TrackClips*>(producer->child);
  mlt_position position = mlt_producer_position(producer);
  if (ClipState* clip = track->At(position)) {
    ClipFrame(clip, producer, position, frame);
  } else {
    // Between and after its segments a track gives what a playlist's blank
    // gives: a test card frame, which the tractor and the transitions pass
    // over.
    mlt_producer_seek(track->blank.get(), 0);
    mlt_service_get_frame(MLT_PRODUCER_SERVICE(track->blank.get()), frame, index);
    mlt_frame_set_position(*frame, position);
  }
  mlt_producer_prepare_next(producer);
  return 0;
}

} // namespace

Segment* ClipSegment(mlt_frame frame, FrameJobPtr* job) {
  auto* box =
      static_cast<ClipJob*>(mlt_properties_get_data(MLT_FRAME_PROPERTIES(frame), "orma.job", nullptr));
  if (!box) return nullptr;
  *job = box->job;
  return box->clip->segment;
}

Timeline::Timeline(VirtualVideo& v, RenderContext& c) : video(v), ctx(c) {
  tractor_.reset(mlt_tractor_new());
  mlt_service_set_profile(MLT_TRACTOR_SERVICE(tractor_.get()), ctx.profile);
  Track(0);
}

Timeline::~Timeline() = default;

mlt_producer Timeline::Track(int index) {
  // A track is one producer over all its segments, not a playlist of one
  // MLT clip each: an MLT clip in a playlist costs about 24 KB (producer,
  // cut and entry), so the graph of a long draft grew with its length.
  while (static_cast<int>(tracks_.size()) <= index) {
    auto clips = std::make_unique<TrackClips>();
    clips->blank.reset(mlt_producer_new(ctx.profile));
    ProducerPtr owner(mlt_producer_new(ctx.profile));
    mlt_producer p = owner.get();
    p->child = clips.get();
    p->get_frame = TrackGetFrame;
    mlt_properties props = MLT_PRODUCER_PROPERTIES(p);
    mlt_properties_set(props, "mlt_service", "orma.track");
    // Past its last segment a track gives blanks, not its last frame again.
    mlt_properties_set(props, "eof", "continue");
    mlt_properties_set_position(props, "length", 1);
    mlt_producer_set_in_and_out(p, 0, 0);
    mlt_tractor_set_track(tractor_.get(), p, static_cast<int>(tracks_.size()));
    tracks_.push_back(std::move(owner));
    clips_.push_back(std::move(clips));
    trackEnds_.push_back(0);
    busy_.emplace_back();
  }
  return tracks_[index].get();
}

int Timeline::AllocateTrack(int64_t start, int64_t end) {
  // Stacked elements come in level order, not in time order: any track with
  // room over [start, end) will do, wherever its other elements lie.
  for (size_t i = 1; i < tracks_.size(); ++i)
    if (TrackFree(i, start, end)) return static_cast<int>(i);
  int index = static_cast<int>(tracks_.size());
  Track(index);
  return index;
}

bool Timeline::TrackFree(size_t track, int64_t start, int64_t end) const {
  const auto& busy = busy_[track];
  auto next = busy.lower_bound(end); // the first element starting at or after the end
  if (next == busy.begin()) return true;
  return std::prev(next)->second <= start;
}

bool Timeline::Append(int track, std::unique_ptr<Segment> segment) {
  Track(track);
  if (segment->end <= segment->start) return true;
  if (track == 0) return AppendClip(0, std::move(segment));
  // Stacked segments are put on their tracks in time order once all are
  // known (PlaceStacked).
  if (!TrackFree(track, segment->start, segment->end)) return false;
  busy_[track][segment->start] = segment->end;
  length_ = std::max(length_, segment->end);
  pending_.push_back({track, std::move(segment)});
  return true;
}

bool Timeline::PlaceStacked(std::string* error) {
  std::stable_sort(pending_.begin(), pending_.end(), [](const Pending& a, const Pending& b) {
    return a.track != b.track ? a.track < b.track : a.segment->start < b.segment->start;
  });
  for (Pending& p : pending_)
    if (!AppendClip(p.track, std::move(p.segment))) {
      *error = "cannot place the stacked elements";
      return false;
    }
  pending_.clear();
  return true;
}

bool Timeline::AppendClip(int track, std::unique_ptr<Segment> segment) {
  mlt_producer producer = Track(track);
  if (segment->start < trackEnds_[track]) return false;
  clips_[track]->clips.push_back(std::make_unique<ClipState>(ClipState{this, segment.get()}));
  trackEnds_[track] = segment->end;
  mlt_properties_set_position(MLT_PRODUCER_PROPERTIES(producer), "length",
                              static_cast<mlt_position>(segment->end));
  mlt_producer_set_in_and_out(producer, 0, static_cast<mlt_position>(segment->end - 1));
  length_ = std::max(length_, segment->end);
  segments_.push_back(std::move(segment));
  return true;
}

SceneRenderer* Timeline::Own(std::unique_ptr<SceneRenderer> renderer, int64_t lastFrame) {
  SceneRenderer* r = renderer.get();
  renderers_.push_back(std::move(renderer));
  ReleaseAfter(lastFrame, [r] { r->Release(); });
  return r;
}

void Timeline::ReleaseAfter(int64_t lastFrame, std::function<void()> release) {
  held_.push_back({std::move(release), lastFrame, false});
}

void Timeline::Retire(int64_t frame) {
  std::lock_guard<std::mutex> lock(retireMutex_);
  // What belongs to frames that lie behind is released (decoders, pictures,
  // transition maps); frames still in flight keep what they use alive.
  for (auto& held : held_) {
    if (!held.released && held.lastFrame < frame) {
      held.release();
      held.released = true;
    } else if (held.released && held.lastFrame >= frame) {
      held.released = false; // a seek back: it may be taken again
    }
  }
}

bool Timeline::Build(std::string* error) {
  // Main scenes in time order, then stacked elements by level (0, "not set",
  // above every set level), in the order they were added; elements meant for
  // the main track alone come before every level.
  std::vector<Element*> main, stacked;
  for (Element* e : video.elements)
    if (!e->leftOut) (e->kind == ElementKind::MainScene ? main : stacked).push_back(e);
  std::stable_sort(main.begin(), main.end(),
                   [](const Element* a, const Element* b) { return a->startUs < b->startUs; });
  auto key = [](const Element* e) {
    if (e->underEveryLevel) return INT64_MIN;
    return e->level > 0 ? static_cast<int64_t>(e->level) : INT64_MAX;
  };
  std::stable_sort(stacked.begin(), stacked.end(),
                   [&](const Element* a, const Element* b) { return key(a) < key(b); });

  std::unique_ptr<ElementBuilder> builders[static_cast<int>(ElementKind::Count)];
  auto builderFor = [&](ElementKind kind) -> ElementBuilder* {
    auto& b = builders[static_cast<int>(kind)];
    if (!b) b = FindBuilder(kind)();
    return b.get();
  };
  builderFor(ElementKind::MainScene);
  for (Element* e : main)
    if (!builderFor(e->kind)->Add(*this, *e, error)) return false;
  for (Element* e : stacked)
    if (!builderFor(e->kind)->Add(*this, *e, error)) return false;
  for (auto& b : builders)
    if (b && !b->Finish(*this, error)) return false;
  if (!PlaceStacked(error) || !PlantOverlays(error) || !FinishStack(error)) return false;
  // The tracks' lengths changed after they were connected.
  mlt_multitrack_refresh(mlt_tractor_multitrack(tractor_.get()));
  std::sort(held_.begin(), held_.end(),
            [](const Held& a, const Held& b) { return a.lastFrame < b.lastFrame; });
  return true;
}

} // namespace orma
