// libFuzzer target: the word-art reader (LoadWordArt) on arbitrary bytes, in
// a folder that also holds a real picture ("frame01.png") for a texture fill
// to name. A word art it accepts must have a fill or outlines, a gradient
// at least two colours with as many stops (or none), and a texture its
// decoded picture.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "engine/text/word_art.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& folder = fuzz::ScratchFolder("word-art", {"stickers/heart/frame01.png"});
  const std::string file = folder + "/wordart.json";
  fuzz::WriteFile(file, data, size);

  std::string error;
  std::shared_ptr<const orma::WordArt> art = orma::LoadWordArt(file, &error);
  if (!art) {
    if (error.empty()) std::abort();
    return 0;
  }
  if (art->fill == "gradient" &&
      (art->colors.size() < 2 || (!art->stops.empty() && art->stops.size() != art->colors.size())))
    std::abort();
  if (art->fill == "texture" && !art->picture) std::abort();
  return 0;
}
