// Template themes through the whole program: a theme request as the only
// argument, a shipped sample theme filled with generated clips and a picture,
// and the video the core library writes looked at frame by frame: its
// length, each medium's colour inside its placeholder's frame in order, the
// theme's caption read back, and silence where the media-group file mutes.
//
// The sample theme is copied into the test's folder with a 320x180 canvas
// (its rectangles are fractions of the canvas, so it is the same theme) and
// its resource references made absolute, so renders stay small. Themes of
// the tests' own (ThemeOfItsOwn) are written from a few lines: two stickers
// over one span, music without a media-group file, a theme library named by
// a relative path.
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

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
  // The caption stays on from the first clip to the end, over the copies
  // of the placeholders too: it neither drops out at the theme's old end
  // nor comes back a theme length later.
  // (Over a transition or a busy clip the reader may add a stray mark.)
  for (double at : {10.9, 15.6, 22.5}) {
    const std::string text = ReadText(v, static_cast<int>(FrameAt(v, at)), folder(), "eng", kCaptionArea);
    EXPECT_NE(text.find("SUMMER"), std::string::npos) << at << ": " << text;
  }
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

// Themes written by the test: a library "lib" in the test folder holding one
// theme folder, filled with solid-colour pictures of 3 s each.
class ThemeOfItsOwn : public EngineTest {
protected:
  void SetUp() override {
    EngineTest::SetUp();
#ifndef ORMADRAFT_EXE
    GTEST_SKIP() << "the ormadraft program is not part of this build";
#endif
  }

  // A 320x180 picture of one colour (ffmpeg's colour names or 0xRRGGBB).
  void Picture(const std::string& path, const std::string& colour) {
    fs::create_directories(fs::path(Path(path)).parent_path());
    ASSERT_EQ(std::system(("ffmpeg -nostdin -v error -y -f lavfi -i color=c=" + colour +
                           ":s=320x180 -frames:v 1 '" + Path(path) + "'")
                              .c_str()),
              0);
  }

  // A sticker folder of one solid frame.
  void Sticker(const std::string& folder, const std::string& colour) {
    Picture(folder + "/f.png", colour);
    WriteFile(Path(folder + "/config.json"), R"({"fps": 1, "loop": true, "frames": ["f.png"]})");
  }

  // A scene showing the placeholder `path` for `seconds`; `more` is added to
  // the scene.
  static std::string Scene(const std::string& path, int seconds, const std::string& more = "") {
    return R"({"media": [{"path": ")" + path + R"(", "trimTimeStart": 0, "trimTimeEnd": )" +
           std::to_string(seconds) + R"(, "speed": 1, "volume": 1, "alpha": 1,
        "showRectF": {"x": 0, "y": 0, "width": 1, "height": 1},
        "cropRect": {"x": 0, "y": 0, "width": 1, "height": 1}}])" +
           more + "}";
  }

  // Writes lib/NAME/config.json: a 320x180 theme of `duration` seconds.
  void Theme(const std::string& name, int duration, const std::string& mediaInfo, const std::string& scenes,
             const std::string& more = "") {
    fs::create_directories(Path("lib/" + name));
    WriteFile(Path("lib/" + name + "/config.json"),
              R"({"ver": 5, "name": ")" + name + R"(", "duration": )" + std::to_string(duration) +
                  R"(, "size": {"width": 320, "height": 180}, "mediaInfo": [)" + mediaInfo +
                  R"(], "scenes": [)" + scenes + "]" + more + "}");
  }

  // Runs the program on a request for theme `id` with these media, from the
  // test folder; `themes` is the library as ORMADRAFT_THEMES names it.
  std::string Fill(const std::string& id, const std::vector<std::string>& media,
                   const std::string& themes = "") {
    std::string medias;
    for (const std::string& m : media)
      medias += std::string(medias.empty() ? "" : ", ") + R"({"path": ")" + m + R"("})";
    WriteFile(Path("request.json"), R"({"ver": 1, "type": "TemplateThemes", "id": ")" + id +
                                        R"(", "outputPath": "out/theme.mp4", "medias": [)" + medias + "]}");
    std::string output;
#ifdef ORMADRAFT_EXE
    output = CommandOutput("cd '" + folder() + "' && ORMADRAFT_THEMES='" +
                           (themes.empty() ? Path("lib") : themes) + "' ORMADRAFT_DRAFTS='" + Path("drafts") +
                           "' '" + ORMADRAFT_EXE + "' request.json 2>&1");
#endif
    return output;
  }

  static Rgb At(const DecodedVideo& v, double seconds, double x, double y) {
    return v.At(static_cast<int>(seconds * v.fpsNum / v.fpsDen), x, y);
  }
};

TEST_F(ThemeOfItsOwn, TwoStickersOverOneSpanAreBothRepeatedOverEveryPeriod) {
  // A 3 s theme with a red sticker on the left and a green one on the right
  // over its whole length, filled with three 3 s pictures: 9 s, and both
  // stickers over all of it.
  Picture("lib/TwoStickers/p1.png", "gray");
  Sticker("lib/TwoStickers/st/red", "red");
  Sticker("lib/TwoStickers/st/green", "0x00ff00");
  const std::string sticker = R"("timelineFrom": 0, "timelineTo": 3, "opacity": 1, "scale": 1, "angle": 0,
      "blendType": 0, "sizeF": {"width": 0.2, "height": 0.3})";
  Theme("TwoStickers", 3, R"({"path": "p1.png", "timelineFrom": 0, "timelineTo": 3})", Scene("p1.png", 3),
        R"(, "stickers": [{"imageFolderPath": "st/red", "centerF": {"x": 0.25, "y": 0.5}, )" + sticker +
            R"(}, {"imageFolderPath": "st/green", "centerF": {"x": 0.75, "y": 0.5}, )" + sticker + "}]");
  Picture("blue.png", "blue");
  const std::string run = Fill("TwoStickers", {"blue.png", "blue.png", "blue.png"});
  ASSERT_NE(run.find("export success!"), std::string::npos) << run;
  DecodedVideo v = Decode("out/theme.mp4");
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_NEAR(v.durationSeconds, 9, 0.05);
  for (double at : {1.5, 4.5, 7.5}) {
    EXPECT_PRED2(Close, At(v, at, 0.25, 0.5), kRed) << at << " s";
    EXPECT_PRED2(Close, At(v, at, 0.75, 0.5), kGreen) << at << " s";
    EXPECT_PRED2(Close, At(v, at, 0.5, 0.5), kBlue) << at << " s";
  }
}

TEST_F(ThemeOfItsOwn, WithoutAMediaGroupFileTheMusicIsSilenced) {
  // The request's volume is 0 unless a media-group file sets it, and every
  // music takes it: the theme's loud tone is not heard.
  Picture("lib/MusicTheme/p1.png", "gray");
  ASSERT_EQ(std::system(("ffmpeg -nostdin -v error -y -f lavfi -i sine=f=440:d=3 -c:a aac '" +
                         Path("lib/MusicTheme/music.m4a") + "'")
                            .c_str()),
            0);
  Theme("MusicTheme", 3, R"({"path": "p1.png", "timelineFrom": 0, "timelineTo": 3})", Scene("p1.png", 3),
        R"(, "musics": [{"path": "music.m4a", "timelineFrom": 0, "timelineTo": 3, "trimTimeStart": 0,
            "trimTimeEnd": 3, "volume": 1, "speed": 1}])");
  Picture("blue.png", "blue");
  std::string run = Fill("MusicTheme", {"blue.png"});
  ASSERT_NE(run.find("export success!"), std::string::npos) << run;
  DecodedVideo v = Decode("out/theme.mp4");
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_LT(v.Rms(0, 3), 0.001) << "the music plays without a media-group file";

  // The same theme with a group file of volume 0.5 plays the tone.
  WriteFile(Path("group.json"), R"({"medias": [{"path": "blue.png"}], "volume": 0.5})");
  run = Fill("MusicTheme", {"blue.png", Path("group.json")});
  ASSERT_NE(run.find("export success!"), std::string::npos) << run;
  v = Decode("out/theme.mp4");
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_GT(v.Rms(0.5, 2.5), 0.02) << "the music is silent with a group file's volume";
}

TEST_F(ThemeOfItsOwn, ARelativeThemeLibraryKeepsTheThemesTransitionWorking) {
  // ORMADRAFT_THEMES=lib, relative to the folder the program is started in:
  // the transition "fx/t1" of the theme must reach the theme's folder.
  fs::create_directories(Path("lib/Transit/fx"));
  fs::copy(std::string(ORMA_SOURCE_DIR) + "/resources/transitions/dissolve", Path("lib/Transit/fx/t1"));
  Picture("lib/Transit/p1.png", "gray");
  Picture("lib/Transit/p2.png", "white");
  Theme("Transit", 6,
        R"({"path": "p1.png", "timelineFrom": 0, "timelineTo": 3},
           {"path": "p2.png", "timelineFrom": 3, "timelineTo": 6})",
        Scene("p1.png", 3, R"(, "transition": {"folderPath": "fx/t1", "duration": 1, "type": 0})") + ", " +
            Scene("p2.png", 3));
  Picture("red.png", "red");
  Picture("blue.png", "blue");
  const std::string run = Fill("Transit", {"red.png", "blue.png"}, "lib");
  ASSERT_NE(run.find("export success!"), std::string::npos) << run;
  DecodedVideo v = Decode("out/theme.mp4");
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_NEAR(v.durationSeconds, 6, 0.05);
  EXPECT_PRED2(Close, At(v, 1.0, 0.5, 0.5), kRed);
  EXPECT_PRED2(Close, At(v, 5.0, 0.5, 0.5), kBlue);
  // Halfway through the dissolve both pictures are mixed.
  bool mixed = false;
  for (double at = 2.0; at < 4.0; at += 0.04) {
    const Rgb c = At(v, at, 0.5, 0.5);
    mixed = mixed || (c.r > 70 && c.r < 190 && c.b > 70 && c.b < 190);
  }
  EXPECT_TRUE(mixed) << "no dissolve between the two pictures";
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
