// Stickers: "stickers" or the "pipList" elements of type 4. The engine plays
// every sticker from a frame folder of its own, so stickers that share one
// folder get copies of it under new names, and the draft tree is changed to
// name the copies (the working copy of the draft is printed from that tree).
#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>
#include <unordered_map>
#include <vector>

#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_keys.h"
#include "draft/record_lists.h"
#include "platform/log_line.h"
#include "platform/platform.h"

#if defined(_WIN32)
#include <windows.h>
#endif

using namespace draftjson;
namespace fs = std::filesystem;

namespace {

void ReadSticker(const cJSON* element, StickerRecord* sticker) {
  ReadFields(element, kStickerKeys, sticker);
  if (const cJSON* animations = Item(element, "customAnimations"))
    ReadAnimationList(animations, &sticker->customAnimations);
}

// The draft's folder as the draft path names it, with its last separator.
std::string DraftFolderOf(const char* draftPath) {
  std::string path(draftPath);
  size_t cut = path.find_last_of("/\\");
  return cut == std::string::npos ? std::string() : path.substr(0, cut + 1);
}

// A folder name of the draft resolved: drive, network and POSIX paths as
// they stand, anything else below the draft's folder. Still in the draft's
// form (UTF-8, either separator); NativePath makes it the file system's.
std::string ResolveFolder(const std::string& draftFolder, const std::string& name) {
  return platform::IsAbsolutePath(name.c_str()) ? name : draftFolder + name;
}

// The file system's form, or "" when it has none (an unmapped drive).
std::string Native(const std::string& path) {
  std::string error;
  std::string native = platform::NativePath(path.c_str(), &error);
  return error.empty() ? native : std::string();
}

// A path from the program's UTF-8. Made from the narrow string, the
// Windows C++ library would read it in the ANSI code page, and a folder
// named in Chinese would name another, absent one.
fs::path Utf8Path(const std::string& utf8) {
  return fs::path(std::u8string(reinterpret_cast<const char8_t*>(utf8.data()), utf8.size()));
}

// Absolute, lexically normal, without a trailing separator.
fs::path Normal(const fs::path& path) {
  std::error_code ec;
  fs::path absolute = fs::absolute(path, ec);
  if (ec) return {};
  fs::path normal = absolute.lexically_normal();
  if (!normal.has_filename() && normal.has_relative_path()) normal = normal.parent_path();
  return normal;
}

// True when path lies strictly below base (both absolute and normal).
bool StrictlyInside(const fs::path& base, const fs::path& path) {
  if (base.empty() || path.empty()) return false;
  fs::path relative = path.lexically_relative(base);
  if (relative.empty() || relative == ".") return false;
  return *relative.begin() != "..";
}

bool IsRealDirectory(const fs::path& path) {
  std::error_code ec;
  return fs::symlink_status(path, ec).type() == fs::file_type::directory;
}

// Copies are only made between two folders strictly inside the draft's folder
// (lexically and once symbolic links of existing parents are resolved), from
// a real directory, to a place that is new or a real directory, and never from
// a folder into itself: a draft must not make the program write elsewhere.
bool SafeToCopy(const std::string& draftFolder, const std::string& source, const std::string& target) {
  std::string nativeFolder = Native(draftFolder.empty() ? std::string(".") : draftFolder);
  std::string nativeSource = Native(source);
  std::string nativeTarget = Native(target);
  if (nativeFolder.empty() || nativeSource.empty() || nativeTarget.empty()) return false;
  fs::path base = Normal(Utf8Path(nativeFolder));
  fs::path from = Normal(Utf8Path(nativeSource));
  fs::path to = Normal(Utf8Path(nativeTarget));
  if (!StrictlyInside(base, from) || !StrictlyInside(base, to)) return false;
  if (from == to || StrictlyInside(from, to) || StrictlyInside(to, from)) return false;
  if (!IsRealDirectory(from)) return false;
  std::error_code ec;
  fs::file_status targetStatus = fs::symlink_status(to, ec);
  if (fs::exists(targetStatus) && targetStatus.type() != fs::file_type::directory) return false;
  fs::path realBase = Normal(fs::weakly_canonical(base, ec));
  if (ec) return false;
  fs::path realFrom = Normal(fs::weakly_canonical(from, ec));
  if (ec) return false;
  fs::path realTo = Normal(fs::weakly_canonical(to, ec));
  if (ec) return false;
  return StrictlyInside(realBase, realFrom) && StrictlyInside(realBase, realTo) &&
         !StrictlyInside(realFrom, realTo) && !StrictlyInside(realTo, realFrom);
}

// The next name of a shared folder: its last character's code plus one, then
// the round number. A character that wraps to zero ends the text there.
std::string NextFolderName(const std::string& name, int32_t round) {
  std::string next = name;
  char last = static_cast<char>(static_cast<unsigned char>(next.back()) + 1u);
  if (last == '\0')
    next.pop_back();
  else
    next.back() = last;
  next += std::to_string(round);
  if (next.size() >= sizeof(StickerRecord::imageFolderPath))
    next.resize(sizeof(StickerRecord::imageFolderPath) - 1);
  return next;
}

// Points the first sticker element naming `from` at `to`; the member moves to
// the end of its object.
void RenameInTree(const std::vector<cJSON*>& elements, const std::string& from, const std::string& to) {
  for (cJSON* element : elements) {
    const char* current = StringOf(Item(element, "imageFolderPath"));
    if (!current || from != current) continue;
    cJSON* name = cJSON_CreateString(to.c_str());
    if (!name) return;
    cJSON_DeleteItemFromObject(element, "imageFolderPath");
    cJSON_AddItemToObject(element, "imageFolderPath", name);
    return;
  }
}

void SeparateSharedFolders(const DraftDocument* document, const std::vector<cJSON*>& elements,
                           StickerRecord* head) {
  std::string draftFolder = DraftFolderOf(document->draftPath);
  // How many stickers name each folder right now, kept up to date on every
  // rename, so a sticker's turn sees the same count as a fresh recount.
  std::unordered_map<std::string, int32_t> users;
  for (StickerRecord* sticker = head; sticker; sticker = sticker->next)
    ++users[sticker->imageFolderPath];

  for (StickerRecord* sticker = head; sticker; sticker = sticker->next) {
    // A sticker without a folder has nothing to separate.
    if (!sticker->imageFolderPath[0]) continue;
    int32_t count = users[sticker->imageFolderPath];
    for (int32_t round = 0; round < count - 1; ++round) {
      std::string current = sticker->imageFolderPath;
      std::string next = NextFolderName(current, round);
      std::string source = ResolveFolder(draftFolder, current);
      std::string target = ResolveFolder(draftFolder, next);
      if (!SafeToCopy(draftFolder, source, target)) {
        LogLine("sticker folder not separated (not a folder inside the draft's folder): %s\n",
                current.c_str());
        break;
      }
      RenameInTree(elements, current, next);
      CopyFolderTree(source.c_str(), target.c_str());
      --users[current];
      ++users[next];
      CopyTextZeroFilled(sticker->imageFolderPath, sizeof(sticker->imageFolderPath), next.c_str());
    }
  }
}

} // namespace

StickerRecord* readStickers(const DraftDocument* document, cJSON* root) {
  // The elements read, in list order; the rename changes them, and they
  // belong to the caller's (mutable) root.
  std::vector<cJSON*> elements;
  StickerRecord* head = ReadKindList<StickerRecord>(root, "stickers", 4, Untyped::kSkip,
                                                    [&](const cJSON* element, StickerRecord* sticker) {
                                                      ReadSticker(element, sticker);
                                                      elements.push_back(const_cast<cJSON*>(element));
                                                    });
  if (document && document->draftPath[0] && head) SeparateSharedFolders(document, elements, head);
  return head;
}

void FreeStickers(StickerRecord* head) {
  FreeList(head, [](StickerRecord* sticker) { FreeAnimations(sticker->customAnimations); });
}

namespace {

void ReportError(const char* operation, const fs::path& path, std::error_code ec) {
  fs::filesystem_error error(operation, path, ec);
  std::cerr << "Error occurred: " << error.what() << std::endl;
}

void ReportUnhandled(const fs::path& path) {
  std::cerr << "Unhandled path type: " << path.string() << std::endl;
}

// Copies a file over whatever file is at `to`. On Windows this is
// CopyFileW: the MinGW-w64 libstdc++'s copy_file compares the two files'
// device and inode numbers to refuse copying a file onto itself, and the
// Windows C runtime gives every file an inode number of 0, so an existing
// destination on the same drive was always refused with "File exists".
void CopyOver(const fs::path& from, const fs::path& to, std::error_code& ec) {
#if defined(_WIN32)
  if (!CopyFileW(from.c_str(), to.c_str(), FALSE))
    ec = std::error_code(static_cast<int>(GetLastError()), std::system_category());
#else
  fs::copy_file(from, to, fs::copy_options::overwrite_existing, ec);
#endif
}

} // namespace

void CopyFolderTree(const char* source, const char* destination) {
  std::string error;
  fs::path from = Utf8Path(platform::NativePath(source, &error));
  if (!error.empty() || from.empty()) {
    ReportError("copy", source ? source : "", std::make_error_code(std::errc::no_such_file_or_directory));
    return;
  }
  fs::path to = Utf8Path(platform::NativePath(destination, &error));
  if (!error.empty() || to.empty()) {
    ReportError("create_directory", destination ? destination : "",
                std::make_error_code(std::errc::no_such_file_or_directory));
    return;
  }
  std::error_code ec;
  // Links are never followed, not even the source itself.
  fs::file_status fromStatus = fs::symlink_status(from, ec);
  if (fs::is_symlink(fromStatus)) {
    ReportUnhandled(from);
    return;
  }
  if (fs::is_symlink(fs::symlink_status(to, ec))) {
    ReportUnhandled(to);
    return;
  }
  ec.clear();
  if (!fs::exists(to, ec)) {
    if (ec) {
      ReportError("create_directory", to, ec);
      return;
    }
    fs::create_directory(to, ec);
    if (ec) {
      ReportError("create_directory", to, ec);
      return;
    }
  }
  // A destination inside the source must not be walked into while it grows.
  fs::path skip = Normal(to);
  fs::recursive_directory_iterator it(from, fs::directory_options::none, ec);
  for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
    const fs::directory_entry& entry = *it;
    fs::path target = to / entry.path().lexically_relative(from);
    fs::file_status status = entry.symlink_status(ec);
    if (ec) break;
    if (Normal(entry.path()) == skip) {
      it.disable_recursion_pending();
      continue;
    }
    if (status.type() == fs::file_type::directory) {
      fs::create_directory(target, ec);
      if (ec) {
        ReportError("create_directory", target, ec);
        return;
      }
    } else if (status.type() == fs::file_type::regular) {
      // A link planted at the target would send the copy elsewhere.
      if (fs::is_symlink(fs::symlink_status(target, ec))) {
        ReportUnhandled(target);
        continue;
      }
      ec.clear();
      CopyOver(entry.path(), target, ec);
      if (ec) {
        ReportError("copy_file", entry.path(), ec);
        return;
      }
    } else {
      ReportUnhandled(entry.path());
    }
  }
  if (ec) ReportError("recursive_directory_iterator", from, ec);
}
