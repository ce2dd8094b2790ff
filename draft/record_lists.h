// Release of the draft's lists, and the element readers that several kinds
// share: the walk that appends one record per array element, the walk over
// an element kind that may also live in "pipList", and the animation list.
// Every node was allocated with NewRecord (calloc), so free() releases it.
#pragma once

#include <cjson/cJSON.h>

#include <cstdlib>

#include "draft/json_read.h"
#include "draft/records.h"

/// Releases a list, each node after what it owns (freeParts(node)).
template <typename T, typename FreeParts> void FreeList(T* head, FreeParts&& freeParts) {
  while (head) {
    T* next = head->next;
    freeParts(head);
    std::free(head);
    head = next;
  }
}

/// Releases a list whose nodes own nothing else.
template <typename T> void FreePlainList(T* head) {
  FreeList(head, [](T*) {});
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

/// Appends a record to *head for each element of `array` that keep(element)
/// accepts, and fills it by read(element, record, position), the position
/// counting every element from 1. An allocation that fails ends the list
/// there: the records before it stay.
template <class T, class Keep, class Read>
void AppendKept(const cJSON* array, T** head, Keep&& keep, Read&& read) {
  ListTail<T> tail(head);
  bool stopped = false;
  draftjson::ForEachElement(array, [&](const cJSON* element, int32_t position) {
    if (stopped || !keep(element)) return;
    T* record = tail.Append();
    if (!record) {
      stopped = true;
      return;
    }
    read(element, record, position);
  });
}

/// The same for every element of the array.
template <class T, class Read> void AppendEach(const cJSON* array, T** head, Read&& read) {
  AppendKept(
      array, head, [](const cJSON*) { return true; }, read);
}

/// The list of an element kind that may also live in "pipList": from its own
/// array `ownKey` when that has elements, else from the "pipList" elements of
/// `pipType` (ChooseSource, Keeps). Each record's level is its element's place
/// in the array it came from; read(element, record) fills the rest.
template <class T, class Read>
T* ReadKindList(const cJSON* root, const char* ownKey, int32_t pipType, draftjson::Untyped untyped,
                Read&& read) {
  const draftjson::ElementSource source = draftjson::ChooseSource(root, ownKey);
  T* head = nullptr;
  AppendKept(
      source.array, &head,
      [&](const cJSON* element) { return draftjson::Keeps(source, element, pipType, untyped); },
      [&](const cJSON* element, T* record, int32_t position) {
        record->level = position;
        read(element, record);
      });
  return head;
}

/// The same for a kind whose elements are read by their table alone.
template <class T, size_t N>
T* ReadKindList(const cJSON* root, const char* ownKey, int32_t pipType, draftjson::Untyped untyped,
                const draftjson::KeyField<T> (&keys)[N]) {
  return ReadKindList<T>(root, ownKey, pipType, untyped, [&](const cJSON* element, T* record) {
    draftjson::ReadFields(element, keys, record);
  });
}
