// Media attributes as the rendered video shows them: each test sets
// attributes through the API, exports a small video and looks at the
// decoded pixels.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "tests/engine/engine_test_support.h"

namespace {

const Rgb kRed{255, 0, 0}, kBlue{0, 0, 255}, kBlack{0, 0, 0}, kCyan{0, 255, 255}, kMagenta{255, 0, 255},
    kGrey{128, 128, 128};

int F(double seconds) { return static_cast<int>(std::lround(seconds * 25)); }

double Luma(Rgb c) { return 0.299 * c.r + 0.587 * c.g + 0.114 * c.b; }

#define EXPECT_COLOR(video, frame, x, y, color)                                                              \
  EXPECT_PRED2(Close, (video).At((frame), (x), (y)), (color))                                                \
      << "frame " << (frame) << " at " << (x) << "," << (y) << " is "                                        \
      << ToString((video).At((frame), (x), (y)))

class EngineAttributes : public EngineTest {
protected:
  // A second item on a scene, above the first.
  OrmaMediaHandle AddMedia(OrmaSceneHandle scene, const std::string& name) {
    OrmaMediaHandle m = OrmaSceneCreateMedia(Media(name).c_str());
    EXPECT_NE(m, nullptr) << name;
    EXPECT_EQ(OrmaSceneAddMediaHandle(scene, m), 1);
    return m;
  }

  // A .cube table of size 2 that turns every colour into its complement.
  std::string InvertingCube() {
    std::string text = "TITLE \"invert\"\nLUT_3D_SIZE 2\n";
    for (int b = 0; b < 2; ++b)
      for (int g = 0; g < 2; ++g)
        for (int r = 0; r < 2; ++r)
          text += std::to_string(1 - r) + " " + std::to_string(1 - g) + " " + std::to_string(1 - b) + "\n";
    WriteFile(Path("invert.cube"), text);
    return Path("invert.cube");
  }

  // The same as a .3dl file (10-bit mesh, 12-bit values, blue fastest).
  std::string Inverting3dl() {
    std::string text = "0 1023\n";
    for (int r = 0; r < 2; ++r)
      for (int g = 0; g < 2; ++g)
        for (int b = 0; b < 2; ++b)
          text += std::to_string((1 - r) * 4095) + " " + std::to_string((1 - g) * 4095) + " " +
                  std::to_string((1 - b) * 4095) + "\n";
    WriteFile(Path("invert.3dl"), text);
    return Path("invert.3dl");
  }
};

TEST_F(EngineAttributes, MirrorPutsTheLeftColourOnTheRight) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle plain = nullptr, looked = nullptr;
  AddScene(vv, 0, 1, "halves.png", &plain);
  AddScene(vv, 1, 2, "halves.png", &looked);
  ASSERT_EQ(OrmaSetMediaFlip(plain, 1), 1);
  ASSERT_EQ(OrmaSetMediaFlip(looked, 3), 1);
  ASSERT_EQ(OrmaSetMediaSharp(looked, 10), 1); // drawn through the item's look
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  for (int frame : {F(0.5), F(1.5)}) {
    EXPECT_COLOR(v, frame, 0.25, 0.5, kBlue);
    EXPECT_COLOR(v, frame, 0.75, 0.5, kRed);
  }
}

TEST_F(EngineAttributes, CropAndShowRectanglesLandWhereStated) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 1, "halves.png", &m);
  float crop[4] = {0.5f, 0.0f, 1.0f, 1.0f}, show[4] = {0.5f, 0.5f, 1.0f, 1.0f};
  ASSERT_EQ(OrmaSetMediaClip(m, crop), 1);
  ASSERT_EQ(OrmaSetMediaShowRect(m, show), 1);
  ASSERT_EQ(OrmaSetMediaSharp(m, 10), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_COLOR(v, 10, 0.6, 0.6, kBlue);
  EXPECT_COLOR(v, 10, 0.9, 0.9, kBlue);
  EXPECT_COLOR(v, 10, 0.25, 0.25, kBlack);
  EXPECT_COLOR(v, 10, 0.75, 0.25, kBlack);
  EXPECT_COLOR(v, 10, 0.25, 0.75, kBlack);
}

TEST_F(EngineAttributes, OpacityHalfOverBlackGivesHalfGrey) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle plain = nullptr, looked = nullptr;
  AddScene(vv, 0, 1, "white.bmp", &plain);
  AddScene(vv, 1, 2, "white.bmp", &looked);
  ASSERT_EQ(OrmaSetMediaTransparency(plain, 0.5), 1);
  ASSERT_EQ(OrmaSetMediaTransparency(looked, 0.5), 1);
  ASSERT_EQ(OrmaSetMediaSharp(looked, 10), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  for (int frame : {F(0.5), F(1.5)}) {
    EXPECT_PRED3(Near, v.At(frame, 0.5, 0.5), kGrey, 12) << ToString(v.At(frame, 0.5, 0.5));
  }
}

TEST_F(EngineAttributes, RotationBy90TurnsASplitPicture) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 1, "halves.png", &m);
  ASSERT_EQ(OrmaSetMediaAnimationAngle(m, 90), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  // Turned clockwise about its centre, the left (red) half is on top; the
  // 320x180 picture now stands 180 wide, so the sides show the background.
  EXPECT_COLOR(v, 10, 0.5, 0.2, kRed);
  EXPECT_COLOR(v, 10, 0.5, 0.8, kBlue);
  EXPECT_COLOR(v, 10, 0.1, 0.5, kBlack);
  EXPECT_COLOR(v, 10, 0.9, 0.5, kBlack);
}

TEST_F(EngineAttributes, SaturationMinus100GivesGrey) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 1, "red.mp4", &m);
  ASSERT_EQ(OrmaSetMediaSaturation(m, -100), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  Rgb c = v.At(10, 0.5, 0.5);
  EXPECT_LE(std::max({c.r, c.g, c.b}) - std::min({c.r, c.g, c.b}), 8) << ToString(c);
  EXPECT_NEAR(Luma(c), Luma(kRed), 16) << ToString(c);
}

TEST_F(EngineAttributes, BrightnessRaisesLuma) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle plain = nullptr, bright = nullptr, dark = nullptr;
  AddScene(vv, 0, 1, "grey.png", &plain);
  AddScene(vv, 1, 2, "grey.png", &bright);
  AddScene(vv, 2, 3, "grey.png", &dark);
  ASSERT_EQ(OrmaSetMediaBright(bright, 128), 1);
  ASSERT_EQ(OrmaSetMediaBright(dark, -128), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  double base = Luma(v.At(F(0.5), 0.5, 0.5));
  EXPECT_GT(Luma(v.At(F(1.5), 0.5, 0.5)), base + 30);
  EXPECT_LT(Luma(v.At(F(2.5), 0.5, 0.5)), base - 30);
}

TEST_F(EngineAttributes, LutThatInvertsTurnsRedIntoCyan) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle cube = nullptr, threeDl = nullptr, hald = nullptr;
  AddScene(vv, 0, 1, "red.mp4", &cube);
  AddScene(vv, 1, 2, "red.mp4", &threeDl);
  AddScene(vv, 2, 3, "red.mp4", &hald);
  ASSERT_EQ(OrmaSetMediaLUT(cube, InvertingCube().c_str(), 1.0f), 1);
  ASSERT_EQ(OrmaSetMediaLUT(threeDl, Inverting3dl().c_str(), 1.0f), 1);
  ASSERT_EQ(OrmaSetMediaLUT(hald, Media("hald_invert.png").c_str(), 1.0f), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_COLOR(v, F(0.5), 0.5, 0.5, kCyan);
  EXPECT_COLOR(v, F(1.5), 0.5, 0.5, kCyan);
  EXPECT_COLOR(v, F(2.5), 0.5, 0.5, kCyan);
}

TEST_F(EngineAttributes, LutIntensityMixesTheOriginalAndTheResult) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 1, "red.mp4", &m);
  ASSERT_EQ(OrmaSetMediaLUT(m, InvertingCube().c_str(), 0.5f), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_COLOR(v, 10, 0.5, 0.5, kGrey);
}

TEST_F(EngineAttributes, BadLookUpTablesAreLeftOutAndTheItemDrawnWithout) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 1, "red.mp4", &m);
  WriteFile(Path("short.cube"), "LUT_3D_SIZE 2\n0 0 0\n1 1 1\n");
  EXPECT_EQ(OrmaSetMediaLUT(m, Path("short.cube").c_str(), 1.0f), 1);
  EXPECT_EQ(OrmaSetMediaLUT(m, Media("yellow.jpg").c_str(), 1.0f), 1); // not a HALD CLUT
  EXPECT_EQ(OrmaSetMediaLUT(m, Path("missing.cube").c_str(), 1.0f), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.5, 0.5, kRed);
}

TEST_F(EngineAttributes, ChromaKeyRevealsTheBackgroundAndKeepsTheSubject) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  OrmaSceneHandle scene = AddScene(vv, 0, 1, "greenscreen.mp4", &m);
  float blue[4] = {0, 0, 1, 1};
  ASSERT_EQ(OrmaSetSceneBackGroundColor(scene, blue), 1);
  ASSERT_EQ(OrmaSetMediaChromaKey(m, 1, 0, 177, 64, 20, 0, 0, 2), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  const Rgb skin{208, 144, 112};
  EXPECT_COLOR(v, 10, 0.05, 0.05, kBlue);
  EXPECT_COLOR(v, 10, 0.95, 0.9, kBlue);
  EXPECT_COLOR(v, 10, 0.5, 0.5, skin);
  // No green fringe: along the subject's border (x 110..210, y 50..130)
  // green never stands out above both red and blue.
  int worst = -255;
  for (int x = 104; x <= 216; x += 2)
    for (int y : {46, 48, 50, 52, 128, 130, 132, 134}) {
      Rgb c = v.At(10, (x + 0.5) / 320.0, (y + 0.5) / 180.0);
      worst = std::max(worst, c.g - std::max(c.r, c.b));
    }
  for (int y = 46; y <= 134; y += 2)
    for (int x : {106, 108, 110, 112, 208, 210, 212, 214}) {
      Rgb c = v.At(10, (x + 0.5) / 320.0, (y + 0.5) / 180.0);
      worst = std::max(worst, c.g - std::max(c.r, c.b));
    }
  EXPECT_LE(worst, 4);
}

TEST_F(EngineAttributes, BlendModesMixWithWhatIsBelow) {
  OrmaVideoHandle vv = NewVideo();
  const int modes[] = {3, 2, 11, 5}; // screen, multiply, difference, darken
  const Rgb expected[] = {kMagenta, kBlack, kMagenta, kBlack};
  for (int i = 0; i < 4; ++i) {
    OrmaSceneHandle scene = AddScene(vv, i, i + 1, "red.mp4");
    OrmaMediaHandle top = AddMedia(scene, "blue.mp4");
    ASSERT_EQ(OrmaSetMediaBlendMode(top, modes[i]), 1);
  }
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  for (int i = 0; i < 4; ++i)
    EXPECT_COLOR(v, F(i + 0.5), 0.5, 0.5, expected[i]) << "blend mode " << modes[i];
}

TEST_F(EngineAttributes, BlurBlockIsDrawnInDisplayModeOne) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle sharp = nullptr, blurred = nullptr;
  AddScene(vv, 0, 1, "halves.png", &sharp);
  AddScene(vv, 1, 2, "halves.png", &blurred);
  OrmaBlurBlock blur;
  std::memset(&blur, 0, sizeof blur);
  blur.blurType = 0;
  blur.intensity = 1.0f;
  blur.centerX = blur.centerY = 0.5f;
  blur.radius = 0.2f;
  ASSERT_EQ(OrmaSetMediaBlur(sharp, &blur), 1);
  ASSERT_EQ(OrmaSetMediaDisplayMode(blurred, 1), 1);
  ASSERT_EQ(OrmaSetMediaBlur(blurred, &blur), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  Rgb edge = v.At(F(0.5), 0.49, 0.5);
  EXPECT_PRED2(Close, edge, kRed) << ToString(edge);
  Rgb mixed = v.At(F(1.5), 0.49, 0.5);
  EXPECT_GT(mixed.r, 60) << ToString(mixed);
  EXPECT_GT(mixed.b, 60) << ToString(mixed);
  EXPECT_COLOR(v, F(1.5), 0.05, 0.5, kRed);
}

TEST_F(EngineAttributes, VignetteDarkensTheCorners) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 1, "white.bmp", &m);
  ASSERT_EQ(OrmaSetMediaVignette(m, 100), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_GT(Luma(v.At(10, 0.5, 0.5)), 240);
  EXPECT_LT(Luma(v.At(10, 0.02, 0.03)), 110);
}

TEST_F(EngineAttributes, GraininessAddsMovingNoise) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 1, "grey.png", &m);
  ASSERT_EQ(OrmaSetMediaGraininess(m, 100), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  auto spread = [&](int frame) {
    double sum = 0, sq = 0;
    int n = 0;
    for (int y = 40; y < 140; y += 3)
      for (int x = 40; x < 280; x += 3) {
        double l = Luma(v.At(frame, x / 320.0, y / 180.0));
        sum += l;
        sq += l * l;
        ++n;
      }
    return std::sqrt(sq / n - (sum / n) * (sum / n));
  };
  EXPECT_GT(spread(5), 4.0);
  int differing = 0;
  for (int x = 40; x < 280; x += 7)
    differing += std::abs(Luma(v.At(5, x / 320.0, 0.5)) - Luma(v.At(6, x / 320.0, 0.5))) > 3;
  EXPECT_GT(differing, 10);
}

} // namespace
