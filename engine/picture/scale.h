// Scaling pictures into the engine's working format with FFmpeg's scaler:
// Y'CbCr of any range and matrix, or packed RGBA, to limited-range 4:2:0 in
// the canvas's matrix. Scaler contexts are kept per thread, a few at a time,
// since MLT renders frames on several threads at once.
#pragma once

#include <cstdint>

#include "engine/picture/image.h"

namespace orma {

/// Scales the source area (sx, sy, sw, sh; even offsets) into the whole of
/// dst, converting range and matrix to the canvas's limited range and
/// `dstMatrix`. The alpha plane is scaled too when both have one; a
/// destination alpha plane without a source alpha is set opaque.
bool ScaleYuv(const Yuv& src, int sx, int sy, int sw, int sh, Colorimetry srcColor, Yuv& dst, int dstMatrix,
              bool smooth);

/// Converts packed RGBA (straight alpha) into dst (which must have alpha),
/// scaling the source area (sx, sy, sw, sh) to dst's size.
bool ScaleRgba(const uint8_t* rgba, int stride, int sx, int sy, int sw, int sh, Yuv& dst, int dstMatrix);

} // namespace orma
