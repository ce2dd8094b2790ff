// Picture-in-picture scenes (overlays and logo layers). Each is a segment on
// a stacked track shared with scenes it never overlaps, drawn by its own
// overlay transition onto everything below its level, through the same
// scene renderer as the main scenes: its items are placed and styled like
// any scene's, only without a background. Its items' sound, if any, is
// mixed into the output.
#include "engine/core/log.h"
#include "engine/timeline/elements.h"
#include "engine/timeline/timeline.h"

namespace orma {

namespace {

class PipSegment : public SegmentOf<SceneRenderer::Frame> {
public:
  explicit PipSegment(SceneRenderer* scene) : scene_(scene), sound_(scene->HasSound()) { overlay = true; }
  bool sound() const { return sound_; }

protected:
  SceneRenderer::FramePtr FetchJob(int64_t f) override {
    return scene_->Fetch(f - scene_->startFrame, sound_);
  }
  void RenderJob(const SceneRenderer::Frame& frame, Yuv& canvas) const override {
    scene_->Composite(frame, canvas);
  }
  void AudioJob(const SceneRenderer::Frame& frame, AudioBlock& out) const override {
    scene_->MixAudio(frame, out, 1.0f, 1.0f);
  }

private:
  SceneRenderer* scene_;
  bool sound_;
};

class PipSceneBuilder : public ElementBuilder {
public:
  bool Add(Timeline& tl, Element& element, std::string* error) override {
    auto& scene = static_cast<Scene&>(element);
    int64_t start = UsToFrames(scene.startUs, tl.ctx.fps), end = UsToFrames(scene.endUs, tl.ctx.fps);
    if (end <= start) {
      LogOnce("empty-pip", "a picture-in-picture scene shorter than one frame is left out");
      return true;
    }
    auto renderer = std::make_unique<SceneRenderer>(scene, tl.ctx);
    renderer->startFrame = start;
    renderer->endFrame = end;
    // Its sources are opened at its first frame and released after its last.
    SceneRenderer* owned = tl.Own(std::move(renderer), end - 1);
    auto segment = std::make_unique<PipSegment>(owned);
    segment->start = start;
    segment->end = end;
    const bool sound = segment->sound();
    int track = tl.PlaceDrawn(std::move(segment));
    if (track < 0) {
      *error = "cannot place a picture-in-picture scene";
      return false;
    }
    if (sound) tl.MixSound(track);
    return true;
  }
};

} // namespace

std::unique_ptr<ElementBuilder> MakePipSceneBuilder() { return std::make_unique<PipSceneBuilder>(); }

} // namespace orma
