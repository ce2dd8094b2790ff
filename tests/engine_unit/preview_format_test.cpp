// The size and frame rate a preview renders at (engine/preview/preview_format.h):
// the display ratio fitted to the window within 640×360 and 1920×1080, a
// frame size set by the caller kept, and the rate of the main track's first
// clip when none was set.
#include <gtest/gtest.h>

#include "engine/preview/preview_format.h"

namespace orma {
namespace {

TEST(PreviewFormat, TheCanvasFillsTheWindowAtTheDisplayRatio) {
  FrameSize s = PreviewRenderSize(0, 0, 16.0f / 9.0f, 960, 540);
  EXPECT_EQ(s.width, 960);
  EXPECT_EQ(s.height, 540);
  s = PreviewRenderSize(0, 0, 16.0f / 9.0f, 1000, 1000); // a square window: as wide as it
  EXPECT_EQ(s.width, 1000);
  EXPECT_EQ(s.height, 562);
  s = PreviewRenderSize(0, 0, 9.0f / 16.0f, 1000, 720); // portrait: as high as it
  EXPECT_EQ(s.width, 406);
  EXPECT_EQ(s.height, 720);
}

TEST(PreviewFormat, TheCanvasStaysBetweenItsSmallestAndLargestSize) {
  FrameSize s = PreviewRenderSize(0, 0, 16.0f / 9.0f, 1, 1);
  EXPECT_EQ(s.width, 640);
  EXPECT_EQ(s.height, 360);
  s = PreviewRenderSize(0, 0, 16.0f / 9.0f, 3840, 2160);
  EXPECT_EQ(s.width, 1920);
  EXPECT_EQ(s.height, 1080);
  s = PreviewRenderSize(0, 0, 0.0f, 960, 540); // no ratio: 16:9
  EXPECT_EQ(s.width, 960);
  EXPECT_EQ(s.height, 540);
}

TEST(PreviewFormat, AFrameSizeSetByTheCallerIsKeptEven) {
  const FrameSize s = PreviewRenderSize(1281, 719, 1.0f, 300, 300);
  EXPECT_EQ(s.width, 1282);
  EXPECT_EQ(s.height, 720);
}

TEST(PreviewFormat, TheFrameRateIsThatOfTheFirstClipUnlessOneWasSet) {
  VirtualVideo video;
  Scene later(false), first(false);
  later.startUs = 2000000;
  first.startUs = 0;
  Media picture, clip, other;
  picture.probe.hasVideo = picture.probe.still = true;
  clip.probe.hasVideo = true;
  clip.probe.frameRate = 30.0;
  other.probe.hasVideo = true;
  other.probe.frameRate = 50.0;
  later.media = {&other};
  first.media = {&picture, &clip};
  EXPECT_EQ(PreviewFrameRate(video).num, 25); // nothing on the main track
  video.elements = {&later, &first};
  const Rational rate = PreviewFrameRate(video);
  EXPECT_EQ(rate.num, 30);
  EXPECT_EQ(rate.den, 1);
  video.settings.fpsValue = 24.0;
  video.settings.fps = RationalFps(24.0);
  EXPECT_EQ(PreviewFrameRate(video).num, 24);
}

} // namespace
} // namespace orma
