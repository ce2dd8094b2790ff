#include "platform/codepage.h"

#include <cstdlib>
#include <cstring>

#include "platform/platform.h"

char* AnsiToUtf8(const char* text) {
  if (!text) text = "";
  std::string utf8;
  // Bytes that are not text of the codeset pass through unchanged, so a
  // path still names the same file.
  if (!platform::ConvertCodeset(platform::AnsiCodeset().c_str(), "UTF-8", text, &utf8)) utf8 = text;
  char* out = static_cast<char*>(std::calloc(utf8.size() + 1, 1));
  if (out) std::memcpy(out, utf8.data(), utf8.size());
  return out;
}

int Utf8ToAnsi(const char* text, void* /*reserved*/, char* out, int* capacity) {
  if (!text || !capacity) return 0;
  std::string ansi;
  if (!platform::ConvertCodeset("UTF-8", platform::AnsiCodeset().c_str(), text, &ansi)) ansi = text;
  int needed = static_cast<int>(ansi.size()) + 1;
  if (!out || needed > *capacity) {
    *capacity = needed;
    return 0;
  }
  std::memcpy(out, ansi.c_str(), static_cast<size_t>(needed));
  return needed;
}

std::string ConsoleText(const std::string& utf8) {
  std::string ansi;
  return platform::ConvertCodeset("UTF-8", platform::AnsiCodeset().c_str(), utf8, &ansi) ? ansi : utf8;
}

int FileExists(const char* utf8Path) {
  if (!utf8Path || !*utf8Path) return 0;
  if (platform::Exists(utf8Path)) return 1;
  if (FILE* f = platform::OpenFile(utf8Path, "rb")) {
    std::fclose(f);
    return 1;
  }
  char ansi[1024] = {0};
  int capacity = sizeof(ansi);
  if (Utf8ToAnsi(utf8Path, nullptr, ansi, &capacity) > 0 && platform::Exists(ansi)) return 1;
  return 0;
}
