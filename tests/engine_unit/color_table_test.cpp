#include <gtest/gtest.h>

#include "engine/picture/color_table.h"
#include "tests/engine_unit/picture_util.h"

using namespace orma;
using testpic::Rgb8;

namespace {

// One colour through the levels' table, read back as R'G'B'.
Rgb8 Through(const ColorLevels& levels, Rgb8 in, const Lut3D* lut = nullptr, float intensity = 0) {
  Picture p(2, 2, false);
  testpic::FillRgb(p.view(), in.r / 255.0f, in.g / 255.0f, in.b / 255.0f);
  auto table = ColorTable::Build(levels, lut, intensity, 601);
  if (table) table->Apply(p.view());
  return testpic::At(p.view(), 0, 0);
}

int Luma(Rgb8 c) { return (299 * c.r + 587 * c.g + 114 * c.b) / 1000; }

Lut3D Inverting() {
  Lut3D lut;
  lut.size = 2;
  for (int b = 0; b < 2; ++b)
    for (int g = 0; g < 2; ++g)
      for (int r = 0; r < 2; ++r) {
        lut.rgb.push_back(1.0f - r);
        lut.rgb.push_back(1.0f - g);
        lut.rgb.push_back(1.0f - b);
      }
  return lut;
}

const Rgb8 kRed{255, 0, 0}, kMid{128, 128, 128}, kSkin{208, 144, 112};

} // namespace

TEST(ColorTable, NeutralLevelsBuildNoTable) {
  EXPECT_EQ(ColorTable::Build(ColorLevels(), nullptr, 0, 601), nullptr);
  Lut3D lut = Inverting();
  EXPECT_EQ(ColorTable::Build(ColorLevels(), &lut, 0.0f, 601), nullptr);
  EXPECT_NE(ColorTable::Build(ColorLevels(), &lut, 0.5f, 601), nullptr);
}

TEST(ColorTable, ATableOfSmallLevelsKeepsColoursClose) {
  ColorLevels l;
  l.brightness = 1;
  for (Rgb8 c : {kRed, kMid, kSkin, Rgb8{10, 200, 30}})
    EXPECT_TRUE(testpic::Near(Through(l, c), c, 4)) << testpic::Text(Through(l, c));
}

TEST(ColorTable, SaturationMinus100GivesGrey) {
  ColorLevels l;
  l.saturation = -100;
  Rgb8 out = Through(l, kRed);
  EXPECT_LE(std::max({out.r, out.g, out.b}) - std::min({out.r, out.g, out.b}), 2) << testpic::Text(out);
  EXPECT_NEAR(Luma(out), Luma(kRed), 3);
}

TEST(ColorTable, SaturationPlusMakesColoursStronger) {
  ColorLevels l;
  l.saturation = 50;
  Rgb8 in{180, 120, 100}, out = Through(l, in);
  EXPECT_GT(out.r - out.b, in.r - in.b + 20);
}

TEST(ColorTable, BrightnessRaisesAndLowersLuma) {
  ColorLevels up, down;
  up.brightness = 128;
  down.brightness = -128;
  EXPECT_NEAR(Luma(Through(up, kMid)), 128 + 51, 4);
  EXPECT_NEAR(Luma(Through(down, kMid)), 128 - 51, 4);
}

TEST(ColorTable, ContrastMinus100FlattensToMidGrey) {
  ColorLevels l;
  l.contrast = -100;
  for (Rgb8 c : {kRed, Rgb8{20, 20, 20}, Rgb8{240, 240, 240}})
    EXPECT_TRUE(testpic::Near(Through(l, c), kMid, 3)) << testpic::Text(Through(l, c));
}

TEST(ColorTable, ContrastPlusSpreadsAwayFromTheMiddle) {
  ColorLevels l;
  l.contrast = 50;
  EXPECT_LT(Luma(Through(l, Rgb8{80, 80, 80})), 60);
  EXPECT_GT(Luma(Through(l, Rgb8{170, 170, 170})), 200);
}

TEST(ColorTable, WhiteBalanceWarmsAndTintTurnsGreenOrMagenta) {
  ColorLevels warm, green;
  warm.whiteBalance = 100;
  green.tint = -100;
  Rgb8 w = Through(warm, kMid), g = Through(green, kMid);
  EXPECT_GT(w.r, w.b + 30) << testpic::Text(w);
  EXPECT_GT(g.g, g.r + 15) << testpic::Text(g);
}

TEST(ColorTable, HighlightAndShadowWorkOnTheirOwnTones) {
  ColorLevels hi, sh;
  hi.highlight = -100;
  sh.shadows = 100;
  EXPECT_LT(Luma(Through(hi, Rgb8{230, 230, 230})), 205);
  EXPECT_NEAR(Luma(Through(hi, Rgb8{40, 40, 40})), 40, 3);
  EXPECT_GT(Luma(Through(sh, Rgb8{30, 30, 30})), 60);
  EXPECT_NEAR(Luma(Through(sh, Rgb8{230, 230, 230})), 230, 3);
}

TEST(ColorTable, LightSensationIsAnExposureGain) {
  ColorLevels l;
  l.lightSensation = 100;
  EXPECT_NEAR(Luma(Through(l, Rgb8{100, 100, 100})), 100 * std::exp2(1.2 / 2.2), 4);
  EXPECT_NEAR(Luma(Through(l, Rgb8{0, 0, 0})), 0, 2);
}

TEST(ColorTable, FadeLiftsBlackAndPalesColours) {
  ColorLevels l;
  l.fade = 100;
  EXPECT_NEAR(Luma(Through(l, Rgb8{0, 0, 0})), 26, 3);
  Rgb8 red = Through(l, kRed);
  EXPECT_LT(red.r - red.g, 150);
}

TEST(ColorTable, LookUpTableWithIntensity) {
  Lut3D lut = Inverting();
  EXPECT_TRUE(testpic::Near(Through(ColorLevels(), kRed, &lut, 1.0f), Rgb8{0, 255, 255}, 4));
  EXPECT_TRUE(testpic::Near(Through(ColorLevels(), kRed, &lut, 0.5f), kMid, 4));
}

TEST(ColorTable, BeautyBrightensMiddleTonesAndToneWarmsSkinOnly) {
  ColorLevels bright, tone;
  bright.beautyBright = 100;
  tone.beautyTone = 100;
  EXPECT_GT(Luma(Through(bright, kMid)), 160);
  EXPECT_NEAR(Luma(Through(bright, Rgb8{255, 255, 255})), 255, 2);
  Rgb8 skin = Through(tone, kSkin);
  EXPECT_GT(skin.r - kSkin.r, 5) << testpic::Text(skin);
  EXPECT_TRUE(testpic::Near(Through(tone, Rgb8{40, 60, 200}), Rgb8{40, 60, 200}, 3));
}

TEST(ColorTable, MapAgreesWithApply) {
  ColorLevels l;
  l.contrast = 30;
  l.saturation = -20;
  auto table = ColorTable::Build(l, nullptr, 0, 601);
  ASSERT_NE(table, nullptr);
  Picture p(2, 2, false);
  testpic::FillRgb(p.view(), 0.7f, 0.3f, 0.2f);
  int y = p.view().p[0][0], cb = p.view().p[1][0], cr = p.view().p[2][0];
  int oy, ob, orr;
  table->Map(y, cb, cr, &oy, &ob, &orr);
  table->Apply(p.view());
  EXPECT_EQ(p.view().p[0][0], oy);
  EXPECT_EQ(p.view().p[1][0], ob);
  EXPECT_EQ(p.view().p[2][0], orr);
}

TEST(ColorTable, SkinLikelihoodIsHighForSkinAndZeroForBlue) {
  YuvColor skin = RgbToYuv(208 / 255.0f, 144 / 255.0f, 112 / 255.0f, 601);
  YuvColor blue = RgbToYuv(0, 0, 1, 601);
  EXPECT_GT(SkinLikelihood(skin.u, skin.v), 0.8f);
  EXPECT_EQ(SkinLikelihood(blue.u, blue.v), 0.0f);
}

// Every pixel of a noisy picture: its luma through the table with its
// block's chroma, and the block's chroma at the block's mean luma.
TEST(ColorTable, ApplyLooksUpEveryPixelAsMapDoes) {
  ColorLevels l;
  l.contrast = 35;
  l.saturation = 25;
  l.whiteBalance = -30;
  auto table = ColorTable::Build(l, nullptr, 0, 709);
  ASSERT_NE(table, nullptr);
  const int w = 70, h = 9; // blocks in vector steps and a tail, a last single row
  Picture p(w, h, false), before(w, h, false);
  uint32_t seed = 9;
  for (int k = 0; k < 3; ++k) {
    int pw = k ? (w + 1) / 2 : w, ph = k ? (h + 1) / 2 : h;
    for (int y = 0; y < ph; ++y)
      for (int x = 0; x < pw; ++x) {
        seed = seed * 1664525u + 1013904223u;
        p.view().p[k][y * p.view().s[k] + x] = before.view().p[k][y * before.view().s[k] + x] =
            static_cast<uint8_t>(seed >> 24);
      }
  }
  table->Apply(p.view());
  const Yuv& b = before.view();
  const Yuv& a = p.view();
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int cb = b.p[1][(y / 2) * b.s[1] + x / 2], cr = b.p[2][(y / 2) * b.s[2] + x / 2];
      int oy, ob, orr;
      table->Map(b.p[0][y * b.s[0] + x], cb, cr, &oy, &ob, &orr);
      ASSERT_EQ(a.p[0][y * a.s[0] + x], oy) << x << "," << y;
    }
  for (int cy = 0; cy < (h + 1) / 2; ++cy)
    for (int cx = 0; cx < w / 2; ++cx) {
      int y0 = 2 * cy, y1 = std::min(2 * cy + 1, h - 1), x0 = 2 * cx, x1 = 2 * cx + 1;
      int mean = (b.p[0][y0 * b.s[0] + x0] + b.p[0][y0 * b.s[0] + x1] + b.p[0][y1 * b.s[0] + x0] +
                  b.p[0][y1 * b.s[0] + x1] + 2) >>
                 2;
      int oy, ob, orr;
      table->Map(mean, b.p[1][cy * b.s[1] + cx], b.p[2][cy * b.s[2] + cx], &oy, &ob, &orr);
      ASSERT_EQ(a.p[1][cy * a.s[1] + cx], ob) << cx << "," << cy;
      ASSERT_EQ(a.p[2][cy * a.s[2] + cx], orr) << cx << "," << cy;
    }
}
