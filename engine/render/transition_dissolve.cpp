// Dissolve: the next scene fades in as the current one fades out.
#include "engine/picture/mix.h"
#include "engine/render/transitions.h"

namespace orma {

namespace {
class Dissolve : public TransitionEffect {
public:
  void Render(Yuv& dst, const Yuv& a, const Yuv& b, float p) const override { Mix(dst, a, b, p); }
};
} // namespace

std::unique_ptr<TransitionEffect> MakeDissolve(const TransitionStyle&, RenderContext&, std::string*) {
  return std::make_unique<Dissolve>();
}

} // namespace orma
