// Export, timeline queries and preview.
#include <cstring>

#include "engine/api/api.h"
#include "engine/encode/export_run.h"

using namespace orma;

extern "C" {

ORMA_API int32_t OrmaEditSetLimitTime(OrmaVideoHandle vv, int64_t startUs, int64_t endUs) {
  // Renders only [start, end); an end of 0 or less means "to the end".
  int32_t r = [&] {
    VirtualVideo* v = VideoOf(vv);
    if (!v) return Refuse("OrmaEditSetLimitTime", kBadHandle, "not a virtual video handle");
    if (Exporting(v)) return Refuse("OrmaEditSetLimitTime", kBadState, "an export is running");
    if (startUs < 0 || (endUs > 0 && endUs <= startUs))
      return Refuse("OrmaEditSetLimitTime", kBadArgument,
                    "range " + std::to_string(startUs) + ".." + std::to_string(endUs) + " us is empty");
    v->settings.limitStartUs = startUs;
    v->settings.limitEndUs = endUs;
    return int32_t{kOk};
  }();
  return Traced(
      "OrmaEditSetLimitTime",
      [&] { return TraceArgs().Ptr("vv", vv).Int("startUs", startUs).Int("endUs", endUs); }, r);
}

ORMA_API int32_t OrmaEditMediaUseAgentProcess(OrmaVideoHandle vv) {
  // The export always runs in the calling process (on MLT's worker threads);
  // the request is recorded and has no further effect.
  int32_t r = [&] {
    VirtualVideo* v = VideoOf(vv);
    if (!v) return Refuse("OrmaEditMediaUseAgentProcess", kBadHandle, "not a virtual video handle");
    v->settings.agentProcess = true;
    return int32_t{kOk};
  }();
  return Traced(
      "OrmaEditMediaUseAgentProcess", [&] { return TraceArgs().Ptr("vv", vv); }, r);
}

ORMA_API int32_t OrmaEditMedia(OrmaVideoHandle vv) {
  VirtualVideo* v = VideoOf(vv);
  int32_t r = v ? RunExport(*v) : Refuse("OrmaEditMedia", kBadHandle, "not a virtual video handle");
  return Traced(
      "OrmaEditMedia", [&] { return TraceArgs().Ptr("vv", vv); }, r);
}

ORMA_API int32_t OrmaEditProgress(OrmaVideoHandle vv) {
  VirtualVideo* v = VideoOf(vv);
  int32_t r = v ? v->progress.load() : 0;
  return Traced(
      "OrmaEditProgress", [&] { return TraceArgs().Ptr("vv", vv); }, r);
}

ORMA_API int64_t OrmaGetTotalPlaybackTime(OrmaVideoHandle vv) {
  VirtualVideo* v = VideoOf(vv);
  int64_t r = v ? TimelineLengthUs(*v) : 0;
  return Traced(
      "OrmaGetTotalPlaybackTime", [&] { return TraceArgs().Ptr("vv", vv); }, r);
}

ORMA_API int64_t OrmaGetCurrentPlaybackTime(OrmaVideoHandle vv) {
  VirtualVideo* v = VideoOf(vv);
  int64_t r = v ? v->positionUs.load() : 0;
  return Traced(
      "OrmaGetCurrentPlaybackTime", [&] { return TraceArgs().Ptr("vv", vv); }, r);
}

ORMA_API int32_t OrmaGetMediaInfoLite(const char* path, int64_t* durationUs, OrmaMediaPropertyBlock* audio,
                                      OrmaMediaPropertyBlock* video) {
  int32_t r = [&] {
    MediaProbe probe = ProbeMedia(path, false);
    if (!probe.ok) return Refuse("OrmaGetMediaInfoLite", kBadFile, probe.error);
    if (durationUs) *durationUs = probe.durationUs;
    if (video) {
      std::memset(video, 0, sizeof *video);
      if (probe.hasVideo) {
        video->present = 1;
        video->width = probe.width;
        video->height = probe.height;
        video->frameRate = probe.frameRate;
        // A still picture reports no codec name: callers tell pictures from
        // clips by it.
        if (!probe.still) std::strncpy(video->name, probe.videoCodec.c_str(), sizeof video->name - 1);
      }
    }
    if (audio) {
      std::memset(audio, 0, sizeof *audio);
      if (probe.hasAudio) {
        audio->present = 1;
        audio->sampleRate = probe.sampleRate;
        audio->channels = probe.channels;
        std::strncpy(audio->name, probe.audioCodec.c_str(), sizeof audio->name - 1);
      }
    }
    return int32_t{kOk};
  }();
  return Traced(
      "OrmaGetMediaInfoLite",
      [&] {
        TraceArgs t;
        t.Text("path", path);
        if (r == kOk && durationUs) t.Int("durationUs", *durationUs);
        if (r == kOk && video)
          t.Int("width", video->width).Int("height", video->height).Text("videoCodec", video->name);
        return t;
      },
      r);
}

} // extern "C"
