#include "engine/text/word_art.h"

#include "engine/core/files.h"
#include "engine/media/picture_frames.h"
#include "engine/media/probe.h"
#include "platform/platform.h"

namespace orma {

namespace {

struct FillFields {
  std::string type = "color";
  Rgba color{1, 1, 1, 1};
  std::vector<float> stops;
  float angle = 90.0f;
  std::string picture;
  std::string mode = "stretch";
};

const FieldSpec<FillFields> kFillFields[] = {
    {"type", &FillFields::type, Choices("color|gradient|texture"), true},
    {"color", &FillFields::color},
    {"stops", &FillFields::stops, Range(0, 1)},
    {"angle", &FillFields::angle, Range(-3600, 3600)},
    {"picture", &FillFields::picture},
    {"mode", &FillFields::mode, Choices("stretch|tile")},
};

const FieldSpec<WordArtStroke> kStrokeFields[] = {
    {"width", &WordArtStroke::width, Range(0, 2), true},
    {"color", &WordArtStroke::color},
};

bool ReadFill(const cJSON* fill, const std::string& where, WordArt* art, std::string* error) {
  FillFields f;
  if (!ReadFields(fill, kFillFields, &f, where, error)) return false;
  art->fill = f.type;
  art->color = f.color;
  art->angle = f.angle;
  art->tile = f.mode == "tile";
  if (f.type == "gradient") {
    const cJSON* colors = cJSON_GetObjectItem(fill, "colors");
    if (!cJSON_IsArray(colors) || cJSON_GetArraySize(colors) < 2) {
      *error = where + ": \"colors\" must list at least two colours";
      return false;
    }
    int index = 0;
    for (const cJSON* c = colors->child; c; c = c->next, ++index) {
      Rgba color{};
      std::string name = "colors[" + std::to_string(index) + "]";
      if (!detail::ReadColor(c, where, name.c_str(), &color, error)) return false;
      art->colors.push_back(color);
    }
    if (!f.stops.empty() && f.stops.size() != art->colors.size()) {
      *error = where + ": \"stops\" must hold one place per colour";
      return false;
    }
    for (size_t i = 1; i < f.stops.size(); ++i)
      if (f.stops[i] < f.stops[i - 1]) {
        *error = where + ": \"stops\" must not decrease";
        return false;
      }
    art->stops = f.stops;
  } else if (f.type == "texture") {
    if (f.picture.empty()) {
      *error = where + ": \"picture\" is required for a texture";
      return false;
    }
    std::string folder = art->path.substr(0, LastSeparator(art->path));
    std::string joined = platform::IsAbsolutePath(f.picture.c_str()) ? f.picture : folder + "/" + f.picture;
    std::string why;
    art->texture = ResolveLocalFile(joined.c_str(), &why);
    if (art->texture.empty()) {
      *error = where + ": \"picture\" names a file that cannot be used: " + why;
      return false;
    }
    std::vector<PictureFrame> frames;
    if (!DecodePictureFrames(art->texture, 1, &frames, error)) return false;
    art->picture = frames[0].sprite;
  }
  return true;
}

} // namespace

std::shared_ptr<const WordArt> LoadWordArt(const std::string& path, std::string* error) {
  std::unique_ptr<ConfigFile> file = LoadConfigFile(path, error);
  if (!file) return nullptr;
  auto art = std::make_shared<WordArt>();
  art->path = path;
  if (const cJSON* fill = cJSON_GetObjectItem(file->root, "fill")) {
    if (!ReadFill(fill, path + ": \"fill\"", art.get(), error)) return nullptr;
  }
  if (const cJSON* strokes = cJSON_GetObjectItem(file->root, "strokes")) {
    if (!cJSON_IsArray(strokes)) {
      *error = path + ": \"strokes\" must be an array of objects";
      return nullptr;
    }
    int index = 0;
    for (const cJSON* s = strokes->child; s; s = s->next, ++index) {
      WordArtStroke stroke;
      if (!ReadFields(s, kStrokeFields, &stroke, path + ": \"strokes\"[" + std::to_string(index) + "]",
                      error))
        return nullptr;
      art->strokes.push_back(stroke);
    }
  }
  if (!cJSON_GetObjectItem(file->root, "fill") && art->strokes.empty()) {
    *error = path + ": a word art needs a \"fill\" or \"strokes\"";
    return nullptr;
  }
  return art;
}

} // namespace orma
