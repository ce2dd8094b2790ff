// The preview's control thread: it connects to the application's control
// pipe (control_pipe.h), runs the commands of every message it receives
// ("play", "pause", "seek" with a percentage, "stop") on the core library's
// preview, and answers each message with one reply holding the playback
// position and the total length. Only "stop" ends it normally; it sets the
// command's `stopped`, which the waiting export (preview_run.h) watches.
#pragma once

#include <cstdint>

#include "corelib/orma_core.h"
#include "draft/records.h"
#include "preview/control_pipe.h"
#include "preview/preview_command.h"

/// Size of the receive buffer: a message is at most this many bytes.
inline constexpr int kPipeMessageSize = 256;

/// Body of the control thread: connects to `document->previewCommand`'s
/// pipe and serves it until "stop" or a failure.
void PipeControlThread(OrmaVideoHandle vv, DraftDocument* document);

/// Serves an already connected pipe: what PipeControlThread does after
/// connecting (it also closes `pipe` after "stop").
void ServeControlPipe(preview::PipeHandle pipe, OrmaVideoHandle vv, PreviewCommand* command);

/// The reply message, printed with cJSON's formatted printer; the caller
/// frees it with cJSON_free.
char* BuildPlaybackReply(float playSeconds, float totalSeconds);

/// Position in microseconds that "seek" with this value goes to: the value's
/// leading integer as a percentage of `totalUs`, truncated toward zero.
int64_t SeekPosition(const char* value, int64_t totalUs);

/// Parses one received text and runs its commands in order; false (with
/// "Error before: ..." on standard error) when the text is not JSON.
bool ExecuteMessage(const char* text, OrmaVideoHandle vv, PreviewCommand* command, int64_t totalUs);
