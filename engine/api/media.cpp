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
#include "engine/api/value_limits.h"
#include "engine/look/animation.h"
#include "engine/look/face_count.h"
#include "engine/look/lut_file.h"
#include "engine/look/mask_shape.h"
#include "engine/look/special_effect.h"
#include "engine/render/transitions.h"

using namespace orma;

namespace {

template <class Apply> int32_t WithMedia(const char* function, OrmaMediaHandle media, Apply apply) {
  Media* m = MediaOf(media);
  if (!m) return Refuse(function, ORMA_BAD_HANDLE, "not a media handle");
  if (m->scene && Exporting(m->scene->video)) return Refuse(function, ORMA_BAD_STATE, "an export is running");
  return apply(*m);
}

int32_t Level(const char* function, int MediaAttributes::*attribute, OrmaMediaHandle media, int32_t level) {
  return WithMedia(function, media, [&](Media& m) {
    m.attrs.*attribute = level;
    return int32_t{ORMA_OK};
  });
}

// A resource file named by an attribute: false (with the reason) when it is
// not a readable local file.
bool Resource(const char* path, std::string* native, std::string* error) {
  *native = ResolveLocalFile(path, error);
  return !native->empty();
}

std::string BlurText(const OrmaBlurBlock* b) {
  return "{type " + std::to_string(b->blurType) + ", intensity " + FormatDouble(b->intensity) + ", centre " +
         FormatDouble(b->centerX) + " " + FormatDouble(b->centerY) + ", radius " + FormatDouble(b->radius) +
         "}";
}

// The names a pair of times goes by: in log lines, and in the trace.
struct TimeNames {
  const char* first;
  const char* second;
  const char* firstArgument;
  const char* secondArgument;
};

// An item's pairs of times (its place in the scene, its trim, its sound
// fades) are set alike: each time is brought to 0 or more.
int32_t SetTimes(const char* call, OrmaMediaHandle m, UsPair MediaAttributes::*pair, const TimeNames& names,
                 int64_t first, int64_t second) {
  int32_t r = WithMedia(call, m, [&](Media& media) {
    UsPair& times = media.attrs.*pair;
    times = {true, NotNegative(call, names.first, first), NotNegative(call, names.second, second)};
    return int32_t{ORMA_OK};
  });
  return Traced(
      call,
      [&] {
        return TraceArgs().Ptr("media", m).Int(names.firstArgument, first).Int(names.secondArgument, second);
      },
      r);
}

// The crop and the show rectangle are set alike: four finite shares.
int32_t SetRect(const char* call, OrmaMediaHandle m, float (MediaAttributes::*member)[4], const float* rect) {
  int32_t r = WithMedia(call, m, [&](Media& media) {
    if (!rect) return Refuse(call, ORMA_BAD_ARGUMENT, "no rectangle");
    for (int i = 0; i < 4; ++i)
      if (!std::isfinite(rect[i])) return Refuse(call, ORMA_BAD_ARGUMENT, "not a number");
    std::copy(rect, rect + 4, media.attrs.*member);
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("media", m).Floats("rect", rect, 4); }, r);
}

} // namespace

#define ORMA_LEVEL_SETTER(Function, attribute)                                                               \
  ORMA_API int32_t Function(OrmaMediaHandle m, int32_t level) {                                              \
    return Traced(                                                                                           \
        #Function, [&] { return TraceArgs().Ptr("media", m).Int("level", level); },                          \
        Level(#Function, attribute, m, level));                                                              \
  }

extern "C" {

ORMA_API int32_t OrmaSetMediaFlip(OrmaMediaHandle m, int32_t mode) {
  ORMA_ENTRY_NAME;
  int32_t r = WithMedia(call, m, [&](Media& media) {
    if (mode < ORMA_FLIP_NONE || mode > ORMA_FLIP_BOTH)
      return Refuse(call, ORMA_BAD_ARGUMENT, "flip mode must be 0 to 3");
    media.attrs.flip = mode;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("media", m).Int("mode", mode); }, r);
}

ORMA_API int32_t OrmaSetMediaTimeLine(OrmaMediaHandle m, int64_t startUs, int64_t durationUs) {
  ORMA_ENTRY_NAME;
  return SetTimes(call, m, &MediaAttributes::timeline, {"start", "duration", "startUs", "durationUs"},
                  startUs, durationUs);
}

ORMA_API int32_t OrmaSetMediaCutTime(OrmaMediaHandle m, int64_t trimStartUs, int64_t trimEndUs) {
  ORMA_ENTRY_NAME;
  return SetTimes(call, m, &MediaAttributes::cut, {"trim start", "trim end", "trimStartUs", "trimEndUs"},
                  trimStartUs, trimEndUs);
}

ORMA_API int32_t OrmaSetMediaAudioFactor(OrmaMediaHandle m, float volume) {
  ORMA_ENTRY_NAME;
  int32_t r = WithMedia(call, m, [&](Media& media) {
    if (!std::isfinite(volume)) return Refuse(call, ORMA_BAD_ARGUMENT, "volume is not a number");
    media.attrs.volume = AtLeast(call, "volume", volume, 0);
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("media", m).Dbl("volume", volume); }, r);
}

ORMA_API int32_t OrmaSetMediaAudioFadeTime(OrmaMediaHandle m, int64_t fadeInUs, int64_t fadeOutUs) {
  ORMA_ENTRY_NAME;
  return SetTimes(call, m, &MediaAttributes::audioFade, {"fade-in", "fade-out", "fadeInUs", "fadeOutUs"},
                  fadeInUs, fadeOutUs);
}

ORMA_LEVEL_SETTER(OrmaSetMediaAudioEffect, &MediaAttributes::audioEffect)
ORMA_LEVEL_SETTER(OrmaSetMediaAudioNsLevel, &MediaAttributes::audioNsLevel)

ORMA_API int32_t OrmaSetMediaLUT(OrmaMediaHandle m, const char* path, float intensity) {
  ORMA_ENTRY_NAME;
  int32_t r = WithMedia(call, m, [&](Media& media) {
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
  return Traced(
      call, [&] { return TraceArgs().Ptr("media", m).Text("path", path).Dbl("intensity", intensity); }, r);
}

ORMA_LEVEL_SETTER(OrmaSetMediaDisplayMode, &MediaAttributes::displayMode)

ORMA_API int32_t OrmaSetMediaBlur(OrmaMediaHandle m, const OrmaBlurBlock* blur) {
  ORMA_ENTRY_NAME;
  int32_t r = WithMedia(call, m, [&](Media& media) {
    if (!blur) return Refuse(call, ORMA_BAD_ARGUMENT, "no blur block");
    media.attrs.blur = *blur;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("media", m).Raw("blur", blur ? BlurText(blur) : "null"); }, r);
}

ORMA_LEVEL_SETTER(OrmaSetMediaBeautyBlurIntensity, &MediaAttributes::beautyBlur)
ORMA_LEVEL_SETTER(OrmaSetMediaBeautyBrightIntensity, &MediaAttributes::beautyBright)
ORMA_LEVEL_SETTER(OrmaSetMediaBeautyToneIntensity, &MediaAttributes::beautyTone)
ORMA_LEVEL_SETTER(OrmaSetMediaBigEyeIntensity, &MediaAttributes::bigEye)
ORMA_LEVEL_SETTER(OrmaSetMediaThinFaceIntensity, &MediaAttributes::thinFace)

ORMA_API int32_t OrmaGetMediaFaceCount(OrmaMediaHandle m, int32_t* count) {
  ORMA_ENTRY_NAME;
  // The result is the number of faces too, so 0 (no face) tells callers to
  // skip face shaping; see face_count.h for the frames looked at.
  int32_t r = WithMedia(call, m, [&](Media& media) {
    if (!count) return Refuse(call, ORMA_BAD_ARGUMENT, "no count");
    *count = CountMediaFaces(media.probe, media.attrs.cut.first, media.attrs.cut.second);
    return *count;
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("media", m).Ptr("count", count); }, r);
}

ORMA_LEVEL_SETTER(OrmaSetMediaVignette, &MediaAttributes::vignette)
ORMA_LEVEL_SETTER(OrmaSetMediaSharp, &MediaAttributes::sharpness)
ORMA_LEVEL_SETTER(OrmaSetMediaSaturation, &MediaAttributes::saturation)
ORMA_LEVEL_SETTER(OrmaSetMediaContrast, &MediaAttributes::contrast)
ORMA_LEVEL_SETTER(OrmaSetMediaBright, &MediaAttributes::brightness)
ORMA_LEVEL_SETTER(OrmaSetMediaWhiteBalance, &MediaAttributes::whiteBalance)
ORMA_LEVEL_SETTER(OrmaSetMediaTint, &MediaAttributes::tint)
ORMA_LEVEL_SETTER(OrmaSetMediaHighlight, &MediaAttributes::highlight)
ORMA_LEVEL_SETTER(OrmaSetMediaShadow, &MediaAttributes::shadows)
ORMA_LEVEL_SETTER(OrmaSetMediaGraininess, &MediaAttributes::graininess)
ORMA_LEVEL_SETTER(OrmaSetMediaLightSensation, &MediaAttributes::lightSensation)
ORMA_LEVEL_SETTER(OrmaSetMediaFade, &MediaAttributes::fade)

ORMA_API int32_t OrmaSetMediaTransparency(OrmaMediaHandle m, double opacity) {
  ORMA_ENTRY_NAME;
  int32_t r = WithMedia(call, m, [&](Media& media) {
    if (!std::isfinite(opacity)) return Refuse(call, ORMA_BAD_ARGUMENT, "opacity is not a number");
    media.attrs.opacity = Limited(call, "opacity", opacity, 0, 1);
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("media", m).Dbl("opacity", opacity); }, r);
}

ORMA_API int32_t OrmaSetMediaAnimationAngle(OrmaMediaHandle m, int32_t degrees) {
  ORMA_ENTRY_NAME;
  int32_t r = WithMedia(call, m, [&](Media& media) {
    media.attrs.angle = degrees;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("media", m).Int("degrees", degrees); }, r);
}

ORMA_LEVEL_SETTER(OrmaSetMediaBlendMode, &MediaAttributes::blendMode)

ORMA_API int32_t OrmaSetMediaClip(OrmaMediaHandle m, const float* rect) {
  ORMA_ENTRY_NAME;
  return SetRect(call, m, &MediaAttributes::crop, rect);
}

ORMA_API int32_t OrmaSetMediaShowRect(OrmaMediaHandle m, const float* rect) {
  ORMA_ENTRY_NAME;
  return SetRect(call, m, &MediaAttributes::show, rect);
}

ORMA_API int32_t OrmaSetMediaPlaySpeed(OrmaMediaHandle m, double speed) {
  ORMA_ENTRY_NAME;
  // 0 (a draft without speed) plays at normal speed.
  int32_t r = WithMedia(call, m, [&](Media& media) {
    if (!std::isfinite(speed)) return Refuse(call, ORMA_BAD_ARGUMENT, "speed is not a number");
    media.attrs.speed = Limited(call, "speed", speed, 0, 100);
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("media", m).Dbl("speed", speed); }, r);
}

ORMA_API int32_t OrmaSetMediaAnimation(OrmaMediaHandle m, const char* configPath, int32_t type,
                                       int64_t startUs, int64_t durationUs) {
  ORMA_ENTRY_NAME;
  int32_t r = WithMedia(call, m, [&](Media& media) {
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
  return Traced(
      call,
      [&] {
        return TraceArgs()
            .Ptr("media", m)
            .Text("configPath", configPath)
            .Int("type", type)
            .Int("startUs", startUs)
            .Int("durationUs", durationUs);
      },
      r);
}

ORMA_API int32_t OrmaSetMediaAnimationCycleDuration(OrmaMediaHandle m, int64_t cycleUs) {
  ORMA_ENTRY_NAME;
  int32_t r = WithMedia(call, m, [&](Media& media) {
    if (media.animationLeftOut) return int32_t{ORMA_OK}; // its animation was left out
    cycleUs = NotNegative(call, "cycle", cycleUs);
    // The cycle belongs to the animation set just before it.
    if (media.attrs.animations.empty())
      return Refuse(call, ORMA_BAD_STATE, "no animation to set the cycle of");
    media.attrs.animations.back().cycleUs = cycleUs;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("media", m).Int("cycleUs", cycleUs); }, r);
}

ORMA_API int64_t OrmaMediaAddKeyFrameAnimation(OrmaMediaHandle m, const OrmaKeyFrameBlock* frame) {
  ORMA_ENTRY_NAME;
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
  return Traced(
      call,
      [&] {
        TraceArgs t;
        t.Ptr("media", m);
        if (frame)
          t.Int("atTimeUs", frame->atTimeUs)
              .Floats("showRect", frame->showRect, 4)
              .Floats("cropRect", frame->cropRect, 4)
              .Dbl("opacity", frame->opacity)
              .Dbl("rotate", frame->rotate)
              .Int("type", frame->type);
        return t;
      },
      r);
}

ORMA_API int32_t OrmaSetMediaMaskVideo(OrmaMediaHandle m, const char* path) {
  ORMA_ENTRY_NAME;
  int32_t r = WithMedia(call, m, [&](Media& media) {
    MediaProbe probe = ProbeMedia(path, true);
    if (!probe.ok) return WithoutResource(call, probe.error);
    if (!probe.hasVideo) return WithoutResource(call, probe.path + ": has no picture");
    media.attrs.maskVideo = probe.path;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("media", m).Text("path", path); }, r);
}

ORMA_API OrmaMaskHandle OrmaAddMediaMaskFromConfig(OrmaMediaHandle m, const char* configPath) {
  ORMA_ENTRY_NAME;
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
  return Traced(
      call, [&] { return TraceArgs().Ptr("media", m).Text("configPath", configPath); },
      HandleTo<OrmaMaskHandle>(mask));
}

ORMA_API int64_t OrmaMediaAddMaskKeyFrameAnimation(OrmaMediaHandle m, OrmaMaskHandle mask,
                                                   const OrmaMaskKeyFrameBlock* frame) {
  ORMA_ENTRY_NAME;
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
  return Traced(
      call,
      [&] {
        TraceArgs t;
        t.Ptr("media", m).Ptr("mask", mask);
        if (frame) t.Int("atTimeUs", frame->atTimeUs);
        return t;
      },
      r);
}

ORMA_API int32_t OrmaUpdateMediaMaskParam(OrmaMediaHandle m, OrmaMaskHandle mask,
                                          const OrmaMaskShapeBlock* shape) {
  ORMA_ENTRY_NAME;
  int32_t r = [&] {
    Media* media = MediaOf(m);
    Mask* k = MaskOf(mask);
    if (!media || !k || k->media != media) return Refuse(call, ORMA_BAD_HANDLE, "not a mask of the media");
    if (!shape) return Refuse(call, ORMA_BAD_ARGUMENT, "no shape");
    k->shape = *shape;
    return int32_t{ORMA_OK};
  }();
  return Traced(
      call,
      [&] {
        TraceArgs t;
        t.Ptr("media", m).Ptr("mask", mask);
        if (shape)
          t.Dbl("width", shape->width)
              .Dbl("height", shape->height)
              .Dbl("centerX", shape->centerX)
              .Dbl("centerY", shape->centerY);
        return t;
      },
      r);
}

ORMA_API int32_t OrmaSetMediaChromaKey(OrmaMediaHandle m, int32_t enable, int32_t red, int32_t green,
                                       int32_t blue, int32_t factor, int32_t alphaLower, int32_t alphaUpper,
                                       int32_t edgeSize) {
  ORMA_ENTRY_NAME;
  int32_t r = WithMedia(call, m, [&](Media& media) {
    media.attrs.chromaKeyEnabled = enable != 0;
    const int32_t values[7] = {red, green, blue, factor, alphaLower, alphaUpper, edgeSize};
    std::copy(values, values + 7, media.attrs.chromaKey);
    return int32_t{ORMA_OK};
  });
  return Traced(
      call,
      [&] {
        return TraceArgs()
            .Ptr("media", m)
            .Int("enable", enable)
            .Int("red", red)
            .Int("green", green)
            .Int("blue", blue)
            .Int("factor", factor)
            .Int("alphaLower", alphaLower)
            .Int("alphaUpper", alphaUpper)
            .Int("edgeSize", edgeSize);
      },
      r);
}

ORMA_API int32_t OrmaSetMediaSpecialEffect(OrmaMediaHandle m, const char* configPath, int64_t startUs,
                                           int64_t durationUs) {
  ORMA_ENTRY_NAME;
  int32_t r = WithMedia(call, m, [&](Media& media) {
    std::string native, error;
    std::shared_ptr<const SpecialEffect> chain;
    if (!Resource(configPath, &native, &error) || !(chain = SpecialEffect::Load(native, &error)))
      return WithoutResource(call, error);
    startUs = NotNegative(call, "start", startUs);
    durationUs = NotNegative(call, "duration", durationUs);
    media.specialEffects.push_back({chain, startUs, durationUs});
    return int32_t{ORMA_OK};
  });
  return Traced(
      call,
      [&] {
        return TraceArgs()
            .Ptr("media", m)
            .Text("configPath", configPath)
            .Int("startUs", startUs)
            .Int("durationUs", durationUs);
      },
      r);
}

} // extern "C"
