// POSIX and Windows forms of the engine's file-system and process facts
// (files.h). On Windows every path goes through its UTF-16 form (the API's
// paths are UTF-8), and the system's error texts come from FormatMessage.
#include "engine/core/files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace orma {

size_t LastSeparator(const std::string& path) {
#if defined(_WIN32)
  return path.find_last_of("/\\");
#else
  return path.rfind('/');
#endif
}

#if defined(_WIN32)

namespace {

std::wstring Wide(const std::string& utf8) {
  if (utf8.empty()) return std::wstring();
  int n = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
  std::wstring w(static_cast<size_t>(n > 0 ? n : 0), L'\0');
  if (n > 0) MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), w.data(), n);
  return w;
}

std::string Utf8(const std::wstring& wide) {
  if (wide.empty()) return std::string();
  int n = WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), nullptr, 0, nullptr,
                              nullptr);
  std::string s(static_cast<size_t>(n > 0 ? n : 0), '\0');
  if (n > 0)
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), s.data(), n, nullptr,
                        nullptr);
  return s;
}

// The system's text for an error code, without the trailing line break.
std::string SystemText(DWORD code) {
  wchar_t* buffer = nullptr;
  DWORD n = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                               FORMAT_MESSAGE_IGNORE_INSERTS,
                           nullptr, code, 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
  std::string text = n && buffer ? Utf8(std::wstring(buffer, n)) : "error " + std::to_string(code);
  if (buffer) LocalFree(buffer);
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == '.'))
    text.pop_back();
  return text;
}

unsigned long long Join(DWORD high, DWORD low) { return (static_cast<unsigned long long>(high) << 32) | low; }

} // namespace

std::string AbsolutePath(const std::string& path) {
  std::wstring w = Wide(path);
  DWORD n = GetFullPathNameW(w.c_str(), 0, nullptr, nullptr);
  if (n == 0) return path;
  std::wstring full(n, L'\0');
  n = GetFullPathNameW(w.c_str(), n, full.data(), nullptr);
  full.resize(n);
  return Utf8(full);
}

std::string ResolvedRegularFile(const std::string& path, std::string* error) {
  std::string full = AbsolutePath(path);
  DWORD attributes = GetFileAttributesW(Wide(full).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    *error = path + ": " + SystemText(GetLastError());
    return "";
  }
  if (attributes & FILE_ATTRIBUTE_DIRECTORY) {
    *error = path + ": not a regular file";
    return "";
  }
  HANDLE h =
      CreateFileW(Wide(full).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) {
    *error = path + ": " + SystemText(GetLastError());
    return "";
  }
  CloseHandle(h);
  return full;
}

bool IsFolder(const std::string& path) {
  DWORD a = GetFileAttributesW(Wide(path).c_str());
  return a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY);
}

std::vector<std::string> FolderEntries(const std::string& folder) {
  std::vector<std::string> names;
  WIN32_FIND_DATAW data;
  HANDLE h = FindFirstFileW(Wide(folder + "\\*").c_str(), &data);
  if (h == INVALID_HANDLE_VALUE) return names;
  do {
    if (std::wcscmp(data.cFileName, L".") != 0 && std::wcscmp(data.cFileName, L"..") != 0)
      names.push_back(Utf8(data.cFileName));
  } while (FindNextFileW(h, &data));
  FindClose(h);
  return names;
}

bool CreateEmptyFile(const std::string& path, std::string* cause) {
  HANDLE h =
      CreateFileW(Wide(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) {
    *cause = SystemText(GetLastError());
    return false;
  }
  CloseHandle(h);
  return true;
}

bool MoveFileOnto(const std::string& from, const std::string& to, std::string* cause) {
  if (MoveFileExW(Wide(from).c_str(), Wide(to).c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED))
    return true;
  *cause = SystemText(GetLastError());
  return false;
}

bool RemoveFileAt(const std::string& path) { return DeleteFileW(Wide(path).c_str()) != 0; }

bool AppendText(const std::string& path, const std::string& text) {
  HANDLE h = CreateFileW(Wide(path).c_str(), FILE_APPEND_DATA,
                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return false;
  DWORD written = 0;
  WriteFile(h, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  CloseHandle(h);
  return true;
}

bool StampOf(const std::string& path, FileStamp* stamp) {
  HANDLE h = CreateFileW(Wide(path).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                         nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (h == INVALID_HANDLE_VALUE) return false;
  BY_HANDLE_FILE_INFORMATION info;
  bool ok = GetFileInformationByHandle(h, &info) != 0;
  CloseHandle(h);
  if (!ok) return false;
  // Windows keeps no change time apart from the write time; the creation
  // time tells a file replaced by another of the same size and write time.
  *stamp = FileStamp{info.dwVolumeSerialNumber, Join(info.nFileIndexHigh, info.nFileIndexLow),
                     Join(info.nFileSizeHigh, info.nFileSizeLow),
                     Join(info.ftLastWriteTime.dwHighDateTime, info.ftLastWriteTime.dwLowDateTime),
                     Join(info.ftCreationTime.dwHighDateTime, info.ftCreationTime.dwLowDateTime)};
  return true;
}

long ProcessId() { return static_cast<long>(GetCurrentProcessId()); }

bool ProcessRunning(long pid) {
  if (pid <= 0) return false;
  HANDLE h = OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(pid));
  if (!h) return GetLastError() == ERROR_ACCESS_DENIED;
  bool running = WaitForSingleObject(h, 0) == WAIT_TIMEOUT;
  CloseHandle(h);
  return running;
}

std::string LibraryFolder() {
  HMODULE module = nullptr;
  if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                              GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                          reinterpret_cast<LPCWSTR>(&LibraryFolder), &module))
    return "";
  std::wstring name(MAX_PATH, L'\0');
  for (;;) {
    DWORD n = GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size()));
    if (n == 0) return "";
    if (n < name.size()) {
      name.resize(n);
      break;
    }
    name.resize(name.size() * 2);
  }
  std::string file = Utf8(name);
  size_t slash = LastSeparator(file);
  return slash == std::string::npos ? std::string(".") : file.substr(0, slash);
}

#else

std::string AbsolutePath(const std::string& path) {
  if (!path.empty() && path[0] == '/') return path;
  char cwd[PATH_MAX];
  if (!getcwd(cwd, sizeof cwd)) return path;
  return std::string(cwd) + "/" + path;
}

std::string ResolvedRegularFile(const std::string& path, std::string* error) {
  char resolved[PATH_MAX];
  if (!realpath(path.c_str(), resolved)) {
    *error = path + ": " + std::strerror(errno);
    return "";
  }
  struct stat st;
  if (stat(resolved, &st) != 0 || !S_ISREG(st.st_mode)) {
    *error = path + ": not a regular file";
    return "";
  }
  if (access(resolved, R_OK) != 0) {
    *error = path + ": " + std::strerror(errno);
    return "";
  }
  return resolved;
}

bool IsFolder(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::vector<std::string> FolderEntries(const std::string& folder) {
  std::vector<std::string> names;
  DIR* dir = opendir(folder.c_str());
  if (!dir) return names;
  while (dirent* entry = readdir(dir)) {
    if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
      names.emplace_back(entry->d_name);
  }
  closedir(dir);
  return names;
}

bool CreateEmptyFile(const std::string& path, std::string* cause) {
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) {
    *cause = std::strerror(errno);
    return false;
  }
  ::close(fd);
  return true;
}

bool MoveFileOnto(const std::string& from, const std::string& to, std::string* cause) {
  if (std::rename(from.c_str(), to.c_str()) == 0) return true;
  *cause = std::strerror(errno);
  return false;
}

bool RemoveFileAt(const std::string& path) { return ::unlink(path.c_str()) == 0; }

bool AppendText(const std::string& path, const std::string& text) {
  // One write() on an O_APPEND descriptor per line keeps lines of different
  // threads whole.
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  ssize_t written = ::write(fd, text.data(), text.size());
  (void)written;
  ::close(fd);
  return true;
}

bool StampOf(const std::string& path, FileStamp* stamp) {
  struct stat st;
  if (stat(path.c_str(), &st) != 0) return false;
  auto nanoseconds = [](const timespec& t) {
    return static_cast<unsigned long long>(t.tv_sec) * 1000000000ull +
           static_cast<unsigned long long>(t.tv_nsec);
  };
  *stamp = FileStamp{static_cast<unsigned long long>(st.st_dev), static_cast<unsigned long long>(st.st_ino),
                     static_cast<unsigned long long>(st.st_size), nanoseconds(st.st_mtim),
                     nanoseconds(st.st_ctim)};
  return true;
}

long ProcessId() { return static_cast<long>(getpid()); }

bool ProcessRunning(long pid) { return pid > 0 && (kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM); }

std::string LibraryFolder() {
  Dl_info info;
  if (!dladdr(reinterpret_cast<void*>(&LibraryFolder), &info) || !info.dli_fname) return "";
  std::string lib(info.dli_fname);
  size_t slash = lib.rfind('/');
  return slash == std::string::npos ? std::string(".") : lib.substr(0, slash);
}

#endif

} // namespace orma
