// Output containers and encoders that do not fit are named, and the ones
// that do are written quietly: a .webm output with the default encoder
// (libx264, which webm cannot hold) fails with a reason that names the
// encoder, the container and what would fit, on standard error as well; a
// .webm with a VP9 encoder is written, without a word about the audio codec
// the export settings name by passing the video encoder's name on.
#include "tests/engine/program_run.h"

namespace {

class ContainerFit : public ProgramTest {
protected:
  // Runs the program on draft.json and export.json; standard output and
  // standard error apart.
  void RunApart() {
#ifdef ORMADRAFT_EXE
    CommandOutput("cd " + Quoted(folder()) + " && " + Quoted(ORMADRAFT_EXE) +
                      " draft.json export.json >out.txt " + "2>err.txt",
                  &status);
#endif
    out = ReadFile(Path("out.txt"));
    err = ReadFile(Path("err.txt"));
  }

  void WriteOneSecond() { WriteDraft(ClosedScene("red.mp4", 0, 1), Slot("red.mp4", 0, 1)); }

  int status = -1;
  std::string out, err;
};

TEST_F(ContainerFit, AWebmOutputWithTheDefaultEncoderNamesTheMismatchAndWhatWouldFit) {
  WriteOneSecond();
  WriteFile(Path("export.json"), R"({"outUrl": "out.webm"})");
  RunApart();
  EXPECT_NE(out.find("] -- export failed, errorcode:-35"), std::string::npos) << out;
  const std::string reason =
      "the webm container cannot hold libx264 video; for webm name the encoder libvpx-vp9";
  EXPECT_NE(err.find("export failed, errorcode:-35: Edit media fail (writing \"out.webm\": " + reason),
            std::string::npos)
      << err;
  EXPECT_NE(err.find("libx264 fits an output named .mp4, .mkv, .mov"), std::string::npos) << err;
  EXPECT_EQ(err.find("Invalid argument"), std::string::npos) << err;
  EXPECT_FALSE(FileExists(Path("out.webm")));
}

TEST_F(ContainerFit, AWebmOutputWithAVp9EncoderIsWrittenWithoutAWordAboutItsAudioCodec) {
  WriteOneSecond();
  WriteFile(Path("export.json"),
            R"({"video": {"encoder": "libvpx-vp9", "bitrate": 400}, "outUrl": "out.webm"})");
  RunApart();
  EXPECT_NE(out.find("export success!"), std::string::npos) << out << err;
  // The export settings pass the video encoder's name on as the audio codec;
  // the library takes the container's usual one without remark.
  EXPECT_EQ(out.find("audio codec"), std::string::npos) << out;
  EXPECT_EQ(err.find("audio codec"), std::string::npos) << err;
  DecodedVideo v = Decode("out.webm");
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_EQ(v.videoCodec, "vp9");
  EXPECT_EQ(v.audioCodec, "opus");
  EXPECT_EQ(v.FrameCount(), 25);
  EXPECT_PRED2(Close, v.At(12, 0.5, 0.5), (Rgb{255, 0, 0}));
}

TEST_F(ContainerFit, AnOddOutputSizeIsSaidAndWrittenEven) {
  WriteOneSecond();
  WriteFile(Path("export.json"), R"({"video": {"w": 321, "h": 181}, "outUrl": "out.mp4"})");
  RunApart();
  EXPECT_NE(out.find("export success!"), std::string::npos) << out << err;
  EXPECT_NE(err.find("ormadraft: frame size 321x181, from \"video\" \"w\" and \"h\" of the export settings "
                     "\"export.json\", is written as 320x180"),
            std::string::npos)
      << err;
  DecodedVideo v = Decode("out.mp4");
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_EQ(v.width, 320);
  EXPECT_EQ(v.height, 180);
}

} // namespace
