#include "draft/json_read.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "draft/record_keys.h"
#include "platform/log_line.h"

namespace draftjson {

// Narrowing a double to float is well defined only because float is IEEE 754
// here: out-of-range values round to an infinity instead of being undefined.
static_assert(std::numeric_limits<float>::is_iec559, "float narrowing relies on IEEE 754");

const cJSON* Item(const cJSON* object, const char* key) {
  if (!object || !key) return nullptr;
  return cJSON_GetObjectItem(object, key);
}

int32_t IntView(const cJSON* item) {
  if (!item) return 0;
  if (cJSON_IsTrue(item)) return 1;
  // valueint of a parsed number is already truncated and saturated by cJSON.
  if (cJSON_IsNumber(item)) return item->valueint;
  return 0;
}

double DoubleView(const cJSON* item) {
  if (!item || !cJSON_IsNumber(item)) return 0.0;
  return item->valuedouble;
}

float RealView(const cJSON* item) { return ToFloat(DoubleView(item)); }

float ToFloat(double value) { return static_cast<float>(value); }

bool ReadItem(const cJSON* item, const char*, View view, float* out) {
  if (view == View::kIntView)
    *out = static_cast<float>(IntView(item));
  else if (view == View::kTruncated)
    *out = static_cast<float>(ToInt32(DoubleView(item)));
  else
    *out = RealView(item);
  return true;
}

bool ReadItem(const cJSON* item, const char*, View view, int32_t* out) {
  if (view == View::kTruncated)
    *out = ToInt32(DoubleView(item));
  else if (view == View::kDoubleFlag)
    *out = DoubleView(item) != 0.0 ? 1 : 0;
  else
    *out = IntView(item);
  return true;
}

bool ReadItem(const cJSON* item, const char*, View, int64_t* out) {
  *out = IntView(item);
  return true;
}

bool ReadItem(const cJSON* item, const char*, View view, bool* out) {
  *out = view == View::kDoubleFlag ? DoubleView(item) != 0.0 : IntView(item) != 0;
  return true;
}

bool ReadTextItem(const cJSON* item, const char* key, View view, char* buffer, size_t size) {
  const char* text = StringOf(item);
  if (!text || (view == View::kNonEmpty && !*text)) return false;
  CopyTextZeroFilled(buffer, size, text);
  if (view == View::kNonEmpty || size == 0 || text[strnlen(text, size - 1)] == '\0') return true;
  // Too long for its field (a caption piece holds 1023 bytes): cut before a
  // character that would not fit whole, so the text stays UTF-8, and said.
  size_t kept = size - 1;
  size_t back = 0;
  while (back < 3 && kept > back && (static_cast<unsigned char>(text[kept - back]) & 0xC0) == 0x80)
    ++back;
  if ((static_cast<unsigned char>(text[kept - back]) & 0xC0) == 0xC0)
    std::memset(buffer + kept - back, 0, back);
  LogLine("draft text \"%s\" of %zu bytes cut to %zu, the most the field holds\n", key, std::strlen(text),
          std::strlen(buffer));
  return true;
}

// The small objects of the draft are records of their own, each read by its
// table (record_keys.h) from the key's object.
template <class T, size_t N> bool ReadObject(const cJSON* item, const KeyField<T> (&keys)[N], T* out) {
  ReadFields(item, keys, out);
  return true;
}

bool ReadItem(const cJSON* item, const char*, View, ColorF* out) { return ReadObject(item, kColorKeys, out); }
bool ReadItem(const cJSON* item, const char*, View, PointF* out) { return ReadObject(item, kPointKeys, out); }
bool ReadItem(const cJSON* item, const char*, View, SizeF* out) { return ReadObject(item, kSizeKeys, out); }
bool ReadItem(const cJSON* item, const char*, View, PairF* out) { return ReadObject(item, kPairKeys, out); }

bool ReadItem(const cJSON* item, const char*, View, float (*out)[2]) {
  PointF point{(*out)[0], (*out)[1]};
  ReadFields(item, kPointKeys, &point);
  (*out)[0] = point.x;
  (*out)[1] = point.y;
  return true;
}

bool ReadItem(const cJSON* rect, const char*, View, RectF* out) {
  ReadReal(rect, "x", &out->left);
  ReadReal(rect, "y", &out->top);
  if (const cJSON* width = Item(rect, "width"))
    out->right = ToFloat(static_cast<double>(out->left) + DoubleView(width));
  if (const cJSON* height = Item(rect, "height"))
    out->bottom = ToFloat(static_cast<double>(out->top) + DoubleView(height));
  return true;
}

bool ReadInt(const cJSON* object, const char* key, int32_t* out) {
  return ReadKey(object, key, View::kUsual, out);
}

bool ReadIntAsFloat(const cJSON* object, const char* key, float* out) {
  return ReadKey(object, key, View::kIntView, out);
}

bool ReadReal(const cJSON* object, const char* key, float* out) {
  return ReadKey(object, key, View::kUsual, out);
}

const char* StringOf(const cJSON* item) {
  if (!item || !cJSON_IsString(item)) return nullptr;
  return item->valuestring;
}

bool ReadText(const cJSON* object, const char* key, char* buffer, size_t size) {
  return ReadTextItem(Item(object, key), key, View::kUsual, buffer, size);
}

bool ReadTextNonEmpty(const cJSON* object, const char* key, char* buffer, size_t size) {
  return ReadTextItem(Item(object, key), key, View::kNonEmpty, buffer, size);
}

bool ReadRect(const cJSON* object, const char* key, RectF* out) {
  return ReadKey(object, key, View::kUsual, out);
}

const cJSON* FirstElement(const cJSON* item) {
  if (!item || !cJSON_IsArray(item)) return nullptr;
  return item->child;
}

bool HasElements(const cJSON* item) { return FirstElement(item) != nullptr; }

int32_t ElementCount(const cJSON* item) {
  int32_t count = 0;
  for (const cJSON* element = FirstElement(item); element; element = element->next)
    if (count < INT32_MAX) ++count;
  return count;
}

ElementSource ChooseSource(const cJSON* root, const char* ownKey) {
  ElementSource source;
  const cJSON* own = Item(root, ownKey);
  if (HasElements(own)) {
    source.array = own;
    return source;
  }
  if (const cJSON* pipList = Item(root, "pipList")) {
    source.array = pipList;
    source.filtered = true;
  }
  return source;
}

void ReadColorLevels(const cJSON* object, ColorLevels* levels) {
  ReadFields(object, kColorLevelKeys, levels);
}

bool Keeps(const ElementSource& source, const cJSON* element, int32_t pipType, Untyped untyped) {
  if (!source.filtered) return true;
  const cJSON* type = Item(element, "pipType");
  if (!type) return untyped == Untyped::kKeep;
  return IntView(type) == pipType;
}

} // namespace draftjson
