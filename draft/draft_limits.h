// The limits a draft file is read under, and the reading itself. A draft is
// written by an editor, but the program also meets drafts that were damaged,
// generated or hostile: a 2 GB file, arrays nested a million deep, a list of
// twenty million empty objects, each of which would become a record of up to
// 6 KB. Each of those would exhaust memory or the stack long before anything
// useful happened, so the loader refuses them up front with one log line that
// names the file, the place in the document, the value and the limit, and the
// run ends as for any draft that cannot be loaded ("json load fail", status 0).
//
// The numbers are far above what an editor writes (docs/decisions/robustness.md
// says how far, with the figures); loadDraft (draft/document.cpp) calls
// ParseDraftWithinLimits instead of parsing the file itself.
#pragma once

#include <cjson/cJSON.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace draftlimits {

/// Bytes of the draft file.
inline constexpr uintmax_t kMaxDraftBytes = 32u << 20;
/// Arrays and objects inside one another, the root counting as 1.
inline constexpr int kMaxNesting = 100;
/// Elements of any one array: the timeline lists ("scenes", "subtitleExs",
/// "pipList", ...) and the lists inside an element (key frames, words, ...).
inline constexpr int kMaxListElements = 10000;
/// Media items of one scene: each is decoded at the same time as the others.
inline constexpr int kMaxMediaPerScene = 100;
/// Elements of all arrays of the draft together.
inline constexpr int kMaxTotalElements = 500000;

/// The depth of the deepest array or object in JSON text (strings skipped),
/// stopping at the first place deeper than `limit`; *where gets the byte
/// offset of that place. Returns the depth reached (at most limit + 1).
int NestingDepth(std::string_view text, int limit, size_t* where);

/// Reads and parses the draft file at `utf8Path`; null, after one log
/// line saying why, when it cannot be read, is not JSON or passes a limit.
/// The caller owns the tree (cJSON_Delete).
cJSON* ParseDraftWithinLimits(const char* utf8Path);

} // namespace draftlimits
