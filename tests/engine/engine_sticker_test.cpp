// Stickers rendered through the core library's API: frames advance at the
// sheet's rate and loop, an animated picture keeps its own timing, and a
// sticker is stacked with captions by level.
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include <sys/stat.h>

#include "tests/engine/engine_test_support.h"

namespace {

int F(double seconds) { return static_cast<int>(std::lround(seconds * 25)); }

const Rgb kBlue{0, 0, 255}, kWhite{255, 255, 255}, kRed{255, 0, 0}, kGreen{0, 255, 0}, kYellow{255, 255, 0};

/// A 24-bit BMP of one colour (the sticker reader takes any picture format).
std::string SolidBmp(Rgb c, int w = 32, int h = 32) {
  int rowBytes = (w * 3 + 3) & ~3;
  uint32_t dataSize = static_cast<uint32_t>(rowBytes * h), fileSize = 54 + dataSize;
  std::string out(54, '\0');
  auto put32 = [&](size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i)
      out[at + i] = static_cast<char>((v >> (8 * i)) & 0xff);
  };
  out[0] = 'B';
  out[1] = 'M';
  put32(2, fileSize);
  put32(10, 54);
  put32(14, 40);
  put32(18, static_cast<uint32_t>(w));
  put32(22, static_cast<uint32_t>(h));
  out[26] = 1;  // planes
  out[28] = 24; // bits per pixel
  put32(34, dataSize);
  for (int y = 0; y < h; ++y) {
    std::string row;
    for (int x = 0; x < w; ++x) {
      row += static_cast<char>(c.b);
      row += static_cast<char>(c.g);
      row += static_cast<char>(c.r);
    }
    row.resize(static_cast<size_t>(rowBytes), '\0');
    out += row;
  }
  return out;
}

class EngineSticker : public EngineTest {
protected:
  /// A sticker folder in the test folder: one solid picture per colour and
  /// a config.json listing them with `extra` keys.
  std::string StickerFolder(const std::vector<Rgb>& colors, const std::string& extra) {
    std::string folder = Path("sticker" + std::to_string(++folders_));
    mkdir(folder.c_str(), 0755);
    std::string list;
    for (size_t i = 0; i < colors.size(); ++i) {
      std::string name = "f" + std::to_string(i) + ".bmp";
      WriteFile(folder + "/" + name, SolidBmp(colors[i]));
      list += (i ? ", \"" : "\"") + name + "\"";
    }
    WriteFile(folder + "/config.json", "{\"frames\": [" + list + "]" + extra + "}");
    return folder + "/config.json";
  }

  /// An element of `kind` from `config` over [from, to) seconds, centred at
  /// (x, y) with a box of w x h canvas units, as the program places it.
  OrmaCaptionHandle Place(OrmaVideoHandle vv, const std::string& config, int kind, double from, double to,
                          float x, float y, float w, float h, int level) {
    OrmaCaptionHandle c = OrmaCreateCaptionFromConfigure(config.c_str(), kind);
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
    EXPECT_EQ(OrmaSetCaptionSize(c, OrmaFloatPair{w, h}), 1);
    EXPECT_EQ(OrmaSetCaptionScale(c, 1.0f), 1);
    EXPECT_EQ(OrmaSetCaptionAngle(c, 0.0f), 1);
    return c;
  }

  /// A caption whose one piece is white "III" in the middle of the canvas.
  void WhiteCaption(OrmaVideoHandle vv, int level) {
    std::string folder = Path("style" + std::to_string(++folders_));
    mkdir(folder.c_str(), 0755);
    WriteFile(folder + "/config.json", R"({"width": 600, "height": 200, "textWidth": 600, "textHeight": 200,
        "stretchability": 0})");
    OrmaCaptionHandle c = Place(vv, folder + "/config.json", 0, 0, 1, 0.5f, 0.5f, 1, 1, level);
    OrmaCaptionItemHandle item = OrmaGetCaptionItem(c, "III");
    ASSERT_NE(item, nullptr);
    OrmaCaptionItemBlock block;
    ASSERT_EQ(OrmaCaptionGetItemCaptionParam(c, 0, &block), 1);
    block.fontSize = 40;
    ASSERT_EQ(OrmaUpdateCaptionItemParam(item, &block), 1);
  }

  int CountNear(const DecodedVideo& v, int frame, Rgb color) {
    int n = 0;
    for (int y = 0; y < v.height; ++y)
      for (int x = 0; x < v.width; ++x)
        if (Near(v.At(frame, (x + 0.5) / v.width, (y + 0.5) / v.height), color, 40)) ++n;
    return n;
  }

  int folders_ = 0;
};

TEST_F(EngineSticker, FramesChangeAtTheSheetsRateAndLoop) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "blue.mp4");
  const std::vector<Rgb> colors{kRed, kGreen, kYellow, kWhite};
  Place(vv, StickerFolder(colors, ", \"fps\": 5, \"loop\": true"), 2, 0, 2, 0.5f, 0.5f, 0.5f, 0.5f, 0);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  // Five frames a second: each picture shows for 0.2 s (five output
  // frames), and after the fourth the first comes again.
  for (int k = 0; k < 10; ++k) {
    int frame = 5 * k + 2;
    EXPECT_PRED2(Close, v.At(frame, 0.5, 0.5), colors[static_cast<size_t>(k % 4)])
        << "output frame " << frame;
  }
  // Outside the sticker's box the scene shows.
  EXPECT_PRED2(Close, v.At(F(0.5), 0.05, 0.05), kBlue);
}

TEST_F(EngineSticker, WithoutLoopTheLastFrameHolds) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "blue.mp4");
  Place(vv, StickerFolder({kRed, kGreen}, ", \"fps\": 4, \"loop\": false"), 2, 0, 2, 0.5f, 0.5f, 0.5f, 0.5f,
        0);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_PRED2(Close, v.At(F(0.1), 0.5, 0.5), kRed);
  EXPECT_PRED2(Close, v.At(F(0.35), 0.5, 0.5), kGreen);
  EXPECT_PRED2(Close, v.At(F(1.5), 0.5, 0.5), kGreen);
  EXPECT_PRED2(Close, v.At(F(2.0) - 1, 0.5, 0.5), kGreen);
}

TEST_F(EngineSticker, AnAnimatedGifKeepsItsOwnTiming) {
  // The shipped colour band: ten frames a tenth of a second each, moving
  // along the band, drawn over the whole canvas.
  std::string config = std::string(ORMA_SOURCE_DIR) + "/resources/stickers/wave/config.json";
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  Place(vv, config, 2, 0, 1, 0.5f, 0.5f, 1, 1, 0);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  auto differ = [&](int a, int b) {
    int n = 0;
    for (double x = 0.05; x < 1; x += 0.1)
      if (!Near(v.At(a, x, 0.5), v.At(b, x, 0.5), 30)) ++n;
    return n;
  };
  // Output frames 0 and 1 (0 and 0.04 s) show the same GIF frame; 0.2 s
  // later two GIF frames have passed.
  EXPECT_EQ(differ(0, 1), 0);
  EXPECT_GE(differ(0, 5), 5);
  // 0.12 s and 0.16 s both fall in the second GIF frame.
  EXPECT_EQ(differ(3, 4), 0);
}

TEST_F(EngineSticker, ACaptionAtLevelTwoIsCoveredByAStickerAtLevelThree) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "blue.mp4");
  // The sticker is added first: the level decides, not the order.
  Place(vv, StickerFolder({kRed}, ""), 2, 0, 1, 0.5f, 0.5f, 0.8f, 0.8f, 3);
  WhiteCaption(vv, 2);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_PRED2(Close, v.At(10, 0.5, 0.5), kRed);
  EXPECT_EQ(CountNear(v, 10, kWhite), 0);

  // The same sticker at level 1 lies under the caption, whose text shows.
  OrmaVideoHandle below = NewVideo(25.0, "below.mp4");
  AddScene(below, 0, 1, "blue.mp4");
  Place(below, StickerFolder({kRed}, ""), 2, 0, 1, 0.5f, 0.5f, 0.8f, 0.8f, 1);
  WhiteCaption(below, 2);
  ASSERT_EQ(Export(below), 1);
  DecodedVideo u = Decode("below.mp4");
  ASSERT_TRUE(u.ok) << u.error;
  EXPECT_GT(CountNear(u, 10, kWhite), 50);
}

} // namespace
