#include "engine/text/text_render.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "engine/text/fonts.h"

namespace orma {

namespace {

/// The largest side of a caption sprite: a guard against sizes that would
/// exhaust memory (a font size of a million pixels in a draft).
constexpr int kMaxSide = 8192;

struct Rect {
  double x0 = 0, y0 = 0, x1 = 0, y1 = 0;
  double w() const { return x1 - x0; }
  double h() const { return y1 - y0; }
  bool Empty() const { return !(x1 > x0 && y1 > y0); }
  void Add(const Rect& r) {
    if (r.Empty()) return;
    if (Empty()) {
      *this = r;
      return;
    }
    x0 = std::min(x0, r.x0);
    y0 = std::min(y0, r.y0);
    x1 = std::max(x1, r.x1);
    y1 = std::max(y1, r.y1);
  }
};

Rect FromPango(const PangoRectangle& r) {
  return Rect{r.x / double(PANGO_SCALE), r.y / double(PANGO_SCALE), (r.x + r.width) / double(PANGO_SCALE),
              (r.y + r.height) / double(PANGO_SCALE)};
}

/// Bounding box of a rectangle mapped through an affine map.
Rect Mapped(const Affine& a, const Rect& r) {
  Rect out;
  bool first = true;
  for (double x : {r.x0, r.x1})
    for (double y : {r.y0, r.y1}) {
      double mx = a.xx * x + a.xy * y + a.x0, my = a.yx * x + a.yy * y + a.y0;
      if (first) {
        out = Rect{mx, my, mx, my};
        first = false;
      } else {
        out.x0 = std::min(out.x0, mx);
        out.y0 = std::min(out.y0, my);
        out.x1 = std::max(out.x1, mx);
        out.y1 = std::max(out.y1, my);
      }
    }
  return out;
}

void SetMatrix(cairo_t* cr, const Affine& a) {
  cairo_matrix_t m;
  cairo_matrix_init(&m, a.xx, a.yx, a.xy, a.yy, a.x0, a.y0);
  cairo_set_matrix(cr, &m);
}

void SetColor(cairo_t* cr, const Rgba& c) { cairo_set_source_rgba(cr, c[0], c[1], c[2], c[3]); }

struct PangoObjects {
  PangoContext* context = nullptr;
  PangoLayout* layout = nullptr;
  ~PangoObjects() {
    if (layout) g_object_unref(layout);
    if (context) g_object_unref(context);
  }
};

/// Layout space to the screen: lines run along x; a vertical item turns
/// them a quarter clockwise, so lines run down and follow each other to the
/// left, while the East gravity keeps CJK glyphs upright.
Affine LayoutToScreen(bool vertical) { return vertical ? Affine::Rotation(90) : Affine(); }

void MakeContext(const TextLook& look, PangoObjects* p) {
  p->context = pango_font_map_create_context(TextFontMap());
  cairo_font_options_t* options = cairo_font_options_create();
  cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
  cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  pango_cairo_context_set_font_options(p->context, options);
  cairo_font_options_destroy(options);
  pango_context_set_round_glyph_positions(p->context, FALSE);
  Affine t = LayoutToScreen(look.vertical);
  PangoMatrix m = {t.xx, t.xy, t.yx, t.yy, 0, 0};
  pango_context_set_matrix(p->context, &m);
  if (look.vertical) {
    pango_context_set_base_gravity(p->context, PANGO_GRAVITY_EAST);
    pango_context_set_gravity_hint(p->context, PANGO_GRAVITY_HINT_NATURAL);
  }
}

void MakeLayout(const TextLook& look, const std::string& families, double size, PangoObjects* p) {
  if (p->layout) g_object_unref(p->layout);
  p->layout = pango_layout_new(p->context);
  PangoLayout* layout = p->layout;
  pango_layout_set_text(layout, look.text.c_str(), -1);
  PangoFontDescription* font = pango_font_description_new();
  pango_font_description_set_family(font, families.c_str());
  pango_font_description_set_absolute_size(font, size * PANGO_SCALE);
  pango_font_description_set_weight(font, look.bold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
  pango_font_description_set_style(font, look.italic ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
  pango_layout_set_font_description(layout, font);
  pango_font_description_free(font);
  PangoAttrList* attrs = pango_attr_list_new();
  if (look.underline) pango_attr_list_insert(attrs, pango_attr_underline_new(PANGO_UNDERLINE_SINGLE));
  if (look.letterSpacing != 0)
    pango_attr_list_insert(attrs,
                           pango_attr_letter_spacing_new(static_cast<int>(look.letterSpacing * PANGO_SCALE)));
  pango_layout_set_attributes(layout, attrs);
  pango_attr_list_unref(attrs);
  pango_layout_set_spacing(layout, static_cast<int>(look.lineSpacing * PANGO_SCALE));
  pango_layout_set_alignment(layout, look.alignment == 0   ? PANGO_ALIGN_LEFT
                                     : look.alignment == 2 ? PANGO_ALIGN_RIGHT
                                                           : PANGO_ALIGN_CENTER);
  double along = look.vertical ? look.boxHeight : look.boxWidth;
  if (look.fixedBox && along > 0) {
    pango_layout_set_width(layout, static_cast<int>(along * PANGO_SCALE));
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
  }
}

/// Screen size of the laid-out text (logical extents).
void ScreenSize(const TextLook& look, PangoLayout* layout, double* w, double* h) {
  PangoRectangle logical;
  pango_layout_get_extents(layout, nullptr, &logical);
  Rect r = Mapped(LayoutToScreen(look.vertical), FromPango(logical));
  *w = r.w();
  *h = r.h();
}

/// The font size that makes the text fit a fixed box (never larger than
/// asked; as large as the box allows when no size is asked).
double FitSize(const TextLook& look, const std::string& families, PangoObjects* p) {
  double size = look.size;
  bool bounded = look.boxWidth > 0 && look.boxHeight > 0;
  if (size <= 0) size = bounded ? std::min(look.boxWidth, look.boxHeight) : 48.0;
  MakeLayout(look, families, size, p);
  if (!bounded || (!look.fixedBox && look.size > 0)) return size;
  for (int round = 0; round < 8; ++round) {
    double w = 0, h = 0;
    ScreenSize(look, p->layout, &w, &h);
    double fit = std::min(look.boxWidth / std::max(w, 1e-3), look.boxHeight / std::max(h, 1e-3));
    if (fit >= 0.999) break;
    // Smaller glyphs wrap differently; shrink a little more than the ratio.
    size *= std::max(0.5, fit * 0.98);
    if (size < 1) break;
    MakeLayout(look, families, size, p);
  }
  return size;
}

void RoundedRect(cairo_t* cr, const Rect& r, double round) {
  double radius = std::clamp(round, 0.0, 1.0) * std::min(r.w(), r.h()) / 2;
  if (radius <= 0.5) {
    cairo_rectangle(cr, r.x0, r.y0, r.w(), r.h());
    return;
  }
  cairo_new_sub_path(cr);
  cairo_arc(cr, r.x1 - radius, r.y0 + radius, radius, -std::numbers::pi / 2, 0);
  cairo_arc(cr, r.x1 - radius, r.y1 - radius, radius, 0, std::numbers::pi / 2);
  cairo_arc(cr, r.x0 + radius, r.y1 - radius, radius, std::numbers::pi / 2, std::numbers::pi);
  cairo_arc(cr, r.x0 + radius, r.y0 + radius, radius, std::numbers::pi, 3 * std::numbers::pi / 2);
  cairo_close_path(cr);
}

/// Logical extents of each line, in layout space.
std::vector<Rect> LineRects(PangoLayout* layout) {
  std::vector<Rect> lines;
  PangoLayoutIter* it = pango_layout_get_iter(layout);
  do {
    PangoRectangle ink, logical;
    pango_layout_iter_get_line_extents(it, &ink, &logical);
    lines.push_back(FromPango(logical));
  } while (pango_layout_iter_next_line(it));
  pango_layout_iter_free(it);
  return lines;
}

/// Three box blurs in both directions approximate a Gaussian of `sigma`.
void BlurAlpha(uint8_t* data, int w, int h, int stride, double sigma) {
  if (sigma < 0.5) return;
  int r = std::max(1, static_cast<int>(std::lround(std::sqrt(4.0 * sigma * sigma + 1.0) / 2.0)));
  std::vector<int> line(static_cast<size_t>(std::max(w, h)));
  for (int pass = 0; pass < 3; ++pass) {
    for (int y = 0; y < h; ++y) {
      uint8_t* row = data + static_cast<size_t>(y) * stride;
      for (int x = 0; x < w; ++x)
        line[x] = row[x];
      int sum = 0;
      for (int x = -r; x <= r; ++x)
        sum += (x >= 0 && x < w) ? line[x] : 0;
      for (int x = 0; x < w; ++x) {
        row[x] = static_cast<uint8_t>(sum / (2 * r + 1));
        int out = x - r, in = x + r + 1;
        sum += (in < w ? line[in] : 0) - (out >= 0 ? line[out] : 0);
      }
    }
    for (int x = 0; x < w; ++x) {
      for (int y = 0; y < h; ++y)
        line[y] = data[static_cast<size_t>(y) * stride + x];
      int sum = 0;
      for (int y = -r; y <= r; ++y)
        sum += (y >= 0 && y < h) ? line[y] : 0;
      for (int y = 0; y < h; ++y) {
        data[static_cast<size_t>(y) * stride + x] = static_cast<uint8_t>(sum / (2 * r + 1));
        int out = y - r, in = y + r + 1;
        sum += (in < h ? line[in] : 0) - (out >= 0 ? line[out] : 0);
      }
    }
  }
}

cairo_pattern_t* FillPattern(const TextLook& look, const Rect& ink) {
  const WordArt* art = look.art.get();
  if (art && art->fill == "gradient" && art->colors.size() >= 2) {
    // Across the ink box, in the file's direction, on the screen.
    double a = art->angle * std::numbers::pi / 180.0, dx = std::cos(a), dy = std::sin(a);
    double cx = (ink.x0 + ink.x1) / 2, cy = (ink.y0 + ink.y1) / 2;
    double half = (std::fabs(dx) * ink.w() + std::fabs(dy) * ink.h()) / 2;
    cairo_pattern_t* p =
        cairo_pattern_create_linear(cx - dx * half, cy - dy * half, cx + dx * half, cy + dy * half);
    size_t n = art->colors.size();
    for (size_t i = 0; i < n; ++i) {
      double at = art->stops.size() == n ? art->stops[i] : static_cast<double>(i) / (n - 1);
      const Rgba& c = art->colors[i];
      cairo_pattern_add_color_stop_rgba(p, at, c[0], c[1], c[2], c[3]);
    }
    return p;
  }
  if (art && art->fill == "texture" && art->picture) {
    const Sprite& pic = *art->picture;
    cairo_surface_t* surface = cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(const_cast<uint32_t*>(pic.argb.data())), CAIRO_FORMAT_ARGB32,
        pic.width, pic.height, pic.width * 4);
    cairo_pattern_t* p = cairo_pattern_create_for_surface(surface);
    cairo_surface_destroy(surface); // the pattern keeps it
    cairo_matrix_t m;
    if (art->tile) {
      cairo_pattern_set_extend(p, CAIRO_EXTEND_REPEAT);
      cairo_matrix_init_translate(&m, -ink.x0, -ink.y0);
    } else {
      cairo_pattern_set_extend(p, CAIRO_EXTEND_PAD);
      cairo_matrix_init_scale(&m, pic.width / std::max(ink.w(), 1.0), pic.height / std::max(ink.h(), 1.0));
      cairo_matrix_translate(&m, -ink.x0, -ink.y0);
    }
    cairo_pattern_set_matrix(p, &m);
    cairo_pattern_set_filter(p, CAIRO_FILTER_GOOD);
    return p;
  }
  const Rgba& c = art && art->fill == "color" ? art->color : look.fill;
  return cairo_pattern_create_rgba(c[0], c[1], c[2], c[3]);
}

struct Frame {
  Affine toSprite; ///< layout space to sprite pixels
  Rect ink;        ///< glyph ink on the sprite
};

/// The text's outline as the current path of `cr`.
void TextPath(cairo_t* cr, PangoLayout* layout, const Affine& toSprite) {
  SetMatrix(cr, toSprite);
  cairo_new_path(cr);
  cairo_move_to(cr, 0, 0);
  pango_cairo_update_layout(cr, layout);
  pango_cairo_layout_path(cr, layout);
  cairo_identity_matrix(cr);
}

void DrawShadow(cairo_t* cr, const TextLook& look, PangoLayout* layout, const Frame& f, int w, int h) {
  cairo_surface_t* mask = cairo_image_surface_create(CAIRO_FORMAT_A8, w, h);
  cairo_t* mc = cairo_create(mask);
  TextPath(mc, layout, f.toSprite);
  cairo_set_source_rgba(mc, 0, 0, 0, 1);
  cairo_fill_preserve(mc);
  double outline = look.strokeWidth;
  if (look.art)
    for (const WordArtStroke& s : look.art->strokes)
      outline = std::max(outline, s.width * look.size);
  if (outline > 0) {
    cairo_set_line_width(mc, 2 * outline);
    cairo_set_line_join(mc, CAIRO_LINE_JOIN_ROUND);
    cairo_stroke(mc);
  }
  cairo_destroy(mc);
  cairo_surface_flush(mask);
  BlurAlpha(cairo_image_surface_get_data(mask), w, h, cairo_image_surface_get_stride(mask),
            look.shadowBlur / 2);
  cairo_surface_mark_dirty(mask);
  double a = look.shadowAngle * std::numbers::pi / 180.0;
  SetColor(cr, look.shadowColor);
  cairo_mask_surface(cr, mask, look.shadowDistance * std::cos(a), look.shadowDistance * std::sin(a));
  cairo_surface_destroy(mask);
}

void DrawBoxes(cairo_t* cr, const TextLook& look, PangoLayout* layout, const Frame& f) {
  std::vector<Rect> boxes;
  if (look.boxParagraph) {
    PangoRectangle logical;
    pango_layout_get_extents(layout, nullptr, &logical);
    boxes.push_back(Mapped(f.toSprite, FromPango(logical)));
  } else {
    for (const Rect& line : LineRects(layout))
      boxes.push_back(Mapped(f.toSprite, line));
  }
  SetColor(cr, look.boxColor);
  for (Rect r : boxes) {
    r.x0 += look.boxOffsetX - look.boxPadX;
    r.x1 += look.boxOffsetX + look.boxPadX;
    r.y0 += look.boxOffsetY - look.boxPadY;
    r.y1 += look.boxOffsetY + look.boxPadY;
    RoundedRect(cr, r, look.boxRound);
  }
  cairo_fill(cr);
}

void DrawText(cairo_t* cr, const TextLook& look, PangoLayout* layout, const Frame& f) {
  if (look.art && !look.art->strokes.empty()) {
    std::vector<WordArtStroke> strokes = look.art->strokes;
    std::stable_sort(strokes.begin(), strokes.end(),
                     [](const WordArtStroke& a, const WordArtStroke& b) { return a.width > b.width; });
    for (const WordArtStroke& s : strokes) {
      if (s.width <= 0) continue;
      TextPath(cr, layout, f.toSprite);
      cairo_set_line_width(cr, 2 * s.width * look.size);
      cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
      SetColor(cr, s.color);
      cairo_stroke(cr);
    }
  }
  if (look.strokeWidth > 0 && look.strokeColor[3] > 0) {
    TextPath(cr, layout, f.toSprite);
    cairo_set_line_width(cr, 2 * look.strokeWidth);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    SetColor(cr, look.strokeColor);
    cairo_stroke(cr);
  }
  TextPath(cr, layout, f.toSprite);
  cairo_pattern_t* fill = FillPattern(look, f.ink);
  cairo_set_source(cr, fill);
  cairo_fill(cr);
  cairo_pattern_destroy(fill);
}

cairo_t* Canvas(Sprite& sprite, cairo_surface_t** surface) {
  *surface =
      cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(sprite.argb.data()),
                                          CAIRO_FORMAT_ARGB32, sprite.width, sprite.height, sprite.width * 4);
  return cairo_create(*surface);
}

void Done(cairo_t* cr, cairo_surface_t* surface) {
  cairo_destroy(cr);
  cairo_surface_flush(surface);
  cairo_surface_destroy(surface);
}

std::string Number(double v) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.4g", v);
  return buffer;
}

std::string Color(const Rgba& c) {
  return Number(c[0]) + "," + Number(c[1]) + "," + Number(c[2]) + "," + Number(c[3]);
}

} // namespace

std::string TextLook::Key() const {
  std::string k = text + '\x1f' + fontFile + '\x1f' + family + '\x1f' + Number(size) + (bold ? "b" : "") +
                  (italic ? "i" : "") + (underline ? "u" : "") + (vertical ? "v" : "") + Number(alignment) +
                  '/' + Number(lineSpacing) + '/' + Number(letterSpacing) + '/' + Number(boxWidth) + 'x' +
                  Number(boxHeight) + (fixedBox ? "f" : "s") + '/' + Color(fill) + '/' +
                  (art ? art->path : "") + '/' + Number(strokeWidth) + ':' + Color(strokeColor) + '/' +
                  Number(shadowBlur) + ':' + Number(shadowAngle) + ':' + Number(shadowDistance) + ':' +
                  Color(shadowColor);
  if (box)
    k += "/box" + std::string(boxParagraph ? "p" : "l") + Color(boxColor) + ':' + Number(boxRound) + ':' +
         Number(boxPadX) + ':' + Number(boxPadY) + ':' + Number(boxOffsetX) + ':' + Number(boxOffsetY);
  if (highlight) k += "/hl" + Color(highlightColor);
  return k;
}

bool RenderText(const TextLook& look, int matrix, TextRaster* out, std::string* error) {
  if (look.text.empty()) {
    *error = "no text";
    return false;
  }
  std::lock_guard<std::mutex> lock(TextMutex());
  PangoObjects p;
  MakeContext(look, &p);
  TextLook fitted = look;
  std::string families = ResolveFontFamilies(look.fontFile, look.family);
  fitted.size = FitSize(look, families, &p);
  if (!(fitted.size >= 1)) {
    *error = "the text box is too small for the text";
    return false;
  }

  PangoRectangle inkP, logicalP;
  pango_layout_get_extents(p.layout, &inkP, &logicalP);
  Affine toScreen = LayoutToScreen(look.vertical);
  Rect logical = FromPango(logicalP), ink = FromPango(inkP);
  // The anchor is the centre of the text box: across the box's width when
  // the layout wraps at it, else the middle of the laid-out text.
  double anchorX = (logical.x0 + logical.x1) / 2, anchorY = (logical.y0 + logical.y1) / 2;
  if (pango_layout_get_width(p.layout) > 0)
    anchorX = pango_layout_get_width(p.layout) / double(PANGO_SCALE) / 2;
  Rect content = Mapped(toScreen, logical);
  content.Add(Mapped(toScreen, ink));

  // Room for what is drawn around the glyphs.
  double outline = fitted.strokeWidth;
  if (look.art)
    for (const WordArtStroke& s : look.art->strokes)
      outline = std::max(outline, s.width * fitted.size);
  double margin = outline + 2;
  if (look.shadowColor[3] > 0 && (look.shadowDistance > 0 || look.shadowBlur > 0))
    margin += look.shadowDistance + look.shadowBlur * 1.5;
  Rect bounds = content;
  bounds.x0 -= margin;
  bounds.y0 -= margin;
  bounds.x1 += margin;
  bounds.y1 += margin;
  if (look.box) {
    Rect boxed = content;
    boxed.x0 += look.boxOffsetX - look.boxPadX - 1;
    boxed.x1 += look.boxOffsetX + look.boxPadX + 1;
    boxed.y0 += look.boxOffsetY - look.boxPadY - 1;
    boxed.y1 += look.boxOffsetY + look.boxPadY + 1;
    bounds.Add(boxed);
  }
  bounds.x0 = std::floor(bounds.x0);
  bounds.y0 = std::floor(bounds.y0);
  int w = static_cast<int>(std::ceil(bounds.x1 - bounds.x0));
  int h = static_cast<int>(std::ceil(bounds.y1 - bounds.y0));
  if (w <= 0 || h <= 0 || w > kMaxSide || h > kMaxSide) {
    *error = "the text is too large to draw (" + std::to_string(w) + "x" + std::to_string(h) + " pixels)";
    return false;
  }

  Frame f;
  f.toSprite = Affine::Translation(-bounds.x0, -bounds.y0).After(toScreen);
  f.ink = Mapped(f.toSprite, ink);

  out->base = std::make_shared<Sprite>(w, h);
  cairo_surface_t* surface = nullptr;
  cairo_t* cr = Canvas(*out->base, &surface);
  if (look.box && look.boxColor[3] > 0) DrawBoxes(cr, fitted, p.layout, f);
  if (look.shadowColor[3] > 0 && (look.shadowDistance > 0 || look.shadowBlur > 0))
    DrawShadow(cr, fitted, p.layout, f, out->base->width, out->base->height);
  DrawText(cr, fitted, p.layout, f);
  Done(cr, surface);
  out->base->Finish(matrix);

  out->highlight.reset();
  if (look.highlight) {
    out->highlight = std::make_shared<Sprite>(w, h);
    cr = Canvas(*out->highlight, &surface);
    TextPath(cr, p.layout, f.toSprite);
    SetColor(cr, look.highlightColor);
    cairo_fill(cr);
    Done(cr, surface);
    out->highlight->Finish(matrix);
  }

  double ax = f.toSprite.xx * anchorX + f.toSprite.xy * anchorY + f.toSprite.x0;
  double ay = f.toSprite.yx * anchorX + f.toSprite.yy * anchorY + f.toSprite.y0;
  out->anchorX = ax;
  out->anchorY = ay;
  out->vertical = look.vertical;
  out->fontSize = fitted.size;
  out->textWidth = content.w();
  out->textHeight = content.h();
  out->lines.clear();
  for (const Rect& line : LineRects(p.layout)) {
    Rect s = Mapped(f.toSprite, line);
    out->lines.push_back(TextLine{s.x0, s.y0, s.x1, s.y1});
  }
  return true;
}

std::vector<SpritePart> HighlightParts(const TextRaster& raster, double progress) {
  std::vector<SpritePart> parts;
  const std::vector<TextLine>& lines = raster.lines;
  if (!(progress > 0) || lines.empty()) return parts;
  constexpr double kFar = 1e9;
  bool v = raster.vertical;
  auto along0 = [&](const TextLine& l) { return v ? l.y0 : l.x0; };
  auto along1 = [&](const TextLine& l) { return v ? l.y1 : l.x1; };
  auto across0 = [&](const TextLine& l) { return v ? l.x0 : l.y0; };
  auto across1 = [&](const TextLine& l) { return v ? l.x1 : l.y1; };
  double total = 0;
  for (const TextLine& l : lines)
    total += std::max(0.0, along1(l) - along0(l));
  double left = std::min(progress, 1.0) * total;
  for (size_t i = 0; i < lines.size() && left > 0; ++i) {
    const TextLine& l = lines[i];
    double len = std::max(0.0, along1(l) - along0(l));
    double take = std::min(left, len);
    left -= take;
    // Bands reach halfway to the neighbouring lines (and past the outer
    // ones), and a finished line to its far end, so glyph ink outside the
    // logical line box is covered too.
    double a0 = -kFar, a1 = take >= len ? kFar : along0(l) + take;
    double c0 = across0(l), c1 = across1(l);
    if (v) {
      // Columns follow each other to the left.
      c1 = i == 0 ? kFar : (c1 + across0(lines[i - 1])) / 2;
      c0 = i + 1 == lines.size() ? -kFar : (c0 + across1(lines[i + 1])) / 2;
    } else {
      c0 = i == 0 ? -kFar : (c0 + across1(lines[i - 1])) / 2;
      c1 = i + 1 == lines.size() ? kFar : (c1 + across0(lines[i + 1])) / 2;
    }
    parts.push_back(v ? SpritePart{c0, a0, c1, a1} : SpritePart{a0, c0, a1, c1});
  }
  return parts;
}

} // namespace orma
