// Tables that fill a struct from the members of a JSON object: one row per
// key, naming the member of the struct it fills and the reader's rule for it.
// The engine's resource readers (FieldSpec, engine/core/config_fields.h) and
// the draft's readers (KeyField, draft/json_read.h) are both such tables.
// They differ only in their rules: a resource file is validated and a wrong
// field is named in an error, while a draft key of any JSON type is taken by
// a fixed view and never fails. So the row and the walk over a table live
// here, below both, and each side keeps its own rule and its own reading of
// one member.
//
//   struct Wipe { float softness; int32_t steps; };
//   const platform::FieldRow<Wipe, MyRule, float, int32_t> kWipe[] = {
//       {"softness", &Wipe::softness}, {"steps", &Wipe::steps, MyRule::kStrict}};
//   platform::VisitFields(object, kWipe, &wipe, [&](const auto& row, const cJSON* item, auto& member) {
//     return ReadOne(item, row.rule, member);   // item is null for an absent key
//   });
#pragma once

#include <cjson/cJSON.h>

#include <cstddef>
#include <variant>

namespace platform {

/// One row of a field table: the key, the member of T it fills (a member of
/// one of the types Members...), and the reader's rule for it (Rule{} when a
/// row names none).
template <class T, class Rule, class... Members> struct FieldRow {
  using Member = std::variant<Members T::*...>;
  const char* name;
  Member member;
  Rule rule{};
};

/// Walks the rows in order: for each, looks its key up in `object` (cJSON's
/// case-insensitive lookup; null for an absent key or a null object) and
/// calls visit(row, item, member), `member` being the member of *out the row
/// names, as a reference of its own type. Stops at the first row whose visit
/// returns false and returns false; true when every row was visited.
template <class Row, size_t N, class T, class Visit>
bool VisitFields(const cJSON* object, const Row (&rows)[N], T* out, Visit&& visit) {
  for (const Row& row : rows) {
    const cJSON* item = object ? cJSON_GetObjectItem(object, row.name) : nullptr;
    if (!std::visit([&](auto member) -> bool { return visit(row, item, out->*member); }, row.member))
      return false;
  }
  return true;
}

} // namespace platform
