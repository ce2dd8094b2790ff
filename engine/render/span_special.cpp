// Special effects over a span of the timeline: the chain of an effect
// folder's config.json (the format of a media item's own effects), read
// when the effect was added, run on the whole picture below the effect's
// level. The chain is a few filters' parameters, so it is kept, not read
// again.
#include "engine/look/special_effect.h"
#include "engine/render/span_effect.h"

namespace orma {

namespace {

struct ClockJob : FrameJob {
  EffectClock clock;
};

class TimelineSpecialEffect : public PictureEffect {
public:
  TimelineSpecialEffect(const Effect& e, RenderContext& ctx) : chain_(e.special), ctx_(ctx) {}

  FrameJobPtr Prepare(int64_t t, int64_t frames) override {
    auto job = std::make_shared<ClockJob>();
    job->clock.seconds = static_cast<double>(FramesToUs(t, ctx_.fps)) / 1e6;
    job->clock.span = static_cast<double>(FramesToUs(frames, ctx_.fps)) / 1e6;
    job->clock.frame = t;
    return job;
  }

  void Apply(const FrameJob& job, Yuv& picture) const override {
    if (const ClockJob* j = JobAs<ClockJob>(&job)) chain_->Apply(picture, j->clock, ctx_.matrix);
  }

private:
  std::shared_ptr<const SpecialEffect> chain_;
  RenderContext& ctx_;
};

} // namespace

std::unique_ptr<PictureEffect> MakeSpecialEffect(const Effect& e, RenderContext& ctx, std::string* error) {
  if (!e.special) {
    *error = "no filter chain was read for " + e.path;
    return nullptr;
  }
  return std::make_unique<TimelineSpecialEffect>(e, ctx);
}

} // namespace orma
