// Stacked elements: picture-in-picture scenes and the logo, drawn over the
// scenes by level during their span.
#include <cmath>
#include <string>

#include "tests/engine/engine_test_support.h"

namespace {

const Rgb kRed{255, 0, 0}, kGreen{0, 255, 0}, kBlue{0, 0, 255}, kBlack{0, 0, 0}, kYellow{255, 255, 0},
    kWhite{255, 255, 255};

int F(double seconds) { return static_cast<int>(std::lround(seconds * 25)); }

#define EXPECT_COLOR(video, frame, x, y, color)                                                              \
  EXPECT_PRED2(Close, (video).At((frame), (x), (y)), (color))                                                \
      << "frame " << (frame) << " at " << (x) << "," << (y) << " is "                                        \
      << ToString((video).At((frame), (x), (y)))

class EngineStack : public EngineTest {
protected:
  // A picture-in-picture scene [from, to) seconds with one item shown in
  // `rect`; the level is set when above 0.
  OrmaSceneHandle AddPip(OrmaVideoHandle vv, double from, double to, const std::string& media, Rect4 rect,
                         int level = 0, OrmaMediaHandle* mediaOut = nullptr) {
    OrmaSceneHandle pip =
        OrmaCreatePIPScene(static_cast<int64_t>(from * kSecond), static_cast<int64_t>(to * kSecond));
    EXPECT_NE(pip, nullptr);
    EXPECT_EQ(OrmaAddScene(vv, pip), 1);
    if (level > 0) {
      EXPECT_EQ(OrmaUpdateEffectLevel(pip, level), 1);
    }
    OrmaMediaHandle m = OrmaSceneCreateMedia(Media(media).c_str());
    EXPECT_NE(m, nullptr) << media;
    EXPECT_EQ(OrmaSceneAddMediaHandle(pip, m), 1);
    EXPECT_EQ(OrmaSetMediaShowRect(m, rect.v), 1);
    if (mediaOut) *mediaOut = m;
    return pip;
  }
};

TEST_F(EngineStack, OverlayAppearsInItsRectangleOnlyDuringItsSpan) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 3, "red.mp4");
  AddPip(vv, 1, 2, "blue.mp4", Rect4{{0.5f, 0.5f, 1.0f, 1.0f}});
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_EQ(v.FrameCount(), 75);
  EXPECT_COLOR(v, F(0.5), 0.75, 0.75, kRed);
  EXPECT_COLOR(v, F(1.0), 0.75, 0.75, kBlue); // from its first frame
  EXPECT_COLOR(v, F(1.5), 0.75, 0.75, kBlue);
  EXPECT_COLOR(v, F(1.5), 0.25, 0.25, kRed); // only in its rectangle
  EXPECT_COLOR(v, F(1.5), 0.75, 0.25, kRed);
  EXPECT_COLOR(v, F(2.0) - 1, 0.75, 0.75, kBlue);
  EXPECT_COLOR(v, F(2.0), 0.75, 0.75, kRed); // to its last frame
  EXPECT_COLOR(v, F(2.5), 0.75, 0.75, kRed);
}

TEST_F(EngineStack, OverlayItemsAreStyledLikeSceneItems) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "red.mp4");
  OrmaMediaHandle m = nullptr;
  AddPip(vv, 0, 1, "halves.png", Rect4{{0.0f, 0.0f, 1.0f, 1.0f}}, 0, &m);
  float rightHalf[4] = {0.5f, 0.0f, 1.0f, 1.0f};
  ASSERT_EQ(OrmaSetMediaClip(m, rightHalf), 1); // blue only
  ASSERT_EQ(OrmaSetMediaTransparency(m, 0.5), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  Rgb mixed = v.At(10, 0.5, 0.5);
  EXPECT_NEAR(mixed.r, 128, 30) << ToString(mixed);
  EXPECT_NEAR(mixed.b, 128, 30) << ToString(mixed);
}

TEST_F(EngineStack, HigherLevelsAreDrawnAboveLowerOnes) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "red.mp4");
  // Added top first: the levels, not the order, decide.
  AddPip(vv, 0, 2, "green.mp4", Rect4{{0.0f, 0.0f, 0.75f, 1.0f}}, 2);
  AddPip(vv, 0, 2, "blue.mp4", Rect4{{0.25f, 0.0f, 1.0f, 1.0f}}, 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.5, 0.5, kGreen);
  EXPECT_COLOR(v, 10, 0.1, 0.5, kGreen);
  EXPECT_COLOR(v, 10, 0.9, 0.5, kBlue);
}

TEST_F(EngineStack, ElementsWithoutLevelStackAboveInTheOrderAdded) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "red.mp4");
  AddPip(vv, 0, 1, "yellow.jpg", Rect4{{0.0f, 0.0f, 0.6f, 1.0f}});   // no level, added first
  AddPip(vv, 0, 1, "blue.mp4", Rect4{{0.4f, 0.0f, 1.0f, 1.0f}});     // no level, added second
  AddPip(vv, 0, 1, "green.mp4", Rect4{{0.0f, 0.0f, 1.0f, 0.5f}}, 7); // a level: below both
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, 10, 0.5, 0.25, kBlue);   // second over first over the levelled one
  EXPECT_COLOR(v, 10, 0.2, 0.25, kYellow); // first over the levelled one
  EXPECT_COLOR(v, 10, 0.5, 0.75, kBlue);
  EXPECT_COLOR(v, 10, 0.2, 0.75, kYellow);
}

TEST_F(EngineStack, OverlaysBeyondTheLastSceneLengthenTheVideo) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "red.mp4");
  AddPip(vv, 0.5, 2, "blue.mp4", Rect4{{0.5f, 0.0f, 1.0f, 1.0f}});
  EXPECT_EQ(OrmaGetTotalPlaybackTime(vv), 2 * kSecond);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_EQ(v.FrameCount(), 50);
  EXPECT_COLOR(v, F(1.5), 0.75, 0.5, kBlue);
  EXPECT_COLOR(v, F(1.5), 0.25, 0.5, kBlack); // no scene there
}

TEST_F(EngineStack, OverlaysThatNeverOverlapAllRender) {
  // Many short overlays one after the other (they share stacked tracks).
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 3, "red.mp4");
  for (int i = 0; i < 15; ++i)
    AddPip(vv, i * 0.2, i * 0.2 + 0.2, i % 2 ? "blue.mp4" : "green.mp4", Rect4{{0.0f, 0.0f, 0.5f, 0.5f}});
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  for (int i = 0; i < 15; ++i) {
    EXPECT_COLOR(v, F(i * 0.2 + 0.1), 0.25, 0.25, i % 2 ? kBlue : kGreen);
    EXPECT_COLOR(v, F(i * 0.2 + 0.1), 0.75, 0.75, kRed);
  }
}

TEST_F(EngineStack, OverlaysWhoseLevelsDoNotFollowTimeAllRender) {
  // The latest overlay has the lowest level: tracks are shared all the same.
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "red.mp4");
  for (int i = 0; i < 8; ++i)
    AddPip(vv, (7 - i) * 0.25, (7 - i) * 0.25 + 0.25, i % 2 ? "blue.mp4" : "green.mp4",
           Rect4{{0.5f, 0.0f, 1.0f, 0.5f}}, i + 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  for (int i = 0; i < 8; ++i)
    EXPECT_COLOR(v, F((7 - i) * 0.25 + 0.12), 0.75, 0.25, i % 2 ? kBlue : kGreen);
  EXPECT_COLOR(v, F(1.0), 0.25, 0.75, kRed);
}

TEST_F(EngineStack, AHigherLevelStartingInALowerTracksGapIsStillDrawnAbove) {
  // The level-1 overlay ends at 1 s, leaving its track free when the level-3
  // one starts; the level-2 overlay lies between them all along, so the
  // level-3 one must not take the free place below it.
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "red.mp4");
  AddPip(vv, 0, 1, "green.mp4", Rect4{{0.0f, 0.0f, 0.5f, 1.0f}}, 1);
  AddPip(vv, 0, 2, "blue.mp4", Rect4{{0.0f, 0.0f, 1.0f, 1.0f}}, 2);
  AddPip(vv, 1, 2, "yellow.jpg", Rect4{{0.25f, 0.25f, 0.75f, 0.75f}}, 3);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_COLOR(v, F(0.5), 0.25, 0.5, kBlue); // level 2 over level 1
  EXPECT_COLOR(v, F(1.5), 0.5, 0.5, kYellow);
  EXPECT_COLOR(v, F(1.5), 0.9, 0.9, kBlue);
}

TEST_F(EngineStack, OverlaySoundIsMixedDuringItsSpan) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 3, "green.mp4");                              // no sound
  AddPip(vv, 1, 2, "red.mp4", Rect4{{0.5f, 0.5f, 1.0f, 1.0f}}); // a tone
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_LT(v.Rms(0.1, 0.9), 0.01);
  EXPECT_GT(v.Rms(1.1, 1.9), 0.05); // the tone's RMS is 0.088
  EXPECT_LT(v.Rms(2.1, 2.9), 0.01);
}

TEST_F(EngineStack, LogoIsPresentFromTheFirstToTheLastFrame) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "red.mp4");
  AddScene(vv, 1, 2, "blue.mp4");
  AddPip(vv, 1.5, 2.5, "green.mp4", Rect4{{0.0f, 0.5f, 0.5f, 1.0f}}, 1);
  // The logo is added last over the whole length, as the program does.
  int64_t total = OrmaGetTotalPlaybackTime(vv);
  EXPECT_EQ(total, static_cast<int64_t>(2.5 * kSecond));
  OrmaSceneHandle logo = OrmaCreatePIPScene(0, total);
  ASSERT_EQ(OrmaAddScene(vv, logo), 1);
  OrmaMediaHandle m = OrmaSceneCreateMedia(Media("white.bmp").c_str());
  ASSERT_EQ(OrmaSceneAddMediaHandle(logo, m), 1);
  float corner[4] = {0.8f, 0.0f, 1.0f, 0.2f};
  ASSERT_EQ(OrmaSetMediaShowRect(m, corner), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_EQ(v.FrameCount(), F(2.5));
  EXPECT_COLOR(v, 0, 0.9, 0.1, kWhite);
  EXPECT_COLOR(v, v.FrameCount() - 1, 0.9, 0.1, kWhite);
  EXPECT_COLOR(v, 0, 0.5, 0.5, kRed);
  EXPECT_COLOR(v, v.FrameCount() - 1, 0.25, 0.75, kGreen);
}

} // namespace
