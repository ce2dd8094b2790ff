// Template themes: a theme request turned into a new draft.
#pragma once

#include "draft/records.h"

struct ThemeRequest {
  float ver;
  char type[4096];
  char requestPath[4096];
  char themeRoot[4096];
  char idItem[4096];
  char idGroup[4096];
  char outputPath[4096];
  char themeConfigPath[4096];
  char draftPath[4096]; ///< the new draft written for the request
  float oldDuration;    ///< seconds, cut to tenths
  MediaInfoEntry* themeMedia;
  MediaInfoEntry* userMedia;
  MediaRecord* userMediaRecords;
  char stamp[4096];
  float headLength; ///< seconds
  float tailLength; ///< seconds
  bool isMute;
  float volume;
};

/// The request named by the single command-line argument, or null when the
/// file is not a theme request that can be filled.
ThemeRequest* LoadThemeRequest(const char* requestPath);
