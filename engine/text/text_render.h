// Text of a caption item laid out with Pango (HarfBuzz shaping, fontconfig
// fonts and fallback) and drawn with Cairo into a sprite: background boxes,
// shadow, word-art outlines, stroke and fill, in that order from the bottom.
// A karaoke item gets a second sprite holding only the glyphs in the
// highlight colour, laid over the first up to the sweep's progress.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/core/config_fields.h"
#include "engine/picture/sprite.h"
#include "engine/text/word_art.h"

namespace orma {

/// Everything that decides the pixels of one item's text. Lengths are in
/// output pixels.
struct TextLook {
  std::string text;
  std::string fontFile; ///< a font file to use, or ""
  std::string family;   ///< a family to use, or "" (text/fonts.h resolves both)
  double size = 0;      ///< font size; 0 or less: as large as the text box allows
  bool bold = false, italic = false, underline = false, vertical = false;
  int alignment = 1;        ///< 0 left, 1 centre, 2 right (top, middle, bottom when vertical)
  double lineSpacing = 0;   ///< extra space between lines
  double letterSpacing = 0; ///< extra space between characters
  double boxWidth = 0;      ///< text box on the screen; 0: unbounded
  double boxHeight = 0;
  bool fixedBox = true; ///< wrap at the text box and shrink to fit it; else grow with the text
  Rgba fill{1, 1, 1, 1};
  std::shared_ptr<const WordArt> art;
  double strokeWidth = 0; ///< beyond the glyph edge
  Rgba strokeColor{0, 0, 0, 0};
  double shadowBlur = 0, shadowAngle = 0, shadowDistance = 0;
  Rgba shadowColor{0, 0, 0, 0};
  bool box = false;
  bool boxParagraph = true;
  Rgba boxColor{0, 0, 0, 0};
  double boxRound = 0; ///< 0..1
  double boxPadX = 0, boxPadY = 0, boxOffsetX = 0, boxOffsetY = 0;
  bool highlight = false; ///< make the karaoke sprite
  Rgba highlightColor{0, 0, 0, 0};

  /// Identifies the look: equal keys draw equal pixels.
  std::string Key() const;
};

/// A line of text in sprite pixels, for the karaoke sweep.
struct TextLine {
  double x0 = 0, y0 = 0, x1 = 0, y1 = 0;
};

struct TextRaster {
  std::shared_ptr<Sprite> base;
  std::shared_ptr<Sprite> highlight;    ///< glyphs in the highlight colour, or null
  double anchorX = 0, anchorY = 0;      ///< sprite pixel at the centre of the text box
  std::vector<TextLine> lines;          ///< in reading order
  bool vertical = false;                ///< lines are columns read top to bottom, right to left
  double fontSize = 0;                  ///< size used after fitting
  double textWidth = 0, textHeight = 0; ///< laid-out text on the screen
};

/// Lays out and draws the text; false with *error when nothing can be drawn
/// (no text, or a box too small for any glyph).
bool RenderText(const TextLook& look, int matrix, TextRaster* out, std::string* error);

/// The parts of a raster that the karaoke highlight covers at `progress`
/// (0..1): every line read before, and the current one up to its share.
std::vector<SpritePart> HighlightParts(const TextRaster& raster, double progress);

} // namespace orma
