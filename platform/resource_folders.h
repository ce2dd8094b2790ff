// Where the program's own resources are: the resource folder that holds the
// starter transitions, animations, masks, effects, caption styles, word art,
// stickers and template themes (the repository's resources/ folder, or its
// installed copy). Drafts name their resources by path themselves; this is
// for what the program looks up on its own.
//
// The folders are tried in this order, and the first that exists is used:
//   1. $ORMADRAFT_RESOURCES, when set and not empty;
//   2. "resources" beside the program: the build folder, where the build
//      links it to the repository's resources/, or an unpacked copy;
//   3. "share/ormadraft" in the parent of the program's folder: an
//      installation under any prefix (/usr/bin/ormadraft finds
//      /usr/share/ormadraft);
//   4. the data folder the build was configured to install to
//      (ORMADRAFT_DATADIR, e.g. /usr/share/ormadraft).
#pragma once

#include <string>
#include <vector>

namespace platform {

/// The candidate folders in the order above (existing or not).
std::vector<std::string> ResourceFolderCandidates();

/// The first candidate that is a folder, or "" when none is.
std::string ResourceFolder();

/// `relative` (for example "TemplateThemes") inside the first candidate
/// folder that holds it, or "" when none does.
std::string FindResource(const std::string& relative);

} // namespace platform
