// Media are local files only: a URL, one of FFmpeg's protocols (concat:,
// pipe:, subfile,) or a playlist that names other files is refused at
// OrmaSceneCreateMedia with a log line naming the path and the reason, one
// test per form, so that a draft can never make the engine read anything
// other than the one file it names.
#include <cstdio>

#include "tests/engine/engine_test_support.h"

namespace {

class MediaSources : public EngineTest {
protected:
  // Creates media from `path`, returning what the library logged; the media
  // must be refused.
  std::string Refused(const std::string& path) {
    testing::internal::CaptureStdout();
    OrmaMediaHandle media = OrmaSceneCreateMedia(path.c_str());
    std::fflush(stdout);
    std::string log = testing::internal::GetCapturedStdout();
    EXPECT_EQ(media, nullptr) << path;
    EXPECT_NE(log.find("[OrmaCore] OrmaSceneCreateMedia: "), std::string::npos) << log;
    return log;
  }
  static bool Has(const std::string& log, const std::string& text) {
    return log.find(text) != std::string::npos;
  }
};

TEST_F(MediaSources, AnHttpUrlIsRefusedAsNotALocalFile) {
  std::string log = Refused("http://127.0.0.1:9/red.mp4");
  EXPECT_TRUE(Has(log, "not a local file")) << log;
  EXPECT_TRUE(Has(log, "http://127.0.0.1:9/red.mp4")) << log;
  EXPECT_TRUE(Has(Refused("https://example.invalid/a.mp4"), "not a local file"));
}

TEST_F(MediaSources, TheConcatProtocolIsRefused) {
  std::string log = Refused("concat:" + Media("red.mp4") + "|" + Media("blue.mp4"));
  EXPECT_TRUE(Has(log, "not a local file")) << log;
  EXPECT_TRUE(Has(log, "concat:")) << log;
}

TEST_F(MediaSources, ThePipeProtocolIsRefused) {
  std::string log = Refused("pipe:0");
  EXPECT_TRUE(Has(log, "not a local file")) << log;
  EXPECT_TRUE(Has(log, "pipe:0")) << log;
}

TEST_F(MediaSources, TheSubfileProtocolIsRefused) {
  std::string log = Refused("subfile,,start,0,end,0,,:" + Media("red.mp4"));
  EXPECT_TRUE(Has(log, "not a local file")) << log;
  EXPECT_TRUE(Has(log, "subfile,")) << log;
}

TEST_F(MediaSources, AnHlsPlaylistThatPointsElsewhereIsRefused) {
  WriteFile(Path("remote.m3u8"),
            "#EXTM3U\n#EXT-X-TARGETDURATION:3\n#EXTINF:3,\nhttp://127.0.0.1:9/red.ts\n#EXT-X-ENDLIST\n");
  std::string log = Refused(Path("remote.m3u8"));
  EXPECT_TRUE(Has(log, "remote.m3u8")) << log;
  EXPECT_TRUE(Has(log, "hls files are not accepted as media")) << log;
  // One naming a local file is refused the same way: it is not that file.
  log = Refused(Media("list.m3u8"));
  EXPECT_TRUE(Has(log, "hls files are not accepted as media")) << log;
}

TEST_F(MediaSources, AnFfconcatListIsRefused) {
  WriteFile(Path("list.ffconcat"),
            "ffconcat version 1.0\nfile '" + Media("red.mp4") + "'\nfile '" + Media("blue.mp4") + "'\n");
  std::string log = Refused(Path("list.ffconcat"));
  EXPECT_TRUE(Has(log, "list.ffconcat")) << log;
  EXPECT_TRUE(Has(log, "concat files are not accepted as media")) << log;
  // Named like a clip, it is still a list.
  WriteFile(Path("list.mp4"), ReadFile(Path("list.ffconcat")));
  EXPECT_TRUE(Has(Refused(Path("list.mp4")), "concat files are not accepted as media"));
}

TEST_F(MediaSources, ALocalFileWhoseNameLooksLikeAProtocolIsThatFile) {
  // Inside a folder, "concat:" is part of a file name, not a protocol.
  WriteFile(Path("concat:red.mp4"), ReadFile(Media("red.mp4")));
  EXPECT_NE(OrmaSceneCreateMedia(Path("concat:red.mp4").c_str()), nullptr);
}

} // namespace
