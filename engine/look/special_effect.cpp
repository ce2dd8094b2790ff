#include "engine/look/special_effect.h"

#include "engine/core/config_fields.h"
#include "engine/look/effect_filters.h"

namespace orma {

namespace {

struct Top {
  std::string name;
};
const FieldSpec<Top> kTop[] = {{"name", &Top::name}};

struct Kind {
  std::string filter;
};

} // namespace

std::vector<std::string> SpecialEffect::FilterNames() {
  std::vector<std::string> names;
  for (const auto& f : EffectFilterKinds())
    names.push_back(f.name);
  return names;
}

std::unique_ptr<SpecialEffect> SpecialEffect::Load(const std::string& path, std::string* error) {
  std::unique_ptr<ConfigFile> file = LoadConfigFile(path, error);
  if (!file) return nullptr;
  return FromJson(file->root, path, error);
}

std::unique_ptr<SpecialEffect> SpecialEffect::Parse(const std::string& text, const std::string& where,
                                                    std::string* error) {
  std::unique_ptr<cJSON, void (*)(cJSON*)> root(cJSON_Parse(text.c_str()), cJSON_Delete);
  if (!root || !cJSON_IsObject(root.get())) {
    *error = where + ": expected a JSON object";
    return nullptr;
  }
  return FromJson(root.get(), where, error);
}

std::unique_ptr<SpecialEffect> SpecialEffect::FromJson(const cJSON* root, const std::string& where,
                                                       std::string* error) {
  Top top;
  if (!ReadFields(root, kTop, &top, where, error)) return nullptr;
  const cJSON* filters = cJSON_GetObjectItem(root, "filters");
  if (!cJSON_IsArray(filters) || cJSON_GetArraySize(filters) < 1) {
    *error = where + ": \"filters\" must be an array of at least one filter";
    return nullptr;
  }
  std::string names;
  for (const auto& f : EffectFilterKinds())
    names += (names.empty() ? "" : "|") + std::string(f.name);
  auto effect = std::unique_ptr<SpecialEffect>(new SpecialEffect());
  effect->name_ = top.name;
  for (int i = 0; i < cJSON_GetArraySize(filters); ++i) {
    const cJSON* o = cJSON_GetArrayItem(filters, i);
    std::string at = where + " filters[" + std::to_string(i) + "]";
    Kind kind;
    const FieldSpec<Kind> kKind[] = {{"filter", &Kind::filter, Choices(names.c_str()), true}};
    if (!ReadFields(o, kKind, &kind, at, error)) return nullptr;
    for (const auto& f : EffectFilterKinds())
      if (kind.filter == f.name) {
        std::unique_ptr<EffectFilter> filter = f.read(o, at, error);
        if (!filter) return nullptr;
        effect->filters_.push_back(std::move(filter));
      }
  }
  return effect;
}

void SpecialEffect::Apply(Yuv& img, const EffectClock& clock, int matrix) const {
  for (const auto& f : filters_)
    f->Apply(img, clock, matrix);
}

} // namespace orma
