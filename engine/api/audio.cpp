// Music and sound effects.
#include <cmath>

#include "engine/api/api.h"
#include "engine/api/value_limits.h"

using namespace orma;

namespace {
template <class Apply> int32_t WithAudio(const char* function, OrmaAudioHandle a, Apply apply) {
  AudioTrack* t = AudioOf(a);
  if (!t) return Refuse(function, kBadHandle, "not an audio handle");
  if (Exporting(t->video)) return Refuse(function, kBadState, "an export is running");
  return apply(*t);
}
} // namespace

extern "C" {

ORMA_API OrmaAudioHandle OrmaAddAudioMedia(OrmaVideoHandle vv, const char* path, double volume,
                                           int64_t trimStartUs, int64_t trimEndUs, int64_t timelineFromUs,
                                           int64_t timelineToUs) {
  AudioTrack* t = nullptr;
  VirtualVideo* v = VideoOf(vv);
  if (!v) {
    Refuse("OrmaAddAudioMedia", kBadHandle, "not a virtual video handle");
  } else if (Exporting(v)) {
    Refuse("OrmaAddAudioMedia", kBadState, "an export is running");
  } else if (!std::isfinite(volume)) {
    Refuse("OrmaAddAudioMedia", kBadArgument, "the volume is not a number");
  } else {
    MediaProbe probe = ProbeMedia(path, true);
    if (!probe.ok)
      Refuse("OrmaAddAudioMedia", kBadFile, probe.error);
    else if (!probe.hasAudio)
      Refuse("OrmaAddAudioMedia", kBadFile, probe.path + ": no sound in the file");
    else {
      // Out-of-range values are brought into range and an empty span
      // leaves the track out, each with a log line.
      bool empty = EmptySpan("OrmaAddAudioMedia", timelineFromUs, timelineToUs);
      t = new AudioTrack();
      t->probe = probe;
      t->volume = AtLeast("OrmaAddAudioMedia", "volume", volume, 0);
      t->trimStartUs = NotNegative("OrmaAddAudioMedia", "trim start", trimStartUs);
      t->trimEndUs = trimEndUs;
      t->startUs = empty ? timelineFromUs : NotNegative("OrmaAddAudioMedia", "start", timelineFromUs);
      t->endUs = timelineToUs;
      if (empty) LeaveOut(*t);
      RegisterHandle(t);
      AddElement(v, t);
    }
  }
  return Traced(
      "OrmaAddAudioMedia",
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
      static_cast<OrmaAudioHandle>(t));
}

ORMA_API int32_t OrmaSetAudioMediaCutTime(OrmaAudioHandle a, int64_t trimStartUs, int64_t trimEndUs) {
  int32_t r = WithAudio("OrmaSetAudioMediaCutTime", a, [&](AudioTrack& t) {
    t.trimStartUs = NotNegative("OrmaSetAudioMediaCutTime", "trim start", trimStartUs);
    t.trimEndUs = NotNegative("OrmaSetAudioMediaCutTime", "trim end", trimEndUs);
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetAudioMediaCutTime",
      [&] { return TraceArgs().Ptr("audio", a).Int("trimStartUs", trimStartUs).Int("trimEndUs", trimEndUs); },
      r);
}

ORMA_API int32_t OrmaSetAudioMediaFadeTime(OrmaAudioHandle a, int64_t fadeInUs, int64_t fadeOutUs) {
  int32_t r = WithAudio("OrmaSetAudioMediaFadeTime", a, [&](AudioTrack& t) {
    t.fadeInUs = NotNegative("OrmaSetAudioMediaFadeTime", "fade-in", fadeInUs);
    t.fadeOutUs = NotNegative("OrmaSetAudioMediaFadeTime", "fade-out", fadeOutUs);
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetAudioMediaFadeTime",
      [&] { return TraceArgs().Ptr("audio", a).Int("fadeInUs", fadeInUs).Int("fadeOutUs", fadeOutUs); }, r);
}

ORMA_API int32_t OrmaSetAudioMediaPlaySpeed(OrmaAudioHandle a, double speed) {
  int32_t r = WithAudio("OrmaSetAudioMediaPlaySpeed", a, [&](AudioTrack& t) {
    if (!std::isfinite(speed))
      return Refuse("OrmaSetAudioMediaPlaySpeed", kBadArgument, "speed is not a number");
    t.speed = Limited("OrmaSetAudioMediaPlaySpeed", "speed", speed, 0, 100);
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetAudioMediaPlaySpeed", [&] { return TraceArgs().Ptr("audio", a).Dbl("speed", speed); }, r);
}

ORMA_API int32_t OrmaSetAudioMediaVolFactor(OrmaAudioHandle a, double volume) {
  int32_t r = WithAudio("OrmaSetAudioMediaVolFactor", a, [&](AudioTrack& t) {
    if (!std::isfinite(volume))
      return Refuse("OrmaSetAudioMediaVolFactor", kBadArgument, "volume is not a number");
    t.volume = AtLeast("OrmaSetAudioMediaVolFactor", "volume", volume, 0);
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetAudioMediaVolFactor", [&] { return TraceArgs().Ptr("audio", a).Dbl("volume", volume); }, r);
}

ORMA_API int32_t OrmaSetAudioMediaEffect(OrmaAudioHandle a, int32_t type) {
  int32_t r = WithAudio("OrmaSetAudioMediaEffect", a, [&](AudioTrack& t) {
    t.effect = type;
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetAudioMediaEffect", [&] { return TraceArgs().Ptr("audio", a).Int("type", type); }, r);
}

ORMA_API int32_t OrmaSetAudioMediaNsLevel(OrmaAudioHandle a, int32_t level) {
  int32_t r = WithAudio("OrmaSetAudioMediaNsLevel", a, [&](AudioTrack& t) {
    t.nsLevel = level;
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetAudioMediaNsLevel", [&] { return TraceArgs().Ptr("audio", a).Int("level", level); }, r);
}

} // extern "C"
