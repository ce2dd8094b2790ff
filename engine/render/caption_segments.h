// The segments that draw captions (kinds 0 and 1: caption_text.cpp) and
// stickers (kind 2: caption_sticker.cpp) on their stacked track, over the
// caption's span. element_caption.cpp picks one by the caption's kind.
#pragma once

#include <memory>

#include "engine/model/model.h"
#include "engine/render/scene.h"
#include "engine/render/segment.h"
#include "engine/text/caption_pose.h"

namespace orma {

/// What both kinds of caption segment start from: the caption over its span
/// of the timeline, drawn over the picture below, moved by its key frames.
template <class Job> class CaptionSegment : public SegmentOf<Job> {
protected:
  CaptionSegment(const Caption& caption, RenderContext& ctx)
      : caption_(caption), ctx_(ctx), motion_(caption, ctx.width, ctx.height) {
    this->start = UsToFrames(caption.startUs, ctx.fps);
    this->end = UsToFrames(caption.endUs, ctx.fps);
    this->overlay = true;
  }

  const Caption& caption_;
  RenderContext& ctx_;
  CaptionMotion motion_;
};

using CaptionSegmentFactory = std::unique_ptr<Segment> (*)(const Caption&, RenderContext&);

std::unique_ptr<Segment> MakeTextSegment(const Caption& caption, RenderContext& ctx);
std::unique_ptr<Segment> MakeStickerSegment(const Caption& caption, RenderContext& ctx);

} // namespace orma
