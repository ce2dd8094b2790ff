// The core library's API contract apart from what the pictures show:
// handles, media checks at creation, export results, progress, queries.
#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "tests/engine/engine_test_support.h"

namespace {

class EngineApi : public EngineTest {};

int CountEntries(const std::string& folder) {
  int n = 0;
  DIR* d = opendir(folder.c_str());
  if (!d) return -1;
  while (dirent* e = readdir(d))
    if (std::strcmp(e->d_name, ".") != 0 && std::strcmp(e->d_name, "..") != 0) ++n;
  closedir(d);
  return n;
}

TEST_F(EngineApi, HandlesOfTheWrongKindAreRefused) {
  OrmaVideoHandle vv = NewVideo();
  OrmaSceneHandle scene = AddScene(vv, 0, 1);
  int bogus = 0;
  // The compiler refuses these mix-ups in C++; a C caller's cast (or a stale
  // pointer) still reaches the library, which refuses them at run time.
  EXPECT_LT(OrmaSetFPS(nullptr, 25), 1);
  EXPECT_LT(OrmaSetFPS(reinterpret_cast<OrmaVideoHandle>(&bogus), 25), 1);
  EXPECT_LT(OrmaSetFPS(reinterpret_cast<OrmaVideoHandle>(scene), 25), 1);
  EXPECT_LT(OrmaAddScene(vv, reinterpret_cast<OrmaSceneHandle>(vv)), 1);
  EXPECT_LT(OrmaSceneAddMediaHandle(scene, reinterpret_cast<OrmaMediaHandle>(scene)), 1);
  EXPECT_LT(OrmaSetMediaFlip(reinterpret_cast<OrmaMediaHandle>(scene), 1), 1);
  EXPECT_LT(OrmaEditMedia(reinterpret_cast<OrmaVideoHandle>(scene)), 1);
  EXPECT_EQ(OrmaEditProgress(reinterpret_cast<OrmaVideoHandle>(&bogus)), 0);
}

TEST_F(EngineApi, SettingsOutOfRangeAreRefused) {
  OrmaVideoHandle vv = NewVideo();
  EXPECT_LT(OrmaSetFrameSize(vv, 0, 180), 1);
  EXPECT_LT(OrmaSetFPS(vv, 0.0), 1);
  EXPECT_LT(OrmaSetFPS(vv, -25.0), 1);
  EXPECT_LT(OrmaSetVideoBitrate(vv, 0), 1);
  EXPECT_LT(OrmaSetAudioChannels(vv, 9), 1);
  EXPECT_LT(OrmaSetAudioSamples(vv, 100), 1);
  EXPECT_LT(OrmaSetOutPath(vv, ""), 1);
  EXPECT_EQ(OrmaSetAudioChannels(vv, 1), 1);
  EXPECT_EQ(OrmaSetAudioSamples(vv, 48000), 1);
  EXPECT_EQ(OrmaSetAudioBitrate(vv, 96), 1);
  EXPECT_EQ(OrmaEnableHWDecoder(vv, 1), 1);
  EXPECT_EQ(OrmaEnableHWEncoder(vv, 1), 1);
}

TEST_F(EngineApi, ScenesOfAnyForwardOrEmptySpanAreCreated) {
  // An empty span is left out of the video (see EngineLenientValues).
  EXPECT_NE(OrmaCreateScene(kSecond, kSecond), nullptr);
  EXPECT_NE(OrmaCreateScene(-1, kSecond), nullptr);
  EXPECT_NE(OrmaCreateScene(0, 1), nullptr);
  EXPECT_NE(OrmaCreatePIPScene(0, kSecond), nullptr);
}

TEST_F(EngineApi, ASceneJoinsOneTimelineOnly) {
  OrmaVideoHandle a = NewVideo(), b = NewVideo();
  OrmaSceneHandle scene = OrmaCreateScene(0, kSecond);
  EXPECT_EQ(OrmaAddScene(a, scene), 1);
  EXPECT_LT(OrmaAddScene(b, scene), 1);
  EXPECT_LT(OrmaAddScene(a, scene), 1);
}

TEST_F(EngineApi, MissingMediaIsNullAtCreation) {
  EXPECT_EQ(OrmaSceneCreateMedia(Path("nothing.mp4").c_str()), nullptr);
  EXPECT_EQ(OrmaSceneCreateMedia(""), nullptr);
  EXPECT_EQ(OrmaSceneCreateMedia(nullptr), nullptr);
}

TEST_F(EngineApi, UnreadableMediaIsNullAtCreation) {
  if (geteuid() == 0) GTEST_SKIP() << "root reads every file";
  std::string copy = Path("locked.mp4");
  WriteFile(copy, ReadFile(Media("red.mp4")));
  chmod(copy.c_str(), 0);
  EXPECT_EQ(OrmaSceneCreateMedia(copy.c_str()), nullptr);
}

TEST_F(EngineApi, UndecodableMediaIsNullAtCreation) {
  EXPECT_EQ(OrmaSceneCreateMedia(Media("text.mp4").c_str()), nullptr);
  // A clip cut short in the middle of its first frame.
  std::string clip = ReadFile(Media("red.mp4"));
  WriteFile(Path("cut.mp4"), clip.substr(0, 200));
  EXPECT_EQ(OrmaSceneCreateMedia(Path("cut.mp4").c_str()), nullptr);
}

// A file already seen is not probed again while it stays the same, but a file
// written again in between is: it is judged and described as it is now.
TEST_F(EngineApi, MediaWrittenAgainIsJudgedAsItIsNow) {
  std::string path = Path("clip.mp4");
  WriteFile(path, ReadFile(Media("red.mp4")));
  ASSERT_NE(OrmaSceneCreateMedia(path.c_str()), nullptr);
  ASSERT_NE(OrmaSceneCreateMedia(path.c_str()), nullptr);
  WriteFile(path, "not a video any more\n");
  EXPECT_EQ(OrmaSceneCreateMedia(path.c_str()), nullptr);
  EXPECT_LT(OrmaGetMediaInfoLite(path.c_str(), nullptr, nullptr, nullptr), 1);

  WriteFile(path, ReadFile(Media("yellow.jpg")));
  OrmaMediaPropertyBlock video;
  ASSERT_EQ(OrmaGetMediaInfoLite(path.c_str(), nullptr, nullptr, &video), 1);
  EXPECT_STREQ(video.name, ""); // now a still picture
  WriteFile(path, ReadFile(Media("red.mp4")));
  ASSERT_EQ(OrmaGetMediaInfoLite(path.c_str(), nullptr, nullptr, &video), 1);
  EXPECT_STREQ(video.name, "h264");
  EXPECT_NE(OrmaSceneCreateMedia(path.c_str()), nullptr);
}

TEST_F(EngineApi, OnlyPlainLocalFilesAreMedia) {
  EXPECT_EQ(OrmaSceneCreateMedia(std::string(ORMA_TEST_MEDIA).c_str()), nullptr); // a folder
  EXPECT_EQ(OrmaSceneCreateMedia(Media("list.m3u8").c_str()), nullptr);           // a playlist
  EXPECT_EQ(OrmaSceneCreateMedia("http://127.0.0.1:9/red.mp4"), nullptr);
  EXPECT_EQ(OrmaSceneCreateMedia("color:red"), nullptr);
  EXPECT_EQ(OrmaSceneCreateMedia("avformat:/dev/zero"), nullptr);
  EXPECT_EQ(OrmaSceneCreateMedia("/dev/zero"), nullptr);
}

TEST_F(EngineApi, MediaPathsWithBackslashesColonsAndDriveLettersWork) {
  // Backslashes are separators; a colon inside a name is no protocol.
  std::string odd = Path("a:b.mp4");
  WriteFile(odd, ReadFile(Media("red.mp4")));
  std::string backslashed = odd;
  std::replace(backslashed.begin(), backslashed.end(), '/', '\\');
  OrmaVideoHandle vv = NewVideo();
  OrmaSceneHandle scene = AddScene(vv, 0, 0.4);
  OrmaMediaHandle m = OrmaSceneCreateMedia(backslashed.c_str());
  ASSERT_NE(m, nullptr);
  ASSERT_EQ(OrmaSceneAddMediaHandle(scene, m), 1);
  // A drive letter maps through ORMADRAFT_DRIVE_MAP.
  setenv("ORMADRAFT_DRIVE_MAP", ("Q:=" + folder()).c_str(), 1);
  EXPECT_NE(OrmaSceneCreateMedia("Q:\\a:b.mp4"), nullptr);
  EXPECT_EQ(OrmaSceneCreateMedia("R:\\a:b.mp4"), nullptr);
  unsetenv("ORMADRAFT_DRIVE_MAP");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_PRED2(Close, v.At(5, 0.5, 0.5), (Rgb{255, 0, 0}));
}

TEST_F(EngineApi, ProgressRisesToOneHundredWithoutGoingBack) {
  OrmaVideoHandle vv = NewVideo();
  EXPECT_EQ(OrmaEditProgress(vv), 0);
  AddScene(vv, 0, 2, "red.mp4");
  ASSERT_EQ(Export(vv), 1);
  ASSERT_FALSE(progress.empty());
  EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
  EXPECT_EQ(progress.back(), 100);
  EXPECT_GE(progress.front(), 0);
  EXPECT_TRUE(std::any_of(progress.begin(), progress.end(), [](int p) { return p > 0 && p < 100; }));
}

TEST_F(EngineApi, UnwritableOutputFailsAndLeavesNoFile) {
  OrmaVideoHandle vv = NewVideo(25.0, "missing-folder/out.mp4");
  AddScene(vv, 0, 0.4, "red.mp4");
  int32_t r = Export(vv);
  EXPECT_LT(r, 1);
  EXPECT_EQ(progress.back(), 100);
  EXPECT_FALSE(FileExists(Path("missing-folder/out.mp4")));
}

TEST_F(EngineApi, UnknownEncoderFailsAndLeavesNoFile) {
  OrmaVideoHandle vv = NewVideo();
  ASSERT_EQ(OrmaSetVideoCodec(vv, "no-such-encoder"), 1); // checked when the export starts
  AddScene(vv, 0, 0.4, "red.mp4");
  EXPECT_LT(Export(vv), 1);
  EXPECT_EQ(progress.back(), 100);
  EXPECT_FALSE(FileExists(Path("out.mp4")));
  EXPECT_EQ(CountEntries(folder()), 0);
}

TEST_F(EngineApi, MediaLostBeforeRenderingFailsTheExportWithoutAFile) {
  std::string copy = Path("clip.mp4");
  WriteFile(copy, ReadFile(Media("red.mp4")));
  OrmaVideoHandle vv = NewVideo();
  OrmaSceneHandle scene = AddScene(vv, 0, 1);
  OrmaMediaHandle m = OrmaSceneCreateMedia(copy.c_str());
  ASSERT_NE(m, nullptr);
  ASSERT_EQ(OrmaSceneAddMediaHandle(scene, m), 1);
  ASSERT_EQ(unlink(copy.c_str()), 0);
  EXPECT_LT(Export(vv), 1);
  EXPECT_EQ(progress.back(), 100);
  EXPECT_EQ(CountEntries(folder()), 0); // neither the video nor its temporary file
}

TEST_F(EngineApi, AFailedExportKeepsAnEarlierVideoAtTheOutputPath) {
  WriteFile(Path("out.mp4"), "earlier");
  OrmaVideoHandle vv = NewVideo();
  ASSERT_EQ(OrmaSetVideoCodec(vv, "no-such-encoder"), 1);
  AddScene(vv, 0, 0.4, "red.mp4");
  EXPECT_LT(Export(vv), 1);
  EXPECT_EQ(ReadFile(Path("out.mp4")), "earlier");
}

TEST_F(EngineApi, ASuccessfulExportLeavesOnlyTheVideo) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 0.4, "red.mp4");
  ASSERT_EQ(Export(vv), 1);
  EXPECT_EQ(CountEntries(folder()), 1);
  EXPECT_TRUE(FileExists(Path("out.mp4")));
}

TEST_F(EngineApi, EmptyTimelineOrEmptyLimitFails) {
  OrmaVideoHandle empty = NewVideo();
  EXPECT_LT(Export(empty), 1);
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "red.mp4");
  EXPECT_LT(OrmaEditSetLimitTime(vv, 2 * kSecond, kSecond), 1);
  ASSERT_EQ(OrmaEditSetLimitTime(vv, 5 * kSecond, 6 * kSecond), 1);
  EXPECT_LT(Export(vv), 1);
  EXPECT_FALSE(FileExists(Path("out.mp4")));
}

TEST_F(EngineApi, TotalPlaybackTimeIsTheEndOfTheTimelineSoFar) {
  OrmaVideoHandle vv = NewVideo();
  EXPECT_EQ(OrmaGetTotalPlaybackTime(vv), 0);
  AddScene(vv, 0, 1);
  AddScene(vv, 1, 2.5);
  EXPECT_EQ(OrmaGetTotalPlaybackTime(vv), 2500000);
  OrmaSceneHandle pip = OrmaCreatePIPScene(kSecond, 4 * kSecond);
  ASSERT_EQ(OrmaAddScene(vv, pip), 1);
  EXPECT_EQ(OrmaGetTotalPlaybackTime(vv), 4 * kSecond);
  OrmaAudioHandle music =
      OrmaAddAudioMedia(vv, Media("tone.mp3").c_str(), 1.0, 0, 2 * kSecond, 0, 9 * kSecond);
  ASSERT_NE(music, nullptr);
  EXPECT_EQ(OrmaGetTotalPlaybackTime(vv), 4 * kSecond); // music does not lengthen the video
}

TEST_F(EngineApi, MediaInfoLiteDescribesClipsPicturesAndSound) {
  int64_t duration = -1;
  OrmaMediaPropertyBlock audio, video;
  ASSERT_EQ(OrmaGetMediaInfoLite(Media("red.mp4").c_str(), &duration, &audio, &video), 1);
  EXPECT_NEAR(duration, 3 * kSecond, 50000);
  EXPECT_STREQ(video.name, "h264");
  EXPECT_EQ(video.width, 320);
  EXPECT_EQ(video.height, 180);
  EXPECT_NEAR(video.frameRate, 25.0, 0.01);
  EXPECT_EQ(video.present, 1);
  EXPECT_EQ(audio.present, 1);
  EXPECT_STREQ(audio.name, "aac");
  EXPECT_EQ(audio.sampleRate, 44100);
  EXPECT_EQ(audio.channels, 2);

  ASSERT_EQ(OrmaGetMediaInfoLite(Media("yellow.jpg").c_str(), &duration, &audio, &video), 1);
  EXPECT_STREQ(video.name, ""); // a still picture
  EXPECT_EQ(video.width, 320);
  EXPECT_EQ(video.present, 1);
  EXPECT_EQ(audio.present, 0);

  ASSERT_EQ(OrmaGetMediaInfoLite(Media("tone.mp3").c_str(), &duration, &audio, &video), 1);
  EXPECT_EQ(video.present, 0);
  EXPECT_EQ(audio.present, 1);
  EXPECT_NEAR(duration, 2 * kSecond, 100000);

  EXPECT_LT(OrmaGetMediaInfoLite(Path("none.mp4").c_str(), &duration, &audio, &video), 1);
}

TEST_F(EngineApi, EveryAttributeIsAcceptedAndKept) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle m = nullptr;
  AddScene(vv, 0, 1, "red.mp4", &m);
  EXPECT_EQ(OrmaSetMediaBright(m, 40), 1);
  EXPECT_EQ(OrmaSetMediaAnimationAngle(m, 30), 1);
  EXPECT_EQ(OrmaSetMediaAudioFadeTime(m, 100000, 200000), 1);
  OrmaKeyFrameBlock frame{};
  EXPECT_EQ(OrmaMediaAddKeyFrameAnimation(m, &frame), 1);
  EXPECT_EQ(OrmaMediaAddKeyFrameAnimation(m, &frame), 2);
  EXPECT_EQ(OrmaMediaAddKeyFrameAnimation(m, nullptr), 0);
  EXPECT_EQ(OrmaSetMediaChromaKey(m, 1, 0, 255, 0, 10, 0, 255, 2), 1);
  int32_t faces = 7;
  EXPECT_EQ(OrmaGetMediaFaceCount(m, &faces), 0); // no face found: face shaping is skipped
  EXPECT_EQ(faces, 0);
  // A resource that is missing or unreadable is left out: the call succeeds
  // and the item is drawn without it.
  EXPECT_EQ(OrmaSetMediaLUT(m, Path("none.cube").c_str(), 1.0f), 1);
  EXPECT_NE(OrmaAddMediaMaskFromConfig(m, Path("none.json").c_str()), nullptr);
  WriteFile(Path("mask.json"), "{}"); // a mask must name its shape
  EXPECT_NE(OrmaAddMediaMaskFromConfig(m, Path("mask.json").c_str()), nullptr);
  WriteFile(Path("mask.json"), R"({"shape": "circle"})");
  OrmaMaskHandle mask = OrmaAddMediaMaskFromConfig(m, Path("mask.json").c_str());
  ASSERT_NE(mask, nullptr);
  OrmaMaskShapeBlock shape{};
  EXPECT_EQ(OrmaUpdateMediaMaskParam(m, mask, &shape), 1);
  OrmaMaskKeyFrameBlock maskFrame{};
  EXPECT_EQ(OrmaMediaAddMaskKeyFrameAnimation(m, mask, &maskFrame), 1);
  // All of it drawn together: the export succeeds.
  ASSERT_EQ(Export(vv), 1);
}

TEST_F(EngineApi, TimelineElementsAreKept) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "red.mp4");
  float region[4] = {0.1f, 0.1f, 0.3f, 0.3f};
  OrmaEffectHandle mosaic = OrmaAddMosaic(vv, region, 0.5f, 0, kSecond);
  ASSERT_NE(mosaic, nullptr);
  EXPECT_EQ(OrmaUpdateEffectLevel(mosaic, 2), 1);
  EXPECT_NE(OrmaAddGaussBlur(vv, region, 0.5f, kSecond, kSecond), nullptr); // empty span: left out
  OrmaAdjustmentBlock adjustment{};
  EXPECT_NE(OrmaAddFilterAdjustment(vv, &adjustment, 0, kSecond), nullptr);
  EXPECT_EQ(OrmaAddLUT(vv, Path("none.cube").c_str(), 1.0f, 0, kSecond), nullptr);
  OrmaSceneHandle pip = OrmaCreatePIPScene(0, kSecond);
  ASSERT_EQ(OrmaAddScene(vv, pip), 1);
  EXPECT_EQ(OrmaUpdateEffectLevel(pip, 3), 1);
  EXPECT_LT(OrmaUpdateEffectLevel(vv, 3), 1);
  EXPECT_EQ(OrmaAddAudioMedia(vv, Media("green.mp4").c_str(), 1.0, 0, kSecond, 0, kSecond),
            nullptr); // no sound
  OrmaAudioHandle music = OrmaAddAudioMedia(vv, Media("tone.mp3").c_str(), 0.8, 0, kSecond, 0, kSecond);
  ASSERT_NE(music, nullptr);
  EXPECT_EQ(OrmaSetAudioMediaFadeTime(music, 1000, 1000), 1);
  EXPECT_EQ(OrmaSetAudioMediaPlaySpeed(music, 1.0), 1);
  WriteFile(Path("caption.json"), R"({"width": 600, "height": 200, "stretchability": 1, "items": []})");
  OrmaCaptionHandle caption = OrmaCreateCaptionFromConfigure(Path("caption.json").c_str(), 0);
  ASSERT_NE(caption, nullptr);
  EXPECT_EQ(OrmaAddCaption(vv, caption), 1);
  EXPECT_EQ(OrmaUpdateCaptionTimeline(caption, 0, kSecond), 1);
  OrmaCaptionItemHandle item = OrmaGetCaptionItem(caption, "hello");
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(OrmaGetCaptionItem(caption, "hello"), item);
  EXPECT_EQ(OrmaCaptionGetItemCount(caption), 1);
  OrmaCaptionItemBlock block{};
  std::strcpy(block.text, "hello there");
  EXPECT_EQ(OrmaUpdateCaptionItemParam(item, &block), 1);
  OrmaCaptionItemBlock back{};
  EXPECT_EQ(OrmaCaptionGetItemCaptionParam(caption, 0, &back), 1);
  EXPECT_STREQ(back.text, "hello there");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_EQ(v.FrameCount(), 25);
}

TEST_F(EngineApi, HardwareFlagsFallBackToSoftwareWithALogLine) {
  OrmaVideoHandle vv = NewVideo();
  ASSERT_EQ(OrmaEnableHWEncoder(vv, 1), 1);
  ASSERT_EQ(OrmaEnableHWDecoder(vv, 1), 1);
  AddScene(vv, 0, 0.4, "red.mp4");
  ::testing::internal::CaptureStdout();
  int32_t r = Export(vv);
  std::string out = ::testing::internal::GetCapturedStdout();
  ASSERT_EQ(r, 1);
  bool hardware = out.find("encoding with the hardware encoder") != std::string::npos;
  if (!hardware) {
    EXPECT_NE(out.find("no hardware encoder for libx264 on this machine; encoding in software"),
              std::string::npos)
        << out;
  }
  EXPECT_TRUE(out.find("decoding in software") != std::string::npos ||
              out.find("decoding with VA-API") != std::string::npos)
      << out;
  DecodedVideo v = Decode();
  EXPECT_EQ(v.FrameCount(), 10);
}

TEST_F(EngineApi, APreviewWithoutADisplayFailsAndItsControlsFindNothingPlaying) {
  // Played into windows only in the preview tests (tests/preview), under Xvfb.
  const char* display = std::getenv("DISPLAY");
  const std::string saved = display ? display : "";
  unsetenv("DISPLAY");
  OrmaVideoHandle vv = NewVideo();
  EXPECT_EQ(OrmaSetDisplayRatio(vv, 16.0f / 9.0f), 1);
  EXPECT_EQ(OrmaSetPreviewWindowsHwnd(vv, 0x1234), 1);
  EXPECT_EQ(OrmaPreviewInit(vv), 1);
  EXPECT_EQ(OrmaPreview(vv), -41);
  EXPECT_EQ(OrmaPreviewSeek(vv, 0), -43);
  EXPECT_EQ(OrmaPreviewStop(vv), -43);
  EXPECT_EQ(OrmaEditMediaUseAgentProcess(vv), 1);
  if (display) setenv("DISPLAY", saved.c_str(), 1);
}

} // namespace
