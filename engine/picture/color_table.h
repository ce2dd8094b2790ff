// Point-wise colour changes of a media item (its picture adjustments, its
// look-up table, beauty brightening and tone) folded into one table that maps
// Y'CbCr to Y'CbCr. Every adjustment is defined on R'G'B' (see
// docs/engine.md); the table is built once per set of levels by running the
// whole chain on a 33 x 33 x 33 grid of Y'CbCr values, and applied per pixel
// by trilinear interpolation, so the cost per frame does not depend on how
// many adjustments are active.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/picture/image.h"

namespace orma {

/// A colour look-up table on R'G'B' 0..1: `size`^3 entries, red varying
/// fastest, then green, then blue.
struct Lut3D {
  int size = 0;
  std::vector<float> rgb;         ///< 3 floats per entry
  float domainMin[3] = {0, 0, 0}; ///< input that maps to the first entry
  float domainMax[3] = {1, 1, 1}; ///< input that maps to the last entry
  /// Trilinear lookup; components outside 0..1 are clamped.
  void Sample(const float in[3], float out[3]) const;
};

/// The point-wise levels, each on the scale the API takes (docs/engine.md);
/// 0 is neutral for every one.
struct ColorLevels {
  int brightness = 0;     ///< -255..255
  int contrast = 0;       ///< -100..100
  int saturation = 0;     ///< -100..100
  int whiteBalance = 0;   ///< -100..100 (positive: warmer)
  int tint = 0;           ///< -100..100 (positive: magenta, negative: green)
  int highlight = 0;      ///< -100..100
  int shadows = 0;        ///< -100..100
  int lightSensation = 0; ///< -100..100 (exposure)
  int fade = 0;           ///< 0..100
  int beautyBright = 0;   ///< 0..100
  int beautyTone = 0;     ///< 0..100
  bool Neutral() const;
  bool operator==(const ColorLevels& o) const;
};

/// Runs the adjustment chain on one R'G'B' colour (0..1 in, 0..1 out).
/// `matrix` gives the luma weights; `skin` (0..1) how skin-like the colour
/// is, for the tone.
void AdjustRgb(const ColorLevels& levels, const Lut3D* lut, float lutIntensity, int matrix, float skin,
               float rgb[3]);

/// How skin-like a chroma pair (limited-range Cb, Cr, 0..255) is, 0..1.
float SkinLikelihood(float cb, float cr);

class ColorTable {
public:
  static constexpr int kNodes = 33; ///< grid nodes per axis, every 8 code values

  /// Builds the table; `lut` may be null. Returns null when the result would
  /// be the identity (nothing to do).
  static std::shared_ptr<const ColorTable> Build(const ColorLevels& levels, const Lut3D* lut,
                                                 float lutIntensity, int matrix);
  /// Applies the table to the colour planes of `img` in place (only within
  /// `spans` when given).
  void Apply(Yuv& img, const RowSpans* spans = nullptr) const;
  /// One colour through the table (for tests and single samples).
  void Map(int y, int cb, int cr, int* outY, int* outCb, int* outCr) const;

  struct ChromaPair {
    int16_t cb, cr;
  };
  /// Y' at a node and at the next Cr node with the same Cb and luma code:
  /// one 32-bit read gives two of the four chroma corners.
  struct LumaPair {
    int16_t here, next;
  };

private:
  // Output values times 32 (node values times 4, times the luma weight 8)
  // at index ((cb node * kNodes) + cr node) * 256 + luma code: Y' apart from
  // Cb and Cr, so that the luma codes of a block share cache lines.
  std::vector<LumaPair> luma_;
  std::vector<ChromaPair> chroma_;
};

} // namespace orma
