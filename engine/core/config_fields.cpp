#include "engine/core/config_fields.h"

#include <cctype>
#include <cstdio>
#include <cstring>

#include "engine/core/easing.h"
#include "platform/platform.h"

namespace orma {

std::unique_ptr<ConfigFile> LoadConfigFile(const std::string& path, std::string* error) {
  std::string text;
  if (!platform::IsRegularFile(path.c_str()) || !platform::ReadWholeFile(path.c_str(), &text)) {
    *error = path + ": cannot be read";
    return nullptr;
  }
  auto file = std::make_unique<ConfigFile>();
  file->path = path;
  const char* end = nullptr;
  file->root = cJSON_ParseWithOpts(text.c_str(), &end, 0);
  if (!file->root) {
    size_t offset = end ? static_cast<size_t>(end - text.c_str()) : 0;
    *error = path + ": not valid JSON (near byte " + std::to_string(offset) + ")";
    return nullptr;
  }
  if (!cJSON_IsObject(file->root)) {
    *error = path + ": expected a JSON object";
    return nullptr;
  }
  return file;
}

namespace detail {

std::string Quote(const std::string& where, const char* name) { return where + ": \"" + name + "\""; }

static std::string Number(double v) {
  char buffer[32];
  std::snprintf(buffer, sizeof(buffer), "%g", v);
  return buffer;
}

bool ReadNumber(const cJSON* item, const std::string& where, const char* name, Range range, double* out,
                std::string* error) {
  if (!cJSON_IsNumber(item) || !std::isfinite(item->valuedouble)) {
    *error = Quote(where, name) + " must be a number";
    return false;
  }
  if (item->valuedouble < range.min || item->valuedouble > range.max) {
    *error = Quote(where, name) + " must be from " + Number(range.min) + " to " + Number(range.max) +
             ", not " + Number(item->valuedouble);
    return false;
  }
  *out = item->valuedouble;
  return true;
}

static bool SameIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  return true;
}

bool ReadChoice(const cJSON* item, const std::string& where, const char* name, Choices choices,
                std::string* out, std::string* error) {
  if (!cJSON_IsString(item) || !item->valuestring) {
    *error = Quote(where, name) + " must be a text";
    return false;
  }
  std::string value = item->valuestring;
  if (!choices.list) {
    *out = value;
    return true;
  }
  std::string_view list(choices.list);
  while (!list.empty()) {
    size_t bar = list.find('|');
    std::string_view choice = list.substr(0, bar);
    if (SameIgnoringCase(choice, value)) {
      *out = std::string(choice);
      return true;
    }
    list = bar == std::string_view::npos ? std::string_view() : list.substr(bar + 1);
  }
  std::string allowed(choices.list);
  for (char& c : allowed)
    if (c == '|') c = ',';
  *error = Quote(where, name) + " must be one of " + allowed + ", not \"" + value + "\"";
  return false;
}

static int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

bool ReadColor(const cJSON* item, const std::string& where, const char* name, Rgba* out, std::string* error) {
  if (cJSON_IsString(item) && item->valuestring && item->valuestring[0] == '#') {
    const char* hex = item->valuestring + 1;
    size_t n = std::strlen(hex);
    if (n == 6 || n == 8) {
      Rgba c{0, 0, 0, 1};
      bool ok = true;
      for (size_t i = 0; i < n / 2 && ok; ++i) {
        int hi = HexDigit(hex[2 * i]), lo = HexDigit(hex[2 * i + 1]);
        ok = hi >= 0 && lo >= 0;
        c[i] = static_cast<float>(hi * 16 + lo) / 255.0f;
      }
      if (ok) {
        *out = c;
        return true;
      }
    }
  } else if (cJSON_IsArray(item)) {
    int size = cJSON_GetArraySize(item);
    if (size == 3 || size == 4) {
      Rgba c{0, 0, 0, 1};
      bool ok = true;
      for (int i = 0; i < size && ok; ++i) {
        const cJSON* v = cJSON_GetArrayItem(item, i);
        ok = cJSON_IsNumber(v) && v->valuedouble >= 0 && v->valuedouble <= 1;
        if (ok) c[static_cast<size_t>(i)] = static_cast<float>(v->valuedouble);
      }
      if (ok) {
        *out = c;
        return true;
      }
    }
  }
  *error =
      Quote(where, name) + " must be a colour: [r, g, b] or [r, g, b, a] from 0 to 1, or \"#rrggbb[aa]\"";
  return false;
}

bool ReadNumbers(const cJSON* item, const std::string& where, const char* name, Range range,
                 std::vector<float>* out, std::string* error) {
  if (!cJSON_IsArray(item)) {
    *error = Quote(where, name) + " must be an array of numbers";
    return false;
  }
  std::vector<float> values;
  int index = 0;
  for (const cJSON* v = item->child; v; v = v->next, ++index) {
    double value = 0;
    std::string element = std::string(name) + "[" + std::to_string(index) + "]";
    if (!ReadNumber(v, where, element.c_str(), range, &value, error)) return false;
    values.push_back(static_cast<float>(value));
  }
  *out = std::move(values);
  return true;
}

bool ReadKeyedNumber(const cJSON* item, const std::string& where, const char* name, Range range,
                     KeyedNumber* out, std::string* error) {
  if (cJSON_IsNumber(item)) {
    double value = 0;
    if (!ReadNumber(item, where, name, range, &value, error)) return false;
    *out = KeyedNumber(static_cast<float>(value));
    return true;
  }
  if (!cJSON_IsArray(item) || cJSON_GetArraySize(item) < 1) {
    *error = Quote(where, name) + " must be a number or an array of keys {\"at\", \"value\", \"easing\"}";
    return false;
  }
  KeyedNumber result;
  int index = 0;
  for (const cJSON* k = item->child; k; k = k->next, ++index) {
    std::string element = std::string(name) + "[" + std::to_string(index) + "]";
    if (!cJSON_IsObject(k)) {
      *error = Quote(where, element.c_str()) + " must be an object";
      return false;
    }
    KeyedNumber::Key key;
    const cJSON* at = cJSON_GetObjectItem(k, "at");
    const cJSON* value = cJSON_GetObjectItem(k, "value");
    const cJSON* easing = cJSON_GetObjectItem(k, "easing");
    double number = 0;
    std::string atName = element + ".at", valueName = element + ".value", easingName = element + ".easing";
    if (!at || !value) {
      *error = Quote(where, element.c_str()) + " needs \"at\" and \"value\"";
      return false;
    }
    if (!ReadNumber(at, where, atName.c_str(), Range(0, 1), &number, error)) return false;
    key.at = static_cast<float>(number);
    if (!result.keys.empty() && key.at < result.keys.back().at) {
      *error = Quote(where, atName.c_str()) + " must not be below the previous key's";
      return false;
    }
    if (!ReadNumber(value, where, valueName.c_str(), range, &number, error)) return false;
    key.value = static_cast<float>(number);
    if (easing && !ReadChoice(easing, where, easingName.c_str(), Choices(kEasingNames), &key.easing, error))
      return false;
    result.keys.push_back(key);
  }
  result.value = result.keys.front().value;
  *out = std::move(result);
  return true;
}

bool ReadTexts(const cJSON* item, const std::string& where, const char* name, std::vector<std::string>* out,
               std::string* error) {
  if (!cJSON_IsArray(item)) {
    *error = Quote(where, name) + " must be an array of texts";
    return false;
  }
  std::vector<std::string> values;
  int index = 0;
  for (const cJSON* v = item->child; v; v = v->next, ++index) {
    if (!cJSON_IsString(v) || !v->valuestring) {
      *error = Quote(where, name) + "[" + std::to_string(index) + "] must be a text";
      return false;
    }
    values.emplace_back(v->valuestring);
  }
  *out = std::move(values);
  return true;
}

} // namespace detail
} // namespace orma
