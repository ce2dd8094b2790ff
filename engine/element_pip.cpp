// Picture-in-picture scenes (overlays and logo layers). They are kept in
// the model with their level and media; compositing them over the main
// track (a track per band of non-overlapping scenes, an alpha-over
// transition per scene in level order) comes with the overlay rendering.
#include "engine/elements.h"
#include "engine/log.h"

namespace orma {

namespace {
class PipSceneBuilder : public ElementBuilder {
public:
  bool Add(Timeline&, Element&, std::string*) override {
    LogNotRendered("picture-in-picture scene");
    return true;
  }
};
} // namespace

std::unique_ptr<ElementBuilder> MakePipSceneBuilder() { return std::make_unique<PipSceneBuilder>(); }

} // namespace orma
