// Reading a draft file under the limits of draft/draft_limits.h: the size is
// checked before a byte is read, the nesting before cJSON parses (cJSON
// recurses once per level), and the element counts on the parsed tree before
// any reader turns elements into records.
#include "draft/draft_limits.h"

#include <strings.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

#include "platform/diagnostic.h"
#include "platform/log_line.h"
#include "platform/platform.h"

// A draft refused: its line on standard output, as before, and the same on
// standard error, where a person looks for why "json load fail" came.
#define Refused(format, ...)                                                                                 \
  do {                                                                                                       \
    LogLine(format "\n" __VA_OPT__(, ) __VA_ARGS__);                                                         \
    Diagnostic("json load fail: " format __VA_OPT__(, ) __VA_ARGS__);                                        \
  } while (0)

namespace draftlimits {

namespace {

// Walks the parsed tree, counting the elements of every array; stops at the
// first array over its limit and logs it with its place in the document
// ("scenes[2].media", positions counted from 0).
class CountCheck {
public:
  explicit CountCheck(const char* path) : path_(path) {}

  /// What an item is to the readers; only scenes have a limit of their own.
  enum class Role { kOther, kRoot, kSceneList, kScene, kSceneMedia };

  bool Check(const cJSON* item, std::string& place, Role role) {
    if (cJSON_IsArray(item) && !CheckArray(item, place, role)) return false;
    if (!cJSON_IsArray(item) && !cJSON_IsObject(item)) return true;
    int position = 0;
    for (const cJSON* child = item->child; child; child = child->next, ++position) {
      if (!cJSON_IsArray(child) && !cJSON_IsObject(child)) continue;
      const size_t length = place.size();
      Role childRole = Role::kOther;
      if (cJSON_IsArray(item)) {
        place += "[" + std::to_string(position) + "]";
        if (role == Role::kSceneList) childRole = Role::kScene;
      } else {
        const char* key = child->string ? child->string : "";
        place += (place.empty() ? "" : ".") + std::string(key);
        if (role == Role::kRoot && strcasecmp(key, "scenes") == 0) childRole = Role::kSceneList;
        if (role == Role::kScene && strcasecmp(key, "media") == 0) childRole = Role::kSceneMedia;
      }
      bool ok = Check(child, place, childRole);
      place.resize(length);
      if (!ok) return false;
    }
    return true;
  }

private:
  bool CheckArray(const cJSON* array, const std::string& place, Role role) {
    int count = 0;
    for (const cJSON* child = array->child; child; child = child->next) {
      ++count;
      if (++total_ > kMaxTotalElements) {
        Refused("draft %s: more than %d list elements in all (at \"%s\"); a draft may have %d", path_,
                kMaxTotalElements, place.c_str(), kMaxTotalElements);
        return false;
      }
    }
    if (role == Role::kSceneMedia && count > kMaxMediaPerScene) {
      Refused("draft %s: \"%s\" has %d media items; a scene may have %d", path_, place.c_str(), count,
              kMaxMediaPerScene);
      return false;
    }
    if (count > kMaxListElements) {
      Refused("draft %s: \"%s\" has %d elements; a list may have %d", path_, place.c_str(), count,
              kMaxListElements);
      return false;
    }
    return true;
  }

  const char* path_;
  int total_ = 0;
};

} // namespace

int NestingDepth(std::string_view text, int limit, size_t* where) {
  int depth = 0;
  int deepest = 0;
  bool inString = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString) {
      if (c == '\\')
        ++i; // the escaped character cannot end the string
      else if (c == '"')
        inString = false;
      continue;
    }
    if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      if (++depth > deepest) deepest = depth;
      if (depth > limit) {
        if (where) *where = i;
        return depth;
      }
    } else if ((c == ']' || c == '}') && depth > 0) {
      --depth;
    }
  }
  return deepest;
}

cJSON* ParseDraftWithinLimits(const char* utf8Path) {
  // Lines name the file as the file system and the console have it (GBK
  // bytes under a GBK locale), as the driver's own lines do.
  const std::string native = platform::NativePath(utf8Path);
  const char* path = native.empty() ? utf8Path : native.c_str();
  std::error_code error;
  const uintmax_t bytes = std::filesystem::file_size(native, error);
  if (!error && bytes > kMaxDraftBytes) {
    Refused("draft %s: %ju bytes; a draft may have %ju", path, bytes, kMaxDraftBytes);
    return nullptr;
  }
  std::string text;
  if (!platform::ReadWholeFile(utf8Path, &text)) {
    const int cause = errno;
    LogLine("draft %s: cannot be read\n", path);
    // Why, for the person: missing, a folder, no permission.
    Diagnostic("json load fail: draft %s: cannot be read (%s)", path,
               std::filesystem::is_directory(native, error) ? "it is a folder" : std::strerror(cause));
    return nullptr;
  }
  // Checked again on what was read: the file may have grown since.
  if (text.size() > kMaxDraftBytes) {
    Refused("draft %s: %zu bytes; a draft may have %ju", path, text.size(), kMaxDraftBytes);
    return nullptr;
  }
  size_t where = 0;
  if (NestingDepth(text, kMaxNesting, &where) > kMaxNesting) {
    Refused("draft %s: arrays and objects nested more than %d deep (at byte %zu); a draft may nest %d", path,
            kMaxNesting, where, kMaxNesting);
    return nullptr;
  }
  // Trailing bytes after the root value are accepted and no byte-order mark
  // is stripped, as the editor's own reader does.
  const char* end = nullptr;
  cJSON* root = cJSON_ParseWithOpts(text.c_str(), &end, 0);
  if (!root) {
    const size_t at = end && end >= text.c_str() ? static_cast<size_t>(end - text.c_str()) : 0;
    Refused("draft %s: not JSON (at byte %zu)", path, at);
    return nullptr;
  }
  std::string place;
  if (!CountCheck(path).Check(root, place, CountCheck::Role::kRoot)) {
    cJSON_Delete(root);
    return nullptr;
  }
  return root;
}

} // namespace draftlimits
