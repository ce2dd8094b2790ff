// The resource folder's search order; see resource_folders.h.
#include "platform/resource_folders.h"

#include <cstdlib>

#include "platform/platform.h"

#ifndef ORMADRAFT_DATADIR
#define ORMADRAFT_DATADIR "/usr/share/ormadraft"
#endif

namespace platform {

namespace {

std::string Join(const std::string& folder, const std::string& name) {
  if (folder.empty()) return name;
  return IsSeparator(folder.back()) ? folder + name : folder + kSeparator + name;
}

// The path without its last component; "" when it has a single one.
std::string Parent(const std::string& path) {
  const size_t cut = path.find_last_of("\\/");
  return cut == std::string::npos ? std::string() : path.substr(0, cut);
}

} // namespace

std::vector<std::string> ResourceFolderCandidates() {
  std::vector<std::string> folders;
  if (const char* env = std::getenv("ORMADRAFT_RESOURCES"); env && *env) folders.emplace_back(env);
  if (const std::string program = Parent(ProgramPath()); !program.empty()) {
    folders.push_back(Join(program, "resources"));
    // The prefix is the program folder's parent ("/usr" of "/usr/bin").
    folders.push_back(Join(Join(Parent(program), "share"), "ormadraft"));
  }
  folders.emplace_back(ORMADRAFT_DATADIR);
  return folders;
}

std::string ResourceFolder() {
  for (const std::string& folder : ResourceFolderCandidates())
    if (IsDirectory(folder.c_str())) return folder;
  return "";
}

std::string FindResource(const std::string& relative) {
  for (const std::string& folder : ResourceFolderCandidates()) {
    const std::string candidate = Join(folder, relative);
    if (IsDirectory(folder.c_str()) && Exists(candidate.c_str())) return candidate;
  }
  return "";
}

} // namespace platform
