// The export run: rendering a virtual video to its output file, step by
// step, each step in a file of its own. The settings are checked and the
// encoders chosen (codec_choice.h); the video is written to a temporary
// file beside the target (output_file.h); the MLT graph of the timeline is
// built (timeline/) in a profile of the video's size and rate; the frames of
// the limit range are rendered and encoded (frame_pump.h, encoder.h); and
// the finished file is moved onto the target. Any failure ends the run with
// one of the export's result codes and one log line naming its cause, and
// leaves the target as it was.
#pragma once

#include <cstdint>

#include "corelib/orma_core.h"
#include "engine/model/model.h"

namespace orma {

/// Blocks until the video is written (or the export failed, or was stopped
/// by OrmaEditCancel: ORMA_EXPORT_STOPPED, and the temporary file is
/// removed). Its failures are the export's results of OrmaResult
/// (corelib/orma_core.h), each with one log line naming its cause; see
/// docs/engine.md.
int32_t RunExport(VirtualVideo& video);

} // namespace orma
