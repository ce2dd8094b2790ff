// How every reader of the draft turns JSON items into record fields, in one
// place. A draft may carry any JSON type under any key, so every helper takes
// a possibly null item of any type and never trusts valuestring/valuedouble of
// an item whose type does not carry them.
//
// The three views the readers use:
//  - int view: cJSON's valueint (numbers truncated toward zero and saturated
//    by cJSON, true reads 1, everything else 0);
//  - real view: valuedouble narrowed to float (non-numbers read 0);
//  - double view truncated: valuedouble truncated toward zero with saturation
//    (a huge or infinite number must not be converted unchecked: that is
//    undefined behaviour in C++).
// A key that is absent leaves the field untouched, so the zero-filled record
// keeps its default.
#pragma once

#include <cjson/cJSON.h>

#include <cstddef>
#include <cstdint>

#include "draft/records.h"
#include "platform/text_number.h"

namespace draftjson {

// Whole numbers and texts go into records as everywhere in the program:
// truncated and saturated; a text is cut to its field and the rest of the
// field zeroed.
using platform::CopyTextZeroFilled;
using platform::ToInt32;
using platform::ToInt64;

/// Case-insensitive member lookup; null for a null object or a missing key.
const cJSON* Item(const cJSON* object, const char* key);

int32_t IntView(const cJSON* item);
double DoubleView(const cJSON* item);
float RealView(const cJSON* item);

/// Narrowing to float; out-of-range values become infinities (IEEE rule).
float ToFloat(double value);

/// Each Read* sets *out only when the key is present and returns whether it was.
bool ReadInt(const cJSON* object, const char* key, int32_t* out);
bool ReadIntAsFloat(const cJSON* object, const char* key, float* out);
bool ReadReal(const cJSON* object, const char* key, float* out);
bool ReadTruncated(const cJSON* object, const char* key, int32_t* out);
/// Double view truncated, then stored as that whole number in a float.
bool ReadTruncatedAsFloat(const cJSON* object, const char* key, float* out);
/// Int view non-zero.
bool ReadIntFlag(const cJSON* object, const char* key, bool* out);
/// Double view non-zero.
bool ReadDoubleFlag(const cJSON* object, const char* key, bool* out);

/// One key of a run read by one rule: the key, and the member of T it fills.
template <class T, class Field> struct KeyField {
  const char* key;
  Field T::*member;
};

/// Reads each key of `fields` present in `object` into its member of *out
/// by the real view (ReadReal): a run of keys read by one rule as a table.
template <class T, size_t N>
void ReadReals(const cJSON* object, const KeyField<T, float> (&fields)[N], T* out) {
  for (const KeyField<T, float>& field : fields)
    ReadReal(object, field.key, &(out->*field.member));
}

/// The twelve colour and light levels ("vignette" ... "fade") of a media
/// item, a key frame or a toning, by the real view.
void ReadColorLevels(const cJSON* object, ColorLevels* levels);

/// The item's string, or null when the item is missing or not a string.
const char* StringOf(const cJSON* item);

/// Copies the key's string when it is a string (of any length).
bool ReadText(const cJSON* object, const char* key, char* buffer, size_t size);
/// Copies the key's string only when it is a non-empty string.
bool ReadTextNonEmpty(const cJSON* object, const char* key, char* buffer, size_t size);

template <size_t N> bool ReadText(const cJSON* object, const char* key, char (&buffer)[N]) {
  return ReadText(object, key, buffer, N);
}
template <size_t N> bool ReadTextNonEmpty(const cJSON* object, const char* key, char (&buffer)[N]) {
  return ReadTextNonEmpty(object, key, buffer, N);
}

/// "red", "green", "blue", "alpha" of the key's object, each when present.
bool ReadColor(const cJSON* object, const char* key, ColorF* out);
/// "x", "y" of the key's object into a point.
bool ReadPoint(const cJSON* object, const char* key, PointF* out);
bool ReadPoint(const cJSON* object, const char* key, float (&out)[2]);
/// "width", "height" of the key's object.
bool ReadSize(const cJSON* object, const char* key, SizeF* out);
/// "cx", "cy" of the key's object.
bool ReadPair(const cJSON* object, const char* key, PairF* out);
/// "x", "y", "width", "height" of the key's object, stored as edges: right is
/// the left edge as stored plus "width" (summed in double precision), bottom
/// likewise, so a missing "x" makes right the width alone.
bool ReadRect(const cJSON* object, const char* key, RectF* out);

/// First element of an array item; null for anything that is not an array
/// (a value of another type counts as an array without elements).
const cJSON* FirstElement(const cJSON* item);
bool HasElements(const cJSON* item);
int32_t ElementCount(const cJSON* item);

/// Calls visit(element, position) for each element, position counting from 1.
template <typename Visit> void ForEachElement(const cJSON* array, Visit&& visit) {
  int32_t position = 0;
  for (const cJSON* element = FirstElement(array); element; element = element->next) {
    if (position < INT32_MAX) ++position;
    visit(element, position);
  }
}

/// Where an element kind that may also live in "pipList" is read from: its
/// own array when that has elements (every element taken), else "pipList"
/// (elements filtered by "pipType"), else nothing.
struct ElementSource {
  const cJSON* array = nullptr;
  bool filtered = false;
};
ElementSource ChooseSource(const cJSON* root, const char* ownKey);

/// What happens to a "pipList" element that carries no "pipType".
enum class Untyped { kSkip, kKeep };

/// Whether an element of the source is read for the kind with this "pipType".
bool Keeps(const ElementSource& source, const cJSON* element, int32_t pipType, Untyped untyped);

} // namespace draftjson
