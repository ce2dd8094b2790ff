// Number conversions of the export engine. The draft holds 32-bit floats on
// the editor's scales; the core library takes integers on its own scales and
// 64-bit microseconds. Every conversion truncates toward zero; values outside
// the target range saturate and NaN gives 0, so a damaged draft can never make
// a conversion undefined. The plain conversions are the program's own
// (platform/text_number.h); the scaled ones below are the export's.
#pragma once

#include <cstdint>

#include "platform/text_number.h"

namespace convert {

using platform::ToInt32;
using platform::ToInt64;
using platform::TruncateSaturating;

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
