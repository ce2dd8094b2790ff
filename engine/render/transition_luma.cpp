// Luma wipe: a grey picture says when each pixel switches to the next
// scene, dark pixels first (light first when reversed). The picture is
// stretched to the frame on the transition's first frame and let go once
// the rendering has passed the transition.
#include <algorithm>

#include "engine/media/still_image.h"
#include "engine/picture/scale.h"
#include "engine/render/transitions.h"

namespace orma {

std::unique_ptr<TransitionEffect> MakeLuma(const TransitionStyle& style, RenderContext& ctx,
                                           std::string* error) {
  MediaProbe probe = ProbeMedia(style.lumaPath.c_str(), false);
  if (!probe.ok) {
    *error = probe.error;
    return nullptr;
  }
  RgbaImage image;
  if (!LoadRgba(probe, &image, error)) return nullptr;
  Picture map(ctx.width, ctx.height, true);
  if (!ScaleRgba(image.pixels.data(), image.width * 4, 0, 0, image.width, image.height, map.view(),
                 ctx.matrix)) {
    *error = style.lumaPath + ": cannot scale the luma map";
    return nullptr;
  }
  std::vector<uint8_t> order(static_cast<size_t>(ctx.width) * ctx.height);
  const Yuv& v = map.view();
  for (int y = 0; y < ctx.height; ++y)
    for (int x = 0; x < ctx.width; ++x) {
      // Limited-range luma back to 0..255.
      int l = std::clamp((v.p[0][y * v.s[0] + x] - 16) * 255 / 219, 0, 255);
      order[static_cast<size_t>(y) * ctx.width + x] = static_cast<uint8_t>(style.reverse ? 255 - l : l);
    }
  return std::make_unique<MaskTransition>(std::move(order), ctx.width, ctx.height, style.softness);
}

} // namespace orma
