// Blurring pictures and single planes: a Gaussian approximated by three box
// passes along rows and columns, with the edges extended.
#pragma once

#include <cstdint>

#include "engine/picture/image.h"

namespace orma {

/// Approximates a Gaussian blur of standard deviation `sigma` pixels with
/// three box passes, on the colour planes.
void GaussianBlur(Yuv& img, float sigma);

/// The same on one plane of `w` x `h` samples (alpha or a mask).
void GaussianBlurPlane(uint8_t* plane, int stride, int w, int h, float sigma);

} // namespace orma
