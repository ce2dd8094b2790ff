// Playing a virtual video into the caller's window: the engine side of the
// preview calls (OrmaPreview and the play, pause, seek and stop that
// follow).
//
// A player builds the same timeline an export builds (timeline.h), takes its
// frames from the same frame renderer (export.h: one read-ahead thread that
// fetches, draws and mixes), and instead of encoding them shows each picture
// in the window (window_view.h) when the playback clock reaches it and
// queues each frame's sound on the sound device (sound_output.h). Sound is
// never dropped: when drawing falls behind, pictures that are more than a
// frame late are skipped. Its own thread does all of this; the calls below
// hand it a command and wait until it has been carried out (a seek: until
// the picture at the new position is shown).
#pragma once

#include <cstdint>

#include "corelib/orma_core.h"
#include "engine/model/model.h"

namespace orma {

/// The preview calls fail with the preview's results of OrmaResult
/// (corelib/orma_core.h), and with the export's for the timeline's failures,
/// each with one log line naming its cause.

enum class PreviewControl { Play, Pause, Seek, Stop };

/// Marks the video's preview as initialised: control calls made before
/// StartPreview wait for it (up to 30 s) instead of finding nothing playing.
void AwaitPreview(VirtualVideo& video);

/// Starts playing from the beginning; returns at once (1) with the first
/// picture shown, or a failure.
int32_t StartPreview(VirtualVideo& video);

/// Play (from the beginning again once the end was reached), pause, seek to
/// `positionUs` (held to the timeline), or stop: the player's window and
/// sound are released and the caller's window is left as it was.
int32_t ControlPreview(VirtualVideo& video, PreviewControl control, int64_t positionUs = 0);

} // namespace orma
