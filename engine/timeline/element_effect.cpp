// Timeline-wide effects (mosaic, Gaussian blur and delogo regions, look-up
// tables, adjustments, special effects) as adjustment layers: each is a
// segment on a stacked track, shared with effects it never overlaps, whose
// overlay transition hands it the picture made so far (the scenes and every
// element below its level) to change in place during its span. Elements
// above its level are drawn afterwards and stay as they are. The effect's
// data (tables, pictures) is loaded at its first frame and let go after its
// last.
#include <algorithm>

#include "engine/core/registry.h"
#include "engine/render/span_effect.h"
#include "engine/timeline/elements.h"
#include "engine/timeline/timeline.h"

namespace orma {

namespace {

struct EffectEntry {
  EffectKind kind;
  const char* name;
  PictureEffectFactory make;
};

const EffectEntry kEffects[] = {
    {EffectKind::Mosaic, "mosaic region", MakeMosaicEffect},
    {EffectKind::GaussBlur, "blur region", MakeRegionBlurEffect},
    {EffectKind::DeLogo, "delogo region", MakeDelogoEffect},
    {EffectKind::Lut, "look-up filter", MakeLutEffect},
    {EffectKind::Adjustment, "picture adjustment", MakeAdjustmentEffect},
    {EffectKind::Special, "special effect", MakeSpecialEffect},
};

const EffectEntry* FindEffect(EffectKind kind) { return FindIn(kEffects, &EffectEntry::kind, kind); }

class EffectSegment : public Segment {
public:
  explicit EffectSegment(std::unique_ptr<PictureEffect> effect) : effect_(std::move(effect)) {
    overlay = true;
  }
  FrameJobPtr Fetch(int64_t f) override {
    FrameJobPtr job = effect_->Prepare(f - start, end - start);
    if (f == end - 1) effect_->Release();
    return job;
  }
  void Render(const FrameJobPtr& job, Yuv& canvas) const override {
    if (job) effect_->Apply(*job, canvas);
  }
  void Audio(const FrameJobPtr&, AudioBlock&) const override {}

private:
  std::unique_ptr<PictureEffect> effect_;
};

class EffectBuilder : public ElementBuilder {
public:
  bool Add(Timeline& tl, Element& element, std::string* error) override {
    auto& effect = static_cast<Effect&>(element);
    const EffectEntry* entry = FindEffect(effect.effect);
    if (!entry) {
      *error = "timeline effect of an unknown kind";
      return false;
    }
    // Effects do not lengthen the video: they end with it at the latest.
    int64_t videoEnd = UsToFrames(TimelineLengthUs(tl.video), tl.ctx.fps);
    int64_t start = UsToFrames(effect.startUs, tl.ctx.fps);
    int64_t end = std::min(UsToFrames(effect.endUs, tl.ctx.fps), videoEnd);
    if (end <= start) return true;
    std::string why;
    std::unique_ptr<PictureEffect> made = entry->make(effect, tl.ctx, &why);
    if (!made) {
      *error = std::string(entry->name) + ": " + why;
      return false;
    }
    auto segment = std::make_unique<EffectSegment>(std::move(made));
    segment->start = start;
    segment->end = end;
    if (tl.PlaceDrawn(std::move(segment)) >= 0) return true;
    *error = std::string("cannot place a ") + entry->name;
    return false;
  }
};

} // namespace

std::unique_ptr<ElementBuilder> MakeEffectBuilder() { return std::make_unique<EffectBuilder>(); }

} // namespace orma
