// Template themes through the whole program: a theme request as the only
// argument, a shipped sample theme filled with generated clips and a picture,
// and the video the core library writes looked at frame by frame: its
// length, each medium's colour inside its placeholder's frame in order, the
// theme's caption read back, and silence where the media-group file mutes.
//
// The sample theme is copied into the test's folder with a 320x180 canvas
// (its rectangles are fractions of the canvas, so it is the same theme) and
// its resource references made absolute, so renders stay small.
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <regex>
#include <string>

#include "tests/engine/engine_test_support.h"
#include "tests/engine/ocr.h"

namespace fs = std::filesystem;

namespace {

const Rgb kRed{255, 0, 0}, kBlue{0, 0, 255}, kGreen{0, 255, 0};
const Rgb kFrameBackground{245, 163, 97};           // the framed scene's background colour
const FrameArea kCaptionArea{0.3, 0.75, 0.7, 0.95}; // where the theme's caption stands

class ThemeEndToEnd : public EngineTest {
protected:
  void SetUp() override {
    EngineTest::SetUp();
#ifndef ORMADRAFT_EXE
    GTEST_SKIP() << "the ormadraft program is not part of this build";
#endif
    const std::string source = std::string(ORMA_SOURCE_DIR) + "/resources/TemplateThemes/01_travel/01_summer";
    if (!FileExists(source + "/intro.mp4"))
      GTEST_SKIP() << "the theme media are made by the build (theme_media)";
    const std::string theme = Path("lib/01_travel/01_summer");
    fs::create_directories(theme);
    for (const auto& entry : fs::directory_iterator(source))
      fs::copy(entry.path(), theme + "/" + entry.path().filename().string());
    std::string config = ReadFile(theme + "/config.json");
    config = std::regex_replace(config, std::regex(R"("width": 640,\s*"height": 360)"),
                                R"("width": 320, "height": 180)");
    config = std::regex_replace(config, std::regex(R"(\.\.\\\\\.\.\\\\\.\.\\\\)"),
                                std::string(ORMA_SOURCE_DIR) + "/resources/");
    WriteFile(theme + "/config.json", config);
    MakeMedia();
  }

  // A 2.9 s red clip and a 7 s blue one with tones, and a green picture of
  // another shape than the canvas.
  void MakeMedia() {
    const std::string ff = "cd '" + folder() + "' && ffmpeg -nostdin -v error -y ";
    ASSERT_EQ(std::system((ff + "-f lavfi -i color=c=red:s=320x180:r=25:d=2.9 -f lavfi -i sine=f=440:d=2.9 "
                                "-shortest -c:v libx264 -pix_fmt yuv420p -c:a aac 'my red.mp4'")
                              .c_str()),
              0);
    ASSERT_EQ(std::system((ff + "-f lavfi -i color=c=blue:s=480x180:r=25:d=7 -f lavfi -i sine=f=660:d=7 "
                                "-shortest -c:v libx264 -pix_fmt yuv420p -c:a aac blue.mp4")
                              .c_str()),
              0);
    ASSERT_EQ(std::system((ff + "-f lavfi -i color=c=0x00ff00:s=200x300 -frames:v 1 green.png").c_str()), 0);
  }

  // Runs the program on a request for the sample theme with these media.
  std::string Fill(const std::string& medias) {
    WriteFile(Path("request.json"), R"({"ver": 1, "type": "TemplateThemes", "id": "travel-summer",
      "outputPath": "out/theme.mp4", "medias": [)" +
                                        medias + "]}");
    std::string output;
#ifdef ORMADRAFT_EXE
    std::string command = "cd '" + folder() + "' && ORMADRAFT_THEMES='" + Path("lib") +
                          "' ORMADRAFT_DRAFTS='" + Path("drafts") + "' '" + ORMADRAFT_EXE +
                          "' request.json 2>&1";
    output = CommandOutput(command);
#endif
    return output;
  }

  static double FrameAt(const DecodedVideo& v, double seconds) { return seconds * v.fpsNum / v.fpsDen; }
  Rgb At(const DecodedVideo& v, double seconds, double x, double y) {
    return v.At(static_cast<int>(FrameAt(v, seconds)), x, y);
  }
};

TEST_F(ThemeEndToEnd, OneClipReplacesThePlaceholdersBetweenTheFixedIntroAndOutro) {
  std::string run = Fill(R"({"path": "blue.mp4"})");
  ASSERT_NE(run.find("export success!"), std::string::npos) << run;
  DecodedVideo v = Decode("out/theme.mp4");
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_NEAR(v.durationSeconds, 2 + 7 + 2, 0.05); // intro, the clip, outro
  EXPECT_PRED2(Close, At(v, 5.5, 0.5, 0.4), kBlue);
  EXPECT_PRED2(Close, At(v, 5.5, 0.05, 0.5), kBlue) << "the first placeholder fills the canvas";
  Rgb intro = At(v, 1.0, 0.2, 0.5), outro = At(v, 10.5, 0.2, 0.5);
  EXPECT_LT(intro.r, 60) << ToString(intro); // the theme's dark blue opening and closing
  EXPECT_LT(outro.r, 60) << ToString(outro);
}

TEST_F(ThemeEndToEnd, ThreeMediaFillTheThreePlaceholdersInOrderWithTheCaption) {
  std::string run = Fill(R"({"path": "my red.mp4"}, {"path": "blue.mp4"}, {"path": "green.png"})");
  ASSERT_NE(run.find("export success!"), std::string::npos) << run;
  // The new draft was written into the drafts folder (and, exported, removed).
  std::smatch draft;
  ASSERT_TRUE(std::regex_search(run, draft, std::regex("themes json path:(\\S+config_temp_[0-9]+\\.json)")))
      << run;
  EXPECT_EQ(draft[1].str().rfind(Path("drafts/"), 0), 0u) << draft[1];
  EXPECT_TRUE(fs::is_directory(Path("drafts")));
  EXPECT_NE(run.find("Directory created: " + Path("out")), std::string::npos) << run;

  DecodedVideo v = Decode("out/theme.mp4");
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_NEAR(v.durationSeconds, 2 + 2 + 7 + 3 + 2, 0.05); // the 2.9 s clip counts 2 s, the picture 3 s
  EXPECT_PRED2(Close, At(v, 3.0, 0.5, 0.4), kRed);
  EXPECT_PRED2(Close, At(v, 7.5, 0.5, 0.4), kBlue);
  EXPECT_PRED2(Close, At(v, 7.5, 0.04, 0.5), kFrameBackground) << "the second placeholder is framed";
  EXPECT_PRED2(Close, At(v, 7.5, 0.12, 0.5), kBlue) << "the wider clip is cropped to fill its frame";
  EXPECT_PRED2(Close, At(v, 12.5, 0.5, 0.4), kGreen);
  EXPECT_PRED2(Close, At(v, 12.5, 0.5, 0.05), kGreen) << "the tall picture is cropped to fill the canvas";
  EXPECT_EQ(ReadText(v, static_cast<int>(FrameAt(v, 3.0)), folder(), "eng", kCaptionArea), "SUMMER");
  EXPECT_GT(v.Rms(2.5, 3.5), 0.02) << "the clip's tone and the music play";
}

TEST_F(ThemeEndToEnd, FiveMediaRepeatThePlaceholdersAndTheMiddleCaption) {
  std::string run = Fill(R"({"path": "my red.mp4"}, {"path": "blue.mp4"}, {"path": "green.png"},
                            {"path": "my red.mp4"}, {"path": "blue.mp4"})");
  ASSERT_NE(run.find("export success!"), std::string::npos) << run;
  DecodedVideo v = Decode("out/theme.mp4");
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_NEAR(v.durationSeconds, 2 + 2 + 7 + 3 + 2 + 7 + 2, 0.05);
  const struct {
    double at;
    Rgb colour;
  } expected[] = {{3.0, kRed}, {7.5, kBlue}, {12.5, kGreen}, {15.6, kRed}, {19.5, kBlue}};
  for (const auto& e : expected)
    EXPECT_PRED2(Close, At(v, e.at, 0.5, 0.4), e.colour) << e.at;
  EXPECT_PRED2(Close, At(v, 19.5, 0.04, 0.5), kFrameBackground) << "the repeated framed scene";
  Rgb outro = At(v, 24.5, 0.2, 0.5);
  EXPECT_LT(outro.r, 60) << ToString(outro);
  // The flash at the start of the first clip comes back one theme length
  // (13 s) later, over the repeated red clip.
  Rgb flash = At(v, 15.1, 0.5, 0.4);
  EXPECT_GT(flash.g, 120) << ToString(flash);
  // The caption of the middle is repeated over the repeated middle.
  EXPECT_EQ(ReadText(v, static_cast<int>(FrameAt(v, 15.6)), folder(), "eng", kCaptionArea), "SUMMER");
}

TEST_F(ThemeEndToEnd, AMutingMediaGroupFileSilencesClipsAndMusic) {
  WriteFile(Path("group.json"), R"({"medias": [{"path": "my red.mp4", "volume": 0}, {"path": "blue.mp4",
      "volume": 0}], "isMute": 1})");
  std::string run =
      Fill(R"({"path": "my red.mp4"}, {"path": "blue.mp4"}, {"path": ")" + Path("group.json") + R"("})");
  ASSERT_NE(run.find("export success!"), std::string::npos) << run;
  DecodedVideo v = Decode("out/theme.mp4");
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_NEAR(v.durationSeconds, 2 + 2 + 7 + 2, 0.05);
  EXPECT_PRED2(Close, At(v, 3.0, 0.5, 0.4), kRed);
  EXPECT_LT(v.Rms(0, v.durationSeconds), 0.001);
}

TEST_F(ThemeEndToEnd, APictureWhosePathHoldsPercentSignsIsSizedAndShownAsOneFile) {
  // The theme reads each medium's size and length to fit its placeholder;
  // "pic.png" in a folder "f %d" must not be taken for a numbered sequence.
  fs::create_directories(Path("f %d"));
  fs::copy_file(Path("green.png"), Path("f %d/pic.png"));
  std::string run = Fill(R"({"path": "my red.mp4"}, {"path": "blue.mp4"}, {"path": "f %d/pic.png"})");
  ASSERT_NE(run.find("export success!"), std::string::npos) << run;
  DecodedVideo v = Decode("out/theme.mp4");
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_NEAR(v.durationSeconds, 2 + 2 + 7 + 3 + 2, 0.05); // the picture counts 3 s
  EXPECT_PRED2(Close, At(v, 12.5, 0.5, 0.4), kGreen);
  EXPECT_PRED2(Close, At(v, 12.5, 0.5, 0.05), kGreen) << "the tall picture is cropped to fill the canvas";
}

TEST_F(ThemeEndToEnd, AnInterruptedThemeExportRemovesItsNewDraftAndItsTemporaryVideo) {
  WriteFile(Path("request.json"), R"({"ver": 1, "type": "TemplateThemes", "id": "travel-summer",
      "outputPath": "out/theme.mp4", "medias": [{"path": "my red.mp4"}, {"path": "blue.mp4"}]})");
  std::string output;
#ifdef ORMADRAFT_EXE
  // Signalled once the export has begun to write (a progress line is out).
  // SIGTERM: a shell starts a background job with SIGINT ignored, and the
  // program leaves an ignored signal ignored.
  const std::string command = "cd '" + folder() + "' && { ORMADRAFT_THEMES='" + Path("lib") +
                              "' ORMADRAFT_DRAFTS='" + Path("drafts") + "' '" + ORMADRAFT_EXE +
                              "' request.json >out.txt 2>err.txt & pid=$!; "
                              "for i in $(seq 600); do grep -q progress: out.txt && break; sleep 0.05; done; "
                              "kill -TERM $pid; wait $pid; echo status $?; }";
  output = CommandOutput(command);
#endif
  const std::string out = ReadFile(Path("out.txt"));
  EXPECT_NE(output.find("status 1"), std::string::npos) << output << out;
  EXPECT_NE(out.find("export failed, errorcode:-2300"), std::string::npos) << out;
  EXPECT_NE(ReadFile(Path("err.txt")).find("Export interrupted (stopped by SIGTERM)"), std::string::npos);
  for (const auto& entry : fs::directory_iterator(Path("drafts")))
    ADD_FAILURE() << entry.path() << " was left behind";
  for (const auto& entry : fs::directory_iterator(Path("out")))
    ADD_FAILURE() << entry.path() << " was left behind";
}

} // namespace
