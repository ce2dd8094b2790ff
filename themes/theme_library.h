// Where template themes are found and where the drafts made from them go.
//
// The theme library is a folder of theme folders, each holding the theme
// draft "config.json" and the media it names. A request names a theme by a
// one-part id (the theme folder's whole name) or a two-part id "group-item"
// (a group folder whose name has the group as its second "_" part, holding a
// theme folder whose name has the item as its second "_" part). Only entries
// whose names are longer than five characters take part in the search.
//
// On POSIX the library is, in this order: $ORMADRAFT_THEMES (taken from the
// current folder when relative, and made absolute); "TemplateThemes"
// in the parent of the program's folder; the installed layout
// <program dir>/../share/ormadraft/TemplateThemes; the source tree seen from
// the build folder, <program dir>/../resources/TemplateThemes. New drafts go
// to $ORMADRAFT_DRAFTS, else "draft" beside the program, else (when that
// cannot be created or written) $XDG_CACHE_HOME/ormadraft/draft or
// ~/.cache/ormadraft/draft. An installed program (one whose resources are
// share/ormadraft of its prefix) always takes the cache, whoever runs it:
// nothing is written under its prefix's bin/, lib/ or share/. "Beside the
// program" is for the build folder and a portable copy.
#pragma once

#include <string>
#include <vector>

namespace themes {

/// The theme library folder for a program at `programPath`, ending with the system's separator.
std::string ThemeLibraryFolder(const std::string& programPath);

/// Names in a folder longer than five characters, files and folders alike,
/// in the project's sorted listing order.
std::vector<std::string> ListFolder(const std::string& folder);

enum class FolderState { kExisted, kCreated, kFailed };

/// Makes the folder with every missing parent. kFailed fills *error with the
/// folder and the system's reason.
FolderState EnsureFolder(const std::string& folder, std::string* error);

/// As EnsureFolder, and prints "Directory created: FOLDER" when it made it;
/// a failure is printed as a log line naming the folder.
FolderState EnsureFolderReported(const std::string& folder);

/// Whether the program at `programPath` is installed: its prefix (the parent
/// of its folder) holds share/ormadraft and its own folder no "resources"
/// (which marks a build folder or a portable copy).
bool IsInstalledProgram(const std::string& programPath);

/// The folder for new drafts (ending with the system's separator), made when missing; "" when
/// no candidate can be made.
std::string DraftsFolder(const std::string& programPath);

/// The theme draft for a request id in the library `root` (ending with the system's separator),
/// or "" when no theme matches. Two-part ids give root, group, theme and
/// "config.json" joined with the system's separator (the doubled separator
/// after root is kept as the program has always written it); one-part ids
/// root, id and "config.json".
/// *refused is set for an empty id, which is an error of the request rather
/// than an unknown theme.
std::string FindThemeConfig(const std::string& root, const std::string& id, std::string* group,
                            std::string* item, bool* refused);

} // namespace themes
