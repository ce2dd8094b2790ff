// Rendering through the core library's API: what ends up in the video.
#include <cmath>
#include <filesystem>
#include <string>

#include "tests/engine/engine_test_support.h"

namespace {

const Rgb kRed{255, 0, 0}, kGreen{0, 255, 0}, kBlue{0, 0, 255}, kBlack{0, 0, 0}, kYellow{255, 255, 0},
    kWhite{255, 255, 255};

std::string Res(const std::string& name) {
  return std::string(ORMA_SOURCE_DIR) + "/resources/transitions/" + name;
}

// Frame index of a time at 25 fps.
int F(double seconds) { return static_cast<int>(std::lround(seconds * 25)); }

#define EXPECT_COLOR(video, frame, x, y, color)                                                              \
  EXPECT_PRED2(Close, (video).At((frame), (x), (y)), (color))                                                \
      << "frame " << (frame) << " at " << (x) << "," << (y) << " is "                                        \
      << ToString((video).At((frame), (x), (y)))

class EngineRender : public EngineTest {};

TEST_F(EngineRender, ScenesPlayInOrderWithTheRequestedStreams) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "red.mp4");
  AddScene(vv, 1, 2, "blue.mp4");
  AddScene(vv, 2, 3, "green.mp4");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_EQ(v.videoCodec, "h264");
  EXPECT_EQ(v.audioCodec, "aac");
  EXPECT_EQ(v.width, 320);
  EXPECT_EQ(v.height, 180);
  EXPECT_EQ(v.fpsNum, 25);
  EXPECT_EQ(v.fpsDen, 1);
  EXPECT_NEAR(v.durationSeconds, 3.0, 1.0 / 25);
  EXPECT_NEAR(v.FrameCount(), 75, 1);
  EXPECT_COLOR(v, F(0.5), 0.5, 0.5, kRed);
  EXPECT_COLOR(v, F(1.5), 0.5, 0.5, kBlue);
  EXPECT_COLOR(v, F(2.5), 0.5, 0.5, kGreen);
  EXPECT_COLOR(v, F(1.0), 0.5, 0.5, kBlue); // a scene starts exactly at its first frame
  EXPECT_COLOR(v, F(1.0) - 1, 0.5, 0.5, kRed);
}

TEST_F(EngineRender, FrameRateIsKeptAsAnExactRational) {
  OrmaVideoHandle vv = NewVideo(29.97);
  AddScene(vv, 0, 1, "red.mp4");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_EQ(v.fpsNum, 30000);
  EXPECT_EQ(v.fpsDen, 1001);
  EXPECT_NEAR(v.durationSeconds, 1.0, 1001.0 / 30000);
  EXPECT_EQ(v.FrameCount(), 30);
}

struct RateCase {
  double fps;
  int num, den, framesInTwoSeconds;
};

class EngineFrameRate : public EngineTest, public ::testing::WithParamInterface<RateCase> {};

TEST_P(EngineFrameRate, RateIsWrittenAsItsExactRational) {
  const RateCase& c = GetParam();
  OrmaVideoHandle vv = NewVideo(c.fps);
  AddScene(vv, 0, 2, "red.mp4");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_EQ(v.fpsNum, c.num);
  EXPECT_EQ(v.fpsDen, c.den);
  EXPECT_EQ(v.FrameCount(), c.framesInTwoSeconds);
  EXPECT_NEAR(v.durationSeconds, 2.0, static_cast<double>(c.den) / c.num);
}

INSTANTIATE_TEST_SUITE_P(Rates, EngineFrameRate,
                         ::testing::Values(RateCase{23.976, 24000, 1001, 48}, RateCase{30.0, 30, 1, 60},
                                           RateCase{59.94, 60000, 1001, 120}, RateCase{12.5, 25, 2, 25}),
                         [](const ::testing::TestParamInfo<RateCase>& info) {
                           return std::to_string(info.param.num) + "_" + std::to_string(info.param.den);
                         });

TEST_F(EngineRender, ASoundFileInASceneIsHeardBehindThePicture) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle picture = nullptr;
  OrmaSceneHandle s = AddScene(vv, 0, 1, "yellow.jpg", &picture);
  OrmaMediaHandle tone = OrmaSceneCreateMedia(Media("tone.mp3").c_str());
  ASSERT_NE(tone, nullptr);
  ASSERT_EQ(OrmaSceneAddMediaHandle(s, tone), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.5, 0.5, kYellow);
  EXPECT_GT(v.Rms(0.2, 0.8), 0.05);
}

TEST_F(EngineRender, ShowRectanglePlacesTheMediaOnTheCanvas) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 1, "red.mp4", &m);
  float show[4] = {0.5f, 0.5f, 1.0f, 1.0f};
  ASSERT_EQ(OrmaSetMediaShowRect(m, show), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.75, 0.75, kRed);
  EXPECT_COLOR(v, 10, 0.25, 0.25, kBlack);
  EXPECT_COLOR(v, 10, 0.75, 0.25, kBlack);
  EXPECT_COLOR(v, 10, 0.25, 0.75, kBlack);
}

TEST_F(EngineRender, CropRectangleSelectsTheSourceArea) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle right = nullptr, left = nullptr;
  AddScene(vv, 0, 1, "halves.png", &right);
  AddScene(vv, 1, 2, "halves.png", &left);
  float rightHalf[4] = {0.5f, 0.0f, 1.0f, 1.0f}, leftHalf[4] = {0.0f, 0.0f, 0.5f, 1.0f};
  ASSERT_EQ(OrmaSetMediaClip(right, rightHalf), 1);
  ASSERT_EQ(OrmaSetMediaClip(left, leftHalf), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.1, 0.5, kBlue);
  EXPECT_COLOR(v, 10, 0.9, 0.5, kBlue);
  EXPECT_COLOR(v, 35, 0.1, 0.5, kRed);
  EXPECT_COLOR(v, 35, 0.9, 0.5, kRed);
}

TEST_F(EngineRender, AllZeroRectanglesMeanTheWholeFrame) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 1, "halves.png", &m);
  float zero[4] = {0, 0, 0, 0};
  ASSERT_EQ(OrmaSetMediaClip(m, zero), 1);
  ASSERT_EQ(OrmaSetMediaShowRect(m, zero), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.1, 0.5, kRed);
  EXPECT_COLOR(v, 10, 0.9, 0.5, kBlue);
}

TEST_F(EngineRender, ColourBackgroundFillsWhatTheMediaLeaveUncovered) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  OrmaSceneHandle s = AddScene(vv, 0, 1, "red.mp4", &m);
  float show[4] = {0.25f, 0.25f, 0.75f, 0.75f};
  ASSERT_EQ(OrmaSetMediaShowRect(m, show), 1);
  float blue[4] = {0, 0, 1, 1};
  ASSERT_EQ(OrmaSetSceneBackGroundColor(s, blue), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.5, 0.5, kRed);
  EXPECT_COLOR(v, 10, 0.05, 0.05, kBlue);
  EXPECT_COLOR(v, 10, 0.95, 0.95, kBlue);
}

TEST_F(EngineRender, WithoutBackgroundTheUncoveredAreaIsBlack) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  OrmaSceneHandle s = AddScene(vv, 0, 1, "red.mp4", &m);
  float show[4] = {0.25f, 0.25f, 0.75f, 0.75f};
  ASSERT_EQ(OrmaSetMediaShowRect(m, show), 1);
  ASSERT_EQ(OrmaSetSceneBackGroundGaussBlur(s, 0.0f), 1); // what a draft without blur passes
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.5, 0.5, kRed);
  EXPECT_COLOR(v, 10, 0.05, 0.05, kBlack);
}

TEST_F(EngineRender, PictureBackgroundIsScaledToCoverTheCanvas) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  OrmaSceneHandle s = AddScene(vv, 0, 1, "white.bmp", &m);
  float show[4] = {0.4f, 0.4f, 0.6f, 0.6f};
  ASSERT_EQ(OrmaSetMediaShowRect(m, show), 1);
  // Four quarters twice as wide as the canvas: covering keeps the middle two.
  ASSERT_EQ(OrmaSetSceneBackGroundImage(s, Media("quarters.png").c_str()), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.5, 0.5, kWhite);
  EXPECT_COLOR(v, 10, 0.1, 0.5, kGreen);
  EXPECT_COLOR(v, 10, 0.9, 0.5, kBlue);
}

TEST_F(EngineRender, BlurredBackgroundIsACopyOfTheSceneMedia) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  OrmaSceneHandle s = AddScene(vv, 0, 1, "halves.png", &m);
  float show[4] = {0.3f, 0.3f, 0.7f, 0.7f};
  ASSERT_EQ(OrmaSetMediaShowRect(m, show), 1);
  ASSERT_EQ(OrmaSetSceneBackGroundGaussBlur(s, 1.0f), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.02, 0.5, kRed);
  EXPECT_COLOR(v, 10, 0.98, 0.5, kBlue);
  // Blurred across the middle: a mix of both near the centre line.
  Rgb middle = v.At(10, 0.5, 0.1);
  EXPECT_GT(middle.r, 60);
  EXPECT_GT(middle.b, 60);
}

TEST_F(EngineRender, PicturesOfEveryKindRender) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "yellow.jpg");
  AddScene(vv, 1, 2, "white.bmp");
  AddScene(vv, 2, 3, "big.jpg");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.5, 0.5, kYellow);
  EXPECT_COLOR(v, 35, 0.5, 0.5, kWhite);
  EXPECT_COLOR(v, 60, 0.5, 0.5, (Rgb{0, 255, 255}));
}

TEST_F(EngineRender, LargeJpegPicturesWorkAsBackgrounds) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  OrmaSceneHandle s = AddScene(vv, 0, 1, "white.bmp", &m);
  float show[4] = {0.4f, 0.4f, 0.6f, 0.6f};
  ASSERT_EQ(OrmaSetMediaShowRect(m, show), 1);
  ASSERT_EQ(OrmaSetSceneBackGroundImage(s, Media("big.jpg").c_str()), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.1, 0.1, (Rgb{0, 255, 255}));
}

TEST_F(EngineRender, AShortVideoHoldsItsLastFrame) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "redgreen.mp4"); // one second of red then green
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_EQ(v.FrameCount(), 50);
  EXPECT_COLOR(v, 5, 0.5, 0.5, kRed);
  EXPECT_COLOR(v, 20, 0.5, 0.5, kGreen);
  EXPECT_COLOR(v, 45, 0.5, 0.5, kGreen);
}

TEST_F(EngineRender, TrimStartSkipsSourceMaterial) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 0.5, "redgreen.mp4", &m);
  ASSERT_EQ(OrmaSetMediaTimeLine(m, 0, kSecond / 2), 1);
  ASSERT_EQ(OrmaSetMediaCutTime(m, kSecond / 2, kSecond), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 1, 0.5, 0.5, kGreen);
}

// Luma of the counter clip's frame n, as decoded back to RGB.
int CounterGrey(int n) { return static_cast<int>(std::lround(3 * n * 255.0 / 219.0)); }

TEST_F(EngineRender, TrimsAreFrameAccurate) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 1, "counter.mp4", &m);
  ASSERT_EQ(OrmaSetMediaCutTime(m, 1200000, 2200000), 1); // from frame 30
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  for (int f : {0, 1, 12, 24})
    EXPECT_NEAR(v.At(f, 0.5, 0.5).g, CounterGrey(30 + f), 4) << "frame " << f;
}

// Encoders with frame threads (raw video, MPEG-4 part 2, FFV1...) read a
// picture on a thread of their own after they were handed it: the picture
// must stay as it was until then, whatever is rendered next.
TEST_F(EngineRender, AnEncoderWithFrameThreadsGetsEveryPictureWhole) {
  OrmaVideoHandle vv = NewVideo(25.0, "out.nut");
  ASSERT_EQ(OrmaSetVideoCodec(vv, "rawvideo"), 1);
  AddScene(vv, 0, 3, "counter.mp4");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode("out.nut");
  ASSERT_TRUE(v.ok) << v.error;
  ASSERT_EQ(v.FrameCount(), 75);
  DecodedVideo source = DecodeVideo(Media("counter.mp4"));
  ASSERT_TRUE(source.ok) << source.error;
  // Lossless: each picture is its source frame from top to bottom (the next
  // frame is 3 codes of luma brighter).
  for (int f = 0; f < 75; ++f)
    for (double y : {0.02, 0.3, 0.6, 0.98})
      ASSERT_NEAR(v.At(f, 0.5, y).g, source.At(f, 0.5, y).g, 1) << "frame " << f << " at height " << y;
}

TEST_F(EngineRender, ManyShortScenesCutBetweenPositionsFrameAccurately) {
  // Two "cameras" on the same clip, five frames apart, cut every 3 frames
  // over 2 seconds (as a multi-camera edit does).
  OrmaVideoHandle vv = NewVideo();
  const int kScenes = 16, kLength = 3;
  for (int k = 0; k < kScenes; ++k) {
    OrmaMediaHandle m = nullptr;
    double from = k * kLength / 25.0, to = (k + 1) * kLength / 25.0;
    AddScene(vv, from, to, "counter.mp4", &m);
    int64_t trim = (k * kLength + (k % 2 ? 5 : 0)) * 40000;
    ASSERT_EQ(OrmaSetMediaTimeLine(m, 0, kLength * 40000), 1);
    ASSERT_EQ(OrmaSetMediaCutTime(m, trim, trim + kLength * 40000), 1);
  }
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_EQ(v.FrameCount(), kScenes * kLength);
  for (int f = 0; f < kScenes * kLength; ++f) {
    int camera = (f / kLength) % 2;
    EXPECT_NEAR(v.At(f, 0.5, 0.5).g, CounterGrey(f + (camera ? 5 : 0)), 4) << "frame " << f;
  }
}

// Phones store what they film sideways and say how to turn it: the clip is
// shown as players show it.
TEST_F(EngineRender, AClipFilmedSidewaysIsShownUpright) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "sideways.mp4");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_COLOR(v, F(0.5), 0.2, 0.2, kBlue);
  EXPECT_COLOR(v, F(0.5), 0.8, 0.2, kBlue);
  EXPECT_COLOR(v, F(0.5), 0.2, 0.8, kRed);
  EXPECT_COLOR(v, F(0.5), 0.8, 0.8, kRed);
}

TEST_F(EngineRender, MirroringFlipsTheMedia) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 1, "halves.png", &m);
  ASSERT_EQ(OrmaSetMediaFlip(m, 1), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.1, 0.5, kBlue);
  EXPECT_COLOR(v, 10, 0.9, 0.5, kRed);
}

TEST_F(EngineRender, GapsBetweenScenesAreBlack) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "red.mp4");
  AddScene(vv, 2, 3, "blue.mp4");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_NEAR(v.FrameCount(), 75, 1);
  EXPECT_COLOR(v, F(1.5), 0.5, 0.5, kBlack);
  EXPECT_COLOR(v, F(2.5), 0.5, 0.5, kBlue);
}

TEST_F(EngineRender, DissolveMidpointBlendsBothScenesAndKeepsTheLength) {
  OrmaVideoHandle vv = NewVideo();
  OrmaSceneHandle a = AddScene(vv, 0, 1, "red.mp4");
  AddScene(vv, 1, 2, "blue.mp4");
  ASSERT_EQ(OrmaSetSceneTransitionMode(vv, a, 3), 1);
  ASSERT_EQ(OrmaSetSceneTransition(vv, a, Res("dissolve/config.json").c_str(), 800000), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_EQ(v.FrameCount(), 50);
  EXPECT_COLOR(v, 10, 0.5, 0.5, kRed);  // before the transition (15..34)
  EXPECT_COLOR(v, 40, 0.5, 0.5, kBlue); // after it
  Rgb mid = v.At(25, 0.5, 0.5);
  EXPECT_NEAR(mid.r, 128, 30) << ToString(mid);
  EXPECT_NEAR(mid.b, 128, 30) << ToString(mid);
  EXPECT_LT(mid.g, 30);
}

TEST_F(EngineRender, LumaWipeMovesAcrossTheFrame) {
  OrmaVideoHandle vv = NewVideo();
  OrmaSceneHandle a = AddScene(vv, 0, 1, "red.mp4");
  AddScene(vv, 1, 2, "blue.mp4");
  ASSERT_EQ(OrmaSetSceneTransitionMode(vv, a, 3), 1);
  // Dark top-left switches first, light bottom-right last.
  ASSERT_EQ(OrmaSetSceneTransition(vv, a, Res("luma-diagonal/diagonal.png").c_str(), kSecond), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  // The transition covers frames 13..36.
  EXPECT_COLOR(v, 16, 0.02, 0.02, kBlue);
  EXPECT_COLOR(v, 16, 0.5, 0.5, kRed);
  EXPECT_COLOR(v, 16, 0.98, 0.98, kRed);
  EXPECT_COLOR(v, 33, 0.02, 0.02, kBlue);
  EXPECT_COLOR(v, 33, 0.5, 0.5, kBlue);
  EXPECT_COLOR(v, 33, 0.98, 0.98, kRed);
}

// Each transition makes its map when it begins and lets it go when it
// ends; a later one with the same map wipes just the same.
TEST_F(EngineRender, EveryLumaWipeOfATimelineMovesAcrossTheFrame) {
  OrmaVideoHandle vv = NewVideo();
  OrmaSceneHandle a = AddScene(vv, 0, 1, "red.mp4");
  OrmaSceneHandle b = AddScene(vv, 1, 2, "blue.mp4");
  AddScene(vv, 2, 3, "green.mp4");
  for (OrmaSceneHandle s : {a, b}) {
    ASSERT_EQ(OrmaSetSceneTransitionMode(vv, s, 3), 1);
    ASSERT_EQ(OrmaSetSceneTransition(vv, s, Res("luma-diagonal/diagonal.png").c_str(), kSecond), 1);
  }
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  // The transitions cover frames 13..36 and 38..61.
  EXPECT_COLOR(v, 33, 0.02, 0.02, kBlue);
  EXPECT_COLOR(v, 33, 0.98, 0.98, kRed);
  EXPECT_COLOR(v, 37, 0.5, 0.5, kBlue);
  EXPECT_COLOR(v, 58, 0.02, 0.02, kGreen);
  EXPECT_COLOR(v, 58, 0.98, 0.98, kBlue);
}

TEST_F(EngineRender, ALumaMapGoneBeforeTheExportEndsItAtTheBuild) {
  std::filesystem::copy_file(Res("luma-diagonal/diagonal.png"), Path("map.png"));
  OrmaVideoHandle vv = NewVideo();
  OrmaSceneHandle a = AddScene(vv, 0, 1, "red.mp4");
  AddScene(vv, 1, 2, "blue.mp4");
  ASSERT_EQ(OrmaSetSceneTransitionMode(vv, a, 3), 1);
  ASSERT_EQ(OrmaSetSceneTransition(vv, a, Path("map.png").c_str(), kSecond), 1);
  std::filesystem::remove(Path("map.png"));
  EXPECT_EQ(Export(vv), -27);
  EXPECT_FALSE(FileExists(Path("out.mp4")));
}

// Red to blue through a built-in transition, looking at its midpoint.
struct BuiltIn {
  const char* folder;
  double x1, y1;
  Rgb c1; // a point that shows c1 at the midpoint
  double x2, y2;
  Rgb c2; // and one that shows c2
};

class EngineBuiltInTransition : public EngineTest, public ::testing::WithParamInterface<BuiltIn> {};

TEST_P(EngineBuiltInTransition, MidpointShowsBothScenes) {
  const BuiltIn& t = GetParam();
  OrmaVideoHandle vv = NewVideo();
  OrmaSceneHandle a = AddScene(vv, 0, 1, "red.mp4");
  AddScene(vv, 1, 2, "blue.mp4");
  ASSERT_EQ(OrmaSetSceneTransitionMode(vv, a, 3), 1);
  ASSERT_EQ(OrmaSetSceneTransition(vv, a, Res(std::string(t.folder) + "/config.json").c_str(), kSecond), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_EQ(v.FrameCount(), 50);
  EXPECT_COLOR(v, 5, 0.5, 0.5, kRed);
  EXPECT_COLOR(v, 45, 0.5, 0.5, kBlue);
  EXPECT_COLOR(v, 25, t.x1, t.y1, t.c1);
  EXPECT_COLOR(v, 25, t.x2, t.y2, t.c2);
}

const Rgb kPurple{128, 0, 128};

INSTANTIATE_TEST_SUITE_P(Resources, EngineBuiltInTransition,
                         ::testing::Values(BuiltIn{"wipe-right", 0.1, 0.5, kBlue, 0.9, 0.5, kRed},
                                           BuiltIn{"wipe-left", 0.1, 0.5, kRed, 0.9, 0.5, kBlue},
                                           BuiltIn{"wipe-down", 0.5, 0.1, kBlue, 0.5, 0.9, kRed},
                                           BuiltIn{"wipe-up", 0.5, 0.1, kRed, 0.5, 0.9, kBlue},
                                           BuiltIn{"slide-left", 0.1, 0.5, kRed, 0.9, 0.5, kBlue},
                                           BuiltIn{"slide-up", 0.5, 0.1, kRed, 0.5, 0.9, kBlue},
                                           BuiltIn{"push-left", 0.1, 0.5, kRed, 0.9, 0.5, kBlue},
                                           BuiltIn{"push-right", 0.1, 0.5, kBlue, 0.9, 0.5, kRed},
                                           BuiltIn{"circle-open", 0.5, 0.5, kBlue, 0.02, 0.02, kRed},
                                           BuiltIn{"circle-close", 0.5, 0.5, kRed, 0.02, 0.02, kBlue},
                                           BuiltIn{"zoom-in", 0.5, 0.5, kPurple, 0.1, 0.1, kPurple},
                                           BuiltIn{"zoom-out", 0.5, 0.5, kPurple, 0.9, 0.9, kPurple},
                                           BuiltIn{"luma-clock", 0.75, 0.25, kBlue, 0.25, 0.25, kRed},
                                           BuiltIn{"luma-blinds", 0.01, 0.5, kBlue, 0.12, 0.5, kRed}),
                         [](const ::testing::TestParamInfo<BuiltIn>& info) {
                           std::string name = info.param.folder;
                           for (char& c : name)
                             if (c == '-') c = '_';
                           return name;
                         });

TEST_F(EngineRender, TransitionNeedsModeThreeFirst) {
  OrmaVideoHandle vv = NewVideo();
  OrmaSceneHandle a = AddScene(vv, 0, 1, "red.mp4");
  EXPECT_LT(OrmaSetSceneTransition(vv, a, Res("dissolve/config.json").c_str(), kSecond), 1);
  EXPECT_LT(OrmaSetSceneTransitionMode(vv, a, 2), 1);
  EXPECT_EQ(OrmaSetSceneTransitionMode(vv, a, 3), 1);
  EXPECT_EQ(OrmaSetSceneTransition(vv, a, Res("dissolve/config.json").c_str(), kSecond), 1);
}

TEST_F(EngineRender, UnknownTransitionConfigurationIsRefused) {
  OrmaVideoHandle vv = NewVideo();
  OrmaSceneHandle a = AddScene(vv, 0, 1, "red.mp4");
  ASSERT_EQ(OrmaSetSceneTransitionMode(vv, a, 3), 1);
  WriteFile(Path("config.json"), R"({"transition": "spin"})");
  EXPECT_LT(OrmaSetSceneTransition(vv, a, Path("config.json").c_str(), kSecond), 1);
  WriteFile(Path("bad.json"), R"({"transition": "wipe", "direction": "sideways"})");
  EXPECT_LT(OrmaSetSceneTransition(vv, a, Path("bad.json").c_str(), kSecond), 1);
  EXPECT_LT(OrmaSetSceneTransition(vv, a, Path("missing.json").c_str(), kSecond), 1);
}

TEST_F(EngineRender, SoundIsMixedWithTheVolumeFactor) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle loud = nullptr, half = nullptr, muted = nullptr;
  AddScene(vv, 0, 1, "red.mp4", &loud);
  AddScene(vv, 1, 2, "red.mp4", &half);
  AddScene(vv, 2, 3, "blue.mp4", &muted);
  ASSERT_EQ(OrmaSetMediaAudioFactor(loud, 1.0f), 1);
  ASSERT_EQ(OrmaSetMediaAudioFactor(half, 0.5f), 1);
  ASSERT_EQ(OrmaSetMediaAudioFactor(muted, 0.0f), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_EQ(v.audioCodec, "aac");
  double full = v.Rms(0.2, 0.8), halfRms = v.Rms(1.2, 1.8), silent = v.Rms(2.2, 2.8);
  EXPECT_GT(full, 0.05);
  EXPECT_NEAR(halfRms / full, 0.5, 0.1);
  EXPECT_LT(silent, 0.002);
}

TEST_F(EngineRender, PicturesAndSilentClipsGiveSilence) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "green.mp4");
  AddScene(vv, 1, 2, "white.bmp");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_EQ(v.audioCodec, "aac");
  EXPECT_LT(v.Rms(0.1, 1.9), 0.002);
}

TEST_F(EngineRender, LimitTimeRendersOnlyThatRange) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "red.mp4");
  AddScene(vv, 1, 2, "blue.mp4");
  AddScene(vv, 2, 3, "green.mp4");
  ASSERT_EQ(OrmaEditSetLimitTime(vv, kSecond, 2 * kSecond), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_EQ(v.FrameCount(), 25);
  EXPECT_NEAR(v.durationSeconds, 1.0, 1.0 / 25);
  EXPECT_COLOR(v, 0, 0.5, 0.5, kBlue);
  EXPECT_COLOR(v, 24, 0.5, 0.5, kBlue);
}

TEST_F(EngineRender, NeutralAttributesRenderUnchanged) {
  auto render = [&](const std::string& out, bool attributes) {
    OrmaVideoHandle vv = NewVideo(25.0, out);
    OrmaMediaHandle m = nullptr;
    AddScene(vv, 0, 1, "halves.png", &m);
    if (attributes) {
      EXPECT_EQ(OrmaSetMediaFlip(m, 0), 1);
      EXPECT_EQ(OrmaSetMediaAudioFactor(m, 1.0f), 1);
      EXPECT_EQ(OrmaSetMediaAudioEffect(m, 0), 1);
      EXPECT_EQ(OrmaSetMediaAudioNsLevel(m, 0), 1);
      for (auto set : {OrmaSetMediaVignette, OrmaSetMediaSharp, OrmaSetMediaSaturation, OrmaSetMediaContrast,
                       OrmaSetMediaBright, OrmaSetMediaWhiteBalance, OrmaSetMediaTint, OrmaSetMediaHighlight,
                       OrmaSetMediaShadow, OrmaSetMediaGraininess, OrmaSetMediaLightSensation,
                       OrmaSetMediaFade, OrmaSetMediaBlendMode, OrmaSetMediaBeautyBlurIntensity})
        EXPECT_EQ(set(m, 0), 1);
      EXPECT_EQ(OrmaSetMediaTransparency(m, 1.0), 1);
      EXPECT_EQ(OrmaSetMediaAnimationAngle(m, 0), 1);
      EXPECT_EQ(OrmaSetMediaPlaySpeed(m, 1.0), 1);
      float zero[4] = {0, 0, 0, 0}, whole[4] = {0, 0, 1, 1};
      EXPECT_EQ(OrmaSetMediaClip(m, zero), 1);
      EXPECT_EQ(OrmaSetMediaShowRect(m, whole), 1);
      OrmaBlurBlock blur{};
      EXPECT_EQ(OrmaSetMediaBlur(m, &blur), 1);
    }
    EXPECT_EQ(Export(vv), 1);
    return Decode(out);
  };
  DecodedVideo plain = render("plain.mp4", false), neutral = render("neutral.mp4", true);
  ASSERT_EQ(plain.FrameCount(), neutral.FrameCount());
  for (double x : {0.1, 0.4, 0.6, 0.9})
    for (double y : {0.1, 0.5, 0.9})
      EXPECT_PRED3(Near, plain.At(10, x, y), neutral.At(10, x, y), 2);
}

TEST_F(EngineRender, OddFrameSizesLoseTheirLastColumnAndRow) {
  OrmaVideoHandle vv = NewVideo();
  ASSERT_EQ(OrmaSetFrameSize(vv, 321, 181), 1);
  AddScene(vv, 0, 0.4, "red.mp4");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_EQ(v.width, 320);
  EXPECT_EQ(v.height, 180);
}

TEST_F(EngineRender, ScenesAddedOutOfOrderPlayByTheirTimes) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 1, 2, "blue.mp4");
  AddScene(vv, 0, 1, "red.mp4");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.5, 0.5, kRed);
  EXPECT_COLOR(v, 35, 0.5, 0.5, kBlue);
}

TEST_F(EngineRender, ContainerUsualAudioEncoderReplacesAVideoEncoderName) {
  OrmaVideoHandle vv = NewVideo(25.0, "out.webm");
  ASSERT_EQ(OrmaSetVideoCodec(vv, "libvpx-vp9"), 1);
  ASSERT_EQ(OrmaSetAudioCodec(vv, "libvpx-vp9"), 1);
  AddScene(vv, 0, 0.4, "red.mp4");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode("out.webm");
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_EQ(v.videoCodec, "vp9");
  EXPECT_EQ(v.audioCodec, "opus");
  EXPECT_EQ(v.sampleRate, 48000);
}

} // namespace
