// Timeline-wide elements laid onto the virtual video after the scene track:
// mosaic, blur and delogo regions, look-up filters, music, sound effects,
// picture adjustments ("tonings") and resource-based special effects.
#pragma once

#include <cstdint>

#include "corelib/orma_core.h"
#include "draft/records.h"

/// Adds every timeline-wide element of the document, kind by kind in the
/// order the editor stacks them: mosaics, custom filters, musics, sound
/// effects, tonings, special effects. Returns 1 on success; otherwise the
/// failing call's result or a fixed negative code, with a short English text
/// in `message` (2048 bytes) where the failure has one.
int32_t AddTimelineEffects(DraftDocument* document, OrmaVideoHandle vv, char* message);

/// The picture-adjustment block of a toning. Drafts of version 4 and below
/// keep saturation, contrast and sharpness on their old scales (neutral at
/// 1, 1 and -4); they are mapped onto the newer percentage scales here.
OrmaAdjustmentBlock ToningAdjustment(const ToningRecord* toning, int32_t draftVersion);
