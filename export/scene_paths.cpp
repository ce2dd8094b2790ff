#include "export/scene_paths.h"

#include <cstring>
#include <vector>

#include "export/resource_path.h"
#include "platform/codepage.h"
#include "platform/platform.h"

namespace {

// Paths handed to the library are built in 2048-byte buffers.
constexpr size_t kPathLimit = 2047;

std::string Limited(std::string path) {
  if (path.size() > kPathLimit) path.resize(kPathLimit);
  return path;
}

// Entries of a folder as the resource lookups see them: names of five
// characters or fewer never count, which also hides "." and "..".
std::vector<std::string> ListResourceNames(const std::string& folder) {
  std::vector<std::string> names;
  for (std::string& name : platform::ListDirectory(folder.c_str()))
    if (name.size() > 5) names.push_back(std::move(name));
  return names;
}

std::string ParentFolder(const std::string& path) {
  size_t cut = path.find_last_of("\\/");
  return cut == std::string::npos ? path : path.substr(0, cut);
}

// Plain substring test on the ASCII-lower-cased name; the name itself keeps
// its case in the resulting path.
bool IsPictureName(const std::string& name) {
  std::string lower(name);
  for (char& c : lower)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  for (const char* extension : {".jpg", ".jpeg", ".bmp", ".png"})
    if (lower.find(extension) != std::string::npos) return true;
  return false;
}

} // namespace

std::string SceneFolder(const DraftDocument* document) {
  if (!std::strpbrk(document->draftPath, "\\/")) return document->draftPath;
  return DraftFolder(document);
}

std::string ResolveMediaPath(const DraftDocument* document, const char* path) {
  if (platform::IsAbsolutePath(path)) return Limited(path);
  return Limited(JoinPath(SceneFolder(document), path));
}

std::string DefaultOutputPath(const DraftDocument* document) {
  return Limited(JoinPath(SceneFolder(document), "video.mp4"));
}

bool FindTransitionResource(const DraftDocument* document, const char* folderPath, std::string* path) {
  path->clear();
  const std::string resolved = ResolveMediaPath(document, folderPath);
  const std::string config = JoinPath(resolved, "config.json");
  if (FileExists(config.c_str())) {
    *path = Limited(config);
    return true;
  }
  const std::string fileConfig = JoinPath(JoinPath(resolved, "file"), "config.json");
  if (FileExists(fileConfig.c_str())) {
    *path = Limited(fileConfig);
    return true;
  }

  // Picture transitions: a folder holding the picture, or the picture itself.
  std::string folder = resolved;
  std::vector<std::string> names = ListResourceNames(folder);
  if (names.empty()) {
    if (!platform::Exists(resolved.c_str())) return false;
    if (!platform::IsDirectory(resolved.c_str())) {
      folder = ParentFolder(resolved);
      names = ListResourceNames(folder);
    }
  }
  for (const std::string& name : names) {
    if (IsPictureName(name)) {
      *path = Limited(JoinPath(folder, name));
      return true;
    }
  }
  *path = Limited(fileConfig);
  return true;
}
