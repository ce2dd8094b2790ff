#include "engine/core/easing.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace orma {

namespace {

constexpr float kPi = 3.14159265358979f;

float Linear(float t) { return t; }
float In(float t) { return t * t; }
float Out(float t) { return t * (2 - t); }
float InOut(float t) { return t < 0.5f ? 2 * t * t : -1 + (4 - 2 * t) * t; }
// Keeps the earlier value until the next key is reached.
float Hold(float t) { return t >= 1.0f ? 1.0f : 0.0f; }
float InCubic(float t) { return t * t * t; }
float OutCubic(float t) {
  float u = t - 1;
  return u * u * u + 1;
}
float InOutCubic(float t) { return t < 0.5f ? 4 * t * t * t : 1 + 4 * (t - 1) * (t - 1) * (t - 1); }
float OutBack(float t) {
  const float c1 = 1.70158f, c3 = c1 + 1;
  float u = t - 1;
  return 1 + c3 * u * u * u + c1 * u * u;
}
float OutBounce(float t) {
  const float n = 7.5625f, d = 2.75f;
  if (t < 1 / d) return n * t * t;
  if (t < 2 / d) {
    t -= 1.5f / d;
    return n * t * t + 0.75f;
  }
  if (t < 2.5f / d) {
    t -= 2.25f / d;
    return n * t * t + 0.9375f;
  }
  t -= 2.625f / d;
  return n * t * t + 0.984375f;
}
float OutElastic(float t) {
  if (t <= 0) return 0;
  if (t >= 1) return 1;
  return std::pow(2.0f, -10 * t) * std::sin((t * 10 - 0.75f) * (2 * kPi / 3)) + 1;
}
float InBack(float t) {
  const float c1 = 1.70158f, c3 = c1 + 1;
  return c3 * t * t * t - c1 * t * t;
}
float InOutSine(float t) { return -(std::cos(kPi * t) - 1) / 2; }

const EasingInfo kEasings[] = {
    {0, "linear", Linear},
    {1, "easeIn", In},
    {2, "easeOut", Out},
    {3, "easeInOut", InOut},
    {4, "hold", Hold},
    {5, "easeInCubic", InCubic},
    {6, "easeOutCubic", OutCubic},
    {7, "easeInOutCubic", InOutCubic},
    {8, "easeOutBack", OutBack},
    {9, "easeOutBounce", OutBounce},
    {10, "easeOutElastic", OutElastic},
    {11, "easeInBack", InBack},
    {12, "easeInOutSine", InOutSine},
};

bool SameIgnoringCase(const std::string& a, const char* b) {
  size_t i = 0;
  for (; i < a.size() && b[i]; ++i)
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  return i == a.size() && !b[i];
}

} // namespace

const EasingInfo& EasingByNumber(int number) {
  for (const auto& e : kEasings)
    if (e.number == number) return e;
  return kEasings[0];
}

const EasingInfo* EasingByName(const std::string& name) {
  for (const auto& e : kEasings)
    if (SameIgnoringCase(name, e.name)) return &e;
  return nullptr;
}

float Ease(int number, float t) { return EasingByNumber(number).curve(std::clamp(t, 0.0f, 1.0f)); }

} // namespace orma
