// The blend modes' mixing functions and the table that numbers them
// (blend_modes.h). A new mode is one function here and one line in kModes.
#include "engine/picture/blend_modes.h"

#include <algorithm>
#include <cmath>

#include "corelib/orma_core.h"
#include "engine/core/registry.h"

namespace orma {

namespace {

float Multiply(float s, float d) { return s * d; }
float Screen(float s, float d) { return 1 - (1 - s) * (1 - d); }
float Overlay(float s, float d) { return d < 0.5f ? 2 * s * d : 1 - 2 * (1 - s) * (1 - d); }
float Darken(float s, float d) { return std::min(s, d); }
float Lighten(float s, float d) { return std::max(s, d); }
float ColorDodge(float s, float d) { return d <= 0 ? 0 : (s >= 1 ? 1 : std::min(1.0f, d / (1 - s))); }
float ColorBurn(float s, float d) { return d >= 1 ? 1 : (s <= 0 ? 0 : 1 - std::min(1.0f, (1 - d) / s)); }
float SoftLight(float s, float d) {
  if (s <= 0.5f) return d - (1 - 2 * s) * d * (1 - d);
  float g = d <= 0.25f ? ((16 * d - 12) * d + 4) * d : std::sqrt(d);
  return d + (2 * s - 1) * (g - d);
}
float HardLight(float s, float d) { return s < 0.5f ? 2 * s * d : 1 - 2 * (1 - s) * (1 - d); }
float Difference(float s, float d) { return std::fabs(s - d); }
float Exclusion(float s, float d) { return s + d - 2 * s * d; }
float Add(float s, float d) { return std::min(1.0f, s + d); }
float Subtract(float s, float d) { return std::max(0.0f, d - s); }

// 1 is the draft's cut-out mode: the chroma key makes the cut, the item is
// then laid over normally.
const BlendModeInfo kModes[] = {
    {ORMA_BLEND_NORMAL, "normal", nullptr},
    {ORMA_BLEND_CUT_OUT, "cut-out", nullptr},
    {ORMA_BLEND_MULTIPLY, "multiply", Multiply},
    {ORMA_BLEND_SCREEN, "screen", Screen},
    {ORMA_BLEND_OVERLAY, "overlay", Overlay},
    {ORMA_BLEND_DARKEN, "darken", Darken},
    {ORMA_BLEND_LIGHTEN, "lighten", Lighten},
    {ORMA_BLEND_COLOR_DODGE, "colour dodge", ColorDodge},
    {ORMA_BLEND_COLOR_BURN, "colour burn", ColorBurn},
    {ORMA_BLEND_SOFT_LIGHT, "soft light", SoftLight},
    {ORMA_BLEND_HARD_LIGHT, "hard light", HardLight},
    {ORMA_BLEND_DIFFERENCE, "difference", Difference},
    {ORMA_BLEND_EXCLUSION, "exclusion", Exclusion},
    {ORMA_BLEND_ADD, "add", Add},
    {ORMA_BLEND_SUBTRACT, "subtract", Subtract},
};

} // namespace

const BlendModeInfo* FindBlendMode(int number) { return FindIn(kModes, &BlendModeInfo::number, number); }

const BlendModeInfo* BlendModes(int* count) {
  *count = static_cast<int>(sizeof kModes / sizeof kModes[0]);
  return kModes;
}

} // namespace orma
