// Filling a parsed theme draft with the caller's media, and retiming it.
//
// A theme draft lists its placeholders in "mediaInfo" (path, timelineFrom,
// timelineTo); a scene media item shows placeholder P when its "path" is P's
// (exact text), its "replaceType" is not 3 and its trimmed length is within
// 0.1 s of P's length. Items with "replaceType" 3 are fixed: never stamped,
// replaced or deleted; a fixed item in the first scene delays the caller's
// media by its length. The steps below work on the cJSON tree only and
// rewrite a member by deleting and adding it, so changed members stand last.
#pragma once

#include <cjson/cJSON.h>

#include <string>

#include "themes/theme_request.h"

/// Gives every placeholder path the run's stamp before its extension
/// ("a/b.mp4" -> "a/b_2024_08_23_16_00_42.mp4"; inner dots are dropped).
int StampMediaPaths(ThemeRequest* record, cJSON* tree);

/// Deletes or copies placeholder scenes to match the caller's media count,
/// puts the media in, sets the new "duration" and retimes the other
/// elements. 1 on success; failures print an error block.
int ApplyThemeMedia(ThemeRequest* record, cJSON* tree);

/// Steps of ApplyThemeMedia: the placeholders beyond the caller's `nUser`
/// media are deleted with their scenes, or placeholder scenes and elements
/// are repeated until there are `nUser`. Both print error blocks and go on;
/// a draft without "mediaInfo" gets the blocks of that case (466 and 452,
/// 518 and 502).
void DeleteSpareScenes(ThemeRequest* record, cJSON* tree, int nUser);
void CopyPlaceholderScenes(ThemeRequest* record, cJSON* tree, int nUser);

/// Deletes the last scene (searched backwards) that shows the placeholder; 1
/// when one was deleted.
int DeleteSceneMediaObject(ThemeRequest* record, cJSON* tree, const cJSON* infoElement);

/// Appends a copy of the first scene that shows the placeholder, keeping a
/// closing fixed scene last; notes headLength and tailLength.
int AddSceneMediaObjectFromIndex(ThemeRequest* record, cJSON* tree, const cJSON* infoElement, int index);

/// Puts user medium `userEntry` into the first scene item that still shows
/// the placeholder `infoElement`, and makes the scenes' theme-relative
/// resource paths absolute. Writes the first scene's fixed length to
/// *introLength.
int UpdateScenesJsonObject(ThemeRequest* record, cJSON* tree, const cJSON* infoElement,
                           const MediaInfoEntry* userEntry, int index, float* introLength);

/// The new length of the draft: the sum of the scene items' trimmed lengths
/// (each cut to tenths). Also makes fixed items' paths absolute.
float ThemeDuration(ThemeRequest* record, cJSON* tree);

/// A theme-relative path made absolute against the theme's folder.
std::string NormaliseThemePath(const ThemeRequest* record, const char* relativePath);
