#include "engine/media/picture_limits.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "platform/platform.h"

namespace orma {

std::string PictureSizeRefusal(int width, int height) {
  if (width <= kMaxPictureSide && height <= kMaxPictureSide) return "";
  return "a picture of " + std::to_string(width) + "x" + std::to_string(height) + " pixels is larger than " +
         std::to_string(kMaxPictureSide) + "x" + std::to_string(kMaxPictureSide) +
         ", the largest one decoded";
}

bool PngHeaderSize(const std::string& file, int* width, int* height) {
  // Signature (8 bytes), IHDR length and type (8), then width and height.
  // Opened through the platform layer: a UTF-8 name with Chinese characters
  // must open on Windows too, where a narrow stream takes the ANSI code page.
  unsigned char header[24];
  FILE* in = platform::OpenFile(file.c_str(), "rb");
  if (!in) return false;
  const bool read = std::fread(header, 1, sizeof header, in) == sizeof header;
  std::fclose(in);
  if (!read) return false;
  if (std::memcmp(header, "\x89PNG\r\n\x1a\n", 8) != 0 || std::memcmp(header + 12, "IHDR", 4) != 0)
    return false;
  auto big = [](const unsigned char* p) {
    return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | uint32_t{p[3]};
  };
  uint32_t w = big(header + 16), h = big(header + 20);
  if (w == 0 || h == 0 || w > 0x7fffffff || h > 0x7fffffff) return false;
  *width = static_cast<int>(w);
  *height = static_cast<int>(h);
  return true;
}

} // namespace orma
