// Circle: the next scene appears in a circle that opens from the centre
// (or, reversed, the current scene shrinks into a closing circle).
#include <cmath>

#include "engine/render/transitions.h"

namespace orma {

std::unique_ptr<TransitionEffect> MakeCircle(const TransitionStyle& style, RenderContext& ctx, std::string*) {
  int w = ctx.width, h = ctx.height;
  std::vector<uint8_t> order(static_cast<size_t>(w) * h);
  double cx = w / 2.0, cy = h / 2.0, radius = std::sqrt(cx * cx + cy * cy);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      double dx = x + 0.5 - cx, dy = y + 0.5 - cy;
      double v = std::sqrt(dx * dx + dy * dy) / radius;
      if (style.reverse) v = 1.0 - v;
      order[static_cast<size_t>(y) * w + x] = static_cast<uint8_t>(std::lround(std::min(v, 1.0) * 255.0));
    }
  return std::make_unique<MaskTransition>(std::move(order), w, h, style.softness);
}

} // namespace orma
