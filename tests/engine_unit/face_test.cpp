// Face detection, face count and face shaping on the drawn test face of
// tests/engine/make_face.sh (a cartoon face that the cascades find).
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "engine/look/face_count.h"
#include "engine/look/face_detect.h"
#include "engine/media/probe.h"
#include "engine/media/still_image.h"
#include "engine/picture/scale.h"
#include "engine/render/face_warp.h"
#include "engine/render/scene.h"

using namespace orma;

namespace {

class Faces : public ::testing::Test {
protected:
  static void SetUpTestSuite() {
    char pattern[] = "/tmp/orma-faces-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    folder_ = pattern;
    std::string command = "bash '" ORMA_SOURCE_DIR "/tests/engine/make_face.sh' '" + folder_ + "'";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
  }
  static void TearDownTestSuite() { std::filesystem::remove_all(folder_); }

  static std::string File(const std::string& name) { return folder_ + "/" + name; }

  // A picture file in the engine's working format (BT.601, as at 320x180).
  static PicturePtr Load(const std::string& name) {
    MediaProbe probe = ProbeMedia(File(name).c_str(), true);
    EXPECT_TRUE(probe.ok) << probe.error;
    RgbaImage rgba;
    std::string error;
    EXPECT_TRUE(LoadRgba(probe, &rgba, &error)) << error;
    Picture converted(rgba.width, rgba.height, true); // converting needs alpha
    EXPECT_TRUE(
        ScaleRgba(rgba.pixels.data(), rgba.width * 4, 0, 0, rgba.width, rgba.height, converted.view(), 601));
    auto picture = std::make_shared<Picture>(rgba.width, rgba.height, false);
    CopyPicture(picture->view(), converted.view());
    return picture;
  }

  static FaceList Detect(const Yuv& v) {
    const FaceDetector* d = FaceDetector::Shared();
    EXPECT_NE(d, nullptr) << "the cascades of opencv-data are not installed";
    if (!d) return {};
    return d->Detect(v.p[0], v.s[0], v.w, v.h, kFaceLimit);
  }

  static int Count(const std::string& name, int64_t from = 0, int64_t to = 0) {
    MediaProbe probe = ProbeMedia(File(name).c_str(), true);
    EXPECT_TRUE(probe.ok) << probe.error;
    return CountMediaFaces(probe, from, to);
  }

  static std::string folder_;
};
std::string Faces::folder_;

// Luma of the drawn face's dark parts (irises, brows) against its skin.
bool Dark(const Yuv& v, int x, int y) { return v.p[0][y * v.s[0] + x] < 70; }

// The picture's pixels of skin colour: red clearly above blue in chroma.
bool Skin(const Yuv& v, int x, int y) {
  int cr = v.p[2][(y / 2) * v.s[2] + x / 2], cb = v.p[1][(y / 2) * v.s[1] + x / 2];
  return cr > 138 && cb < 122;
}

int SkinWidth(const Yuv& v, int y) {
  int n = 0;
  for (int x = 0; x < v.w; ++x)
    n += Skin(v, x, y);
  return n;
}

int DarkAround(const Yuv& v, float cx, float cy, int radius) {
  int n = 0;
  for (int y = static_cast<int>(cy) - radius; y <= static_cast<int>(cy) + radius; ++y)
    for (int x = static_cast<int>(cx) - radius; x <= static_cast<int>(cx) + radius; ++x)
      n += Dark(v, x, y);
  return n;
}

bool SamePicture(const Yuv& a, const Yuv& b) {
  for (int y = 0; y < a.h; ++y)
    if (std::memcmp(a.p[0] + y * a.s[0], b.p[0] + y * b.s[0], a.w) != 0) return false;
  for (int k = 1; k <= 2; ++k)
    for (int y = 0; y < a.h / 2; ++y)
      if (std::memcmp(a.p[k] + y * a.s[k], b.p[k] + y * b.s[k], a.w / 2) != 0) return false;
  return true;
}

} // namespace

TEST_F(Faces, DrawnFaceIsFoundWithItsEyes) {
  PicturePtr face = Load("face.png");
  FaceList faces = Detect(face->view());
  ASSERT_EQ(faces.size(), 1u);
  const FaceShape& f = faces[0];
  // Drawn centred, 90 pixels wide, its eyes at (142, 85.5) and (178, 85.5).
  EXPECT_NEAR((f.x + f.w / 2) * 320, 160, 8);
  EXPECT_NEAR(f.w * 320, 100, 25);
  for (int e = 0; e < 2; ++e) {
    EXPECT_TRUE(f.eyesFound[e]) << "eye " << e;
    EXPECT_NEAR(f.eyes[e][0] * 320, e == 0 ? 142 : 178, 5) << "eye " << e;
    EXPECT_NEAR(f.eyes[e][1] * 180, 85.5, 5) << "eye " << e;
  }
}

TEST_F(Faces, CountOfTheDrawnFaceIsOne) { EXPECT_EQ(Count("face.png"), 1); }

TEST_F(Faces, CountOfABlankPictureIsZero) { EXPECT_EQ(Count("blank.png"), 0); }

TEST_F(Faces, CountOfAClipLooksOnlyAtItsTrimmedSpan) {
  // The face appears after 1.5 s.
  EXPECT_EQ(Count("face_late.mp4", 0, 1400000), 0);
  EXPECT_EQ(Count("face_late.mp4", 1600000, 3000000), 1);
  EXPECT_EQ(Count("face_late.mp4"), 1); // the whole clip: the largest count of its samples
}

TEST_F(Faces, MissingCascadesAreReportedByName) {
  std::string error;
  EXPECT_EQ(FaceDetector::Load(folder_ + "/none", &error), nullptr);
  EXPECT_NE(error.find("haarcascade_frontalface_alt2.xml"), std::string::npos) << error;
}

TEST_F(Faces, WarpAtLevelZeroLeavesThePictureAsItWas) {
  PicturePtr face = Load("face.png"), copy = Load("face.png");
  FaceList faces = Detect(face->view());
  ASSERT_FALSE(faces.empty());
  WarpFaces(face->view(), faces, FaceWarpLevels{});
  EXPECT_TRUE(SamePicture(face->view(), copy->view()));
  // Levels that are set but without a face change nothing either.
  WarpFaces(face->view(), {}, FaceWarpLevels{100, 100});
  EXPECT_TRUE(SamePicture(face->view(), copy->view()));
}

TEST_F(Faces, BigEyeEnlargesTheDarkEyeArea) {
  PicturePtr face = Load("face.png");
  FaceList faces = Detect(face->view());
  ASSERT_EQ(faces.size(), 1u);
  const Yuv& v = face->view();
  float ex[2] = {faces[0].eyes[0][0] * v.w, faces[0].eyes[1][0] * v.w};
  float ey[2] = {faces[0].eyes[0][1] * v.h, faces[0].eyes[1][1] * v.h};
  int before[2] = {DarkAround(v, ex[0], ey[0], 8), DarkAround(v, ex[1], ey[1], 8)};
  WarpFaces(face->view(), faces, FaceWarpLevels{100, 0});
  for (int e = 0; e < 2; ++e) {
    int after = DarkAround(v, ex[e], ey[e], 8);
    EXPECT_GT(before[e], 20) << "eye " << e;
    // The iris is magnified about 1.6 times across, so its area about 2.5 times.
    EXPECT_GT(after, before[e] * 1.6) << "eye " << e << ": " << before[e] << " -> " << after;
  }
  // Half the level enlarges less.
  PicturePtr half = Load("face.png");
  WarpFaces(half->view(), faces, FaceWarpLevels{50, 0});
  int h = DarkAround(half->view(), ex[0], ey[0], 8);
  EXPECT_GT(h, before[0]);
  EXPECT_LT(h, DarkAround(v, ex[0], ey[0], 8));
}

TEST_F(Faces, ThinFaceNarrowsTheCheeksAndKeepsTheForehead) {
  PicturePtr face = Load("face.png");
  FaceList faces = Detect(face->view());
  ASSERT_EQ(faces.size(), 1u);
  const Yuv& v = face->view();
  const int cheek = 110, forehead = 62; // drawn: centre row 95, skin from 39 to 154
  int cheekBefore = SkinWidth(v, cheek), foreheadBefore = SkinWidth(v, forehead);
  int lumaEdgeBefore = 0;
  while (v.p[0][cheek * v.s[0] + lumaEdgeBefore] < 150)
    ++lumaEdgeBefore;
  WarpFaces(face->view(), faces, FaceWarpLevels{0, 100});
  int cheekAfter = SkinWidth(v, cheek), foreheadAfter = SkinWidth(v, forehead);
  int lumaEdgeAfter = 0;
  while (v.p[0][cheek * v.s[0] + lumaEdgeAfter] < 150)
    ++lumaEdgeAfter;
  EXPECT_GT(cheekBefore, 80);
  EXPECT_LE(cheekAfter, cheekBefore - 6) << cheekBefore << " -> " << cheekAfter;
  EXPECT_NEAR(foreheadAfter, foreheadBefore, 2);
  // The luma and chroma edges of the cheek moved together: the left edge
  // moved in by about half the width lost.
  EXPECT_NEAR(lumaEdgeAfter - lumaEdgeBefore, (cheekBefore - cheekAfter) / 2.0, 2.5);
}

TEST_F(Faces, WarpMovesTheAlphaPlaneWithThePicture) {
  PicturePtr face = Load("face.png");
  FaceList faces = Detect(face->view());
  ASSERT_EQ(faces.size(), 1u);
  Picture withAlpha(320, 180, true);
  Yuv a = withAlpha.view();
  CopyPicture(a, face->view());
  // Alpha: the luma itself, so both must come out the same after the warp.
  for (int y = 0; y < 180; ++y)
    std::memcpy(a.p[3] + y * a.s[3], a.p[0] + y * a.s[0], 320);
  WarpFaces(a, faces, FaceWarpLevels{80, 80});
  for (int y = 0; y < 180; ++y)
    ASSERT_EQ(std::memcmp(a.p[3] + y * a.s[3], a.p[0] + y * a.s[0], 320), 0) << "row " << y;
}

TEST_F(Faces, TrackerReusesItsFacesBetweenDetections) {
  PicturePtr face = Load("face.png");
  const Yuv& v = face->view();
  FaceTracker tracker(FaceDetector::Shared());
  // A clip's frame (here the picture's planes) at frames 0 to 10.
  SourceFrame frame;
  auto decoded = std::make_shared<Decoded>();
  decoded->yuv = v;
  decoded->width = v.w;
  decoded->height = v.h;
  frame.decoded = decoded;
  const float crop[4] = {0, 0, 1, 1};
  auto first = tracker.At(0, frame, crop, false, false);
  ASSERT_TRUE(first);
  ASSERT_EQ(first->size(), 1u);
  for (int f = 1; f < kFaceDetectEvery; ++f)
    EXPECT_EQ(tracker.At(f, frame, crop, false, false), first) << "frame " << f;
  auto next = tracker.At(kFaceDetectEvery, frame, crop, false, false);
  EXPECT_NE(next, first);
  ASSERT_EQ(next->size(), 1u);
  EXPECT_NEAR((*next)[0].x, (*first)[0].x, 0.01);
  // Mirrored, the face's box is mirrored too.
  FaceTracker mirrored(FaceDetector::Shared());
  auto m = mirrored.At(0, frame, crop, true, false);
  ASSERT_TRUE(m && m->size() == 1u);
  EXPECT_NEAR((*m)[0].x + (*m)[0].w, 1.0f - (*first)[0].x, 0.02);
}

TEST_F(Faces, TrackerFindsFacesInRgbaFramesAndCropAreas) {
  MediaProbe probe = ProbeMedia(File("face.png").c_str(), true);
  ASSERT_TRUE(probe.ok) << probe.error;
  RgbaImage rgba;
  std::string error;
  ASSERT_TRUE(LoadRgba(probe, &rgba, &error)) << error;
  SourceFrame frame;
  auto decoded = std::make_shared<Decoded>();
  decoded->rgba = rgba.pixels.data();
  decoded->width = rgba.width;
  decoded->height = rgba.height;
  frame.decoded = decoded;
  const float whole[4] = {0, 0, 1, 1}, right[4] = {0.25f, 0, 1, 1};
  FaceTracker tracker(FaceDetector::Shared());
  auto faces = tracker.At(0, frame, whole, false, false);
  ASSERT_TRUE(faces && faces->size() == 1u);
  EXPECT_NEAR((*faces)[0].x + (*faces)[0].w / 2, 0.5, 0.03);
  // In the right three quarters the face's middle is at 80 of 240 pixels.
  FaceTracker cropped(FaceDetector::Shared());
  auto inCrop = cropped.At(0, frame, right, false, false);
  ASSERT_TRUE(inCrop && inCrop->size() == 1u);
  EXPECT_NEAR((*inCrop)[0].x + (*inCrop)[0].w / 2, 80.0 / 240.0, 0.03);
}
