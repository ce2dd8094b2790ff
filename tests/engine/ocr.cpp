#include "tests/engine/ocr.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

bool WriteFramePpm(const DecodedVideo& video, int index, const std::string& path, FrameArea area, int zoom) {
  if (index < 0 || index >= video.FrameCount() || zoom < 1) return false;
  int x0 = static_cast<int>(std::lround(area.x0 * video.width));
  int y0 = static_cast<int>(std::lround(area.y0 * video.height));
  int x1 = static_cast<int>(std::lround(area.x1 * video.width));
  int y1 = static_cast<int>(std::lround(area.y1 * video.height));
  if (x1 <= x0 || y1 <= y0) return false;
  int w = (x1 - x0) * zoom, h = (y1 - y0) * zoom;
  std::ofstream out(path, std::ios::binary);
  out << "P6\n" << w << " " << h << "\n255\n";
  const std::vector<uint8_t>& rgb = video.frames[index];
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const uint8_t* p = &rgb[(static_cast<size_t>(y0 + y / zoom) * video.width + (x0 + x / zoom)) * 3];
      out.write(reinterpret_cast<const char*>(p), 3);
    }
  return static_cast<bool>(out);
}

namespace {

std::string Tesseract(const std::string& picture, const std::string& language) {
  std::string command = "tesseract '" + picture + "' stdout -l " + language + " --psm 6 2>/dev/null";
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return "";
  std::string text;
  char buffer[256];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0)
    text.append(buffer, n);
  pclose(pipe);
  std::string squeezed;
  for (char c : text)
    if (c != ' ' && c != '\n' && c != '\r' && c != '\t' && c != '\f') squeezed += c;
  return squeezed;
}

std::string PicturePath(const std::string& folder) {
  // ORMA_OCR_DUMP=FOLDER keeps every picture given to tesseract there.
  static int serial = 0;
  const char* dump = std::getenv("ORMA_OCR_DUMP");
  return (dump ? std::string(dump) : folder) + "/ocr-" + std::to_string(++serial) + ".ppm";
}

} // namespace

std::string ReadColumn(const DecodedVideo& video, int index, const std::string& folder,
                       const std::string& language, FrameArea area, int cells, int zoom) {
  if (index < 0 || index >= video.FrameCount() || cells < 1) return "";
  int x0 = std::max(0, static_cast<int>(std::lround(area.x0 * video.width)));
  int y0 = std::max(0, static_cast<int>(std::lround(area.y0 * video.height)));
  int x1 = std::min(video.width, static_cast<int>(std::lround(area.x1 * video.width)));
  int y1 = std::min(video.height, static_cast<int>(std::lround(area.y1 * video.height)));
  int cw = x1 - x0, ch = (y1 - y0) / cells;
  if (cw <= 0 || ch <= 0) return "";
  int w = cw * cells * zoom, h = ch * zoom;
  std::string picture = PicturePath(folder);
  std::ofstream out(picture, std::ios::binary);
  out << "P6\n" << w << " " << h << "\n255\n";
  const std::vector<uint8_t>& rgb = video.frames[index];
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int cell = x / (cw * zoom), cx = (x % (cw * zoom)) / zoom;
      int sy = y0 + cell * ch + y / zoom;
      const uint8_t* p = &rgb[(static_cast<size_t>(sy) * video.width + (x0 + cx)) * 3];
      out.write(reinterpret_cast<const char*>(p), 3);
    }
  out.close();
  return Tesseract(picture, language);
}

std::string ReadText(const DecodedVideo& video, int index, const std::string& folder,
                     const std::string& language, FrameArea area, int zoom) {
  std::string picture = PicturePath(folder);
  if (!WriteFramePpm(video, index, picture, area, zoom)) return "";
  return Tesseract(picture, language);
}
