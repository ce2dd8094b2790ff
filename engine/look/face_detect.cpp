#include "engine/look/face_detect.h"

#include <algorithm>
#include <cstdlib>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/objdetect.hpp>

#include "engine/core/log.h"
#include "platform/platform.h"

namespace orma {

namespace {

// alt2 finds the faces the other frontal cascades find with fewer false
// hits on textured backgrounds; the plain eye cascade is the one that works
// inside a face box of any size.
const char kFaceCascade[] = "haarcascade_frontalface_alt2.xml";
const char kEyeCascade[] = "haarcascade_eye.xml";

// Eyes are looked for in this band of the face box, scaled to this width:
// eyes then measure about 30 pixels, well above the cascade's 20.
constexpr float kEyeBandTop = 0.2f, kEyeBandBottom = 0.6f;
constexpr int kEyeBandWidth = 160;

// The files are read through the platform layer and parsed from memory.
bool ReadCascade(const std::string& path, cv::CascadeClassifier* out, std::string* error) {
  std::string text;
  if (!platform::ReadWholeFile(path.c_str(), &text)) {
    *error = path + ": cannot be read";
    return false;
  }
  try {
    cv::FileStorage storage(text, cv::FileStorage::READ | cv::FileStorage::MEMORY);
    if (!storage.isOpened() || !out->read(storage.getFirstTopLevelNode()) || out->empty()) {
      *error = path + ": not a cascade classifier";
      return false;
    }
  } catch (const cv::Exception& e) {
    *error = path + ": " + e.what();
    return false;
  }
  return true;
}

} // namespace

struct FaceDetector::Cascades {
  cv::CascadeClassifier face, eye;
};

FaceDetector::FaceDetector() : cascades_(std::make_unique<Cascades>()) {}
FaceDetector::~FaceDetector() = default;

std::vector<std::string> FaceDetector::DefaultFolders() {
  return {"/usr/share/opencv4/haarcascades", "/usr/share/opencv/haarcascades",
          "/usr/local/share/opencv4/haarcascades"};
}

std::unique_ptr<FaceDetector> FaceDetector::Load(const std::string& folder, std::string* error) {
  std::unique_ptr<FaceDetector> d(new FaceDetector());
  if (!ReadCascade(folder + "/" + kFaceCascade, &d->cascades_->face, error)) return nullptr;
  if (!ReadCascade(folder + "/" + kEyeCascade, &d->cascades_->eye, error)) return nullptr;
  return d;
}

const FaceDetector* FaceDetector::Shared() {
  static const std::unique_ptr<FaceDetector> shared = [] {
    std::vector<std::string> folders;
    if (const char* env = std::getenv("ORMA_FACE_CASCADES"); env && *env)
      folders.push_back(env);
    else
      folders = DefaultFolders();
    std::string error, first;
    for (const std::string& folder : folders) {
      if (auto d = Load(folder, &error)) return d;
      if (first.empty()) first = error;
    }
    LogText("face detection is off (no face is ever found): " + first);
    return std::unique_ptr<FaceDetector>();
  }();
  return shared.get();
}

std::vector<FaceShape> FaceDetector::Detect(const uint8_t* grey, int stride, int width, int height,
                                            size_t limit) const {
  std::vector<FaceShape> faces;
  if (!grey || width < 24 || height < 24 || limit == 0) return faces;
  try {
    cv::Mat source(height, width, CV_8UC1, const_cast<uint8_t*>(grey), static_cast<size_t>(stride));
    cv::Mat picture;
    cv::equalizeHist(source, picture);
    int smallest = std::max(20, std::min(width, height) / 12);
    std::vector<cv::Rect> boxes;
    std::lock_guard<std::mutex> lock(mutex_);
    cascades_->face.detectMultiScale(picture, boxes, 1.1, 4, 0, cv::Size(smallest, smallest));
    std::sort(boxes.begin(), boxes.end(),
              [](const cv::Rect& a, const cv::Rect& b) { return a.area() > b.area(); });
    if (boxes.size() > limit) boxes.resize(limit);
    for (const cv::Rect& box : boxes) {
      FaceShape f;
      f.x = static_cast<float>(box.x) / width;
      f.y = static_cast<float>(box.y) / height;
      f.w = static_cast<float>(box.width) / width;
      f.h = static_cast<float>(box.height) / height;
      for (int side = 0; side < 2; ++side) {
        f.eyes[side][0] = (box.x + kEyeX[side] * box.width) / width;
        f.eyes[side][1] = (box.y + kEyeY * box.height) / height;
      }
      cv::Rect band(box.x, box.y + static_cast<int>(kEyeBandTop * box.height), box.width,
                    static_cast<int>((kEyeBandBottom - kEyeBandTop) * box.height));
      band &= cv::Rect(0, 0, width, height);
      if (band.width >= 8 && band.height >= 4) {
        double k = static_cast<double>(kEyeBandWidth) / band.width;
        cv::Mat scaled;
        cv::resize(source(band), scaled,
                   cv::Size(kEyeBandWidth, std::max(1, static_cast<int>(band.height * k))), 0, 0,
                   k < 1 ? cv::INTER_AREA : cv::INTER_LINEAR);
        std::vector<cv::Rect> eyes;
        if (scaled.rows >= 20) cascades_->eye.detectMultiScale(scaled, eyes, 1.1, 2, 0, cv::Size(16, 16));
        int best[2] = {0, 0};
        for (const cv::Rect& e : eyes) {
          float cx = static_cast<float>(band.x + (e.x + e.width * 0.5) / k);
          float cy = static_cast<float>(band.y + (e.y + e.height * 0.5) / k);
          // One eye a side of the face's middle, at a size an eye can have.
          float share = static_cast<float>(e.width / k / box.width);
          if (share < 0.1f || share > 0.5f) continue;
          int side = cx < box.x + box.width * 0.5f ? 0 : 1;
          if (e.area() <= best[side]) continue;
          best[side] = e.area();
          f.eyes[side][0] = cx / width;
          f.eyes[side][1] = cy / height;
          f.eyesFound[side] = true;
        }
      }
      faces.push_back(f);
    }
  } catch (const cv::Exception& e) {
    LogOnce("face-detect-error", std::string("face detection failed: ") + e.what());
    faces.clear();
  }
  return faces;
}

} // namespace orma
