// The clip decoder: whatever order pictures are asked for in (on, skipping
// ahead, back, the same again, past the end), each is exactly the picture
// that decoding the clip from its start gives at that position.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/media/probe.h"
#include "engine/media/video_decoder.h"

using namespace orma;

namespace {

class VideoDecoding : public ::testing::Test {
protected:
  static void SetUpTestSuite() {
    char pattern[] = "/tmp/orma-decoder-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    folder_ = pattern;
    // Every picture differs; key frames every 25 pictures and up to three
    // B-frames between references, as cameras and editors write H.264.
    Make("clip.mp4", "-f lavfi -i testsrc2=s=160x90:r=25:d=4 -c:v libx264 -g 25 -bf 3 -pix_fmt yuv420p");
    // The same, filmed sideways: the file says to show it turned a quarter
    // counter-clockwise (its display matrix holds 90 degrees).
    std::string turned = "ffmpeg -v error -y -i '" + File("clip.mp4") +
                         "' -c copy -metadata:s:v rotate=90 '" + File("turned.mp4") + "'";
    ASSERT_EQ(std::system(turned.c_str()), 0) << turned;
    // White in 4:2:2 and full range, which the compositor does not take as
    // they are.
    Make("yuv422.mp4", "-f lavfi -i color=white:s=160x90:r=25:d=1 -c:v libx264 -pix_fmt yuvj422p");
  }
  static void TearDownTestSuite() { std::filesystem::remove_all(folder_); }

  static void Make(const std::string& name, const std::string& args) {
    std::string command = "ffmpeg -v error -y " + args + " '" + File(name) + "'";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
  }
  static std::string File(const std::string& name) { return folder_ + "/" + name; }

  static std::unique_ptr<VideoDecoder> Open(const std::string& name, Rational fps = {25, 1}) {
    MediaProbe probe = ProbeMedia(File(name).c_str(), true);
    EXPECT_TRUE(probe.ok) << probe.error;
    std::string error;
    auto decoder = VideoDecoder::Open(probe, fps, 601, false, &error);
    EXPECT_TRUE(decoder) << error;
    return decoder;
  }

  // A checksum of the visible pixels of the three planes.
  static uint64_t Sum(const Decoded& d) {
    uint64_t h = 1469598103934665603ull;
    for (int k = 0; k < 3; ++k) {
      int w = k ? (d.width + 1) / 2 : d.width, rows = k ? (d.height + 1) / 2 : d.height;
      for (int y = 0; y < rows; ++y)
        for (int x = 0; x < w; ++x)
          h = (h ^ d.yuv.p[k][static_cast<size_t>(y) * d.yuv.s[k] + x]) * 1099511628211ull;
    }
    return h;
  }

  static std::vector<uint64_t> InOrder(const std::string& name, int count) {
    auto decoder = Open(name);
    std::vector<uint64_t> sums;
    std::string error;
    for (int i = 0; i < count; ++i) {
      DecodedPtr d = decoder->PictureAt(i, &error);
      EXPECT_TRUE(d) << error;
      sums.push_back(d ? Sum(*d) : 0);
    }
    return sums;
  }

  static std::string folder_;
};
std::string VideoDecoding::folder_;

TEST_F(VideoDecoding, PicturesAskedForOutOfOrderAreThoseDecodedInOrder) {
  std::vector<uint64_t> expected = InOrder("clip.mp4", 100);
  for (size_t i = 1; i < expected.size(); ++i)
    ASSERT_NE(expected[i], expected[i - 1]) << "the test clip repeats picture " << i;
  auto decoder = Open("clip.mp4");
  std::string error;
  // On, two cameras' worth of skipping ahead, back over a key frame, again,
  // ahead past several key frames, and to the last picture.
  for (int position : {0, 1, 2, 11, 12, 20, 29, 30, 31, 18, 19, 19, 5, 60, 61, 99, 40, 3, 98, 99}) {
    DecodedPtr d = decoder->PictureAt(position, &error);
    ASSERT_TRUE(d) << error;
    EXPECT_EQ(Sum(*d), expected[position]) << "position " << position;
  }
}

TEST_F(VideoDecoding, PastTheEndTheLastPictureStays) {
  std::vector<uint64_t> expected = InOrder("clip.mp4", 100);
  auto decoder = Open("clip.mp4");
  std::string error;
  for (int position : {90, 150, 100, 120}) {
    DecodedPtr d = decoder->PictureAt(position, &error);
    ASSERT_TRUE(d) << error;
    EXPECT_EQ(Sum(*d), expected[position < 100 ? position : 99]) << "position " << position;
  }
  DecodedPtr again = decoder->PictureAt(50, &error);
  ASSERT_TRUE(again) << error;
  EXPECT_EQ(Sum(*again), expected[50]);
}

TEST_F(VideoDecoding, AnotherRateShowsTheNearestPictureOfTheClip) {
  std::vector<uint64_t> expected = InOrder("clip.mp4", 100);
  // At 50 frames a second each picture of the 25 fps clip shows twice; at
  // 10 a second every 2.5th.
  auto doubled = Open("clip.mp4", {50, 1});
  auto sparse = Open("clip.mp4", {10, 1});
  std::string error;
  for (int position = 0; position < 40; ++position) {
    DecodedPtr d = doubled->PictureAt(position, &error);
    ASSERT_TRUE(d) << error;
    EXPECT_EQ(Sum(*d), expected[(position + 1) / 2]) << "position " << position << " at 50 fps";
    DecodedPtr s = sparse->PictureAt(position, &error);
    ASSERT_TRUE(s) << error;
    int nearest = static_cast<int>(position * 2.5 + 0.5);
    EXPECT_EQ(Sum(*s), expected[std::min(nearest, 99)]) << "position " << position << " at 10 fps";
  }
}

TEST_F(VideoDecoding, AClipFilmedSidewaysIsTurnedUpright) {
  auto plain = Open("clip.mp4");
  auto turned = Open("turned.mp4");
  std::string error;
  DecodedPtr a = plain->PictureAt(7, &error), b = turned->PictureAt(7, &error);
  ASSERT_TRUE(a && b) << error;
  ASSERT_EQ(b->width, a->height);
  ASSERT_EQ(b->height, a->width);
  // Turned a quarter counter-clockwise, as ffmpeg shows it: the picture's
  // right column is now its top row, its top row its left column.
  for (int x = 0; x < b->width; ++x)
    EXPECT_EQ(b->yuv.p[0][x], a->yuv.p[0][static_cast<size_t>(x) * a->yuv.s[0] + a->width - 1]) << x;
  for (int y = 0; y < b->height; ++y)
    EXPECT_EQ(b->yuv.p[0][static_cast<size_t>(y) * b->yuv.s[0]], a->yuv.p[0][a->width - 1 - y]) << y;
}

TEST_F(VideoDecoding, OtherPictureFormatsBecome420WithTheirRange) {
  auto decoder = Open("yuv422.mp4");
  std::string error;
  DecodedPtr d = decoder->PictureAt(3, &error);
  ASSERT_TRUE(d) << error;
  EXPECT_EQ(d->width, 160);
  EXPECT_EQ(d->height, 90);
  EXPECT_TRUE(d->color.fullRange);
  EXPECT_EQ(d->rgba, nullptr);
  // Full-range white stays 255 (limited range would make it 235); chroma
  // is neutral.
  EXPECT_GE(d->yuv.p[0][static_cast<size_t>(45) * d->yuv.s[0] + 80], 253);
  EXPECT_NEAR(d->yuv.p[1][static_cast<size_t>(22) * d->yuv.s[1] + 40], 128, 2);
}

} // namespace
