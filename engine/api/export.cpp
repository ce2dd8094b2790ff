// Export, timeline queries and preview.
#include <cstring>

#include "engine/api/api.h"
#include "engine/api/entry_points_gen.h"
#include "engine/encode/export_run.h"
#include "platform/text_number.h"

using namespace orma;

namespace orma::entry {

int32_t OrmaEditSetLimitTime(const char* call, OrmaVideoHandle vv, int64_t startUs, int64_t endUs) {
  // Renders only [start, end); an end of 0 or less means "to the end".
  return With(call, vv, [&](VirtualVideo& v) {
    if (startUs < 0 || (endUs > 0 && endUs <= startUs))
      return Refuse(call, ORMA_BAD_ARGUMENT,
                    "range " + std::to_string(startUs) + ".." + std::to_string(endUs) + " us is empty");
    v.settings.limitStartUs = startUs;
    v.settings.limitEndUs = endUs;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaEditMediaUseAgentProcess(const char* call, OrmaVideoHandle vv) {
  // The export always runs in the calling process (on MLT's worker threads);
  // the request is recorded and has no further effect.
  return OnVideo(call, vv, [](VirtualVideo& v) {
    v.settings.agentProcess = true;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaEditMedia(const char* call, OrmaVideoHandle vv) {
  return OnVideo(call, vv, [](VirtualVideo& v) { return RunExport(v); });
}

int32_t OrmaEditProgress(const char*, OrmaVideoHandle vv) {
  VirtualVideo* v = VideoOf(vv);
  return v ? v->progress.load() : 0;
}

int32_t OrmaEditCancel(const char* call, OrmaVideoHandle vv) {
  // Only a flag the export's own thread reads between frames: safe from any
  // thread, and the export ends (and cleans up) on that thread.
  return OnVideo(call, vv, [](VirtualVideo& v) {
    v.stopRequested = true;
    return int32_t{ORMA_OK};
  });
}

int64_t OrmaGetTotalPlaybackTime(const char*, OrmaVideoHandle vv) {
  VirtualVideo* v = VideoOf(vv);
  return v ? TimelineLengthUs(*v) : 0;
}

int64_t OrmaGetCurrentPlaybackTime(const char*, OrmaVideoHandle vv) {
  VirtualVideo* v = VideoOf(vv);
  return v ? v->positionUs.load() : 0;
}

int32_t OrmaGetMediaInfoLite(const char* call, const char* path, int64_t* durationUs,
                             OrmaMediaPropertyBlock* audio, OrmaMediaPropertyBlock* video) {
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
}

} // namespace orma::entry
