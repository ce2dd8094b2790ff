#include "engine/media/exif_orientation.h"

#include <cstdlib>
#include <cstring>

extern "C" {
#include <libavutil/dict.h>
}

namespace orma {

int ExifQuarterTurns(const AVFrame* frame) {
  const AVDictionaryEntry* tag = frame ? av_dict_get(frame->metadata, "Orientation", nullptr, 0) : nullptr;
  if (!tag || !tag->value) return 0;
  switch (std::atoi(tag->value)) {
  case 6:
    return 1;
  case 3:
    return 2;
  case 8:
    return 3;
  default:
    return 0;
  }
}

void TurnRgba(int turns, int* width, int* height, std::vector<uint8_t>* pixels) {
  turns &= 3;
  if (turns == 0) return;
  const int w = *width, h = *height;
  const int dw = turns % 2 ? h : w, dh = turns % 2 ? w : h;
  std::vector<uint8_t> turned(pixels->size());
  for (int y = 0; y < dh; ++y)
    for (int x = 0; x < dw; ++x) {
      // The source pixel that lands at (x, y) after the turn.
      int sx = turns == 1 ? y : turns == 2 ? w - 1 - x : w - 1 - y;
      int sy = turns == 1 ? h - 1 - x : turns == 2 ? h - 1 - y : x;
      std::memcpy(&turned[(static_cast<size_t>(y) * dw + x) * 4],
                  &(*pixels)[(static_cast<size_t>(sy) * w + sx) * 4], 4);
    }
  pixels->swap(turned);
  *width = dw;
  *height = dh;
}

} // namespace orma
