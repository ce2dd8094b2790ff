// Region effects: a rectangle of the picture pixelated, blurred, or filled
// from its border (to hide a logo). They change nothing outside their
// rectangle and work at the rectangle's size, so a small region costs little
// on a large canvas.
#pragma once

#include "engine/picture/image.h"

namespace orma {

/// A rectangle in pixels, with even edges (4:2:0 chroma is shared by 2x2
/// pixels), clipped to the picture.
struct PixelRect {
  int x0 = 0, y0 = 0, x1 = 0, y1 = 0;
  bool Empty() const { return x1 <= x0 || y1 <= y0; }
  int Width() const { return x1 - x0; }
  int Height() const { return y1 - y0; }
};

/// The pixels of a region given as left, top, right, bottom in canvas units
/// 0..1 (edges in either order; values outside are clipped; NaN is empty).
/// Edges are widened to even pixels so the whole region is covered.
PixelRect RegionPixels(const float region[4], int width, int height);

/// Block size in pixels for a mosaic intensity 0..1 (clamped): 2 % of the
/// shorter canvas side at 0 up to 10 % at 1, even, at least 2.
int MosaicBlockSize(float intensity, int width, int height);

/// Standard deviation in pixels for a region blur of intensity 0..1
/// (clamped): 0.5 % of the shorter canvas side at 0 up to 5 % at 1.
float RegionBlurSigma(float intensity, int width, int height);

/// Replaces every block of `block` pixels (aligned on the region's top-left
/// corner; cut at its right and bottom edges) with its mean colour.
void Pixelate(Yuv& img, const PixelRect& region, int block);

/// Gaussian blur inside the region; pixels outside it are neither changed
/// nor read.
void BlurRegion(Yuv& img, const PixelRect& region, float sigma);

/// Fills the region from the pixels just outside it: each pixel is the
/// blend of the row's left and right border pixels and the column's top and
/// bottom border pixels, the nearer sides weighing more, so the fill meets
/// the surroundings without a seam. A region touching the picture's edge
/// uses its own edge pixels there.
void FillFromBorder(Yuv& img, const PixelRect& region);

} // namespace orma
