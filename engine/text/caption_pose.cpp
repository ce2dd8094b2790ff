#include "engine/text/caption_pose.h"

#include <algorithm>
#include <cmath>

namespace orma {

namespace {

/// A scale of 0 or less (what a draft without "scale" gives) means 1: a
/// caption shrunk to nothing is never what an editor meant.
double Scale(double s) { return s > 0 && std::isfinite(s) ? s : 1.0; }

double Lerp(double a, double b, double t) { return a + (b - a) * t; }

/// The pose a key frame states; its rectangle (canvas pixels) places the
/// centre when it has an area, else the caption's own centre stays.
CaptionPose KeyPose(const OrmaCaptionKeyFrameBlock& k, const CaptionPose& rest) {
  CaptionPose p = rest;
  double w = k.showRect[2] - k.showRect[0], h = k.showRect[3] - k.showRect[1];
  if (w > 0 && h > 0) {
    p.cx = k.showRect[0] + w / 2;
    p.cy = k.showRect[1] + h / 2;
  }
  p.scale = Scale(k.scale);
  p.angle = k.rotate;
  p.opacity = std::clamp(k.alpha, 0.0f, 1.0f);
  return p;
}

} // namespace

CaptionMotion::CaptionMotion(const Caption& caption, int canvasWidth, int canvasHeight) {
  rest_.cx = caption.center.first * canvasWidth;
  rest_.cy = caption.center.second * canvasHeight;
  rest_.boxW = caption.size.first > 0 ? caption.size.first * canvasWidth : 0;
  rest_.boxH = caption.size.second > 0 ? caption.size.second * canvasHeight : 0;
  rest_.scale = Scale(caption.scale);
  rest_.angle = std::isfinite(caption.angle) ? caption.angle : 0;
  rest_.opacity = caption.opacity; // 0..1: OrmaSetCaptionTransparency brings it into range
  keys_ = caption.keyFrames;
  std::stable_sort(keys_.begin(), keys_.end(),
                   [](const OrmaCaptionKeyFrameBlock& a, const OrmaCaptionKeyFrameBlock& b) {
                     return a.atTimeUs < b.atTimeUs;
                   });
}

CaptionPose CaptionMotion::At(int64_t us) const {
  // Key frames, when there are any, take over the caption's pose: before
  // the first and after the last it holds, in between it moves linearly.
  if (keys_.empty()) return rest_;
  if (us <= keys_.front().atTimeUs) return KeyPose(keys_.front(), rest_);
  if (us >= keys_.back().atTimeUs) return KeyPose(keys_.back(), rest_);
  auto next = std::upper_bound(keys_.begin(), keys_.end(), us,
                               [](int64_t t, const OrmaCaptionKeyFrameBlock& k) { return t < k.atTimeUs; });
  const OrmaCaptionKeyFrameBlock& b = *next;
  const OrmaCaptionKeyFrameBlock& a = *(next - 1);
  double t = b.atTimeUs > a.atTimeUs ? static_cast<double>(us - a.atTimeUs) / (b.atTimeUs - a.atTimeUs) : 1.0;
  CaptionPose pa = KeyPose(a, rest_), pb = KeyPose(b, rest_), p = rest_;
  p.cx = Lerp(pa.cx, pb.cx, t);
  p.cy = Lerp(pa.cy, pb.cy, t);
  p.scale = Lerp(pa.scale, pb.scale, t);
  p.angle = Lerp(pa.angle, pb.angle, t);
  p.opacity = static_cast<float>(Lerp(pa.opacity, pb.opacity, t));
  return p;
}

double CaptionMotion::MaxScale() const {
  double s = keys_.empty() ? rest_.scale : 0.0;
  for (const auto& k : keys_)
    s = std::max(s, Scale(k.scale));
  return s;
}

} // namespace orma
