// Shared pieces of the sticker and caption export tests: a draft document
// whose sticker and caption lists are built in code and released with it, a
// scratch folder, byte readers for parameter blocks, and the source line of a
// reporting statement.
#pragma once

#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "draft/records.h"
#include "tests/support/recording_core.h"

namespace captiontest {

inline void SetText(char* field, size_t size, const std::string& text) {
  std::snprintf(field, size, "%s", text.c_str());
}
#define CAPTIONTEST_SET(field, text) ::captiontest::SetText((field), sizeof(field), (text))

template <typename T> void FreeList(T* head) {
  while (head) {
    T* next = head->next;
    std::free(head);
    head = next;
  }
}

template <typename T> T* Append(T** head) {
  ListTail<T> tail(head);
  return tail.Append();
}

/// A zero-filled document with a canvas, owning its stickers and captions.
class Document {
public:
  explicit Document(const std::string& draftPath = "/drafts/p/d_1.json", float width = 1280,
                    float height = 720)
      : doc_(NewRecord<DraftDocument>()) {
    CAPTIONTEST_SET(doc_->draftPath, draftPath);
    doc_->width = width;
    doc_->height = height;
  }
  ~Document() {
    FreeList(doc_->stickers);
    for (CaptionRecord* c = doc_->captions; c; c = c->next) {
      for (CaptionWord* w = c->words; w; w = w->next) {
        std::free(w->background);
        FreeList(w->animations);
      }
      FreeList(c->words);
      FreeList(c->content);
      FreeList(c->keyFrames);
    }
    FreeList(doc_->captions);
    std::free(doc_);
  }
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  DraftDocument* get() { return doc_; }
  DraftDocument* operator->() { return doc_; }

  StickerRecord* AddSticker(const std::string& folder, int32_t level = 0) {
    StickerRecord* s = Append(&doc_->stickers);
    CAPTIONTEST_SET(s->imageFolderPath, folder);
    s->level = level;
    return s;
  }

  CaptionRecord* AddCaption(const std::string& folder, int32_t kind = 0, int32_t level = 0) {
    CaptionRecord* c = Append(&doc_->captions);
    CAPTIONTEST_SET(c->folderPath, folder);
    c->kind = kind;
    c->level = level;
    c->opacity = 1.0f;
    c->scale = 1.0f;
    return c;
  }

  static CaptionWord* AddWord(CaptionRecord* caption, const std::string& text) {
    CaptionWord* w = Append(&caption->words);
    CAPTIONTEST_SET(w->text, text);
    return w;
  }

  static void AddLine(CaptionRecord* caption, const std::string& text) {
    CaptionTextLine* line = Append(&caption->content);
    CAPTIONTEST_SET(line->text, text);
  }

  static CaptionKeyFrame* AddKeyFrame(CaptionRecord* caption) { return Append(&caption->keyFrames); }

  static AnimationRecord* AddAnimation(CaptionWord* word, const std::string& folder, int32_t type,
                                       float duration, float cycleDuration = 0) {
    AnimationRecord* a = Append(&word->animations);
    CAPTIONTEST_SET(a->folderPath, folder);
    a->type = type;
    a->duration = duration;
    a->cycleDuration = cycleDuration;
    return a;
  }

private:
  DraftDocument* doc_;
};

/// A fresh folder under the system's temporary folder, removed at the end.
class TempDir {
public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ormacaption-XXXXXX").string();
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    const char* made = mkdtemp(buffer.data());
    if (made) path_ = made;
  }
  ~TempDir() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

  /// Writes a file (and its folders) under the scratch folder; returns its path.
  std::string Write(const std::string& name, const std::string& contents) const {
    const std::filesystem::path file = std::filesystem::path(path_) / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << contents;
    return file.string();
  }

private:
  std::string path_;
};

template <typename T> T ReadAt(const std::vector<uint8_t>& bytes, size_t offset) {
  T value{};
  EXPECT_LE(offset + sizeof(T), bytes.size());
  if (offset + sizeof(T) <= bytes.size()) std::memcpy(&value, bytes.data() + offset, sizeof(T));
  return value;
}

inline std::string TextAt(const std::vector<uint8_t>& bytes, size_t offset, size_t size) {
  std::string text;
  for (size_t i = offset; i < offset + size && i < bytes.size() && bytes[i]; ++i)
    text.push_back(char(bytes[i]));
  return text;
}

inline std::vector<uint8_t> BytesOf(const void* data, size_t size) {
  const auto* p = static_cast<const uint8_t*>(data);
  return std::vector<uint8_t>(p, p + size);
}

/// Calls of one name, in order.
inline std::vector<recorder::Call> CallsOf(const std::string& name) {
  std::vector<recorder::Call> out;
  for (const recorder::Call& c : recorder::Calls())
    if (c.name == name) out.push_back(c);
  return out;
}

/// Line of the `occurrence`-th statement (1-based) in a source file of the
/// program that mentions `needle`: the first line from there on that holds
/// the __LINE__ token, which is what the statement prints.
inline int SourceLine(const std::string& file, const std::string& needle, int occurrence = 1) {
  std::ifstream in(std::string(ORMA_SOURCE_DIR) + "/" + file);
  std::string line;
  int number = 0;
  int seen = 0;
  bool found = false;
  while (std::getline(in, line)) {
    ++number;
    if (!found && line.find(needle) != std::string::npos && ++seen == occurrence) found = true;
    if (found && line.find("__LINE__") != std::string::npos) return number;
  }
  ADD_FAILURE() << "no reporting statement for " << needle << " in " << file;
  return -1;
}

/// Line of the `occurrence`-th LogLine statement whose message holds
/// `needle`: the line of the LogLine name, where its __LINE__ expands.
inline int LogSourceLine(const std::string& file, const std::string& needle, int occurrence = 1) {
  std::ifstream in(std::string(ORMA_SOURCE_DIR) + "/" + file);
  std::string line;
  int number = 0;
  int seen = 0;
  int lastLogLine = -1;
  while (std::getline(in, line)) {
    ++number;
    if (line.find("LogLine(") != std::string::npos) lastLogLine = number;
    if (line.find(needle) != std::string::npos && ++seen == occurrence) return lastLogLine;
  }
  ADD_FAILURE() << "no LogLine for " << needle << " in " << file;
  return -1;
}

/// Sets LC_CTYPE for the test's lifetime and restores it afterwards.
class CtypeLocale {
public:
  explicit CtypeLocale(const char* name) {
    const char* current = std::setlocale(LC_CTYPE, nullptr);
    saved_ = current ? current : "C";
    ok_ = std::setlocale(LC_CTYPE, name) != nullptr;
  }
  ~CtypeLocale() { std::setlocale(LC_CTYPE, saved_.c_str()); }
  bool ok() const { return ok_; }

private:
  std::string saved_;
  bool ok_ = false;
};

/// The full-width colon in UTF-8 and in GBK.
inline const std::string kColonUtf8 = "\xEF\xBC\x9A";
inline const std::string kColonGbk = "\xA3\xBA";
/// The full-width colon as the program prints it while LC_CTYPE is UTF-8:
/// the Windows program prints it in GBK whatever the C library's locale.
#if defined(_WIN32)
inline const std::string kColonPrinted = kColonGbk;
#else
inline const std::string kColonPrinted = kColonUtf8;
#endif

/// `text` with every regular-expression character escaped.
inline std::string Escaped(const std::string& text) {
  static const std::string metacharacters = "\\^$.|?*+()[]{}";
  std::string out;
  for (char c : text) {
    if (metacharacters.find(c) != std::string::npos) out.push_back('\\');
    out.push_back(c);
  }
  return out;
}

/// Pattern of one LogLine output, "[hh:mm:ss/Mmm dd yyyy - line] -- message".
inline std::string LogLinePattern(const std::string& message, int line) {
  return "\\[\\d\\d:\\d\\d:\\d\\d/[A-Z][a-z]{2} [ \\d]\\d \\d{4} - " + std::to_string(line) + "\\] -- " +
         Escaped(message);
}

} // namespace captiontest
