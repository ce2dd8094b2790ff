// Animated WebP pictures. The FFmpeg the engine builds on decodes still WebP
// pictures only, so the frames of an animated one are composed by libwebp's
// own animation decoder (which also applies each frame's blending and
// disposal onto the canvas).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "engine/media/picture_frames.h"

namespace orma {

/// True when `data` (the start of a file will do) is a WebP with the
/// animation flag.
bool IsAnimatedWebp(const std::string& data);

/// Every frame of an animated WebP held in `data` (at most `maxFrames`) with
/// its time; false with *error naming `path`.
bool DecodeAnimatedWebp(const std::string& data, const std::string& path, size_t maxFrames,
                        std::vector<PictureFrame>* frames, std::string* error);

} // namespace orma
