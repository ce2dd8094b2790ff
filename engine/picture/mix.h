// Mixing whole pictures: one laid over another at a position with its alpha
// and an opacity (Blend), two mixed by one weight (Mix) or by a weight per
// pixel that follows a switch order (SwitchMix, for the transitions that
// reveal the next scene in an order).
#pragma once

#include <algorithm>
#include <cstdint>

#include "engine/picture/image.h"

namespace orma {

/// Composites src onto dst with its top-left corner at (x, y) (even), using
/// src's alpha plane when present and the extra opacity 0..1.
void Blend(Yuv& dst, const Yuv& src, int x, int y, float opacity);

/// dst = a * (1 - t) + b * t on every plane (not alpha).
void Mix(Yuv& dst, const Yuv& a, const Yuv& b, float t);

/// The weight of the second picture (0..256) for each switch order code L
/// (0..255) of a picture that switches from one picture to another in an
/// order: clamp((base - slope * L) >> 8, 0, 256).
struct SwitchRamp {
  int32_t base = 0;  ///< at most 2^25
  int32_t slope = 0; ///< at most 2^17
  int Weight(int order) const { return std::clamp((base - slope * order) >> 8, 0, 256); }
};

/// dst = a blended towards b by the ramp's weight of each pixel's switch
/// order: `order` for luma (dst.w bytes a row), `orderHalf` for chroma
/// (one code per chroma sample, Half(dst.w) bytes a row). `dst` is a
/// picture of its own, neither `a` nor `b`.
void SwitchMix(Yuv& dst, const Yuv& a, const Yuv& b, const uint8_t* order, const uint8_t* orderHalf,
               const SwitchRamp& ramp);

} // namespace orma
