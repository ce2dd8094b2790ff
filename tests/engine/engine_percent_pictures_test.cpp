// Still pictures whose path holds "%" ("pct%03d.jpg", "f %d/bg.png") are single files
// wherever a draft names a picture: as a scene's medium, a scene's
// background, an overlay, the logo, a sticker's frames, a mask picture and a
// look-up table picture. FFmpeg's image reader would take such a name as a
// numbered sequence ("pct000.jpg", "pct001.jpg", ...) and find no file. A
// path holds one such pattern only: with two, FFmpeg no longer takes it for
// a sequence, and nothing would be tested. Each
// case is rendered through the program and the core library and its video
// decoded; theme sizes are read through the same probe (engine_theme_test).
#include <filesystem>

#include "tests/engine/program_run.h"

namespace {

namespace fs = std::filesystem;

const Rgb kRed{255, 0, 0}, kBlue{0, 0, 255}, kYellow{255, 255, 0}, kWhite{255, 255, 255}, kCyan{0, 255, 255};

#define EXPECT_COLOR(video, frame, x, y, color)                                                              \
  EXPECT_PRED2(Close, (video).At((frame), (x), (y)), (color))                                                \
      << "frame " << (frame) << " at " << (x) << "," << (y) << " is "                                        \
      << ToString((video).At((frame), (x), (y)))

class PercentPictures : public ProgramTest {
protected:
  // Names and a folder that FFmpeg's image reader reads as patterns, each
  // a copy of a generated picture.
  void SetUp() override {
    ProgramTest::SetUp();
    fs::create_directories(Path("f %d"));
    WriteFile(Path("pct%03d.jpg"), ReadFile(Media("yellow.jpg")));
    WriteFile(Path("f %d/bg.png"), ReadFile(Media("halves.png")));
    WriteFile(Path("ov%d.bmp"), ReadFile(Media("white.bmp")));
    WriteFile(Path("f %d/logo.jpg"), ReadFile(Media("yellow.jpg")));
    WriteFile(Path("matte%d.png"), ReadFile(Media("matte.png")));
    WriteFile(Path("f %d/lut.png"), ReadFile(Media("hald_invert.png")));
    fs::copy(std::string(ORMA_SOURCE_DIR) + "/resources/stickers/star", Path("star%02d"),
             fs::copy_options::recursive);
  }

  // One second of `scene` (a scene object of ProgramTest::Scene, open) with
  // the root keys given, exported and decoded.
  DecodedVideo Render(const std::string& scene, const std::string& media, const std::string& root = "") {
    WriteDraft(scene + "}", Slot(media, 0, 1), root);
    WriteSettings("");
    ProgramRun run = Ormadraft();
    EXPECT_NE(run.output.find("export success!"), std::string::npos) << run.output;
    EXPECT_EQ(run.output.find("No such file"), std::string::npos) << run.output;
    DecodedVideo v = Decode("video.mp4");
    EXPECT_TRUE(v.ok) << v.error << run.output;
    EXPECT_EQ(v.FrameCount(), 25) << run.output;
    return v;
  }
};

TEST_F(PercentPictures, ASceneMediumNamedLikeANumberedSequenceIsOnePicture) {
  DecodedVideo v = Render(Scene("pct%03d.jpg", 0, 1), "pct%03d.jpg");
  if (v.FrameCount() < 25) return;
  EXPECT_COLOR(v, 12, 0.5, 0.5, kYellow);
}

TEST_F(PercentPictures, ABackgroundPictureInAFolderNamedWithPercentIsDrawn) {
  // The red clip covers the left half; the picture's blue half shows right.
  DecodedVideo v =
      Render(Scene("red.mp4", 0, 1, R"(, "showRectF": {"x": 0, "y": 0, "width": 0.5, "height": 1})") +
                 R"(, "background": {"imagePath": "f %d/bg.png"})",
             "red.mp4");
  if (v.FrameCount() < 25) return;
  EXPECT_COLOR(v, 12, 0.25, 0.5, kRed);
  EXPECT_COLOR(v, 12, 0.9, 0.5, kBlue);
}

TEST_F(PercentPictures, AnOverlayAndTheLogoNamedWithPercentAreDrawn) {
  DecodedVideo v = Render(Scene("red.mp4", 0, 1), "red.mp4", R"(, "pipList": [{"pipType": 0,
      "timelineFrom": 0, "timelineTo": 1, "media": {"path": "ov%d.bmp", "trimTimeStart": 0,
      "trimTimeEnd": 1, "speed": 1, "volume": 0, "alpha": 1,
      "showRectF": {"x": 0, "y": 0, "width": 0.5, "height": 0.5},
      "cropRect": {"x": 0, "y": 0, "width": 1, "height": 1}}}],
    "logoOverlay": {"path": "f %d/logo.jpg", "alpha": 1, "rotate": 0,
      "showRectF": {"x": 0.6, "y": 0.6, "width": 0.3, "height": 0.3},
      "cropRect": {"x": 0, "y": 0, "width": 1, "height": 1}})");
  if (v.FrameCount() < 25) return;
  EXPECT_COLOR(v, 12, 0.25, 0.25, kWhite);
  EXPECT_COLOR(v, 12, 0.75, 0.75, kYellow);
  EXPECT_COLOR(v, 12, 0.25, 0.75, kRed);
}

TEST_F(PercentPictures, AStickerWhoseFolderIsNamedWithPercentShowsItsFrames) {
  DecodedVideo v = Render(Scene("blue.mp4", 0, 1), "blue.mp4",
                          R"(, "pipList": [{"pipType": 4, "imageFolderPath": "star%02d",
      "timelineFrom": 0, "timelineTo": 1, "opacity": 1, "scale": 1, "angle": 0, "blendType": 0,
      "centerF": {"x": 0.5, "y": 0.5}, "sizeF": {"width": 0.5, "height": 0.8}}])");
  if (v.FrameCount() < 25) return;
  int changed = 0;
  for (double y = 0.2; y < 0.8; y += 0.05)
    for (double x = 0.3; x < 0.7; x += 0.05)
      if (!Close(v.At(12, x, y), kBlue)) ++changed;
  EXPECT_GT(changed, 10) << "the sticker is drawn over the blue clip";
}

TEST_F(PercentPictures, AMaskPictureNamedWithPercentHidesWhatItsBlackHalfCovers) {
  // The matte is white on the left and black on the right.
  DecodedVideo v =
      Render(Scene("red.mp4", 0, 1, R"(, "maskObject": {"maskImagePath": "matte%d.png"})"), "red.mp4");
  if (v.FrameCount() < 25) return;
  EXPECT_COLOR(v, 12, 0.25, 0.5, kRed);
  Rgb hidden = v.At(12, 0.75, 0.5);
  EXPECT_LT(hidden.r, 60) << ToString(hidden);
}

TEST_F(PercentPictures, ALookUpTablePictureNamedWithPercentRecoloursTheMedium) {
  // The HALD table inverts every colour: red becomes cyan.
  DecodedVideo v = Render(
      Scene("red.mp4", 0, 1, R"(, "filterPath": "f %d/lut.png", "filterType": 11, "filterIntensity": 1)"),
      "red.mp4");
  if (v.FrameCount() < 25) return;
  EXPECT_COLOR(v, 12, 0.5, 0.5, kCyan);
}

} // namespace
