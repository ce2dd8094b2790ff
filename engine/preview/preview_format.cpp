// The size and frame rate of a preview (preview_format.h).
#include "engine/preview/preview_format.h"

#include <algorithm>
#include <cmath>

namespace orma {

FrameSize PreviewRenderSize(int frameWidth, int frameHeight, float ratio, int windowWidth, int windowHeight) {
  auto even = [](double v) { return std::max(2, static_cast<int>(std::lround(v / 2)) * 2); };
  if (frameWidth > 0 && frameHeight > 0) return {even(frameWidth), even(frameHeight)};
  const double r = ratio > 0 && std::isfinite(ratio) ? ratio : 16.0 / 9.0;
  // The box the canvas is fitted into: the window, held between the bounds.
  const double boxW = std::clamp(static_cast<double>(windowWidth), 640.0, 1920.0);
  const double boxH = std::clamp(static_cast<double>(windowHeight), 360.0, 1080.0);
  if (boxW / boxH > r) return {even(boxH * r), even(boxH)};
  return {even(boxW), even(boxW / r)};
}

Rational PreviewFrameRate(const VirtualVideo& video) {
  if (video.settings.fpsValue != 25.0) return video.settings.fps;
  const Scene* first = nullptr;
  for (const Element* e : video.elements)
    if (e->kind == ElementKind::MainScene && (!first || e->startUs < first->startUs))
      first = static_cast<const Scene*>(e);
  if (first)
    for (const Media* m : first->media)
      if (m->probe.hasVideo && !m->probe.still && m->probe.frameRate >= 1 && m->probe.frameRate <= 120)
        return RationalFps(m->probe.frameRate);
  return video.settings.fps;
}

} // namespace orma
