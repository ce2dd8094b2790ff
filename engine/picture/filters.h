// Spatial filters on pictures in the working format (engine/picture/image.h): the
// kernels behind a media item's sharpness, vignette, grain, blur, chroma key
// and skin smoothing, and behind the special effects. They work in place at
// the size they are given, use the caller's thread's scratch memory and
// allocate nothing per call once warm.
#pragma once

#include <cstdint>

#include "corelib/orma_core.h"
#include "engine/picture/image.h"

namespace orma {

/// Blur of the blur block (OrmaBlurBlock): type 0 Gaussian, 1 radial (zoom),
/// 2 motion; intensity 0..1; centre 0..1 of the picture; radius 0..1 of its
/// shorter side (0: 0.1). See docs/engine.md.
struct BlurSettings {
  int type = 0;
  float intensity = 0;
  float centerX = 0.5f, centerY = 0.5f;
  float radius = 0;
  bool Active() const { return intensity > 0.0f; }
};

enum BlurType {
  kBlurGaussian = ORMA_BLUR_GAUSSIAN,
  kBlurRadial = ORMA_BLUR_RADIAL,
  kBlurMotion = ORMA_BLUR_MOTION
};

/// Applies a blur block to the colour planes (and the alpha plane, when the
/// picture has one, for the Gaussian and motion blurs).
void ApplyBlur(Yuv& img, const BlurSettings& blur);

/// Gaussian blur of every plane including alpha; sigma in luma pixels.
void BlurAll(Yuv& img, float sigma);

/// Unsharp masking of luma with a 3x3 neighbourhood: amount > 0 sharpens
/// (1: strong), amount < 0 softens (-1: the 3x3 mean).
/// With `spans`, only the pixels within them are changed.
void Sharpen(Yuv& img, float amount, const RowSpans* spans = nullptr);

/// Darkens towards the corners: strength 0..1 (1: the corners at 20 %).
void Vignette(Yuv& img, float strength, const RowSpans* spans = nullptr);

/// Adds film grain to luma: amount 0..1 (1: noise of about 12 % of the
/// range); `seed` picks the pattern (a frame number), so grain moves.
void AddGrain(Yuv& img, float amount, uint32_t seed, const RowSpans* spans = nullptr);

/// Cut-out by colour: pixels whose chroma is near the key colour become
/// transparent (the alpha plane must exist). Levels as OrmaSetMediaChromaKey
/// takes them (docs/engine.md).
struct ChromaKeySettings {
  int red = 0, green = 255, blue = 0; ///< key colour 0..255
  int factor = 0;                     ///< similarity 0..100
  int alphaLower = 0, alphaUpper = 0; ///< 0..100; upper 0 means 100
  int edgeSize = 0;                   ///< 0..100 pixels of erosion and softening
};
void ChromaKey(Yuv& img, const ChromaKeySettings& key, int matrix);

/// Skin smoothing: an edge-keeping blur of luma where the chroma is
/// skin-like; amount 0..1.
void SmoothSkin(Yuv& img, float amount);

/// Multiplies the alpha plane by a full-size matte (0..255).
void MultiplyAlpha(Yuv& img, const uint8_t* matte, int stride);

/// dst(x, y) = src(m[0] x + m[1] y + m[2], m[3] x + m[4] y + m[5]) with
/// bilinear sampling and the edge pixels extended (coordinates of pixel
/// centres). Alpha is resampled when both have it.
void AffineResample(const Yuv& src, Yuv& dst, const float m[6]);

/// Deterministic noise: 0..255 for a position and seed.
inline uint32_t HashNoise(uint32_t x, uint32_t y, uint32_t seed) {
  uint32_t h = x * 374761393u + y * 668265263u + seed * 2246822519u;
  h = (h ^ (h >> 13)) * 1274126177u;
  return (h ^ (h >> 16)) & 255u;
}

} // namespace orma
