// Music and sound effects.
#include <cmath>

#include "engine/api/api.h"
#include "engine/api/entry_points_gen.h"
#include "engine/api/value_limits.h"

using namespace orma;

namespace {

// A track's trim and its fades are set alike: each time is brought to 0 or
// more, with the time's name in the log line.
int32_t SetTimes(const char* call, OrmaAudioHandle a, int64_t AudioTrack::*firstField,
                 int64_t AudioTrack::*secondField, const char* firstName, const char* secondName,
                 int64_t first, int64_t second) {
  return With(call, a, [&](AudioTrack& t) {
    t.*firstField = NotNegative(call, firstName, first);
    t.*secondField = NotNegative(call, secondName, second);
    return int32_t{ORMA_OK};
  });
}

} // namespace

namespace orma::entry {

OrmaAudioHandle OrmaAddAudioMedia(const char* call, OrmaVideoHandle vv, const char* path, double volume,
                                  int64_t trimStartUs, int64_t trimEndUs, int64_t timelineFromUs,
                                  int64_t timelineToUs) {
  AudioTrack* t = nullptr;
  int32_t refused;
  VirtualVideo* v = Writable(call, vv, &refused); // null: refused, with its log line
  if (v && !std::isfinite(volume)) {
    Refuse(call, ORMA_BAD_ARGUMENT, "the volume is not a number");
  } else if (v) {
    MediaProbe probe = ProbeMedia(path, true);
    if (!probe.ok)
      Refuse(call, ORMA_BAD_FILE, probe.error);
    else if (!probe.hasAudio)
      Refuse(call, ORMA_BAD_FILE, probe.path + ": no sound in the file");
    else {
      // Out-of-range values are brought into range and an empty span
      // leaves the track out, each with a log line.
      t = new AudioTrack();
      PlaceNew(call, *t, timelineFromUs, timelineToUs);
      t->probe = probe;
      t->volume = AtLeast(call, "volume", volume, 0);
      t->trimStartUs = NotNegative(call, "trim start", trimStartUs);
      t->trimEndUs = trimEndUs;
      AddElement(v, t);
    }
  }
  return HandleTo<OrmaAudioHandle>(t);
}

int32_t OrmaSetAudioMediaCutTime(const char* call, OrmaAudioHandle a, int64_t trimStartUs,
                                 int64_t trimEndUs) {
  return SetTimes(call, a, &AudioTrack::trimStartUs, &AudioTrack::trimEndUs, "trim start", "trim end",
                  trimStartUs, trimEndUs);
}

int32_t OrmaSetAudioMediaFadeTime(const char* call, OrmaAudioHandle a, int64_t fadeInUs, int64_t fadeOutUs) {
  return SetTimes(call, a, &AudioTrack::fadeInUs, &AudioTrack::fadeOutUs, "fade-in", "fade-out", fadeInUs,
                  fadeOutUs);
}

} // namespace orma::entry
