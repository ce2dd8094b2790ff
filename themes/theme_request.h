// Template themes: a theme request turned into a new draft.
//
// A caller writes a small JSON request ("type" "TemplateThemes", the theme
// "id", the "outputPath" of the video and its "medias") and starts the
// program with it as the only argument. LoadThemeRequest finds the theme in
// the theme library (themes/theme_library.h), lays the caller's media end to
// end, fills the theme draft's placeholders with them (themes/media_replace.h)
// and retimes the draft's other elements to the new length
// (themes/retime.h), writes the result as a new draft and returns the record
// that tells the run driver which draft to export and where to.
#pragma once

#include "draft/records.h"

struct ThemeRequest {
  float ver;
  char type[4096];
  char requestPath[4096]; ///< as given; made absolute against the current folder
  char themeRoot[4096];   ///< the theme library, ending with "/"
  char idItem[4096];
  char idGroup[4096];
  char outputPath[4096];
  char themeConfigPath[4096];
  char draftPath[4096]; ///< the new draft written for the request
  float oldDuration;    ///< seconds, cut to tenths
  MediaInfoEntry* themeMedia;
  MediaInfoEntry* userMedia;
  MediaRecord* userMediaRecords; ///< the media-group file's "medias", or null
  // The records that retiming reads again when the draft grows.
  EffectRecord* retimeEffects;
  StickerRecord* retimeStickers;
  CaptionRecord* retimeCaptions;
  OverlayRecord* retimeOverlays;
  AudioTrackRecord* retimeMusics;
  char stamp[4096]; ///< "_%Y_%m_%d_%H_%M_%S" of the run's local time
  float headLength; ///< seconds of the first scene's fixed item
  float tailLength; ///< seconds of the last scene's fixed item
  bool isMute;
  /// The media-group file's "volume" (1.0 when it has none, 0 when it mutes).
  /// A request without a group file leaves it 0, and retiming gives every
  /// music that volume: such a theme plays its music silently.
  float volume;
};

/// The request named by the single command-line argument, filled and written
/// as a new draft, or null when the file is not a theme request that can be
/// filled (the driver then exports the argument as a draft).
ThemeRequest* LoadThemeRequest(const char* requestPath);

/// Releases the record and every list it holds; null is ignored.
void FreeThemeRequest(ThemeRequest* record);

/// Reads the request and finds its theme: 1 when the theme's config.json was
/// found and opens, else 0. Fills ver, type, themeRoot, outputPath, idGroup,
/// idItem and themeConfigPath.
int ReadThemeRequest(ThemeRequest* record, const char* requestPath);

/// Mode 0: the theme draft's placeholders ("mediaInfo", placeholder paths
/// stamped). Mode 1: the request's "medias" laid end to end, and its
/// media-group file. Null when the list cannot be had.
MediaInfoEntry* LoadMediaList(ThemeRequest* record, const char* jsonPath, int mode, const char* listKey);

/// Reads the first media-group file ("path" containing ".json") named in the
/// request's list: its "medias" records, "isMute" and "volume". 1 when there
/// is none or it was read, 0 when the request or a named group file cannot be
/// read.
int ReadMediaGroup(ThemeRequest* record, const char* requestPath, const char* listKey);
