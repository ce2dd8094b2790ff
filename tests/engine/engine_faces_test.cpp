// Face count and face shaping through the API, on the drawn test face of
// make_face.sh: the rendered video is decoded and its eyes and cheeks
// measured.
#include <sys/stat.h>

#include <cmath>
#include <cstdio>
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

// The whole program: a draft's big eye goes through the face count to the
// rendered video, and without cascades nothing is shaped.
class EngineFacesProgram : public EngineTest {
protected:
  void SetUp() override {
    EngineTest::SetUp();
#ifndef ORMADRAFT_EXE
    GTEST_SKIP() << "the ormadraft program is not part of this build";
#endif
    WriteFile(Path("face.png"), ReadFile(Media("face.png")));
    std::string scenes;
    for (int i = 0; i < 2; ++i)
      scenes += std::string(i ? "," : "") + R"({"media": [{"path": "face.png", "trimTimeStart": 0,
        "trimTimeEnd": 1, "timelineFrom": )" +
                std::to_string(i) + R"(, "timelineTo": )" + std::to_string(i + 1) +
                R"(, "speed": 1, "alpha": 1, "volume": 1, "beautyBigEyeIntensity": )" + (i ? "1.0" : "0") +
                "}]}";
    WriteFile(
        Path("draft.json"),
        R"({"ver": 5, "name": "faces", "size": {"width": 320, "height": 180}, "mediaInfo": [], "scenes": [)" +
            scenes + "]}");
    WriteFile(Path("export.json"), R"({"video": {"fps": 25, "bitrate": 800, "encoder": "libx264"},
      "audio": {"channels": 2, "samples": 44100, "bitrate": 128}, "outUrl": ")" +
                                       Path("out.mp4") + R"("})");
  }

  // Runs the program on the test's draft; returns its output.
  std::string Run(const std::string& environment) {
    std::string output;
#ifdef ORMADRAFT_EXE
    std::string command = "cd '" + folder() + "' && ORMA_TRACE='" + Path("trace.txt") + "' " + environment +
                          " '" + ORMADRAFT_EXE + "' '" + Path("draft.json") + "' '" + Path("export.json") +
                          "' 2>&1";
    output = CommandOutput(command);
#endif
    return output;
  }
};

TEST_F(EngineFacesProgram, BigEyeOfADraftIsDrawn) {
  std::string output = Run("");
  ASSERT_NE(output.find("export success!"), std::string::npos) << output;
  std::string trace = ReadFile(Path("trace.txt"));
  EXPECT_NE(trace.find("OrmaSetMediaBigEyeIntensity("), std::string::npos) << trace;
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  for (int e = 0; e < 2; ++e)
    EXPECT_GT(DarkAround(v, F(1.5), kEyeX[e], kEyeY, 8), DarkAround(v, F(0.5), kEyeX[e], kEyeY, 8) * 1.5)
        << "eye " << e;
}

TEST_F(EngineFacesProgram, WithoutCascadesNoFaceIsFoundAndOneLineSaysWhy) {
  std::string empty = Path("no-cascades");
  ASSERT_EQ(mkdir(empty.c_str(), 0755), 0);
  std::string output = Run("ORMA_FACE_CASCADES='" + empty + "'");
  ASSERT_NE(output.find("export success!"), std::string::npos) << output;
  size_t line = output.find("face detection is off");
  EXPECT_NE(line, std::string::npos) << output;
  EXPECT_EQ(output.find("face detection is off", line + 1), std::string::npos) << output;
  std::string trace = ReadFile(Path("trace.txt"));
  EXPECT_NE(trace.find("OrmaGetMediaFaceCount("), std::string::npos) << trace;
  EXPECT_EQ(trace.find("OrmaSetMediaBigEyeIntensity("), std::string::npos) << trace;
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  for (int e = 0; e < 2; ++e)
    EXPECT_NEAR(DarkAround(v, F(1.5), kEyeX[e], kEyeY, 8), DarkAround(v, F(0.5), kEyeX[e], kEyeY, 8), 4);
}
