// Background music ("musics") and sound effects ("soundEffects"): two lists of
// the same record, read with slightly different views of some keys.
#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_keys.h"
#include "draft/record_lists.h"

using namespace draftjson;

namespace {

template <size_t N>
AudioTrackRecord* ReadTracks(const cJSON* root, const char* key,
                             const KeyField<AudioTrackRecord> (&keys)[N]) {
  AudioTrackRecord* head = nullptr;
  AppendEach(Item(root, key), &head, [&](const cJSON* element, AudioTrackRecord* track, int32_t) {
    ReadFields(element, keys, track);
  });
  return head;
}

} // namespace

AudioTrackRecord* readMusics(const cJSON* root) { return ReadTracks(root, "musics", kMusicKeys); }

AudioTrackRecord* readSoundEffects(const cJSON* root) {
  return ReadTracks(root, "soundEffects", kSoundEffectKeys);
}

void FreeAudioTracks(AudioTrackRecord* head) { FreePlainList(head); }
