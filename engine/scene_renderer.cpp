#include <algorithm>

#include "engine/item_audio.h"
#include "engine/item_look.h"
#include "engine/render.h"

namespace orma {

SceneRenderer::SceneRenderer(const Scene& scene, RenderContext& ctx) : scene_(scene), ctx_(ctx) {
  startFrame = UsToFrames(scene.startUs, ctx.fps);
  endFrame = UsToFrames(scene.endUs, ctx.fps);
  for (const Media* m : scene.media)
    sources_.push_back(std::make_unique<MediaSource>(*m, endFrame - startFrame, ctx));
  // A picture-in-picture scene is drawn over what lies below it: it has no
  // background of its own.
  if (scene.kind != ElementKind::PipScene) background_ = MakePainter(scene.background, ctx);
}

SceneRenderer::~SceneRenderer() { Release(); }

void SceneRenderer::Release() {
  for (auto& s : sources_)
    s->Release();
  if (background_) background_->Release();
}

SceneRenderer::FramePtr SceneRenderer::Fetch(int64_t t, bool withAudio) {
  auto frame = std::make_shared<Frame>();
  frame->items.reserve(sources_.size());
  for (auto& s : sources_)
    frame->items.push_back(s->Fetch(t, withAudio));
  if (background_ && !CoversCanvas(*frame)) frame->background = background_->Prepare(*this);
  return frame;
}

// True when one item hides everything below it: an opaque picture over the
// whole canvas. The background then needs no painting.
bool SceneRenderer::CoversCanvas(const Frame& frame) const {
  for (size_t i = 0; i < frame.items.size(); ++i) {
    const SourceFrame& f = *frame.items[i];
    const ItemLayout& layout = sources_[i]->layout();
    if (!f.visible || layout.opacity < 1.0f || !layout.FullCanvas(ctx_.width, ctx_.height)) continue;
    if (f.look && !f.look->covers) continue;
    if (f.still && !f.still->view().HasAlpha()) return true;
    if (f.decoded && !f.decoded->rgba) return true;
  }
  return false;
}

void SceneRenderer::Composite(const Frame& frame, Yuv& canvas) const {
  // Items below the last one that covers the canvas are never seen.
  size_t first = 0;
  bool covered = false;
  for (size_t i = frame.items.size(); i-- > 0;) {
    const SourceFrame& f = *frame.items[i];
    const ItemLayout& layout = sources_[i]->layout();
    if (f.visible && (!f.look || f.look->covers) && layout.opacity >= 1.0f &&
        layout.FullCanvas(ctx_.width, ctx_.height) &&
        ((f.still && !f.still->view().HasAlpha()) || (f.decoded && !f.decoded->rgba))) {
      first = i;
      covered = true;
      break;
    }
  }
  if (!covered && background_) background_->Paint(*this, frame, canvas);
  for (size_t i = first; i < frame.items.size(); ++i)
    DrawItem(*frame.items[i], sources_[i]->layout(), canvas, ctx_.matrix);
}

bool SceneRenderer::HasSound() const {
  for (const auto& s : sources_)
    if (s->HasSound()) return true;
  return false;
}

const uint8_t* SceneRenderer::Direct(const Frame& frame) const {
  const SourceFrame* only = nullptr;
  size_t index = 0;
  for (size_t i = 0; i < frame.items.size(); ++i) {
    if (!frame.items[i]->visible) continue;
    if (only) return nullptr;
    only = frame.items[i].get();
    index = i;
  }
  // A look (adjustments, mask, rotation, animation...) changes the pixels.
  if (!only || only->look || !only->decoded || only->decoded->rgba) return nullptr;
  const Decoded& d = *only->decoded;
  const ItemLayout& layout = sources_[index]->layout();
  bool whole = layout.crop[0] == 0 && layout.crop[1] == 0 && layout.crop[2] == 1 && layout.crop[3] == 1;
  if (!whole || !layout.FullCanvas(ctx_.width, ctx_.height) || layout.opacity < 1.0f || layout.mirrorH ||
      layout.mirrorV || d.width != ctx_.width || d.height != ctx_.height || d.color.fullRange ||
      d.color.matrix != ctx_.matrix)
    return nullptr;
  return d.yuv.p[0];
}

const SourceFrame* SceneRenderer::FirstPicture(const Frame& frame, const ItemLayout** layout) const {
  for (size_t i = 0; i < frame.items.size(); ++i)
    if (frame.items[i]->visible) {
      if (layout) *layout = &sources_[i]->layout();
      return frame.items[i].get();
    }
  return nullptr;
}

void SceneRenderer::MixAudio(const Frame& frame, AudioBlock& out, float gainStart, float gainEnd) const {
  for (const auto& item : frame.items) {
    if (item->sound) {
      item->sound->Mix(item->soundFrame, out, item->gainStart * gainStart, item->gainEnd * gainEnd);
      continue;
    }
    if (!item->audio || !item->decoded) continue;
    void* buffer = nullptr;
    mlt_audio_format format = mlt_audio_float;
    int frequency = out.frequency, channels = out.channels, samples = out.samples;
    if (mlt_frame_get_audio(item->decoded->child, &buffer, &format, &frequency, &channels, &samples) != 0 ||
        !buffer || samples <= 0 || channels <= 0)
      continue;
    int n = std::min(samples, out.samples);
    float g0 = item->gainStart * gainStart, g1 = item->gainEnd * gainEnd;
    for (int c = 0; c < out.channels; ++c) {
      int sc = std::min(c, channels - 1);
      float* dst = out.Plane(c);
      for (int s = 0; s < n; ++s) {
        float v;
        switch (format) {
        case mlt_audio_float:
          v = static_cast<const float*>(buffer)[static_cast<size_t>(sc) * samples + s];
          break;
        case mlt_audio_f32le:
          v = static_cast<const float*>(buffer)[static_cast<size_t>(s) * channels + sc];
          break;
        case mlt_audio_s16:
          v = static_cast<const int16_t*>(buffer)[static_cast<size_t>(s) * channels + sc] / 32768.0f;
          break;
        case mlt_audio_s32le:
          v = static_cast<float>(static_cast<const int32_t*>(buffer)[static_cast<size_t>(s) * channels + sc] /
                                 2147483648.0);
          break;
        case mlt_audio_s32:
          v = static_cast<float>(static_cast<const int32_t*>(buffer)[static_cast<size_t>(sc) * samples + s] /
                                 2147483648.0);
          break;
        case mlt_audio_u8:
          v = (static_cast<const uint8_t*>(buffer)[static_cast<size_t>(s) * channels + sc] - 128) / 128.0f;
          break;
        default:
          v = 0.0f;
          break;
        }
        float g = n > 1 ? g0 + (g1 - g0) * s / n : g0;
        dst[s] += v * g;
      }
    }
  }
}

} // namespace orma
