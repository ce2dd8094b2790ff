// Helpers of the draft reader tests: a private temporary folder, drafts
// written into it, and parsed JSON that frees itself.
#pragma once

#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <string>

#include "draft/draft.h"
#include "platform/platform.h"

namespace drafttest {

/// A path written with "/" in the system's form, for what the program joins
/// itself: "\\" joins on Windows. The tests' own paths keep "/", which the
/// program reads as a separator too (and which JSON text takes unescaped).
inline std::string Native(std::string path) {
  for (char& c : path)
    if (c == '/') c = platform::kSeparator;
  return path;
}

/// A fresh mkdtemp folder, removed with everything in it.
class TempFolder {
public:
  TempFolder() {
    char pattern[] = "/tmp/ormadraft_draft_XXXXXX";
    const char* made = mkdtemp(pattern);
    path_ = made ? made : "";
  }
  ~TempFolder() {
    std::error_code ec;
    if (!path_.empty()) std::filesystem::remove_all(path_, ec);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::string& path() const { return path_; }
  std::string Join(const std::string& name) const { return path_ + "/" + name; }

  /// Writes a file below the folder (parents created) and returns its path.
  std::string Write(const std::string& name, const std::string& content) const {
    std::string full = Join(name);
    std::filesystem::create_directories(std::filesystem::path(full).parent_path());
    std::ofstream out(full, std::ios::binary);
    out << content;
    return full;
  }

  /// As Write for a UTF-8 name outside the ANSI code page: on Windows a
  /// narrow std::string given to std::filesystem or std::ofstream is read in
  /// the ANSI code page, so the name goes as UTF-8 (char8_t) instead.
  std::string WriteUtf8(const std::string& name, const std::string& content) const {
    std::string full = Join(name);
    const std::filesystem::path path(
        std::u8string(reinterpret_cast<const char8_t*>(full.data()), full.size()));
    std::error_code ec;
    std::filesystem::create_directories(path.parent_path(), ec);
    std::ofstream out(path, std::ios::binary);
    out << content;
    return out.good() ? full : std::string();
  }

  /// Every path below the folder, relative to it.
  std::set<std::string> Listing() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path_))
      names.insert(std::filesystem::relative(entry.path(), path_).string());
    return names;
  }

private:
  std::string path_;
};

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct JsonDeleter {
  void operator()(cJSON* item) const { cJSON_Delete(item); }
};
using Json = std::unique_ptr<cJSON, JsonDeleter>;

inline Json Parse(const std::string& text) {
  Json json(cJSON_Parse(text.c_str()));
  EXPECT_NE(json, nullptr) << text;
  return json;
}

struct DocumentDeleter {
  void operator()(DraftDocument* document) const { freeDraft(document); }
};
using Document = std::unique_ptr<DraftDocument, DocumentDeleter>;

/// The smallest draft that loads: one scene with one media item.
inline const char* kMinimalDraft = R"({"mediaInfo": [], "scenes": [{"media": [{"path": "a.mp4"}]}]})";

/// Length of a singly linked list.
template <typename T> int Count(const T* head) {
  int n = 0;
  for (; head; head = head->next)
    ++n;
  return n;
}

} // namespace drafttest
