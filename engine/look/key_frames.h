// Key frames of a media item (OrmaKeyFrameBlock): show and crop rectangles
// in canvas pixels, rotation, opacity, the twelve adjustment levels and a
// blur, interpolated over the item's own time with the easing each key
// frame names for the way into it. A field that is 0 in every key frame is
// not animated: the item's own value stays in force for it.
#pragma once

#include <cstdint>
#include <vector>

#include "corelib/orma_core.h"
#include "engine/picture/filters.h"

namespace orma {

/// The twelve levels of a key frame, in one array.
enum KeyLevel {
  kLevelBrightness,
  kLevelContrast,
  kLevelSaturation,
  kLevelWhiteBalance,
  kLevelSharpness,
  kLevelVignette,
  kLevelTint,
  kLevelShadows,
  kLevelGraininess,
  kLevelHighlight,
  kLevelLightSensation,
  kLevelFade,
  kLevelCount
};

struct KeyFrameState {
  float show[4] = {0, 0, 0, 0}; ///< canvas pixels
  float crop[4] = {0, 0, 1, 1}; ///< share of the source (the block's pixels over the canvas size)
  float rotation = 0;
  float opacity = 1;
  int levels[kLevelCount] = {};
  BlurSettings blur;
};

class KeyFrameTrack {
public:
  KeyFrameTrack() = default;
  KeyFrameTrack(std::vector<OrmaKeyFrameBlock> frames, int canvasWidth, int canvasHeight);

  bool Empty() const { return frames_.empty(); }
  bool AnimatesShow() const { return show_; }
  bool AnimatesCrop() const { return crop_; }
  bool AnimatesRotation() const { return rotation_; }
  bool AnimatesOpacity() const { return opacity_; }
  bool AnimatesLevel(int level) const { return levels_[level]; }
  bool AnimatesBlur() const { return blur_; }
  bool AnimatesAnyLevel() const;

  /// The interpolated state at item time `us` (the first key frame's state
  /// before it, the last one's after it).
  KeyFrameState At(int64_t us) const;
  /// The largest show rectangle size over all key frames, in pixels.
  void LargestShow(float* width, float* height) const;

private:
  KeyFrameState StateOf(const OrmaKeyFrameBlock& f) const;
  std::vector<OrmaKeyFrameBlock> frames_;
  int width_ = 1, height_ = 1;
  bool show_ = false, crop_ = false, rotation_ = false, opacity_ = false, blur_ = false;
  bool levels_[kLevelCount] = {};
};

} // namespace orma
