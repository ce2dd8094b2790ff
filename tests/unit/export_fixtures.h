// Helpers of the export tests: hand-built documents whose records are freed
// with the test, and a scratch folder that is removed afterwards.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "draft/records.h"
#include "tests/support/recording_core.h"

namespace exporttest {

/// Owns every record it hands out.
class Arena {
public:
  Arena() = default;
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;
  ~Arena() {
    for (void* p : owned_)
      std::free(p);
  }
  template <typename T> T* New() {
    T* record = NewRecord<T>();
    owned_.push_back(record);
    return record;
  }

private:
  std::vector<void*> owned_;
};

template <size_t N> void SetText(char (&buffer)[N], const std::string& text) {
  std::snprintf(buffer, N, "%s", text.c_str());
}

/// A fresh folder under the system's temporary folder, removed with the object.
class ScratchFolder {
public:
  ScratchFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ormaexport.XXXXXX").string();
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    const char* made = mkdtemp(buffer.data());
    EXPECT_NE(made, nullptr);
    path_ = made ? made : "";
  }
  ~ScratchFolder() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  const std::string& path() const { return path_; }
  std::string Join(const std::string& name) const { return path_ + "/" + name; }
  /// Writes a file (creating its folders) and returns its path.
  std::string Write(const std::string& name, const std::string& contents) const {
    std::filesystem::path file(Join(name));
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << contents;
    return file.string();
  }
  std::string MakeFolder(const std::string& name) const {
    std::filesystem::create_directories(Join(name));
    return Join(name);
  }

private:
  std::string path_;
};

} // namespace exporttest
