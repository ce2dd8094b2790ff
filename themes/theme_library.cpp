// Theme library lookup and the folders that template themes write to (see
// theme_library.h for the search order).
#include "themes/theme_library.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "platform/codepage.h"
#include "platform/log_line.h"
#include "platform/platform.h"
#include "themes/theme_text.h"

namespace themes {

namespace {

std::string WithSlash(std::string folder) {
  if (folder.empty() || !platform::IsSeparator(folder.back())) folder += platform::kSeparator;
  return folder;
}

const char* Environment(const char* name) {
  const char* value = std::getenv(name);
  return value && *value ? value : nullptr;
}

// A folder named relative to the current folder, as an absolute path.
std::string Absolute(const std::string& folder) {
  if (IsAbsolute(folder)) return folder;
  std::error_code error;
  const std::string current = std::filesystem::current_path(error).string();
  return error || current.empty() ? folder : Join(current, folder);
}

} // namespace

std::string ThemeLibraryFolder(const std::string& programPath) {
  // Made absolute here, once: a theme's relative references are joined to
  // its folder, and a relative result would be taken from the drafts folder
  // (where the new draft is written), not from where the library is.
  if (const char* themes = Environment("ORMADRAFT_THEMES")) return WithSlash(Absolute(themes));
  const std::string programDir = FolderOf(programPath);
  const std::string parent = FolderOf(programDir);
  const std::string candidates[] = {
      Join(parent, "TemplateThemes"),                                   // beside the program's folder
      Join(Join(Join(parent, "share"), "ormadraft"), "TemplateThemes"), // installed: /usr/bin + /usr/share
      Join(Join(parent, "resources"), "TemplateThemes"),                // a build folder of the source tree
  };
  for (const std::string& folder : candidates)
    if (platform::IsDirectory(folder.c_str())) return WithSlash(folder);
  return WithSlash(candidates[0]);
}

std::vector<std::string> ListFolder(const std::string& folder) {
  std::vector<std::string> names;
  for (std::string& name : platform::ListDirectory(folder.c_str()))
    if (name.size() > 5) names.push_back(std::move(name));
  return names;
}

FolderState EnsureFolder(const std::string& folder, std::string* error) {
  std::string path = folder;
  while (path.size() > 1 && platform::IsSeparator(path.back()))
    path.pop_back();
  if (path.empty() || platform::IsDirectory(path.c_str())) return FolderState::kExisted;
  // Every missing level from the top down; a level made meanwhile by another
  // process is as good as one made here.
  for (size_t at = 1; at <= path.size(); ++at) {
    if (at != path.size() && !platform::IsSeparator(path[at])) continue;
    std::string level = path.substr(0, at);
    if (platform::IsDirectory(level.c_str())) continue;
    if (!platform::MakeDirectory(level.c_str()) && !platform::IsDirectory(level.c_str())) {
      if (error) *error = "cannot create the folder " + level + ": " + std::strerror(errno);
      return FolderState::kFailed;
    }
  }
  return FolderState::kCreated;
}

FolderState EnsureFolderReported(const std::string& folder) {
  std::string error;
  FolderState state = EnsureFolder(folder, &error);
  if (state == FolderState::kCreated) std::printf("Directory created: %s\n", ConsoleText(folder).c_str());
  if (state == FolderState::kFailed) LogLine("%s\n", error.c_str());
  return state;
}

bool IsInstalledProgram(const std::string& programPath) {
  const std::string programDir = FolderOf(programPath);
  if (programDir.empty() || platform::IsDirectory(Join(programDir, "resources").c_str())) return false;
  return platform::IsDirectory(Join(Join(FolderOf(programDir), "share"), "ormadraft").c_str());
}

std::string DraftsFolder(const std::string& programPath) {
  if (const char* drafts = Environment("ORMADRAFT_DRAFTS")) {
    std::string folder = WithSlash(drafts);
    return EnsureFolderReported(folder) == FolderState::kFailed ? std::string() : folder;
  }
  // An installed program's folder is the system's, not the place for a
  // user's drafts, even for root, who could write there.
  if (!IsInstalledProgram(programPath)) {
    std::string beside = WithSlash(Join(FolderOf(programPath), "draft"));
    std::string error;
    FolderState state = EnsureFolder(beside, &error);
    if (state == FolderState::kCreated) std::printf("Directory created: %s\n", ConsoleText(beside).c_str());
    if (state != FolderState::kFailed && platform::CanWriteIn(beside.c_str())) return beside;
  }

  // The user's cache: for an installed program, and for a program folder
  // that cannot take the drafts.
  std::string cache;
  if (const char* xdg = Environment("XDG_CACHE_HOME"))
    cache = xdg;
  else if (const char* home = Environment("HOME"))
    cache = Join(home, ".cache");
  if (cache.empty()) return std::string();
  std::string folder = WithSlash(Join(Join(cache, "ormadraft"), "draft"));
  return EnsureFolderReported(folder) == FolderState::kFailed ? std::string() : folder;
}

namespace {

// The first listed name with at least two "_" parts whose second part is `part`.
const std::string* FindBySecondPart(const std::vector<std::string>& names, const std::string& part) {
  for (const std::string& name : names) {
    std::vector<std::string> pieces = SplitText(name, '_');
    if (pieces.size() >= 2 && pieces[1] == part) return &name;
  }
  return nullptr;
}

} // namespace

std::string FindThemeConfig(const std::string& root, const std::string& id, std::string* group,
                            std::string* item, bool* refused) {
  *refused = false;
  std::vector<std::string> parts = SplitText(id, '-');
  if (parts.empty()) {
    *refused = true;
    return std::string();
  }
  if (parts.size() != 2) {
    for (const std::string& name : ListFolder(root))
      if (name == id) return Join(Join(root, id), "config.json");
    return std::string();
  }

  *group = parts[0];
  *item = parts[1];
  std::vector<std::string> groups = ListFolder(root);
  if (groups.empty() || item->empty()) return std::string();
  const std::string* groupEntry = FindBySecondPart(groups, *group);
  if (!groupEntry) return std::string();
  // The group folder is named again from its first two parts only, so a
  // folder "x_a_more" is searched as "x_a".
  std::vector<std::string> pieces = SplitText(*groupEntry, '_');
  const std::string groupFolder = pieces[0] + "_" + pieces[1];
  const std::vector<std::string> themes = ListFolder(Join(root, groupFolder));
  const std::string* themeEntry = FindBySecondPart(themes, *item);
  if (!themeEntry) return std::string();
  return Join(Join(Join(root, groupFolder), *themeEntry), "config.json");
}

} // namespace themes
