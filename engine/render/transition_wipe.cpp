// Wipe: a straight edge crosses the frame in the configured direction (the
// way the edge moves), uncovering the next scene behind it.
#include <cmath>

#include "engine/render/transitions.h"

namespace orma {

std::unique_ptr<TransitionEffect> MakeWipe(const TransitionStyle& style, RenderContext& ctx, std::string*) {
  int w = ctx.width, h = ctx.height;
  std::vector<uint8_t> order(static_cast<size_t>(w) * h);
  const std::string& d = style.direction.empty() ? std::string("left") : style.direction;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      double v;
      if (d == "right")
        v = (x + 0.5) / w; // the left side goes first
      else if (d == "left")
        v = 1.0 - (x + 0.5) / w;
      else if (d == "down")
        v = (y + 0.5) / h;
      else
        v = 1.0 - (y + 0.5) / h; // up
      order[static_cast<size_t>(y) * w + x] = static_cast<uint8_t>(std::lround(v * 255.0));
    }
  return std::make_unique<MaskTransition>(std::move(order), w, h, style.softness);
}

} // namespace orma
