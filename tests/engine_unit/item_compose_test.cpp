#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "engine/picture/blend_modes.h"
#include "engine/picture/compose.h"
#include "tests/engine_unit/picture_util.h"

using namespace orma;
using testpic::Rgb8;

TEST(BlendModes, TheTableNumbersEveryModeOnce) {
  int count = 0;
  const BlendModeInfo* modes = BlendModes(&count);
  ASSERT_GE(count, 14);
  for (int i = 0; i < count; ++i) {
    EXPECT_EQ(modes[i].number, i);
    EXPECT_EQ(FindBlendMode(i), &modes[i]);
  }
  EXPECT_EQ(FindBlendMode(-1), nullptr);
  EXPECT_EQ(FindBlendMode(count), nullptr);
}

TEST(BlendModes, FunctionsFollowTheirDefinitions) {
  auto f = [](int n, float s, float d) { return FindBlendMode(n)->mix(s, d); };
  EXPECT_FLOAT_EQ(f(2, 0.5f, 0.5f), 0.25f);  // multiply
  EXPECT_FLOAT_EQ(f(3, 0.5f, 0.5f), 0.75f);  // screen
  EXPECT_FLOAT_EQ(f(4, 0.2f, 0.25f), 0.1f);  // overlay, dark base
  EXPECT_FLOAT_EQ(f(5, 0.2f, 0.7f), 0.2f);   // darken
  EXPECT_FLOAT_EQ(f(6, 0.2f, 0.7f), 0.7f);   // lighten
  EXPECT_FLOAT_EQ(f(7, 0.5f, 0.25f), 0.5f);  // colour dodge
  EXPECT_FLOAT_EQ(f(8, 0.5f, 0.75f), 0.5f);  // colour burn
  EXPECT_FLOAT_EQ(f(9, 0.5f, 0.3f), 0.3f);   // soft light at 0.5 keeps the base
  EXPECT_FLOAT_EQ(f(10, 0.25f, 0.2f), 0.1f); // hard light
  EXPECT_FLOAT_EQ(f(11, 0.2f, 0.7f), 0.5f);  // difference
  EXPECT_FLOAT_EQ(f(12, 0.5f, 0.5f), 0.5f);  // exclusion
  EXPECT_FLOAT_EQ(f(13, 0.7f, 0.7f), 1.0f);  // add
  EXPECT_EQ(FindBlendMode(0)->mix, nullptr);
  EXPECT_EQ(FindBlendMode(1)->mix, nullptr);
}

TEST(Compose, UnscaledAtAnEvenPositionIsAPlainCopy) {
  Picture canvas(32, 32, false), item(8, 8, false);
  testpic::FillRgb(canvas.view(), 0, 0, 0);
  testpic::FillRgb(item.view(), 1, 0, 0);
  Placement p;
  p.tx = 4;
  p.ty = 6;
  Compose(canvas.view(), item.view(), p, 1.0f, 0, 601);
  EXPECT_TRUE(testpic::Near(testpic::At(canvas.view(), 4, 6), Rgb8{255, 0, 0}, 3));
  EXPECT_TRUE(testpic::Near(testpic::At(canvas.view(), 11, 13), Rgb8{255, 0, 0}, 3));
  EXPECT_TRUE(testpic::Near(testpic::At(canvas.view(), 12, 6), Rgb8{0, 0, 0}, 3));
}

TEST(Compose, HalfTurnSwapsTheHalves) {
  Picture canvas(32, 16, false), item(32, 16, false);
  testpic::FillRgb(canvas.view(), 0, 0, 0);
  testpic::FillRgb(item.view(), 1, 0, 0);
  testpic::FillRgb(item.view(), 0, 0, 1, 16, 0, 32, 16);
  Placement p; // 180 degrees about the centre
  p.a = -1;
  p.d = -1;
  p.tx = 32;
  p.ty = 16;
  Compose(canvas.view(), item.view(), p, 1.0f, 0, 601);
  EXPECT_TRUE(testpic::Near(testpic::At(canvas.view(), 4, 8), Rgb8{0, 0, 255}, 6));
  EXPECT_TRUE(testpic::Near(testpic::At(canvas.view(), 28, 8), Rgb8{255, 0, 0}, 6));
}

TEST(Compose, ScaledItemFillsItsTargetAndSoftensItsEdge) {
  Picture canvas(32, 32, false), item(4, 4, false);
  testpic::FillRgb(canvas.view(), 0, 0, 0);
  testpic::FillRgb(item.view(), 1, 1, 1);
  Placement p;
  p.a = 4.125f; // 16.5 pixels wide: column 24 is half covered
  p.d = 4;
  p.tx = 8;
  p.ty = 8;
  Compose(canvas.view(), item.view(), p, 1.0f, 0, 601);
  EXPECT_GE(canvas.view().p[0][16 * canvas.view().s[0] + 16], 233);
  EXPECT_EQ(canvas.view().p[0][16 * canvas.view().s[0] + 7], 16);
  int partial = canvas.view().p[0][16 * canvas.view().s[0] + 24];
  EXPECT_GT(partial, 40);
  EXPECT_LT(partial, 200);
}

TEST(Compose, BlendModeWorksOnRgb) {
  Picture canvas(8, 8, false), item(8, 8, false);
  testpic::FillRgb(canvas.view(), 1, 0, 0);
  testpic::FillRgb(item.view(), 0, 0, 1);
  Compose(canvas.view(), item.view(), Placement(), 1.0f, 3, 601); // screen
  EXPECT_TRUE(testpic::Near(testpic::At(canvas.view(), 3, 3), Rgb8{255, 0, 255}, 6))
      << testpic::Text(testpic::At(canvas.view(), 3, 3));
}

TEST(Compose, RegionShowsOnlyPartOfTheItem) {
  Picture canvas(16, 16, false), item(16, 16, false);
  testpic::FillRgb(canvas.view(), 0, 0, 0);
  testpic::FillRgb(item.view(), 1, 1, 1);
  float region[4] = {0, 0, 8, 16};
  Compose(canvas.view(), item.view(), Placement(), 1.0f, 0, 601, region);
  EXPECT_GE(canvas.view().p[0][4 * canvas.view().s[0] + 3], 233);
  EXPECT_EQ(canvas.view().p[0][4 * canvas.view().s[0] + 12], 16);
}

TEST(Compose, OpacityAndAlphaMultiply) {
  Picture canvas(8, 8, false), item(8, 8, true);
  testpic::FillRgb(canvas.view(), 0, 0, 0);
  testpic::FillRgb(item.view(), 1, 1, 1);
  for (int y = 0; y < 8; ++y)
    std::memset(item.view().p[3] + y * item.view().s[3], 128, 8);
  Placement p;
  p.tx = 0.5f; // the general path
  Compose(canvas.view(), item.view(), p, 0.5f, 0, 601);
  int l = canvas.view().p[0][4 * canvas.view().s[0] + 4];
  EXPECT_NEAR(l, 16 + (235 - 16) / 4, 4);
}

namespace {

// Noise in every plane (alpha too), so that every sample weight shows.
void FillNoise(Yuv& img, uint32_t seed) {
  auto next = [&seed] {
    seed = seed * 1664525u + 1013904223u;
    return static_cast<uint8_t>(seed >> 24);
  };
  for (int k = 0; k < 4; ++k) {
    if (!img.p[k]) continue;
    int w = k == 1 || k == 2 ? (img.w + 1) / 2 : img.w, h = k == 1 || k == 2 ? (img.h + 1) / 2 : img.h;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        img.p[k][y * img.s[k] + x] = next();
  }
}

bool SamePictures(const Yuv& a, const Yuv& b) {
  for (int k = 0; k < 3; ++k) {
    int w = k ? (a.w + 1) / 2 : a.w, h = k ? (a.h + 1) / 2 : a.h;
    for (int y = 0; y < h; ++y)
      if (std::memcmp(a.p[k] + y * a.s[k], b.p[k] + y * b.s[k], w) != 0) return false;
  }
  return true;
}

} // namespace

namespace {

struct PlacementCase {
  float a, d, tx, ty;
  bool alpha;
  bool region;
  float opacity;
};
const PlacementCase kPlacements[] = {
    {1.04f, 1.04f, -3.7f, -2.2f, true, false, 1.0f}, // a pulse over the whole canvas
    {0.5f, 0.75f, 10.3f, 7.9f, false, false, 0.6f},  // smaller, off the grid
    {1.0f, 1.0f, 0.5f, 0.0f, true, true, 1.0f},      // half a pixel, clipped
    {2.5f, 1.5f, 30.0f, -8.0f, true, false, 0.3f},   // larger than the canvas, partly outside
    {-1.0f, 1.0f, 40.0f, 0.0f, false, false, 1.0f},  // mirrored
    {1.0f, 1.0f, 3.0f, 2.0f, true, false, 1.0f},     // moved by odd pixels
    {0.3f, 0.3f, 2.0f, 1.0f, true, false, 1.0f},     // a third of its size
    {-1.7f, 0.9f, 58.0f, 3.0f, true, false, 0.8f},   // enlarged and mirrored
};

// Compose (given the item's visible spans, if any) and the general path
// draw `item` onto the same canvas with the same codes.
::testing::AssertionResult SameAsTheGeneralPath(const Yuv& item, const PlacementCase& c,
                                                const RowSpans* spans) {
  Picture fast(61, 47, false), general(61, 47, false);
  FillNoise(fast.view(), 11);
  FillNoise(general.view(), 11);
  Placement p;
  p.a = c.a;
  p.d = c.d;
  p.tx = c.tx;
  p.ty = c.ty;
  float region[4] = {3.5f, 2, 31, 25.25f};
  Compose(fast.view(), item, p, c.opacity, 0, 709, c.region ? region : nullptr, spans);
  ComposeEachPixel(general.view(), item, p, c.opacity, 0, 709, c.region ? region : nullptr);
  if (SamePictures(fast.view(), general.view())) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "scale " << c.a << " x " << c.d;
}

} // namespace

TEST(Compose, ScaledAndMovedItemsGiveWhatTheGeneralPathGives) {
  for (const PlacementCase& c : kPlacements) {
    Picture item(40, 30, c.alpha);
    FillNoise(item.view(), 7);
    EXPECT_TRUE(SameAsTheGeneralPath(item.view(), c, nullptr));
  }
}

// An item whose alpha is 0 outside an ellipse, drawn with the spans of its
// visible pixels: only the columns that sample a visible pixel are drawn,
// with the same codes as drawing every pixel.
TEST(Compose, VisibleSpansLeaveOutOnlyTransparentPixels) {
  for (int margin : {0, 3})
    for (const PlacementCase& c : kPlacements) {
      Picture item(40, 30, true);
      Yuv& v = item.view();
      FillNoise(v, 7);
      for (int y = 0; y < v.h; ++y)
        for (int x = 0; x < v.w; ++x) {
          float dx = (x - 22.0f) / 12.0f, dy = (y - 13.0f) / 9.0f;
          if (dx * dx + dy * dy > 1.0f) v.p[3][y * v.s[3] + x] = 0;
        }
      RowSpans spans = SpansOfCoverage(v.p[3], nullptr, v.s[3], v.w, v.h, margin);
      EXPECT_TRUE(SameAsTheGeneralPath(v, c, &spans)) << "margin " << margin;
    }
}
