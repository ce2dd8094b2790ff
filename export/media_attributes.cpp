#include "export/media_attributes.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "export/convert.h"
#include "export/resource_path.h"

namespace {

using convert::ScaledLevel;
using convert::SecondsToUs;
using convert::ToInt32;
using convert::ToInt64;

// Drafts of format version 4 and below put the neutral points of sharpness,
// saturation and contrast elsewhere than later drafts.
bool IsNewFormat(const DraftDocument* document) { return static_cast<double>(document->ver) > 4; }

int32_t SharpnessLevel(bool newFormat, float v) {
  if (newFormat) return ToInt32(static_cast<double>(v) * 0.25 * 100);
  return ToInt32((static_cast<double>(v) + 4.0) * 0.125 * 100); // -4..4 -> 0..100
}

int32_t SaturationLevel(bool newFormat, float v) {
  if (newFormat) return ScaledLevel(v, 100);
  return ToInt32((static_cast<double>(v) - 1.0) * 100); // neutral 1.0 -> 0
}

int32_t ContrastLevel(bool newFormat, float v) {
  if (newFormat) return ScaledLevel(v, 100);
  // Old drafts compress a raised contrast by three, a lowered one not at all.
  double c = static_cast<double>(v) - 1.0;
  if (v > 1.0f) c = c / 3.0;
  const float narrowed = static_cast<float>(c);
  return ToInt32(static_cast<double>(narrowed) * 100);
}

OrmaBlurBlock MakeBlurBlock(const BlurParams& blur) {
  OrmaBlurBlock block;
  std::memset(&block, 0, sizeof(block));
  block.blurType = blur.blurType;
  block.intensity = blur.intensity;
  block.centerX = blur.centerPoint[0];
  block.centerY = blur.centerPoint[1];
  block.radius = blur.radius;
  return block;
}

// Key-frame rectangles are in canvas pixels, unlike the item's own ones.
void CanvasRect(const RectF& rect, float width, float height, float out[4]) {
  out[0] = rect.left * width;
  out[1] = rect.top * height;
  out[2] = rect.right * width;
  out[3] = rect.bottom * height;
}

void MakeKeyFrameBlock(const DraftDocument* document, const MediaKeyFrame& frame, OrmaKeyFrameBlock* block) {
  const bool newFormat = IsNewFormat(document);
  std::memset(block, 0, sizeof(*block));
  block->atTimeUs = SecondsToUs(frame.atTime);
  block->rotate = frame.rotate;
  CanvasRect(frame.showRect, document->width, document->height, block->showRect);
  CanvasRect(frame.cropRect, document->width, document->height, block->cropRect);
  block->opacity = frame.opacity;
  block->brightness = ScaledLevel(frame.levels.brightness, 255);
  block->contrast = ContrastLevel(newFormat, frame.levels.contrast);
  block->saturation = SaturationLevel(newFormat, frame.levels.saturation);
  block->whiteBalance = ScaledLevel(frame.levels.whiteBalance, 100);
  block->sharpness = SharpnessLevel(newFormat, frame.levels.sharpness);
  block->vignette = ScaledLevel(frame.levels.vignette, 100);
  block->tint = ScaledLevel(frame.levels.tint, 100);
  block->shadows = ScaledLevel(frame.levels.shadows, 100);
  block->graininess = ScaledLevel(frame.levels.graininess, 100);
  block->highlight = ScaledLevel(frame.levels.highlight, 100);
  block->lightSensation = ScaledLevel(frame.levels.lightSensation, 100);
  block->fade = ScaledLevel(frame.levels.fade, 100);
  if (frame.blur) block->blur = MakeBlurBlock(*frame.blur);
  block->type = ToInt32(frame.type);
}

void MakeMaskShapeBlock(const MaskShape& shape, OrmaMaskShapeBlock* block) {
  std::memset(block, 0, sizeof(*block));
  block->width = shape.size.width;
  block->height = shape.size.height;
  block->degrees = shape.degrees;
  block->distance = shape.distance;
  block->invert = shape.invert;
  block->featherStep = shape.featherStep;
  block->edgeSize = shape.edgeSize;
  block->edgeColor[0] = shape.edgeColor.red;
  block->edgeColor[1] = shape.edgeColor.green;
  block->edgeColor[2] = shape.edgeColor.blue;
  block->edgeColor[3] = shape.edgeColor.alpha;
  block->centerX = shape.centerF.x;
  block->centerY = shape.centerF.y;
  block->topLeft[0] = shape.topLeft.x;
  block->topLeft[1] = shape.topLeft.y;
  block->topRight[0] = shape.topRight.x;
  block->topRight[1] = shape.topRight.y;
  block->bottomRight[0] = shape.bottomRight.x;
  block->bottomRight[1] = shape.bottomRight.y;
  block->bottomLeft[0] = shape.bottomLeft.x;
  block->bottomLeft[1] = shape.bottomLeft.y;
  block->cornerRadius = shape.cornerRadius;
}

// Mask key frames hold whole seconds; the scaling is an integer product,
// saturated so that an absurd time cannot overflow.
int64_t WholeSecondsToUs(int64_t seconds) {
  int64_t micros = 0;
  if (__builtin_mul_overflow(seconds, int64_t{1000000}, &micros))
    return seconds < 0 ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
  return micros;
}

int32_t ApplyMask(const DraftDocument* document, OrmaMediaHandle media, const MaskObject& mask) {
  if (mask.maskImagePath[0]) {
    // A mask video replaces the shape mask: folder, shape and key frames are unused.
    const std::string path = ResolveResourcePath(document, mask.maskImagePath);
    return OrmaSetMediaMaskVideo(media, path.c_str());
  }
  const std::string config = ResolveResourcePath(document, mask.folderPath, true);
  OrmaMaskHandle handle = OrmaAddMediaMaskFromConfig(media, config.c_str());
  if (!handle) return -554;
  if (!mask.keyFrames) {
    OrmaMaskShapeBlock shape;
    MakeMaskShapeBlock(mask.shape, &shape);
    return OrmaUpdateMediaMaskParam(media, handle, &shape);
  }
  for (const MaskKeyFrame* frame = mask.keyFrames; frame; frame = frame->next) {
    OrmaMaskKeyFrameBlock block;
    std::memset(&block, 0, sizeof(block));
    block.atTimeUs = WholeSecondsToUs(frame->atTime);
    MakeMaskShapeBlock(frame->shape, &block.shape);
    if (OrmaMediaAddMaskKeyFrameAnimation(media, handle, &block) == 0) return -566;
  }
  return 1;
}

} // namespace

int32_t ApplyMediaAttributes(const DraftDocument* document, OrmaMediaHandle media, const MediaRecord* record,
                             int32_t applyBlendMode) {
  if (!record) return -126;
  const MediaRecord& m = *record;
  const bool newFormat = IsNewFormat(document);
  int32_t result = 0;
#define ORMA_CALL(expression)                                                                                \
  do {                                                                                                       \
    result = (expression);                                                                                   \
    if (result <= 0) return result;                                                                          \
  } while (0)

  ORMA_CALL(OrmaSetMediaFlip(media, (m.isHorizontalMirror != 0 ? ORMA_FLIP_HORIZONTAL : ORMA_FLIP_NONE) |
                                        (m.isVerticalMirror != 0 ? ORMA_FLIP_VERTICAL : ORMA_FLIP_NONE)));

  // The timeline length is the trimmed source length played at the item's speed.
  int64_t duration = SecondsToUs(m.trimTimeEnd - m.trimTimeStart);
  if (m.speed > 0) duration = ToInt64(static_cast<float>(duration) / m.speed);
  ORMA_CALL(OrmaSetMediaTimeLine(media, 0, duration));
  ORMA_CALL(OrmaSetMediaCutTime(media, SecondsToUs(m.trimTimeStart), SecondsToUs(m.trimTimeEnd)));

  ORMA_CALL(OrmaSetMediaAudioFactor(media, m.volume));
  if (m.audioFadeInDuration > 0 || m.audioFadeOutDuration > 0) {
    ORMA_CALL(OrmaSetMediaAudioFadeTime(media, SecondsToUs(m.audioFadeInDuration),
                                        SecondsToUs(m.audioFadeOutDuration)));
  }
  ORMA_CALL(OrmaSetMediaAudioEffect(media, m.audioFilterType));
  ORMA_CALL(OrmaSetMediaAudioNsLevel(media, m.denoiseLevel));

  if (m.filter && m.filter->filterType == 11) {
    const std::string path = ResolveResourcePath(document, m.filter->filterPath);
    ORMA_CALL(OrmaSetMediaLUT(media, path.c_str(), m.filter->filterIntensity));
  }
  // Only the display mode is switched; the intensity itself is not passed.
  if (m.blurIntensity > 0) ORMA_CALL(OrmaSetMediaDisplayMode(media, ORMA_DISPLAY_BLURRED));
  if (m.blur) {
    const OrmaBlurBlock blur = MakeBlurBlock(*m.blur);
    ORMA_CALL(OrmaSetMediaBlur(media, &blur));
  }

  // "!= 0" on purpose: a NaN level is sent too.
  if (m.beautyBlurIntensity != 0)
    ORMA_CALL(OrmaSetMediaBeautyBlurIntensity(media, ScaledLevel(m.beautyBlurIntensity, 100)));
  if (m.beautyBrightIntensity != 0)
    ORMA_CALL(OrmaSetMediaBeautyBrightIntensity(media, ScaledLevel(m.beautyBrightIntensity, 100)));
  if (m.beautyToneIntensity != 0)
    ORMA_CALL(OrmaSetMediaBeautyToneIntensity(media, ScaledLevel(m.beautyToneIntensity, 100)));
  if (m.beautyBigEyeIntensity > 0 || m.beautyThinFaceIntensity > 0) {
    // Face shaping needs a face; without one both levels are skipped quietly.
    int32_t faces = 0;
    if (OrmaGetMediaFaceCount(media, &faces) >= 1) {
      ORMA_CALL(OrmaSetMediaBigEyeIntensity(media, ScaledLevel(m.beautyBigEyeIntensity, 100)));
      ORMA_CALL(OrmaSetMediaThinFaceIntensity(media, ScaledLevel(m.beautyThinFaceIntensity, 100)));
    }
  }

  if (m.levels.vignette > 0) ORMA_CALL(OrmaSetMediaVignette(media, ScaledLevel(m.levels.vignette, 100)));
  ORMA_CALL(OrmaSetMediaSharp(media, SharpnessLevel(newFormat, m.levels.sharpness)));
  ORMA_CALL(OrmaSetMediaSaturation(media, SaturationLevel(newFormat, m.levels.saturation)));
  ORMA_CALL(OrmaSetMediaContrast(media, ContrastLevel(newFormat, m.levels.contrast)));
  ORMA_CALL(OrmaSetMediaBright(media, ScaledLevel(m.levels.brightness, 255)));
  ORMA_CALL(OrmaSetMediaWhiteBalance(media, ScaledLevel(m.levels.whiteBalance, 100)));
  // Shadows go only when positive, highlight and light sensation for either
  // sign: the editor writes them that way.
  if (m.levels.tint != 0) ORMA_CALL(OrmaSetMediaTint(media, ScaledLevel(m.levels.tint, 100)));
  if (std::fabs(m.levels.highlight) > 0)
    ORMA_CALL(OrmaSetMediaHighlight(media, ScaledLevel(m.levels.highlight, 100)));
  if (m.levels.shadows > 0) ORMA_CALL(OrmaSetMediaShadow(media, ScaledLevel(m.levels.shadows, 100)));
  if (m.levels.graininess > 0)
    ORMA_CALL(OrmaSetMediaGraininess(media, ScaledLevel(m.levels.graininess, 100)));
  if (std::fabs(m.levels.lightSensation) > 0)
    ORMA_CALL(OrmaSetMediaLightSensation(media, ScaledLevel(m.levels.lightSensation, 100)));
  if (m.levels.fade > 0) ORMA_CALL(OrmaSetMediaFade(media, ScaledLevel(m.levels.fade, 100)));

  ORMA_CALL(OrmaSetMediaTransparency(media, static_cast<double>(m.alpha)));
  ORMA_CALL(OrmaSetMediaAnimationAngle(media, ToInt32(m.rotate)));
  if (applyBlendMode != 0) ORMA_CALL(OrmaSetMediaBlendMode(media, ToInt32(m.blendType)));

  // The item's own rectangles go in the draft's units, unscaled.
  const float crop[4] = {m.cropRect.left, m.cropRect.top, m.cropRect.right, m.cropRect.bottom};
  const float show[4] = {m.showRect.left, m.showRect.top, m.showRect.right, m.showRect.bottom};
  ORMA_CALL(OrmaSetMediaClip(media, crop));
  ORMA_CALL(OrmaSetMediaShowRect(media, show));
  ORMA_CALL(OrmaSetMediaPlaySpeed(media, static_cast<double>(m.speed)));

  for (const AnimationRecord* animation = m.customAnimations; animation; animation = animation->next) {
    const std::string config = ResolveResourcePath(document, animation->folderPath, true);
    // An out-animation (type 1) ends with the trimmed source, whatever the speed.
    const int64_t start =
        animation->type == 1 ? SecondsToUs((m.trimTimeEnd - m.trimTimeStart) - animation->duration) : 0;
    ORMA_CALL(OrmaSetMediaAnimation(media, config.c_str(), animation->type, start,
                                    SecondsToUs(animation->duration)));
    if (animation->type == 2)
      ORMA_CALL(OrmaSetMediaAnimationCycleDuration(media, SecondsToUs(animation->cycleDuration)));
  }

  for (const MediaKeyFrame* frame = m.keyFrames; frame; frame = frame->next) {
    OrmaKeyFrameBlock block;
    MakeKeyFrameBlock(document, *frame, &block);
    if (OrmaMediaAddKeyFrameAnimation(media, &block) == 0) return -508;
  }

  if (m.maskObject) {
    result = ApplyMask(document, media, *m.maskObject);
    if (result <= 0) return result;
  }

  // Chroma key follows the blend type alone, for scene items and overlays alike.
  if (m.blendType == static_cast<float>(ORMA_BLEND_CUT_OUT)) {
    ORMA_CALL(OrmaSetMediaChromaKey(
        media, 1, ScaledLevel(m.cutoutColor.red, 255), ScaledLevel(m.cutoutColor.green, 255),
        ScaledLevel(m.cutoutColor.blue, 255), ToInt32(m.cutoutFactor), ToInt32(m.cutoutAlphaLower),
        ToInt32(m.cutoutAlphaUpper), ToInt32(m.cutoutEdgeSize)));
  }

  for (const EffectRecord* effect = m.specialEffects; effect; effect = effect->next) {
    const float start = effect->timelineFrom * 1000000.0f;
    const float end = effect->timelineTo * 1000000.0f;
    if (start < 0 || end <= 0) return -606;
    const std::string config = ResolveResourcePath(document, effect->folderPath, true);
    // An item's own effect always starts with the item and lasts end - start.
    const float length = end - start;
    ORMA_CALL(OrmaSetMediaSpecialEffect(media, config.c_str(), 0, ToInt64(length)));
  }

  // A non-zero level is sent a second time, after everything else; the
  // library has always been driven with both calls.
  if (m.denoiseLevel != 0) ORMA_CALL(OrmaSetMediaAudioNsLevel(media, m.denoiseLevel));
#undef ORMA_CALL
  return 1;
}
