// Face shaping of a media item's picture: big eyes (a disc around each eye
// magnified, most at its centre, not at all at its rim) and a thin face
// (the cheeks and the jaw drawn in towards the face's vertical middle line,
// most at the face's sides, fading out above the cheeks, below the chin and
// away from the face). Both are backward warps with smooth falloff that
// never fold the picture, applied to all planes of the 4:2:0 picture alike.
//
// Faces are found on the item's frames as they are fetched (in order, on
// one thread): on a grey copy of the item's crop area scaled to at most
// kFaceDetectSide pixels a side, every kFaceDetectEvery frames of the item;
// the frames in between reuse the last faces found. A face that is found
// again is moved halfway to its new place (less jitter); a face that is not
// found is kept through one more detection before it is dropped. A still
// picture is looked at once (again only when its crop changes).
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "engine/look/face_detect.h"
#include "engine/picture/image.h"

namespace orma {

struct SourceFrame;

constexpr int kFaceDetectEvery = 5;
constexpr int kFaceDetectSide = 320;
constexpr size_t kFaceLimit = 4; ///< the largest faces of a picture are shaped

/// Levels of the two effects, 0..100 (the API's levels; see docs/engine.md).
struct FaceWarpLevels {
  int bigEye = 0;
  int thinFace = 0;
  bool Active() const { return bigEye > 0 || thinFace > 0; }
};

using FaceList = std::vector<FaceShape>;

/// Big eye: the magnification at an eye's centre is 1 / (1 - kBigEyeMost *
/// level / 100), over a disc of kEyeRadius face widths.
constexpr float kBigEyeMost = 0.4f;
constexpr float kEyeRadius = 0.2f;
/// Thin face: the sides move in by up to kThinFaceMost half face widths.
constexpr float kThinFaceMost = 0.12f;

/// Grey copy of the crop area of a source frame, mirrored as the item is,
/// with its longer side at most `side` pixels.
bool GreyOfSource(const SourceFrame& source, const float crop[4], bool mirrorH, bool mirrorV, int side,
                  GreyImage* out);

class FaceTracker {
public:
  explicit FaceTracker(const FaceDetector* detector) : detector_(detector) {}
  /// Sequential: the faces of the item's picture at item frame `frame`
  /// (shares of the working picture), by the rule above.
  std::shared_ptr<const FaceList> At(int64_t frame, const SourceFrame& source, const float crop[4],
                                     bool mirrorH, bool mirrorV);

private:
  const FaceDetector* detector_;
  int64_t group_ = INT64_MIN;
  const void* still_ = nullptr;
  float crop_[4] = {0, 0, 0, 0};
  std::shared_ptr<const FaceList> faces_;
  std::vector<int> missed_;
  GreyImage grey_;
};

/// Warps the picture (its colour planes and alpha) around the faces.
/// Levels of 0 leave it untouched.
void WarpFaces(Yuv& img, const FaceList& faces, FaceWarpLevels levels);

} // namespace orma
