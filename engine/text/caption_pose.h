// Where a caption or sticker stands at a moment: its centre, box, scale,
// rotation and opacity on the canvas, from the values the API set and, when
// the caption has key frames, interpolated between them.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/model/model.h"

namespace orma {

struct CaptionPose {
  double cx = 0, cy = 0;     ///< centre, canvas pixels
  double boxW = 0, boxH = 0; ///< box at scale 1, canvas pixels (0: not set)
  double scale = 1;
  double angle = 0; ///< degrees, clockwise
  float opacity = 1;
};

class CaptionMotion {
public:
  /// Values are read from the caption now; the model does not change while
  /// an export reads it.
  CaptionMotion(const Caption& caption, int canvasWidth, int canvasHeight);
  /// The pose `us` microseconds after the caption's start.
  CaptionPose At(int64_t us) const;
  /// The largest scale the caption takes (text is drawn at it, so that it
  /// is only ever scaled down).
  double MaxScale() const;
  bool Moves() const { return keys_.size() > 1; }
  const CaptionPose& rest() const { return rest_; }

private:
  CaptionPose rest_;
  std::vector<OrmaCaptionKeyFrameBlock> keys_; ///< by time
};

} // namespace orma
