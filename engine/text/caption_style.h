// Caption styles: the config.json of a caption folder (kinds 0 and 1). A
// style describes its box in style pixels ("width", "height"), the text box
// inside it ("textWidth", "textHeight", "textPadding", "stretchability"),
// an optional karaoke colour ("ktvColor") and writing direction
// ("vertical"), and the items a template caption fills with its lines, each
// with a default text and look. docs/resources.md describes the format.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "corelib/orma_core.h"
#include "engine/core/config_fields.h"

namespace orma {

struct StrokeLook {
  float width = 0.0f; ///< pixels (style pixels in a style file)
  Rgba color{0, 0, 0, 1};
};

struct ShadowLook {
  float blur = 0.0f;     ///< pixels
  float angle = 45.0f;   ///< degrees, direction of the offset: 0 right, 90 down
  float distance = 0.0f; ///< pixels
  Rgba color{0, 0, 0, 0.6f};
};

struct BoxLook {
  bool paragraph = true; ///< one box around all lines, or one per line
  Rgba color{0, 0, 0, 0.6f};
  float round = 0.0f;               ///< 0 square .. 1 fully rounded ends
  std::vector<float> padding{8, 4}; ///< x, y pixels
  std::vector<float> offset{0, 0};  ///< x, y pixels
};

/// One item of a style: a text line of a template caption.
struct StyleItem {
  std::string text;
  std::vector<float> rect{0, 0, 1, 1}; ///< x, y, width, height in the style box (0..1)
  std::string fontFamily;
  std::string fontFile;  ///< resolved against the style's folder
  float fontSize = 0.0f; ///< style pixels; 0 fits the text to its box
  bool bold = false;
  bool italic = false;
  bool underline = false;
  bool vertical = false;
  std::string alignment = "center";
  Rgba color{1, 1, 1, 1};
  float opacity = 1.0f;
  float lineSpacing = 0.0f; ///< style pixels between lines
  float wordSpacing = 0.0f; ///< style pixels between characters
  bool hasStroke = false;
  StrokeLook stroke;
  bool hasShadow = false;
  ShadowLook shadow;
  bool hasBox = false;
  BoxLook box;
  std::string wordArt; ///< resolved word-art file, or ""
};

struct CaptionStyle {
  std::string path;   ///< the config.json
  std::string folder; ///< its folder
  std::string name;
  int width = 0; ///< style box, style pixels
  int height = 0;
  float textWidth = 0.0f; ///< text box, style pixels
  float textHeight = 0.0f;
  std::vector<float> textPadding{0, 0, 0, 0}; ///< left, top, right, bottom
  float stretchability = 0.0f;                ///< 0: fixed box; above 0 the box grows with its text
  std::vector<float> ktvColor;                ///< karaoke highlight (4 channels) or empty
  int vertical = 0;
  bool hasVertical = false;
  std::vector<StyleItem> items;
};

/// Reads and checks a style file. Kind 1 (template lines) needs at least one
/// item. Fonts and word-art files are resolved against the style's folder
/// and must exist.
std::shared_ptr<const CaptionStyle> LoadCaptionStyle(const std::string& path, int kind, std::string* error);

/// The item block a style item gives a template caption: sizes in style
/// pixels, the rectangle relative to the caption's box.
OrmaCaptionItemBlock StyleItemBlock(const CaptionStyle& style, const StyleItem& item);

/// The style's own values (karaoke colour, text box, direction) in a block.
void ApplyStyleKeys(const CaptionStyle& style, OrmaCaptionItemBlock* block);

OrmaStrokeBlock StrokeBlock(const StrokeLook& look);
OrmaShadowBlock ShadowBlock(const ShadowLook& look);
OrmaCaptionBackgroundBlock BackgroundBlock(const BoxLook& look);

} // namespace orma
