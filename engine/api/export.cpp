// Export, timeline queries and preview.
#include <cstring>

#include "engine/api/api.h"
#include "engine/api/trace_args_gen.h"
#include "engine/encode/export_run.h"
#include "platform/text_number.h"

using namespace orma;

extern "C" {

ORMA_API int32_t OrmaEditSetLimitTime(OrmaVideoHandle vv, int64_t startUs, int64_t endUs) {
  ORMA_ENTRY_NAME;
  // Renders only [start, end); an end of 0 or less means "to the end".
  int32_t r = [&] {
    VirtualVideo* v = VideoOf(vv);
    if (!v) return Refuse(call, ORMA_BAD_HANDLE, "not a virtual video handle");
    if (Exporting(v)) return Refuse(call, ORMA_BAD_STATE, "an export is running");
    if (startUs < 0 || (endUs > 0 && endUs <= startUs))
      return Refuse(call, ORMA_BAD_ARGUMENT,
                    "range " + std::to_string(startUs) + ".." + std::to_string(endUs) + " us is empty");
    v->settings.limitStartUs = startUs;
    v->settings.limitEndUs = endUs;
    return int32_t{ORMA_OK};
  }();
  return Traced(
      call, [&] { return trace_args::OrmaEditSetLimitTime(vv, startUs, endUs); }, r);
}

ORMA_API int32_t OrmaEditMediaUseAgentProcess(OrmaVideoHandle vv) {
  ORMA_ENTRY_NAME;
  // The export always runs in the calling process (on MLT's worker threads);
  // the request is recorded and has no further effect.
  int32_t r = [&] {
    VirtualVideo* v = VideoOf(vv);
    if (!v) return Refuse(call, ORMA_BAD_HANDLE, "not a virtual video handle");
    v->settings.agentProcess = true;
    return int32_t{ORMA_OK};
  }();
  return Traced(
      call, [&] { return trace_args::OrmaEditMediaUseAgentProcess(vv); }, r);
}

ORMA_API int32_t OrmaEditMedia(OrmaVideoHandle vv) {
  ORMA_ENTRY_NAME;
  VirtualVideo* v = VideoOf(vv);
  int32_t r = v ? RunExport(*v) : Refuse(call, ORMA_BAD_HANDLE, "not a virtual video handle");
  return Traced(
      call, [&] { return trace_args::OrmaEditMedia(vv); }, r);
}

ORMA_API int32_t OrmaEditProgress(OrmaVideoHandle vv) {
  ORMA_ENTRY_NAME;
  VirtualVideo* v = VideoOf(vv);
  int32_t r = v ? v->progress.load() : 0;
  return Traced(
      call, [&] { return trace_args::OrmaEditProgress(vv); }, r);
}

ORMA_API int32_t OrmaEditCancel(OrmaVideoHandle vv) {
  ORMA_ENTRY_NAME;
  // Only a flag the export's own thread reads between frames: safe from any
  // thread, and the export ends (and cleans up) on that thread.
  VirtualVideo* v = VideoOf(vv);
  int32_t r = ORMA_OK;
  if (v)
    v->stopRequested = true;
  else
    r = Refuse(call, ORMA_BAD_HANDLE, "not a virtual video handle");
  return Traced(
      call, [&] { return trace_args::OrmaEditCancel(vv); }, r);
}

ORMA_API int64_t OrmaGetTotalPlaybackTime(OrmaVideoHandle vv) {
  ORMA_ENTRY_NAME;
  VirtualVideo* v = VideoOf(vv);
  int64_t r = v ? TimelineLengthUs(*v) : 0;
  return Traced(
      call, [&] { return trace_args::OrmaGetTotalPlaybackTime(vv); }, r);
}

ORMA_API int64_t OrmaGetCurrentPlaybackTime(OrmaVideoHandle vv) {
  ORMA_ENTRY_NAME;
  VirtualVideo* v = VideoOf(vv);
  int64_t r = v ? v->positionUs.load() : 0;
  return Traced(
      call, [&] { return trace_args::OrmaGetCurrentPlaybackTime(vv); }, r);
}

ORMA_API int32_t OrmaGetMediaInfoLite(const char* path, int64_t* durationUs, OrmaMediaPropertyBlock* audio,
                                      OrmaMediaPropertyBlock* video) {
  ORMA_ENTRY_NAME;
  int32_t r = [&] {
    MediaProbe probe = ProbeMedia(path, false);
    if (!probe.ok) return Refuse(call, ORMA_BAD_FILE, probe.error);
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
        if (!probe.still) platform::CopyText(video->name, probe.videoCodec.c_str());
      }
    }
    if (audio) {
      std::memset(audio, 0, sizeof *audio);
      if (probe.hasAudio) {
        audio->present = 1;
        audio->sampleRate = probe.sampleRate;
        audio->channels = probe.channels;
        platform::CopyText(audio->name, probe.audioCodec.c_str());
      }
    }
    return int32_t{ORMA_OK};
  }();
  return Traced(
      call, [&] { return trace_args::OrmaGetMediaInfoLite(path, durationUs, audio, video); }, r);
}

} // extern "C"
