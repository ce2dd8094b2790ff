#include "export/stickers.h"

#include <cstdio>

#include "export/caption_common.h"
#include "export/convert.h"

namespace {

/// Result when the canvas has no area, so nothing can be placed on it.
constexpr int32_t kStickerNoCanvas = -1062;

// Mirroring, tracking, blend type and custom animations are deliberately not
// sent to the library: an exported sticker shows its frames as they are.
int32_t UpdateStickerParam(const DraftDocument* document, OrmaCaptionHandle caption,
                           const StickerRecord* sticker) {
  if (!CanvasHasArea(document)) return kStickerNoCanvas;
  int32_t r = OrmaUpdateCaptionTimeline(caption, convert::SecondsToUs(sticker->timelineFrom),
                                        convert::SecondsToUs(sticker->timelineTo));
  if (r < 1) return r;
  r = OrmaSetCaptionTransparency(caption, sticker->opacity);
  if (r < 1) return r;
  // Centre and size are in the draft's own units; the library scales them.
  r = OrmaSetCaptionPosition(caption, OrmaFloatPair{sticker->center.x, sticker->center.y});
  if (r < 1) return r;
  OrmaSetCaptionSize(caption, OrmaFloatPair{sticker->size.width, sticker->size.height});
  r = OrmaSetCaptionScale(caption, sticker->scale);
  if (r < 1) return r;
  return OrmaSetCaptionAngle(caption, sticker->angle);
}

} // namespace

void AddStickers(DraftDocument* document, OrmaVideoHandle vv) {
  if (!document) return;
  for (const StickerRecord* sticker = document->stickers; sticker; sticker = sticker->next) {
    if (sticker->imageFolderPath[0] == '\0') continue;
    OrmaCaptionHandle caption =
        CreateTimelineCaption(document, vv, sticker->imageFolderPath, ORMA_CAPTION_STICKER, sticker->level);
    if (!caption) continue;
    const int32_t r = UpdateStickerParam(document, caption, sticker);
    if (r < 1) std::printf("UpdateStickerParam error %s%d line:%d \n", FullWidthColon().c_str(), r, __LINE__);
  }
}
