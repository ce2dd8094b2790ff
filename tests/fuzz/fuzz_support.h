// Shared by the fuzz targets whose reader takes a file rather than text: a
// scratch folder made once per run (and removed when the run ends), holding
// the input under the name the reader expects and, beside it, copies of a
// few real resource files the input may name (frame pictures, a luma map, a
// texture), so that a reader that checks the files it names gets past that
// check without ever reaching outside the folder by a relative name.
//
//   const std::string& folder = fuzz::ScratchFolder("sticker", {"stickers/heart/frame01.png"});
//   fuzz::WriteFile(folder + "/config.json", data, size);
//
// ORMA_SOURCE_DIR (set by tests/fuzz/CMakeLists.txt) locates resources/.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <string>

namespace fuzz {

inline void WriteFile(const std::string& path, const uint8_t* data, size_t size) {
  FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) std::abort();
  if (size && std::fwrite(data, 1, size, f) != size) std::abort();
  std::fclose(f);
}

inline void WriteFile(const std::string& path, const std::string& text) {
  WriteFile(path, reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

/// The run's folder "/tmp/ormadraft-fuzz-<name>-XXXXXX", made on the first
/// call with copies of `resources` (paths under resources/, kept by their
/// file name). Later calls return the same folder.
inline const std::string& ScratchFolder(const char* name, std::initializer_list<const char*> resources = {}) {
  static std::string folder = [&] {
    std::string pattern = std::string("/tmp/ormadraft-fuzz-") + name + "-XXXXXX";
    if (!mkdtemp(pattern.data())) std::abort();
    namespace fs = std::filesystem;
    for (const char* resource : resources) {
      fs::path from = fs::path(ORMA_SOURCE_DIR) / "resources" / resource;
      std::error_code ec;
      fs::copy_file(from, fs::path(pattern) / from.filename(), ec);
      if (ec) {
        std::fprintf(stderr, "cannot copy %s: %s\n", from.c_str(), ec.message().c_str());
        std::abort();
      }
    }
    return pattern;
  }();
  // libFuzzer ends a run through exit(); the folder goes with it. Registered
  // after `folder` is made, so that it runs before `folder` is destroyed.
  static const bool removed = std::atexit([] {
                                std::error_code ec;
                                std::filesystem::remove_all(folder, ec);
                              }) == 0;
  (void)removed;
  return folder;
}

} // namespace fuzz
