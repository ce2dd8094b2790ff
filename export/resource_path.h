// Resolution of the resource paths a draft names, against the draft's folder.
#pragma once

#include <string>

#include "draft/records.h"

/// Folder of the document's draftPath (cut at its last separator), or "".
std::string DraftFolder(const DraftDocument* document);

/// A relative path joined to the draft's folder; an absolute one as it
/// stands. Folders get "config.json" appended.
std::string ResolveResourcePath(const DraftDocument* document, const char* path, bool isFolder = false);

/// Joins two path pieces with the platform's separator.
std::string JoinPath(const std::string& folder, const std::string& name);
