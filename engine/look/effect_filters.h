// The filters a special effect chains (special_effect.h), one table row
// each: its name in an effect's config.json and the reader that takes its
// parameters (a FieldSpec table, every number may be key-framed) and makes
// the filter. A new filter is a parameter struct, its FieldSpec table and
// its Run function in effect_filters.cpp, and one row in kFilters there.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "engine/look/special_effect.h"

struct cJSON;

namespace orma {

/// Reads one filter object of an effect's "filters" array; null with
/// `error` set when a parameter is wrong (`where` names the object).
using FilterReader = std::unique_ptr<EffectFilter> (*)(const cJSON* object, const std::string& where,
                                                       std::string* error);

struct EffectFilterKind {
  const char* name;
  FilterReader read;
};

/// Every filter kind, in the order an effect's error message lists them.
std::span<const EffectFilterKind> EffectFilterKinds();

} // namespace orma
