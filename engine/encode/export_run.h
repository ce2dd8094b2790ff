// Rendering a virtual video to its output file.
#pragma once

#include <cstdint>

#include <mlt-7/framework/mlt.h>

#include "engine/core/mlt_handles.h"
#include "engine/model/model.h"

namespace orma {

/// Result codes of OrmaEditMedia below 1 (each failure also logs one line
/// naming its cause). See docs/engine.md.
enum ExportResult : int32_t {
  kExportOk = 1,
  kNoFrameSize = -20,
  kNoOutputPath = -21,
  kUnknownContainer = -22,
  kUnknownVideoEncoder = -23,
  kUnknownAudioEncoder = -24,
  kOutputNotWritable = -25,
  kFrameworkUnavailable = -26,
  kTimelineInvalid = -27,
  kTimelineEmpty = -28,
  kLimitSelectsNothing = -29,
  kMediaFailed = -30,
  kEncodingFailed = -31,
  kCannotPlaceOutput = -32,
  kExportBusy = -33,
};

/// The consumer an export takes its frames from, in order, with
/// mlt_consumer_rt_frame once started: a read-ahead thread renders them
/// (fetching, drawing and mixing) while the caller encodes. Null when MLT
/// cannot make one.
ConsumerPtr MakeFrameRenderer(mlt_profile profile, int sampleRate, int channels);

/// Blocks until the video is written (or the export failed).
int32_t RunExport(VirtualVideo& video);

} // namespace orma
