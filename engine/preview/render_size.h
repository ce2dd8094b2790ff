// The size a preview renders its canvas at. An export renders at the frame
// size it was given; a preview is usually given none, only the canvas'
// display ratio, and draws into a window of any size. It renders at the
// ratio's largest size that fits the window, but never below 640×360 (a
// window made small at the start is often enlarged right after, and is then
// still sharp) nor above 1920×1080 (what a bigger window gains is not worth
// the drawing time). A frame size the caller did set is used as it is.
#pragma once

namespace orma {

struct FrameSize {
  int width = 0;
  int height = 0;
};

/// Even sizes of at least 2×2. `ratio` is width / height (0 or less: 16:9).
FrameSize PreviewRenderSize(int frameWidth, int frameHeight, float ratio, int windowWidth, int windowHeight);

} // namespace orma
