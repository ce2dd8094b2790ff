// Pictures that captions and stickers draw onto the canvas: rendered once
// (text with Cairo, sticker frames decoded) as premultiplied ARGB, kept with
// the same picture already in the canvas format, and drawn each frame
// either straight (a plain move: a blend of the kept picture) or through an
// affine placement (scale, rotation: Cairo into a scratch area the size of
// the result, converted and blended).
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "engine/picture/image.h"

namespace orma {

/// 2-D affine map from sprite pixels to canvas pixels, laid out as Cairo's
/// matrix: x' = xx·x + xy·y + x0, y' = yx·x + yy·y + y0.
struct Affine {
  double xx = 1, yx = 0, xy = 0, yy = 1, x0 = 0, y0 = 0;
  static Affine Translation(double x, double y);
  static Affine Scaling(double sx, double sy);
  static Affine Rotation(double degreesClockwise);
  /// This map applied after `first`.
  Affine After(const Affine& first) const;
  bool IsTranslation() const { return xx == 1 && yx == 0 && xy == 0 && yy == 1; }
};

/// A premultiplied ARGB picture (Cairo's ARGB32, stride width·4) and the same
/// picture in the canvas format with straight alpha. Sizes are even.
struct Sprite {
  int width = 0;
  int height = 0;
  std::vector<uint32_t> argb;
  std::unique_ptr<Picture> yuva;

  Sprite(int w, int h);
  /// Makes `yuva` from `argb` (after drawing into it) for the canvas matrix.
  void Finish(int matrix);
};
using SpritePtr = std::shared_ptr<const Sprite>;

/// Part of a sprite, in its pixels: [x0, x1) × [y0, y1).
struct SpritePart {
  double x0 = 0, y0 = 0, x1 = 1e9, y1 = 1e9;
};

/// Draws `part` of the sprite onto the canvas through `place`, times
/// `opacity` (0..1).
void DrawSprite(const Sprite& sprite, const Affine& place, float opacity, const SpritePart& part, Yuv& canvas,
                int matrix);

/// Premultiplied ARGB (Cairo's layout) to straight-alpha 4:2:0 with alpha, in
/// the canvas's limited range and matrix. Chroma is the alpha-weighted mean
/// of the four pixels it covers, so edges keep their colour.
void ArgbToYuva(const uint32_t* argb, int stride, Yuv& dst, int matrix);

/// Straight RGBA bytes to premultiplied ARGB32.
void RgbaToArgb(const uint8_t* rgba, int count, uint32_t* argb);

/// A copy of the sprite scaled to w × h (smooth), finished for `matrix`.
std::shared_ptr<Sprite> ScaledSprite(const Sprite& source, int w, int h, int matrix);

/// A copy of the sprite blurred with a Gaussian of `sigma` pixels (three box
/// blurs), `pad` pixels larger on every side so that the blur is not cut at
/// the edges, finished for `matrix`. Pixel (x, y) of the source is pixel
/// (x + pad, y + pad) of the copy.
std::shared_ptr<Sprite> BlurredSprite(const Sprite& source, double sigma, int pad, int matrix);

} // namespace orma
