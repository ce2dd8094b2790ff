// Animations and key frames of media items in the rendered video.
#include <cmath>
#include <cstring>
#include <string>

#include "tests/engine/engine_test_support.h"

namespace {

const Rgb kRed{255, 0, 0}, kBlack{0, 0, 0}, kWhite{255, 255, 255};

int F(double seconds) { return static_cast<int>(std::lround(seconds * 25)); }

double Luma(Rgb c) { return 0.299 * c.r + 0.587 * c.g + 0.114 * c.b; }

std::string Animation(const std::string& name) {
  return std::string(ORMA_SOURCE_DIR) + "/resources/animations/" + name + "/config.json";
}

#define EXPECT_COLOR(video, frame, x, y, color)                                                              \
  EXPECT_PRED2(Close, (video).At((frame), (x), (y)), (color))                                                \
      << "frame " << (frame) << " at " << (x) << "," << (y) << " is "                                        \
      << ToString((video).At((frame), (x), (y)))

class EngineMotion : public EngineTest {};

TEST_F(EngineMotion, AnInAnimationStartsTransparentAndEndsOpaque) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 2, "white.bmp", &m);
  ASSERT_EQ(OrmaSetMediaAnimation(m, Animation("fade-in").c_str(), 0, 0, 1 * kSecond), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_LT(Luma(v.At(0, 0.5, 0.5)), 30);
  double middle = Luma(v.At(F(0.5), 0.5, 0.5));
  EXPECT_GT(middle, 100);
  EXPECT_LT(middle, 245);
  EXPECT_COLOR(v, F(1.2), 0.5, 0.5, kWhite);
  EXPECT_COLOR(v, F(1.9), 0.5, 0.5, kWhite);
}

TEST_F(EngineMotion, AnOutAnimationEndsWithTheItem) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 2, "white.bmp", &m);
  ASSERT_EQ(OrmaSetMediaTimeLine(m, 0, 2 * kSecond), 1);
  // The start given is ignored: the animation ends where the item does.
  ASSERT_EQ(OrmaSetMediaAnimation(m, Animation("fade-out").c_str(), 1, 0, 1 * kSecond), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_COLOR(v, F(0.5), 0.5, 0.5, kWhite);
  EXPECT_LT(Luma(v.At(v.FrameCount() - 1, 0.5, 0.5)), 40);
}

TEST_F(EngineMotion, SlideFromTheLeftEntersFromOffTheCanvas) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 2, "red.mp4", &m);
  ASSERT_EQ(OrmaSetMediaAnimation(m, Animation("slide-from-left").c_str(), 0, 0, 1 * kSecond), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_COLOR(v, 0, 0.5, 0.5, kBlack);
  EXPECT_COLOR(v, F(0.3), 0.1, 0.5, kRed); // the right edge has come in from the left
  EXPECT_COLOR(v, F(0.3), 0.95, 0.5, kBlack);
  EXPECT_COLOR(v, F(1.5), 0.95, 0.5, kRed);
}

TEST_F(EngineMotion, WipeRevealsFromTheLeft) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 2, "white.bmp", &m);
  ASSERT_EQ(OrmaSetMediaAnimation(m, Animation("wipe").c_str(), 0, 0, 2 * kSecond), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_COLOR(v, F(1.0), 0.2, 0.5, kWhite);
  EXPECT_COLOR(v, F(1.0), 0.8, 0.5, kBlack);
}

TEST_F(EngineMotion, ALoopRepeatsEveryCycle) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 2, "white.bmp", &m);
  float show[4] = {0.25f, 0.25f, 0.75f, 0.75f};
  ASSERT_EQ(OrmaSetMediaShowRect(m, show), 1);
  ASSERT_EQ(OrmaSetMediaAnimation(m, Animation("pulse").c_str(), 2, 0, 0), 1);
  ASSERT_EQ(OrmaSetMediaAnimationCycleDuration(m, kSecond / 2), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  // At the middle of each cycle the picture is 8 % larger: just outside its
  // rectangle's edge it is white then, and black at the cycle's start.
  for (double cycle : {0.0, 0.5, 1.0}) {
    EXPECT_COLOR(v, F(cycle), 0.755, 0.5, kBlack) << "cycle at " << cycle;
    EXPECT_COLOR(v, F(cycle + 0.25), 0.76, 0.5, kWhite) << "cycle at " << cycle;
  }
}

TEST_F(EngineMotion, KeyFramesMoveARectangle) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 2, "white.bmp", &m);
  Rect4 from{{0, 0, 80, 46}}, to{{240, 134, 320, 180}};
  OrmaKeyFrameBlock a = KeyFrame(0.0, &from), b = KeyFrame(1.0, &to);
  EXPECT_EQ(OrmaMediaAddKeyFrameAnimation(m, &a), 1);
  EXPECT_EQ(OrmaMediaAddKeyFrameAnimation(m, &b), 2);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_COLOR(v, 0, 0.1, 0.1, kWhite);
  EXPECT_COLOR(v, 0, 0.9, 0.9, kBlack);
  EXPECT_COLOR(v, F(0.5), 0.5, 0.5, kWhite);
  EXPECT_COLOR(v, F(0.5), 0.1, 0.1, kBlack);
  EXPECT_COLOR(v, F(1.5), 0.9, 0.9, kWhite);
  EXPECT_COLOR(v, F(1.5), 0.1, 0.1, kBlack);
}

TEST_F(EngineMotion, KeyFramesAnimateCropRotationAndAdjustments) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 2, "halves.png", &m);
  OrmaKeyFrameBlock a = KeyFrame(0.0), b = KeyFrame(1.0);
  // From the whole picture, grey, to its left half, in colour, turned over.
  float whole[4] = {0, 0, 320, 180}, left[4] = {0, 0, 160, 180};
  std::memcpy(a.cropRect, whole, sizeof whole);
  std::memcpy(b.cropRect, left, sizeof left);
  a.saturation = -100;
  b.saturation = 0;
  a.rotate = 0;
  b.rotate = 180;
  EXPECT_GT(OrmaMediaAddKeyFrameAnimation(m, &a), 0);
  EXPECT_GT(OrmaMediaAddKeyFrameAnimation(m, &b), 0);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  Rgb start = v.At(0, 0.25, 0.5);
  EXPECT_LT(std::abs(start.r - start.b), 12) << ToString(start);
  EXPECT_COLOR(v, F(1.5), 0.25, 0.5, kRed);
  EXPECT_COLOR(v, F(1.5), 0.75, 0.5, kRed);
}

TEST_F(EngineMotion, BrokenAnimationResourcesAreLeftOutAndTheItemStandsStill) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 2, "white.bmp", &m);
  WriteFile(Path("config.json"), R"({"keys": [{"at": 0, "opacity": 3}]})");
  EXPECT_EQ(OrmaSetMediaAnimation(m, Path("config.json").c_str(), 0, 0, kSecond), 1);
  EXPECT_EQ(OrmaSetMediaAnimation(m, Path("missing.json").c_str(), 2, 0, kSecond), 1);
  EXPECT_EQ(OrmaSetMediaAnimationCycleDuration(m, kSecond), 1); // goes with its left-out animation
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 0, 0.5, 0.5, (Rgb{255, 255, 255}));
  EXPECT_COLOR(v, 30, 0.5, 0.5, (Rgb{255, 255, 255}));
}

} // namespace
