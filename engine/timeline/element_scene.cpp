// Main-track scenes. The main track is one MLT playlist of clips that cover
// the timeline without gaps: the body of each scene, a transition clip
// around each cut that has one (half before the cut, half after it), and
// black clips where no scene is. A scene's renderer is shared by its body and
// the transitions on either side, so its sources are read straight through.
#include <algorithm>

#include "engine/core/log.h"
#include "engine/picture/scratch.h"
#include "engine/render/transitions.h"
#include "engine/timeline/elements.h"
#include "engine/timeline/timeline.h"

namespace orma {

namespace {

class SceneSegment : public SegmentOf<SceneRenderer::Frame> {
public:
  explicit SceneSegment(SceneRenderer* scene) : scene_(scene) {}

protected:
  SceneRenderer::FramePtr FetchJob(int64_t f) override { return scene_->Fetch(f - scene_->startFrame, true); }
  void RenderJob(const SceneRenderer::Frame& frame, Yuv& canvas) const override {
    scene_->Composite(frame, canvas);
  }
  void AudioJob(const SceneRenderer::Frame& frame, AudioBlock& out) const override {
    scene_->MixAudio(frame, out, 1.0f, 1.0f);
  }
  void DrawnJob(SceneRenderer::Frame& frame) const override { SceneRenderer::DropPictures(frame); }

private:
  SceneRenderer* scene_;
};

// The transition's effect (a wipe or luma map holds a byte per pixel) is
// made on the segment's first frame and let go once the rendering has
// passed it, so that memory does not grow with the number of transitions.
struct TransitionJob : FrameJob {
  SceneRenderer::FramePtr a, b;
  std::shared_ptr<const TransitionEffect> effect;
  float p, p0, p1;
};

class TransitionSegment : public SegmentOf<TransitionJob> {
public:
  TransitionSegment(SceneRenderer* a, SceneRenderer* b, const TransitionStyle& style, RenderContext& ctx)
      : a_(a), b_(b), style_(style), ctx_(ctx) {}

  void Release() { effect_.reset(); }

protected:
  std::shared_ptr<TransitionJob> FetchJob(int64_t f) override {
    auto job = std::make_shared<TransitionJob>();
    job->a = a_->Fetch(f - a_->startFrame, true);
    job->b = b_->Fetch(f - b_->startFrame, true);
    if (!effect_ && !failed_) {
      std::string why;
      effect_ = MakeTransition(style_, ctx_, &why);
      if (!effect_) {
        failed_ = true;
        ctx_.Fail("transition " + style_.source + ": " + why);
      }
    }
    job->effect = effect_;
    double n = static_cast<double>(end - start);
    job->p = static_cast<float>((f - start + 0.5) / n);
    job->p0 = static_cast<float>((f - start) / n);
    job->p1 = static_cast<float>((f - start + 1) / n);
    return job;
  }

  void RenderJob(const TransitionJob& j, Yuv& canvas) const override {
    if (!j.effect) {
      a_->Composite(*j.a, canvas);
      return;
    }
    Picture& a = ScratchPicture(10, canvas.w, canvas.h, false);
    Picture& b = ScratchPicture(11, canvas.w, canvas.h, false);
    a_->Composite(*j.a, a.view());
    b_->Composite(*j.b, b.view());
    j.effect->Render(canvas, a.view(), b.view(), j.p);
  }

  void DrawnJob(TransitionJob& j) const override {
    SceneRenderer::DropPictures(*j.a);
    SceneRenderer::DropPictures(*j.b);
  }

  // The sound crosses over linearly across the transition.
  void AudioJob(const TransitionJob& j, AudioBlock& out) const override {
    a_->MixAudio(*j.a, out, 1.0f - j.p0, 1.0f - j.p1);
    b_->MixAudio(*j.b, out, j.p0, j.p1);
  }

private:
  SceneRenderer* a_;
  SceneRenderer* b_;
  TransitionStyle style_;
  RenderContext& ctx_;
  std::shared_ptr<const TransitionEffect> effect_;
  bool failed_ = false;
};

class BlackSegment : public Segment {
public:
  explicit BlackSegment(int matrix) : black_(RgbToYuv(0, 0, 0, matrix)) {}
  FrameJobPtr Fetch(int64_t) override { return nullptr; }
  void Render(const FrameJobPtr&, Yuv& canvas) const override { Fill(canvas, black_); }
  void Audio(const FrameJobPtr&, AudioBlock&) const override {}

private:
  YuvColor black_;
};

class MainSceneBuilder : public ElementBuilder {
public:
  bool Add(Timeline&, Element& element, std::string*) override {
    scenes_.push_back(static_cast<Scene*>(&element));
    return true;
  }

  bool Finish(Timeline& tl, std::string* error) override {
    RenderContext& ctx = tl.ctx;
    struct Placed {
      Scene* scene;
      int64_t start, end;
      int64_t before = 0, after = 0; // frames taken by the transitions on either side
    };
    std::vector<Placed> placed;
    for (Scene* s : scenes_) {
      int64_t start = UsToFrames(s->startUs, ctx.fps), end = UsToFrames(s->endUs, ctx.fps);
      if (end <= start) {
        LogOnce("empty-scene", "a scene shorter than one frame is left out");
        continue;
      }
      placed.push_back({s, start, end});
    }
    std::stable_sort(placed.begin(), placed.end(),
                     [](const Placed& a, const Placed& b) { return a.start < b.start; });
    for (size_t i = 1; i < placed.size(); ++i)
      if (placed[i].start < placed[i - 1].end) {
        LogOnce("overlap", "scenes overlap; a later scene starts where the earlier one ends");
        int64_t length = placed[i].end - placed[i].start;
        placed[i].start = placed[i - 1].end;
        placed[i].end = placed[i].start + length;
      }

    // Transitions: half of the length on each side of the cut, limited by
    // what the scenes can give (the next scene keeps at least half of itself
    // for its own next cut).
    std::vector<bool> effects(placed.size(), false);
    for (size_t i = 0; i + 1 < placed.size(); ++i) {
      Scene* s = placed[i].scene;
      if (!s->transition || s->transitionUs <= 0) continue;
      if (placed[i + 1].start != placed[i].end) {
        LogOnce("transition-gap",
                "a transition is left out: the next scene does not start where its scene ends");
        continue;
      }
      int64_t half = UsToFrames(s->transitionUs, ctx.fps) / 2;
      int64_t lengthA = placed[i].end - placed[i].start - placed[i].before;
      int64_t lengthB = placed[i + 1].end - placed[i + 1].start;
      half = std::min({half, lengthA, lengthB / 2});
      if (half < 1) continue;
      std::string why;
      if (!TransitionAvailable(*s->transition, &why)) {
        *error = "transition " + s->transition->source + ": " + why;
        return false;
      }
      effects[i] = true;
      placed[i].after = half;
      placed[i + 1].before = half;
    }
    if (!placed.empty() && placed.back().scene->transition)
      LogOnce("transition-last", "the transition of the last scene is left out: no scene follows it");

    std::vector<SceneRenderer*> renderers;
    for (const Placed& p : placed) {
      auto r = std::make_unique<SceneRenderer>(*p.scene, ctx);
      r->startFrame = p.start;
      r->endFrame = p.end;
      renderers.push_back(tl.Own(std::move(r), p.end + p.after));
    }

    int64_t position = 0;
    for (size_t i = 0; i < placed.size(); ++i) {
      const Placed& p = placed[i];
      if (p.start > position) {
        std::unique_ptr<Segment> gap = MakeBlackSegment(ctx.matrix);
        gap->start = position;
        gap->end = p.start;
        if (!tl.Append(0, std::move(gap))) return Fail(error);
      }
      int64_t bodyStart = p.start + p.before, bodyEnd = p.end - p.after;
      if (bodyEnd > bodyStart) {
        auto body = std::make_unique<SceneSegment>(renderers[i]);
        body->start = bodyStart;
        body->end = bodyEnd;
        if (!tl.Append(0, std::move(body))) return Fail(error);
      }
      position = bodyEnd;
      if (effects[i]) {
        auto cut =
            std::make_unique<TransitionSegment>(renderers[i], renderers[i + 1], *p.scene->transition, ctx);
        cut->start = p.end - p.after;
        cut->end = p.end + p.after;
        position = cut->end;
        TransitionSegment* held = cut.get();
        tl.ReleaseAfter(cut->end - 1, [held] { held->Release(); });
        if (!tl.Append(0, std::move(cut))) return Fail(error);
      }
    }
    return true;
  }

private:
  static bool Fail(std::string* error) {
    *error = "cannot build the main track";
    return false;
  }
  std::vector<Scene*> scenes_;
};

} // namespace

std::unique_ptr<Segment> MakeBlackSegment(int matrix) { return std::make_unique<BlackSegment>(matrix); }

std::unique_ptr<ElementBuilder> MakeMainSceneBuilder() { return std::make_unique<MainSceneBuilder>(); }

} // namespace orma
