// Still pictures (pictures, picture backgrounds, luma maps and masks, LUT
// pictures) decoded with FFmpeg into packed RGBA, once per picture.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/media/probe.h"

namespace orma {

/// Decodes a still picture into packed RGBA (pictures, picture backgrounds
/// and luma maps); see still_image.cpp for why not through MLT.
struct RgbaImage {
  int width = 0, height = 0;
  std::vector<uint8_t> pixels;
};
bool LoadRgba(const MediaProbe& probe, RgbaImage* out, std::string* error);

} // namespace orma
