// The frame pump of an export: MLT renders the timeline's frames in order
// on a read-ahead thread of its consumer (fetching and decoding the
// sources, drawing, mixing the sound) while the export's own thread takes
// each finished frame and hands its picture and its sound to the encoder.
// Rendering thus overlaps the encoder's work instead of alternating with
// it. The pump also keeps the export's position and progress up to date for
// the caller's progress thread, and stops at the first failure: a frame that
// cannot be rendered, a media file that fails (RenderContext::failed), or
// the encoder refusing what it is given.
//
//   ConsumerPtr renderer = MakeFrameRenderer(profile, rate, channels);   // also used by the preview
//   PumpEnd end = PumpFrames(video, ctx, producer, range, encoder, writeSound, &error);
#pragma once

#include <cstdint>
#include <string>

#include <mlt-7/framework/mlt.h>

#include "engine/core/mlt_handles.h"

namespace orma {

class Encoder;
struct RenderContext;
struct VirtualVideo;

/// The consumer an export takes its frames from, in order, with
/// mlt_consumer_rt_frame once started: a read-ahead thread renders them
/// (fetching, drawing and mixing) while the caller encodes. Null when MLT
/// cannot make one.
ConsumerPtr MakeFrameRenderer(mlt_profile profile, int sampleRate, int channels);

/// Frames [first, first + count) of the timeline, counted from the export's
/// start.
struct FrameRange {
  int64_t first = 0;
  int64_t count = 0;
};

enum class PumpEnd {
  Done,       ///< every frame of the range went to the encoder
  NoRenderer, ///< MLT could not make the frame renderer
  Failed,     ///< stopped at a failure (*error, or the context's failure)
  Stopped,    ///< the caller asked the export to stop (OrmaEditCancel)
};

/// Renders the frames of `range` from `producer` (already positioned at
/// the range's start) in the context's profile and hands them to the open
/// encoder: pictures when the export writes them, sound when `writeSound`.
/// The renderer is stopped and closed again before this returns. A stop
/// request of the video is looked at before every frame.
PumpEnd PumpFrames(VirtualVideo& video, RenderContext& ctx, mlt_producer producer, FrameRange range,
                   Encoder& encoder, bool writeSound, std::string* error);

} // namespace orma
