// Resource formats (config.json of transitions, animations, masks, effects,
// caption styles, stickers) are declared as data: a table of fields with
// name, kind, range and the member each fills. ReadFields validates an object
// against its table in one place, with messages that name the file and the
// field; defaults are the members' own initial values.
//
//   struct Wipe { std::string direction = "left"; float softness = 0; };
//   const FieldSpec<Wipe> kWipe[] = {
//       {"direction", &Wipe::direction, Choices("left|right|up|down")},
//       {"softness", &Wipe::softness, Range(0, 1)},
//   };
//   ReadFields(object, kWipe, &wipe, "fx/config.json", &error);
#pragma once

#include <cjson/cJSON.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "platform/field_table.h"

namespace orma {

/// Inclusive numeric range of a field.
struct Range {
  double min = -1e300;
  double max = 1e300;
  constexpr Range() = default;
  constexpr Range(double lo, double hi) : min(lo), max(hi) {}
};

/// Allowed values of a text field, separated by "|"; compared ignoring case.
struct Choices {
  const char* list = nullptr;
  constexpr Choices() = default;
  constexpr explicit Choices(const char* l) : list(l) {}
};

using Rgba = std::array<float, 4>; ///< red, green, blue, alpha 0..1

/// A number that may change over time: written as a plain number, or as an
/// array of keys {"at": 0..1, "value": v, "easing": name} in order of "at"
/// (easing names of engine/core/easing.h, "linear" when absent). The field's
/// range applies to every value.
struct KeyedNumber {
  struct Key {
    float at = 0;
    float value = 0;
    std::string easing = "linear";
  };
  float value = 0;       ///< the plain number, or the first key's value
  std::vector<Key> keys; ///< empty for a plain number
  KeyedNumber() = default;
  KeyedNumber(float v) : value(v) {}
};

/// What a resource reader demands of one field: its range (numbers), its
/// allowed values (texts) and whether it must be present.
struct FieldLimit {
  Range range{};
  Choices choices{};
  bool required = false;
};

/// A field that is required must be present; the others keep the member's
/// value when absent. A colour is [r, g, b] or [r, g, b, a] (0..1), or a text
/// "#rrggbb" / "#rrggbbaa". A list of texts is an array of strings. The row
/// itself is the platform's field-table row (platform/field_table.h), which
/// the draft's readers use with their own rule.
template <class T>
struct FieldSpec : platform::FieldRow<T, FieldLimit, float, double, int, int64_t, bool, std::string, Rgba,
                                      std::vector<float>, KeyedNumber, std::vector<std::string>> {
  using Row = platform::FieldRow<T, FieldLimit, float, double, int, int64_t, bool, std::string, Rgba,
                                 std::vector<float>, KeyedNumber, std::vector<std::string>>;
  FieldSpec(const char* n, typename Row::Member m, Range r = Range(), bool req = false)
      : Row{n, m, FieldLimit{r, Choices(), req}} {}
  FieldSpec(const char* n, typename Row::Member m, Choices c, bool req = false)
      : Row{n, m, FieldLimit{Range(), c, req}} {}
};

/// Tells apart a missing resource file, one that is not JSON and one whose
/// root is not an object, naming the file.
struct ConfigFile {
  std::string path; ///< as the file system takes it
  cJSON* root = nullptr;
  ~ConfigFile() { cJSON_Delete(root); }
};
std::unique_ptr<ConfigFile> LoadConfigFile(const std::string& path, std::string* error);

namespace detail {
bool ReadNumber(const cJSON* item, const std::string& where, const char* name, Range range, double* out,
                std::string* error);
bool ReadChoice(const cJSON* item, const std::string& where, const char* name, Choices choices,
                std::string* out, std::string* error);
bool ReadColor(const cJSON* item, const std::string& where, const char* name, Rgba* out, std::string* error);
bool ReadNumbers(const cJSON* item, const std::string& where, const char* name, Range range,
                 std::vector<float>* out, std::string* error);
bool ReadKeyedNumber(const cJSON* item, const std::string& where, const char* name, Range range,
                     KeyedNumber* out, std::string* error);
bool ReadTexts(const cJSON* item, const std::string& where, const char* name, std::vector<std::string>* out,
               std::string* error);
std::string Quote(const std::string& where, const char* name);
} // namespace detail

/// Fills `out` from `object` through the table; false with a message naming
/// the first field that is missing, of the wrong kind or out of range.
template <class T, size_t N>
bool ReadFields(const cJSON* object, const FieldSpec<T> (&specs)[N], T* out, const std::string& where,
                std::string* error) {
  if (!cJSON_IsObject(object)) {
    *error = where + ": expected an object";
    return false;
  }
  return platform::VisitFields(
      object, specs, out, [&](const FieldSpec<T>& f, const cJSON* item, auto& target) {
        using V = std::remove_reference_t<decltype(target)>;
        const FieldLimit& limit = f.rule;
        if (!item) {
          if (!limit.required) return true;
          *error = detail::Quote(where, f.name) + " is required";
          return false;
        }
        if constexpr (std::is_same_v<V, bool>) {
          if (!cJSON_IsBool(item) && !cJSON_IsNumber(item)) {
            *error = detail::Quote(where, f.name) + " must be true or false";
            return false;
          }
          target = cJSON_IsTrue(item) || (cJSON_IsNumber(item) && item->valuedouble != 0);
          return true;
        } else if constexpr (std::is_same_v<V, std::string>) {
          return detail::ReadChoice(item, where, f.name, limit.choices, &target, error);
        } else if constexpr (std::is_same_v<V, Rgba>) {
          return detail::ReadColor(item, where, f.name, &target, error);
        } else if constexpr (std::is_same_v<V, std::vector<float>>) {
          return detail::ReadNumbers(item, where, f.name, limit.range, &target, error);
        } else if constexpr (std::is_same_v<V, KeyedNumber>) {
          return detail::ReadKeyedNumber(item, where, f.name, limit.range, &target, error);
        } else if constexpr (std::is_same_v<V, std::vector<std::string>>) {
          return detail::ReadTexts(item, where, f.name, &target, error);
        } else {
          double value = 0;
          if (!detail::ReadNumber(item, where, f.name, limit.range, &value, error)) return false;
          if constexpr (std::is_integral_v<V>) {
            if (value != std::floor(value)) {
              *error = detail::Quote(where, f.name) + " must be a whole number";
              return false;
            }
          }
          target = static_cast<V>(value);
          return true;
        }
      });
}

} // namespace orma
