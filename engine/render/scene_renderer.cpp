#include <algorithm>

#include "engine/render/item_audio.h"
#include "engine/render/item_look.h"
#include "engine/render/scene.h"

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

void SceneRenderer::DropPictures(Frame& frame) {
  for (auto& item : frame.items) {
    item->decoded.reset();
    item->still.reset();
    item->look.reset();
  }
  frame.background.reset();
}

bool SceneRenderer::HasSound() const {
  for (const auto& s : sources_)
    if (s->HasSound()) return true;
  return false;
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
    if (item->audio && item->clipSound)
      item->clipSound->Mix(item->clipPosition, out, item->gainStart * gainStart, item->gainEnd * gainEnd);
  }
}

} // namespace orma
