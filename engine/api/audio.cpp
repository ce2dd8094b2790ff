// Music and sound effects.
#include <cmath>

#include "engine/api/api.h"
#include "engine/api/value_limits.h"

using namespace orma;

namespace {
template <class Apply> int32_t WithAudio(const char* function, OrmaAudioHandle a, Apply apply) {
  AudioTrack* t = AudioOf(a);
  if (!t) return Refuse(function, ORMA_BAD_HANDLE, "not an audio handle");
  if (Exporting(t->video)) return Refuse(function, ORMA_BAD_STATE, "an export is running");
  return apply(*t);
}

// The names a pair of times goes by: in log lines, and in the trace.
struct TimeNames {
  const char* first;
  const char* second;
  const char* firstArgument;
  const char* secondArgument;
};

// A track's trim and its fades are set alike: each time is brought to 0 or more.
int32_t SetTimes(const char* call, OrmaAudioHandle a, int64_t AudioTrack::*firstField,
                 int64_t AudioTrack::*secondField, const TimeNames& names, int64_t first, int64_t second) {
  int32_t r = WithAudio(call, a, [&](AudioTrack& t) {
    t.*firstField = NotNegative(call, names.first, first);
    t.*secondField = NotNegative(call, names.second, second);
    return int32_t{ORMA_OK};
  });
  return Traced(
      call,
      [&] {
        return TraceArgs().Ptr("audio", a).Int(names.firstArgument, first).Int(names.secondArgument, second);
      },
      r);
}

// The voice effect and the noise-suppression level are stored as given.
int32_t SetNumber(const char* call, OrmaAudioHandle a, int32_t AudioTrack::*field, const char* argument,
                  int32_t value) {
  int32_t r = WithAudio(call, a, [&](AudioTrack& t) {
    t.*field = value;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("audio", a).Int(argument, value); }, r);
}

} // namespace

extern "C" {

ORMA_API OrmaAudioHandle OrmaAddAudioMedia(OrmaVideoHandle vv, const char* path, double volume,
                                           int64_t trimStartUs, int64_t trimEndUs, int64_t timelineFromUs,
                                           int64_t timelineToUs) {
  ORMA_ENTRY_NAME;
  AudioTrack* t = nullptr;
  VirtualVideo* v = VideoOf(vv);
  if (!v) {
    Refuse(call, ORMA_BAD_HANDLE, "not a virtual video handle");
  } else if (Exporting(v)) {
    Refuse(call, ORMA_BAD_STATE, "an export is running");
  } else if (!std::isfinite(volume)) {
    Refuse(call, ORMA_BAD_ARGUMENT, "the volume is not a number");
  } else {
    MediaProbe probe = ProbeMedia(path, true);
    if (!probe.ok)
      Refuse(call, ORMA_BAD_FILE, probe.error);
    else if (!probe.hasAudio)
      Refuse(call, ORMA_BAD_FILE, probe.path + ": no sound in the file");
    else {
      // Out-of-range values are brought into range and an empty span
      // leaves the track out, each with a log line.
      bool empty = EmptySpan(call, timelineFromUs, timelineToUs);
      t = new AudioTrack();
      t->probe = probe;
      t->volume = AtLeast(call, "volume", volume, 0);
      t->trimStartUs = NotNegative(call, "trim start", trimStartUs);
      t->trimEndUs = trimEndUs;
      t->startUs = empty ? timelineFromUs : NotNegative(call, "start", timelineFromUs);
      t->endUs = timelineToUs;
      if (empty) LeaveOut(*t);
      RegisterHandle(t);
      AddElement(v, t);
    }
  }
  return Traced(
      call,
      [&] {
        return TraceArgs()
            .Ptr("vv", vv)
            .Text("path", path)
            .Dbl("volume", volume)
            .Int("trimStartUs", trimStartUs)
            .Int("trimEndUs", trimEndUs)
            .Int("timelineFromUs", timelineFromUs)
            .Int("timelineToUs", timelineToUs);
      },
      HandleTo<OrmaAudioHandle>(t));
}

ORMA_API int32_t OrmaSetAudioMediaCutTime(OrmaAudioHandle a, int64_t trimStartUs, int64_t trimEndUs) {
  ORMA_ENTRY_NAME;
  return SetTimes(call, a, &AudioTrack::trimStartUs, &AudioTrack::trimEndUs,
                  {"trim start", "trim end", "trimStartUs", "trimEndUs"}, trimStartUs, trimEndUs);
}

ORMA_API int32_t OrmaSetAudioMediaFadeTime(OrmaAudioHandle a, int64_t fadeInUs, int64_t fadeOutUs) {
  ORMA_ENTRY_NAME;
  return SetTimes(call, a, &AudioTrack::fadeInUs, &AudioTrack::fadeOutUs,
                  {"fade-in", "fade-out", "fadeInUs", "fadeOutUs"}, fadeInUs, fadeOutUs);
}

ORMA_API int32_t OrmaSetAudioMediaPlaySpeed(OrmaAudioHandle a, double speed) {
  ORMA_ENTRY_NAME;
  int32_t r = WithAudio(call, a, [&](AudioTrack& t) {
    if (!std::isfinite(speed)) return Refuse(call, ORMA_BAD_ARGUMENT, "speed is not a number");
    t.speed = Limited(call, "speed", speed, 0, 100);
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("audio", a).Dbl("speed", speed); }, r);
}

ORMA_API int32_t OrmaSetAudioMediaVolFactor(OrmaAudioHandle a, double volume) {
  ORMA_ENTRY_NAME;
  int32_t r = WithAudio(call, a, [&](AudioTrack& t) {
    if (!std::isfinite(volume)) return Refuse(call, ORMA_BAD_ARGUMENT, "volume is not a number");
    t.volume = AtLeast(call, "volume", volume, 0);
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("audio", a).Dbl("volume", volume); }, r);
}

ORMA_API int32_t OrmaSetAudioMediaEffect(OrmaAudioHandle a, int32_t type) {
  ORMA_ENTRY_NAME;
  return SetNumber(call, a, &AudioTrack::effect, "type", type);
}

ORMA_API int32_t OrmaSetAudioMediaNsLevel(OrmaAudioHandle a, int32_t level) {
  ORMA_ENTRY_NAME;
  return SetNumber(call, a, &AudioTrack::nsLevel, "level", level);
}

} // extern "C"
