// Captions on the timeline: each caption is a library caption created from its
// style folder's config.json and filled item by item, either from the draft's
// styled pieces (kind 0) or from a template's plain text lines (kind 1).
#pragma once

#include <cstdint>

#include "corelib/orma_core.h"
#include "draft/records.h"

/// Codes of UpdateCaptionParam and FillCaptionItemParam; any other failure
/// is the failing library call's own result.
inline constexpr int32_t kCaptionNoDocument = -1109;
inline constexpr int32_t kCaptionNoHandle = -1112;
inline constexpr int32_t kCaptionNoPieces = -1115;
inline constexpr int32_t kCaptionNoCanvas = -1120;
inline constexpr int32_t kCaptionItemNullArgument = -782;
inline constexpr int32_t kCaptionItemNoStylePath = -810;
inline constexpr int32_t kCaptionItemStyleUnreadable = -815;
inline constexpr int32_t kCaptionItemStyleNotJson = -833;
inline constexpr int32_t kCaptionItemNoStyleWidth = -931;
inline constexpr int32_t kCaptionItemNoStyleHeight = -937;
inline constexpr int32_t kCaptionItemNoTextWidth = -984;
inline constexpr int32_t kCaptionItemNoTextHeight = -990;

/// Places every caption of the document on `vv`, in list order, with its key
/// frames. Failures are reported on stdout; none stops the export.
void AddCaptions(DraftDocument* document, OrmaVideoHandle vv);

/// Whole-caption settings (timeline, opacity, centre, size, scale, angle),
/// then every text item: 1, a code above, or a failing call's result.
int32_t UpdateCaptionParam(const DraftDocument* document, OrmaCaptionHandle caption,
                           const CaptionRecord* record);

/// Fills the zeroed item block of one styled piece from the piece and the
/// caption's style file: 1, or a code above.
int32_t FillCaptionItemParam(const DraftDocument* document, const CaptionRecord* record,
                             const CaptionWord* word, OrmaCaptionItemBlock* block);

/// Text-box margins relative to the style box, left, top, right, bottom, for
/// a style that does not stretch: the free space of the style box around the
/// text box, split in the ratio of the opposite paddings (evenly when both
/// are 0), divided by the style box's side. A text box larger than its style
/// box, or a style box without area, gives margins of 0 on that axis.
void StyleTextMargins(int32_t styleWidth, int32_t styleHeight, float textWidth, float textHeight,
                      const float padding[4], float margins[4]);
