// libFuzzer target: the export settings reader on arbitrary bytes. Whatever
// the file holds, the reader must leave settings it can pass to the library:
// fps within 0..120, channels within 1..6, a positive sample rate, and
// terminated texts.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "export/export_settings.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = fuzz::ScratchFolder("settings") + "/export.json";
  fuzz::WriteFile(path, data, size);

  ExportSettings settings = DefaultExportSettings();
  int64_t start = 0, end = 0;
  ReadExportSettings(path.c_str(), &settings, &start, &end);
  if (!(settings.fps > 0 && settings.fps <= 120)) std::abort();
  if (settings.audioChannels < 1 || settings.audioChannels > 6) std::abort();
  if (settings.audioSamples <= 0) std::abort();
  if (!std::memchr(settings.videoCodec, 0, sizeof settings.videoCodec)) std::abort();
  if (!std::memchr(settings.outUrl, 0, sizeof settings.outUrl)) std::abort();
  return 0;
}
