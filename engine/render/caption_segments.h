// The segments that draw captions (kinds 0 and 1: caption_text.cpp) and
// stickers (kind 2: caption_sticker.cpp) on their stacked track, over the
// caption's span. element_caption.cpp picks one by the caption's kind.
#pragma once

#include <memory>

#include "engine/model/model.h"
#include "engine/render/scene.h"
#include "engine/render/segment.h"

namespace orma {

using CaptionSegmentFactory = std::unique_ptr<Segment> (*)(const Caption&, RenderContext&);

std::unique_ptr<Segment> MakeTextSegment(const Caption& caption, RenderContext& ctx);
std::unique_ptr<Segment> MakeStickerSegment(const Caption& caption, RenderContext& ctx);

} // namespace orma
