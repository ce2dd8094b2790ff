// Item rows resampled along one axis for the compositing fast path
// (compose.cpp): every item row the canvas rows fall between is resampled
// to the canvas columns once and kept for the next canvas row. On x86-64
// with AVX2 a row is resampled eight columns at a time, by gathers or, where
// each group of eight columns reads one window of 16 bytes, by byte
// shuffles; the results are the same codes as the portable loop's.
//
// The class stays inline: the compositing loop is built once per processor
// kind (ORMA_VECTOR_CLONES) and its portable path is vectorised there.
#pragma once

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "engine/core/vector_clones.h"

namespace orma {

#if ORMA_AVX2
// Where every eight columns read both their neighbours from one window of 16
// bytes (an item enlarged, mirrored, or made smaller by up to half), the row is
// resampled from two such windows at a time with byte shuffles instead of
// gathers: `base` holds each group's window start, `masks` the shuffles
// that spread a window into its first and second neighbours (16 bytes each
// per group), `weights` 256 - f and f as 16-bit words. Sums stay below 2^16,
// so 16-bit products give the same values.
struct WindowPlan {
  std::vector<int32_t> base;
  std::vector<uint8_t> first, second; // 16 bytes per group
  std::vector<int16_t> keep, take;    // 256 - f and f per column
  int groups = 0;                     // of eight columns
};

/// The window plan of a row's columns; false when some group of eight
/// columns reads more than one window.
bool MakeWindowPlan(const int32_t* i0, const int32_t* f, int width, WindowPlan* plan);

/// out[i] = src[i0[i]] * (256 - f[i]) + src[i0[i] + 1] * f[i] for columns
/// `from` to `to`, by gathers. Reads two bytes beyond the second neighbour,
/// so the caller uses this only where a next row follows.
ORMA_AVX2_FUNCTION void ResampleRowAvx2(const uint8_t* src, const int32_t* i0, const int32_t* f, int from,
                                        int to, uint16_t* out);

/// The same through a window plan, for columns `from` to `to` and the rest
/// of their groups. Reads up to 15 bytes beyond a group's last neighbour,
/// so the caller uses this only where a next row follows.
ORMA_AVX2_FUNCTION void ResampleRowWindowsAvx2(const uint8_t* src, const WindowPlan& plan, const int32_t* i0,
                                               const int32_t* f, int from, int to, uint16_t* out);
#endif

// Item rows resampled to the canvas columns, kept exact (at most 255 * 256)
// so that mixing two of them finishes the same bilinear sum as SampleBilinear(); kept
// for the next canvas row: when an item is enlarged, each item row is
// between two canvas rows.
class ResampledRows {
public:
  /// Memory kept between composites (per thread and plane), so that a frame
  /// allocates nothing once the sizes have been seen.
  struct Scratch {
    std::vector<uint16_t> rows[2];
#if ORMA_AVX2
    WindowPlan plan;
#endif
  };

  /// `i1` is `i0` + 1 in every column when `adjacent` is true.
  ResampledRows(const uint8_t* plane, int stride, int height, const int32_t* i0, const int32_t* i1,
                const int32_t* f, int width, bool adjacent, Scratch& scratch)
      : plane_(plane), stride_(stride), height_(height), i0_(i0), i1_(i1), f_(f), width_(width),
        adjacent_(adjacent)
#if ORMA_AVX2
        ,
        plan_(scratch.plan)
#endif
  {
    for (int k = 0; k < 2; ++k) {
      scratch.rows[k].resize(width);
      slots_[k].row = -1;
      slots_[k].values = scratch.rows[k].data();
    }
#if ORMA_AVX2
    windows_ = adjacent_ && plane_ && HasAvx2() && MakeWindowPlan(i0_, f_, width_, &plan_);
#endif
  }
  /// Rows `a` and `b` resampled, at least in columns `from` to `to`; both
  /// pointers stay valid until the next call.
  void Pair(int a, int b, int from, int to, const uint16_t** ra, const uint16_t** rb) {
    Slot* sa = Find(a, from, to);
    Slot* sb = Find(b, from, to);
    if (!sa) sa = Fill(a, sb, from, to);
    if (!sb) sb = Fill(b, sa, from, to);
    *ra = sa->values;
    *rb = sb->values;
  }

private:
  struct Slot {
    int row;
    int from, to; // the columns resampled
    uint16_t* values;
  };
  // The slot of `row`; one that lacks some of the columns is resampled again
  // over both ranges (the ranges of neighbouring rows overlap).
  Slot* Find(int row, int& from, int& to) {
    for (Slot& s : slots_)
      if (s.row == row) {
        if (s.from <= from && to <= s.to) return &s;
        from = std::min(from, s.from);
        to = std::max(to, s.to);
        s.row = -1;
      }
    return nullptr;
  }
  Slot* Fill(int row, const Slot* keep, int from, int to) {
    // The other slot than the one kept, else the one farther from `row`
    // (the canvas rows walk through the item in one direction).
    auto distance = [row](const Slot& s) { return s.row < 0 ? INT_MAX : std::abs(s.row - row); };
    Slot& s = keep == &slots_[0]                           ? slots_[1]
              : keep == &slots_[1]                         ? slots_[0]
              : distance(slots_[0]) >= distance(slots_[1]) ? slots_[0]
                                                           : slots_[1];
    s.row = row;
    s.from = from;
    s.to = to;
    const uint8_t* src = plane_ + static_cast<size_t>(row) * stride_;
    uint16_t* out = s.values;
#if ORMA_AVX2
    if (windows_ && row + 1 < height_) {
      ResampleRowWindowsAvx2(src, plan_, i0_, f_, from, to, out);
      return &s;
    }
    if (adjacent_ && row + 1 < height_ && HasAvx2()) {
      ResampleRowAvx2(src, i0_, f_, from, to, out);
      return &s;
    }
#endif
    for (int i = from; i < to; ++i)
      out[i] = static_cast<uint16_t>(src[i0_[i]] * (256 - f_[i]) + src[i1_[i]] * f_[i]);
    return &s;
  }
  const uint8_t* plane_;
  int stride_, height_;
  const int32_t *i0_, *i1_, *f_;
  int width_;
  bool adjacent_;
  Slot slots_[2];
#if ORMA_AVX2
  WindowPlan& plan_;
  bool windows_ = false;
#endif
};

} // namespace orma
