#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "engine/picture/blur.h"
#include "engine/picture/filters.h"
#include "tests/engine_unit/picture_util.h"

using namespace orma;
using testpic::Rgb8;

namespace {

// A green-screen picture: chroma green with a skin-coloured box in the
// middle, the alpha plane opaque.
void GreenScreen(Picture& p) {
  Yuv& v = p.view();
  testpic::FillRgb(v, 0.0f, 177 / 255.0f, 64 / 255.0f);
  testpic::FillRgb(v, 208 / 255.0f, 144 / 255.0f, 112 / 255.0f, 20, 20, 44, 44);
  for (int y = 0; y < v.h; ++y)
    std::memset(v.p[3] + y * v.s[3], 255, v.w);
}

int LumaAt(const Yuv& v, int x, int y) { return v.p[0][y * v.s[0] + x]; }

} // namespace

TEST(ChromaKey, KeyColourBecomesTransparentAndTheSubjectStays) {
  Picture p(64, 64, true);
  GreenScreen(p);
  ChromaKeySettings key;
  key.red = 0;
  key.green = 177;
  key.blue = 64;
  key.factor = 20;
  ChromaKey(p.view(), key, 601);
  EXPECT_EQ(testpic::Alpha(p.view(), 4, 4), 0);
  EXPECT_EQ(testpic::Alpha(p.view(), 32, 32), 255);
  EXPECT_TRUE(testpic::Near(testpic::At(p.view(), 32, 32), Rgb8{208, 144, 112}, 4));
}

TEST(ChromaKey, SpillIsRemovedFromGreenishSubjectPixels) {
  Picture p(16, 16, true);
  testpic::FillRgb(p.view(), 0.5f, 0.7f, 0.4f); // a greenish cast, far from the key
  for (int y = 0; y < 16; ++y)
    std::memset(p.view().p[3] + y * p.view().s[3], 255, 16);
  ChromaKeySettings key;
  key.green = 255;
  key.factor = 0;
  ChromaKey(p.view(), key, 601);
  Rgb8 c = testpic::At(p.view(), 8, 8);
  EXPECT_LE(c.g, (c.r + c.b) / 2 + 3) << testpic::Text(c);
}

TEST(ChromaKey, AlphaLimitsAndEdgeSizeShapeTheMatte) {
  Picture hard(64, 64, true), soft(64, 64, true);
  GreenScreen(hard);
  GreenScreen(soft);
  ChromaKeySettings key;
  key.green = 177;
  key.blue = 64;
  key.factor = 20;
  ChromaKey(hard.view(), key, 601);
  key.edgeSize = 8;
  ChromaKey(soft.view(), key, 601);
  // Eroded by four pixels: the subject's border pixels are (partly) cut.
  EXPECT_EQ(testpic::Alpha(hard.view(), 21, 32), 255);
  EXPECT_LT(testpic::Alpha(soft.view(), 21, 32), 128);
  EXPECT_EQ(testpic::Alpha(soft.view(), 32, 32), 255);
}

TEST(PictureFilters, SharpenLeavesFlatAreasAndRaisesEdges) {
  Picture p(16, 16, false);
  testpic::FillRgb(p.view(), 0.2f, 0.2f, 0.2f);
  testpic::FillRgb(p.view(), 0.8f, 0.8f, 0.8f, 8, 0, 16, 16);
  int flat = LumaAt(p.view(), 2, 8), bright = LumaAt(p.view(), 8, 8);
  Sharpen(p.view(), 1.0f);
  EXPECT_EQ(LumaAt(p.view(), 2, 8), flat);
  EXPECT_GT(LumaAt(p.view(), 8, 8), bright + 20);
  Sharpen(p.view(), 0.0f);
}

TEST(PictureFilters, VignetteKeepsTheCentreAndDarkensTheCorners) {
  Picture p(64, 36, false);
  testpic::FillRgb(p.view(), 1, 1, 1);
  Vignette(p.view(), 1.0f);
  EXPECT_GE(LumaAt(p.view(), 32, 18), 233);
  EXPECT_LT(LumaAt(p.view(), 0, 0), 70);
}

// The gain of each sample, worked out from its distance to the middle: the
// engine keeps the upper half of the map and mirrors it.
TEST(PictureFilters, VignetteGainFollowsTheDistanceOnEveryRowOfEvenAndOddSizes) {
  for (auto [w, h] : {std::pair{40, 22}, std::pair{37, 21}}) {
    Picture p(w, h, false);
    Yuv& v = p.view();
    uint32_t seed = 12345;
    for (int k = 0; k < 3; ++k)
      for (int y = 0; y < (k ? (h + 1) / 2 : h); ++y)
        for (int x = 0; x < (k ? (w + 1) / 2 : w); ++x) {
          seed = seed * 1664525u + 1013904223u;
          v.p[k][y * v.s[k] + x] = static_cast<uint8_t>(seed >> 24);
        }
    Picture before(w, h, false);
    CopyPicture(before.view(), v);
    const float strength = 0.7f;
    Vignette(v, strength);
    auto gain = [&](float x, float y) {
      float dx = (x - w * 0.5f) / (w * 0.5f), dy = (y - h * 0.5f) / (h * 0.5f);
      float r = std::sqrt((dx * dx + dy * dy) * 0.5f);
      float t = std::clamp((r - 0.3f) / 0.7f, 0.0f, 1.0f);
      return static_cast<int>(std::lround(256.0f * (1.0f - 0.8f * strength * t * t * (3.0f - 2.0f * t))));
    };
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        int in = before.view().p[0][y * before.view().s[0] + x];
        ASSERT_EQ(LumaAt(v, x, y), 16 + (((in - 16) * gain(x + 0.5f, y + 0.5f) + 128) >> 8))
            << w << "x" << h << " at " << x << "," << y;
      }
    for (int k = 1; k <= 2; ++k)
      for (int y = 0; y < (h + 1) / 2; ++y)
        for (int x = 0; x < (w + 1) / 2; ++x) {
          int in = before.view().p[k][y * before.view().s[k] + x];
          ASSERT_EQ(v.p[k][y * v.s[k] + x],
                    128 + (((in - 128) * gain(2.0f * x + 1.0f, 2.0f * y + 1.0f) + 128) >> 8))
              << w << "x" << h << " plane " << k << " at " << x << "," << y;
        }
  }
}

TEST(PictureFilters, GrainIsRepeatableForASeedAndMovesWithIt) {
  Picture a(32, 32, false), b(32, 32, false), c(32, 32, false);
  for (Picture* p : {&a, &b, &c})
    testpic::FillRgb(p->view(), 0.5f, 0.5f, 0.5f);
  AddGrain(a.view(), 1.0f, 7);
  AddGrain(b.view(), 1.0f, 7);
  AddGrain(c.view(), 1.0f, 8);
  EXPECT_EQ(std::memcmp(a.view().p[0], b.view().p[0], 32), 0);
  EXPECT_NE(std::memcmp(a.view().p[0], c.view().p[0], 32), 0);
}

TEST(PictureFilters, GaussianBlurMixesAcrossAnEdgeOnly) {
  Picture p(64, 32, false);
  testpic::FillRgb(p.view(), 1, 0, 0);
  testpic::FillRgb(p.view(), 0, 0, 1, 32, 0, 64, 32);
  BlurSettings blur;
  blur.intensity = 1;
  blur.radius = 0.25f;
  ApplyBlur(p.view(), blur);
  Rgb8 edge = testpic::At(p.view(), 31, 16);
  EXPECT_GT(edge.r, 60);
  EXPECT_GT(edge.b, 60);
  EXPECT_TRUE(testpic::Near(testpic::At(p.view(), 1, 16), Rgb8{255, 0, 0}, 20));
}

TEST(PictureFilters, MotionBlurFollowsTheDirectionOfTheCentre) {
  // A horizontal edge is untouched by a horizontal motion blur and smeared
  // by a vertical one.
  Picture h(32, 32, false), v(32, 32, false);
  for (Picture* p : {&h, &v}) {
    testpic::FillRgb(p->view(), 0, 0, 0);
    testpic::FillRgb(p->view(), 1, 1, 1, 0, 16, 32, 32);
  }
  BlurSettings blur;
  blur.type = kBlurMotion;
  blur.intensity = 1;
  blur.radius = 0.25f;
  blur.centerX = 1.0f;
  blur.centerY = 0.5f;
  ApplyBlur(h.view(), blur);
  blur.centerX = 0.5f;
  blur.centerY = 1.0f;
  ApplyBlur(v.view(), blur);
  EXPECT_LT(LumaAt(h.view(), 16, 15), 20);
  EXPECT_GT(LumaAt(v.view(), 16, 15), 60);
}

TEST(PictureFilters, RadialBlurKeepsItsClearCentre) {
  Picture p(64, 64, false);
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 64; ++x)
      p.view().p[0][y * p.view().s[0] + x] = ((x / 2 + y / 2) % 2) ? 235 : 16;
  std::memset(p.view().p[1], 128, p.view().s[1] * 32);
  std::memset(p.view().p[2], 128, p.view().s[2] * 32);
  BlurSettings blur;
  blur.type = kBlurRadial;
  blur.intensity = 1;
  blur.radius = 0.1f;
  ApplyBlur(p.view(), blur);
  int centre = LumaAt(p.view(), 32, 32);
  EXPECT_TRUE(centre == 16 || centre == 235);
  int corner = LumaAt(p.view(), 2, 60);
  EXPECT_GT(corner, 40);
  EXPECT_LT(corner, 210);
}

TEST(PictureFilters, SkinSmoothingSmoothsSkinAndNotOtherColours) {
  Picture skin(64, 64, false), blue(64, 64, false);
  testpic::FillRgb(skin.view(), 208 / 255.0f, 144 / 255.0f, 112 / 255.0f);
  testpic::FillRgb(blue.view(), 0.1f, 0.2f, 0.9f);
  for (Picture* p : {&skin, &blue})
    for (int y = 0; y < 64; ++y)
      for (int x = 0; x < 64; ++x)
        p->view().p[0][y * p->view().s[0] + x] += ((x + y) % 2) ? 6 : -6;
  SmoothSkin(skin.view(), 1.0f);
  SmoothSkin(blue.view(), 1.0f);
  int skinStep = std::abs(LumaAt(skin.view(), 30, 30) - LumaAt(skin.view(), 31, 30));
  int blueStep = std::abs(LumaAt(blue.view(), 30, 30) - LumaAt(blue.view(), 31, 30));
  EXPECT_LT(skinStep, 4);
  EXPECT_EQ(blueStep, 12);
}

TEST(PictureFilters, AffineResampleShiftsAPicture) {
  Picture src(32, 32, false), dst(32, 32, false);
  testpic::FillRgb(src.view(), 1, 0, 0);
  testpic::FillRgb(src.view(), 0, 0, 1, 16, 0, 32, 32);
  float shift[6] = {1, 0, 8, 0, 1, 0}; // each pixel takes the one 8 to its right
  AffineResample(src.view(), dst.view(), shift);
  EXPECT_TRUE(testpic::Near(testpic::At(dst.view(), 10, 10), Rgb8{0, 0, 255}, 4));
  EXPECT_TRUE(testpic::Near(testpic::At(dst.view(), 4, 10), Rgb8{255, 0, 0}, 4));
}

TEST(PictureFilters, SharpenMatchesAPlainThreeByThreeUnsharpMask) {
  const int w = 37, h = 23;
  Picture p(w, h, false);
  uint32_t seed = 5;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      seed = seed * 1664525u + 1013904223u;
      p.view().p[0][y * p.view().s[0] + x] = static_cast<uint8_t>(seed >> 24);
    }
  for (float amount : {0.7f, -0.4f}) {
    std::vector<uint8_t> before(static_cast<size_t>(w) * h);
    for (int y = 0; y < h; ++y)
      std::memcpy(&before[y * w], p.view().p[0] + y * p.view().s[0], w);
    int k = static_cast<int>(std::lround((amount > 0 ? 1.5f * amount : amount) * 256.0f));
    Sharpen(p.view(), amount);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        int sum = 0;
        for (int dy = -1; dy <= 1; ++dy)
          for (int dx = -1; dx <= 1; ++dx)
            sum += before[std::clamp(y + dy, 0, h - 1) * w + std::clamp(x + dx, 0, w - 1)];
        int mean = (sum * 7282 + 32768) >> 16, v = before[y * w + x];
        int diff = k > 0 ? v - mean : mean - v;
        int want = std::clamp(v + ((diff * std::abs(k) + 128) >> 8), 0, 255);
        ASSERT_EQ(p.view().p[0][y * p.view().s[0] + x], want) << x << "," << y << " amount " << amount;
      }
  }
}
