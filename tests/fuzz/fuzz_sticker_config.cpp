// libFuzzer target: the reader of a sticker folder's config.json
// (LoadStickerSheet) on arbitrary bytes, in a folder that also holds real
// sticker pictures to name: two frames ("frame01.png", "frame02.png"), an
// animated PNG ("ball.png"), an animated WebP ("pulse.webp") and an animated
// GIF ("wave.gif"). A sheet it accepts with a few frames is decoded as an
// export decodes it, and its timing must then run forward: start times
// ascending from 0, a positive length, and every moment showing one of its
// frames.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "engine/look/sticker.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

// Decoding is the slow part; a sheet listing more frames than this is only
// read (the frames are the same few pictures anyway).
constexpr size_t kDecodedFrames = 6;

void CheckTiming(const orma::StickerFrames& frames) {
  if (frames.sprites.empty() || frames.startUs.size() != frames.sprites.size()) std::abort();
  if (frames.startUs[0] != 0 || frames.totalUs <= 0) std::abort();
  for (size_t i = 1; i < frames.startUs.size(); ++i)
    if (frames.startUs[i] < frames.startUs[i - 1]) std::abort();
  const int64_t later = frames.totalUs < INT64_MAX / 4 ? frames.totalUs * 3 + 17 : INT64_MAX;
  for (int64_t t :
       {int64_t{-1}, int64_t{0}, int64_t{40000}, frames.totalUs - 1, frames.totalUs, later, INT64_MAX})
    if (frames.FrameAt(t) >= frames.sprites.size()) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& folder = fuzz::ScratchFolder(
      "sticker", {"stickers/heart/frame01.png", "stickers/heart/frame02.png", "stickers/ball/ball.png",
                  "stickers/pulse/pulse.webp", "stickers/wave/wave.gif"});
  const std::string config = folder + "/config.json";
  fuzz::WriteFile(config, data, size);

  std::string error;
  std::shared_ptr<const orma::StickerSheet> sheet = orma::LoadStickerSheet(config, &error);
  if (!sheet) {
    if (error.empty()) std::abort();
    return 0;
  }
  if (sheet->frames.empty() == sheet->animation.empty()) std::abort();
  if (sheet->frames.size() > kDecodedFrames) return 0;
  orma::StickerFrames frames;
  if (orma::LoadStickerFrames(*sheet, &frames, &error)) CheckTiming(frames);
  return 0;
}
