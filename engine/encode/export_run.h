// The export run: rendering a virtual video to its output file, step by
// step, each step in a file of its own. The settings are checked and the
// encoders chosen (codec_choice.h); the video is written to a temporary
// file beside the target (output_file.h); the MLT graph of the timeline is
// built (timeline/) in a profile of the video's size and rate; the frames of
// the limit range are rendered and encoded (frame_pump.h, encoder.h); and
// the finished file is moved onto the target. Any failure ends the run with
// one of the result codes below and one log line naming its cause, and
// leaves the target as it was.
#pragma once

#include <cstdint>

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
  kExportStopped = -34,
  kEncoderDoesNotFitContainer = -35,
};

/// Blocks until the video is written (or the export failed, or was stopped
/// by OrmaEditCancel: kExportStopped, and the temporary file is removed).
int32_t RunExport(VirtualVideo& video);

} // namespace orma
