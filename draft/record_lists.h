// Release of the draft's lists, and the element readers that several kinds
// share. Every node was allocated with NewRecord (calloc), so free() releases it.
#pragma once

#include <cjson/cJSON.h>

#include <cstdlib>

#include "draft/records.h"

/// Releases a list whose nodes own nothing else.
template <typename T> void FreePlainList(T* head) {
  while (head) {
    T* next = head->next;
    std::free(head);
    head = next;
  }
}

void FreeMediaInfo(MediaInfoEntry* head);
void FreeAnimations(AnimationRecord* head);
void FreeEffects(EffectRecord* head);
void FreeMediaList(MediaRecord* head);
void FreeScenes(SceneRecord* head);
void FreeCaptions(CaptionRecord* head);
void FreeStickers(StickerRecord* head);
void FreeTonings(ToningRecord* head);
void FreeCustomFilters(FilterRecord* head);
void FreeMosaics(MosaicRecord* head);
void FreeOverlays(OverlayRecord* head);
void FreeAudioTracks(AudioTrackRecord* head);

/// Appends one AnimationRecord per element of the array: "cycleDuration",
/// "type" (double view truncated), "duration", then the three texts, which are
/// copied literally.
void ReadAnimationList(const cJSON* array, AnimationRecord** head);
