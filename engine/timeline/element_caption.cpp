// Captions and stickers: each is a segment on a stacked track (shared with
// elements that never overlap it in time), drawn by its own overlay
// transition at its level, so that what lies above covers it.
#include "engine/core/log.h"
#include "engine/render/caption_segments.h"
#include "engine/timeline/elements.h"
#include "engine/timeline/timeline.h"

namespace orma {

namespace {

const struct {
  int32_t kind;
  CaptionSegmentFactory make;
} kCaptionSegments[] = {
    {ORMA_CAPTION_STYLED_PIECES, MakeTextSegment},
    {ORMA_CAPTION_TEMPLATE_LINES, MakeTextSegment},
    {ORMA_CAPTION_STICKER, MakeStickerSegment},
};

class CaptionBuilder : public ElementBuilder {
public:
  bool Add(Timeline& timeline, Element& element, std::string* error) override {
    const Caption& caption = static_cast<const Caption&>(element);
    CaptionSegmentFactory make = nullptr;
    for (const auto& k : kCaptionSegments)
      if (k.kind == caption.captionKind) make = k.make;
    if (!make) return true;
    std::unique_ptr<Segment> segment = make(caption, timeline.ctx);
    if (!segment || segment->end <= segment->start) return true; // nothing on screen
    if (timeline.PlaceDrawn(std::move(segment)) >= 0) return true;
    *error = "cannot place a caption on its track";
    return false;
  }
};

} // namespace

std::unique_ptr<ElementBuilder> MakeCaptionBuilder() { return std::make_unique<CaptionBuilder>(); }

} // namespace orma
