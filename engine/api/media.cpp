// Media attributes. Every value is kept in the media's typed attributes
// (MediaAttributes, engine/model/model.h), described in docs/engine.md, and
// drawn when the export builds the item (plain placement in
// render/scene.cpp, everything else through the item's look, item_look.h).
// Resource files (look-up tables, animations, masks, effects) are read and
// checked here: one that cannot be read is left out with a log line and the
// item is drawn without it (value_limits.h).
#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/api/api.h"
#include "engine/api/entry_points_gen.h"
#include "engine/api/value_limits.h"
#include "engine/look/animation.h"
#include "engine/look/face_count.h"
#include "engine/look/lut_file.h"
#include "engine/look/mask_shape.h"
#include "engine/look/special_effect.h"
#include "engine/render/transitions.h"

using namespace orma;

namespace {

// A resource file named by an attribute: false (with the reason) when it is
// not a readable local file.
bool Resource(const char* path, std::string* native, std::string* error) {
  *native = ResolveLocalFile(path, error);
  return !native->empty();
}

// An item's pairs of times (its place in the scene, its trim, its sound
// fades) are set alike: each time is brought to 0 or more, with the time's
// name in the log line.
int32_t SetTimes(const char* call, OrmaMediaHandle m, UsPair MediaAttributes::*pair, const char* firstName,
                 const char* secondName, int64_t first, int64_t second) {
  return With(call, m, [&](Media& media) {
    media.attrs.*pair = {true, NotNegative(call, firstName, first), NotNegative(call, secondName, second)};
    return int32_t{ORMA_OK};
  });
}

// The crop and the show rectangle are set alike: four finite shares.
int32_t SetRect(const char* call, OrmaMediaHandle m, float (MediaAttributes::*member)[4], const float* rect) {
  return With(call, m, [&](Media& media) {
    if (!rect) return Refuse(call, ORMA_BAD_ARGUMENT, "no rectangle");
    for (int i = 0; i < 4; ++i)
      if (!std::isfinite(rect[i])) return Refuse(call, ORMA_BAD_ARGUMENT, "not a number");
    std::copy(rect, rect + 4, media.attrs.*member);
    return int32_t{ORMA_OK};
  });
}

} // namespace

namespace orma::entry {

int32_t OrmaSetMediaTimeLine(const char* call, OrmaMediaHandle m, int64_t startUs, int64_t durationUs) {
  return SetTimes(call, m, &MediaAttributes::timeline, "start", "duration", startUs, durationUs);
}

int32_t OrmaSetMediaCutTime(const char* call, OrmaMediaHandle m, int64_t trimStartUs, int64_t trimEndUs) {
  return SetTimes(call, m, &MediaAttributes::cut, "trim start", "trim end", trimStartUs, trimEndUs);
}

int32_t OrmaSetMediaAudioFadeTime(const char* call, OrmaMediaHandle m, int64_t fadeInUs, int64_t fadeOutUs) {
  return SetTimes(call, m, &MediaAttributes::audioFade, "fade-in", "fade-out", fadeInUs, fadeOutUs);
}

int32_t OrmaSetMediaLUT(const char* call, OrmaMediaHandle m, const char* path, float intensity) {
  return With(call, m, [&](Media& media) {
    std::string native, error;
    if (!std::isfinite(intensity)) return Refuse(call, ORMA_BAD_ARGUMENT, "intensity is not a number");
    Lut3D lut;
    if (!Resource(path, &native, &error) || !LoadLutFile(native, &lut, &error))
      return WithoutResource(call, error);
    intensity = static_cast<float>(AtLeast(call, "intensity", intensity, 0));
    media.attrs.lutPath = native;
    media.attrs.lutIntensity = intensity;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetMediaBlur(const char* call, OrmaMediaHandle m, const OrmaBlurBlock* blur) {
  return With(call, m, [&](Media& media) {
    if (!blur) return Refuse(call, ORMA_BAD_ARGUMENT, "no blur block");
    media.attrs.blur = *blur;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaGetMediaFaceCount(const char* call, OrmaMediaHandle m, int32_t* count) {
  // The result is the number of faces too, so 0 (no face) tells callers to
  // skip face shaping; see face_count.h for the frames looked at.
  return With(call, m, [&](Media& media) {
    if (!count) return Refuse(call, ORMA_BAD_ARGUMENT, "no count");
    *count = CountMediaFaces(media.probe, media.attrs.cut.first, media.attrs.cut.second);
    return *count;
  });
}

int32_t OrmaSetMediaClip(const char* call, OrmaMediaHandle m, const float* rect) {
  return SetRect(call, m, &MediaAttributes::crop, rect);
}

int32_t OrmaSetMediaShowRect(const char* call, OrmaMediaHandle m, const float* rect) {
  return SetRect(call, m, &MediaAttributes::show, rect);
}

int32_t OrmaSetMediaAnimation(const char* call, OrmaMediaHandle m, const char* configPath, int32_t type,
                              int64_t startUs, int64_t durationUs) {
  return With(call, m, [&](Media& media) {
    std::string native, error;
    media.animationLeftOut = !Resource(configPath, &native, &error) || !AnimationClip::Load(native, &error);
    if (media.animationLeftOut) return WithoutResource(call, error);
    startUs = NotNegative(call, "start", startUs);
    durationUs = NotNegative(call, "duration", durationUs);
    if (type < kAnimationIn || type > kAnimationLoop)
      LogOnce("animation-type",
              "animation types other than 0 (in), 1 (out) and 2 (loop) play as in-animations");
    media.attrs.animations.push_back({native, type, startUs, durationUs});
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetMediaAnimationCycleDuration(const char* call, OrmaMediaHandle m, int64_t cycleUs) {
  return With(call, m, [&](Media& media) {
    if (media.animationLeftOut) return int32_t{ORMA_OK}; // its animation was left out
    cycleUs = NotNegative(call, "cycle", cycleUs);
    // The cycle belongs to the animation set just before it.
    if (media.attrs.animations.empty())
      return Refuse(call, ORMA_BAD_STATE, "no animation to set the cycle of");
    media.attrs.animations.back().cycleUs = cycleUs;
    return int32_t{ORMA_OK};
  });
}

int64_t OrmaMediaAddKeyFrameAnimation(const char* call, OrmaMediaHandle m, const OrmaKeyFrameBlock* frame) {
  // Returns the key frame's 1-based number (0 on failure).
  int64_t r = 0;
  Media* media = MediaOf(m);
  if (!media)
    Refuse(call, ORMA_BAD_HANDLE, "not a media handle");
  else if (!frame)
    Refuse(call, ORMA_BAD_ARGUMENT, "no key frame");
  else if (media->scene && Exporting(media->scene->video))
    Refuse(call, ORMA_BAD_STATE, "an export is running");
  else {
    media->attrs.keyFrames.push_back(*frame);
    r = static_cast<int64_t>(media->attrs.keyFrames.size());
  }
  return r;
}

int32_t OrmaSetMediaMaskVideo(const char* call, OrmaMediaHandle m, const char* path) {
  return With(call, m, [&](Media& media) {
    MediaProbe probe = ProbeMedia(path, true);
    if (!probe.ok) return WithoutResource(call, probe.error);
    if (!probe.hasVideo) return WithoutResource(call, probe.path + ": has no picture");
    media.attrs.maskVideo = probe.path;
    return int32_t{ORMA_OK};
  });
}

OrmaMaskHandle OrmaAddMediaMaskFromConfig(const char* call, OrmaMediaHandle m, const char* configPath) {
  Mask* mask = nullptr;
  Media* media = MediaOf(m);
  std::string native, error;
  MaskConfig config;
  if (!media)
    Refuse(call, ORMA_BAD_HANDLE, "not a media handle");
  else if (media->scene && Exporting(media->scene->video))
    Refuse(call, ORMA_BAD_STATE, "an export is running");
  else if (!Resource(configPath, &native, &error) || !LoadMaskConfig(native, &config, &error)) {
    // A mask that cannot be read is left out: its handle takes the shape and
    // key frames the caller sends, and the item is drawn unmasked.
    WithoutResource(call, error);
    mask = new Mask();
    mask->media = media;
    RegisterHandle(mask);
  } else {
    mask = new Mask();
    mask->media = media;
    mask->configPath = native;
    RegisterHandle(mask);
    media->masks.push_back(mask);
  }
  return HandleTo<OrmaMaskHandle>(mask);
}

int64_t OrmaMediaAddMaskKeyFrameAnimation(const char* call, OrmaMediaHandle m, OrmaMaskHandle mask,
                                          const OrmaMaskKeyFrameBlock* frame) {
  int64_t r = 0;
  Media* media = MediaOf(m);
  Mask* k = MaskOf(mask);
  if (!media || !k || k->media != media)
    Refuse(call, ORMA_BAD_HANDLE, "not a mask of the media");
  else if (!frame)
    Refuse(call, ORMA_BAD_ARGUMENT, "no key frame");
  else {
    k->keyFrames.push_back(*frame);
    r = static_cast<int64_t>(k->keyFrames.size());
  }
  return r;
}

int32_t OrmaUpdateMediaMaskParam(const char* call, OrmaMediaHandle m, OrmaMaskHandle mask,
                                 const OrmaMaskShapeBlock* shape) {
  Media* media = MediaOf(m);
  Mask* k = MaskOf(mask);
  if (!media || !k || k->media != media) return Refuse(call, ORMA_BAD_HANDLE, "not a mask of the media");
  if (!shape) return Refuse(call, ORMA_BAD_ARGUMENT, "no shape");
  k->shape = *shape;
  return int32_t{ORMA_OK};
}

int32_t OrmaSetMediaChromaKey(const char* call, OrmaMediaHandle m, int32_t enable, int32_t red, int32_t green,
                              int32_t blue, int32_t factor, int32_t alphaLower, int32_t alphaUpper,
                              int32_t edgeSize) {
  return With(call, m, [&](Media& media) {
    media.attrs.chromaKeyEnabled = enable != 0;
    const int32_t values[7] = {red, green, blue, factor, alphaLower, alphaUpper, edgeSize};
    std::copy(values, values + 7, media.attrs.chromaKey);
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetMediaSpecialEffect(const char* call, OrmaMediaHandle m, const char* configPath,
                                  int64_t startUs, int64_t durationUs) {
  return With(call, m, [&](Media& media) {
    std::string native, error;
    std::shared_ptr<const SpecialEffect> chain;
    if (!Resource(configPath, &native, &error) || !(chain = SpecialEffect::Load(native, &error)))
      return WithoutResource(call, error);
    startUs = NotNegative(call, "start", startUs);
    durationUs = NotNegative(call, "duration", durationUs);
    media.specialEffects.push_back({chain, startUs, durationUs});
    return int32_t{ORMA_OK};
  });
}

} // namespace orma::entry
