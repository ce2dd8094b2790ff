#include "engine/render/face_warp.h"
#include "engine/picture/geometry.h"
#include "engine/picture/scratch.h"
#include "engine/render/scene.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace orma {

namespace {

// Thin face: a pixel at u half box widths from the middle line shows what
// lay at u + k·u·(1 − u²/T²)² (nothing moves beyond T half widths). The bump
// u·(1 − u²/T²)² peaks at u = T/√5 = 0.8, where the cheeks are (a face's box
// is wider than the face), at 0.8·(4/5)² = 0.515; its slope never falls
// below −0.8, so k < 1.25 cannot fold the picture.
constexpr float kThinReach = 1.8f; // T
constexpr float kBumpPeak = 0.4472136f * kThinReach * 0.64f;
// Rows of the face box (shares of its height) where the sides move: more
// and more from the cheekbones down to the jaw (a slow ramp draws the jaw
// into a V without a kink at the cheekbones), fully to the chin, fading out
// below it.
constexpr float kCheekFrom = 0.3f, kCheekFull = 0.8f, kChinFull = 0.95f, kChinTo = 1.25f;

float SmoothStep(float a, float b, float x) {
  float t = std::clamp((x - a) / (b - a), 0.0f, 1.0f);
  return t * t * (3.0f - 2.0f * t);
}

// One face in pixels of the picture being warped (continuous coordinates:
// sample i covers [i, i + 1)).
struct FacePx {
  float cx, halfW, top, h;
  float ex[2], ey[2], rx, ry;
  float invHalfW, invRx;
};

struct Box {
  int x0, y0, x1, y1; // [x0, x1) x [y0, y1)
  void Add(float ax, float ay, float bx, float by) {
    x0 = std::min(x0, static_cast<int>(std::floor(ax)));
    y0 = std::min(y0, static_cast<int>(std::floor(ay)));
    x1 = std::max(x1, static_cast<int>(std::ceil(bx)));
    y1 = std::max(y1, static_cast<int>(std::ceil(by)));
  }
};

class Warp {
public:
  Warp(const FaceList& faces, FaceWarpLevels levels, int width, int height) {
    eye_ = kBigEyeMost * std::clamp(levels.bigEye, 0, 100) / 100.0f;
    thin_ = kThinFaceMost / kBumpPeak * std::clamp(levels.thinFace, 0, 100) / 100.0f;
    box_ = {width, height, 0, 0};
    for (size_t i = 0; i < faces.size() && i < kFaceLimit; ++i) {
      const FaceShape& f = faces[i];
      FacePx p;
      p.halfW = f.w * width * 0.5f;
      p.cx = f.x * width + p.halfW;
      p.top = f.y * height;
      p.h = f.h * height;
      p.rx = kEyeRadius * f.w * width;
      p.ry = kEyeRadius * f.h * height;
      if (p.halfW < 2 || p.h < 2) continue;
      p.invHalfW = 1.0f / p.halfW;
      p.invRx = 1.0f / p.rx;
      for (int e = 0; e < 2; ++e) {
        p.ex[e] = f.eyes[e][0] * width;
        p.ey[e] = f.eyes[e][1] * height;
        if (eye_ > 0) box_.Add(p.ex[e] - p.rx, p.ey[e] - p.ry, p.ex[e] + p.rx, p.ey[e] + p.ry);
      }
      if (thin_ > 0)
        box_.Add(p.cx - kThinReach * p.halfW, p.top + kCheekFrom * p.h, p.cx + kThinReach * p.halfW,
                 p.top + kChinTo * p.h);
      faces_.push_back(p);
    }
    // Even edges, so that the chroma samples of the box cover it exactly.
    box_.x0 = std::max(0, box_.x0 & ~1);
    box_.y0 = std::max(0, box_.y0 & ~1);
    box_.x1 = std::min(width, (box_.x1 + 1) & ~1);
    box_.y1 = std::min(height, (box_.y1 + 1) & ~1);
  }

  bool Empty() const { return faces_.empty() || box_.x1 <= box_.x0 || box_.y1 <= box_.y0; }
  const Box& box() const { return box_; }

  // Per row: what depends on y only (the thin-face weight, the eyes'
  // vertical distances), so that a pixel costs a few multiplications.
  void StartRow(float y) {
    y_ = y;
    rows_.resize(faces_.size());
    for (size_t i = 0; i < faces_.size(); ++i) {
      const FacePx& p = faces_[i];
      Row& r = rows_[i];
      float fy = (y - p.top) / p.h;
      r.thin = thin_ > 0 ? thin_ * p.halfW * SmoothStep(kCheekFrom, kCheekFull, fy) *
                               (1.0f - SmoothStep(kChinFull, kChinTo, fy))
                         : 0.0f;
      for (int e = 0; e < 2; ++e) {
        float v = (y - p.ey[e]) / p.ry;
        r.v2[e] = eye_ > 0 ? v * v : 1.0f;
      }
    }
  }

  // Where the picture at (x, y of the row started) is taken from.
  bool Source(float x, float* sx, float* sy) const {
    float dx = 0, dy = 0;
    for (size_t i = 0; i < faces_.size(); ++i) {
      const FacePx& p = faces_[i];
      const Row& r = rows_[i];
      for (int e = 0; e < 2; ++e) {
        if (r.v2[e] >= 1.0f) continue;
        float u = (x - p.ex[e]) * p.invRx;
        float t = u * u + r.v2[e];
        if (t >= 1.0f) continue;
        float s = eye_ * (1.0f - t) * (1.0f - t);
        dx -= (x - p.ex[e]) * s;
        dy -= (y_ - p.ey[e]) * s;
      }
      if (r.thin > 0) {
        float u = (x - p.cx) * p.invHalfW;
        float q = u * u * (1.0f / (kThinReach * kThinReach));
        if (q < 1.0f) dx += r.thin * u * (1.0f - q) * (1.0f - q);
      }
    }
    *sx = x + dx;
    *sy = y_ + dy;
    return dx != 0 || dy != 0;
  }

private:
  struct Row {
    float thin;  // displacement scale of the thin face at this row
    float v2[2]; // squared vertical distance from each eye (radii; 1: none)
  };
  float eye_ = 0, thin_ = 0;
  std::vector<FacePx> faces_;
  std::vector<Row> rows_;
  float y_ = 0;
  Box box_;
};

void CopyArea(const uint8_t* src, int srcStride, uint8_t* dst, int dstStride, int x0, int y0, int x1,
              int y1) {
  for (int y = y0; y < y1; ++y)
    std::memcpy(dst + static_cast<size_t>(y) * dstStride + x0, src + static_cast<size_t>(y) * srcStride + x0,
                static_cast<size_t>(x1 - x0));
}

} // namespace

bool GreyOfSource(const SourceFrame& source, const float crop[4], bool mirrorH, bool mirrorV, int side,
                  GreyImage* out) {
  cv::Mat whole;
  bool rgba = false;
  if (source.still) {
    const Yuv& v = source.still->view();
    whole = cv::Mat(v.h, v.w, CV_8UC1, v.p[0], static_cast<size_t>(v.s[0]));
  } else if (source.decoded && source.decoded->rgba) {
    const Decoded& d = *source.decoded;
    whole =
        cv::Mat(d.height, d.width, CV_8UC4, const_cast<uint8_t*>(d.rgba), static_cast<size_t>(d.width) * 4);
    rgba = true;
  } else if (source.decoded && source.decoded->yuv.p[0]) {
    const Yuv& v = source.decoded->yuv;
    whole = cv::Mat(v.h, v.w, CV_8UC1, v.p[0], static_cast<size_t>(v.s[0]));
  } else {
    return false;
  }
  float c[4];
  for (int k = 0; k < 4; ++k)
    c[k] = std::clamp(crop[k], 0.0f, 1.0f);
  if (c[2] <= c[0] || c[3] <= c[1]) c[0] = c[1] = 0, c[2] = c[3] = 1;
  cv::Rect area(static_cast<int>(c[0] * whole.cols), static_cast<int>(c[1] * whole.rows),
                std::max(1, static_cast<int>(std::lround((c[2] - c[0]) * whole.cols))),
                std::max(1, static_cast<int>(std::lround((c[3] - c[1]) * whole.rows))));
  area &= cv::Rect(0, 0, whole.cols, whole.rows);
  if (area.empty()) return false;
  cv::Mat part = whole(area), grey;
  if (rgba)
    cv::cvtColor(part, grey, cv::COLOR_RGBA2GRAY);
  else
    grey = part;
  double k = std::min(1.0, static_cast<double>(side) / std::max(area.width, area.height));
  int w = std::max(1, static_cast<int>(area.width * k)), h = std::max(1, static_cast<int>(area.height * k));
  out->width = w;
  out->height = h;
  out->pixels.resize(static_cast<size_t>(w) * h);
  cv::Mat dst(h, w, CV_8UC1, out->pixels.data());
  cv::Mat scaled;
  cv::resize(grey, scaled, cv::Size(w, h), 0, 0, cv::INTER_AREA);
  if (mirrorH || mirrorV)
    cv::flip(scaled, dst, mirrorH && mirrorV ? -1 : (mirrorH ? 1 : 0));
  else
    scaled.copyTo(dst);
  return true;
}

std::shared_ptr<const FaceList> FaceTracker::At(int64_t frame, const SourceFrame& source, const float crop[4],
                                                bool mirrorH, bool mirrorV) {
  if (!detector_) return nullptr;
  bool sameCrop = std::equal(crop, crop + 4, crop_);
  if (source.still) {
    if (faces_ && source.still.get() == still_ && sameCrop) return faces_;
  } else {
    int64_t group =
        frame >= 0 ? frame / kFaceDetectEvery : -((-frame + kFaceDetectEvery - 1) / kFaceDetectEvery);
    if (faces_ && group == group_) return faces_;
    group_ = group;
  }
  bool fresh = source.still || !faces_ || !sameCrop;
  still_ = source.still.get();
  std::copy(crop, crop + 4, crop_);

  FaceList found;
  if (GreyOfSource(source, crop, mirrorH, mirrorV, kFaceDetectSide, &grey_))
    found = detector_->Detect(grey_.pixels.data(), grey_.width, grey_.width, grey_.height, kFaceLimit);

  FaceList merged;
  std::vector<int> missed;
  std::vector<bool> used(found.size(), false);
  if (!fresh)
    for (size_t i = 0; i < faces_->size(); ++i) {
      const FaceShape& old = (*faces_)[i];
      size_t match = found.size();
      for (size_t j = 0; j < found.size() && match == found.size(); ++j) {
        const FaceShape& f = found[j];
        float dx = (f.x + f.w / 2) - (old.x + old.w / 2), dy = (f.y + f.h / 2) - (old.y + old.h / 2);
        if (!used[j] && std::fabs(dx) < 0.5f * old.w && std::fabs(dy) < 0.5f * old.h) match = j;
      }
      if (match < found.size()) {
        // Halfway between where the face was and where it is found now.
        FaceShape f = found[match];
        used[match] = true;
        f.x = (f.x + old.x) / 2, f.y = (f.y + old.y) / 2, f.w = (f.w + old.w) / 2, f.h = (f.h + old.h) / 2;
        for (int e = 0; e < 2; ++e)
          for (int a = 0; a < 2; ++a)
            f.eyes[e][a] = (f.eyes[e][a] + old.eyes[e][a]) / 2;
        merged.push_back(f);
        missed.push_back(0);
      } else if (i < missed_.size() && missed_[i] < 1) {
        merged.push_back(old);
        missed.push_back(missed_[i] + 1);
      }
    }
  for (size_t j = 0; j < found.size(); ++j)
    if (!used[j]) {
      merged.push_back(found[j]);
      missed.push_back(0);
    }
  if (merged.size() > kFaceLimit) {
    merged.resize(kFaceLimit);
    missed.resize(kFaceLimit);
  }
  missed_ = std::move(missed);
  faces_ = std::make_shared<const FaceList>(std::move(merged));
  return faces_;
}

void WarpFaces(Yuv& img, const FaceList& faces, FaceWarpLevels levels) {
  if (!levels.Active() || faces.empty() || img.w < 4 || img.h < 4) return;
  Warp warp(faces, levels, img.w, img.h);
  if (warp.Empty()) return;
  const Box& b = warp.box();
  // The area is copied aside and read from there, so that every pixel is
  // taken from the picture as it was.
  // Two pixels more a side: bilinear reads reach one beyond the box.
  Picture& copy = ScratchPicture(47, img.w, img.h, img.HasAlpha());
  Yuv& c = copy.view();
  Box m = {std::max(0, b.x0 - 2), std::max(0, b.y0 - 2), std::min(img.w, b.x1 + 2),
           std::min(img.h, b.y1 + 2)};
  for (int k : {0, 3})
    if (img.p[k]) CopyArea(img.p[k], img.s[k], c.p[k], c.s[k], m.x0, m.y0, m.x1, m.y1);
  for (int k = 1; k <= 2; ++k)
    CopyArea(img.p[k], img.s[k], c.p[k], c.s[k], m.x0 / 2, m.y0 / 2, (m.x1 + 1) / 2, (m.y1 + 1) / 2);

  float sx, sy;
  for (int y = b.y0; y < b.y1; ++y) {
    warp.StartRow(y + 0.5f);
    for (int x = b.x0; x < b.x1; ++x) {
      if (!warp.Source(x + 0.5f, &sx, &sy)) continue;
      for (int k : {0, 3})
        if (img.p[k])
          img.p[k][static_cast<size_t>(y) * img.s[k] + x] =
              SampleBilinear(c.p[k], c.s[k], img.w, img.h, sx - 0.5f, sy - 0.5f);
    }
  }
  // Chroma samples are displaced as the middle of the four pixels they
  // belong to.
  int cw = (img.w + 1) / 2, ch = (img.h + 1) / 2;
  for (int y = b.y0 / 2; y < b.y1 / 2; ++y) {
    warp.StartRow(2.0f * y + 1.0f);
    for (int x = b.x0 / 2; x < b.x1 / 2; ++x) {
      if (!warp.Source(2.0f * x + 1.0f, &sx, &sy)) continue;
      for (int k = 1; k <= 2; ++k)
        img.p[k][static_cast<size_t>(y) * img.s[k] + x] =
            SampleBilinear(c.p[k], c.s[k], cw, ch, sx * 0.5f - 0.5f, sy * 0.5f - 0.5f);
    }
  }
}

} // namespace orma
