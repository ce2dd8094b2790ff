// The one place where the program meets the operating system: code pages,
// paths, clocks, priority and file-system access. Windows keeps its own
// notions (ANSI code page, "\" paths, drive letters); on POSIX the locale's
// codeset stands for the ANSI code page, "/" joins paths, and drive-letter
// paths of drafts written on Windows are mapped to folders through
// ORMADRAFT_DRIVE_MAP ("D:=/srv/media;E:=/mnt/e").
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

#if defined(_WIN32)
inline constexpr char kSeparator = '\\';
#else
inline constexpr char kSeparator = '/';
#endif

/// Takes LC_CTYPE from the environment and keeps every other category "C",
/// so numbers are always read and printed with ".".
void InitLocale();

/// Name of the "ANSI" codeset: the locale's (POSIX) or the code page (Windows).
std::string AnsiCodeset();

/// Converts text between two codesets; false when a byte sequence does not
/// convert (out then holds nothing useful).
bool ConvertCodeset(const char* from, const char* to, std::string_view in, std::string* out);

/// Text that the program stores in the GBK code page on Windows, given here in
/// UTF-8, as bytes of the current codeset (raw UTF-8 when it cannot convert).
std::string LocaleText(std::string_view utf8);

#if defined(_WIN32)
/// The UTF-16 form of a path for the *W calls. The program's paths are UTF-8;
/// text that is not UTF-8 is taken as the ANSI code page (a path passed on
/// from the command line unconverted). "" for an empty or null path.
std::wstring WidePath(const char* path);
/// UTF-8 of a UTF-16 text (names that Windows returns).
std::string Utf8FromWide(std::wstring_view wide);
#endif

uint64_t TickCount64(); ///< milliseconds of a monotonic clock
uint32_t TimeGetTime(); ///< the same clock, 32 bits, wrapping
void SleepMs(unsigned milliseconds);
void RaisePriority();      ///< failures are ignored
std::string ProgramPath(); ///< absolute path of the running executable, in UTF-8

inline bool IsSeparator(char c) { return c == '/' || c == '\\'; }

/// A drive path ("C:\" or "C:/"), a network path ("\\"), or a POSIX path ("/").
bool IsAbsolutePath(const char* path);

/// The path as the operating system takes it: backslashes become "/", a
/// drive-letter path is mapped through ORMADRAFT_DRIVE_MAP, and the UTF-8
/// text is converted to the locale's codeset. An unmapped drive
/// fills *error with a message naming the path and returns "".
std::string NativePath(const char* path, std::string* error = nullptr);

/// fopen through NativePath; reports an unmapped drive by name on stdout.
FILE* OpenFile(const char* path, const char* mode);

bool Exists(const char* path);
bool IsDirectory(const char* path);
bool IsRegularFile(const char* path);
bool RemoveFile(const char* path);
/// Creates one folder level; true when it was created.
bool MakeDirectory(const char* path);
/// Whether this process may create files in the folder.
bool CanWriteIn(const char* folder);

/// Names in a folder, sorted by byte value (NTFS lists alphabetically), with
/// "." and ".." left out.
std::vector<std::string> ListDirectory(const char* folder);

/// Reads a whole file; false when it cannot be opened or read.
bool ReadWholeFile(const char* path, std::string* contents);

} // namespace platform
