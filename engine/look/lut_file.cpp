#include "engine/look/lut_file.h"
#include "engine/media/still_image.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>
#include <vector>

#include "engine/core/registry.h"
#include "engine/media/probe.h"
#include "platform/platform.h"

namespace orma {

namespace {

// Largest table accepted: 128^3 entries (a 64^3 table is the usual maximum).
constexpr int kMaxSize = 128;

// Splits text into lines without their comments ('#' to the end) and
// trailing blanks; numbers are read with "." whatever the locale.
std::vector<std::string_view> Lines(const std::string& text) {
  std::vector<std::string_view> lines;
  size_t pos = 0;
  while (pos <= text.size()) {
    size_t end = text.find('\n', pos);
    if (end == std::string::npos) end = text.size();
    std::string_view line(text.data() + pos, end - pos);
    size_t hash = line.find('#');
    if (hash != std::string_view::npos) line = line.substr(0, hash);
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back())))
      line.remove_suffix(1);
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line.front())))
      line.remove_prefix(1);
    lines.push_back(line);
    pos = end + 1;
  }
  return lines;
}

std::vector<std::string_view> Words(std::string_view line) {
  std::vector<std::string_view> words;
  size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && std::isspace(static_cast<unsigned char>(line[i])))
      ++i;
    size_t start = i;
    while (i < line.size() && !std::isspace(static_cast<unsigned char>(line[i])))
      ++i;
    if (i > start) words.push_back(line.substr(start, i - start));
  }
  return words;
}

// A number the table can keep: tables hold floats, and a value beyond their
// range would become an infinity that turns samples into NaN.
bool Number(std::string_view word, double* out) {
  if (!word.empty() && word.front() == '+') word.remove_prefix(1);
  auto r = std::from_chars(word.data(), word.data() + word.size(), *out);
  return r.ec == std::errc() && r.ptr == word.data() + word.size() && std::isfinite(*out) &&
         std::fabs(*out) <= std::numeric_limits<float>::max();
}

bool Numbers(std::string_view line, std::vector<double>* out) {
  out->clear();
  for (std::string_view w : Words(line)) {
    double v;
    if (!Number(w, &v)) return false;
    out->push_back(v);
  }
  return true;
}

std::string LineText(const std::string& where, size_t index) {
  return where + ": line " + std::to_string(index + 1);
}

std::string Extension(const std::string& path) {
  size_t slash = path.find_last_of("/\\");
  size_t dot = path.rfind('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
  std::string ext = path.substr(dot + 1);
  for (char& c : ext)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return ext;
}

bool ReadText(const std::string& path, std::string* text, std::string* error) {
  if (!platform::IsRegularFile(path.c_str()) || !platform::ReadWholeFile(path.c_str(), text)) {
    *error = path + ": cannot be read";
    return false;
  }
  return true;
}

bool LoadCube(const std::string& path, Lut3D* out, std::string* error) {
  std::string text;
  return ReadText(path, &text, error) && ParseCubeLut(text, path, out, error);
}

bool Load3dl(const std::string& path, Lut3D* out, std::string* error) {
  std::string text;
  return ReadText(path, &text, error) && Parse3dlLut(text, path, out, error);
}

// A HALD CLUT of level L is a square of L^3 pixels a side holding a table
// of L^2 entries per axis; the level, or 0 when the picture is not one.
int HaldLevel(int width, int height) {
  int level = static_cast<int>(std::lround(std::cbrt(static_cast<double>(width))));
  if (width != height || level < 2 || level * level * level != width || level * level > kMaxSize) return 0;
  return level;
}

const char* const kNotHald =
    ": not a square HALD CLUT (its side must be the cube of a whole number from 2 to 11)";

bool LoadHald(const std::string& path, Lut3D* out, std::string* error) {
  MediaProbe probe = ProbeMedia(path.c_str(), false);
  if (!probe.ok || !probe.still) {
    *error = path + ": " + (probe.ok ? std::string("not a still picture") : probe.error);
    return false;
  }
  // Checked before decoding, so that a small file declaring a huge picture
  // is not decoded for nothing.
  if (!HaldLevel(probe.width, probe.height)) {
    *error = path + kNotHald;
    return false;
  }
  RgbaImage image;
  if (!LoadRgba(probe, &image, error)) return false;
  return HaldLut(image.pixels.data(), image.width, image.height, path, out, error);
}

struct LutFormat {
  const char* extension;
  bool (*load)(const std::string&, Lut3D*, std::string*);
};
const LutFormat kFormats[] = {
    {"cube", LoadCube}, {"3dl", Load3dl},   {"png", LoadHald},  {"bmp", LoadHald},
    {"tif", LoadHald},  {"tiff", LoadHald}, {"webp", LoadHald},
};

} // namespace

bool ParseCubeLut(const std::string& text, const std::string& where, Lut3D* out, std::string* error) {
  Lut3D lut;
  std::vector<std::string_view> lines = Lines(text);
  std::vector<double> values;
  size_t expected = 0;
  lut.rgb.clear();
  for (size_t i = 0; i < lines.size(); ++i) {
    std::string_view line = lines[i];
    if (line.empty()) continue;
    if (std::isalpha(static_cast<unsigned char>(line[0]))) {
      std::vector<std::string_view> w = Words(line);
      if (w[0] == "LUT_3D_SIZE") {
        double n;
        if (w.size() != 2 || !Number(w[1], &n) || n != std::floor(n) || n < 2 || n > kMaxSize) {
          *error = LineText(where, i) + ": LUT_3D_SIZE must be a whole number from 2 to 128";
          return false;
        }
        lut.size = static_cast<int>(n);
        expected = static_cast<size_t>(lut.size) * lut.size * lut.size;
        lut.rgb.reserve(expected * 3);
      } else if (w[0] == "LUT_1D_SIZE") {
        *error = LineText(where, i) + ": one-dimensional tables are not supported";
        return false;
      } else if (w[0] == "DOMAIN_MIN" || w[0] == "DOMAIN_MAX") {
        float* target = w[0] == "DOMAIN_MIN" ? lut.domainMin : lut.domainMax;
        double v;
        if (w.size() != 4) {
          *error = LineText(where, i) + ": " + std::string(w[0]) + " needs three numbers";
          return false;
        }
        for (int k = 0; k < 3; ++k) {
          if (!Number(w[k + 1], &v)) {
            *error = LineText(where, i) + ": " + std::string(w[0]) + " needs three numbers";
            return false;
          }
          target[k] = static_cast<float>(v);
        }
      }
      // TITLE and other keywords carry nothing the table needs.
      continue;
    }
    if (lut.size == 0) {
      *error = LineText(where, i) + ": values before LUT_3D_SIZE";
      return false;
    }
    if (!Numbers(line, &values) || values.size() != 3) {
      *error = LineText(where, i) + ": expected three numbers";
      return false;
    }
    if (lut.rgb.size() >= expected * 3) {
      *error = LineText(where, i) + ": more entries than LUT_3D_SIZE gives";
      return false;
    }
    for (double v : values)
      lut.rgb.push_back(static_cast<float>(v));
  }
  if (lut.size == 0) {
    *error = where + ": no LUT_3D_SIZE";
    return false;
  }
  if (lut.rgb.size() != expected * 3) {
    *error =
        where + ": " + std::to_string(lut.rgb.size() / 3) + " entries instead of " + std::to_string(expected);
    return false;
  }
  for (int k = 0; k < 3; ++k)
    if (!(lut.domainMax[k] > lut.domainMin[k])) {
      *error = where + ": DOMAIN_MAX must be above DOMAIN_MIN";
      return false;
    }
  *out = std::move(lut);
  return true;
}

bool Parse3dlLut(const std::string& text, const std::string& where, Lut3D* out, std::string* error) {
  // An optional first line lists the input mesh (for example 0 64 ... 1023,
  // giving the size; a mesh of three points cannot be told from an entry and
  // is read as one); then one line of three integers per entry, blue
  // varying fastest, then green, then red. The output depth is the smallest
  // of 10, 12 and 16 bits that holds every value.
  std::vector<std::string_view> lines = Lines(text);
  std::vector<double> values;
  std::vector<double> entries;
  int size = 0;
  double maximum = 0, meshMaximum = 0;
  for (size_t i = 0; i < lines.size(); ++i) {
    std::string_view line = lines[i];
    if (line.empty()) continue;
    if (std::isalpha(static_cast<unsigned char>(line[0]))) continue; // keywords of some writers
    if (!Numbers(line, &values)) {
      *error = LineText(where, i) + ": expected numbers";
      return false;
    }
    if (size == 0 && entries.empty() && values.size() != 3) {
      if (values.size() < 2) {
        *error = LineText(where, i) + ": expected the input mesh or three numbers";
        return false;
      }
      if (values.size() > static_cast<size_t>(kMaxSize)) {
        *error = LineText(where, i) + ": the input mesh has more than 128 points";
        return false;
      }
      size = static_cast<int>(values.size());
      meshMaximum = values.back();
      continue;
    }
    if (values.size() != 3) {
      *error = LineText(where, i) + ": expected three numbers";
      return false;
    }
    for (double v : values) {
      if (v < 0 || v != std::floor(v)) {
        *error = LineText(where, i) + ": values must be whole numbers of 0 or more";
        return false;
      }
      maximum = std::max(maximum, v);
      entries.push_back(v);
    }
  }
  size_t count = entries.size() / 3;
  if (size == 0) {
    size = static_cast<int>(std::lround(std::cbrt(static_cast<double>(count))));
    if (size < 2 || size > kMaxSize) {
      *error = where + ": cannot tell the table's size";
      return false;
    }
  }
  if (count != static_cast<size_t>(size) * size * size) {
    *error = where + ": " + std::to_string(count) + " entries instead of " +
             std::to_string(static_cast<size_t>(size) * size * size);
    return false;
  }
  double depth = 1023;
  double top = std::max(maximum, meshMaximum);
  if (top > 65535) {
    *error = where + ": values above 65535";
    return false;
  }
  if (top > 4095)
    depth = 65535;
  else if (top > 1023)
    depth = 4095;
  Lut3D lut;
  lut.size = size;
  lut.rgb.resize(count * 3);
  for (size_t i = 0; i < count; ++i) {
    size_t b = i % size, g = (i / size) % size, r = i / (static_cast<size_t>(size) * size);
    size_t target = (b * size + g) * size + r;
    for (int c = 0; c < 3; ++c)
      lut.rgb[target * 3 + c] = static_cast<float>(entries[i * 3 + c] / depth);
  }
  *out = std::move(lut);
  return true;
}

bool HaldLut(const uint8_t* rgba, int width, int height, const std::string& where, Lut3D* out,
             std::string* error) {
  // Red varies fastest.
  const int level = HaldLevel(width, height);
  if (!level) {
    *error = where + kNotHald;
    return false;
  }
  Lut3D lut;
  lut.size = level * level;
  size_t count = static_cast<size_t>(lut.size) * lut.size * lut.size;
  lut.rgb.resize(count * 3);
  for (size_t i = 0; i < count; ++i)
    for (int c = 0; c < 3; ++c)
      lut.rgb[i * 3 + c] = rgba[i * 4 + c] / 255.0f;
  *out = std::move(lut);
  return true;
}

bool LoadLutFile(const std::string& path, Lut3D* out, std::string* error) {
  std::string ext = Extension(path);
  if (const LutFormat* f = FindIn(kFormats, &LutFormat::extension, ext)) return f->load(path, out, error);
  *error = path + ": not a look-up table (.cube, .3dl or a HALD CLUT picture)";
  return false;
}

} // namespace orma
