// The few file-system and process facts the engine needs beyond what FFmpeg
// and MLT open themselves: whether a path is a folder or a readable file,
// the entries of a folder, creating, replacing and removing the export's
// temporary file, appending a trace line, and the folder the core library
// was loaded from. Paths are UTF-8 as the API receives them; on Windows
// they are opened through their UTF-16 form, so a Chinese file name works
// whatever the ANSI code page, and a path may use "\" as well as "/".
#pragma once

#include <string>
#include <vector>

namespace orma {

/// The position of the last folder separator of path ("/", and on Windows
/// also "\"), or npos.
size_t LastSeparator(const std::string& path);

/// path itself when absolute, else joined to the current folder.
std::string AbsolutePath(const std::string& path);

/// The canonical absolute form of an existing regular, readable file, or ""
/// with *error saying why not (missing, a folder, not readable).
std::string ResolvedRegularFile(const std::string& path, std::string* error);

bool IsFolder(const std::string& path);

/// The names in folder, without "." and "..", in no particular order.
std::vector<std::string> FolderEntries(const std::string& folder);

/// Creates path empty (truncating it); false with *cause (the system's text).
bool CreateEmptyFile(const std::string& path, std::string* cause);

/// Moves from over to, replacing a file already there.
bool MoveFileOnto(const std::string& from, const std::string& to, std::string* cause);

bool RemoveFileAt(const std::string& path);

/// Appends text with one write, so that lines of different threads stay
/// whole; false when the file cannot be opened.
bool AppendText(const std::string& path, const std::string& text);

/// A stamp of a file's identity and contents version (device, inode or
/// file index, size, modification and change times); equal stamps mean the
/// file was not replaced or written in between. False when it cannot be read.
struct FileStamp {
  unsigned long long device = 0, index = 0, size = 0, modified = 0, changed = 0;
  bool operator==(const FileStamp& o) const {
    return device == o.device && index == o.index && size == o.size && modified == o.modified &&
           changed == o.changed;
  }
};
bool StampOf(const std::string& path, FileStamp* stamp);

long ProcessId();
/// Whether a process of that id is running (one this process cannot signal
/// or open counts as running).
bool ProcessRunning(long pid);

/// The folder of the core library's own file (libOrmaCore.so or
/// OrmaCore.dll), or "".
std::string LibraryFolder();

} // namespace orma
