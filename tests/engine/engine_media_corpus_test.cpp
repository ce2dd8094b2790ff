// Media in forms no other test made (tests/engine/make_corpus.sh): each is
// rendered as a scene (and sound as music) and must give the right picture,
// or be refused at OrmaSceneCreateMedia with a line naming the file and the
// reason: never a crash, a hang or a wrong picture without a word.
#include <cstdio>

#include "tests/engine/engine_test_support.h"

namespace {

const Rgb kRed{255, 0, 0}, kBlue{0, 0, 255}, kYellow{255, 255, 0}, kCyan{0, 255, 255}, kBlack{0, 0, 0};

#define EXPECT_COLOR(video, frame, x, y, color)                                                              \
  EXPECT_PRED2(Close, (video).At((frame), (x), (y)), (color))                                                \
      << "frame " << (frame) << " at " << (x) << "," << (y) << " is "                                        \
      << ToString((video).At((frame), (x), (y)))

class MediaCorpus : public EngineTest {
protected:
  static std::string Corpus(const std::string& name) { return Media("corpus/" + name); }

  // One second of the file as the only scene; the decoded video.
  DecodedVideo Scene(const std::string& name) {
    OrmaVideoHandle vv = NewVideo();
    OrmaSceneHandle scene = OrmaCreateScene(0, kSecond);
    EXPECT_EQ(OrmaAddScene(vv, scene), 1);
    OrmaMediaHandle media = OrmaSceneCreateMedia(Corpus(name).c_str());
    EXPECT_NE(media, nullptr) << name;
    if (!media) return {};
    EXPECT_EQ(OrmaSceneAddMediaHandle(scene, media), 1);
    EXPECT_EQ(Export(vv), 1) << name;
    DecodedVideo v = Decode();
    EXPECT_TRUE(v.ok) << v.error;
    EXPECT_EQ(v.FrameCount(), 25) << name;
    return v;
  }

  // The file must be refused at creation; returns the log.
  std::string Refused(const std::string& name) {
    testing::internal::CaptureStdout();
    OrmaMediaHandle media = OrmaSceneCreateMedia(Corpus(name).c_str());
    std::fflush(stdout);
    std::string log = testing::internal::GetCapturedStdout();
    EXPECT_EQ(media, nullptr) << name;
    EXPECT_NE(log.find("[OrmaCore] OrmaSceneCreateMedia: " + Corpus(name)), std::string::npos) << log;
    return log;
  }

  // Red over the first half second, blue after.
  void ExpectRedThenBlue(const std::string& name) {
    SCOPED_TRACE(name);
    DecodedVideo v = Scene(name);
    if (!v.ok) return;
    EXPECT_COLOR(v, 5, 0.5, 0.5, kRed);
    EXPECT_COLOR(v, 20, 0.5, 0.5, kBlue);
  }
};

TEST_F(MediaCorpus, CameraAndWebCodecsShowTheirPictures) {
  for (const char* name : {"hevc10.mp4", "vp9.webm", "av1.webm", "prores.mov", "mpeg2.ts", "silent.mp4"})
    ExpectRedThenBlue(name);
}

TEST_F(MediaCorpus, AVariableFrameRateClipKeepsItsTimes) { ExpectRedThenBlue("vfr.mp4"); }

TEST_F(MediaCorpus, AnAnimatedGifPlays) { ExpectRedThenBlue("animated.gif"); }

TEST_F(MediaCorpus, AnAnimatedWebpIsRefusedAsUndecodable) {
  // The FFmpeg of this system reads still WebP pictures only.
  EXPECT_NE(Refused("animated.webp").find("animated.webp: "), std::string::npos);
}

TEST_F(MediaCorpus, APortraitPhoneClipIsTurnedUpright) {
  DecodedVideo v = Scene("portrait.mp4");
  ASSERT_TRUE(v.ok);
  EXPECT_COLOR(v, 10, 0.5, 0.2, kBlue);
  EXPECT_COLOR(v, 10, 0.5, 0.8, kRed);
}

TEST_F(MediaCorpus, AOneFrameClipShowsThatFrame) {
  DecodedVideo v = Scene("one_frame.mp4");
  ASSERT_TRUE(v.ok);
  EXPECT_COLOR(v, 0, 0.5, 0.5, kRed);
}

TEST_F(MediaCorpus, SoundOnlyFilesPlayAsMusic) {
  for (const char* name : {"tone.mp3", "tone.wav", "tone.flac", "tone.m4a"}) {
    SCOPED_TRACE(name);
    OrmaVideoHandle vv = NewVideo();
    AddScene(vv, 0, 1, "green.mp4");
    ASSERT_NE(OrmaAddAudioMedia(vv, Corpus(name).c_str(), 1.0, 0, kSecond, 0, kSecond), nullptr);
    ASSERT_EQ(Export(vv), 1);
    DecodedVideo v = Decode();
    EXPECT_GT(v.Rms(0.1, 0.9), 0.05);
  }
}

TEST_F(MediaCorpus, SoundOnlyFilesAsSceneMediaAreHeardOverBlack) {
  for (const char* name : {"tone.mp3", "tone.wav", "tone.flac", "tone.m4a"}) {
    SCOPED_TRACE(name);
    DecodedVideo v = Scene(name);
    if (!v.ok) continue;
    EXPECT_COLOR(v, 10, 0.5, 0.5, kBlack);
    EXPECT_GT(v.Rms(0.1, 0.9), 0.05);
  }
}

TEST_F(MediaCorpus, OddPicturesShowTheirColours) {
  DecodedVideo deep = Scene("deep16.png");
  EXPECT_COLOR(deep, 10, 0.25, 0.5, kRed);
  EXPECT_COLOR(deep, 10, 0.75, 0.5, kBlue);
  DecodedVideo palette = Scene("palette.png");
  EXPECT_COLOR(palette, 10, 0.25, 0.5, kBlack); // transparent over the black canvas
  EXPECT_COLOR(palette, 10, 0.75, 0.5, kBlue);
  DecodedVideo pixel = Scene("one_pixel.png");
  EXPECT_COLOR(pixel, 10, 0.5, 0.5, kYellow);
  DecodedVideo cmyk = Scene("cmyk.jpg");
  EXPECT_COLOR(cmyk, 10, 0.5, 0.5, kCyan);
}

TEST_F(MediaCorpus, AJpegIsTurnedAsItsExifOrientationSays) {
  DecodedVideo v = Scene("exif_orientation.jpg");
  ASSERT_TRUE(v.ok);
  EXPECT_COLOR(v, 10, 0.5, 0.2, kBlue);
  EXPECT_COLOR(v, 10, 0.5, 0.8, kRed);
}

TEST_F(MediaCorpus, ADecompressionBombIsRefusedBeforeItIsDecoded) {
  std::string log = Refused("huge.png");
  EXPECT_NE(log.find("20000x20000"), std::string::npos) << log;
}

TEST_F(MediaCorpus, BrokenFilesAreRefusedWithTheReason) {
  EXPECT_NE(Refused("truncated.mp4").find("truncated.mp4: "), std::string::npos);
  EXPECT_NE(Refused("empty.mp4").find("empty.mp4: "), std::string::npos);
}

TEST_F(MediaCorpus, AFileWithTheWrongExtensionIsReadByItsContent) {
  DecodedVideo picture = Scene("picture_named.mp4");
  EXPECT_COLOR(picture, 10, 0.5, 0.5, kYellow);
  ExpectRedThenBlue("video_named.png");
}

} // namespace
