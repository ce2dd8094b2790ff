// Animations of media items, read from an animation folder's config.json
// (format in docs/resources.md): key-framed tracks of opacity, scale,
// position offset, rotation, blur and clipping, each with its easing. An
// item may carry several (in, out, loop); their poses combine.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "corelib/orma_core.h"

struct cJSON;

namespace orma {

/// What the animations do to an item at one moment. Offsets are in canvas
/// widths and heights; clip is the share of the item hidden from its left,
/// top, right and bottom edge.
struct AnimationPose {
  float opacity = 1;
  float scaleX = 1, scaleY = 1;
  float x = 0, y = 0;
  float rotation = 0; ///< degrees, clockwise
  float blur = 0;     ///< 0..1
  float clip[4] = {0, 0, 0, 0};

  /// Adds another animation's pose: opacity and scale multiply, offsets
  /// and rotation add, blur and clip take the larger.
  void Combine(const AnimationPose& other);
  bool Neutral() const;
};

/// One animation as its config.json describes it.
class AnimationClip {
public:
  /// Reads and checks a config.json; null with a message naming the file
  /// and the field.
  static std::shared_ptr<const AnimationClip> Load(const std::string& path, std::string* error);
  /// The same from text already read (for tests).
  static std::shared_ptr<const AnimationClip> Parse(const std::string& text, const std::string& where,
                                                    std::string* error);
  /// The pose at `progress` 0..1 through the animation.
  AnimationPose At(float progress) const;

  enum Property {
    kOpacity,
    kScale,
    kScaleX,
    kScaleY,
    kX,
    kY,
    kRotation,
    kBlur,
    kClipLeft,
    kClipTop,
    kClipRight,
    kClipBottom,
    kPropertyCount
  };
  struct Key {
    float at;
    float value;
    int easing; ///< from this key to the next of the same property
  };
  const std::vector<Key>& Track(Property p) const { return tracks_[p]; }

private:
  static std::shared_ptr<const AnimationClip> FromJson(const cJSON* root, const std::string& where,
                                                       std::string* error);
  std::vector<Key> tracks_[kPropertyCount];
};

/// Animation types of OrmaSetMediaAnimation.
enum AnimationType {
  kAnimationIn = ORMA_ANIMATION_IN,
  kAnimationOut = ORMA_ANIMATION_OUT,
  kAnimationLoop = ORMA_ANIMATION_LOOP
};

/// An animation as placed on an item.
struct PlacedAnimation {
  std::shared_ptr<const AnimationClip> clip;
  int type = kAnimationIn;
  int64_t startUs = 0;
  int64_t durationUs = 0;
  int64_t cycleUs = 0; ///< loops only; 0: one second
};

/// The combined pose at item time `us` of an item lasting `itemUs`.
/// In: over [start, start + duration), neutral after. Out: over the last
/// `duration` of the item, neutral before. Loop: repeats every cycle from
/// its start, for its duration (0: to the item's end).
AnimationPose EvaluateAnimations(const std::vector<PlacedAnimation>& animations, int64_t us, int64_t itemUs);

} // namespace orma
