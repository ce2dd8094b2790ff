// Text and number helpers shared by the program and the engine, in one
// place: copying text into the fixed char fields of the draft's records and
// of the core library's blocks, and turning doubles into integers without
// undefined behaviour. The draft readers, the export and the library's entry
// points all fill fields through them, so a field is filled the same way on
// both sides of the C boundary.
//   char path[260]; platform::CopyText(path, text);   // cut to 259 bytes and terminated
//   platform::CopyTextZeroFilled(path, 260, text);    // the same, the rest zeroed
//   int32_t level = platform::ToInt32(value * 100);   // toward zero, saturated, NaN 0
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace platform {

/// Truncation toward zero to a signed integer type, saturating at its limits;
/// NaN gives 0. A huge or infinite double converted unchecked would be
/// undefined behaviour, and a damaged draft can hold one.
template <typename Int> constexpr Int TruncateSaturating(double value) {
  static_assert(std::numeric_limits<Int>::is_signed && std::numeric_limits<Int>::is_integer);
  if (std::isnan(value)) return 0;
  // Both limits are exact powers of two as doubles: -2^(N-1) and 2^(N-1).
  constexpr double low = static_cast<double>(std::numeric_limits<Int>::min());
  constexpr double high = -low;
  if (value <= low) return std::numeric_limits<Int>::min();
  if (value >= high) return std::numeric_limits<Int>::max();
  return static_cast<Int>(value);
}

inline int32_t ToInt32(double value) { return TruncateSaturating<int32_t>(value); }
inline int64_t ToInt64(double value) { return TruncateSaturating<int64_t>(value); }

/// Copies a zero-terminated text (null reads as empty) into a fixed field of
/// `size` bytes, cut to size - 1 bytes and always terminated. The bytes after
/// the terminator are left as they were: a block the library filled keeps
/// its other bytes when only its text is replaced, and records and blocks
/// that start zero-filled stay so. The text is copied literally, never used
/// as a format.
inline void CopyText(char* field, size_t size, const char* text) {
  if (!field || size == 0) return;
  const size_t length = text ? strnlen(text, size - 1) : 0;
  if (length) std::memcpy(field, text, length);
  field[length] = '\0';
}

template <size_t N> void CopyText(char (&field)[N], const char* text) { CopyText(field, N, text); }

/// CopyText, then zeroes the rest of the field, so that the field holds the
/// text and nothing else: how the draft's readers set a record's field
/// (a field read again as a shorter text keeps no byte of the longer one).
inline void CopyTextZeroFilled(char* field, size_t size, const char* text) {
  CopyText(field, size, text);
  if (!field || size == 0) return;
  const size_t length = std::strlen(field);
  std::memset(field + length, 0, size - length);
}

} // namespace platform
