// Pictures in the engine's working format: planar Y'CbCr 4:2:0, 8 bits,
// limited range, in the canvas's colour matrix, with an optional full
// resolution alpha plane. The canvas that MLT encodes is in the same format,
// so a frame that needs no compositing is never converted.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

namespace orma {

/// Colour matrix of Y'CbCr data: 601 or 709 (MLT's "colorspace" numbers).
struct Colorimetry {
  int matrix = 601;
  bool fullRange = false;
};

/// Non-owning view of a 4:2:0 picture; planes 1 and 2 are half size, plane 3
/// (alpha) is null or full size.
struct Yuv {
  uint8_t* p[4] = {nullptr, nullptr, nullptr, nullptr};
  int s[4] = {0, 0, 0, 0};
  int w = 0;
  int h = 0;
  bool HasAlpha() const { return p[3] != nullptr; }
};

/// The columns of a picture that a step has to process, per block row (two
/// picture rows, as 4:2:0 chroma pairs them): [lo, hi), lo even, hi even or
/// the picture's width. A null
/// pointer where a step takes one means the whole picture.
struct RowSpans {
  std::vector<int> lo, hi;
};

/// Spans covering, in every block row, each pixel that lies within `margin`
/// pixels (horizontally and vertically) of a non-zero coverage value of
/// `coverage` (w x h, `stride`), or of `extra` when it is not null.
RowSpans SpansOfCoverage(const uint8_t* coverage, const uint8_t* extra, int stride, int w, int h, int margin);

/// A picture that owns its memory.
class Picture {
public:
  Picture(int width, int height, bool alpha);
  Yuv& view() { return view_; }
  const Yuv& view() const { return view_; }
  int width() const { return view_.w; }
  int height() const { return view_.h; }

private:
  std::unique_ptr<uint8_t[]> buffer_;
  Yuv view_;
};
using PicturePtr = std::shared_ptr<Picture>;

struct YuvColor {
  uint8_t y = 16, u = 128, v = 128;
};

/// Limited-range Y'CbCr of an RGB colour with components 0..1.
YuvColor RgbToYuv(float red, float green, float blue, int matrix);

/// Size in bytes of a contiguous 4:2:0 buffer as MLT lays it out.
int Yuv420Size(int width, int height);
/// View over a contiguous MLT-style 4:2:0 buffer.
Yuv Yuv420View(uint8_t* data, int width, int height);

void Fill(Yuv& dst, YuvColor color);
void CopyPicture(Yuv& dst, const Yuv& src);

/// Scales the source area (sx, sy, sw, sh; even offsets) into the whole of
/// dst, converting range and matrix to the canvas's limited range and
/// `dstMatrix`. The alpha plane is scaled too when both have one; a
/// destination alpha plane without a source alpha is set opaque.
bool ScaleYuv(const Yuv& src, int sx, int sy, int sw, int sh, Colorimetry srcColor, Yuv& dst, int dstMatrix,
              bool smooth);

/// Converts packed RGBA (straight alpha) into dst (which must have alpha),
/// scaling the source area (sx, sy, sw, sh) to dst's size.
bool ScaleRgba(const uint8_t* rgba, int stride, int sx, int sy, int sw, int sh, Yuv& dst, int dstMatrix);

/// Composites src onto dst with its top-left corner at (x, y) (even), using
/// src's alpha plane when present and the extra opacity 0..1.
void Blend(Yuv& dst, const Yuv& src, int x, int y, float opacity);

/// Mirrors the picture in place: horizontally, vertically or both.
void Mirror(Yuv& img, bool horizontal, bool vertical);
/// Makes the alpha plane, if any, fully opaque.
void FillAlpha(Yuv& img);

/// dst = a * (1 - t) + b * t on every plane (not alpha).
void Mix(Yuv& dst, const Yuv& a, const Yuv& b, float t);

/// The weight of the second picture (0..256) for each switch order code L
/// (0..255) of a picture that switches from one picture to another in an
/// order: clamp((base - slope * L) >> 8, 0, 256).
struct SwitchRamp {
  int32_t base = 0;  ///< at most 2^25
  int32_t slope = 0; ///< at most 2^17
  int Weight(int order) const { return std::clamp((base - slope * order) >> 8, 0, 256); }
};

/// dst = a blended towards b by the ramp's weight of each pixel's switch
/// order: `order` for luma (dst.w bytes a row), `orderHalf` for chroma
/// (one code per chroma sample, Half(dst.w) bytes a row). `dst` is a
/// picture of its own, neither `a` nor `b`.
void SwitchMix(Yuv& dst, const Yuv& a, const Yuv& b, const uint8_t* order, const uint8_t* orderHalf,
               const SwitchRamp& ramp);

/// Approximates a Gaussian blur of standard deviation `sigma` pixels with
/// three box passes, on the colour planes.
void GaussianBlur(Yuv& img, float sigma);

/// The same on one plane of `w` x `h` samples (alpha or a mask).
void GaussianBlurPlane(uint8_t* plane, int stride, int w, int h, float sigma);

} // namespace orma
