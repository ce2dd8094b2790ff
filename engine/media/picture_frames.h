// Every frame of a picture file (a PNG, JPEG ... or an animated GIF or
// APNG), decoded with libavformat under the rules of every media file (a
// checked local file, the "file" protocol only, the demuxer the probe
// accepted), as premultiplied ARGB sprites with their times.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/picture/sprite.h"

namespace orma {

struct PictureFrame {
  std::shared_ptr<Sprite> sprite; ///< not finished (no canvas picture yet)
  int64_t startUs = 0;            ///< presentation time in the file
  int64_t durationUs = 0;         ///< how long the file shows it (0: unknown)
};

/// Decodes all frames of the file (at most `maxFrames`); false with *error
/// naming the file when it cannot be read or holds no picture.
bool DecodePictureFrames(const std::string& path, size_t maxFrames, std::vector<PictureFrame>* frames,
                         std::string* error);

} // namespace orma
