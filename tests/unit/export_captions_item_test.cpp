// FillCaptionItemParam: the item parameter block of one styled piece, from the
// piece and its caption's style file; and the time conversions it relies on.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>

#include "export/captions.h"
#include "platform/platform.h"
#include "tests/support/caption_test_support.h"
#include "tests/support/joined_path.h"

namespace {

using captiontest::Document;
using captiontest::ReadAt;
using captiontest::TextAt;
using testpath::Joined;

constexpr const char* kHeiTi = "\xE9\xBB\x91\xE4\xBD\x93"; // 黑体
constexpr const char* kFixedStyle =
    R"({"width": 400, "height": 200, "textWidth": 300, "textHeight": 100, "textPadding": [10, 20, 30, 60]})";

std::vector<uint8_t> Bytes(const OrmaCaptionItemBlock& block) {
  return captiontest::BytesOf(&block, sizeof(block));
}

OrmaCaptionItemBlock ZeroBlock() {
  OrmaCaptionItemBlock block;
  std::memset(&block, 0, sizeof(block));
  return block;
}

// When this test program runs as a copy placed beside a font folder, it only
// fills one block for a piece without a font and prints the two font fields,
// so the lookup of the program's own font can be seen from outside.
const bool kRunsAsFontProbe = [] {
  const char* draft = std::getenv("ORMA_CAPTION_FONT_PROBE");
  if (!draft) return false;
  Document document(draft);
  CaptionRecord* caption = document.AddCaption("style");
  Document::AddWord(caption, "probe");
  OrmaCaptionItemBlock block = ZeroBlock();
  const int32_t r = FillCaptionItemParam(document.get(), caption, caption->words, &block);
  std::printf("%d|%s|%s\n", r, block.fontFamily, block.fontFile);
  std::fflush(stdout);
  std::_Exit(0);
}();

class ExportCaptionItem : public testing::Test {
protected:
  void SetUp() override {
    recorder::Reset();
    ASSERT_FALSE(dir_.path().empty());
  }

  /// A caption on the "style" folder of the scratch draft, with one piece.
  CaptionRecord* Caption(Document& document, const std::string& style = kFixedStyle) {
    if (!style.empty()) dir_.Write("style/config.json", style);
    CaptionRecord* c = document.AddCaption("style");
    c->timelineFrom = 1.0f;
    c->timelineTo = 4.7f;
    Document::AddWord(c, "piece");
    return c;
  }

  int32_t Fill(Document& document, CaptionRecord* caption) {
    block_ = ZeroBlock();
    return FillCaptionItemParam(document.get(), caption, caption->words, &block_);
  }

  std::string DraftPath() const { return dir_ / "d_1.json"; }

  captiontest::TempDir dir_;
  OrmaCaptionItemBlock block_;
};

// ---- result codes ----

TEST_F(ExportCaptionItem, NullArgumentGivesMinus782) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  OrmaCaptionItemBlock block = ZeroBlock();
  EXPECT_EQ(FillCaptionItemParam(nullptr, c, c->words, &block), -782);
  EXPECT_EQ(FillCaptionItemParam(document.get(), nullptr, c->words, &block), -782);
  EXPECT_EQ(FillCaptionItemParam(document.get(), c, nullptr, &block), -782);
  EXPECT_EQ(FillCaptionItemParam(document.get(), c, c->words, nullptr), -782);
  EXPECT_EQ(Bytes(block), Bytes(ZeroBlock()));
}

TEST_F(ExportCaptionItem, EmptyFolderPathGivesOneAndFillsNothing) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  CAPTIONTEST_SET(c->folderPath, "");
  c->words->startTime = 1;
  EXPECT_EQ(Fill(document, c), 1);
  EXPECT_EQ(Bytes(block_), Bytes(ZeroBlock()));
}

TEST_F(ExportCaptionItem, RelativeStyleFolderWithoutADraftFolderGivesMinus810) {
  Document document("d_1.json");
  CaptionRecord* c = Caption(document);
  EXPECT_EQ(Fill(document, c), -810);
  Document noDraft("");
  EXPECT_EQ(Fill(noDraft, Caption(noDraft)), -810);
}

TEST_F(ExportCaptionItem, AbsoluteStyleFolderNeedsNoDraftFolder) {
  Document document("");
  CaptionRecord* c = Caption(document);
  CAPTIONTEST_SET(c->folderPath, dir_ / "style");
  EXPECT_EQ(Fill(document, c), 1);
}

TEST_F(ExportCaptionItem, MissingStyleFileGivesMinus815) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document, "");
  EXPECT_EQ(Fill(document, c), -815);
}

TEST_F(ExportCaptionItem, StyleFileThatIsAFolderGivesMinus815) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document, "");
  std::filesystem::create_directories(dir_ / "style/config.json");
  EXPECT_EQ(Fill(document, c), -815);
}

TEST_F(ExportCaptionItem, StyleFileThatDoesNotParseGivesMinus833) {
  Document document(DraftPath());
  EXPECT_EQ(Fill(document, Caption(document, "{\"width\": 400,")), -833);
}

TEST_F(ExportCaptionItem, MissingWidthGivesMinus931) {
  Document document(DraftPath());
  EXPECT_EQ(Fill(document, Caption(document, R"({"height": 200, "textWidth": 1, "textHeight": 1})")), -931);
}

TEST_F(ExportCaptionItem, MissingHeightGivesMinus937) {
  Document document(DraftPath());
  EXPECT_EQ(Fill(document, Caption(document, R"({"width": 400, "textWidth": 1, "textHeight": 1})")), -937);
}

TEST_F(ExportCaptionItem, FixedStyleWithoutTextWidthGivesMinus984) {
  Document document(DraftPath());
  EXPECT_EQ(Fill(document, Caption(document, R"({"width": 400, "height": 200, "textHeight": 1})")), -984);
  EXPECT_EQ(
      Fill(document, Caption(document, R"({"width": 4, "height": 2, "stretchability": 0, "textHeight": 1})")),
      -984);
}

TEST_F(ExportCaptionItem, FixedStyleWithoutTextHeightGivesMinus990) {
  Document document(DraftPath());
  EXPECT_EQ(Fill(document, Caption(document, R"({"width": 400, "height": 200, "textWidth": 1})")), -990);
}

TEST_F(ExportCaptionItem, StretchableStyleNeedsNoTextBox) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document, R"({"width": 400, "height": 200, "stretchability": 1.5,
                                          "textPadding": [4, 5, 6, 7]})");
  EXPECT_EQ(Fill(document, c), 1);
  const auto bytes = Bytes(block_);
  EXPECT_EQ(ReadAt<float>(bytes, 4236), 1.5f);
  EXPECT_EQ(ReadAt<float>(bytes, 4240), 0.0f);
  EXPECT_EQ(ReadAt<float>(bytes, 4212), 4.0f);
  EXPECT_EQ(ReadAt<float>(bytes, 4224), 7.0f);
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(ReadAt<float>(bytes, 4248 + 4 * i), 0.0f);
}

// ---- block contents ----

TEST_F(ExportCaptionItem, TimesAtOffsetsZeroAndEightAreMicroseconds) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  c->words->startTime = 0.7f;
  c->words->duration = 1.25f;
  EXPECT_EQ(Fill(document, c), 1);
  const auto bytes = Bytes(block_);
  EXPECT_EQ(ReadAt<int64_t>(bytes, 0), 700000);
  EXPECT_EQ(ReadAt<int64_t>(bytes, 8), 1950000);
}

TEST_F(ExportCaptionItem, EndIsTheSumFormedInFloat) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  // 20,000,000 + 1 does not exist as a float and rounds to the even 20,000,000.
  c->words->startTime = 20.0f;
  c->words->duration = 0.000001f;
  EXPECT_EQ(Fill(document, c), 1);
  EXPECT_EQ(ReadAt<int64_t>(Bytes(block_), 0), 20000000);
  EXPECT_EQ(ReadAt<int64_t>(Bytes(block_), 8), 20000000);
}

TEST_F(ExportCaptionItem, PieceWithoutSpanEndsAtTheCaptionLengthInUnscaledSeconds) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  c->timelineFrom = 1.0f;
  c->timelineTo = 4.7f;
  EXPECT_EQ(Fill(document, c), 1);
  EXPECT_EQ(ReadAt<int64_t>(Bytes(block_), 0), 0);
  EXPECT_EQ(ReadAt<int64_t>(Bytes(block_), 8), 3);
}

TEST_F(ExportCaptionItem, TextAtOffset32) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  CAPTIONTEST_SET(c->words->text, "字幕 text");
  EXPECT_EQ(Fill(document, c), 1);
  EXPECT_EQ(TextAt(Bytes(block_), 32, 2048), "字幕 text");
}

TEST_F(ExportCaptionItem, LongestTextStaysZeroTerminated) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  std::memset(c->words->text, 'x', sizeof(c->words->text) - 1);
  EXPECT_EQ(Fill(document, c), 1);
  EXPECT_EQ(TextAt(Bytes(block_), 32, 2048), std::string(1023, 'x'));
  EXPECT_EQ(Bytes(block_)[32 + 1023], 0);
}

TEST_F(ExportCaptionItem, PlacementAtOffsets2080To2092) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  c->words->showRect = RectF{0.1f, 0.2f, 0.7f, 0.9f};
  EXPECT_EQ(Fill(document, c), 1);
  const auto bytes = Bytes(block_);
  EXPECT_EQ(ReadAt<float>(bytes, 2080),
            static_cast<float>(double(0.1f) + (double(0.7f) - double(0.1f)) * 0.5));
  EXPECT_EQ(ReadAt<float>(bytes, 2084),
            static_cast<float>(double(0.2f) + (double(0.9f) - double(0.2f)) * 0.5));
  EXPECT_EQ(ReadAt<float>(bytes, 2088), 0.7f - 0.1f);
  EXPECT_EQ(ReadAt<float>(bytes, 2092), 0.9f - 0.2f);
}

TEST_F(ExportCaptionItem, SpacingAndBoldAtOffsets5192To5200) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  c->words->lineSpacing = 1.5f;
  c->words->wordSpacing = -0.25f;
  c->words->isBold = true;
  EXPECT_EQ(Fill(document, c), 1);
  const auto bytes = Bytes(block_);
  EXPECT_EQ(ReadAt<float>(bytes, 5192), 1.5f);
  EXPECT_EQ(ReadAt<float>(bytes, 5196), -0.25f);
  EXPECT_EQ(ReadAt<int32_t>(bytes, 5200), 1);
}

TEST_F(ExportCaptionItem, RemainingStyleValuesAtTheirOffsets) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  CaptionWord* w = c->words;
  w->fontSize = 72;
  w->textAlignment = 2;
  w->isItalic = true;
  w->isUnderline = true;
  w->isVertical = true;
  w->opacity = 0.8f;
  w->angle = 12.5f;
  w->maskType = 3;
  w->textColor = ColorF{1.0f, 0.5f, 0.25f, 0.125f};
  w->backgroundColor = ColorF{0.0f, 0.75f, 0.0f, 1.0f};
  EXPECT_EQ(Fill(document, c), 1);
  const auto bytes = Bytes(block_);
  EXPECT_EQ(ReadAt<int32_t>(bytes, 16), 72);
  EXPECT_EQ(ReadAt<int32_t>(bytes, 20), 2);
  EXPECT_EQ(ReadAt<int32_t>(bytes, 24), 1);
  EXPECT_EQ(ReadAt<int32_t>(bytes, 28), 1);
  EXPECT_EQ(ReadAt<int32_t>(bytes, 2096), 1);
  EXPECT_EQ(ReadAt<float>(bytes, 2100), 0.8f);
  EXPECT_EQ(ReadAt<float>(bytes, 2104), 12.5f);
  EXPECT_EQ(ReadAt<int32_t>(bytes, 2108), 3);
  EXPECT_EQ(ReadAt<float>(bytes, 4160), 1.0f);
  EXPECT_EQ(ReadAt<float>(bytes, 4164), 0.5f);
  EXPECT_EQ(ReadAt<float>(bytes, 4168), 0.25f);
  EXPECT_EQ(ReadAt<float>(bytes, 4172), 0.125f);
  EXPECT_EQ(ReadAt<float>(bytes, 4180), 0.75f);
  EXPECT_EQ(ReadAt<float>(bytes, 4188), 1.0f);
}

// ---- font ----

TEST_F(ExportCaptionItem, RelativeFontPathIsResolvedIntoTheFontFileAt3136) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  CAPTIONTEST_SET(c->words->fontPath, "fonts\\Round.ttf");
  EXPECT_EQ(Fill(document, c), 1);
  EXPECT_EQ(TextAt(Bytes(block_), 3136, 1024), Joined(dir_.path(), "fonts\\Round.ttf"));
  EXPECT_EQ(TextAt(Bytes(block_), 2112, 1024), "");
}

TEST_F(ExportCaptionItem, AbsoluteFontPathIsWrittenAsItStands) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  CAPTIONTEST_SET(c->words->fontPath, "C:\\Windows\\Fonts\\simhei.ttf");
  EXPECT_EQ(Fill(document, c), 1);
  EXPECT_EQ(TextAt(Bytes(block_), 3136, 1024), "C:\\Windows\\Fonts\\simhei.ttf");
}

TEST_F(ExportCaptionItem, NoFontAndNoProgramFontNamesTheHeiTiFamilyAt2112) {
  const std::string programFont =
      Joined(std::filesystem::path(platform::ProgramPath()).parent_path().string(), "resource", "font",
             "PingFang-SC-Regular.otf");
  ASSERT_FALSE(platform::Exists(programFont.c_str()));
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  EXPECT_EQ(Fill(document, c), 1);
  const auto bytes = Bytes(block_);
  EXPECT_EQ(TextAt(bytes, 2112, 1024), kHeiTi);
  EXPECT_EQ(bytes[2112 + 6], 0);
  EXPECT_EQ(TextAt(bytes, 3136, 1024), "");
}

/// Links (or copies) a file into a folder under the same name.
void PlaceInto(const std::filesystem::path& file, const std::filesystem::path& folder) {
  std::error_code linkError;
  std::filesystem::create_hard_link(file, folder / file.filename(), linkError);
  if (linkError) std::filesystem::copy_file(file, folder / file.filename());
}

/// Runs a linked copy of this program as the font probe; returns its line.
/// The probe's draft goes through the environment, which the copy inherits.
/// On Windows the DLLs beside the program go beside the copy too, where the
/// loader looks for them.
std::string RunFontProbe(const captiontest::TempDir& dir, bool withProgramFont) {
  const std::filesystem::path bin = std::filesystem::path(dir.path()) / "bin";
  std::filesystem::create_directories(bin);
  const std::filesystem::path self = platform::ProgramPath();
  PlaceInto(self, bin);
  for (const auto& entry : std::filesystem::directory_iterator(self.parent_path()))
    if (entry.path().extension() == ".dll") PlaceInto(entry.path(), bin);
  const std::string copy = (bin / self.filename()).string();
  if (withProgramFont) dir.Write("bin/resource/font/PingFang-SC-Regular.otf", "OTTO");
  dir.Write("draft/style/config.json", kFixedStyle);
  setenv("ORMA_CAPTION_FONT_PROBE", (dir / "draft/d_1.json").c_str(), 1);
  // The command processor of each system; both take a double-quoted path.
  const std::string command = "\"" + copy + "\"";
  std::string out;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char buffer[4096];
    while (size_t n = std::fread(buffer, 1, sizeof(buffer), pipe))
      out.append(buffer, n);
    pclose(pipe);
  }
  unsetenv("ORMA_CAPTION_FONT_PROBE");
  // The probe's standard output is in text mode on Windows.
  out.erase(std::remove(out.begin(), out.end(), '\r'), out.end());
  return out;
}

TEST_F(ExportCaptionItem, NoFontButTheProgramFontBesideTheProgramWritesNoFont) {
  EXPECT_EQ(RunFontProbe(dir_, true), "1||\n");
}

TEST_F(ExportCaptionItem, TheFontProbeSeesTheMissingProgramFontToo) {
  EXPECT_EQ(RunFontProbe(dir_, false), std::string("1|") + kHeiTi + "|\n");
}

// ---- style file ----

TEST_F(ExportCaptionItem, StyleBoxTextBoxPaddingAndMarginsAreStored) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  EXPECT_EQ(Fill(document, c), 1);
  const auto bytes = Bytes(block_);
  EXPECT_EQ(ReadAt<float>(bytes, 4212), 10.0f);
  EXPECT_EQ(ReadAt<float>(bytes, 4216), 20.0f);
  EXPECT_EQ(ReadAt<float>(bytes, 4220), 30.0f);
  EXPECT_EQ(ReadAt<float>(bytes, 4224), 60.0f);
  EXPECT_EQ(ReadAt<int32_t>(bytes, 4228), 400);
  EXPECT_EQ(ReadAt<int32_t>(bytes, 4232), 200);
  EXPECT_EQ(ReadAt<float>(bytes, 4236), 0.0f);
  EXPECT_EQ(ReadAt<float>(bytes, 4240), 300.0f);
  EXPECT_EQ(ReadAt<float>(bytes, 4244), 100.0f);
  // 100 spare pixels across, split 10:30; 100 down, split 20:60.
  EXPECT_FLOAT_EQ(ReadAt<float>(bytes, 4248), 25.0f / 400.0f);
  EXPECT_FLOAT_EQ(ReadAt<float>(bytes, 4252), 25.0f / 200.0f);
  EXPECT_FLOAT_EQ(ReadAt<float>(bytes, 4256), 75.0f / 400.0f);
  EXPECT_FLOAT_EQ(ReadAt<float>(bytes, 4260), 75.0f / 200.0f);
}

TEST(ExportCaptionMargins, ZeroPaddingCentresTheTextBox) {
  const float padding[4] = {0, 0, 0, 0};
  float margins[4] = {9, 9, 9, 9};
  StyleTextMargins(400, 200, 300, 150, padding, margins);
  EXPECT_FLOAT_EQ(margins[0], 0.125f);
  EXPECT_FLOAT_EQ(margins[1], 0.125f);
  EXPECT_FLOAT_EQ(margins[2], 0.125f);
  EXPECT_FLOAT_EQ(margins[3], 0.125f);
}

TEST(ExportCaptionMargins, OversizedTextBoxOrEmptyStyleBoxGivesZero) {
  const float padding[4] = {10, 10, 10, 10};
  float margins[4] = {9, 9, 9, 9};
  StyleTextMargins(400, 0, 500, 50, padding, margins);
  for (float m : margins)
    EXPECT_EQ(m, 0.0f);
  StyleTextMargins(400, 200, std::numeric_limits<float>::quiet_NaN(), 200, padding, margins);
  for (float m : margins)
    EXPECT_EQ(m, 0.0f);
}

TEST(ExportCaptionMargins, NegativePaddingCountsAsZero) {
  const float padding[4] = {-10, 0, 30, 0};
  float margins[4] = {};
  StyleTextMargins(400, 200, 300, 100, padding, margins);
  EXPECT_FLOAT_EQ(margins[0], 0.0f);
  EXPECT_FLOAT_EQ(margins[2], 0.25f);
  EXPECT_FLOAT_EQ(margins[1], 0.25f);
  EXPECT_FLOAT_EQ(margins[3], 0.25f);
}

TEST_F(ExportCaptionItem, ShortPaddingArrayFillsOnlyItsValues) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(
      document, R"({"width": 400, "height": 200, "textWidth": 300, "textHeight": 100, "textPadding": [8]})");
  EXPECT_EQ(Fill(document, c), 1);
  EXPECT_EQ(ReadAt<float>(Bytes(block_), 4212), 8.0f);
  EXPECT_EQ(ReadAt<float>(Bytes(block_), 4216), 0.0f);
}

TEST_F(ExportCaptionItem, KeysOfTheStyleFileAreCaseInsensitive) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document, R"({"Width": 40, "HEIGHT": 20, "TextWidth": 30, "textheight": 10})");
  EXPECT_EQ(Fill(document, c), 1);
  EXPECT_EQ(ReadAt<int32_t>(Bytes(block_), 4228), 40);
  EXPECT_EQ(ReadAt<float>(Bytes(block_), 4244), 10.0f);
}

TEST_F(ExportCaptionItem, KtvColourIsCopiedAndMarked) {
  Document document(DraftPath());
  CaptionRecord* c =
      Caption(document,
              R"({"width": 4, "height": 2, "textWidth": 3, "textHeight": 1, "ktvColor": [1, 0.5, 0.25, 1]})");
  EXPECT_EQ(Fill(document, c), 1);
  const auto bytes = Bytes(block_);
  EXPECT_EQ(ReadAt<float>(bytes, 4192), 1.0f);
  EXPECT_EQ(ReadAt<float>(bytes, 4196), 0.5f);
  EXPECT_EQ(ReadAt<float>(bytes, 4200), 0.25f);
  EXPECT_EQ(ReadAt<float>(bytes, 4204), 1.0f);
  EXPECT_EQ(ReadAt<int32_t>(bytes, 4208), 1);
}

TEST_F(ExportCaptionItem, AbsentKtvColourClearsTheHighlight) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  OrmaCaptionItemBlock block = ZeroBlock();
  for (float& v : block.ktvColor)
    v = 0.5f;
  block.hasKtvColor = 1;
  EXPECT_EQ(FillCaptionItemParam(document.get(), c, c->words, &block), 1);
  for (float v : block.ktvColor)
    EXPECT_EQ(v, 0.0f);
  EXPECT_EQ(block.hasKtvColor, 0);
}

TEST_F(ExportCaptionItem, VerticalIsStoredWhenPresent) {
  Document document(DraftPath());
  CaptionRecord* c =
      Caption(document, R"({"width": 4, "height": 2, "textWidth": 3, "textHeight": 1, "vertical": 1})");
  EXPECT_EQ(Fill(document, c), 1);
  EXPECT_EQ(ReadAt<int32_t>(Bytes(block_), 4264), 1);
  EXPECT_EQ(ReadAt<int32_t>(Bytes(block_), 4268), 1);
}

TEST_F(ExportCaptionItem, AbsentVerticalLeavesTheBlockAlone) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  OrmaCaptionItemBlock block = ZeroBlock();
  block.vertical = 7;
  EXPECT_EQ(FillCaptionItemParam(document.get(), c, c->words, &block), 1);
  EXPECT_EQ(block.vertical, 7);
  EXPECT_EQ(block.hasVertical, 0);
}

TEST_F(ExportCaptionItem, FillingMakesNoLibraryCall) {
  Document document(DraftPath());
  EXPECT_EQ(Fill(document, Caption(document)), 1);
  EXPECT_TRUE(recorder::Calls().empty());
}

// ---- time conversions ----

TEST_F(ExportCaptionItem, OutOfRangePieceTimesSaturateInsteadOfOverflowing) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  c->words->startTime = 1e20f;
  c->words->duration = 1e20f;
  EXPECT_EQ(Fill(document, c), 1);
  EXPECT_EQ(ReadAt<int64_t>(Bytes(block_), 0), std::numeric_limits<int64_t>::max());
  EXPECT_EQ(ReadAt<int64_t>(Bytes(block_), 8), std::numeric_limits<int64_t>::max());
  c->words->startTime = -1e20f;
  c->words->duration = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(Fill(document, c), 1);
  EXPECT_EQ(ReadAt<int64_t>(Bytes(block_), 0), std::numeric_limits<int64_t>::min());
  EXPECT_EQ(ReadAt<int64_t>(Bytes(block_), 8), std::numeric_limits<int64_t>::min());
}

TEST_F(ExportCaptionItem, NaNCaptionLengthGivesAnEndOfZero) {
  Document document(DraftPath());
  CaptionRecord* c = Caption(document);
  c->timelineTo = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(Fill(document, c), 1);
  EXPECT_EQ(ReadAt<int64_t>(Bytes(block_), 8), 0);
}

} // namespace
