// Face count and face shaping through the API, on the drawn test face of
// make_face.sh: the rendered video is decoded and its eyes and cheeks
// measured.
#include <cmath>
#include <string>

#include "tests/engine/engine_test_support.h"

namespace {

int F(double seconds) { return static_cast<int>(std::lround(seconds * 25)); }

double Luma(Rgb c) { return 0.299 * c.r + 0.587 * c.g + 0.114 * c.b; }

// Dark pixels (irises, brows) in a square around a point of the 320x180
// output.
int DarkAround(const DecodedVideo& v, int frame, int cx, int cy, int radius) {
  int n = 0;
  for (int y = cy - radius; y <= cy + radius; ++y)
    for (int x = cx - radius; x <= cx + radius; ++x)
      n += Luma(v.At(frame, (x + 0.5) / 320.0, (y + 0.5) / 180.0)) < 70;
  return n;
}

// Skin-coloured pixels of a row (red well above blue).
int SkinWidth(const DecodedVideo& v, int frame, int y) {
  int n = 0;
  for (int x = 0; x < 320; ++x) {
    Rgb c = v.At(frame, (x + 0.5) / 320.0, (y + 0.5) / 180.0);
    n += c.r > 180 && c.r - c.b > 50;
  }
  return n;
}

// The drawn face's eyes in the 320x180 picture.
constexpr int kEyeX[2] = {142, 178}, kEyeY = 85, kCheekRow = 110;

} // namespace

class EngineFaces : public EngineTest {};

TEST_F(EngineFaces, FaceCountIsTheNumberOfFacesFound) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle face = nullptr, blank = nullptr;
  AddScene(vv, 0, 1, "face.png", &face);
  AddScene(vv, 1, 2, "blank.png", &blank);
  int32_t count = -1;
  EXPECT_EQ(OrmaGetMediaFaceCount(face, &count), 1);
  EXPECT_EQ(count, 1);
  count = -1;
  EXPECT_EQ(OrmaGetMediaFaceCount(blank, &count), 0);
  EXPECT_EQ(count, 0);
  EXPECT_LT(OrmaGetMediaFaceCount(face, nullptr), 0);
}

TEST_F(EngineFaces, FaceCountOfAClipFollowsItsTrim) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle early = nullptr, late = nullptr;
  AddScene(vv, 0, 1, "face_late.mp4", &early);
  AddScene(vv, 1, 2, "face_late.mp4", &late);
  ASSERT_EQ(OrmaSetMediaCutTime(early, 0, kSecond), 1);
  ASSERT_EQ(OrmaSetMediaCutTime(late, 2 * kSecond, 3 * kSecond), 1);
  int32_t count = -1;
  EXPECT_EQ(OrmaGetMediaFaceCount(early, &count), 0);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(OrmaGetMediaFaceCount(late, &count), 1);
  EXPECT_EQ(count, 1);
}

TEST_F(EngineFaces, BigEyeGrowsTheDarkEyeAreaAndThinFaceNarrowsTheCheeks) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle plain = nullptr, eyes = nullptr, thin = nullptr;
  AddScene(vv, 0, 1, "face.png", &plain);
  AddScene(vv, 1, 2, "face.png", &eyes);
  AddScene(vv, 2, 3, "face.png", &thin);
  ASSERT_EQ(OrmaSetMediaBigEyeIntensity(plain, 0), 1);
  ASSERT_EQ(OrmaSetMediaThinFaceIntensity(plain, 0), 1);
  ASSERT_EQ(OrmaSetMediaBigEyeIntensity(eyes, 100), 1);
  ASSERT_EQ(OrmaSetMediaThinFaceIntensity(eyes, 0), 1);
  ASSERT_EQ(OrmaSetMediaBigEyeIntensity(thin, 0), 1);
  ASSERT_EQ(OrmaSetMediaThinFaceIntensity(thin, 100), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  for (int e = 0; e < 2; ++e) {
    int before = DarkAround(v, F(0.5), kEyeX[e], kEyeY, 8);
    int after = DarkAround(v, F(1.5), kEyeX[e], kEyeY, 8);
    int unchanged = DarkAround(v, F(2.5), kEyeX[e], kEyeY, 8);
    EXPECT_GT(before, 20) << "eye " << e;
    EXPECT_GT(after, before * 1.5) << "eye " << e << ": " << before << " -> " << after;
    EXPECT_NEAR(unchanged, before, before * 0.15) << "eye " << e << " under thin face";
  }
  int cheek = SkinWidth(v, F(0.5), kCheekRow);
  EXPECT_GT(cheek, 80);
  EXPECT_LE(SkinWidth(v, F(2.5), kCheekRow), cheek - 6);
  EXPECT_NEAR(SkinWidth(v, F(1.5), kCheekRow), cheek, 3) << "cheeks under big eye";
}

TEST_F(EngineFaces, BigEyeFollowsAFaceThatAppearsInAClip) {
  OrmaVideoHandle vv = NewVideo();
  OrmaMediaHandle clip = nullptr;
  AddScene(vv, 0, 3, "face_late.mp4", &clip);
  AddScene(vv, 3, 4, "face.png"); // the face as drawn, for reference
  ASSERT_EQ(OrmaSetMediaBigEyeIntensity(clip, 100), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  // Before the face: the background, untouched.
  EXPECT_EQ(DarkAround(v, F(1.0), kEyeX[0], kEyeY, 8), 0);
  // Once the face is there (found at the next detection), its eyes are big.
  for (int e = 0; e < 2; ++e) {
    int drawn = DarkAround(v, F(3.5), kEyeX[e], kEyeY, 8);
    EXPECT_GT(drawn, 20) << "eye " << e;
    for (double t : {2.0, 2.8})
      EXPECT_GT(DarkAround(v, F(t), kEyeX[e], kEyeY, 8), drawn * 1.5) << "at " << t << " s, eye " << e;
  }
}
