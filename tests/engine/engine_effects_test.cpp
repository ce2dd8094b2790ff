// Timeline effects as adjustment layers: what they change, where, when, and
// which stacked elements they reach.
#include <cmath>
#include <cstdlib>
#include <string>

#include "tests/engine/engine_test_support.h"

namespace {

const Rgb kRed{255, 0, 0}, kWhite{255, 255, 255}, kGreen{0, 255, 0}, kMagenta{255, 0, 255},
    kCyan{0, 255, 255};

int F(double seconds) { return static_cast<int>(std::lround(seconds * 25)); }

#define EXPECT_COLOR(video, frame, x, y, color)                                                              \
  EXPECT_PRED2(Close, (video).At((frame), (x), (y)), (color))                                                \
      << "frame " << (frame) << " at " << (x) << "," << (y) << " is "                                        \
      << ToString((video).At((frame), (x), (y)))

class EngineEffects : public EngineTest {
protected:
  // Share of a grid of points in [x0, x1) x [y0, y1) that are neither the
  // checkerboard's black nor its white: mixed by a filter.
  static double MixedShare(const DecodedVideo& v, int frame, double x0, double y0, double x1, double y1) {
    int mixed = 0, total = 0;
    for (double y = y0 + 0.01; y < y1; y += 0.023)
      for (double x = x0 + 0.01; x < x1; x += 0.017) {
        Rgb c = v.At(frame, x, y);
        mixed += c.g > 60 && c.g < 195;
        ++total;
      }
    return total ? static_cast<double>(mixed) / total : 0.0;
  }

  OrmaSceneHandle AddPip(OrmaVideoHandle vv, double from, double to, const std::string& media, Rect4 rect,
                         int level) {
    OrmaSceneHandle pip =
        OrmaCreatePIPScene(static_cast<int64_t>(from * kSecond), static_cast<int64_t>(to * kSecond));
    EXPECT_EQ(OrmaAddScene(vv, pip), 1);
    if (level > 0) {
      EXPECT_EQ(OrmaUpdateEffectLevel(pip, level), 1);
    }
    OrmaMediaHandle m = OrmaSceneCreateMedia(Media(media).c_str());
    EXPECT_EQ(OrmaSceneAddMediaHandle(pip, m), 1);
    EXPECT_EQ(OrmaSetMediaShowRect(m, rect.v), 1);
    return pip;
  }
};

TEST_F(EngineEffects, MosaicChangesOnlyItsRegionDuringItsSpan) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "checker.png");
  float region[4] = {0.25f, 0.25f, 0.75f, 0.75f};
  ASSERT_NE(OrmaAddMosaic(vv, region, 1.0f, kSecond / 2, 3 * kSecond / 2), nullptr);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_LT(MixedShare(v, F(0.25), 0.3, 0.3, 0.7, 0.7), 0.35); // before its span
  EXPECT_GT(MixedShare(v, F(1.0), 0.3, 0.3, 0.7, 0.7), 0.6);   // inside, during it
  EXPECT_LT(MixedShare(v, F(1.0), 0.0, 0.0, 1.0, 0.2), 0.35);  // outside it
  EXPECT_LT(MixedShare(v, F(1.0), 0.8, 0.0, 1.0, 1.0), 0.35);
  EXPECT_LT(MixedShare(v, F(1.75), 0.3, 0.3, 0.7, 0.7), 0.35); // after it
}

TEST_F(EngineEffects, BlurChangesOnlyItsRegionDuringItsSpan) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "checker.png");
  float region[4] = {0.0f, 0.5f, 0.5f, 1.0f};
  ASSERT_NE(OrmaAddGaussBlur(vv, region, 0.5f, kSecond / 2, 3 * kSecond / 2), nullptr);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_LT(MixedShare(v, F(0.25), 0.05, 0.55, 0.45, 0.95), 0.35);
  EXPECT_GT(MixedShare(v, F(1.0), 0.05, 0.55, 0.45, 0.95), 0.8);
  EXPECT_LT(MixedShare(v, F(1.0), 0.55, 0.0, 1.0, 1.0), 0.35);
  EXPECT_LT(MixedShare(v, F(1.0), 0.0, 0.0, 0.5, 0.45), 0.35);
  EXPECT_LT(MixedShare(v, F(1.75), 0.05, 0.55, 0.45, 0.95), 0.35);
}

TEST_F(EngineEffects, DelogoFillsItsRegionFromTheSurroundings) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "red.mp4");
  AddPip(vv, 0, 1, "white.bmp", Rect4{{0.4f, 0.4f, 0.6f, 0.6f}}, 1); // the "logo"
  float region[4] = {0.35f, 0.35f, 0.65f, 0.65f};
  ASSERT_NE(OrmaAddDeLogo(vv, region, 0, kSecond / 2), nullptr);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, F(0.25), 0.5, 0.5, kRed);
  EXPECT_COLOR(v, F(0.25), 0.42, 0.58, kRed);
  EXPECT_COLOR(v, F(0.75), 0.5, 0.5, kWhite); // after its span the logo is back
}

TEST_F(EngineEffects, AnEffectChangesWhatIsBelowItsLevelAndNothingAbove) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "checker.png");
  AddPip(vv, 0, 1, "checker.png", Rect4{{0.0f, 0.0f, 0.5f, 0.5f}}, 2);
  AddPip(vv, 0, 1, "checker.png", Rect4{{0.5f, 0.0f, 1.0f, 0.5f}}, 4);
  float whole[4] = {0.0f, 0.0f, 1.0f, 1.0f};
  OrmaEffectHandle mosaic = OrmaAddMosaic(vv, whole, 1.0f, 0, kSecond);
  ASSERT_NE(mosaic, nullptr);
  ASSERT_EQ(OrmaUpdateEffectLevel(mosaic, 3), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_GT(MixedShare(v, 10, 0.05, 0.05, 0.45, 0.45), 0.6);  // level 2: changed
  EXPECT_LT(MixedShare(v, 10, 0.55, 0.05, 0.95, 0.45), 0.35); // level 4: untouched
  EXPECT_GT(MixedShare(v, 10, 0.05, 0.55, 0.95, 0.95), 0.6);  // the scene: changed
}

TEST_F(EngineEffects, EffectsDoNotLengthenTheVideo) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "checker.png");
  float region[4] = {0.0f, 0.0f, 1.0f, 1.0f};
  ASSERT_NE(OrmaAddMosaic(vv, region, 1.0f, kSecond / 2, 3 * kSecond), nullptr);
  EXPECT_EQ(OrmaGetTotalPlaybackTime(vv), kSecond);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_EQ(v.FrameCount(), 25);
  EXPECT_GT(MixedShare(v, 24, 0.1, 0.1, 0.9, 0.9), 0.6);
}

TEST_F(EngineEffects, AToningBrightensOnlyItsSpan) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "grey.png");
  OrmaAdjustmentBlock block{};
  block.brightness = 0.3f * 255; // a toning's brightness 0.3, as the program sends it
  ASSERT_NE(OrmaAddFilterAdjustment(vv, &block, kSecond / 2, 3 * kSecond / 2), nullptr);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  Rgb before = v.At(F(0.25), 0.5, 0.5), during = v.At(F(1.0), 0.5, 0.5), after = v.At(F(1.75), 0.5, 0.5);
  EXPECT_NEAR(before.g, 128, 10) << ToString(before);
  EXPECT_GT(during.g, before.g + 20) << ToString(during);
  EXPECT_NEAR(during.r, during.b, 10) << ToString(during); // still grey
  EXPECT_NEAR(after.g, 128, 10) << ToString(after);
}

TEST_F(EngineEffects, AToningOverAHeldLastFrameDoesNotBuildUp) {
  // The clip lasts one second and its last (green) frame is held for the
  // next: each shown frame gets the toning once, never on top of the last.
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "redgreen.mp4");
  OrmaAdjustmentBlock block{};
  block.brightness = 0.1f * 255;
  ASSERT_NE(OrmaAddFilterAdjustment(vv, &block, 0, 2 * kSecond), nullptr);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  Rgb early = v.At(F(1.1), 0.5, 0.5), late = v.At(F(1.95), 0.5, 0.5);
  EXPECT_GT(early.g, 200) << ToString(early);
  EXPECT_NEAR(late.r, early.r, 6) << ToString(early) << " then " << ToString(late);
  EXPECT_NEAR(late.b, early.b, 6) << ToString(early) << " then " << ToString(late);
}

TEST_F(EngineEffects, AdjustmentVignetteDarkensTheCorners) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "white.bmp");
  OrmaAdjustmentBlock block{};
  block.vignette = 100;
  ASSERT_NE(OrmaAddFilterAdjustment(vv, &block, 0, kSecond), nullptr);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.5, 0.5, kWhite);
  EXPECT_LT(v.At(10, 0.02, 0.03).g, 150);
}

TEST_F(EngineEffects, ALookUpFilterAtLevel3ChangesAnOverlayAtLevel2ButNotOneAtLevel4) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "red.mp4");
  AddPip(vv, 0, 1, "green.mp4", Rect4{{0.0f, 0.0f, 0.5f, 0.5f}}, 2);
  AddPip(vv, 0, 1, "green.mp4", Rect4{{0.5f, 0.0f, 1.0f, 0.5f}}, 4);
  OrmaEffectHandle lut = OrmaAddLUT(vv, Media("hald_invert.png").c_str(), 1.0f, 0, kSecond); // inverts
  ASSERT_NE(lut, nullptr);
  ASSERT_EQ(OrmaUpdateEffectLevel(lut, 3), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.25, 0.25, kMagenta); // level 2: inverted
  EXPECT_COLOR(v, 10, 0.75, 0.25, kGreen);   // level 4: untouched
  EXPECT_COLOR(v, 10, 0.5, 0.75, kCyan);     // the scene: inverted
}

TEST_F(EngineEffects, ALookUpFilterActsOnlyDuringItsSpanAndByItsIntensity) {
  WriteFile(Path("invert.cube"), "LUT_3D_SIZE 2\n1 1 1\n0 1 1\n1 0 1\n0 0 1\n1 1 0\n0 1 0\n1 0 0\n0 0 0\n");
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "red.mp4");
  ASSERT_NE(OrmaAddLUT(vv, Path("invert.cube").c_str(), 1.0f, 0, kSecond / 2), nullptr);
  ASSERT_NE(OrmaAddLUT(vv, Path("invert.cube").c_str(), 0.5f, kSecond, 2 * kSecond), nullptr);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, F(0.25), 0.5, 0.5, kCyan);
  EXPECT_COLOR(v, F(0.75), 0.5, 0.5, kRed);
  Rgb half = v.At(F(1.5), 0.5, 0.5); // half way between red and cyan
  EXPECT_NEAR(half.r, 128, 30) << ToString(half);
  EXPECT_NEAR(half.g, 128, 30) << ToString(half);
}

TEST_F(EngineEffects, AFileThatIsNoLookUpTableIsRefused) {
  OrmaVideoHandle vv = NewVideo();
  WriteFile(Path("bad.cube"), "LUT_3D_SIZE 2\n1 1 1\n");
  EXPECT_EQ(OrmaAddLUT(vv, Path("bad.cube").c_str(), 1.0f, 0, kSecond), nullptr);
  EXPECT_EQ(OrmaAddLUT(vv, Media("red.mp4").c_str(), 1.0f, 0, kSecond), nullptr);
}

bool Grey(Rgb c) { return std::abs(c.r - c.g) < 24 && std::abs(c.g - c.b) < 24; }

TEST_F(EngineEffects, ASpecialEffectChangesItsSpanBelowItsLevel) {
  WriteFile(Path("grey.json"), R"({"name": "grey", "filters": [{"filter": "grayscale", "amount": 1}]})");
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "red.mp4");
  AddPip(vv, 0, 2, "green.mp4", Rect4{{0.0f, 0.0f, 0.5f, 0.5f}}, 2);
  AddPip(vv, 0, 2, "green.mp4", Rect4{{0.5f, 0.0f, 1.0f, 0.5f}}, 4);
  OrmaEffectHandle grey =
      OrmaAddSpecialEffect(vv, Path("grey.json").c_str(), 0, kSecond / 2, 3 * kSecond / 2);
  ASSERT_NE(grey, nullptr);
  ASSERT_EQ(OrmaUpdateEffectLevel(grey, 3), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  Rgb scene = v.At(F(1), 0.5, 0.75), below = v.At(F(1), 0.25, 0.25);
  EXPECT_TRUE(Grey(scene)) << ToString(scene);
  EXPECT_TRUE(Grey(below)) << ToString(below);
  EXPECT_COLOR(v, F(1), 0.75, 0.25, kGreen); // level 4: above the effect
  EXPECT_COLOR(v, F(0.25), 0.5, 0.75, kRed); // before its span
  EXPECT_COLOR(v, F(1.75), 0.5, 0.75, kRed); // after it
  EXPECT_COLOR(v, F(1.75), 0.25, 0.25, kGreen);
}

TEST_F(EngineEffects, ASpecialEffectForTheMainTrackOnlyLeavesStackedElementsAlone) {
  WriteFile(Path("grey.json"), R"({"name": "grey", "filters": [{"filter": "grayscale", "amount": 1}]})");
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "red.mp4");
  AddPip(vv, 0, 1, "green.mp4", Rect4{{0.0f, 0.0f, 0.5f, 0.5f}}, 2);
  OrmaEffectHandle grey = OrmaAddSpecialEffect(vv, Path("grey.json").c_str(), 1, 0, kSecond);
  ASSERT_NE(grey, nullptr);
  ASSERT_EQ(OrmaUpdateEffectLevel(grey, 3), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  Rgb scene = v.At(F(0.5), 0.5, 0.75);
  EXPECT_TRUE(Grey(scene)) << ToString(scene);
  EXPECT_COLOR(v, F(0.5), 0.25, 0.25, kGreen);
}

TEST_F(EngineEffects, ShippedSpecialEffectsChangeThePicture) {
  // Each shipped effect against the same second of a four-colour picture and
  // of a checkerboard without it: some frame differs somewhere on a grid of
  // points (colour effects show on the colours, moves on the squares).
  auto render = [&](const std::string& picture, const std::string& effect) {
    OrmaVideoHandle vv = NewVideo();
    AddScene(vv, 0, 1, picture.c_str());
    if (!effect.empty()) {
      const std::string config =
          std::string(ORMA_SOURCE_DIR) + "/resources/effects/" + effect + "/config.json";
      EXPECT_NE(OrmaAddSpecialEffect(vv, config.c_str(), 0, 0, kSecond), nullptr);
    }
    EXPECT_EQ(Export(vv), 1);
    return Decode();
  };
  const char* pictures[] = {"quarters.png", "checker.png"};
  DecodedVideo plain[] = {render(pictures[0], ""), render(pictures[1], "")};
  for (const char* name : {"black-and-white", "glitch", "old-film", "flash", "mirror", "zoom-pulse"}) {
    SCOPED_TRACE(name);
    int changed = 0;
    for (int p = 0; p < 2; ++p) {
      DecodedVideo v = render(pictures[p], name);
      ASSERT_TRUE(v.ok) << v.error;
      ASSERT_EQ(v.FrameCount(), plain[p].FrameCount());
      for (int f = 0; f < v.FrameCount(); ++f)
        for (double y = 0.05; y < 1; y += 0.1)
          for (double x = 0.05; x < 1; x += 0.1)
            changed += !Close(v.At(f, x, y), plain[p].At(f, x, y));
    }
    EXPECT_GT(changed, 0);
  }
}

TEST_F(EngineEffects, AFileThatIsNoSpecialEffectIsRefused) {
  OrmaVideoHandle vv = NewVideo();
  WriteFile(Path("bad.json"), R"({"name": "bad", "filters": []})");
  EXPECT_EQ(OrmaAddSpecialEffect(vv, Path("bad.json").c_str(), 0, 0, kSecond), nullptr);
  EXPECT_EQ(OrmaAddSpecialEffect(vv, Path("missing.json").c_str(), 0, 0, kSecond), nullptr);
}

} // namespace
