// Lenient reading of the values an editor writes: an opacity rounded to
// 1.01, a speed or volume beyond its range, a span dragged to nothing or
// past its own start. Such a value is brought into range, or the element it
// belongs to is left out of the video, with one log line naming the call and
// the value, and the call succeeds; one odd value never costs the user the
// whole export. Values that are not numbers at all still fail their call.
// Used by the API entry points (api_*.cpp) wherever a setter has a range.
#pragma once

#include <cstdint>
#include <string>

#include "engine/model/model.h"

namespace orma {

/// `value` limited to [low, high]; when that changes it, logs
/// "<function>: <what> <value> is outside <low>..<high>; <limited> is used".
/// The caller has checked that the value is finite.
double Limited(const char* function, const char* what, double value, double low, double high);

/// `value` raised to `low` when below it, with the same log line.
double AtLeast(const char* function, const char* what, double value, double low);

/// A time that must not be negative: 0 for a negative one, with a log line.
int64_t NotNegative(const char* function, const char* what, int64_t us);

/// True when [fromUs, toUs) holds no time (empty or reversed, or starting
/// before 0 and ending at or before 0); logs that `element` is left out of
/// the video. A span starting before 0 and ending after it is not empty.
bool EmptySpan(const char* function, int64_t fromUs, int64_t toUs);

/// Logs "<function>: <error>; the item is drawn without it" and returns
/// ORMA_OK: a per-item resource (look-up table, animation, mask, effect) that
/// cannot be read is left out as a timeline-wide one is, not the export.
int32_t WithoutResource(const char* function, const std::string& error);

/// Marks the element as left out of the video: it keeps its handle, so that
/// later calls on it succeed, but the timeline never draws or plays it.
inline void LeaveOut(Element& element) { element.leftOut = true; }

/// Gives a new element its span [fromUs, toUs) and registers its handle: an
/// empty span leaves it out (EmptySpan), one starting before 0 starts at 0
/// (NotNegative), each with its log line.
void PlaceNew(const char* function, Element& element, int64_t fromUs, int64_t toUs);

} // namespace orma
