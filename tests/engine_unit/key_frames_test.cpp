#include <gtest/gtest.h>

#include <cstring>

#include "engine/core/easing.h"
#include "engine/look/key_frames.h"

using namespace orma;

namespace {
OrmaKeyFrameBlock Key(int64_t us, float left, float opacity) {
  OrmaKeyFrameBlock k;
  std::memset(&k, 0, sizeof k);
  k.atTimeUs = us;
  k.showRect[0] = left;
  k.showRect[1] = 0;
  k.showRect[2] = left + 100;
  k.showRect[3] = 50;
  k.opacity = opacity;
  return k;
}
} // namespace

TEST(KeyFrames, RectanglesAndOpacityAreInterpolated) {
  KeyFrameTrack t({Key(0, 0, 0.0f), Key(1000000, 200, 1.0f)}, 320, 180);
  EXPECT_TRUE(t.AnimatesShow());
  EXPECT_TRUE(t.AnimatesOpacity());
  EXPECT_FALSE(t.AnimatesCrop());
  EXPECT_FALSE(t.AnimatesRotation());
  EXPECT_FALSE(t.AnimatesAnyLevel());
  KeyFrameState s = t.At(500000);
  EXPECT_FLOAT_EQ(s.show[0], 100.0f);
  EXPECT_FLOAT_EQ(s.show[2], 200.0f);
  EXPECT_FLOAT_EQ(s.opacity, 0.5f);
  EXPECT_FLOAT_EQ(t.At(-5).show[0], 0.0f);
  EXPECT_FLOAT_EQ(t.At(5000000).show[0], 200.0f);
  float w, h;
  t.LargestShow(&w, &h);
  EXPECT_FLOAT_EQ(w, 100.0f);
  EXPECT_FLOAT_EQ(h, 50.0f);
}

TEST(KeyFrames, TheLaterKeyFramesTypeEasesTheWayIntoIt) {
  OrmaKeyFrameBlock b = Key(1000000, 100, 1.0f);
  b.type = 2; // ease out
  KeyFrameTrack t({Key(0, 0, 1.0f), b}, 320, 180);
  EXPECT_NEAR(t.At(250000).show[0], 100.0f * Ease(2, 0.25f), 1e-3);
}

TEST(KeyFrames, KeyFramesAreTakenInTimeOrder) {
  KeyFrameTrack t({Key(1000000, 200, 1.0f), Key(0, 0, 1.0f)}, 320, 180);
  EXPECT_FLOAT_EQ(t.At(500000).show[0], 100.0f);
}

TEST(KeyFrames, CropIsAShareOfTheCanvasAndLevelsRound) {
  OrmaKeyFrameBlock a = Key(0, 0, 1.0f), b = Key(1000000, 0, 1.0f);
  b.cropRect[2] = 160;
  b.cropRect[3] = 90;
  a.cropRect[2] = 320;
  a.cropRect[3] = 180;
  a.saturation = -100;
  b.saturation = 0;
  KeyFrameTrack t({a, b}, 320, 180);
  EXPECT_TRUE(t.AnimatesCrop());
  EXPECT_TRUE(t.AnimatesLevel(kLevelSaturation));
  EXPECT_FALSE(t.AnimatesLevel(kLevelBrightness));
  KeyFrameState s = t.At(500000);
  EXPECT_FLOAT_EQ(s.crop[2], 0.75f);
  EXPECT_FLOAT_EQ(s.crop[3], 0.75f);
  EXPECT_EQ(s.levels[kLevelSaturation], -50);
}

TEST(KeyFrames, BlurFadesFromNoBlurWithTheOtherKeysShape) {
  OrmaKeyFrameBlock a = Key(0, 0, 1.0f), b = Key(1000000, 0, 1.0f);
  b.blur.blurType = 1;
  b.blur.intensity = 1.0f;
  b.blur.centerX = 0.25f;
  b.blur.radius = 0.3f;
  KeyFrameTrack t({a, b}, 320, 180);
  ASSERT_TRUE(t.AnimatesBlur());
  KeyFrameState s = t.At(500000);
  EXPECT_EQ(s.blur.type, 1);
  EXPECT_FLOAT_EQ(s.blur.intensity, 0.5f);
  EXPECT_FLOAT_EQ(s.blur.centerX, 0.25f);
  EXPECT_FLOAT_EQ(s.blur.radius, 0.3f);
}
