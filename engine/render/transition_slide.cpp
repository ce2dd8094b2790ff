// Slide and push: the next scene moves in from the side opposite to the
// configured direction. A slide covers the current scene, which stays still;
// a push moves the current scene out ahead of it.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/render/transitions.h"

namespace orma {

namespace {

// Copies src into dst shifted by (dx, dy) (even), leaving the rest of dst.
void CopyShifted(Yuv& dst, const Yuv& src, int dx, int dy) {
  dx &= ~1;
  dy &= ~1;
  for (int k = 0; k < 3; ++k) {
    int div = k ? 2 : 1;
    int w = k ? (dst.w + 1) / 2 : dst.w, h = k ? (dst.h + 1) / 2 : dst.h;
    int sx = dx / div, sy = dy / div;
    int x0 = std::max(0, sx), x1 = std::min(w, w + sx);
    int y0 = std::max(0, sy), y1 = std::min(h, h + sy);
    if (x0 >= x1) continue;
    for (int y = y0; y < y1; ++y)
      std::memcpy(dst.p[k] + y * dst.s[k] + x0, src.p[k] + (y - sy) * src.s[k] + (x0 - sx), x1 - x0);
  }
}

class Slide : public TransitionEffect {
public:
  Slide(std::string direction, bool push) : direction_(std::move(direction)), push_(push) {}
  void Render(Yuv& dst, const Yuv& a, const Yuv& b, float p) const override {
    int w = dst.w, h = dst.h;
    // Offset of the incoming scene; the outgoing one is one frame ahead.
    int bx = 0, by = 0, ax = 0, ay = 0;
    if (direction_ == "left") {
      bx = static_cast<int>(std::lround(w * (1.0f - p)));
      ax = bx - w;
    } else if (direction_ == "right") {
      bx = -static_cast<int>(std::lround(w * (1.0f - p)));
      ax = bx + w;
    } else if (direction_ == "up") {
      by = static_cast<int>(std::lround(h * (1.0f - p)));
      ay = by - h;
    } else {
      by = -static_cast<int>(std::lround(h * (1.0f - p)));
      ay = by + h;
    }
    if (push_)
      CopyShifted(dst, a, ax, ay);
    else
      CopyPicture(dst, a);
    CopyShifted(dst, b, bx, by);
  }

private:
  std::string direction_;
  bool push_;
};

} // namespace

std::unique_ptr<TransitionEffect> MakeSlide(const TransitionStyle& style, RenderContext&, std::string*) {
  return std::make_unique<Slide>(style.direction.empty() ? "left" : style.direction, false);
}

std::unique_ptr<TransitionEffect> MakePush(const TransitionStyle& style, RenderContext&, std::string*) {
  return std::make_unique<Slide>(style.direction.empty() ? "left" : style.direction, true);
}

} // namespace orma
