// The steps of an export that decide before anything is rendered: which
// encoders write the video (codec_choice) and the temporary file it is
// written to beside the target (output_file). Whole exports through these
// steps are rendered and decoded by the engine tests; here each step is
// checked on its own, with the files it leaves looked at on disk.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "engine/encode/codec_choice.h"
#include "engine/encode/export_run.h"
#include "engine/encode/output_file.h"
#include "engine/model/model.h"

namespace {

bool Exists(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0;
}

// A fresh folder under the system's temporary folder, removed with what
// the test left in it.
struct Folder {
  std::string path;
  Folder() {
    char name[] = "/tmp/orma-export-steps-XXXXXX";
    path = mkdtemp(name);
  }
  ~Folder() { std::filesystem::remove_all(path); }
};

TEST(CodecChoice, AVideoEncoderNamedAsTheAudioCodecMeansTheContainersUsualOne) {
  orma::ExportSettings s;
  s.audioCodec = "libx264";
  orma::CodecChoice codecs;
  std::string cause;
  ASSERT_EQ(orma::ChooseCodecs(s, "/out/film.mp4", &codecs, &cause), ORMA_OK) << cause;
  EXPECT_EQ(codecs.container, "mp4");
  EXPECT_EQ(codecs.video, "libx264");
  EXPECT_EQ(codecs.audio, "aac");
}

TEST(CodecChoice, ASoundOnlyExportHasNoVideoEncoderAndAPictureOnlyOneNoAudioEncoder) {
  orma::ExportSettings sound;
  sound.writeVideo = false;
  orma::CodecChoice codecs;
  std::string cause;
  ASSERT_EQ(orma::ChooseCodecs(sound, "/out/film.mp4", &codecs, &cause), ORMA_OK) << cause;
  EXPECT_EQ(codecs.video, "");
  EXPECT_EQ(codecs.audio, "aac");

  orma::ExportSettings picture;
  picture.writeSound = false;
  ASSERT_EQ(orma::ChooseCodecs(picture, "/out/film.mkv", &codecs, &cause), ORMA_OK) << cause;
  EXPECT_EQ(codecs.container, "matroska");
  EXPECT_EQ(codecs.video, "libx264");
  EXPECT_EQ(codecs.audio, "");
}

TEST(CodecChoice, UnknownNamesFailWithTheirCodeAndNameTheName) {
  orma::ExportSettings s;
  orma::CodecChoice codecs;
  std::string cause;
  EXPECT_EQ(orma::ChooseCodecs(s, "/out/film.nosuchcontainer", &codecs, &cause), ORMA_UNKNOWN_CONTAINER);
  EXPECT_NE(cause.find("/out/film.nosuchcontainer"), std::string::npos) << cause;

  s.videoCodec = "nosuchvideo";
  EXPECT_EQ(orma::ChooseCodecs(s, "/out/film.mp4", &codecs, &cause), ORMA_UNKNOWN_VIDEO_ENCODER);
  EXPECT_NE(cause.find("\"nosuchvideo\""), std::string::npos) << cause;

  s.videoCodec = "libx264";
  s.audioCodec = "nosuchaudio";
  EXPECT_EQ(orma::ChooseCodecs(s, "/out/film.mp4", &codecs, &cause), ORMA_UNKNOWN_AUDIO_ENCODER);
  EXPECT_NE(cause.find("\"nosuchaudio\""), std::string::npos) << cause;
}

TEST(PartFile, AVideoThatIsNotPlacedLeavesNeitherItsTemporaryNorATarget) {
  Folder folder;
  const std::string target = folder.path + "/my film.mp4";
  std::string temporary;
  {
    orma::PartFile part;
    std::string cause;
    ASSERT_TRUE(part.Create(target, &cause)) << cause;
    temporary = part.path();
    EXPECT_EQ(temporary, orma::TemporaryOutputPath(target));
    EXPECT_TRUE(Exists(temporary));
  }
  EXPECT_FALSE(Exists(temporary));
  EXPECT_FALSE(Exists(target));
}

TEST(PartFile, PlacingMovesTheWrittenVideoOntoTheTargetReplacingAnEarlierOne) {
  Folder folder;
  const std::string target = folder.path + "/film.mp4";
  std::ofstream(target) << "earlier";
  std::string temporary;
  {
    orma::PartFile part;
    std::string cause;
    ASSERT_TRUE(part.Create(target, &cause)) << cause;
    temporary = part.path();
    std::ofstream(temporary) << "written";
    ASSERT_TRUE(part.Place(&cause)) << cause;
  }
  EXPECT_FALSE(Exists(temporary));
  std::string text;
  std::ifstream(target) >> text;
  EXPECT_EQ(text, "written");
}

TEST(PartFile, AFolderAtTheTargetIsRefusedByName) {
  Folder folder;
  const std::string target = folder.path + "/film.mp4";
  ASSERT_EQ(mkdir(target.c_str(), 0755), 0);
  orma::PartFile part;
  std::string cause;
  EXPECT_FALSE(part.Create(target, &cause));
  EXPECT_EQ(cause, "cannot write " + target + ": it is a folder");
  EXPECT_EQ(part.path(), "");
}

TEST(PartFile, ARelativeTargetIsTakenFromTheWorkingFolder) {
  char cwd[4096];
  ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
  EXPECT_EQ(orma::AbsolutePath("out/film.mp4"), std::string(cwd) + "/out/film.mp4");
  EXPECT_EQ(orma::AbsolutePath("/abs/film.mp4"), "/abs/film.mp4");
}

} // namespace
