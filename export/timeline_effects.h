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

/// Seconds on the timeline as the library's microseconds: the product is
/// taken in 32-bit float, as the editor does, and truncated toward zero.
/// Values beyond the int64 range saturate and NaN gives 0.
int64_t TimelineMicros(float seconds);

/// A float narrowed to int32 toward zero, saturating at the range ends; NaN
/// gives 0.
int32_t TruncatedInt32(float value);

/// The picture-adjustment block of a toning. Drafts of version 4 and below
/// keep saturation, contrast and sharpness on their old scales (neutral at
/// 1, 1 and -4); they are mapped onto the newer percentage scales here.
OrmaAdjustmentBlock ToningAdjustment(const ToningRecord* toning, int32_t draftVersion);
