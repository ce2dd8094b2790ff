// Scenes of the main track and the media reader shared by scenes, overlays
// and the logo.
#include <cstdlib>

#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_lists.h"

using namespace draftjson;

void ReadAnimationList(const cJSON* array, AnimationRecord** head) {
  ListTail<AnimationRecord> tail(head);
  ForEachElement(array, [&](const cJSON* element, int32_t) {
    AnimationRecord* animation = tail.Append();
    if (!animation) return;
    ReadReal(element, "cycleDuration", &animation->cycleDuration);
    ReadTruncated(element, "type", &animation->type);
    // The editor's ids and folders are copied as they are; they are never
    // interpreted as printf formats.
    ReadText(element, "networkCategoryId", animation->networkCategoryId);
    ReadText(element, "networkResourceId", animation->networkResourceId);
    ReadReal(element, "duration", &animation->duration);
    ReadText(element, "folderPath", animation->folderPath);
  });
}

void FreeAnimations(AnimationRecord* head) { FreePlainList(head); }

void readMaskShape(const cJSON* object, MaskShape* shape) {
  if (!shape) return;
  ReadSize(object, "sizeF", &shape->size);
  ReadReal(object, "degrees", &shape->degrees);
  ReadReal(object, "distance", &shape->distance);
  ReadInt(object, "invert", &shape->invert);
  ReadReal(object, "featherStep", &shape->featherStep);
  ReadReal(object, "edgeSize", &shape->edgeSize);
  ReadColor(object, "edgeColor", &shape->edgeColor);
  ReadPoint(object, "centerF", &shape->centerF);
  ReadPoint(object, "topLeft", &shape->topLeft);
  ReadPoint(object, "topRight", &shape->topRight);
  ReadPoint(object, "bottomRight", &shape->bottomRight);
  ReadPoint(object, "bottomLeft", &shape->bottomLeft);
  ReadReal(object, "cornerRadius", &shape->cornerRadius);
}

namespace {

// Blur of a media item reads "blurType" with the int view, that of a key
// frame with the double view truncated.
enum class BlurTypeView { kInt, kTruncated };

BlurParams* ReadBlur(const cJSON* blur, BlurParams* params, BlurTypeView view) {
  if (!params) params = NewRecord<BlurParams>();
  if (!params) return nullptr;
  ReadReal(blur, "radius", &params->radius);
  ReadReal(blur, "intensity", &params->intensity);
  if (view == BlurTypeView::kInt)
    ReadInt(blur, "blurType", &params->blurType);
  else
    ReadTruncated(blur, "blurType", &params->blurType);
  ReadPoint(blur, "centerPoint", params->centerPoint);
  return params;
}

void ReadScalarKeys(const cJSON* item, MediaRecord* media) {
  ReadText(item, "path", media->path);
  ReadInt(item, "isHorizontalMirror", &media->isHorizontalMirror);
  ReadInt(item, "isVerticalMirror", &media->isVerticalMirror);
  ReadReal(item, "timelineFrom", &media->timelineFrom);
  ReadReal(item, "timelineTo", &media->timelineTo);
  ReadReal(item, "trimTimeStart", &media->trimTimeStart);
  ReadReal(item, "trimTimeEnd", &media->trimTimeEnd);
  ReadInt(item, "curveSpeedType", &media->curveSpeedType);
  ReadReal(item, "audioFadeOutDuration", &media->audioFadeOutDuration);
  ReadReal(item, "audioFadeInDuration", &media->audioFadeInDuration);
  ReadTruncated(item, "audioFilterType", &media->audioFilterType);
  ReadReal(item, "pitch", &media->pitch);
  ReadTruncated(item, "denoiseLevel", &media->denoiseLevel);
  // An item without "volume" plays at full volume; only an exact 1 mutes.
  media->volume = 1.0f;
  ReadReal(item, "volume", &media->volume);
  if (const cJSON* mute = Item(item, "isMute"); mute && IntView(mute) == 1) media->volume = 0.0f;
  ReadReal(item, "blurIntensity", &media->blurIntensity);
  ReadReal(item, "beautyBlurIntensity", &media->beautyBlurIntensity);
  ReadReal(item, "beautyBrightIntensity", &media->beautyBrightIntensity);
  ReadReal(item, "beautyToneIntensity", &media->beautyToneIntensity);
  ReadReal(item, "beautyThinFaceIntensity", &media->beautyThinFaceIntensity);
  ReadReal(item, "beautyBigEyeIntensity", &media->beautyBigEyeIntensity);
  ReadReal(item, "cutoutAlphaLower", &media->cutoutAlphaLower);
  ReadReal(item, "cutoutEdgeSize", &media->cutoutEdgeSize);
  ReadReal(item, "cutoutAlphaUpper", &media->cutoutAlphaUpper);
  ReadReal(item, "cutoutFactor", &media->cutoutFactor);
  ReadColor(item, "cutoutColor", &media->cutoutColor);
  ReadColorLevels(item, &media->levels);
  ReadReal(item, "alpha", &media->alpha);
  ReadReal(item, "rotate", &media->rotate);
  ReadReal(item, "blendType", &media->blendType);
  ReadReal(item, "speed", &media->speed);
  ReadTruncated(item, "isReverse", &media->isReverse);
  ReadTruncated(item, "reverseType", &media->reverseType);
  ReadTruncated(item, "autoSegment", &media->autoSegment);
  ReadTruncated(item, "replaceType", &media->replaceType);
  ReadInt(item, "level", &media->level);
  ReadReal(item, "transitionDuration", &media->transitionDuration);
}

void ReadKeyFrames(const cJSON* array, MediaKeyFrame** head) {
  ListTail<MediaKeyFrame> tail(head);
  ForEachElement(array, [&](const cJSON* element, int32_t) {
    MediaKeyFrame* frame = tail.Append();
    if (!frame) return;
    ReadReal(element, "atTime", &frame->atTime);
    ReadColorLevels(element, &frame->levels);
    ReadReal(element, "blurIntensity", &frame->blurIntensity);
    if (const cJSON* blur = Item(element, "blur"))
      frame->blur = ReadBlur(blur, frame->blur, BlurTypeView::kTruncated);
    ReadRect(element, "cropRect", &frame->cropRect);
    ReadRect(element, "showRectF", &frame->showRect);
    ReadReal(element, "rotate", &frame->rotate);
    ReadReal(element, "fillScale", &frame->fillScale);
    ReadReal(element, "opacity", &frame->opacity);
    ReadReal(element, "type", &frame->type);
  });
}

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
  ReadText(item, "filterNetworkResourceId", filter->filterNetworkResourceId);
  ReadText(item, "filterNetworkCategoryId", filter->filterNetworkCategoryId);
  ReadInt(item, "filterType", &filter->filterType);
  ReadReal(item, "filterIntensity", &filter->filterIntensity);
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
  ReadScalarKeys(item, media);
  if (const cJSON* blur = Item(item, "blur")) media->blur = ReadBlur(blur, media->blur, BlurTypeView::kInt);
  if (const cJSON* animations = Item(item, "customAnimations"))
    ReadAnimationList(animations, &media->customAnimations);
  ReadRect(item, "showRectF", &media->showRect);
  ReadRect(item, "cropRect", &media->cropRect);
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
  while (head) {
    MediaRecord* next = head->next;
    std::free(head->blur);
    FreeAnimations(head->customAnimations);
    FreeEffects(head->specialEffects);
    for (MediaKeyFrame* frame = head->keyFrames; frame;) {
      MediaKeyFrame* nextFrame = frame->next;
      std::free(frame->blur);
      std::free(frame);
      frame = nextFrame;
    }
    std::free(head->filter);
    if (head->maskObject) FreePlainList(head->maskObject->keyFrames);
    std::free(head->maskObject);
    std::free(head);
    head = next;
  }
}

SceneRecord* readScenes(const cJSON* root) {
  SceneRecord* head = nullptr;
  ListTail<SceneRecord> tail(&head);
  bool failed = false;
  ForEachElement(Item(root, "scenes"), [&](const cJSON* element, int32_t) {
    if (failed) return;
    SceneRecord* scene = tail.Append();
    if (!scene) return;
    ReadText(element, "identifier", scene->identifier);
    ReadInt(element, "isDefault", &scene->isDefault);
    ReadInt(element, "groupId", &scene->groupId);
    if (const cJSON* background = Item(element, "background")) {
      scene->background = NewRecord<BackgroundRecord>();
      if (BackgroundRecord* record = scene->background) {
        ReadInt(background, "type", &record->type);
        ReadReal(background, "blurIntensity", &record->blurIntensity);
        ReadText(background, "imagePath", record->imagePath);
        ReadColor(background, "color", &record->color);
      }
    }
    scene->media = readMedia(element, 0, "media");
    if (const cJSON* transition = Item(element, "transition")) {
      scene->transition = NewRecord<TransitionRecord>();
      TransitionRecord* record = scene->transition;
      if (!record) {
        failed = true;
        return;
      }
      ReadInt(transition, "type", &record->type);
      ReadTextNonEmpty(transition, "networkCategoryId", record->networkCategoryId);
      ReadTextNonEmpty(transition, "networkResourceId", record->networkResourceId);
      ReadReal(transition, "duration", &record->duration);
      ReadTextNonEmpty(transition, "folderPath", record->folderPath);
    }
  });
  if (failed) {
    FreeScenes(head);
    return nullptr;
  }
  return head;
}

void FreeScenes(SceneRecord* head) {
  while (head) {
    SceneRecord* next = head->next;
    FreeMediaList(head->media);
    std::free(head->transition);
    std::free(head->background);
    std::free(head);
    head = next;
  }
}
