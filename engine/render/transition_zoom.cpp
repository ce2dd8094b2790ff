// Zoom: the current scene grows by half while it dissolves into the next
// (reversed: the next scene starts enlarged and settles to its size).
#include <algorithm>
#include <cmath>

#include "engine/picture/mix.h"
#include "engine/picture/scale.h"
#include "engine/picture/scratch.h"
#include "engine/render/transitions.h"

namespace orma {

namespace {

// dst = the centre of src enlarged by `scale` (>= 1).
void Enlarge(Yuv& dst, const Yuv& src, float scale, int matrix) {
  int sw = std::max(2, static_cast<int>(std::lround(src.w / scale))) & ~1;
  int sh = std::max(2, static_cast<int>(std::lround(src.h / scale))) & ~1;
  int sx = ((src.w - sw) / 2) & ~1, sy = ((src.h - sh) / 2) & ~1;
  Colorimetry c;
  c.matrix = matrix;
  ScaleYuv(src, sx, sy, sw, sh, c, dst, matrix, false);
}

class Zoom : public TransitionEffect {
public:
  Zoom(bool out, int matrix) : out_(out), matrix_(matrix) {}
  void Render(Yuv& dst, const Yuv& a, const Yuv& b, float p) const override {
    Picture& tmp = ScratchPicture(20, dst.w, dst.h, false);
    if (!out_) {
      Enlarge(tmp.view(), a, 1.0f + 0.5f * p, matrix_);
      Mix(dst, tmp.view(), b, p);
    } else {
      Enlarge(tmp.view(), b, 1.0f + 0.5f * (1.0f - p), matrix_);
      Mix(dst, a, tmp.view(), p);
    }
  }

private:
  bool out_;
  int matrix_;
};

} // namespace

std::unique_ptr<TransitionEffect> MakeZoom(const TransitionStyle& style, RenderContext& ctx, std::string*) {
  return std::make_unique<Zoom>(style.reverse, ctx.matrix);
}

} // namespace orma
