// Background music ("musics") and sound effects ("soundEffects"): two lists of
// the same record, read with slightly different views of some keys.
#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_lists.h"

using namespace draftjson;

AudioTrackRecord* readMusics(const cJSON* root) {
  AudioTrackRecord* head = nullptr;
  ListTail<AudioTrackRecord> tail(&head);
  ForEachElement(Item(root, "musics"), [&](const cJSON* element, int32_t) {
    AudioTrackRecord* music = tail.Append();
    if (!music) return;
    ReadText(element, "path", music->path);
    ReadReal(element, "timelineFrom", &music->timelineFrom);
    ReadReal(element, "timelineTo", &music->timelineTo);
    ReadReal(element, "trimTimeStart", &music->trimTimeStart);
    ReadReal(element, "trimTimeEnd", &music->trimTimeEnd);
    ReadInt(element, "isFadeInOut", &music->isFadeInOut);
    ReadReal(element, "denoiseLevel", &music->denoiseLevel);
    ReadReal(element, "volume", &music->volume);
    ReadReal(element, "speed", &music->speed);
    ReadReal(element, "pitch", &music->pitch);
    ReadReal(element, "audioFilterType", &music->audioFilterType);
    ReadReal(element, "fadeInDuration", &music->fadeInDuration);
    ReadReal(element, "fadeOutDuration", &music->fadeOutDuration);
    ReadText(element, "captionIdentifier", music->captionIdentifier);
    ReadText(element, "name", music->name);
    ReadInt(element, "curveSpeedType", &music->curveSpeedType);
  });
  return head;
}

AudioTrackRecord* readSoundEffects(const cJSON* root) {
  AudioTrackRecord* head = nullptr;
  ListTail<AudioTrackRecord> tail(&head);
  ForEachElement(Item(root, "soundEffects"), [&](const cJSON* element, int32_t) {
    AudioTrackRecord* sound = tail.Append();
    if (!sound) return;
    ReadText(element, "path", sound->path);
    ReadText(element, "name", sound->name);
    bool fades = false;
    if (ReadDoubleFlag(element, "isFadeInOut", &fades)) sound->isFadeInOut = fades ? 1 : 0;
    ReadReal(element, "timelineFrom", &sound->timelineFrom);
    ReadReal(element, "timelineTo", &sound->timelineTo);
    ReadReal(element, "trimTimeStart", &sound->trimTimeStart);
    ReadReal(element, "trimTimeEnd", &sound->trimTimeEnd);
    ReadReal(element, "denoiseLevel", &sound->denoiseLevel);
    ReadReal(element, "volume", &sound->volume);
    ReadReal(element, "speed", &sound->speed);
    ReadReal(element, "speedHoldPitch", &sound->speedHoldPitch);
    ReadReal(element, "pitch", &sound->pitch);
    ReadTruncatedAsFloat(element, "audioFilterType", &sound->audioFilterType);
    ReadReal(element, "fadeInDuration", &sound->fadeInDuration);
    ReadReal(element, "fadeOutDuration", &sound->fadeOutDuration);
    ReadInt(element, "tts_id", &sound->tts_id);
    ReadText(element, "type", sound->type);
    ReadText(element, "tts_name", sound->tts_name);
    ReadText(element, "emotion_code", sound->emotion_code);
  });
  return head;
}

void FreeAudioTracks(AudioTrackRecord* head) { FreePlainList(head); }
