// Stickers: the config.json of a sticker folder (caption kind 2). It lists
// frame pictures shown at a frame rate, or names one animated picture (GIF,
// APNG) that brings its own timing; either loops over the sticker's span or
// holds its last frame. docs/resources.md describes the format.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/picture/sprite.h"

namespace orma {

struct StickerSheet {
  std::string path;                ///< the config.json
  std::vector<std::string> frames; ///< resolved frame pictures
  std::string animation;           ///< resolved animated picture, or ""
  double fps = 0.0;                ///< frames per second; 0 with an animation: its own timing
  bool loop = true;
};

/// Reads and checks a sticker folder's config.json; every file it names must
/// exist.
std::shared_ptr<const StickerSheet> LoadStickerSheet(const std::string& path, std::string* error);

/// The decoded frames of a sticker and when each shows.
struct StickerFrames {
  std::vector<std::shared_ptr<Sprite>> sprites;
  std::vector<int64_t> startUs; ///< ascending, first 0
  int64_t totalUs = 0;          ///< one pass of the animation
  bool loop = true;
  /// The frame shown `t` microseconds into the sticker's span.
  size_t FrameAt(int64_t t) const;
};

/// Decodes every frame the sheet names (once per export).
bool LoadStickerFrames(const StickerSheet& sheet, StickerFrames* out, std::string* error);

} // namespace orma
