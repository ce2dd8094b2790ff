// The API takes the odd values an editor writes without failing the export:
// empty or reversed spans leave their element out, values past their range
// are brought into it, each with one log line (checked end to end in
// engine_draft_edges_test.cpp; here through the API alone).
#include <cmath>

#include "tests/engine/engine_test_support.h"

namespace {

const Rgb kRed{255, 0, 0};

class EngineLenientValues : public EngineTest {};

TEST_F(EngineLenientValues, AnEmptySceneIsLeftOutAndTheOthersPlay) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "red.mp4");
  OrmaSceneHandle empty = OrmaCreateScene(kSecond, kSecond);
  ASSERT_NE(empty, nullptr);
  ASSERT_EQ(OrmaAddScene(vv, empty), 1);
  OrmaMediaHandle blue = OrmaSceneCreateMedia(Media("blue.mp4").c_str());
  ASSERT_EQ(OrmaSceneAddMediaHandle(empty, blue), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_EQ(v.FrameCount(), 25);
  EXPECT_PRED2(Close, v.At(24, 0.5, 0.5), kRed);
}

TEST_F(EngineLenientValues, ReversedEffectSpansGiveHandlesThatDrawNothing) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "red.mp4");
  const float region[4] = {0, 0, 1, 1};
  OrmaEffectHandle mosaic = OrmaAddMosaic(vv, region, 1.0f, 800000, 200000);
  ASSERT_NE(mosaic, nullptr);
  EXPECT_EQ(OrmaUpdateEffectLevel(mosaic, 2), 1);
  OrmaAdjustmentBlock adjustment{};
  adjustment.brightness = 200;
  EXPECT_NE(OrmaAddFilterAdjustment(vv, &adjustment, 500000, 500000), nullptr);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  for (int frame : {5, 12, 20})
    EXPECT_PRED2(Close, v.At(frame, 0.5, 0.5), kRed) << frame;
}

TEST_F(EngineLenientValues, OutOfRangeValuesAreBroughtIntoRange) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 1, "red.mp4", &m);
  EXPECT_EQ(OrmaSetMediaTransparency(m, 1.01), 1);
  EXPECT_EQ(OrmaSetMediaPlaySpeed(m, 250), 1);
  EXPECT_EQ(OrmaSetMediaAudioFactor(m, -1.0f), 1);
  EXPECT_EQ(OrmaSetMediaCutTime(m, -5, kSecond), 1);
  EXPECT_LT(OrmaSetMediaTransparency(m, std::nan("")), 1); // not a number at all
  EXPECT_EQ(OrmaSetMediaPlaySpeed(m, 1.0), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_PRED2(Close, v.At(10, 0.5, 0.5), kRed); // opacity 1, not refused
  EXPECT_LT(v.Rms(0.1, 0.9), 0.001);             // volume 0
}

} // namespace
