// Captions rendered through the core library's API, as the program drives
// it: the output is decoded and the text read back with OCR, colours looked
// at where stroke, box and highlight should be.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include <sys/stat.h>

#include "tests/engine/engine_test_support.h"
#include "tests/engine/ocr.h"

namespace {

int F(double seconds) { return static_cast<int>(std::lround(seconds * 25)); }

const Rgb kBlue{0, 0, 255}, kWhite{255, 255, 255}, kRed{255, 0, 0}, kYellow{255, 255, 0}, kGreen{0, 255, 0};

/// Pixels of a frame near a colour (within the tolerance of lossy coding).
int CountNear(const DecodedVideo& v, int frame, Rgb color, FrameArea area = {}) {
  int n = 0;
  for (int y = static_cast<int>(area.y0 * v.height); y < static_cast<int>(area.y1 * v.height); ++y)
    for (int x = static_cast<int>(area.x0 * v.width); x < static_cast<int>(area.x1 * v.width); ++x)
      if (Near(v.At(frame, (x + 0.5) / v.width, (y + 0.5) / v.height), color, 40)) ++n;
  return n;
}

/// Bounding box (pixels) of what differs from the background colour.
struct Box {
  int x0 = 1 << 30, y0 = 1 << 30, x1 = -1, y1 = -1;
  int w() const { return x1 - x0 + 1; }
  int h() const { return y1 - y0 + 1; }
};
Box InkBox(const DecodedVideo& v, int frame, Rgb background, int tolerance = 60) {
  Box b;
  for (int y = 0; y < v.height; ++y)
    for (int x = 0; x < v.width; ++x)
      if (!Near(v.At(frame, (x + 0.5) / v.width, (y + 0.5) / v.height), background, tolerance)) {
        b.x0 = std::min(b.x0, x);
        b.y0 = std::min(b.y0, y);
        b.x1 = std::max(b.x1, x);
        b.y1 = std::max(b.y1, y);
      }
  return b;
}

/// A style file for captions of styled pieces: a fixed 600x200 box whose
/// text box is the whole box, plus what `extra` adds.
std::string PlainStyle(const std::string& extra = "") {
  return R"({"name": "test", "width": 600, "height": 200, "textWidth": 600, "textHeight": 200,
             "textPadding": [0, 0, 0, 0], "stretchability": 0)" +
         extra + "}";
}

class EngineCaption : public EngineTest {
protected:
  /// A caption of kind `kind` from a style written into the test folder,
  /// placed over [from, to) seconds with its box centred at (x, y), w x h
  /// canvas units, as the program places it.
  OrmaCaptionHandle AddCaption(OrmaVideoHandle vv, const std::string& style, double from, double to,
                               float x = 0.5f, float y = 0.5f, float w = 1.0f, float h = 1.0f, int kind = 0,
                               int level = 0) {
    std::string folder = Path("style" + std::to_string(++styles_));
    mkdir(folder.c_str(), 0755);
    WriteFile(folder + "/config.json", style);
    OrmaCaptionHandle c = OrmaCreateCaptionFromConfigure((folder + "/config.json").c_str(), kind);
    EXPECT_NE(c, nullptr);
    if (!c) return nullptr;
    EXPECT_EQ(OrmaAddCaption(vv, c), 1);
    if (level > 0) {
      EXPECT_EQ(OrmaUpateCaptionLevel(c, level), 1);
    }
    EXPECT_EQ(OrmaUpdateCaptionTimeline(c, static_cast<int64_t>(from * kSecond),
                                        static_cast<int64_t>(to * kSecond)),
              1);
    EXPECT_EQ(OrmaSetCaptionTransparency(c, 1.0f), 1);
    EXPECT_EQ(OrmaSetCaptionPosition(c, OrmaFloatPair{x, y}), 1);
    OrmaSetCaptionSize(c, OrmaFloatPair{w, h});
    EXPECT_EQ(OrmaSetCaptionScale(c, 1.0f), 1);
    EXPECT_EQ(OrmaSetCaptionAngle(c, 0.0f), 1);
    return c;
  }

  /// A piece filling the caption's box, in `rgba`, at `size` output pixels.
  OrmaCaptionItemHandle AddPiece(OrmaCaptionHandle c, const std::string& text, int size,
                                 Rgb color = {255, 255, 255}, const std::string& family = "",
                                 bool vertical = false) {
    OrmaCaptionItemHandle item = OrmaGetCaptionItem(c, text.c_str());
    EXPECT_NE(item, nullptr);
    OrmaCaptionItemBlock block;
    EXPECT_EQ(OrmaCaptionGetItemCaptionParam(c, OrmaCaptionGetItemCount(c) - 1, &block), 1);
    std::strncpy(block.text, text.c_str(), sizeof block.text - 1);
    block.fontSize = size;
    block.centerX = 0.5f;
    block.centerY = 0.5f;
    block.width = 1.0f;
    block.height = 1.0f;
    block.opacity = 1.0f;
    block.textColor[0] = color.r / 255.0f;
    block.textColor[1] = color.g / 255.0f;
    block.textColor[2] = color.b / 255.0f;
    block.textColor[3] = 1.0f;
    block.isVertical = vertical;
    std::strncpy(block.fontFamily, family.c_str(), sizeof block.fontFamily - 1);
    EXPECT_EQ(OrmaUpdateCaptionItemParam(item, &block), 1);
    return item;
  }

  /// A piece of `text` at `size` pixels in a caption over the whole of a
  /// blue scene of `seconds`.
  OrmaCaptionItemHandle PieceOverBlue(OrmaVideoHandle vv, double seconds, const std::string& text, int size) {
    AddScene(vv, 0, seconds, "blue.mp4");
    return AddPiece(AddCaption(vv, PlainStyle(), 0, seconds), text, size);
  }

  int styles_ = 0;
};

TEST_F(EngineCaption, LatinCaptionReadsBack) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  OrmaCaptionHandle c = AddCaption(vv, PlainStyle(), 0, 1);
  AddPiece(c, "Hello World", 40);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_EQ(ReadText(v, 10, folder(), "eng"), "HelloWorld");
}

TEST_F(EngineCaption, ChineseCaptionReadsBack) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  OrmaCaptionHandle c = AddCaption(vv, PlainStyle(), 0, 1);
  AddPiece(c, "你好世界", 48, {255, 255, 255}, "\xE9\xBB\x91\xE4\xBD\x93");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_EQ(ReadText(v, 10, folder(), "chi_sim"), "你好世界");
}

TEST_F(EngineCaption, VerticalCaptionIsTallerThanWideAndReadsTopToBottom) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  OrmaCaptionHandle c = AddCaption(vv, PlainStyle(), 0, 1);
  AddPiece(c, "上下左右", 34, kWhite, "", true);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  Box ink = InkBox(v, 10, kBlue);
  ASSERT_GT(ink.x1, ink.x0);
  EXPECT_GT(ink.h(), 3 * ink.w()) << ink.w() << "x" << ink.h();
  // Upright glyphs, one under the other: each quarter of the column reads
  // as one character.
  FrameArea column{(ink.x0 - 8.0) / v.width, (ink.y0 - 2.0) / v.height, (ink.x1 + 8.0) / v.width,
                   (ink.y1 + 3.0) / v.height};
  EXPECT_EQ(ReadColumn(v, 10, folder(), "chi_sim", column, 4), "上下左右");
}

TEST_F(EngineCaption, StyleVerticalKeyTurnsPiecesVertical) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  OrmaCaptionHandle c = AddCaption(vv, PlainStyle(R"(, "vertical": 1)"), 0, 1);
  AddPiece(c, "竖排文字", 30);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  Box ink = InkBox(v, 10, kBlue);
  EXPECT_GT(ink.h(), 3 * ink.w()) << ink.w() << "x" << ink.h();
}

TEST_F(EngineCaption, StrokeSurroundsTheFill) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  OrmaCaptionHandle c = AddCaption(vv, PlainStyle(), 0, 1);
  OrmaCaptionItemHandle item = AddPiece(c, "I", 120);
  OrmaStrokeBlock stroke{};
  stroke.width = 6;
  stroke.color[0] = 1;
  stroke.color[3] = 1;
  ASSERT_EQ(OrmaSetCaptionItemStroke(item, &stroke), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  // Across the middle of the letter: blue, then red (the stroke), white
  // (the fill), red again, blue.
  std::string runs;
  for (int x = 0; x < v.width; ++x) {
    Rgb p = v.At(10, (x + 0.5) / v.width, 0.5);
    char k = Near(p, kBlue, 60) ? 'b' : Near(p, kRed, 60) ? 'r' : Near(p, kWhite, 60) ? 'w' : '?';
    if (k != '?' && (runs.empty() || runs.back() != k)) runs += k;
  }
  EXPECT_EQ(runs, "brwrb");
  EXPECT_GT(CountNear(v, 10, kRed), 150);
}

TEST_F(EngineCaption, BackgroundBoxSurroundsTheTextWithItsPadding) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  OrmaCaptionHandle c = AddCaption(vv, PlainStyle(), 0, 1);
  OrmaCaptionItemHandle item = AddPiece(c, "Box", 40);
  OrmaCaptionBackgroundBlock box{};
  box.type = 1;
  box.color[1] = 1; // green
  box.color[3] = 1;
  box.roundFactor = 0;
  box.padding[0] = 20;
  box.padding[1] = 16;
  ASSERT_EQ(OrmaSetCaptionItemBackground(item, 1, &box), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  Box green;
  for (int y = 0; y < v.height; ++y)
    for (int x = 0; x < v.width; ++x)
      if (Near(v.At(10, (x + 0.5) / v.width, (y + 0.5) / v.height), kGreen, 60)) {
        green.x0 = std::min(green.x0, x);
        green.y0 = std::min(green.y0, y);
        green.x1 = std::max(green.x1, x);
        green.y1 = std::max(green.y1, y);
      }
  ASSERT_GT(green.x1, green.x0);
  // The box is centred and larger than the text by its padding; the text
  // inside it stays white, the scene around it blue.
  EXPECT_NEAR((green.x0 + green.x1) / 2.0, v.width / 2.0, 4);
  EXPECT_NEAR((green.y0 + green.y1) / 2.0, v.height / 2.0, 4);
  EXPECT_GT(green.w(), 40 + 40);
  EXPECT_GT(green.h(), 40 + 20);
  EXPECT_PRED2(Close, v.At(10, (green.x0 + 4.0) / v.width, (green.y0 + 4.0) / v.height), kGreen);
  EXPECT_PRED2(Close, v.At(10, (green.x0 - 4.0) / v.width, 0.5), kBlue);
  EXPECT_GT(CountNear(v, 10, kWhite), 200);
}

TEST_F(EngineCaption, ShadowFallsInItsDirection) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  OrmaCaptionHandle c = AddCaption(vv, PlainStyle(), 0, 1);
  OrmaCaptionItemHandle item = AddPiece(c, "I", 100);
  OrmaShadowBlock shadow{};
  shadow.angle = 0; // to the right
  shadow.distance = 20;
  shadow.blur = 0;
  shadow.color[3] = 1; // black
  ASSERT_EQ(OrmaSetCaptionItemShadow(item, &shadow), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  Box white;
  for (int x = 0; x < v.width; ++x)
    if (Near(v.At(10, (x + 0.5) / v.width, 0.5), kWhite, 60)) {
      white.x0 = std::min(white.x0, x);
      white.x1 = std::max(white.x1, x);
    }
  ASSERT_GT(white.x1, white.x0);
  const Rgb black{0, 0, 0};
  // The letter's twin, 20 pixels to the right, in the shadow's colour.
  EXPECT_PRED2(Close, v.At(10, ((white.x0 + white.x1) / 2.0 + 20.5) / v.width, 0.5), black);
  EXPECT_PRED2(Close, v.At(10, (white.x0 - 6.0) / v.width, 0.5), kBlue);
}

TEST_F(EngineCaption, KaraokeHighlightSweepsOverThePiecesTime) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "blue.mp4");
  OrmaCaptionHandle c = AddCaption(vv, PlainStyle(R"(, "ktvColor": [1, 1, 0, 1])"), 0, 2);
  OrmaCaptionItemHandle item = OrmaGetCaptionItem(c, "MMMMMM");
  ASSERT_NE(item, nullptr);
  OrmaCaptionItemBlock block;
  ASSERT_EQ(OrmaCaptionGetItemCaptionParam(c, 0, &block), 1);
  EXPECT_EQ(block.hasKtvColor, 1);
  block.fontSize = 40;
  block.startUs = 0;
  block.endUs = 2 * kSecond;
  ASSERT_EQ(OrmaUpdateCaptionItemParam(item, &block), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  FrameArea left{0, 0, 0.5, 1}, right{0.5, 0, 1, 1};
  int early = F(0.4), late = F(1.6);
  // Early: yellow only on the left; late: the left all yellow, the right
  // turning; the white shrinks as the yellow grows. (A few edge pixels
  // take a tint from their neighbours in 4:2:0, hence the margins.)
  EXPECT_GT(CountNear(v, early, kYellow, left), 30);
  EXPECT_LT(CountNear(v, early, kYellow, right), 5);
  EXPECT_LT(CountNear(v, late, kWhite, left) * 5, CountNear(v, early, kWhite, left));
  EXPECT_GT(CountNear(v, late, kYellow, right), 30);
  EXPECT_GT(CountNear(v, late, kYellow), 2 * CountNear(v, early, kYellow));
  EXPECT_LT(CountNear(v, late, kWhite), CountNear(v, early, kWhite));
}

TEST_F(EngineCaption, TemplateCaptionHasTheItemsOfItsStyle) {
  std::string style = PlainStyle(R"(, "items": [
      {"text": "TOP", "rect": [0, 0, 1, 0.5], "fontSize": 70, "color": "#ffff00"},
      {"text": "BOTTOM", "rect": [0, 0.5, 1, 0.5], "fontSize": 70, "color": "#ffffff",
       "stroke": {"width": 4, "color": "#ff0000"}}])");
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  OrmaCaptionHandle c = AddCaption(vv, style, 0, 1, 0.5f, 0.5f, 1.0f, 1.0f, 1);
  ASSERT_EQ(OrmaCaptionGetItemCount(c), 2);
  OrmaCaptionItemBlock block;
  ASSERT_EQ(OrmaCaptionGetItemCaptionParam(c, 0, &block), 1);
  EXPECT_STREQ(block.text, "TOP");
  EXPECT_EQ(block.fontSize, 70);
  EXPECT_FLOAT_EQ(block.centerY, 0.25f);
  // The program replaces the first line only.
  std::strcpy(block.text, "NEW");
  ASSERT_EQ(OrmaUpdateCaptionItemParam(OrmaCaptionGetItemCaption(c, 0), &block), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_EQ(ReadText(v, 10, folder(), "eng", FrameArea{0, 0, 1, 0.5}), "NEW");
  EXPECT_EQ(ReadText(v, 10, folder(), "eng", FrameArea{0, 0.5, 1, 1}), "BOTTOM");
  EXPECT_GT(CountNear(v, 10, kYellow, FrameArea{0, 0, 1, 0.5}), 100);
  EXPECT_GT(CountNear(v, 10, kRed, FrameArea{0, 0.5, 1, 1}), 50);
}

TEST_F(EngineCaption, PositionScaleAndAngleAsTheProgramSetsThem) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  OrmaCaptionHandle c = AddCaption(vv, PlainStyle(), 0, 1, 0.25f, 0.25f, 0.5f, 0.5f);
  AddPiece(c, "WIDE TEXT", 24);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo plain = Decode();
  Box a = InkBox(plain, 10, kBlue);
  EXPECT_NEAR((a.x0 + a.x1) / 2.0, 80, 4);
  EXPECT_NEAR((a.y0 + a.y1) / 2.0, 45, 4);

  OrmaVideoHandle turned = NewVideo(25.0, "turned.mp4");
  AddScene(turned, 0, 1, "blue.mp4");
  OrmaCaptionHandle t = AddCaption(turned, PlainStyle(), 0, 1, 0.5f, 0.5f, 0.5f, 0.5f);
  AddPiece(t, "WIDE TEXT", 24);
  ASSERT_EQ(OrmaSetCaptionScale(t, 1.5f), 1);
  ASSERT_EQ(OrmaSetCaptionAngle(t, 90.0f), 1);
  ASSERT_EQ(Export(turned), 1);
  DecodedVideo v = Decode("turned.mp4");
  Box b = InkBox(v, 10, kBlue);
  // A quarter turn: the wide line stands upright, half as large again.
  EXPECT_NEAR(b.h(), a.w() * 1.5, 8);
  EXPECT_NEAR(b.w(), a.h() * 1.5, 8);
  EXPECT_NEAR((b.x0 + b.x1) / 2.0, 160, 4);
}

TEST_F(EngineCaption, KeyFramesMoveAndFadeTheCaption) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "blue.mp4");
  OrmaCaptionHandle c = AddCaption(vv, PlainStyle(), 0, 2, 0.5f, 0.5f, 0.25f, 0.25f);
  AddPiece(c, "KEY", 30);
  OrmaCaptionKeyFrameBlock k{};
  k.atTimeUs = 0;
  float left[4] = {0, 60, 80, 120}; // centre (40, 90)
  std::memcpy(k.showRect, left, sizeof left);
  k.alpha = 1;
  k.scale = 1;
  ASSERT_EQ(OrmaCreateCaptionKeyFrameAniamtion(c, &k), 1);
  k.atTimeUs = 2 * kSecond;
  float right[4] = {240, 60, 320, 120}; // centre (280, 90)
  std::memcpy(k.showRect, right, sizeof right);
  k.alpha = 0;
  ASSERT_EQ(OrmaCreateCaptionKeyFrameAniamtion(c, &k), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  Box start = InkBox(v, 0, kBlue), middle = InkBox(v, F(1.0), kBlue);
  EXPECT_NEAR((start.x0 + start.x1) / 2.0, 40, 4);
  EXPECT_NEAR((middle.x0 + middle.x1) / 2.0, 160, 4);
  // Half faded at the middle: the text is a mix of white and blue.
  Rgb core = v.At(F(1.0), 0.5, 0.5);
  int whiteAtStart = CountNear(v, 0, kWhite);
  EXPECT_GT(whiteAtStart, 50);
  EXPECT_EQ(CountNear(v, F(1.0), kWhite), 0) << ToString(core);
  EXPECT_EQ(InkBox(v, F(2.0) - 1, kBlue).x1, -1); // faded out by the end
}

TEST_F(EngineCaption, StackedCaptionsCoverEachOtherByLevel) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  // Level 3 added first, level 2 after: the level decides, not the order.
  OrmaCaptionHandle upper = AddCaption(vv, PlainStyle(), 0, 1, 0.5f, 0.5f, 1, 1, 0, 3);
  OrmaCaptionItemHandle top = AddPiece(upper, "  ", 40);
  OrmaCaptionBackgroundBlock box{};
  box.type = 1;
  box.color[0] = 1; // red block over the middle
  box.color[3] = 1;
  box.padding[0] = 60;
  box.padding[1] = 40;
  ASSERT_EQ(OrmaSetCaptionItemBackground(top, 1, &box), 1);
  OrmaCaptionHandle lower = AddCaption(vv, PlainStyle(), 0, 1, 0.5f, 0.5f, 1, 1, 0, 2);
  AddPiece(lower, "III", 40);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_PRED2(Close, v.At(10, 0.5, 0.5), kRed);
  EXPECT_EQ(CountNear(v, 10, kWhite), 0);
}

TEST_F(EngineCaption, MissingFontFallsBackWithOneLogLine) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  OrmaCaptionHandle c = AddCaption(vv, PlainStyle(), 0, 1);
  AddPiece(c, "Fallback", 40, kWhite, "No Such Font Family");
  testing::internal::CaptureStdout();
  ASSERT_EQ(Export(vv), 1);
  std::string out = testing::internal::GetCapturedStdout();
  const std::string line = "font No Such Font Family is not installed";
  size_t at = out.find(line);
  EXPECT_NE(at, std::string::npos) << out;
  EXPECT_EQ(out.find(line, at + 1), std::string::npos) << "logged once only: " << out;
  DecodedVideo v = Decode();
  EXPECT_EQ(ReadText(v, 10, folder(), "eng"), "Fallback");
}

TEST_F(EngineCaption, MissingGlyphsComeFromAnotherInstalledFont) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  OrmaCaptionHandle c = AddCaption(vv, PlainStyle(), 0, 1);
  // DejaVu Sans has no Chinese glyphs: they must come from Noto CJK.
  AddPiece(c, "中文", 60, kWhite, "DejaVu Sans");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_EQ(ReadText(v, 10, folder(), "chi_sim"), "中文");
}

TEST_F(EngineCaption, FontFileIsUsedForItsPiece) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  OrmaCaptionHandle c = AddCaption(vv, PlainStyle(), 0, 1);
  OrmaCaptionItemHandle item = AddPiece(c, "Serif", 50);
  OrmaCaptionItemBlock block;
  ASSERT_EQ(OrmaCaptionGetItemCaptionParam(c, 0, &block), 1);
  std::strcpy(block.fontFile, "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf");
  ASSERT_EQ(OrmaUpdateCaptionItemParam(item, &block), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_EQ(ReadText(v, 10, folder(), "eng"), "Serif");
}

} // namespace

TEST_F(EngineCaption, ShippedStylesDrawTheirDefaultLinesReadably) {
  // Each shipped style as a template caption across the canvas, its box
  // with the style's proportions; the lines it starts with read back.
  const struct {
    const char* style;
    const char* language;
    const char* lines; ///< as OCR returns them
    FrameArea area;    ///< where they are read
  } kStyles[] = {
      {"plain", "eng", "Plaincaption", {}},
      {"outlined", "eng", "Outlinedcaption", {}},
      // Tesseract reads light text on a dark box better without the
      // blue around it.
      {"boxed", "eng", "Boxedcaption", {0.2, 0.35, 0.8, 0.65}},
      {"shadowed", "eng", "Shadowedcaption", {}},
      {"gradient", "eng", "Goldencaption", {}},
      {"karaoke", "eng", "Singalong", {}},
      // Both lines read at once: the Chinese line alone, cut from the frame,
      // is not found by tesseract.
      {"bilingual", "chi_sim+eng", "双语字幕Two-linecaption", {}},
  };
  for (const auto& s : kStyles) {
    SCOPED_TRACE(s.style);
    std::string config = std::string(ORMA_SOURCE_DIR) + "/resources/captions/" + s.style + "/config.json";
    OrmaVideoHandle vv = NewVideo(25.0, std::string(s.style) + ".mp4");
    AddScene(vv, 0, 1, "blue.mp4");
    OrmaCaptionHandle c = OrmaCreateCaptionFromConfigure(config.c_str(), 1);
    ASSERT_NE(c, nullptr);
    ASSERT_EQ(OrmaCaptionGetItemCount(c), std::string(s.style) == "bilingual" ? 2 : 1);
    ASSERT_EQ(OrmaAddCaption(vv, c), 1);
    ASSERT_EQ(OrmaUpdateCaptionTimeline(c, 0, kSecond), 1);
    ASSERT_EQ(OrmaSetCaptionTransparency(c, 1.0f), 1);
    ASSERT_EQ(OrmaSetCaptionPosition(c, OrmaFloatPair{0.5f, 0.5f}), 1);
    OrmaCaptionItemBlock block;
    ASSERT_EQ(OrmaCaptionGetItemCaptionParam(c, 0, &block), 1);
    float h = 320.0f * block.styleHeight / block.styleWidth / 180.0f;
    ASSERT_EQ(OrmaSetCaptionSize(c, OrmaFloatPair{1.0f, h}), 1);
    ASSERT_EQ(Export(vv), 1);
    DecodedVideo v = Decode(std::string(s.style) + ".mp4");
    ASSERT_TRUE(v.ok) << v.error;
    // The last frame: a karaoke line is fully swept by then.
    int frame = F(1.0) - 1;
    EXPECT_EQ(ReadText(v, frame, folder(), s.language, s.area), s.lines);
  }
}

TEST_F(EngineCaption, ShippedVerticalStyleIsTallerThanWide) {
  std::string config = std::string(ORMA_SOURCE_DIR) + "/resources/captions/vertical/config.json";
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  OrmaCaptionHandle c = OrmaCreateCaptionFromConfigure(config.c_str(), 1);
  ASSERT_NE(c, nullptr);
  ASSERT_EQ(OrmaAddCaption(vv, c), 1);
  ASSERT_EQ(OrmaUpdateCaptionTimeline(c, 0, kSecond), 1);
  ASSERT_EQ(OrmaSetCaptionTransparency(c, 1.0f), 1);
  ASSERT_EQ(OrmaSetCaptionPosition(c, OrmaFloatPair{0.5f, 0.5f}), 1);
  // 200 x 800 style pixels at 0.2 output pixels each: 40 x 160.
  ASSERT_EQ(OrmaSetCaptionSize(c, OrmaFloatPair{40.0f / 320, 160.0f / 180}), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  Box ink = InkBox(v, 10, kBlue);
  ASSERT_GT(ink.x1, 0);
  EXPECT_GT(ink.h(), 2 * ink.w());
  // The four characters, one under the other, read as a row of four cells.
  FrameArea column{(ink.x0 - 8.0) / v.width, (ink.y0 - 2.0) / v.height, (ink.x1 + 8.0) / v.width,
                   (ink.y1 + 3.0) / v.height};
  // At this size tesseract's simplified Chinese data mistakes the dense 竖
  // and 幕 for other characters; the middle two, in order, are enough to
  // show upright glyphs read top to bottom.
  std::string read = ReadColumn(v, 10, folder(), "chi_sim", column, 4);
  EXPECT_NE(read.find("排字"), std::string::npos) << read;
}

TEST_F(EngineCaption, PieceAnimationsPlayOnThePiecesTime) {
  // An in-animation sliding the piece in from a quarter canvas to the left
  // while it fades in over its first second, and an out-animation doubling
  // its size over its last half second.
  WriteFile(Path("slide.json"), R"({"keys": [{"at": 0, "opacity": 0, "x": -0.25},
                                            {"at": 1, "opacity": 1, "x": 0}]})");
  WriteFile(Path("grow.json"), R"({"keys": [{"at": 0, "scale": 1}, {"at": 1, "scale": 2}]})");
  OrmaVideoHandle vv = NewVideo();
  OrmaCaptionItemHandle item = PieceOverBlue(vv, 3, "MOVE", 30);
  ASSERT_EQ(OrmaSetCaptionItemAnimation(item, Path("slide.json").c_str(), 0, 0, kSecond), 1);
  ASSERT_EQ(OrmaSetCaptionItemAnimation(item, Path("grow.json").c_str(), 1, 2500000, kSecond / 2), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  // Not yet visible at the start; halfway, half faded and 40 pixels left of
  // the centre; at rest from one second on.
  EXPECT_EQ(InkBox(v, 0, kBlue).x1, -1);
  Box half = InkBox(v, F(0.5), kBlue), rest = InkBox(v, F(1.5), kBlue);
  ASSERT_GT(half.x1, 0);
  ASSERT_GT(rest.x1, 0);
  EXPECT_NEAR((rest.x0 + rest.x1) / 2.0, 160, 3);
  EXPECT_NEAR((half.x0 + half.x1) / 2.0, 120, 3);
  EXPECT_EQ(CountNear(v, F(0.5), kWhite), 0);
  EXPECT_GT(CountNear(v, F(1.5), kWhite), 50);
  // The last frame (2.96 s, 0.92 through the out-animation): 1.92 times as
  // large about the same centre (ink edges are a pixel or two softer).
  Box grown = InkBox(v, F(3.0) - 1, kBlue);
  EXPECT_NEAR(grown.w(), 1.92 * rest.w(), 4);
  EXPECT_NEAR(grown.h(), 1.92 * rest.h(), 4);
  EXPECT_NEAR((grown.x0 + grown.x1) / 2.0, 160, 3);
  EXPECT_EQ(ReadText(v, F(3.0) - 1, folder(), "eng"), "MOVE");
}

TEST_F(EngineCaption, ABlurKeyBlursThePieceUntilItClears) {
  // Blurred as much as the format allows at the start, sharp from 1 s on.
  WriteFile(Path("blur.json"), R"({"keys": [{"at": 0, "blur": 1}, {"at": 1, "blur": 0}]})");
  OrmaVideoHandle vv = NewVideo();
  OrmaCaptionItemHandle item = PieceOverBlue(vv, 2, "BLUR", 40);
  ASSERT_EQ(OrmaSetCaptionItemAnimation(item, Path("blur.json").c_str(), 0, 0, kSecond), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  // Blurred, faint ink spreads beyond the glyphs and no stroke stays white.
  Box blurred = InkBox(v, F(0.12), kBlue, 20), sharp = InkBox(v, F(1.5), kBlue, 20);
  ASSERT_GT(blurred.x1, 0);
  ASSERT_GT(sharp.x1, 0);
  EXPECT_GT(blurred.w(), sharp.w() + 8);
  EXPECT_GT(blurred.h(), sharp.h() + 8);
  const int sharpWhite = CountNear(v, F(1.5), kWhite);
  EXPECT_GT(sharpWhite, 100);
  EXPECT_LT(CountNear(v, F(0.12), kWhite), sharpWhite / 10);
  EXPECT_EQ(ReadText(v, F(1.5), folder(), "eng"), "BLUR");
}

TEST_F(EngineCaption, ALoopingPieceAnimationRepeatsEveryCycle) {
  WriteFile(Path("blink.json"), R"({"keys": [{"at": 0, "opacity": 1}, {"at": 0.5, "opacity": 0},
                                            {"at": 1, "opacity": 1}]})");
  OrmaVideoHandle vv = NewVideo();
  OrmaCaptionItemHandle item = PieceOverBlue(vv, 2, "BLINK", 30);
  ASSERT_EQ(OrmaSetCaptionItemAnimation(item, Path("blink.json").c_str(), 2, 0, 0), 1);
  ASSERT_EQ(OrmaSetCaptionItemAnimationCycleDuration(item, 800000), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  // Cycles of 0.8 s: gone at 0.4 s and 1.2 s, whole at 0.8 s and 1.6 s.
  EXPECT_EQ(InkBox(v, F(0.4), kBlue).x1, -1);
  EXPECT_EQ(InkBox(v, F(1.2), kBlue).x1, -1);
  EXPECT_GT(CountNear(v, F(0.8), kWhite), 50);
  EXPECT_GT(CountNear(v, F(1.6), kWhite), 50);
}

TEST_F(EngineCaption, ABadPieceAnimationFileIsRefused) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  OrmaCaptionHandle c = AddCaption(vv, PlainStyle(), 0, 1);
  OrmaCaptionItemHandle item = AddPiece(c, "X", 30);
  WriteFile(Path("bad.json"), R"({"keys": [{"at": 2, "opacity": 1}]})");
  EXPECT_EQ(OrmaSetCaptionItemAnimation(item, Path("bad.json").c_str(), 0, 0, kSecond), -3);
  EXPECT_EQ(OrmaSetCaptionItemAnimation(item, Path("missing.json").c_str(), 0, 0, kSecond), -3);
}
