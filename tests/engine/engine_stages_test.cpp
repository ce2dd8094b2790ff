// Every timeline stage of a draft run through the program and the core
// library together, one small draft each (2 s at 320x180), checked on the
// decoded video: regions, look-up filters, tonings, special effects,
// overlays, the logo, stickers, captions (read back by OCR), music and sound
// effects; and where the program's arithmetic meets the engine's: levels and
// stacking order, spans past the timeline's end, apply ranges.
#include <algorithm>
#include <cmath>

#include "tests/engine/ocr.h"
#include "tests/engine/program_run.h"

namespace {

const Rgb kRed{255, 0, 0}, kGreen{0, 255, 0}, kBlue{0, 0, 255}, kYellow{255, 255, 0};

#define EXPECT_COLOR(video, frame, x, y, color)                                                              \
  EXPECT_PRED2(Close, (video).At((frame), (x), (y)), (color))                                                \
      << "frame " << (frame) << " at " << (x) << "," << (y) << " is "                                        \
      << ToString((video).At((frame), (x), (y)))

class Stages : public ProgramTest {
protected:
  void SetUp() override {
    ProgramTest::SetUp();
    for (const char* name : {"checker.png", "grey.png", "white.bmp"})
      WriteFile(Path(name), ReadFile(Media(name)));
  }

  // One scene of `media` over [0, 2) s with the root keys given; exported.
  DecodedVideo Render(const std::string& media, const std::string& root, std::string* output = nullptr) {
    WriteDraft(ClosedScene(media, 0, 2), Slot(media, 0, 2), root);
    WriteSettings("");
    ProgramRun run = Ormadraft();
    if (output) *output = run.output;
    DecodedVideo v = Decode("video.mp4");
    EXPECT_TRUE(v.ok) << v.error << run.output;
    EXPECT_NE(run.output.find("export success!"), std::string::npos) << run.output;
    return v;
  }

  static std::string Resource(const std::string& kind, const std::string& name) {
    return std::string(ORMA_SOURCE_DIR) + "/resources/" + kind + "/" + name;
  }

  // An overlay (pipList entry) of `media` in the rectangle given, over [from, to).
  static std::string Overlay(const std::string& media, double from, double to, double x, double y, double w,
                             double h) {
    return R"({"pipType": 0, "timelineFrom": )" + Seconds(from) + R"(, "timelineTo": )" + Seconds(to) +
           R"(, "media": {"path": ")" + media + R"(", "trimTimeStart": 0, "trimTimeEnd": )" +
           Seconds(to - from) + R"(, "speed": 1, "volume": 0, "alpha": 1, "showRectF": {"x": )" + Seconds(x) +
           R"(, "y": )" + Seconds(y) + R"(, "width": )" + Seconds(w) + R"(, "height": )" + Seconds(h) +
           R"(}, "cropRect": {"x": 0, "y": 0, "width": 1, "height": 1}}})";
  }
};

int Luma(Rgb c) { return (c.r * 299 + c.g * 587 + c.b * 114) / 1000; }

// Largest minus smallest luma over a patch: high on the checkerboard, low
// where it has been flattened.
int Spread(const DecodedVideo& v, int frame, double x0, double y0, double x1, double y1) {
  int low = 255, high = 0;
  for (double y = y0; y < y1; y += 2.0 / v.height)
    for (double x = x0; x < x1; x += 2.0 / v.width) {
      int l = Luma(v.At(frame, x, y));
      low = std::min(low, l);
      high = std::max(high, l);
    }
  return high - low;
}

TEST_F(Stages, AMosaicAndABlurFlattenTheirRegionOverTheirSpanOnly) {
  DecodedVideo v = Render("checker.png", R"(, "mosaics": [
      {"type": 0, "timelineFrom": 0, "timelineTo": 1, "intensity": 1,
       "pointsArray": [{"x": 0, "y": 0}, {"x": 0.5, "y": 0}, {"x": 0.5, "y": 1}, {"x": 0, "y": 1}]},
      {"type": 1, "timelineFrom": 0, "timelineTo": 1, "intensity": 1,
       "pointsArray": [{"x": 0.5, "y": 0}, {"x": 1, "y": 0}, {"x": 1, "y": 1}, {"x": 0.5, "y": 1}]}])");
  ASSERT_EQ(v.FrameCount(), 50);
  EXPECT_LT(Spread(v, 12, 0.1, 0.2, 0.4, 0.8), 120) << "mosaic";
  EXPECT_LT(Spread(v, 12, 0.6, 0.2, 0.9, 0.8), 120) << "blur";
  EXPECT_GT(Spread(v, 37, 0.1, 0.2, 0.4, 0.8), 180) << "after the span";
  EXPECT_GT(Spread(v, 37, 0.6, 0.2, 0.9, 0.8), 180) << "after the span";
}

TEST_F(Stages, ALookUpFilterRecoloursItsSpan) {
  // A table that inverts every colour.
  WriteFile(Path("invert.cube"), "LUT_3D_SIZE 2\n1 1 1\n0 1 1\n1 0 1\n0 0 1\n1 1 0\n0 1 0\n1 0 0\n0 0 0\n");
  DecodedVideo v = Render("red.mp4", R"(, "pipList": [{"pipType": 7, "timelineFrom": 0, "timelineTo": 1,
      "lookUpFilterIntensity": 1, "lookUpFilterPath": "invert.cube"}])");
  EXPECT_COLOR(v, 12, 0.5, 0.5, (Rgb{0, 255, 255}));
  EXPECT_COLOR(v, 37, 0.5, 0.5, kRed);
}

TEST_F(Stages, AToningBrightensItsSpan) {
  DecodedVideo v = Render("grey.png", R"(, "pipList": [{"pipType": 2, "timelineFrom": 1, "timelineTo": 2,
      "brightness": 0.3, "saturation": 0, "contrast": 0}])");
  Rgb before = v.At(12, 0.5, 0.5), during = v.At(37, 0.5, 0.5);
  EXPECT_PRED2(Close, before, (Rgb{128, 128, 128}));
  EXPECT_GT(Luma(during), Luma(before) + 30) << ToString(during);
}

TEST_F(Stages, ASpecialEffectActsOverItsSpan) {
  DecodedVideo v = Render("red.mp4", R"(, "pipList": [{"pipType": 1, "folderPath": ")" +
                                         Resource("effects", "black-and-white") +
                                         R"(", "timelineFrom": 0, "timelineTo": 1, "nApplyRange": 0}])");
  Rgb during = v.At(12, 0.5, 0.5);
  EXPECT_LT(std::abs(during.r - during.g), 20) << ToString(during);
  EXPECT_COLOR(v, 37, 0.5, 0.5, kRed);
}

TEST_F(Stages, AnEffectOnTheMainTrackOnlyLeavesOverlaysInColour) {
  const std::string overlay = Overlay("blue.mp4", 0, 2, 0.5, 0, 0.5, 1);
  for (int range : {0, 1}) {
    SCOPED_TRACE("nApplyRange " + std::to_string(range));
    DecodedVideo v = Render("red.mp4", R"(, "pipList": [)" + overlay + R"(, {"pipType": 1, "folderPath": ")" +
                                           Resource("effects", "black-and-white") +
                                           R"(", "timelineFrom": 0, "timelineTo": 2, "nApplyRange": )" +
                                           std::to_string(range) + "}]");
    Rgb main = v.At(25, 0.25, 0.5), pip = v.At(25, 0.75, 0.5);
    EXPECT_LT(std::abs(main.r - main.g), 20) << ToString(main);
    if (range == 1)
      EXPECT_PRED2(Close, pip, kBlue);
    else
      EXPECT_LT(std::abs(pip.b - pip.r), 20) << ToString(pip);
  }
}

TEST_F(Stages, OverlaysAreDrawnInTheirRectangleOverTheirSpan) {
  DecodedVideo v =
      Render("red.mp4", R"(, "pipList": [)" + Overlay("blue.mp4", 0.5, 1.5, 0.5, 0, 0.5, 0.5) + "]");
  EXPECT_COLOR(v, 5, 0.75, 0.25, kRed);
  EXPECT_COLOR(v, 25, 0.75, 0.25, kBlue);
  EXPECT_COLOR(v, 25, 0.25, 0.75, kRed);
  EXPECT_COLOR(v, 45, 0.75, 0.25, kRed);
}

TEST_F(Stages, LevelsStackOverlaysAndToningsInTheirListOrder) {
  // Level 1 blue on the left, level 2 a darkening toning, level 3 green on
  // the right, and level 4 yellow over the middle of both: the toning darkens
  // what lies below it only.
  DecodedVideo v =
      Render("red.mp4", R"(, "pipList": [)" + Overlay("blue.mp4", 0, 2, 0, 0, 0.5, 1) +
                            R"(, {"pipType": 2, "timelineFrom": 0, "timelineTo": 2, "brightness": -0.5,
                        "saturation": 0, "contrast": 0}, )" +
                            Overlay("green.mp4", 0, 2, 0.5, 0, 0.5, 1) + ", " +
                            Overlay("yellow.jpg", 0, 2, 0.4, 0.4, 0.2, 0.2) + "]");
  Rgb blue = v.At(25, 0.2, 0.2), green = v.At(25, 0.8, 0.2), yellow = v.At(25, 0.5, 0.5);
  EXPECT_LT(blue.b, 225) << "the toning darkens the level below it: " << ToString(blue);
  EXPECT_GT(blue.b, blue.r + 40) << ToString(blue);
  EXPECT_PRED2(Close, green, kGreen);
  EXPECT_PRED2(Close, yellow, kYellow);
}

TEST_F(Stages, AnOverlaysKeyFramesMoveItAcrossTheCanvas) {
  // Key frame times are the item's own; rectangles are fractions of the
  // canvas, which the program turns into pixels for the library.
  std::string overlay = Overlay("blue.mp4", 0, 2, 0, 0, 0.5, 1);
  overlay.insert(overlay.rfind("}}"), R"(, "animates": [
      {"atTime": 0, "opacity": 1, "showRectF": {"x": 0, "y": 0, "width": 0.5, "height": 1}},
      {"atTime": 1, "opacity": 1, "showRectF": {"x": 0.5, "y": 0, "width": 0.5, "height": 1}}])");
  DecodedVideo v = Render("red.mp4", R"(, "pipList": [)" + overlay + "]");
  EXPECT_COLOR(v, 0, 0.25, 0.5, kBlue);
  EXPECT_COLOR(v, 0, 0.75, 0.5, kRed);
  EXPECT_COLOR(v, 30, 0.25, 0.5, kRed);
  EXPECT_COLOR(v, 30, 0.75, 0.5, kBlue);
}

TEST_F(Stages, TheLogoIsDrawnOverEverythingForTheWholeVideo) {
  DecodedVideo v = Render("red.mp4", R"(, "pipList": [)" + Overlay("blue.mp4", 0, 2, 0, 0, 1, 1) +
                                         R"(], "logoOverlay": {"path": "yellow.jpg", "alpha": 1, "rotate": 0,
      "showRectF": {"x": 0.05, "y": 0.05, "width": 0.2, "height": 0.2},
      "cropRect": {"x": 0, "y": 0, "width": 1, "height": 1}})");
  for (int frame : {0, 25, 49})
    EXPECT_COLOR(v, frame, 0.15, 0.15, kYellow);
  EXPECT_COLOR(v, 25, 0.6, 0.6, kBlue);
}

TEST_F(Stages, AStickerShowsOverItsSpan) {
  DecodedVideo v = Render("blue.mp4", R"(, "pipList": [{"pipType": 4, "imageFolderPath": ")" +
                                          Resource("stickers", "star") +
                                          R"(", "timelineFrom": 0, "timelineTo": 1, "opacity": 1, "scale": 1,
      "angle": 0, "blendType": 0, "centerF": {"x": 0.5, "y": 0.5}, "sizeF": {"width": 0.5, "height": 0.8}}])");
  int changed = 0, after = 0;
  for (double y = 0.2; y < 0.8; y += 0.05)
    for (double x = 0.3; x < 0.7; x += 0.05) {
      if (!Close(v.At(12, x, y), kBlue)) ++changed;
      if (!Close(v.At(37, x, y), kBlue)) ++after;
    }
  EXPECT_GT(changed, 10);
  EXPECT_EQ(after, 0);
}

TEST_F(Stages, ACaptionReadsBackOverItsSpanOnly) {
  DecodedVideo v =
      Render("blue.mp4", R"(, "subtitleExs": [{"folderPath": ")" + Resource("captions", "plain") +
                             R"(", "timelineFrom": 0, "timelineTo": 1, "opacity": 1,
      "scale": 1, "angle": 0, "showRectF": {"x": 0.05, "y": 0.3, "width": 0.9, "height": 0.4},
      "wordItem": [{"text": "HELLO", "fontSize": 60, "opacity": 1, "textAlignment": 1,
                    "textColor": {"red": 1, "green": 1, "blue": 1, "alpha": 1},
                    "showRectF": {"x": 0, "y": 0, "width": 1, "height": 1}}]}])");
  EXPECT_EQ(ReadText(v, 12, folder(), "eng"), "HELLO");
  EXPECT_EQ(ReadText(v, 37, folder(), "eng"), "");
}

TEST_F(Stages, MusicSoundsOverItsSpanAndASoundEffectAtItsVolume) {
  // green.mp4 has no sound: what is heard is the music and the effect.
  DecodedVideo v = Render("green.mp4", R"(, "musics": [{"path": "tone.mp3", "timelineFrom": 0.2,
      "timelineTo": 0.8, "trimTimeStart": 0, "trimTimeEnd": 0.6, "volume": 1, "speed": 1}],
      "soundEffects": [{"path": "tone.mp3", "timelineFrom": 1.2, "timelineTo": 1.8, "trimTimeStart": 0,
      "trimTimeEnd": 0.6, "volume": 0.5, "speed": 1}])");
  const double music = v.Rms(0.3, 0.7), effect = v.Rms(1.3, 1.7);
  EXPECT_GT(music, 0.05);
  EXPECT_LT(v.Rms(0.9, 1.1), 0.005);
  EXPECT_LT(v.Rms(1.9, 2.0), 0.005);
  EXPECT_NEAR(effect / music, 0.5, 0.1);
}

TEST_F(Stages, ElementsReachingPastTheTimelinesEndStopWithIt) {
  std::string output;
  DecodedVideo v = Render("red.mp4", R"(, "pipList": [{"pipType": 7, "timelineFrom": 1.5, "timelineTo": 9,
      "lookUpFilterIntensity": 1, "lookUpFilterPath": "invert.cube"}],
      "musics": [{"path": "tone.mp3", "timelineFrom": 1.0, "timelineTo": 3.0, "trimTimeStart": 0,
      "trimTimeEnd": 2, "volume": 1, "speed": 1}])",
                          &output);
  (void)output;
  EXPECT_EQ(v.FrameCount(), 50);
  EXPECT_NEAR(v.durationSeconds, 2.0, 0.05);
  EXPECT_COLOR(v, 49, 0.5, 0.5, kRed); // no table file: left out, the export goes on
}

} // namespace
