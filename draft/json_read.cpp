#include "draft/json_read.h"

#include <cmath>
#include <cstring>
#include <limits>

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

bool ReadInt(const cJSON* object, const char* key, int32_t* out) {
  const cJSON* item = Item(object, key);
  if (!item) return false;
  *out = IntView(item);
  return true;
}

bool ReadIntAsFloat(const cJSON* object, const char* key, float* out) {
  const cJSON* item = Item(object, key);
  if (!item) return false;
  *out = static_cast<float>(IntView(item));
  return true;
}

bool ReadReal(const cJSON* object, const char* key, float* out) {
  const cJSON* item = Item(object, key);
  if (!item) return false;
  *out = RealView(item);
  return true;
}

bool ReadTruncated(const cJSON* object, const char* key, int32_t* out) {
  const cJSON* item = Item(object, key);
  if (!item) return false;
  *out = ToInt32(DoubleView(item));
  return true;
}

bool ReadTruncatedAsFloat(const cJSON* object, const char* key, float* out) {
  const cJSON* item = Item(object, key);
  if (!item) return false;
  *out = static_cast<float>(ToInt32(DoubleView(item)));
  return true;
}

bool ReadIntFlag(const cJSON* object, const char* key, bool* out) {
  const cJSON* item = Item(object, key);
  if (!item) return false;
  *out = IntView(item) != 0;
  return true;
}

bool ReadDoubleFlag(const cJSON* object, const char* key, bool* out) {
  const cJSON* item = Item(object, key);
  if (!item) return false;
  *out = DoubleView(item) != 0.0;
  return true;
}

const char* StringOf(const cJSON* item) {
  if (!item || !cJSON_IsString(item)) return nullptr;
  return item->valuestring;
}

bool ReadText(const cJSON* object, const char* key, char* buffer, size_t size) {
  const char* text = StringOf(Item(object, key));
  if (!text) return false;
  CopyTextZeroFilled(buffer, size, text);
  if (size == 0 || text[strnlen(text, size - 1)] == '\0') return true;
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

bool ReadTextNonEmpty(const cJSON* object, const char* key, char* buffer, size_t size) {
  const char* text = StringOf(Item(object, key));
  if (!text || !*text) return false;
  CopyTextZeroFilled(buffer, size, text);
  return true;
}

bool ReadColor(const cJSON* object, const char* key, ColorF* out) {
  const cJSON* color = Item(object, key);
  if (!color) return false;
  ReadReal(color, "red", &out->red);
  ReadReal(color, "green", &out->green);
  ReadReal(color, "blue", &out->blue);
  ReadReal(color, "alpha", &out->alpha);
  return true;
}

bool ReadPoint(const cJSON* object, const char* key, PointF* out) {
  const cJSON* point = Item(object, key);
  if (!point) return false;
  ReadReal(point, "x", &out->x);
  ReadReal(point, "y", &out->y);
  return true;
}

bool ReadPoint(const cJSON* object, const char* key, float (&out)[2]) {
  const cJSON* point = Item(object, key);
  if (!point) return false;
  ReadReal(point, "x", &out[0]);
  ReadReal(point, "y", &out[1]);
  return true;
}

bool ReadSize(const cJSON* object, const char* key, SizeF* out) {
  const cJSON* size = Item(object, key);
  if (!size) return false;
  ReadReal(size, "width", &out->width);
  ReadReal(size, "height", &out->height);
  return true;
}

bool ReadPair(const cJSON* object, const char* key, PairF* out) {
  const cJSON* pair = Item(object, key);
  if (!pair) return false;
  ReadReal(pair, "cx", &out->cx);
  ReadReal(pair, "cy", &out->cy);
  return true;
}

bool ReadRect(const cJSON* object, const char* key, RectF* out) {
  const cJSON* rect = Item(object, key);
  if (!rect) return false;
  ReadReal(rect, "x", &out->left);
  ReadReal(rect, "y", &out->top);
  if (const cJSON* width = Item(rect, "width"))
    out->right = ToFloat(static_cast<double>(out->left) + DoubleView(width));
  if (const cJSON* height = Item(rect, "height"))
    out->bottom = ToFloat(static_cast<double>(out->top) + DoubleView(height));
  return true;
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
  static const KeyField<ColorLevels, float> kLevels[] = {
      {"vignette", &ColorLevels::vignette},
      {"sharpness", &ColorLevels::sharpness},
      {"saturation", &ColorLevels::saturation},
      {"contrast", &ColorLevels::contrast},
      {"brightness", &ColorLevels::brightness},
      {"whiteBalance", &ColorLevels::whiteBalance},
      {"tint", &ColorLevels::tint},
      {"highlight", &ColorLevels::highlight},
      {"shadows", &ColorLevels::shadows},
      {"graininess", &ColorLevels::graininess},
      {"lightSensation", &ColorLevels::lightSensation},
      {"fade", &ColorLevels::fade},
  };
  ReadReals(object, kLevels, levels);
}

bool Keeps(const ElementSource& source, const cJSON* element, int32_t pipType, Untyped untyped) {
  if (!source.filtered) return true;
  const cJSON* type = Item(element, "pipType");
  if (!type) return untyped == Untyped::kKeep;
  return IntView(type) == pipType;
}

} // namespace draftjson
