// How template themes learn a medium's length and size: the core library's
// OrmaGetMediaInfoLite, which unit tests and the fuzz target replace with a
// table of their own so that they need no media files.
#pragma once

#include <cstdint>

#include "corelib/orma_core.h"

namespace themes {

using MediaInfoFunction = int32_t (*)(const char* path, int64_t* durationUs, OrmaMediaPropertyBlock* audio,
                                      OrmaMediaPropertyBlock* video);

/// Replaces the source of media properties; null restores the core library's.
void SetMediaInfoFunction(MediaInfoFunction function);

/// Asks the current source; 1 on success, as OrmaGetMediaInfoLite.
int32_t MediaInfo(const char* path, int64_t* durationUs, OrmaMediaPropertyBlock* audio,
                  OrmaMediaPropertyBlock* video);

/// Width and height of the media at `path` (joined to the folder of
/// `basePath` when relative; tried again with its name rebuilt from its "."
/// parts); 1 on success.
int GetMediaSize(const char* basePath, const char* path, int* width, int* height);

} // namespace themes
