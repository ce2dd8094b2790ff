// The tail of an export in preview mode: the timeline is played into the
// caller's window and controlled over the pipe until "stop".
#pragma once

#include <cstdint>

#include "corelib/orma_core.h"
#include "draft/records.h"

/// Plays the built timeline of `vv`; returns the result of the preview call.
int32_t RunPreview(DraftDocument* document, OrmaVideoHandle vv);
