// The size and frame rate a preview renders at. An export renders at the frame
// size it was given; a preview is usually given none, only the canvas'
// display ratio, and draws into a window of any size. It renders at the
// ratio's largest size that fits the window, but never below 640×360 (a
// window made small at the start is often enlarged right after, and is then
// still sharp) nor above 1920×1080 (what a bigger window gains is not worth
// the drawing time). A frame size the caller did set is used as it is.
#pragma once

#include "engine/model/model.h"

namespace orma {

struct FrameSize {
  int width = 0;
  int height = 0;
};

/// Even sizes of at least 2×2. `ratio` is width / height (0 or less: 16:9).
FrameSize PreviewRenderSize(int frameWidth, int frameHeight, float ratio, int windowWidth, int windowHeight);

/// The frame rate a preview plays at: the one set with OrmaSetFPS when it is
/// not the default 25; otherwise that of the first clip of the main track
/// (the rate the draft was made in, as the program passes no rate in
/// preview mode); 25 when the main track holds only pictures.
Rational PreviewFrameRate(const VirtualVideo& video);

} // namespace orma
