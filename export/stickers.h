// Stickers on the timeline. The core library has no sticker object: a sticker
// is a caption of kind 2 built from its frame folder's config.json and then
// placed, sized, scaled, turned, faded and timed with the caption setters.
#pragma once

#include "corelib/orma_core.h"
#include "draft/records.h"

/// Places every sticker of the document on `vv`, in list order. A sticker
/// that fails is reported on stdout and skipped; none stops the export.
void AddStickers(DraftDocument* document, OrmaVideoHandle vv);
