#include <gtest/gtest.h>

#include <cstring>

#include "engine/look/mask_shape.h"
#include "engine/picture/color_table.h"
#include "engine/picture/compose.h"
#include "engine/picture/filters.h"
#include "tests/engine_unit/picture_util.h"

using namespace orma;

namespace {

MaskConfig Config(const char* shape) {
  MaskConfig c;
  c.shape = shape;
  return c;
}

OrmaMaskShapeBlock Shape(float cx, float cy, float w, float h) {
  OrmaMaskShapeBlock s;
  std::memset(&s, 0, sizeof s);
  s.centerX = cx;
  s.centerY = cy;
  s.width = w;
  s.height = h;
  return s;
}

int At(const MaskRaster& r, int x, int y) { return r.alpha[static_cast<size_t>(y) * r.width + x]; }

} // namespace

TEST(MaskShape, EveryShapeIsInsideAtItsCentreAndOutsideFarAway) {
  for (const char* shape : {"circle", "rectangle", "heart", "star", "mirror"}) {
    MaskConfig c = Config(shape);
    OrmaMaskShapeBlock s = Shape(0.5f, 0.5f, 0.5f, 0.5f);
    EXPECT_LT(MaskDistance(c, s, 100, 100, 50, 50), 0) << shape;
    EXPECT_GT(MaskDistance(c, s, 100, 100, 2, 2), 0) << shape;
  }
}

TEST(MaskShape, CircleDistanceIsInPixels) {
  MaskConfig c = Config("circle");
  OrmaMaskShapeBlock s = Shape(0.5f, 0.5f, 0.5f, 0.5f); // radius 25 in a 100 x 100 item
  EXPECT_NEAR(MaskDistance(c, s, 100, 100, 80, 50), 5.0f, 0.5f);
  EXPECT_NEAR(MaskDistance(c, s, 100, 100, 70, 50), -5.0f, 1.0f);
}

TEST(MaskShape, RectangleCornersRoundWithTheRadius) {
  MaskConfig c = Config("rectangle");
  OrmaMaskShapeBlock square = Shape(0.5f, 0.5f, 0.6f, 0.6f), rounded = square;
  rounded.cornerRadius = 1.0f; // a circle of radius 30
  EXPECT_LT(MaskDistance(c, square, 100, 100, 78, 78), 0);
  EXPECT_GT(MaskDistance(c, rounded, 100, 100, 78, 78), 0);
  EXPECT_LT(MaskDistance(c, rounded, 100, 100, 78, 50), 0);
}

TEST(MaskShape, RectangleCornersMakeAFreeQuadrilateral) {
  MaskConfig c = Config("rectangle");
  OrmaMaskShapeBlock s = Shape(0.5f, 0.5f, 0.2f, 0.2f);
  float tl[2] = {0.0f, 0.0f}, tr[2] = {1.0f, 0.0f}, br[2] = {1.0f, 0.5f}, bl[2] = {0.0f, 1.0f};
  std::memcpy(s.topLeft, tl, sizeof tl);
  std::memcpy(s.topRight, tr, sizeof tr);
  std::memcpy(s.bottomRight, br, sizeof br);
  std::memcpy(s.bottomLeft, bl, sizeof bl);
  EXPECT_LT(MaskDistance(c, s, 100, 100, 10, 90), 0); // inside the quadrilateral
  EXPECT_GT(MaskDistance(c, s, 100, 100, 90, 90), 0); // below its slanted bottom edge
}

TEST(MaskShape, HeartHasADipBetweenItsLobesAndAPointBelow) {
  MaskConfig c = Config("heart");
  OrmaMaskShapeBlock s = Shape(0.5f, 0.5f, 0.8f, 0.8f); // box 10..90
  EXPECT_GT(MaskDistance(c, s, 100, 100, 50, 12), 0);   // the dip at the top middle
  EXPECT_LT(MaskDistance(c, s, 100, 100, 30, 30), 0);   // a lobe
  EXPECT_LT(MaskDistance(c, s, 100, 100, 50, 85), 0);   // near the tip
  EXPECT_GT(MaskDistance(c, s, 100, 100, 20, 85), 0);   // beside the tip
}

TEST(MaskShape, StarHasPointsAndNotches) {
  MaskConfig c = Config("star");
  OrmaMaskShapeBlock s = Shape(0.5f, 0.5f, 0.8f, 0.8f);
  EXPECT_LT(MaskDistance(c, s, 100, 100, 50, 14), 0); // the top point
  // Between the top point and the next one, at the outer radius.
  EXPECT_GT(MaskDistance(c, s, 100, 100, 50 + 40 * std::sin(0.6283f), 50 - 40 * std::cos(0.6283f)), 0);
}

TEST(MaskShape, LinearKeepsTheSideBelowItsTurnedLine) {
  MaskConfig c = Config("linear");
  OrmaMaskShapeBlock s = Shape(0.5f, 0.5f, 0.5f, 0.5f);
  EXPECT_LT(MaskDistance(c, s, 100, 100, 50, 80), 0);
  EXPECT_GT(MaskDistance(c, s, 100, 100, 50, 20), 0);
  s.degrees = 90; // the kept side is now on the left
  EXPECT_LT(MaskDistance(c, s, 100, 100, 20, 50), 0);
  EXPECT_GT(MaskDistance(c, s, 100, 100, 80, 50), 0);
  s.degrees = 0;
  s.distance = 0.4f; // the line moved down to y = 90
  EXPECT_GT(MaskDistance(c, s, 100, 100, 50, 80), 0);
}

TEST(MaskShape, RenderedMaskFeathersInvertsAndDrawsItsEdge) {
  MaskConfig c = Config("circle");
  OrmaMaskShapeBlock s = Shape(0.5f, 0.5f, 0.5f, 0.5f);
  MaskRaster hard, soft, inverted, edged;
  RenderMask(c, s, 64, 64, &hard);
  EXPECT_EQ(At(hard, 32, 32), 255);
  EXPECT_EQ(At(hard, 2, 2), 0);
  s.featherStep = 0.2f;
  RenderMask(c, s, 64, 64, &soft);
  int border = At(soft, 48, 32);
  EXPECT_GT(border, 40);
  EXPECT_LT(border, 215);
  s.featherStep = 0;
  s.invert = 1;
  RenderMask(c, s, 64, 64, &inverted);
  EXPECT_EQ(At(inverted, 32, 32), 0);
  EXPECT_EQ(At(inverted, 2, 2), 255);
  s.invert = 0;
  s.edgeSize = 0.1f;
  s.edgeColor[0] = 1;
  s.edgeColor[3] = 1;
  RenderMask(c, s, 64, 64, &edged);
  ASSERT_FALSE(edged.edge.empty());
  EXPECT_EQ(edged.edge[32 * 64 + 48], 255);
  EXPECT_EQ(edged.edge[32 * 64 + 32], 0);
}

TEST(MaskShape, AppliedMaskCutsTheAlphaAndPaintsTheEdge) {
  Picture p(64, 64, true);
  testpic::FillRgb(p.view(), 0, 0, 1);
  for (int y = 0; y < 64; ++y)
    std::memset(p.view().p[3] + y * p.view().s[3], 255, 64);
  MaskConfig c = Config("circle");
  OrmaMaskShapeBlock s = Shape(0.5f, 0.5f, 0.5f, 0.5f);
  s.edgeSize = 0.1f;
  s.edgeColor[0] = 1;
  s.edgeColor[3] = 1;
  MaskRaster r;
  RenderMask(c, s, 64, 64, &r);
  ApplyMask(p.view(), r, 601);
  EXPECT_EQ(testpic::Alpha(p.view(), 2, 2), 0);
  EXPECT_EQ(testpic::Alpha(p.view(), 32, 32), 255);
  EXPECT_EQ(testpic::Alpha(p.view(), 48, 32), 255); // the edge line shows
  EXPECT_TRUE(testpic::Near(testpic::At(p.view(), 48, 32), {255, 0, 0}, 20))
      << testpic::Text(testpic::At(p.view(), 48, 32));
}

// An opaque picture whose alpha plane was never filled takes the mask's
// alpha as its own: the same picture as filling the plane and applying the
// mask, with and without an edge line.
TEST(MaskShape, AnOpaquePictureTakesTheMasksAlphaWhateverItsPlaneHeld) {
  for (float edge : {0.0f, 0.1f}) {
    MaskConfig c = Config("circle");
    OrmaMaskShapeBlock s = Shape(0.5f, 0.5f, 0.5f, 0.5f);
    s.featherStep = 0.2f;
    s.edgeSize = edge;
    s.edgeColor[0] = 1;
    s.edgeColor[3] = 1;
    MaskRaster r;
    RenderMask(c, s, 64, 64, &r);
    Picture filled(64, 64, true), unfilled(64, 64, true);
    for (Picture* p : {&filled, &unfilled})
      testpic::FillRgb(p->view(), 0.2f, 0.6f, 0.9f);
    for (int y = 0; y < 64; ++y) {
      std::memset(filled.view().p[3] + y * filled.view().s[3], 255, 64);
      std::memset(unfilled.view().p[3] + y * unfilled.view().s[3], 77, 64); // left over
    }
    ApplyMask(filled.view(), r, 601);
    ApplyMask(unfilled.view(), r, 601, true);
    for (int p = 0; p < 4; ++p) {
      int w = p == 1 || p == 2 ? 32 : 64;
      for (int y = 0; y < w; ++y)
        ASSERT_EQ(std::memcmp(filled.view().p[p] + y * filled.view().s[p],
                              unfilled.view().p[p] + y * unfilled.view().s[p], w),
                  0)
            << "edge " << edge << ", plane " << p << ", row " << y;
    }
  }
}

TEST(MaskShape, AnEmptyBlockTakesTheConfigsDefaults) {
  MaskConfig c = Config("star");
  c.width = 0.3f;
  c.height = 0.4f;
  OrmaMaskShapeBlock s = EffectiveShape(c, OrmaMaskShapeBlock{});
  EXPECT_FLOAT_EQ(s.centerX, 0.5f);
  EXPECT_FLOAT_EQ(s.width, 0.3f);
  EXPECT_FLOAT_EQ(s.height, 0.4f);
  OrmaMaskShapeBlock placed = Shape(0.2f, 0.3f, 0, 0);
  s = EffectiveShape(c, placed);
  EXPECT_FLOAT_EQ(s.centerX, 0.2f);
  EXPECT_FLOAT_EQ(s.width, 0.3f);
}

TEST(MaskShape, KeyFramesInterpolateEveryFieldAndSwitchInversionAtTheLaterOne) {
  OrmaMaskKeyFrameBlock a, b;
  std::memset(&a, 0, sizeof a);
  std::memset(&b, 0, sizeof b);
  a.atTimeUs = 0;
  b.atTimeUs = 2000000;
  a.shape = Shape(0.2f, 0.5f, 0.2f, 0.2f);
  b.shape = Shape(0.8f, 0.5f, 0.4f, 0.2f);
  b.shape.degrees = 90;
  b.shape.invert = 1;
  OrmaMaskShapeBlock s = ShapeAt({a, b}, 1000000);
  EXPECT_FLOAT_EQ(s.centerX, 0.5f);
  EXPECT_FLOAT_EQ(s.width, 0.3f);
  EXPECT_FLOAT_EQ(s.degrees, 45.0f);
  EXPECT_EQ(s.invert, 0);
  EXPECT_EQ(ShapeAt({a, b}, 3000000).invert, 1);
  EXPECT_FLOAT_EQ(ShapeAt({a, b}, -5).centerX, 0.2f);
}

TEST(MaskConfigFile, ShapeIsRequiredAndChecked) {
  MaskConfig c;
  std::string error;
  EXPECT_TRUE(ParseMaskConfig(R"({"shape": "Heart", "width": 0.4})", "m/config.json", &c, &error)) << error;
  EXPECT_EQ(c.shape, "heart");
  EXPECT_FALSE(ParseMaskConfig(R"({"width": 0.4})", "m/config.json", &c, &error));
  EXPECT_NE(error.find("m/config.json: \"shape\" is required"), std::string::npos) << error;
  EXPECT_FALSE(ParseMaskConfig(R"({"shape": "blob"})", "m/config.json", &c, &error));
  EXPECT_FALSE(ParseMaskConfig(R"({"shape": "star", "points": 2})", "m/config.json", &c, &error));
}

// The steps before a still mask may skip what the mask hides: the placed
// item must come out the same, code for code.
TEST(MaskShape, StepsLimitedToTheVisibleSpansGiveTheSamePlacedItem) {
  const int w = 96, h = 64;
  MaskConfig c = Config("circle");
  OrmaMaskShapeBlock s = Shape(0.45f, 0.55f, 0.6f, 0.7f);
  s.featherStep = 0.1f;
  MaskRaster mask;
  RenderMask(c, s, w, h, &mask);
  RowSpans spans = SpansOfCoverage(mask.alpha.data(), nullptr, w, w, h, 8);
  long covered = 0;
  for (size_t r = 0; r < spans.lo.size(); ++r)
    covered += spans.hi[r] - spans.lo[r];
  ASSERT_LT(covered, static_cast<long>(w) * h / 2); // something is skipped

  ColorLevels levels;
  levels.saturation = 40;
  levels.contrast = 20;
  auto table = ColorTable::Build(levels, nullptr, 0, 709);
  ASSERT_TRUE(table);
  Picture canvas[2] = {Picture(110, 80, false), Picture(110, 80, false)};
  for (int k = 0; k < 2; ++k) {
    const RowSpans* limit = k ? &spans : nullptr;
    Picture item(w, h, true);
    Yuv v = item.view();
    uint32_t seed = 3;
    for (int p = 0; p < 4; ++p) {
      int pw = p == 1 || p == 2 ? w / 2 : w, ph = p == 1 || p == 2 ? h / 2 : h;
      for (int y = 0; y < ph; ++y)
        for (int x = 0; x < pw; ++x) {
          seed = seed * 1664525u + 1013904223u;
          v.p[p][y * v.s[p] + x] = p == 3 ? 255 : static_cast<uint8_t>(seed >> 24);
        }
    }
    table->Apply(v, limit);
    Sharpen(v, 0.5f, limit);
    Vignette(v, 0.6f, limit);
    AddGrain(v, 0.4f, 17, limit);
    ApplyMask(v, mask, 709);
    testpic::FillRgb(canvas[k].view(), 0, 0, 0);
    Placement place;
    place.a = 1.07f;
    place.d = 1.07f;
    place.tx = 3.3f;
    place.ty = 1.6f;
    Compose(canvas[k].view(), v, place, 1.0f, 0, 709);
  }
  for (int p = 0; p < 3; ++p) {
    int pw = p ? 55 : 110, ph = p ? 40 : 80;
    for (int y = 0; y < ph; ++y)
      ASSERT_EQ(std::memcmp(canvas[0].view().p[p] + y * canvas[0].view().s[p],
                            canvas[1].view().p[p] + y * canvas[1].view().s[p], pw),
                0)
          << "plane " << p << " row " << y;
  }
}
