// Temporary stand-in for the media attribute routine while it is built on
// its own branch. It makes the two calls the overlay tests observe, with the
// real routine's rules: the flip first, the blend mode only for overlays.
#include "export/media_attributes.h"

int32_t ApplyMediaAttributes(const DraftDocument*, OrmaMediaHandle media, const MediaRecord* record,
                             int32_t applyBlendMode) {
  if (!record) return -126;
  int32_t flip = (record->isHorizontalMirror ? 1 : 0) + (record->isVerticalMirror ? 2 : 0);
  int32_t result = OrmaSetMediaFlip(media, flip);
  if (result <= 0) return result;
  if (applyBlendMode) {
    result = OrmaSetMediaBlendMode(media, static_cast<int32_t>(record->blendType));
    if (result <= 0) return result;
  }
  return 1;
}
