// The engine's registries (transitions, element builders, timeline effects,
// backgrounds, blend modes, caption kinds, special-effect filters, LUT
// formats, easings) are constant tables of entries, one line each, next to
// the code they choose; FindIn is the one look-up they share.
//
//   const TransitionKind* kind = FindIn(kTransitions, &TransitionKind::name, name);
#pragma once

#include <cstddef>
#include <string_view>
#include <type_traits>

namespace orma {

/// The first entry of `table` whose `key` member equals `value`, or null.
/// Texts are compared as texts (a `const char*` key is never compared as a
/// pointer).
template <class Entry, size_t N, class Key, class Value>
const Entry* FindIn(const Entry (&table)[N], Key Entry::*key, const Value& value) {
  for (const Entry& entry : table) {
    if constexpr (std::is_convertible_v<Key, std::string_view> &&
                  std::is_convertible_v<Value, std::string_view>) {
      if (std::string_view(entry.*key) == std::string_view(value)) return &entry;
    } else {
      if (entry.*key == value) return &entry;
    }
  }
  return nullptr;
}

} // namespace orma
