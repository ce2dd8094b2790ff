// Scenes of the main track and the media reader shared by scenes, overlays
// and the logo.
#include <cstdlib>

#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_keys.h"
#include "draft/record_lists.h"

using namespace draftjson;

namespace {

template <size_t N>
BlurParams* ReadBlur(const cJSON* blur, BlurParams* params, const KeyField<BlurParams> (&keys)[N]) {
  if (!params) params = NewRecord<BlurParams>();
  if (params) ReadFields(blur, keys, params);
  return params;
}

void ReadKeyFrames(const cJSON* array, MediaKeyFrame** head) {
  AppendEach(array, head, [](const cJSON* element, MediaKeyFrame* frame, int32_t) {
    ReadFields(element, kMediaKeyFrameKeys, frame);
    ReadColorLevels(element, &frame->levels);
    if (const cJSON* blur = Item(element, "blur"))
      frame->blur = ReadBlur(blur, frame->blur, kKeyFrameBlurKeys);
  });
}

} // namespace

void ReadAnimationList(const cJSON* array, AnimationRecord** head) {
  AppendEach(array, head, [](const cJSON* element, AnimationRecord* animation, int32_t) {
    ReadFields(element, kAnimationKeys, animation);
  });
}

void FreeAnimations(AnimationRecord* head) { FreePlainList(head); }

void readMaskShape(const cJSON* object, MaskShape* shape) {
  if (shape) ReadFields(object, kMaskShapeKeys, shape);
}

namespace {

// The filter, mask and own effects of every item of one list land on the
// list's first record (drafts put one item per scene, and overlays and the
// logo are single items). The mask key frames of later items are appended to
// the first record's list, so its tail is kept across items.
struct FirstRecordParts {
  MediaRecord* first = nullptr;
  MaskKeyFrame** maskTail = nullptr;
};

void ReadFilter(const cJSON* item, FirstRecordParts* parts) {
  const cJSON* path = Item(item, "filterPath");
  if (!path) return;
  MediaRecord* first = parts->first;
  if (!first->filter) first->filter = NewRecord<MediaFilter>();
  MediaFilter* filter = first->filter;
  if (!filter) return;
  const char* text = StringOf(path);
  if (!text || !*text) return;
  CopyTextZeroFilled(filter->filterPath, sizeof(filter->filterPath), text);
  ReadFields(item, kMediaFilterKeys, filter);
}

void ReadMask(const cJSON* item, FirstRecordParts* parts) {
  const cJSON* maskItem = Item(item, "maskObject");
  if (!maskItem) return;
  MediaRecord* first = parts->first;
  if (!first->maskObject) {
    first->maskObject = NewRecord<MaskObject>();
    if (!first->maskObject) return;
    parts->maskTail = &first->maskObject->keyFrames;
  }
  MaskObject* mask = first->maskObject;
  ReadText(maskItem, "folderPath", mask->folderPath);
  if (const cJSON* animates = Item(maskItem, "animates")) {
    ForEachElement(animates, [&](const cJSON* element, int32_t) {
      MaskKeyFrame* frame = NewRecord<MaskKeyFrame>();
      if (!frame) return;
      *parts->maskTail = frame;
      parts->maskTail = &frame->next;
      // The number as written, truncated: no conversion of units.
      if (const cJSON* atTime = Item(element, "atTime")) frame->atTime = ToInt64(DoubleView(atTime));
      readMaskShape(element, &frame->shape);
    });
  } else {
    readMaskShape(maskItem, &mask->shape);
  }
  ReadText(maskItem, "maskImagePath", mask->maskImagePath);
}

void ReadOwnEffects(const cJSON* item, FirstRecordParts* parts) {
  if (!Item(item, "specialEffects")) return;
  MediaRecord* first = parts->first;
  EffectRecord* effects = readSpecialEffects(item);
  FreeEffects(first->specialEffects);
  first->specialEffects = effects;
}

void ReadOneMedia(const cJSON* item, MediaRecord* media, FirstRecordParts* parts) {
  // An item without "volume" plays at full volume; only an exact 1 mutes.
  media->volume = 1.0f;
  ReadFields(item, kMediaKeys, media);
  if (const cJSON* mute = Item(item, "isMute"); mute && IntView(mute) == 1) media->volume = 0.0f;
  ReadColorLevels(item, &media->levels);
  if (const cJSON* blur = Item(item, "blur")) media->blur = ReadBlur(blur, media->blur, kItemBlurKeys);
  if (const cJSON* animations = Item(item, "customAnimations"))
    ReadAnimationList(animations, &media->customAnimations);
  if (const cJSON* animates = Item(item, "animates")) ReadKeyFrames(animates, &media->keyFrames);
  ReadFilter(item, parts);
  ReadMask(item, parts);
  ReadOwnEffects(item, parts);
}

} // namespace

MediaRecord* readMedia(const cJSON* container, int singleObject, const char* key) {
  const cJSON* source = Item(container, key);
  if (!source) return nullptr;
  MediaRecord* head = nullptr;
  ListTail<MediaRecord> tail(&head);
  FirstRecordParts parts;
  auto readItem = [&](const cJSON* item) {
    MediaRecord* media = tail.Append();
    if (!media) return;
    if (!parts.first) parts.first = media;
    ReadOneMedia(item, media, &parts);
  };
  if (singleObject) {
    readItem(source);
  } else {
    ForEachElement(source, [&](const cJSON* item, int32_t) { readItem(item); });
  }
  return head;
}

void FreeMediaList(MediaRecord* head) {
  FreeList(head, [](MediaRecord* media) {
    std::free(media->blur);
    FreeAnimations(media->customAnimations);
    FreeEffects(media->specialEffects);
    FreeList(media->keyFrames, [](MediaKeyFrame* frame) { std::free(frame->blur); });
    std::free(media->filter);
    if (media->maskObject) FreePlainList(media->maskObject->keyFrames);
    std::free(media->maskObject);
  });
}

namespace {

// A new record filled from the table when `object` is present: null when
// it is absent, and in *failed when its allocation fails.
template <class T, size_t N> T* ReadPart(const cJSON* object, const KeyField<T> (&keys)[N], bool* failed) {
  if (!object) return nullptr;
  T* record = NewRecord<T>();
  if (!record) {
    *failed = true;
    return nullptr;
  }
  ReadFields(object, keys, record);
  return record;
}

} // namespace

SceneRecord* readScenes(const cJSON* root) {
  SceneRecord* head = nullptr;
  bool failed = false;
  AppendKept(
      Item(root, "scenes"), &head, [&](const cJSON*) { return !failed; },
      [&](const cJSON* element, SceneRecord* scene, int32_t) {
        ReadFields(element, kSceneKeys, scene);
        // A background that cannot be allocated is left out; a transition
        // that cannot fails the scenes.
        bool noBackground = false;
        scene->background = ReadPart(Item(element, "background"), kSceneBackgroundKeys, &noBackground);
        scene->media = readMedia(element, 0, "media");
        scene->transition = ReadPart(Item(element, "transition"), kTransitionKeys, &failed);
      });
  if (failed) {
    FreeScenes(head);
    return nullptr;
  }
  return head;
}

void FreeScenes(SceneRecord* head) {
  FreeList(head, [](SceneRecord* scene) {
    FreeMediaList(scene->media);
    std::free(scene->transition);
    std::free(scene->background);
  });
}
