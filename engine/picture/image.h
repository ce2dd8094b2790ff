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

/// Mirrors the picture in place: horizontally, vertically or both.
void Mirror(Yuv& img, bool horizontal, bool vertical);
/// Makes the alpha plane, if any, fully opaque.
void FillAlpha(Yuv& img);

} // namespace orma
