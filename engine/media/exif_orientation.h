// Camera pictures stored sideways: a JPEG says in its EXIF "Orientation" tag
// how it must be turned to be seen upright (FFmpeg's JPEG decoder passes the
// tag on in the frame's metadata). The still picture reader
// (still_image.cpp) turns such a picture upright once, when it decodes it.
#pragma once

#include <cstdint>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace orma {

/// Clockwise quarter turns that show the decoded picture upright: 1 for
/// orientation 6, 2 for 3, 3 for 8, else 0. The mirrored orientations (2, 4,
/// 5, 7), which no camera writes, are shown as stored.
int ExifQuarterTurns(const AVFrame* frame);

/// Turns straight RGBA pixels (width x height) clockwise by `turns` quarters
/// in place; width and height are swapped for odd turns.
void TurnRgba(int turns, int* width, int* height, std::vector<uint8_t>* pixels);

} // namespace orma
