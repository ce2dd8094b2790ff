#include "engine/look/sticker.h"

#include <algorithm>
#include <cmath>

#include "engine/core/config_fields.h"
#include "engine/core/files.h"
#include "engine/media/picture_frames.h"
#include "engine/media/probe.h"
#include "platform/platform.h"

namespace orma {

namespace {

/// A sticker holds at most this many frames (a minute at 30 frames per
/// second), so that a mistaken folder cannot exhaust memory.
constexpr size_t kMaxFrames = 1800;
/// Frame rate of a frame list that names none.
constexpr double kDefaultFps = 12.0;
/// Slowest rate given (a frame every 100 s): a slower one would put frame
/// times beyond what microseconds in an int64 hold.
constexpr double kMinFps = 0.01;

struct SheetFields {
  std::vector<std::string> frames;
  std::string animation;
  double fps = 0.0;
  bool loop = true;
};

const FieldSpec<SheetFields> kSheetFields[] = {
    {"frames", &SheetFields::frames},
    {"animation", &SheetFields::animation},
    {"fps", &SheetFields::fps, Range(0, 240)},
    {"loop", &SheetFields::loop},
};

bool Resolve(const std::string& folder, const std::string& name, const std::string& where, std::string* out,
             std::string* error) {
  std::string joined = platform::IsAbsolutePath(name.c_str()) ? name : folder + "/" + name;
  std::string why;
  *out = ResolveLocalFile(joined.c_str(), &why);
  if (out->empty()) {
    *error = where + " names a file that cannot be used: " + why;
    return false;
  }
  return true;
}

} // namespace

std::shared_ptr<const StickerSheet> LoadStickerSheet(const std::string& path, std::string* error) {
  std::unique_ptr<ConfigFile> file = LoadConfigFile(path, error);
  if (!file) return nullptr;
  SheetFields fields;
  if (!ReadFields(file->root, kSheetFields, &fields, path, error)) return nullptr;
  if (fields.frames.empty() == fields.animation.empty()) {
    *error = path + ": needs either \"frames\" (a list of pictures) or \"animation\" (one animated picture)";
    return nullptr;
  }
  if (fields.fps > 0 && fields.fps < kMinFps) {
    *error = path + ": \"fps\" must be 0 (the default) or from 0.01 to 240";
    return nullptr;
  }
  if (fields.frames.size() > kMaxFrames) {
    *error = path + ": \"frames\" lists more than " + std::to_string(kMaxFrames) + " pictures";
    return nullptr;
  }
  auto sheet = std::make_shared<StickerSheet>();
  sheet->path = path;
  size_t cut = LastSeparator(path);
  std::string folder = cut == std::string::npos ? "." : path.substr(0, cut);
  for (size_t i = 0; i < fields.frames.size(); ++i) {
    std::string resolved;
    if (!Resolve(folder, fields.frames[i], path + ": \"frames\"[" + std::to_string(i) + "]", &resolved,
                 error))
      return nullptr;
    sheet->frames.push_back(resolved);
  }
  if (!fields.animation.empty() &&
      !Resolve(folder, fields.animation, path + ": \"animation\"", &sheet->animation, error))
    return nullptr;
  sheet->fps = fields.fps > 0 ? fields.fps : (sheet->frames.empty() ? 0.0 : kDefaultFps);
  sheet->loop = fields.loop;
  return sheet;
}

size_t StickerFrames::FrameAt(int64_t t) const {
  if (sprites.size() <= 1 || t <= 0) return 0;
  if (totalUs > 0) {
    if (loop)
      t %= totalUs;
    else if (t >= totalUs)
      return sprites.size() - 1;
  }
  auto next = std::upper_bound(startUs.begin(), startUs.end(), t);
  return static_cast<size_t>(std::max<ptrdiff_t>(0, (next - startUs.begin()) - 1));
}

bool LoadStickerFrames(const StickerSheet& sheet, StickerFrames* out, std::string* error) {
  out->sprites.clear();
  out->startUs.clear();
  out->loop = sheet.loop;
  std::vector<PictureFrame> decoded;
  if (!sheet.animation.empty()) {
    if (!DecodePictureFrames(sheet.animation, kMaxFrames, &decoded, error)) return false;
  } else {
    for (const std::string& frame : sheet.frames) {
      std::vector<PictureFrame> one;
      if (!DecodePictureFrames(frame, 1, &one, error)) return false;
      decoded.push_back(std::move(one[0]));
    }
  }
  if (sheet.fps > 0) {
    // Evenly spaced at the sheet's rate.
    double step = 1e6 / sheet.fps;
    for (size_t i = 0; i < decoded.size(); ++i) {
      out->sprites.push_back(decoded[i].sprite);
      out->startUs.push_back(static_cast<int64_t>(std::llround(i * step)));
    }
    out->totalUs = static_cast<int64_t>(std::llround(decoded.size() * step));
  } else {
    // The animation's own timing; a frame of unknown length shows for a
    // tenth of a second, as browsers do.
    int64_t at = 0;
    for (const PictureFrame& f : decoded) {
      out->sprites.push_back(f.sprite);
      out->startUs.push_back(at);
      at += f.durationUs > 0 ? f.durationUs : 100000;
    }
    out->totalUs = at;
  }
  return true;
}

} // namespace orma
