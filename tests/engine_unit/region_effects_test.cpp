#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "engine/picture/region_filters.h"

namespace {

using orma::Picture;
using orma::PixelRect;

// A picture whose luma varies everywhere (a diagonal ramp plus a checker),
// so any change shows.
void Pattern(Picture& p) {
  orma::Yuv& v = p.view();
  for (int y = 0; y < v.h; ++y)
    for (int x = 0; x < v.w; ++x)
      v.p[0][y * v.s[0] + x] = static_cast<uint8_t>(16 + (x + 2 * y) % 200 + ((x / 3 + y / 3) % 2) * 20);
  for (int y = 0; y < (v.h + 1) / 2; ++y)
    for (int x = 0; x < (v.w + 1) / 2; ++x) {
      v.p[1][y * v.s[1] + x] = static_cast<uint8_t>(60 + (x * 7) % 120);
      v.p[2][y * v.s[2] + x] = static_cast<uint8_t>(60 + (y * 5) % 120);
    }
}

uint8_t Y(const Picture& p, int x, int y) { return p.view().p[0][y * p.view().s[0] + x]; }

// True when every luma sample outside r is the same in both pictures.
bool SameOutside(const Picture& a, const Picture& b, const PixelRect& r) {
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width(); ++x) {
      bool inside = x >= r.x0 && x < r.x1 && y >= r.y0 && y < r.y1;
      if (!inside && Y(a, x, y) != Y(b, x, y)) return false;
    }
  for (int k = 1; k <= 2; ++k)
    for (int y = 0; y < a.height() / 2; ++y)
      for (int x = 0; x < a.width() / 2; ++x) {
        bool inside = x >= r.x0 / 2 && x < r.x1 / 2 && y >= r.y0 / 2 && y < r.y1 / 2;
        if (!inside && a.view().p[k][y * a.view().s[k] + x] != b.view().p[k][y * b.view().s[k] + x])
          return false;
      }
  return true;
}

TEST(RegionEffects, RegionIsWidenedToEvenPixelsAndClipped) {
  float region[4] = {0.1f, 0.25f, 0.5f, 1.5f};
  PixelRect r = orma::RegionPixels(region, 100, 50);
  EXPECT_EQ(r.x0, 10);
  EXPECT_EQ(r.y0, 12); // 12.5 widened down to even
  EXPECT_EQ(r.x1, 50);
  EXPECT_EQ(r.y1, 50); // clipped
  float swapped[4] = {0.5f, 0.5f, 0.1f, 0.1f};
  PixelRect s = orma::RegionPixels(swapped, 100, 50);
  EXPECT_EQ(s.x0, 10);
  EXPECT_EQ(s.x1, 50);
  EXPECT_EQ(s.y0, 4);
  EXPECT_EQ(s.y1, 26);
  float nan[4] = {0.0f, 0.0f, std::nanf(""), 1.0f};
  EXPECT_TRUE(orma::RegionPixels(nan, 100, 50).Empty());
}

TEST(RegionEffects, MosaicBlockGrowsWithIntensity) {
  EXPECT_EQ(orma::MosaicBlockSize(0.0f, 1280, 720), 14);
  EXPECT_EQ(orma::MosaicBlockSize(1.0f, 1280, 720), 72);
  EXPECT_EQ(orma::MosaicBlockSize(5.0f, 1280, 720), 72);
  EXPECT_EQ(orma::MosaicBlockSize(0.0f, 40, 20), 2);
  EXPECT_LT(orma::MosaicBlockSize(0.3f, 320, 180), orma::MosaicBlockSize(0.7f, 320, 180));
}

TEST(RegionEffects, PixelateMakesBlocksOfOneColourInsideOnly) {
  Picture before(64, 48, false), after(64, 48, false);
  Pattern(before);
  Pattern(after);
  PixelRect r{8, 8, 40, 30};
  orma::Pixelate(after.view(), r, 8);
  EXPECT_TRUE(SameOutside(before, after, r));
  // Every block is flat, the last ones cut at the region's edge.
  for (int by = r.y0; by < r.y1; by += 8)
    for (int bx = r.x0; bx < r.x1; bx += 8)
      for (int y = by; y < std::min(by + 8, r.y1); ++y)
        for (int x = bx; x < std::min(bx + 8, r.x1); ++x)
          ASSERT_EQ(Y(after, x, y), Y(after, bx, by)) << x << "," << y;
  EXPECT_NE(Y(after, 8, 8), Y(after, 16, 8));
}

TEST(RegionEffects, BlurChangesOnlyItsRegion) {
  Picture before(64, 48, false), after(64, 48, false);
  Pattern(before);
  Pattern(after);
  PixelRect r{20, 10, 44, 40};
  orma::BlurRegion(after.view(), r, 3.0f);
  EXPECT_TRUE(SameOutside(before, after, r));
  int changed = 0;
  for (int y = r.y0; y < r.y1; ++y)
    for (int x = r.x0; x < r.x1; ++x)
      changed += Y(before, x, y) != Y(after, x, y);
  EXPECT_GT(changed, r.Width() * r.Height() / 2);
}

TEST(RegionEffects, DelogoFillMeetsItsBorder) {
  Picture before(64, 48, false), after(64, 48, false);
  Pattern(before);
  Pattern(after);
  PixelRect r{16, 12, 40, 30};
  orma::FillFromBorder(after.view(), r);
  EXPECT_TRUE(SameOutside(before, after, r));
  // Next to the left side the fill is (nearly) that side's pixel, and the
  // interior is smooth: no neighbours differ by more than the sides do.
  for (int y = r.y0 + 2; y < r.y1 - 2; ++y)
    EXPECT_NEAR(Y(after, r.x0, y), Y(before, r.x0 - 1, y), 24) << y;
  for (int y = r.y0; y < r.y1; ++y)
    for (int x = r.x0 + 1; x < r.x1; ++x)
      ASSERT_LE(std::abs(Y(after, x, y) - Y(after, x - 1, y)), 20) << x << "," << y;
}

TEST(RegionEffects, DelogoOfAFlatSurroundingIsFlat) {
  Picture p(32, 32, false);
  orma::Fill(p.view(), orma::YuvColor{100, 90, 150});
  for (int y = 10; y < 20; ++y)
    for (int x = 10; x < 20; ++x)
      p.view().p[0][y * p.view().s[0] + x] = 235; // the "logo"
  orma::FillFromBorder(p.view(), PixelRect{10, 10, 20, 20});
  for (int y = 10; y < 20; ++y)
    for (int x = 10; x < 20; ++x)
      ASSERT_EQ(Y(p, x, y), 100);
}

TEST(RegionEffects, DelogoAtThePictureEdgeUsesTheRegionsOwnEdge) {
  Picture p(32, 32, false);
  orma::Fill(p.view(), orma::YuvColor{100, 128, 128});
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 8; ++x)
      p.view().p[0][y * p.view().s[0] + x] = 200;
  orma::FillFromBorder(p.view(), PixelRect{0, 0, 8, 8});
  // Right and bottom sides are the flat surrounding; the outer sides are
  // the region's own first row and column (200): the fill lies in between.
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 8; ++x) {
      EXPECT_GE(Y(p, x, y), 100);
      EXPECT_LE(Y(p, x, y), 200);
    }
  EXPECT_LT(Y(p, 7, 7), 130);
}

} // namespace
