// libFuzzer target: the colour look-up table reader (LoadLutFile) on
// arbitrary bytes. The first byte picks the file's extension, and with it
// the parser: ".cube", ".3dl" or a HALD CLUT picture (".png"); the rest is
// the file. A table it accepts must hold size^3 entries, and sampling it
// anywhere, outside 0..1 included, must stay finite.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "engine/look/lut_file.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  static const char* const kExtensions[] = {"cube", "3dl", "png"};
  const std::string& folder = fuzz::ScratchFolder("lut");
  const std::string file = folder + "/table." + kExtensions[data[0] % 3];
  fuzz::WriteFile(file, data + 1, size - 1);

  orma::Lut3D lut;
  std::string error;
  const bool loaded = orma::LoadLutFile(file, &lut, &error);
  std::remove(file.c_str()); // the next input may pick another extension
  if (!loaded) {
    if (error.empty()) std::abort();
    return 0;
  }
  const size_t entries = static_cast<size_t>(lut.size) * lut.size * lut.size;
  if (lut.size < 2 || lut.rgb.size() != entries * 3) std::abort();
  const float points[][3] = {{0, 0, 0}, {1, 1, 1}, {0.5f, 0.25f, 0.75f}, {-3, 2, 0.5f}, {1e30f, -1e30f, 0}};
  for (const auto& in : points) {
    float out[3];
    lut.Sample(in, out);
    for (float v : out)
      if (std::isnan(v)) std::abort();
  }
  return 0;
}
