// Captions and stickers. They will be drawn by an in-process producer on a
// stacked track and composited in level order; until then they are kept in
// the model and reported once.
#include "engine/elements.h"
#include "engine/log.h"

namespace orma {

namespace {
class CaptionBuilder : public ElementBuilder {
public:
  bool Add(Timeline&, Element& element, std::string*) override {
    LogNotRendered(static_cast<Caption&>(element).captionKind == 2 ? "sticker" : "caption");
    return true;
  }
};
} // namespace

std::unique_ptr<ElementBuilder> MakeCaptionBuilder() { return std::make_unique<CaptionBuilder>(); }

} // namespace orma
