// A media item's mask video or picture, used as a luma matte: its luma,
// scaled to the item's working picture, is multiplied into the item's alpha
// (white keeps, black hides). A video loops over the item's length. Frames
// are fetched in order (Fetch) and applied on any thread (Apply), as every
// per-frame source of the engine is.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/model/model.h"
#include "engine/model/render_context.h"

namespace orma {

/// One frame of a luma matte, as Fetch hands it to Apply.
struct MatteFrame;

/// A mask video or picture, read as a luma matte.
class LumaMatte {
public:
  LumaMatte(const std::string& path, RenderContext& ctx);
  ~LumaMatte();
  /// Sequential: the matte for the item's frame (a video loops).
  std::shared_ptr<const MatteFrame> Fetch(int64_t itemFrame);
  /// Parallel: multiplies img's alpha (which must exist) by the matte.
  void Apply(Yuv& img, const std::shared_ptr<const MatteFrame>& frame) const;
  void Release();

private:
  MediaProbe probe_;
  RenderContext& ctx_;
  std::unique_ptr<VideoDecoder> video_;
  std::shared_ptr<const MatteFrame> still_;
  int64_t frames_ = 1;
};

} // namespace orma
