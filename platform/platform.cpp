// The platform module's one source: code pages, clocks, priority, the
// program's own path and the file-system calls, each with its Windows form
// and its POSIX counterpart side by side (docs/porting.md lists them).
#include "platform/platform.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#if defined(_WIN32)
#include <direct.h>
#include <io.h>
#include <windows.h>
#else
#include <dirent.h>
#include <iconv.h>
#include <langinfo.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>
#endif

#include "platform/log_line.h"

namespace platform {

void InitLocale() {
  std::setlocale(LC_ALL, "C");
  std::setlocale(LC_CTYPE, "");
}

#if defined(_WIN32)

// Paths inside the program are UTF-8 (the driver converts the command line
// from the ANSI code page); Windows is handed their UTF-16 form, so a name
// the ANSI code page cannot spell still opens. Text that is not UTF-8 is
// taken as ANSI, as the command line gives it: a path passed on unconverted
// still names the same file.
std::wstring WidePath(const char* path) {
  if (!path || !*path) return std::wstring();
  const int length = static_cast<int>(std::strlen(path));
  UINT codePage = CP_UTF8;
  int n = MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, path, length, nullptr, 0);
  if (n <= 0) {
    codePage = CP_ACP;
    n = MultiByteToWideChar(codePage, 0, path, length, nullptr, 0);
  }
  if (n <= 0) return std::wstring();
  std::wstring wide(static_cast<size_t>(n), L'\0');
  MultiByteToWideChar(codePage, 0, path, length, wide.data(), n);
  return wide;
}

std::string Utf8FromWide(std::wstring_view wide) {
  if (wide.empty()) return std::string();
  const int length = static_cast<int>(wide.size());
  int n = WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
  if (n <= 0) return std::string();
  std::string utf8(static_cast<size_t>(n), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, utf8.data(), n, nullptr, nullptr);
  return utf8;
}

std::string AnsiCodeset() { return "CP" + std::to_string(GetACP()); }

static UINT CodePageOf(const char* name) {
  if (!name) return CP_ACP;
  if (_stricmp(name, "UTF-8") == 0) return CP_UTF8;
  if (_stricmp(name, "GBK") == 0) return 936;
  if (_strnicmp(name, "CP", 2) == 0) return static_cast<UINT>(std::atoi(name + 2));
  return CP_ACP;
}

bool ConvertCodeset(const char* from, const char* to, std::string_view in, std::string* out) {
  out->clear();
  if (in.empty()) return true;
  int wide = MultiByteToWideChar(CodePageOf(from), MB_ERR_INVALID_CHARS, in.data(),
                                 static_cast<int>(in.size()), nullptr, 0);
  if (wide <= 0) return false;
  std::wstring w(static_cast<size_t>(wide), L'\0');
  MultiByteToWideChar(CodePageOf(from), 0, in.data(), static_cast<int>(in.size()), w.data(), wide);
  int bytes = WideCharToMultiByte(CodePageOf(to), 0, w.data(), wide, nullptr, 0, nullptr, nullptr);
  if (bytes <= 0) return false;
  out->resize(static_cast<size_t>(bytes));
  WideCharToMultiByte(CodePageOf(to), 0, w.data(), wide, out->data(), bytes, nullptr, nullptr);
  return true;
}

std::string LocaleText(std::string_view utf8) {
  std::string out;
  if (ConvertCodeset("UTF-8", "GBK", utf8, &out)) return out;
  return std::string(utf8);
}

uint64_t TickCount64() { return GetTickCount64(); }
uint32_t TimeGetTime() { return static_cast<uint32_t>(GetTickCount64()); }
void SleepMs(unsigned milliseconds) { Sleep(milliseconds); }

void RaisePriority() {
  SetPriorityClass(GetCurrentProcess(), HIGH_PRIORITY_CLASS);
  SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_HIGHEST);
}

std::string ProgramPath() {
  // The UTF-16 name, grown until it fits: a program in a folder whose name
  // the ANSI code page cannot spell (or longer than MAX_PATH) is still found.
  std::wstring buffer(MAX_PATH, L'\0');
  for (;;) {
    DWORD n = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    if (n == 0) return std::string();
    if (n < buffer.size()) {
      buffer.resize(n);
      return Utf8FromWide(buffer);
    }
    buffer.resize(buffer.size() * 2);
  }
}

#else

std::string AnsiCodeset() {
  const char* codeset = nl_langinfo(CODESET);
  return codeset && *codeset ? codeset : "ANSI_X3.4-1968";
}

bool ConvertCodeset(const char* from, const char* to, std::string_view in, std::string* out) {
  out->clear();
  if (in.empty()) return true;
  if (std::strcmp(from, to) == 0) {
    out->assign(in);
    return true;
  }
  iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) return false;
  std::string result(in.size() * 4 + 16, '\0');
  char* src = const_cast<char*>(in.data());
  size_t srcLeft = in.size();
  char* dst = result.data();
  size_t dstLeft = result.size();
  size_t rc = iconv(cd, &src, &srcLeft, &dst, &dstLeft);
  iconv_close(cd);
  if (rc == static_cast<size_t>(-1)) return false;
  result.resize(result.size() - dstLeft);
  *out = std::move(result);
  return true;
}

std::string LocaleText(std::string_view utf8) {
  std::string out;
  if (ConvertCodeset("UTF-8", AnsiCodeset().c_str(), utf8, &out)) return out;
  return std::string(utf8);
}

uint64_t TickCount64() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<uint64_t>(ts.tv_sec) * 1000u + static_cast<uint64_t>(ts.tv_nsec) / 1000000u;
}

uint32_t TimeGetTime() { return static_cast<uint32_t>(TickCount64()); }

void SleepMs(unsigned milliseconds) {
  timespec ts{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000L};
  while (nanosleep(&ts, &ts) != 0 && errno == EINTR) {
  }
}

void RaisePriority() { (void)setpriority(PRIO_PROCESS, 0, -10); }

std::string ProgramPath() {
  char buffer[4096] = {0};
  ssize_t n = readlink("/proc/self/exe", buffer, sizeof(buffer) - 1);
  if (n <= 0) return std::string();
  // The name is in the locale's codeset; the program's paths are UTF-8
  // (bytes that do not convert are kept, so the path still names the file).
  const std::string native(buffer, static_cast<size_t>(n));
  std::string utf8;
  return ConvertCodeset(AnsiCodeset().c_str(), "UTF-8", native, &utf8) ? utf8 : native;
}

#endif

bool IsAbsolutePath(const char* path) {
  if (!path) return false;
  size_t n = std::strlen(path);
  if (n > 2 && path[1] == ':' && IsSeparator(path[2])) return true;
  if (n > 1 && path[0] == '\\' && path[1] == '\\') return true;
  return n > 0 && path[0] == '/';
}

#if defined(_WIN32)

std::string NativePath(const char* path, std::string* error) {
  if (error) error->clear();
  return path ? path : "";
}

#else

// Finds the folder a drive letter maps to in ORMADRAFT_DRIVE_MAP.
static bool MappedDrive(char drive, std::string* folder) {
  const char* map = std::getenv("ORMADRAFT_DRIVE_MAP");
  if (!map) return false;
  std::string_view rest(map);
  while (!rest.empty()) {
    size_t end = rest.find(';');
    std::string_view entry = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    if (entry.size() >= 3 && entry[1] == ':' && entry[2] == '=' &&
        std::toupper(static_cast<unsigned char>(entry[0])) ==
            std::toupper(static_cast<unsigned char>(drive))) {
      folder->assign(entry.substr(3));
      while (folder->size() > 1 && folder->back() == '/')
        folder->pop_back();
      return true;
    }
  }
  return false;
}

std::string NativePath(const char* path, std::string* error) {
  if (error) error->clear();
  if (!path) return "";
  std::string result(path);
  std::replace(result.begin(), result.end(), '\\', '/');
  if (result.size() >= 2 && result[1] == ':' && std::isalpha(static_cast<unsigned char>(result[0]))) {
    std::string folder;
    if (!MappedDrive(result[0], &folder)) {
      if (error) *error = std::string("drive path has no mapping in ORMADRAFT_DRIVE_MAP: ") + path;
      return "";
    }
    std::string tail = result.substr(2);
    if (!tail.empty() && tail[0] != '/') tail.insert(tail.begin(), '/');
    result = folder + tail;
  }
  // File names on disk are in the locale's codeset, as Windows takes them in
  // UTF-16; a name that does not convert is used as its bytes.
  std::string codeset = AnsiCodeset();
  if (codeset != "UTF-8") {
    std::string converted;
    if (ConvertCodeset("UTF-8", codeset.c_str(), result, &converted)) result = std::move(converted);
  }
  return result;
}

#endif

// Converts for a file-system call; an unmapped drive is reported by name.
static std::string ForFileSystem(const char* path) {
  std::string error;
  std::string native = NativePath(path, &error);
  if (!error.empty()) LogLine("%s\n", error.c_str());
  return native;
}

FILE* OpenFile(const char* path, const char* mode) {
  std::string native = ForFileSystem(path);
  if (native.empty()) return nullptr;
#if defined(_WIN32)
  const std::wstring wide = WidePath(native.c_str());
  if (wide.empty()) return nullptr;
  const std::wstring wideMode(mode, mode + std::strlen(mode));
  return _wfopen(wide.c_str(), wideMode.c_str());
#else
  return std::fopen(native.c_str(), mode);
#endif
}

#if defined(_WIN32)

bool Exists(const char* path) {
  const std::wstring wide = WidePath(path);
  return !wide.empty() && _waccess(wide.c_str(), 0) == 0;
}

static DWORD AttributesOf(const char* path) {
  const std::wstring wide = WidePath(path);
  return wide.empty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(wide.c_str());
}

bool IsDirectory(const char* path) {
  DWORD a = AttributesOf(path);
  return a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY);
}

bool IsRegularFile(const char* path) {
  DWORD a = AttributesOf(path);
  return a != INVALID_FILE_ATTRIBUTES && !(a & FILE_ATTRIBUTE_DIRECTORY);
}

bool RemoveFile(const char* path) {
  const std::wstring wide = WidePath(path);
  return !wide.empty() && _wremove(wide.c_str()) == 0;
}

bool MakeDirectory(const char* path) {
  const std::wstring wide = WidePath(path);
  return !wide.empty() && _wmkdir(wide.c_str()) == 0;
}

bool CanWriteIn(const char* folder) {
  const std::wstring wide = WidePath(folder);
  return !wide.empty() && _waccess(wide.c_str(), 2) == 0;
}

std::vector<std::string> ListDirectory(const char* folder) {
  std::vector<std::string> names;
  const std::wstring wide = WidePath(folder);
  if (wide.empty()) return names;
  const std::wstring pattern = wide + L"\\*";
  _wfinddata_t data{};
  intptr_t h = _wfindfirst(pattern.c_str(), &data);
  if (h == -1) return names;
  do {
    if (std::wcscmp(data.name, L".") != 0 && std::wcscmp(data.name, L"..") != 0)
      names.push_back(Utf8FromWide(data.name));
  } while (_wfindnext(h, &data) == 0);
  _findclose(h);
  // NTFS lists by name; other file systems (and Wine's) in no set order.
  // The byte order of the UTF-8 names is the same on every system.
  std::sort(names.begin(), names.end());
  return names;
}

#else

bool Exists(const char* path) {
  if (!path || !*path) return false;
  std::string native = ForFileSystem(path);
  return !native.empty() && access(native.c_str(), F_OK) == 0;
}

static bool StatOf(const char* path, struct stat* st) {
  if (!path || !*path) return false;
  std::string native = ForFileSystem(path);
  return !native.empty() && stat(native.c_str(), st) == 0;
}

bool IsDirectory(const char* path) {
  struct stat st {};
  return StatOf(path, &st) && S_ISDIR(st.st_mode);
}

bool IsRegularFile(const char* path) {
  struct stat st {};
  return StatOf(path, &st) && S_ISREG(st.st_mode);
}

bool RemoveFile(const char* path) {
  if (!path || !*path) return false;
  std::string native = ForFileSystem(path);
  return !native.empty() && unlink(native.c_str()) == 0;
}

bool MakeDirectory(const char* path) {
  std::string native = ForFileSystem(path);
  return !native.empty() && mkdir(native.c_str(), 0777) == 0;
}

bool CanWriteIn(const char* folder) {
  if (!folder || !*folder) return false;
  std::string native = ForFileSystem(folder);
  return !native.empty() && access(native.c_str(), W_OK | X_OK) == 0;
}

std::vector<std::string> ListDirectory(const char* folder) {
  std::vector<std::string> names;
  std::string native = ForFileSystem(folder);
  if (native.empty()) return names;
  DIR* dir = opendir(native.c_str());
  if (!dir) return names;
  while (dirent* entry = readdir(dir)) {
    if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
      names.emplace_back(entry->d_name);
  }
  closedir(dir);
  std::sort(names.begin(), names.end());
  return names;
}

#endif

bool ReadWholeFile(const char* path, std::string* contents) {
  contents->clear();
  FILE* f = OpenFile(path, "rb");
  if (!f) return false;
  bool ok = true;
#if !defined(_WIN32)
  // A folder opens for reading on POSIX; its "length" is not a file's.
  struct stat st {};
  ok = fstat(fileno(f), &st) == 0 && S_ISREG(st.st_mode);
#endif
  ok = ok && std::fseek(f, 0, SEEK_END) == 0;
  long length = ok ? std::ftell(f) : -1;
  ok = ok && length >= 0 && std::fseek(f, 0, SEEK_SET) == 0;
  if (ok) {
    contents->resize(static_cast<size_t>(length));
    size_t got = length > 0 ? std::fread(contents->data(), 1, static_cast<size_t>(length), f) : 0;
    contents->resize(got);
  }
  std::fclose(f);
  return ok;
}

} // namespace platform
