#include "engine/look/key_frames.h"

#include <algorithm>
#include <cmath>

#include "engine/core/easing.h"

namespace orma {

namespace {

int32_t OrmaKeyFrameBlock::*const kLevelMembers[kLevelCount] = {
    &OrmaKeyFrameBlock::brightness,   &OrmaKeyFrameBlock::contrast,       &OrmaKeyFrameBlock::saturation,
    &OrmaKeyFrameBlock::whiteBalance, &OrmaKeyFrameBlock::sharpness,      &OrmaKeyFrameBlock::vignette,
    &OrmaKeyFrameBlock::tint,         &OrmaKeyFrameBlock::shadows,        &OrmaKeyFrameBlock::graininess,
    &OrmaKeyFrameBlock::highlight,    &OrmaKeyFrameBlock::lightSensation, &OrmaKeyFrameBlock::fade,
};

bool Zero(const float* v, int n) {
  for (int i = 0; i < n; ++i)
    if (v[i] != 0.0f) return false;
  return true;
}

float Lerp(float a, float b, float t) { return a + (b - a) * t; }

} // namespace

KeyFrameTrack::KeyFrameTrack(std::vector<OrmaKeyFrameBlock> frames, int canvasWidth, int canvasHeight)
    : frames_(std::move(frames)), width_(std::max(1, canvasWidth)), height_(std::max(1, canvasHeight)) {
  std::stable_sort(
      frames_.begin(), frames_.end(),
      [](const OrmaKeyFrameBlock& a, const OrmaKeyFrameBlock& b) { return a.atTimeUs < b.atTimeUs; });
  for (const auto& f : frames_) {
    show_ = show_ || !Zero(f.showRect, 4);
    crop_ = crop_ || !Zero(f.cropRect, 4);
    rotation_ = rotation_ || f.rotate != 0.0f;
    opacity_ = opacity_ || f.opacity != 0.0f;
    blur_ = blur_ || f.blur.intensity != 0.0f;
    for (int l = 0; l < kLevelCount; ++l)
      levels_[l] = levels_[l] || f.*kLevelMembers[l] != 0;
  }
}

bool KeyFrameTrack::AnimatesAnyLevel() const {
  for (bool b : levels_)
    if (b) return true;
  return false;
}

KeyFrameState KeyFrameTrack::StateOf(const OrmaKeyFrameBlock& f) const {
  KeyFrameState s;
  std::copy(f.showRect, f.showRect + 4, s.show);
  s.crop[0] = f.cropRect[0] / width_;
  s.crop[1] = f.cropRect[1] / height_;
  s.crop[2] = f.cropRect[2] / width_;
  s.crop[3] = f.cropRect[3] / height_;
  s.rotation = f.rotate;
  s.opacity = std::clamp(f.opacity, 0.0f, 1.0f);
  for (int l = 0; l < kLevelCount; ++l)
    s.levels[l] = f.*kLevelMembers[l];
  s.blur.type = f.blur.blurType;
  s.blur.intensity = f.blur.intensity;
  s.blur.centerX = f.blur.centerX;
  s.blur.centerY = f.blur.centerY;
  s.blur.radius = f.blur.radius;
  return s;
}

KeyFrameState KeyFrameTrack::At(int64_t us) const {
  if (frames_.empty()) return KeyFrameState();
  if (us <= frames_.front().atTimeUs) return StateOf(frames_.front());
  if (us >= frames_.back().atTimeUs) return StateOf(frames_.back());
  size_t i = 1;
  while (i < frames_.size() && frames_[i].atTimeUs <= us)
    ++i;
  const OrmaKeyFrameBlock& fa = frames_[i - 1];
  const OrmaKeyFrameBlock& fb = frames_[i];
  KeyFrameState a = StateOf(fa), b = StateOf(fb);
  int64_t span = fb.atTimeUs - fa.atTimeUs;
  float t = span > 0 ? static_cast<float>(static_cast<double>(us - fa.atTimeUs) / span) : 1.0f;
  // The easing of a key frame shapes the way into it.
  t = Ease(fb.type, t);
  KeyFrameState s;
  for (int k = 0; k < 4; ++k) {
    s.show[k] = Lerp(a.show[k], b.show[k], t);
    s.crop[k] = Lerp(a.crop[k], b.crop[k], t);
  }
  s.rotation = Lerp(a.rotation, b.rotation, t);
  s.opacity = std::clamp(Lerp(a.opacity, b.opacity, t), 0.0f, 1.0f);
  for (int l = 0; l < kLevelCount; ++l)
    s.levels[l] = static_cast<int>(
        std::lround(Lerp(static_cast<float>(a.levels[l]), static_cast<float>(b.levels[l]), t)));
  // A key frame without blur blends from or to no blur with the other's
  // kind, centre and radius.
  const BlurSettings& shape = a.blur.intensity != 0.0f ? a.blur : b.blur;
  s.blur.type = shape.type;
  s.blur.intensity = std::max(0.0f, Lerp(a.blur.intensity, b.blur.intensity, t));
  bool both = a.blur.intensity != 0.0f && b.blur.intensity != 0.0f;
  s.blur.centerX = both ? Lerp(a.blur.centerX, b.blur.centerX, t) : shape.centerX;
  s.blur.centerY = both ? Lerp(a.blur.centerY, b.blur.centerY, t) : shape.centerY;
  s.blur.radius = both ? Lerp(a.blur.radius, b.blur.radius, t) : shape.radius;
  return s;
}

void KeyFrameTrack::LargestShow(float* width, float* height) const {
  *width = 0;
  *height = 0;
  for (const auto& f : frames_) {
    *width = std::max(*width, std::fabs(f.showRect[2] - f.showRect[0]));
    *height = std::max(*height, std::fabs(f.showRect[3] - f.showRect[1]));
  }
}

} // namespace orma
