// Number conversions of the export engine. The draft holds 32-bit floats on
// the editor's scales; the core library takes integers on its own scales and
// 64-bit microseconds. Every conversion truncates toward zero; values outside
// the target range saturate and NaN gives 0, so a damaged draft can never make
// a conversion undefined.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace convert {

/// Truncation toward zero to a signed integer type, saturating at its limits.
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

/// A float multiplied in float precision and truncated: the "x 100" and
/// "x 255" levels. The product is rounded to float first (it is stored in a
/// float), which is what the library's levels were settled against.
inline int32_t ScaledLevel(float value, float factor) {
  const float product = value * factor;
  return ToInt32(product);
}

/// Seconds held as a 32-bit float to microseconds; the product is formed in
/// float as well, so 4.1 s gives 4,100,000 and not 4,099,999.
inline int64_t SecondsToUs(float seconds) {
  const float product = seconds * 1000000.0f;
  return ToInt64(product);
}

} // namespace convert
