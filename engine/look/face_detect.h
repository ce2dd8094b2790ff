// Face detection for the face attributes of media items (face count, big
// eye, thin face): OpenCV's Haar cascades for frontal faces and for eyes, as
// Debian's opencv-data package installs them, run on grey pictures.
//
// The cascades are looked for at run time, in the folder named by
// ORMA_FACE_CASCADES and then in the usual installation folders. Without
// them nothing is ever found: one line says so, and every face count is 0.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orma {

/// One face, in shares of the picture it was found in (0..1 from the top
/// left corner), so it applies at any size the picture is drawn at.
struct FaceShape {
  float x = 0, y = 0, w = 0, h = 0; ///< the face's box
  float eyes[2][2] = {};            ///< centres of the left and the right eye (x, y)
  bool eyesFound[2] = {false, false};
};

/// An 8-bit grey picture that owns its samples.
struct GreyImage {
  int width = 0, height = 0;
  std::vector<uint8_t> pixels; ///< width * height, rows without padding
};

class FaceDetector {
public:
  /// The detector of the process, built on first use from the installed
  /// cascades; null (and one log line) when they cannot be loaded.
  static const FaceDetector* Shared();

  /// A detector from the cascades of `folder` ("haarcascade_*.xml"); null
  /// with *error set when they are missing or unreadable.
  static std::unique_ptr<FaceDetector> Load(const std::string& folder, std::string* error);

  ~FaceDetector();

  /// Faces of a grey picture (`stride` bytes a row), largest first, at most
  /// `limit`. Faces narrower than 1/12 of the shorter side are not looked
  /// for. Eyes are looked for inside each face; where one is not found it
  /// is placed where eyes sit in a frontal face's box.
  std::vector<FaceShape> Detect(const uint8_t* grey, int stride, int width, int height, size_t limit) const;

  /// The folder searched after ORMA_FACE_CASCADES, in order.
  static std::vector<std::string> DefaultFolders();

private:
  FaceDetector();
  struct Cascades;
  std::unique_ptr<Cascades> cascades_;
  mutable std::mutex mutex_; ///< the classifiers keep scratch state
};

/// Where eyes sit in a frontal face's box (shares of the box), used when
/// the eye cascade finds none.
constexpr float kEyeX[2] = {0.31f, 0.69f};
constexpr float kEyeY = 0.40f;

} // namespace orma
