// Easing curves shared by key frames, animations, masks and special
// effects: a number (the `type` of a key-frame block) and a name (the
// "easing" of resource files) for each, found through one table.
#pragma once

#include <string>

namespace orma {

struct EasingInfo {
  int number;
  const char* name;
  float (*curve)(float t); ///< 0..1 to progress (may overshoot for back/elastic)
};

/// Every easing name, separated by "|" (for the resource field tables).
inline constexpr const char* kEasingNames =
    "linear|easeIn|easeOut|easeInOut|hold|easeInCubic|easeOutCubic|easeInOutCubic|easeOutBack|easeOutBounce|"
    "easeOutElastic|easeInBack|easeInOutSine";

/// The easing of a number; unknown numbers ease linearly.
const EasingInfo& EasingByNumber(int number);
/// The easing of a name (ignoring case); null when unknown.
const EasingInfo* EasingByName(const std::string& name);

/// Progress 0..1 through the curve of `number`.
float Ease(int number, float t);

} // namespace orma
