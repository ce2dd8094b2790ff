// libFuzzer target: the export settings reader on arbitrary bytes. Whatever
// the file holds, the reader must leave settings it can pass to the library:
// fps within 0..120, channels within 1..6, a positive sample rate, and
// terminated texts.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "export/export_settings.h"

static const std::string& SettingsPath() {
  static std::string path = [] {
    char pattern[] = "/tmp/ormadraft-fuzz-settings-XXXXXX";
    const char* made = mkdtemp(pattern);
    if (!made) std::abort();
    return std::string(made) + "/export.json";
  }();
  return path;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& path = SettingsPath();
  FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) std::abort();
  if (size) std::fwrite(data, 1, size, f);
  std::fclose(f);

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
