// Text, time and JSON-edit helpers of the template themes (see theme_text.h).
#include "themes/theme_text.h"

#include <cmath>
#include <cstdio>

#include "platform/platform.h"

namespace themes {

std::vector<std::string> SplitText(std::string_view text, char separator) {
  return SplitTextBy(text, std::string_view(&separator, 1));
}

std::vector<std::string> SplitTextBy(std::string_view text, std::string_view separator) {
  std::vector<std::string> pieces;
  if (text.empty()) return pieces;
  if (separator.empty()) {
    pieces.emplace_back(text);
    return pieces;
  }
  size_t start = 0;
  for (;;) {
    size_t at = text.find(separator, start);
    if (at == std::string_view::npos) {
      pieces.emplace_back(text.substr(start));
      return pieces;
    }
    pieces.emplace_back(text.substr(start, at - start));
    start = at + separator.size();
  }
}

double Tenths(double x) {
  if (std::isnan(x)) return 0.0;
  if (!(std::fabs(x) < 1e15)) return x; // no fraction left to cut
  // A time that was a float on its way (2.3f is 2.29999995...) must still
  // cut to 2.3, not 2.2: a millionth of a second counts as the next tenth.
  double scaled = x * 10.0;
  double whole = std::trunc(scaled + (scaled >= 0 ? 1e-5 : -1e-5));
  return whole / 10.0 + 0.0; // + 0.0 turns -0 into 0
}

bool IsAbsolute(std::string_view path) {
  if (path.size() > 2 && path[1] == ':' && (path[2] == '\\' || path[2] == '/')) return true;
  if (path.size() > 1 && path[0] == '\\' && path[1] == '\\') return true;
  return !path.empty() && path[0] == '/';
}

size_t LastSeparator(std::string_view path) { return path.find_last_of("\\/"); }

std::string FolderOf(std::string_view path) {
  size_t cut = LastSeparator(path);
  return cut == std::string_view::npos ? std::string() : std::string(path.substr(0, cut));
}

std::string Join(std::string_view folder, std::string_view name) {
  std::string joined(folder);
  joined += platform::kSeparator;
  joined += name;
  return joined;
}

cJSON* Member(const cJSON* object, const char* key) {
  return object ? cJSON_GetObjectItem(object, key) : nullptr;
}

double NumberOf(const cJSON* object, const char* key, double fallback) {
  const cJSON* item = Member(object, key);
  return cJSON_IsNumber(item) ? item->valuedouble : fallback;
}

const char* StringOf(const cJSON* object, const char* key) {
  const cJSON* item = Member(object, key);
  return cJSON_IsString(item) ? item->valuestring : nullptr;
}

bool Has(const cJSON* object, const char* key) { return Member(object, key) != nullptr; }

void SetNumber(cJSON* object, const char* key, double value) {
  if (!object) return;
  cJSON_DeleteItemFromObject(object, key);
  cJSON_AddNumberToObject(object, key, value);
}

void SetString(cJSON* object, const char* key, const std::string& value) {
  if (!object) return;
  cJSON_DeleteItemFromObject(object, key);
  cJSON_AddStringToObject(object, key, value.c_str());
}

void PrintErrorBlock(const char* message) {
  std::printf("-------------------------------------\n%s-------------------------------------\n", message);
}

void PrintMediaSizeErrorBlock(const char* message) {
  std::printf("---------------------------\n%s---------------------------\n", message);
}

} // namespace themes
