#include "engine/text/caption_style.h"

#include <cmath>
#include <cstring>

#include "engine/core/files.h"
#include "engine/media/probe.h"
#include "platform/platform.h"
#include "platform/text_number.h"

namespace orma {

namespace {

const FieldSpec<CaptionStyle> kStyleFields[] = {
    {"name", &CaptionStyle::name},
    {"width", &CaptionStyle::width, Range(1, 100000), true},
    {"height", &CaptionStyle::height, Range(1, 100000), true},
    {"textWidth", &CaptionStyle::textWidth, Range(0, 100000)},
    {"textHeight", &CaptionStyle::textHeight, Range(0, 100000)},
    {"textPadding", &CaptionStyle::textPadding, Range(0, 100000)},
    {"stretchability", &CaptionStyle::stretchability, Range(0, 1000)},
    {"ktvColor", &CaptionStyle::ktvColor, Range(0, 1)},
    {"vertical", &CaptionStyle::vertical, Range(0, 1)},
};

const FieldSpec<StyleItem> kItemFields[] = {
    {"text", &StyleItem::text},
    {"rect", &StyleItem::rect, Range(-10, 10)},
    {"fontFamily", &StyleItem::fontFamily},
    {"fontFile", &StyleItem::fontFile},
    {"fontSize", &StyleItem::fontSize, Range(0, 2000)},
    {"bold", &StyleItem::bold},
    {"italic", &StyleItem::italic},
    {"underline", &StyleItem::underline},
    {"vertical", &StyleItem::vertical},
    {"alignment", &StyleItem::alignment, Choices("left|center|right")},
    {"color", &StyleItem::color},
    {"opacity", &StyleItem::opacity, Range(0, 1)},
    {"lineSpacing", &StyleItem::lineSpacing, Range(-1000, 1000)},
    {"wordSpacing", &StyleItem::wordSpacing, Range(-1000, 1000)},
    {"wordArt", &StyleItem::wordArt},
};

const FieldSpec<StrokeLook> kStrokeFields[] = {
    {"width", &StrokeLook::width, Range(0, 500), true},
    {"color", &StrokeLook::color},
};

const FieldSpec<ShadowLook> kShadowFields[] = {
    {"blur", &ShadowLook::blur, Range(0, 500)},
    {"angle", &ShadowLook::angle, Range(-3600, 3600)},
    {"distance", &ShadowLook::distance, Range(0, 2000)},
    {"color", &ShadowLook::color},
};

const FieldSpec<BoxLook> kBoxFields[] = {
    {"paragraph", &BoxLook::paragraph},
    {"color", &BoxLook::color},
    {"round", &BoxLook::round, Range(0, 1)},
    {"padding", &BoxLook::padding, Range(0, 2000)},
    {"offset", &BoxLook::offset, Range(-2000, 2000)},
};

std::string Where(const std::string& file, const std::string& inner) { return file + ": \"" + inner + "\""; }

bool CheckCount(const std::vector<float>& v, size_t n, const std::string& where, const char* name,
                std::string* error) {
  if (v.size() == n) return true;
  *error = Where(where, name) + " must hold " + std::to_string(n) + " numbers";
  return false;
}

/// A file named by the style, relative to its folder (or absolute); it must
/// exist.
bool ResolveBeside(const std::string& folder, std::string* path, const std::string& where, const char* name,
                   std::string* error) {
  if (path->empty()) return true;
  std::string joined = platform::IsAbsolutePath(path->c_str()) ? *path : folder + "/" + *path;
  std::string why;
  std::string resolved = ResolveLocalFile(joined.c_str(), &why);
  if (resolved.empty()) {
    *error = Where(where, name) + " names a file that cannot be used: " + why;
    return false;
  }
  *path = resolved;
  return true;
}

template <class T, size_t N>
bool ReadPart(const cJSON* object, const char* key, const FieldSpec<T> (&specs)[N], T* out, bool* present,
              const std::string& where, std::string* error) {
  const cJSON* part = cJSON_GetObjectItem(object, key);
  *present = part != nullptr;
  if (!part) return true;
  return ReadFields(part, specs, out, where + ": \"" + key + "\"", error);
}

bool ReadItem(const cJSON* object, const CaptionStyle& style, const std::string& where, StyleItem* item,
              std::string* error) {
  if (!ReadFields(object, kItemFields, item, where, error)) return false;
  if (!CheckCount(item->rect, 4, where, "rect", error)) return false;
  if (!(item->rect[2] > 0 && item->rect[3] > 0)) {
    *error = Where(where, "rect") + " must have a width and a height above 0";
    return false;
  }
  if (!ReadPart(object, "stroke", kStrokeFields, &item->stroke, &item->hasStroke, where, error)) return false;
  if (!ReadPart(object, "shadow", kShadowFields, &item->shadow, &item->hasShadow, where, error)) return false;
  if (!ReadPart(object, "background", kBoxFields, &item->box, &item->hasBox, where, error)) return false;
  if (item->hasBox && (!CheckCount(item->box.padding, 2, where, "background\": \"padding", error) ||
                       !CheckCount(item->box.offset, 2, where, "background\": \"offset", error)))
    return false;
  if (!ResolveBeside(style.folder, &item->fontFile, where, "fontFile", error)) return false;
  if (!ResolveBeside(style.folder, &item->wordArt, where, "wordArt", error)) return false;
  return true;
}

int Alignment(const std::string& name) { return name == "left" ? 0 : name == "right" ? 2 : 1; }

void CopyColor(float* out, const Rgba& c) {
  for (int i = 0; i < 4; ++i)
    out[i] = c[static_cast<size_t>(i)];
}

} // namespace

std::shared_ptr<const CaptionStyle> LoadCaptionStyle(const std::string& path, int kind, std::string* error) {
  std::unique_ptr<ConfigFile> file = LoadConfigFile(path, error);
  if (!file) return nullptr;
  auto style = std::make_shared<CaptionStyle>();
  style->path = path;
  size_t cut = LastSeparator(path);
  style->folder = cut == std::string::npos ? "." : path.substr(0, cut);
  if (!ReadFields(file->root, kStyleFields, style.get(), path, error)) return nullptr;
  if (!CheckCount(style->textPadding, 4, path, "textPadding", error)) return nullptr;
  if (!style->ktvColor.empty() && !CheckCount(style->ktvColor, 4, path, "ktvColor", error)) return nullptr;
  style->hasVertical = cJSON_GetObjectItem(file->root, "vertical") != nullptr;
  if (style->stretchability == 0.0f) {
    // A fixed box must say how large its text box is.
    for (const char* key : {"textWidth", "textHeight"})
      if (!cJSON_GetObjectItem(file->root, key)) {
        *error = Where(path, key) + " is required when \"stretchability\" is 0";
        return nullptr;
      }
  }
  const cJSON* items = cJSON_GetObjectItem(file->root, "items");
  if (items && !cJSON_IsArray(items)) {
    *error = Where(path, "items") + " must be an array of objects";
    return nullptr;
  }
  int index = 0;
  for (const cJSON* it = items ? items->child : nullptr; it; it = it->next, ++index) {
    StyleItem item;
    std::string where = path + ": \"items\"[" + std::to_string(index) + "]";
    if (!ReadItem(it, *style, where, &item, error)) return nullptr;
    style->items.push_back(std::move(item));
  }
  if (kind == ORMA_CAPTION_TEMPLATE_LINES && style->items.empty()) {
    *error = Where(path, "items") + " must hold at least one item for a template caption";
    return nullptr;
  }
  return style;
}

void ApplyStyleKeys(const CaptionStyle& style, OrmaCaptionItemBlock* block) {
  block->styleWidth = style.width;
  block->styleHeight = style.height;
  block->stretchability = style.stretchability;
  block->textWidth = style.textWidth;
  block->textHeight = style.textHeight;
  block->hasKtvColor = style.ktvColor.size() == 4 ? 1 : 0;
  for (size_t i = 0; i < 4; ++i)
    block->ktvColor[i] = block->hasKtvColor ? style.ktvColor[i] : 0.0f;
  block->hasVertical = style.hasVertical ? 1 : 0;
  block->vertical = style.vertical;
}

OrmaCaptionItemBlock StyleItemBlock(const CaptionStyle& style, const StyleItem& item) {
  OrmaCaptionItemBlock block;
  std::memset(&block, 0, sizeof block);
  ApplyStyleKeys(style, &block);
  platform::CopyText(block.text, item.text.c_str());
  block.fontSize = static_cast<int32_t>(std::lround(item.fontSize));
  block.textAlignment = Alignment(item.alignment);
  block.isItalic = item.italic;
  block.isUnderline = item.underline;
  block.isBold = item.bold;
  block.isVertical = item.vertical;
  block.centerX = item.rect[0] + item.rect[2] * 0.5f;
  block.centerY = item.rect[1] + item.rect[3] * 0.5f;
  block.width = item.rect[2];
  block.height = item.rect[3];
  block.opacity = item.opacity;
  platform::CopyText(block.fontFamily, item.fontFamily.c_str());
  platform::CopyText(block.fontFile, item.fontFile.c_str());
  CopyColor(block.textColor, item.color);
  block.lineSpacing = item.lineSpacing;
  block.wordSpacing = item.wordSpacing;
  return block;
}

OrmaStrokeBlock StrokeBlock(const StrokeLook& look) {
  OrmaStrokeBlock b{};
  b.width = look.width;
  CopyColor(b.color, look.color);
  return b;
}

OrmaShadowBlock ShadowBlock(const ShadowLook& look) {
  OrmaShadowBlock b{};
  b.blur = look.blur;
  b.angle = look.angle;
  b.distance = look.distance;
  CopyColor(b.color, look.color);
  return b;
}

OrmaCaptionBackgroundBlock BackgroundBlock(const BoxLook& look) {
  OrmaCaptionBackgroundBlock b{};
  b.type = look.paragraph ? 1 : 0;
  CopyColor(b.color, look.color);
  b.roundFactor = look.round;
  b.padding[0] = look.padding[0];
  b.padding[1] = look.padding[1];
  b.offset[0] = look.offset[0];
  b.offset[1] = look.offset[1];
  return b;
}

} // namespace orma
