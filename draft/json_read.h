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
#include "platform/field_table.h"
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

/// How a draft key is read into its member, beside the member type's own
/// view: a float by the real view, an int32_t or int64_t by the int view, a
/// bool by the int view non-zero, a text field by copying any string, and
/// ColorF ("red", "green", "blue", "alpha"), PointF and float[2] ("x", "y"),
/// SizeF ("width", "height"), PairF ("cx", "cy") and RectF (ReadRect) from
/// the keys of the key's object, each when present.
enum class View {
  kUsual,      ///< the member type's own view
  kIntView,    ///< a float member: the int view
  kTruncated,  ///< an int32_t member: the double view truncated; a float member: the same, stored as that
               ///< whole number
  kDoubleFlag, ///< a bool member: the double view non-zero; an int32_t member: 1 for that, else 0
  kNonEmpty,   ///< a text member: copied only when a non-empty string
};

/// One row of a draft record's table: the key, the member of T it fills and
/// its view (platform/field_table.h; the engine's resource tables use the
/// same rows with their own rule). A draft reader whose keys are read one by
/// one, each by its view, is one such table read by ReadFields.
template <class T>
using KeyField = platform::FieldRow<T, View, float, int32_t, int64_t, bool, char[1024], char[2048], ColorF,
                                    PointF, SizeF, PairF, RectF, float[2]>;

/// Reads one item into a member by the view; false when nothing was stored
/// (a text view given no string, or an empty one for kNonEmpty). `key` names
/// the item in the log line of a text cut to its field.
bool ReadItem(const cJSON* item, const char* key, View view, float* out);
bool ReadItem(const cJSON* item, const char* key, View view, int32_t* out);
bool ReadItem(const cJSON* item, const char* key, View view, int64_t* out);
bool ReadItem(const cJSON* item, const char* key, View view, bool* out);
bool ReadItem(const cJSON* item, const char* key, View view, ColorF* out);
bool ReadItem(const cJSON* item, const char* key, View view, PointF* out);
bool ReadItem(const cJSON* item, const char* key, View view, SizeF* out);
bool ReadItem(const cJSON* item, const char* key, View view, PairF* out);
bool ReadItem(const cJSON* item, const char* key, View view, RectF* out);
bool ReadItem(const cJSON* item, const char* key, View view, float (*out)[2]);
bool ReadTextItem(const cJSON* item, const char* key, View view, char* buffer, size_t size);
template <size_t N> bool ReadItem(const cJSON* item, const char* key, View view, char (*out)[N]) {
  return ReadTextItem(item, key, view, *out, N);
}

/// Reads each key of `fields` that `object` has into its member of *out, in
/// the table's order; an absent key leaves its member as it is.
template <class T, size_t N> void ReadFields(const cJSON* object, const KeyField<T> (&fields)[N], T* out) {
  platform::VisitFields(object, fields, out, [](const KeyField<T>& field, const cJSON* item, auto& member) {
    if (item) ReadItem(item, field.name, field.rule, &member);
    return true;
  });
}

/// One key read by a view: sets *out only when the key is present (and, for
/// a text, is a string) and returns whether it did.
template <class Out> bool ReadKey(const cJSON* object, const char* key, View view, Out* out) {
  const cJSON* item = Item(object, key);
  return item && ReadItem(item, key, view, out);
}

/// Each Read* sets *out only when the key is present and returns whether it was.
bool ReadInt(const cJSON* object, const char* key, int32_t* out);
bool ReadIntAsFloat(const cJSON* object, const char* key, float* out);
bool ReadReal(const cJSON* object, const char* key, float* out);

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
