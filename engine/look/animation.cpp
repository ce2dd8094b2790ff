#include "engine/look/animation.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/core/config_fields.h"
#include "engine/core/easing.h"

namespace orma {

namespace {

constexpr float kAbsent = std::numeric_limits<float>::quiet_NaN();

// One element of "keys"; a property left absent (NaN) is not keyed there.
struct KeyRecord {
  float at = 0;
  std::string easing = "linear";
  float opacity = kAbsent, scale = kAbsent, scaleX = kAbsent, scaleY = kAbsent, x = kAbsent, y = kAbsent,
        rotation = kAbsent, blur = kAbsent, clipLeft = kAbsent, clipTop = kAbsent, clipRight = kAbsent,
        clipBottom = kAbsent;
};

const FieldSpec<KeyRecord> kKeyFields[] = {
    {"at", &KeyRecord::at, Range(0, 1), true},
    {"easing", &KeyRecord::easing, Choices(kEasingNames)},
    {"opacity", &KeyRecord::opacity, Range(0, 1)},
    {"scale", &KeyRecord::scale, Range(0, 20)},
    {"scaleX", &KeyRecord::scaleX, Range(-20, 20)},
    {"scaleY", &KeyRecord::scaleY, Range(-20, 20)},
    {"x", &KeyRecord::x, Range(-4, 4)},
    {"y", &KeyRecord::y, Range(-4, 4)},
    {"rotation", &KeyRecord::rotation, Range(-3600, 3600)},
    {"blur", &KeyRecord::blur, Range(0, 1)},
    {"clipLeft", &KeyRecord::clipLeft, Range(0, 1)},
    {"clipTop", &KeyRecord::clipTop, Range(0, 1)},
    {"clipRight", &KeyRecord::clipRight, Range(0, 1)},
    {"clipBottom", &KeyRecord::clipBottom, Range(0, 1)},
};

struct Top {
  std::string name;
};
const FieldSpec<Top> kTopFields[] = {{"name", &Top::name}};

float Neutral(int property) {
  switch (property) {
  case AnimationClip::kOpacity:
  case AnimationClip::kScale:
  case AnimationClip::kScaleX:
  case AnimationClip::kScaleY:
    return 1.0f;
  default:
    return 0.0f;
  }
}

float TrackValue(const std::vector<AnimationClip::Key>& keys, int property, float p) {
  if (keys.empty()) return Neutral(property);
  if (p <= keys.front().at) return keys.front().value;
  if (p >= keys.back().at) return keys.back().value;
  for (size_t i = 0; i + 1 < keys.size(); ++i) {
    const auto& a = keys[i];
    const auto& b = keys[i + 1];
    if (p < b.at) {
      float span = b.at - a.at;
      float t = span > 0 ? (p - a.at) / span : 1.0f;
      return a.value + (b.value - a.value) * Ease(a.easing, t);
    }
  }
  return keys.back().value;
}

} // namespace

void AnimationPose::Combine(const AnimationPose& o) {
  opacity *= o.opacity;
  scaleX *= o.scaleX;
  scaleY *= o.scaleY;
  x += o.x;
  y += o.y;
  rotation += o.rotation;
  blur = std::max(blur, o.blur);
  for (int i = 0; i < 4; ++i)
    clip[i] = std::max(clip[i], o.clip[i]);
}

bool AnimationPose::Neutral() const {
  return opacity == 1 && scaleX == 1 && scaleY == 1 && x == 0 && y == 0 && std::fmod(rotation, 360.0f) == 0 &&
         blur == 0 && clip[0] == 0 && clip[1] == 0 && clip[2] == 0 && clip[3] == 0;
}

std::shared_ptr<const AnimationClip> AnimationClip::Load(const std::string& path, std::string* error) {
  std::unique_ptr<ConfigFile> file = LoadConfigFile(path, error);
  if (!file) return nullptr;
  return FromJson(file->root, path, error);
}

std::shared_ptr<const AnimationClip> AnimationClip::Parse(const std::string& text, const std::string& where,
                                                          std::string* error) {
  std::unique_ptr<cJSON, void (*)(cJSON*)> root(cJSON_Parse(text.c_str()), cJSON_Delete);
  if (!root || !cJSON_IsObject(root.get())) {
    *error = where + ": expected a JSON object";
    return nullptr;
  }
  return FromJson(root.get(), where, error);
}

std::shared_ptr<const AnimationClip> AnimationClip::FromJson(const cJSON* root, const std::string& where,
                                                             std::string* error) {
  Top top;
  if (!ReadFields(root, kTopFields, &top, where, error)) return nullptr;
  const cJSON* keys = cJSON_GetObjectItem(root, "keys");
  if (!cJSON_IsArray(keys) || cJSON_GetArraySize(keys) < 1) {
    *error = where + ": \"keys\" must be an array of at least one key";
    return nullptr;
  }
  auto clip = std::make_shared<AnimationClip>();
  float previous = 0;
  for (int i = 0; i < cJSON_GetArraySize(keys); ++i) {
    KeyRecord k;
    std::string at = where + " keys[" + std::to_string(i) + "]";
    if (!ReadFields(cJSON_GetArrayItem(keys, i), kKeyFields, &k, at, error)) return nullptr;
    if (k.at < previous) {
      *error = at + ": \"at\" must not be below the previous key's";
      return nullptr;
    }
    previous = k.at;
    const EasingInfo* easing = EasingByName(k.easing);
    float values[kPropertyCount] = {k.opacity,  k.scale, k.scaleX,   k.scaleY,  k.x,         k.y,
                                    k.rotation, k.blur,  k.clipLeft, k.clipTop, k.clipRight, k.clipBottom};
    for (int p = 0; p < kPropertyCount; ++p)
      if (!std::isnan(values[p])) clip->tracks_[p].push_back({k.at, values[p], easing ? easing->number : 0});
  }
  return clip;
}

AnimationPose AnimationClip::At(float progress) const {
  float v[kPropertyCount];
  for (int p = 0; p < kPropertyCount; ++p)
    v[p] = TrackValue(tracks_[p], p, progress);
  AnimationPose pose;
  pose.opacity = std::clamp(v[kOpacity], 0.0f, 1.0f);
  pose.scaleX = v[kScale] * v[kScaleX];
  pose.scaleY = v[kScale] * v[kScaleY];
  pose.x = v[kX];
  pose.y = v[kY];
  pose.rotation = v[kRotation];
  pose.blur = std::clamp(v[kBlur], 0.0f, 1.0f);
  pose.clip[0] = std::clamp(v[kClipLeft], 0.0f, 1.0f);
  pose.clip[1] = std::clamp(v[kClipTop], 0.0f, 1.0f);
  pose.clip[2] = std::clamp(v[kClipRight], 0.0f, 1.0f);
  pose.clip[3] = std::clamp(v[kClipBottom], 0.0f, 1.0f);
  return pose;
}

AnimationPose EvaluateAnimations(const std::vector<PlacedAnimation>& animations, int64_t us, int64_t itemUs) {
  AnimationPose pose;
  for (const PlacedAnimation& a : animations) {
    if (!a.clip) continue;
    double progress = -1;
    switch (a.type) {
    case kAnimationOut: {
      if (a.durationUs <= 0) break;
      int64_t start = itemUs - a.durationUs;
      if (us < start) break;
      progress = std::min(1.0, static_cast<double>(us - start) / a.durationUs);
      break;
    }
    case kAnimationLoop: {
      int64_t end = a.durationUs > 0 ? a.startUs + a.durationUs : INT64_MAX;
      if (us < a.startUs || us >= end) break;
      int64_t cycle = a.cycleUs > 0 ? a.cycleUs : 1000000;
      progress = static_cast<double>((us - a.startUs) % cycle) / cycle;
      break;
    }
    default: {
      if (a.durationUs <= 0 || us >= a.startUs + a.durationUs) break;
      progress = us < a.startUs ? 0.0 : static_cast<double>(us - a.startUs) / a.durationUs;
      break;
    }
    }
    if (progress >= 0) pose.Combine(a.clip->At(static_cast<float>(progress)));
  }
  return pose;
}

} // namespace orma
