#include "export/resource_path.h"

#include <cstring>

#include "platform/platform.h"

std::string DraftFolder(const DraftDocument* document) {
  if (!document) return "";
  std::string path(document->draftPath);
  size_t cut = path.find_last_of("\\/");
  return cut == std::string::npos ? std::string() : path.substr(0, cut);
}

std::string JoinPath(const std::string& folder, const std::string& name) {
  return folder + platform::kSeparator + name;
}

std::string ResolveResourcePath(const DraftDocument* document, const char* path, bool isFolder) {
  std::string resolved = path ? path : "";
  if (!platform::IsAbsolutePath(resolved.c_str())) resolved = JoinPath(DraftFolder(document), resolved);
  if (isFolder) resolved = JoinPath(resolved, "config.json");
  // The library's buffers are 1024 bytes.
  if (resolved.size() > 1023) resolved.resize(1023);
  return resolved;
}
