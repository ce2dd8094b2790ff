// Word art: a JSON file that decorates a caption item's text with a fill
// (plain colour, gradient or picture texture) and extra outlines. Lengths
// are fractions of the font size, so one file suits every size.
// docs/resources.md describes the format.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/core/config_fields.h"
#include "engine/picture/sprite.h"

namespace orma {

struct WordArtStroke {
  float width = 0.05f; ///< outline thickness beyond the glyph edge, in font sizes
  Rgba color{0, 0, 0, 1};
};

struct WordArt {
  std::string path;
  std::string fill = "color"; ///< color, gradient, texture
  Rgba color{1, 1, 1, 1};
  std::vector<Rgba> colors; ///< gradient colours, at least two
  std::vector<float> stops; ///< their places 0..1 (evenly spread when absent)
  float angle = 90.0f;      ///< gradient direction: 0 left to right, 90 top to bottom
  std::string texture;      ///< resolved picture
  bool tile = false;        ///< repeat the picture at its size instead of stretching it over the text
  std::vector<WordArtStroke> strokes; ///< drawn widest first, under the text
  std::shared_ptr<Sprite> picture;    ///< the decoded texture
};

/// Reads and checks a word-art file; a texture picture is decoded now.
std::shared_ptr<const WordArt> LoadWordArt(const std::string& path, std::string* error);

} // namespace orma
