// Small helpers shared by the template-theme steps: splitting texts, the
// one-decimal time cut, the path rules of theme requests, and the edits that
// rewrite a parsed draft. A rewritten member is deleted and added again, so
// it stands last in its object in the written draft, as the editor expects of
// a template it filled.
#pragma once

#include <cjson/cJSON.h>

#include <string>
#include <string_view>
#include <vector>

namespace themes {

/// Pieces of `text` between the separators, empty pieces kept ("a-" gives
/// "a" and ""); an empty text has no pieces at all.
std::vector<std::string> SplitText(std::string_view text, char separator);
/// The same with a separator of several characters ("." of "config_temp.json").
std::vector<std::string> SplitTextBy(std::string_view text, std::string_view separator);

/// x * 10 truncated toward zero, divided by 10 (2.37 gives 2.3, -0.05 gives
/// 0); NaN gives 0 and values beyond any draft's range are kept as they are.
double Tenths(double x);

/// A drive path ("D:\", "D:/"), a network path ("\\") or a POSIX one ("/").
bool IsAbsolute(std::string_view path);
/// Position of the last "\" or "/", or npos.
size_t LastSeparator(std::string_view path);
/// The text before the last separator ("" when there is none).
std::string FolderOf(std::string_view path);
/// folder + the system's separator + name: "%s\%s" on Windows, "/" on POSIX.
std::string Join(std::string_view folder, std::string_view name);

/// Case-insensitive member lookup (cJSON's own); null for a null object.
cJSON* Member(const cJSON* object, const char* key);
/// The number of a member (its double view), or `fallback` when the member is
/// absent or not a number.
double NumberOf(const cJSON* object, const char* key, double fallback = 0.0);
/// The string of a member, or null when absent or not a string.
const char* StringOf(const cJSON* object, const char* key);
/// Whether the member is present (of any type).
bool Has(const cJSON* object, const char* key);

/// Replaces a member by a new number or string added at the end of the
/// object; does nothing on a null object.
void SetNumber(cJSON* object, const char* key, double value);
void SetString(cJSON* object, const char* key, const std::string& value);

/// Prints the three-line error block of template themes: a dashed line, the
/// message, the dashed line again.
void PrintErrorBlock(const char* message);
/// The block of a media size that cannot be had ("getMediaSize ..."), which
/// has a shorter dashed line of its own (27 dashes instead of 37).
void PrintMediaSizeErrorBlock(const char* message);

} // namespace themes
