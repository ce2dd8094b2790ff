// The whole program: ormadraft reads a draft and its export settings and the
// core library writes the video.
#include "tests/engine/program_run.h"

namespace {

class EndToEnd : public ProgramTest {
protected:
  // Two scenes, red then blue, a second each.
  void WriteTwoScenes(const std::string& redExtra = "", const std::string& sceneExtra = "") {
    WriteDraft(Scene("red.mp4", 0, 1, redExtra) + sceneExtra + "}," + Scene("blue.mp4", 1, 2) + "}",
               R"({"path": "red.mp4", "timelineFrom": 0, "timelineTo": 1, "replaceType": 1},
                  {"path": "blue.mp4", "timelineFrom": 1, "timelineTo": 2, "replaceType": 1})");
  }
};

TEST_F(EndToEnd, DraftRendersToAVideoWithProgress) {
  WriteTwoScenes("", R"(, "transition": {"folderPath": ")" + Transitions() + R"(dissolve", "duration": 0.8},
      "background": {"color": {"red": 0, "green": 0, "blue": 0, "alpha": 0}, "blurIntensity": 0})");
  WriteSettings(R"(, "outUrl": ")" + Path("result.mp4") + R"(")");
  ProgramRun run = Ormadraft();
  EXPECT_NE(run.output.find("progress:"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("export success!"), std::string::npos) << run.output;
  DecodedVideo v = Decode("result.mp4");
  ASSERT_TRUE(v.ok) << v.error << run.output;
  EXPECT_EQ(v.FrameCount(), 50);
  EXPECT_EQ(v.audioCodec, "aac");
  EXPECT_PRED2(Close, v.At(5, 0.5, 0.5), (Rgb{255, 0, 0}));
  EXPECT_PRED2(Close, v.At(45, 0.5, 0.5), (Rgb{0, 0, 255}));
  Rgb mid = v.At(25, 0.5, 0.5);
  EXPECT_GT(mid.r, 80) << ToString(mid);
  EXPECT_GT(mid.b, 80) << ToString(mid);
  EXPECT_GT(v.Rms(0.1, 0.9), 0.05);
}

TEST_F(EndToEnd, WithoutOutUrlTheVideoGoesBesideTheDraft) {
  WriteTwoScenes();
  WriteSettings("");
  ProgramRun run = Ormadraft();
  EXPECT_NE(run.output.find("export success!"), std::string::npos) << run.output;
  DecodedVideo v = Decode("video.mp4");
  ASSERT_TRUE(v.ok) << v.error << run.output;
  EXPECT_EQ(v.FrameCount(), 50);
}

TEST_F(EndToEnd, AMissingMediaFileEndsTheExportAtCreation) {
  WriteDraft(Scene("gone.mp4", 0, 1) + "}", R"({"path": "gone.mp4", "timelineFrom": 0, "timelineTo": 1})");
  WriteSettings("");
  ProgramRun run = Ormadraft();
  EXPECT_NE(run.output.find("export failed, errorcode:-1735"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("[OrmaCore] OrmaSceneCreateMedia: "), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("gone.mp4"), std::string::npos) << run.output;
  EXPECT_FALSE(FileExists(Path("video.mp4")));
}

TEST_F(EndToEnd, AnUnwritableOutputIsReportedAndLeavesNoFile) {
  WriteTwoScenes();
  WriteSettings(R"(, "outUrl": ")" + Path("no-folder/out.mp4") + R"(")");
  ProgramRun run = Ormadraft();
  EXPECT_NE(run.output.find("export failed, errorcode:-25"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("[OrmaCore] OrmaEditMedia failed (-25): cannot write"), std::string::npos)
      << run.output;
  EXPECT_FALSE(FileExists(Path("no-folder")));
}

TEST_F(EndToEnd, AnUnknownEncoderIsReportedAndLeavesNoFile) {
  WriteTwoScenes();
  WriteFile(Path("export.json"),
            R"({"video": {"fps": 25, "encoder": "no-such-codec"}, "outUrl": ")" + Path("out.mp4") + R"("})");
  ProgramRun run = Ormadraft();
  EXPECT_NE(run.output.find("export failed, errorcode:-23"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("unknown video encoder \"no-such-codec\""), std::string::npos) << run.output;
  EXPECT_FALSE(FileExists(Path("out.mp4")));
}

TEST_F(EndToEnd, TheSettingsTimeRangeLimitsTheVideo) {
  WriteTwoScenes();
  WriteSettings(R"(, "time": {"start": 1.0, "end": 1.6})");
  ProgramRun run = Ormadraft();
  DecodedVideo v = Decode("video.mp4");
  ASSERT_TRUE(v.ok) << v.error << run.output;
  EXPECT_EQ(v.FrameCount(), 15);
  EXPECT_PRED2(Close, v.At(0, 0.5, 0.5), (Rgb{0, 0, 255}));
}

TEST_F(EndToEnd, ALumaPictureFolderGivesAWipe) {
  WriteTwoScenes("", R"(, "transition": {"folderPath": ")" + Transitions() +
                         R"(luma-diagonal", "duration": 1.0})");
  WriteSettings("");
  ProgramRun run = Ormadraft();
  DecodedVideo v = Decode("video.mp4");
  ASSERT_TRUE(v.ok) << v.error << run.output;
  EXPECT_PRED2(Close, v.At(16, 0.02, 0.02), (Rgb{0, 0, 255}));
  EXPECT_PRED2(Close, v.At(16, 0.98, 0.98), (Rgb{255, 0, 0}));
}

TEST_F(EndToEnd, TraceFileGetsOneLinePerApiCall) {
  WriteTwoScenes();
  WriteSettings("");
  ProgramRun run = Ormadraft("ORMA_TRACE='" + Path("trace.txt") + "'");
  std::string trace = ReadFile(Path("trace.txt"));
  ASSERT_FALSE(trace.empty()) << run.output;
  EXPECT_NE(trace.find("OrmaVirtualVideoCreate() = 0x"), std::string::npos);
  EXPECT_NE(trace.find("OrmaSetFPS(vv=0x"), std::string::npos);
  EXPECT_NE(trace.find("fps=25) = 1"), std::string::npos);
  EXPECT_NE(trace.find("OrmaEditMedia(vv=0x"), std::string::npos);
  size_t lines = 0, start = 0;
  while (start < trace.size()) {
    size_t end = trace.find('\n', start);
    std::string line = trace.substr(start, end - start);
    EXPECT_NE(line.find(") = "), std::string::npos) << line;
    ++lines;
    start = end + 1;
  }
  EXPECT_GT(lines, 10u);
}

TEST_F(EndToEnd, RendersWithoutADisplay) {
  WriteTwoScenes();
  WriteSettings("");
  ProgramRun run = Ormadraft("env -u DISPLAY -u WAYLAND_DISPLAY");
  EXPECT_NE(run.output.find("export success!"), std::string::npos) << run.output;
  EXPECT_TRUE(FileExists(Path("video.mp4")));
}

TEST_F(EndToEnd, DrawnAttributesAreNotReportedAsStoredOnly) {
  WriteTwoScenes(R"(, "brightness": 0.5, "audioFilterType": 2, "denoiseLevel": 1, "rotate": 10)");
  WriteSettings("");
  ProgramRun run = Ormadraft();
  EXPECT_EQ(run.output.find("is stored but not rendered yet"), std::string::npos) << run.output;
  EXPECT_TRUE(FileExists(Path("video.mp4")));
}

} // namespace
