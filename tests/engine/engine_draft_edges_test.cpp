// Drafts as a new user's editor writes them, run through the program and the
// core library together: an export range, a bare draft name, pieces sharing
// a text, empty spans and values just out of range, missing per-item
// resources, relative background pictures. Each test decodes the video.
#include <cstdio>

#include "tests/engine/program_run.h"

namespace {

const Rgb kRed{255, 0, 0}, kBlue{0, 0, 255}, kYellow{255, 255, 0};

class DraftEdges : public ProgramTest {
protected:
  // Red over [0, 2) s, then blue over [2, 5) s.
  void WriteRedThenBlue(const std::string& redMore = "", const std::string& root = "") {
    WriteDraft(ClosedScene("red.mp4", 0, 2, redMore) + "," + ClosedScene("blue.mp4", 2, 5),
               Slot("red.mp4", 0, 2) + "," + Slot("blue.mp4", 2, 5), root);
  }

  static size_t Count(const std::string& text, const std::string& piece) {
    size_t n = 0;
    for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1))
      ++n;
    return n;
  }
};

// Pixels of a colour (within 60 per channel) in an area of a frame.
int CountNear(const DecodedVideo& v, int frame, Rgb colour, double x0, double x1, double y0, double y1) {
  int n = 0;
  for (double y = y0; y < y1; y += 1.0 / v.height)
    for (double x = x0; x < x1; x += 1.0 / v.width)
      if (Near(v.At(frame, x, y), colour, 60)) ++n;
  return n;
}

TEST_F(DraftEdges, AnExportRangeShowsThatPartOfTheTimeline) {
  WriteRedThenBlue();
  WriteSettings("");
  const double ranges[][2] = {{1.0, 3.0}, {0.5, 3.0}, {1.5, 4.5}};
  for (const auto& range : ranges) {
    SCOPED_TRACE(Seconds(range[0]) + ".." + Seconds(range[1]));
    std::remove(Path("video.mp4").c_str());
    ProgramRun run = Ormadraft("", Seconds(range[0]) + " " + Seconds(range[1]));
    DecodedVideo v = Decode("video.mp4");
    ASSERT_TRUE(v.ok) << v.error << run.output;
    // A bound on half a frame (0.5 s at 25 fps) may round either way.
    EXPECT_NEAR(v.FrameCount(), (range[1] - range[0]) * 25, 1.0);
    const int cut = static_cast<int>((2.0 - range[0]) * 25); // the red frames before blue
    EXPECT_PRED2(Close, v.At(0, 0.5, 0.5), kRed);
    EXPECT_PRED2(Close, v.At(cut - 2, 0.5, 0.5), kRed) << "frame " << cut - 2;
    EXPECT_PRED2(Close, v.At(cut + 1, 0.5, 0.5), kBlue) << "frame " << cut + 1;
    EXPECT_PRED2(Close, v.At(v.FrameCount() - 1, 0.5, 0.5), kBlue);
  }
}

TEST_F(DraftEdges, AReversedExportRangeFailsAndWritesNothing) {
  WriteRedThenBlue();
  WriteSettings("");
  ProgramRun run = Ormadraft("", "0.8 0.3");
  EXPECT_NE(run.output.find("export failed, errorcode:-2261"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("selects no time"), std::string::npos) << run.output;
  EXPECT_FALSE(FileExists(Path("video.mp4")));
}

TEST_F(DraftEdges, ABareDraftNameRunFromItsFolderFindsItsMedia) {
  WriteRedThenBlue();
  WriteSettings("");
  ProgramRun run = Run("draft.json export.json 0 1");
  EXPECT_NE(run.output.find("export success!"), std::string::npos) << run.output;
  DecodedVideo v = Decode("video.mp4");
  ASSERT_TRUE(v.ok) << v.error << run.output;
  EXPECT_PRED2(Close, v.At(5, 0.5, 0.5), kRed);
}

TEST_F(DraftEdges, ARelativeBackgroundPictureIsFoundBesideTheDraftFromAnyFolder) {
  // The red item covers the left half only; the picture (left half red,
  // right half blue) shows on the right. The program runs from "/".
  WriteDraft(Scene("red.mp4", 0, 1, R"(, "showRectF": {"x": 0, "y": 0, "width": 0.5, "height": 1})") +
                 R"(, "background": {"imagePath": "halves.png"}})",
             Slot("red.mp4", 0, 1));
  WriteSettings("");
  ProgramRun run = Run(Quoted(Path("draft.json")) + " " + Quoted(Path("export.json")), "/");
  EXPECT_NE(run.output.find("export success!"), std::string::npos) << run.output;
  DecodedVideo v = Decode("video.mp4");
  ASSERT_TRUE(v.ok) << v.error << run.output;
  EXPECT_PRED2(Close, v.At(10, 0.9, 0.5), kBlue);
}

TEST_F(DraftEdges, TwoPiecesWithTheSameTextAreBothDrawnInTheirOwnColours) {
  const std::string piece = R"({"text": "AB", "fontSize": 60, "opacity": 1, "textAlignment": 1,
      "textColor": {"red": %R, "green": %G, "blue": 0, "alpha": 1},
      "showRectF": {"x": %X, "y": 0, "width": 0.5, "height": 1}})";
  auto Piece = [&](const char* red, const char* green, const char* x) {
    std::string p = piece;
    p.replace(p.find("%R"), 2, red);
    p.replace(p.find("%G"), 2, green);
    p.replace(p.find("%X"), 2, x);
    return p;
  };
  const std::string caption = R"(, "subtitleExs": [{"folderPath": ")" + std::string(ORMA_SOURCE_DIR) +
                              R"(/resources/captions/plain", "timelineFrom": 0, "timelineTo": 2,
      "opacity": 1, "scale": 1, "angle": 0, "showRectF": {"x": 0.05, "y": 0.2, "width": 0.9, "height": 0.6},
      "wordItem": [)" + Piece("1", "0", "0") +
                              "," + Piece("1", "1", "0.5") + "]}]";
  WriteDraft(ClosedScene("blue.mp4", 0, 2), Slot("blue.mp4", 0, 2), caption);
  WriteSettings("");
  ProgramRun run = Ormadraft();
  DecodedVideo v = Decode("video.mp4");
  ASSERT_TRUE(v.ok) << v.error << run.output;
  EXPECT_GT(CountNear(v, 25, kRed, 0.0, 0.5, 0.1, 0.9), 40) << run.output;
  EXPECT_GT(CountNear(v, 25, kYellow, 0.5, 1.0, 0.1, 0.9), 40) << run.output;
  EXPECT_LT(CountNear(v, 25, kYellow, 0.0, 0.5, 0.1, 0.9), 5);
}

TEST_F(DraftEdges, ACaptionOpacityPastOneIsBroughtIntoRangeAtTheCallAndTheCaptionIsDrawnOpaque) {
  // The caption's opacity is limited once, where the library takes it, with
  // the same log line as an item's; the drawing code takes it as it is.
  const std::string caption = R"(, "subtitleExs": [{"folderPath": ")" + std::string(ORMA_SOURCE_DIR) +
                              R"(/resources/captions/plain", "timelineFrom": 0, "timelineTo": 2,
      "opacity": 1.5, "scale": 1, "angle": 0, "showRectF": {"x": 0.05, "y": 0.2, "width": 0.9, "height": 0.6},
      "wordItem": [{"text": "AB", "fontSize": 60, "opacity": 1, "textAlignment": 1,
      "textColor": {"red": 1, "green": 0, "blue": 0, "alpha": 1},
      "showRectF": {"x": 0, "y": 0, "width": 1, "height": 1}}]}])";
  WriteDraft(ClosedScene("blue.mp4", 0, 2), Slot("blue.mp4", 0, 2), caption);
  WriteSettings("");
  ProgramRun run = Ormadraft();
  EXPECT_EQ(Count(run.output, "OrmaSetCaptionTransparency: opacity 1.5 is outside 0..1; 1 is used"), 1u)
      << run.output;
  DecodedVideo v = Decode("video.mp4");
  ASSERT_TRUE(v.ok) << v.error << run.output;
  EXPECT_GT(CountNear(v, 25, kRed, 0.0, 1.0, 0.1, 0.9), 40) << run.output;
}

TEST_F(DraftEdges, EmptySpansAndValuesJustOutOfRangeAreLoggedAndTheExportGoesOn) {
  // A toning at 0.5-0.5 s, a mosaic from 2 s back to 1 s, an item opacity
  // of 1.01, music at speed 150 and volume -0.5.
  WriteRedThenBlue(
      R"(, "alpha": 1.01)",
      R"(, "pipList": [{"pipType": 2, "timelineFrom": 0.5, "timelineTo": 0.5, "brightness": 0.5}],
      "mosaics": [{"type": 0, "timelineFrom": 2, "timelineTo": 1, "intensity": 1,
                   "pointsArray": [{"x": 0, "y": 0}, {"x": 1, "y": 0}, {"x": 1, "y": 1}, {"x": 0, "y": 1}]}],
      "musics": [{"path": "tone.mp3", "timelineFrom": 0, "timelineTo": 2, "trimTimeStart": 0,
                  "trimTimeEnd": 2, "volume": -0.5, "speed": 150}])");
  WriteSettings("");
  ProgramRun run = Ormadraft("", "0 3");
  EXPECT_NE(run.output.find("export success!"), std::string::npos) << run.output;
  EXPECT_EQ(Count(run.output, "is empty; the element is left out of the video"), 2u) << run.output;
  EXPECT_EQ(Count(run.output, "OrmaSetMediaTransparency: opacity 1.01"), 1u) << run.output;
  EXPECT_EQ(Count(run.output, "OrmaSetAudioMediaPlaySpeed: speed 150 is outside 0..100; 100 is used"), 1u)
      << run.output;
  EXPECT_EQ(Count(run.output, "OrmaAddAudioMedia: volume -0.5 is below 0; 0 is used"), 1u) << run.output;
  DecodedVideo v = Decode("video.mp4");
  ASSERT_TRUE(v.ok) << v.error << run.output;
  EXPECT_PRED2(Close, v.At(12, 0.5, 0.5), kRed); // no toning at 0.5 s
  EXPECT_PRED2(Close, v.At(37, 0.5, 0.5), kRed); // no mosaic
  EXPECT_PRED2(Close, v.At(60, 0.5, 0.5), kBlue);
}

TEST_F(DraftEdges, MissingPerItemResourcesAreLoggedAndTheItemIsDrawnWithout) {
  WriteRedThenBlue(R"(, "filterType": 11, "filterPath": "gone.cube", "filterIntensity": 1,
      "customAnimations": [{"type": 0, "duration": 0.5, "folderPath": "no-animation"}],
      "maskObject": {"folderPath": "no-mask", "width": 0.1, "height": 0.1},
      "specialEffects": [{"folderPath": "no-effect", "timelineFrom": 0, "timelineTo": 1}])");
  WriteSettings("");
  ProgramRun run = Ormadraft("", "0 2");
  EXPECT_NE(run.output.find("export success!"), std::string::npos) << run.output;
  EXPECT_EQ(Count(run.output, "; the item is drawn without it"), 4u) << run.output;
  for (const char* name : {"gone.cube", "no-animation", "no-mask", "no-effect"})
    EXPECT_NE(run.output.find(name), std::string::npos) << name;
  DecodedVideo v = Decode("video.mp4");
  ASSERT_TRUE(v.ok) << v.error << run.output;
  EXPECT_PRED2(Close, v.At(2, 0.05, 0.05), kRed);
  EXPECT_PRED2(Close, v.At(20, 0.5, 0.5), kRed);
}

} // namespace
