// Special effects over a span of the timeline: the chain of an effect
// folder's config.json (the format of a media item's own effects) run on
// the whole picture below the effect's level. The chain is read at the
// effect's first frame and let go after its last.
#include "engine/picture_effect.h"
#include "engine/special_effect.h"

namespace orma {

namespace {

struct SpecialState {
  std::shared_ptr<const SpecialEffect> chain;
  EffectClock clock;
};

class TimelineSpecialEffect : public PictureEffect {
public:
  TimelineSpecialEffect(const Effect& e, RenderContext& ctx) : path_(e.path), ctx_(ctx) {}

  std::shared_ptr<const void> Prepare(int64_t t, int64_t frames) override {
    if (!chain_ && !failed_) {
      std::string error;
      chain_ = SpecialEffect::Load(path_, &error);
      if (!chain_) {
        // The file was read when the effect was added; it changed since.
        failed_ = true;
        ctx_.Fail("special effect " + error);
      }
    }
    auto state = std::make_shared<SpecialState>();
    state->chain = chain_;
    state->clock.seconds = static_cast<double>(FramesToUs(t, ctx_.fps)) / 1e6;
    state->clock.span = static_cast<double>(FramesToUs(frames, ctx_.fps)) / 1e6;
    state->clock.frame = t;
    return state;
  }

  void Apply(const void* state, Yuv& picture) const override {
    const auto& s = *static_cast<const SpecialState*>(state);
    if (s.chain) s.chain->Apply(picture, s.clock, ctx_.matrix);
  }

  void Release() override {
    chain_.reset();
    failed_ = false;
  }

private:
  std::string path_;
  RenderContext& ctx_;
  std::shared_ptr<const SpecialEffect> chain_;
  bool failed_ = false;
};

} // namespace

std::unique_ptr<PictureEffect> MakeSpecialEffect(const Effect& e, RenderContext& ctx, std::string*) {
  return std::make_unique<TimelineSpecialEffect>(e, ctx);
}

} // namespace orma
