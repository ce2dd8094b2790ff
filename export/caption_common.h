// What stickers and captions share on their way into the core library: both
// are library captions created from a style folder's "config.json", added to
// the virtual video and stacked by level; both take times as microseconds.
#pragma once

#include <cstdint>
#include <string>

#include "corelib/orma_core.h"
#include "draft/records.h"

/// True when both canvas dimensions, truncated toward zero, are above 0.
bool CanvasHasArea(const DraftDocument* document);

/// The full-width colon of the error messages, in the console's codeset.
std::string FullWidthColon();

/// Creates a library caption of `kind` (an `OrmaCaptionKind`) from `folder`'s config.json (relative
/// folders under the draft's folder), adds it to `vv` and stacks it at
/// `level` when that is above 0. Failures are printed; a failed add still
/// returns the handle, because the caption is configured all the same.
/// Null when the caption could not be created.
OrmaCaptionHandle CreateTimelineCaption(const DraftDocument* document, OrmaVideoHandle vv, const char* folder,
                                        int32_t kind, int32_t level);
