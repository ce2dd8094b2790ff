// Timeline-wide effects (mosaic, Gaussian blur and delogo regions, look-up
// tables, adjustments, special effects). Each will be a filter on track 0
// planted in level order with in/out points on its span, so it applies to
// everything below its level and nothing above; until then they are kept in
// the model and reported once.
#include "engine/elements.h"
#include "engine/log.h"

namespace orma {

namespace {
const char* EffectName(EffectKind kind) {
  switch (kind) {
  case EffectKind::Mosaic:
    return "mosaic region";
  case EffectKind::GaussBlur:
    return "blur region";
  case EffectKind::DeLogo:
    return "delogo region";
  case EffectKind::Lut:
    return "look-up table effect";
  case EffectKind::Adjustment:
    return "picture adjustment effect";
  case EffectKind::Special:
    return "special effect";
  }
  return "timeline effect";
}

class EffectBuilder : public ElementBuilder {
public:
  bool Add(Timeline&, Element& element, std::string*) override {
    LogNotRendered(EffectName(static_cast<Effect&>(element).effect));
    return true;
  }
};
} // namespace

std::unique_ptr<ElementBuilder> MakeEffectBuilder() { return std::make_unique<EffectBuilder>(); }

} // namespace orma
