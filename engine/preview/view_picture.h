// What both preview views (window_view_x11.cpp, window_view_win.cpp) do to
// a kept canvas before their system shows it: the place of the picture in
// the window with the canvas' proportions kept, and the conversion of the
// 4:2:0 canvas (contiguous planes, limited range, BT.601 or BT.709) to the
// packed pixels of that place, bilinear, with libswscale.
#pragma once

#include <cstdint>
#include <vector>

extern "C" {
#include <libavutil/pixfmt.h>
}

#include "engine/core/av_handles.h"

namespace orma {

struct ViewPlace {
  int x = 0, y = 0, w = 0, h = 0;
};

/// The largest canvas-shaped area centred in the window (at least 1×1).
ViewPlace FitCanvas(int canvasW, int canvasH, int windowW, int windowH);

/// Converts the canvas into `out` (w × h pixels of `layout`, `outStride`
/// bytes a row), reusing *scaler while the sizes stay; false when libswscale
/// cannot make a converter.
bool ScaleCanvas(SwsPtr* scaler, const std::vector<uint8_t>& canvas, int canvasW, int canvasH, int matrix,
                 AVPixelFormat layout, int w, int h, uint8_t* out, int outStride);

} // namespace orma
