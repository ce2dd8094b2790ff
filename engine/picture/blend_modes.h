// The blend modes an item is laid over the canvas with, numbered as
// OrmaSetMediaBlendMode takes them (docs/engine.md): one mixing function
// each, on R'G'B' components, found through one table. Compose (compose.h)
// looks a mode up by its number; a mode without a mixing function is laid
// over normally.
#pragma once

namespace orma {

struct BlendModeInfo {
  int number;
  const char* name;
  float (*mix)(float top, float bottom); ///< per R'G'B' component 0..1; null: normal
};

/// The blend mode of a number, or null for an unknown one.
const BlendModeInfo* FindBlendMode(int number);
/// Every blend mode, in number order.
const BlendModeInfo* BlendModes(int* count);

} // namespace orma
