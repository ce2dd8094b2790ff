// Paths of the scene timeline: the folder the export works beside, media
// paths, the default output file and the transition resources.
#pragma once

#include <string>

#include "draft/records.h"

/// The draft's folder for the scene timeline: draftPath cut at its last
/// separator, or the whole draftPath when it holds none.
std::string SceneFolder(const DraftDocument* document);

/// A media item's path: absolute paths as they stand, others joined to
/// SceneFolder. Slashes inside the path are left as written.
std::string ResolveMediaPath(const DraftDocument* document, const char* path);

/// "video.mp4" beside the draft: where an export without "outUrl" goes.
std::string DefaultOutputPath(const DraftDocument* document);

/// Finds the resource of a scene transition whose "folderPath" is given:
/// folder/config.json, folder/file/config.json, or the first picture listed in
/// the folder (or in the folder of a file). False when the path does not
/// exist at all; *path then stays empty.
bool FindTransitionResource(const DraftDocument* document, const char* folderPath, std::string* path);
