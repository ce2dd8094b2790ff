// Reading a draft file into a DraftDocument, writing its normalised working
// copy, and releasing it. Every key lookup is cJSON's case-insensitive one.
#pragma once

#include <cjson/cJSON.h>

#include "draft/records.h"

/// Reads the draft (UTF-8 path) and the optional auxiliary export settings
/// file, writes the working copy and returns the document, or null on failure.
DraftDocument* loadDraft(const char* draftPath, const char* auxiliaryPath, int templateMode);

/// Replaceable media of the root ("mediaInfo" when key is null), else derived
/// from the scenes; null when none can be had.
MediaInfoEntry* readMediaInfo(const cJSON* root, const char* key);

/// Releases the document and what it owns; null is ignored.
void freeDraft(DraftDocument* document);

/// Releases the element records (scenes, captions, music, ...) and leaves
/// the document's own fields (paths, sizes, range): once they have been
/// handed to the core library nothing reads them, and a long draft's
/// records need not stay for the whole render.
void releaseDraftRecords(DraftDocument* document);

// Element readers, one source file per kind. Each returns the head of its
// list, or null.
SceneRecord* readScenes(const cJSON* root);
MediaRecord* readMedia(const cJSON* container, int singleObject, const char* key);
void readMaskShape(const cJSON* object, MaskShape* shape);
CaptionRecord* readCaptions(const DraftDocument* document, const cJSON* root);
StickerRecord* readStickers(const DraftDocument* document, cJSON* root);
ToningRecord* readTonings(const cJSON* root);
FilterRecord* readCustomFilters(const cJSON* root);
MosaicRecord* readMosaics(const cJSON* root);
EffectRecord* readSpecialEffects(const cJSON* root);
OverlayRecord* readOverlays(const cJSON* root);
LogoRecord* readLogo(const cJSON* root);
AudioTrackRecord* readMusics(const cJSON* root);
AudioTrackRecord* readSoundEffects(const cJSON* root);

/// Copies a frame folder with all it holds; errors go to stderr, never thrown.
void CopyFolderTree(const char* source, const char* destination);
