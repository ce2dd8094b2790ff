// Compositing a processed media item onto the canvas: at any position,
// scale and rotation (bilinear, with soft edges), with its alpha, an extra
// opacity and a blend mode (blend_modes.h). Items that are only moved and
// scaled take a separable fast path (resampled_rows.h).
#pragma once

#include "engine/picture/image.h"

namespace orma {

/// Where an item lands: canvas point = (a x + b y + tx, c x + d y + ty) for
/// a point (x, y) of the item picture (pixel units, corners at integers).
struct Placement {
  float a = 1, b = 0, c = 0, d = 1;
  float tx = 0, ty = 0;
  bool Invertible() const;
};

/// Draws `item` (with its alpha plane when it has one) onto `canvas`. With
/// `region` (left, top, right, bottom in item pixels) only that part of the
/// item is drawn. `visible`, when given, holds every item pixel whose alpha
/// is not 0 (the rest need not be looked at). `opacity` is 0..1: the API
/// brings an item's opacity into range once (OrmaSetMediaTransparency), and
/// key frames and animations keep theirs within it.
void Compose(Yuv& canvas, const Yuv& item, const Placement& placement, float opacity, int blendMode,
             int matrix, const float* region = nullptr, const RowSpans* visible = nullptr);

/// The general path of Compose, which maps every canvas pixel back through
/// the placement on its own; Compose takes faster paths for items that are
/// only moved, or only scaled and moved, with the same result.
void ComposeEachPixel(Yuv& canvas, const Yuv& item, const Placement& placement, float opacity, int blendMode,
                      int matrix, const float* region = nullptr);

} // namespace orma
