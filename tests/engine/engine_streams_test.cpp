// Exports of the picture alone and of the sound alone, and ranges that start
// on an exact frame with a key frame: what a render farm renders on its nodes
// and joins without re-encoding (farm/ormadraft-farm). The parts are decoded
// and compared with the export of both streams in one go.
extern "C" {
#include <libavformat/avformat.h>
}

#include <cmath>
#include <string>

#include "tests/engine/engine_test_support.h"

namespace {

// Luma of the counter clip's frame n, as decoded back to RGB.
int CounterGrey(int n) { return static_cast<int>(std::lround(3 * n * 255.0 / 219.0)); }

// Whether the first packet of the file's video stream is a key frame, and
// how many key frames the stream has; -1 when it cannot be read.
int KeyFramesAtStart(const std::string& path, bool* firstIsKey) {
  AVFormatContext* in = nullptr;
  if (avformat_open_input(&in, path.c_str(), nullptr, nullptr) < 0) return -1;
  int keys = -1;
  if (avformat_find_stream_info(in, nullptr) >= 0) {
    const int video = av_find_best_stream(in, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    AVPacket* packet = av_packet_alloc();
    bool first = true;
    keys = video < 0 ? -1 : 0;
    while (video >= 0 && av_read_frame(in, packet) >= 0) {
      if (packet->stream_index == video) {
        const bool key = (packet->flags & AV_PKT_FLAG_KEY) != 0;
        if (first) *firstIsKey = key;
        first = false;
        keys += key ? 1 : 0;
      }
      av_packet_unref(packet);
    }
    av_packet_free(&packet);
  }
  avformat_close_input(&in);
  return keys;
}

class EngineStreams : public EngineTest {};

TEST_F(EngineStreams, UnknownStreamValuesAreRefused) {
  OrmaVideoHandle vv = NewVideo();
  EXPECT_LT(OrmaSetOutputStreams(vv, 0), 1);
  EXPECT_LT(OrmaSetOutputStreams(vv, 4), 1);
  EXPECT_LT(OrmaSetOutputStreams(nullptr, ORMA_STREAMS_VIDEO), 1);
  EXPECT_EQ(OrmaSetOutputStreams(vv, ORMA_STREAMS_BOTH), 1);
}

TEST_F(EngineStreams, ThePictureAloneHasNoSoundStream) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "red.mp4");
  AddScene(vv, 1, 2, "blue.mp4");
  ASSERT_EQ(OrmaSetOutputStreams(vv, ORMA_STREAMS_VIDEO), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_EQ(v.videoCodec, "h264");
  EXPECT_EQ(v.audioCodec, "");
  EXPECT_EQ(v.sampleRate, 0);
  EXPECT_EQ(v.FrameCount(), 50);
  EXPECT_PRED2(Close, v.At(10, 0.5, 0.5), (Rgb{255, 0, 0}));
  EXPECT_PRED2(Close, v.At(40, 0.5, 0.5), (Rgb{0, 0, 255}));
}

TEST_F(EngineStreams, TheSoundAloneHasNoPictureAndIsTheSoundOfTheWholeExport) {
  auto build = [&](const std::string& out) {
    OrmaVideoHandle vv = NewVideo(25.0, out);
    AddScene(vv, 0, 1, "red.mp4");
    AddScene(vv, 1, 2.4, "blue.mp4");
    return vv;
  };
  OrmaVideoHandle both = build("both.mp4");
  ASSERT_EQ(Export(both), 1);
  OrmaVideoHandle sound = build("sound.m4a");
  ASSERT_EQ(OrmaSetOutputStreams(sound, ORMA_STREAMS_SOUND), 1);
  ASSERT_EQ(Export(sound), 1);
  EXPECT_EQ(progress.empty() ? 0 : progress.back(), 100);

  DecodedVideo whole = Decode("both.mp4"), alone = Decode("sound.m4a");
  ASSERT_TRUE(whole.ok) << whole.error;
  ASSERT_TRUE(alone.ok) << alone.error;
  EXPECT_EQ(alone.videoCodec, "");
  EXPECT_EQ(alone.FrameCount(), 0);
  EXPECT_EQ(alone.audioCodec, "aac");
  EXPECT_EQ(alone.sampleRate, whole.sampleRate);
  EXPECT_EQ(alone.channels, whole.channels);
  ASSERT_EQ(alone.mono.size(), whole.mono.size());
  size_t differing = 0;
  for (size_t i = 0; i < whole.mono.size(); ++i)
    differing += alone.mono[i] != whole.mono[i] ? 1 : 0;
  EXPECT_EQ(differing, 0u) << "of " << whole.mono.size() << " samples";
  EXPECT_GT(whole.Rms(0.2, 0.8), 0.05); // the red clip's tone is there
}

TEST_F(EngineStreams, ARangeStartsOnItsExactFrameWithAKeyFrame) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 3, "counter.mp4");
  ASSERT_EQ(OrmaSetOutputStreams(vv, ORMA_STREAMS_VIDEO), 1);
  // Frames 37 to 61: the source's own key frames are at 0 and 50, so the
  // part's first picture is one the source codes as a difference.
  ASSERT_EQ(OrmaEditSetLimitTime(vv, 1480000, 2480000), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  ASSERT_EQ(v.FrameCount(), 25);
  EXPECT_NEAR(v.durationSeconds, 1.0, 0.001);
  for (int f : {0, 1, 12, 13, 24})
    EXPECT_NEAR(v.At(f, 0.5, 0.5).g, CounterGrey(37 + f), 4) << "frame " << f;
  bool firstIsKey = false;
  EXPECT_GE(KeyFramesAtStart(Path("out.mp4"), &firstIsKey), 1);
  EXPECT_TRUE(firstIsKey);
}

TEST_F(EngineStreams, ARangeAskedBetweenFramesStartsOnTheNearestFrame) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 3, "counter.mp4");
  ASSERT_EQ(OrmaSetOutputStreams(vv, ORMA_STREAMS_VIDEO), 1);
  // 0.999999 s is frame 25 less a microsecond, as a command line's seconds
  // often arrive; 2.000001 s is frame 50.
  ASSERT_EQ(OrmaEditSetLimitTime(vv, 999999, 2000001), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  ASSERT_EQ(v.FrameCount(), 25);
  EXPECT_NEAR(v.At(0, 0.5, 0.5).g, CounterGrey(25), 4);
  EXPECT_NEAR(v.At(24, 0.5, 0.5).g, CounterGrey(49), 4);
}

} // namespace
