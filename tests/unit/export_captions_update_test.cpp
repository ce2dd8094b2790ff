// UpdateCaptionParam: whole-caption settings, template lines and styled
// pieces with word art, stroke, shadow, text box and animations.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <regex>

#include "export/captions.h"
#include "tests/support/caption_test_support.h"
#include "tests/support/joined_path.h"

namespace {

using captiontest::Document;
using captiontest::ReadAt;
using captiontest::TextAt;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;
using testpath::Joined;

constexpr const char* kSource = "export/captions.cpp";
OrmaCaptionHandle const kCaption = reinterpret_cast<OrmaCaptionHandle>(0xC0);
constexpr const char* kStyle = R"({"width": 400, "height": 200, "textWidth": 300, "textHeight": 100})";

class ExportCaptionsUpdate : public testing::Test {
protected:
  void SetUp() override {
    recorder::Reset();
    ASSERT_FALSE(dir_.path().empty());
    dir_.Write("style/config.json", kStyle);
  }

  std::string DraftPath() const { return dir_ / "d_1.json"; }

  /// A styled caption in the scratch draft folder with one piece.
  CaptionRecord* PieceCaption(Document& document, const std::string& text = "hello") {
    CaptionRecord* c = document.AddCaption("style", 0);
    c->timelineFrom = 2.0f;
    c->timelineTo = 7.5f;
    c->showRect = RectF{0.25f, 0.5f, 0.75f, 0.625f};
    Document::AddWord(c, text);
    return c;
  }

  /// Runs UpdateCaptionParam and keeps what it printed in out_.
  int32_t Update(Document& document, CaptionRecord* caption) {
    CaptureStdout();
    const int32_t r = UpdateCaptionParam(document.get(), kCaption, caption);
    out_ = GetCapturedStdout();
    return r;
  }

  /// Call names after the whole-caption settings.
  static std::vector<std::string> ItemCallNames() {
    std::vector<std::string> names = recorder::CallNames();
    auto angle = std::find(names.begin(), names.end(), "OrmaSetCaptionAngle");
    return angle == names.end() ? names : std::vector<std::string>(angle + 1, names.end());
  }

  captiontest::TempDir dir_;
  std::string out_;
};

// ---- result codes ----

TEST_F(ExportCaptionsUpdate, NullDocumentGivesMinus1109) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  EXPECT_EQ(UpdateCaptionParam(nullptr, kCaption, c), -1109);
  EXPECT_EQ(UpdateCaptionParam(nullptr, nullptr, nullptr), -1109);
  EXPECT_TRUE(recorder::Calls().empty());
}

TEST_F(ExportCaptionsUpdate, NullHandleOrCaptionGivesMinus1112) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  EXPECT_EQ(UpdateCaptionParam(document.get(), nullptr, c), -1112);
  EXPECT_EQ(UpdateCaptionParam(document.get(), kCaption, nullptr), -1112);
  EXPECT_TRUE(recorder::Calls().empty());
}

TEST_F(ExportCaptionsUpdate, StyledCaptionWithoutPiecesGivesMinus1115) {
  Document document(DraftPath());
  CaptionRecord* c = document.AddCaption("style", 0);
  EXPECT_EQ(Update(document, c), -1115);
  EXPECT_TRUE(recorder::Calls().empty());
}

TEST_F(ExportCaptionsUpdate, TemplateCaptionWithoutLinesIsSetAndGivesOne) {
  Document document(DraftPath());
  CaptionRecord* c = document.AddCaption("tpl", 1);
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(recorder::CallNames().back(), "OrmaSetCaptionAngle");
  EXPECT_TRUE(recorder::Formatted("OrmaCaptionGetItemCount").empty());
}

TEST_F(ExportCaptionsUpdate, CanvasWithoutAreaGivesMinus1120) {
  for (auto [w, h] :
       {std::pair{0.0f, 720.0f}, std::pair{1280.0f, 0.0f}, std::pair{0.99f, 720.0f}, std::pair{-5.0f, 720.0f},
        std::pair{1280.0f, std::numeric_limits<float>::quiet_NaN()}}) {
    Document document(DraftPath(), w, h);
    EXPECT_EQ(Update(document, PieceCaption(document)), -1120) << w << " x " << h;
  }
  EXPECT_TRUE(recorder::Calls().empty());
}

// ---- whole-caption settings ----

TEST_F(ExportCaptionsUpdate, WholeCaptionSettingsUseTheCentreOfTheShowRect) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  c->timelineFrom = 0.7f;
  c->timelineTo = 2.3f;
  c->opacity = 0.75f;
  c->scale = 1.25f;
  c->angle = 90.0f;
  c->showRect = RectF{0.1f, 0.2f, 0.7f, 0.9f};
  EXPECT_EQ(Update(document, c), 1);
  const float centreX = static_cast<float>(double(0.1f) + (double(0.7f) - double(0.1f)) * 0.5);
  const float centreY = static_cast<float>(double(0.2f) + (double(0.9f) - double(0.2f)) * 0.5);
  const std::vector<std::string> calls = recorder::Formatted();
  ASSERT_GE(calls.size(), 6u);
  EXPECT_EQ(std::vector<std::string>(calls.begin(), calls.begin() + 6),
            (std::vector<std::string>{
                "OrmaUpdateCaptionTimeline(0xc0, 700000, 2300000)",
                "OrmaSetCaptionTransparency(0xc0, 0.75)",
                "OrmaSetCaptionPosition(0xc0, " + recorder::detail::Real(centreX) + "," +
                    recorder::detail::Real(centreY) + ")",
                "OrmaSetCaptionSize(0xc0, " + recorder::detail::Real(0.7f - 0.1f) + "," +
                    recorder::detail::Real(0.9f - 0.2f) + ")",
                "OrmaSetCaptionScale(0xc0, 1.25)",
                "OrmaSetCaptionAngle(0xc0, 90)",
            }));
  // The centre is 0.4, 0.55 within float precision.
  EXPECT_NEAR(centreX, 0.4f, 1e-7);
  EXPECT_NEAR(centreY, 0.55f, 1e-7);
}

class ExportCaptionsUpdateFailing : public ExportCaptionsUpdate,
                                    public testing::WithParamInterface<const char*> {};

TEST_P(ExportCaptionsUpdateFailing, FailingWholeCaptionCallEndsWithItsResult) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  recorder::SetResult(GetParam(), -23);
  EXPECT_EQ(Update(document, c), -23);
  EXPECT_EQ(recorder::CallNames().back(), GetParam());
  EXPECT_TRUE(recorder::Formatted("OrmaGetCaptionItem").empty());
}

TEST_P(ExportCaptionsUpdateFailing, ZeroResultIsAFailureToo) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  recorder::SetResult(GetParam(), 0);
  EXPECT_EQ(Update(document, c), 0);
  EXPECT_EQ(recorder::CallNames().back(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(EachCheckedCall, ExportCaptionsUpdateFailing,
                         testing::Values("OrmaUpdateCaptionTimeline", "OrmaSetCaptionTransparency",
                                         "OrmaSetCaptionPosition", "OrmaSetCaptionScale",
                                         "OrmaSetCaptionAngle"),
                         [](const testing::TestParamInfo<const char*>& info) {
                           return std::string(info.param + 4);
                         });

TEST_F(ExportCaptionsUpdate, SizeResultIsIgnored) {
  Document document(DraftPath());
  recorder::SetResult("OrmaSetCaptionSize", -8);
  EXPECT_EQ(Update(document, PieceCaption(document)), 1);
}

// ---- template text lines ----

std::vector<uint8_t> ConfigItem(const std::string& text, float centerX) {
  OrmaCaptionItemBlock block;
  std::memset(&block, 0, sizeof(block));
  std::snprintf(block.text, sizeof(block.text), "%s", text.c_str());
  block.centerX = centerX;
  block.fontSize = 48;
  return captiontest::BytesOf(&block, sizeof(block));
}

TEST_F(ExportCaptionsUpdate, TemplateWithThreeItemsAndTwoLinesKeepsTheConfigTextInTheThird) {
  Document document(DraftPath());
  CaptionRecord* c = document.AddCaption("tpl", 1);
  Document::AddLine(c, "Line one");
  Document::AddLine(c, "Two");
  recorder::SetResult("OrmaCaptionGetItemCount", 3);
  recorder::QueueOutBlock("OrmaCaptionGetItemCaptionParam", ConfigItem("Configured first title", 0.25f));
  recorder::QueueOutBlock("OrmaCaptionGetItemCaptionParam", ConfigItem("Second configured", 0.5f));
  recorder::QueueOutBlock("OrmaCaptionGetItemCaptionParam", ConfigItem("Third", 0.75f));
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(ItemCallNames(),
            (std::vector<std::string>{"OrmaCaptionGetItemCount", "OrmaCaptionGetItemCaption",
                                      "OrmaCaptionGetItemCaptionParam", "OrmaUpdateCaptionItemParam",
                                      "OrmaCaptionGetItemCaption", "OrmaCaptionGetItemCaptionParam",
                                      "OrmaUpdateCaptionItemParam", "OrmaCaptionGetItemCaption",
                                      "OrmaCaptionGetItemCaptionParam"}));
  EXPECT_EQ(recorder::Formatted("OrmaCaptionGetItemCaption"),
            (std::vector<std::string>{
                "OrmaCaptionGetItemCaption(0xc0, 0)", "OrmaCaptionGetItemCaptionParam(0xc0, 0, out)",
                "OrmaCaptionGetItemCaption(0xc0, 1)", "OrmaCaptionGetItemCaptionParam(0xc0, 1, out)",
                "OrmaCaptionGetItemCaption(0xc0, 2)", "OrmaCaptionGetItemCaptionParam(0xc0, 2, out)"}));
  const auto updates = captiontest::CallsOf("OrmaUpdateCaptionItemParam");
  ASSERT_EQ(updates.size(), 2u);
  EXPECT_EQ(updates[0].args[0], "h1");
  EXPECT_EQ(updates[1].args[0], "h2");
  // The line replaces the text as a zero-terminated string; the rest of the
  // block is what the library filled in.
  const std::vector<uint8_t>& first = updates[0].blocks.at(0);
  ASSERT_EQ(first.size(), sizeof(OrmaCaptionItemBlock));
  EXPECT_EQ(TextAt(first, 32, 2048), "Line one");
  EXPECT_EQ(TextAt(first, 32 + 9, 2048), "d first title");
  EXPECT_EQ(ReadAt<float>(first, 2080), 0.25f);
  EXPECT_EQ(ReadAt<int32_t>(first, 16), 48);
  const std::vector<uint8_t>& second = updates[1].blocks.at(0);
  EXPECT_EQ(TextAt(second, 32, 2048), "Two");
  EXPECT_EQ(ReadAt<float>(second, 2080), 0.5f);
}

TEST_F(ExportCaptionsUpdate, TemplateWithMoreLinesThanItemsFillsOnlyTheItems) {
  Document document(DraftPath());
  CaptionRecord* c = document.AddCaption("tpl", 1);
  Document::AddLine(c, "a");
  Document::AddLine(c, "b");
  recorder::SetResult("OrmaCaptionGetItemCount", 1);
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(captiontest::CallsOf("OrmaUpdateCaptionItemParam").size(), 1u);
}

TEST_F(ExportCaptionsUpdate, TemplateItemFailuresDoNotEndTheRoutine) {
  Document document(DraftPath());
  CaptionRecord* c = document.AddCaption("tpl", 1);
  Document::AddLine(c, "a");
  Document::AddLine(c, "b");
  recorder::SetResult("OrmaCaptionGetItemCount", 2);
  recorder::SetResult("OrmaCaptionGetItemCaptionParam", -1);
  recorder::SetResult("OrmaUpdateCaptionItemParam", -1);
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(captiontest::CallsOf("OrmaUpdateCaptionItemParam").size(), 2u);
}

TEST_F(ExportCaptionsUpdate, TemplateWithoutItemsMakesNoItemCalls) {
  Document document(DraftPath());
  CaptionRecord* c = document.AddCaption("tpl", 1);
  Document::AddLine(c, "a");
  recorder::SetResult("OrmaCaptionGetItemCount", 0);
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(ItemCallNames(), (std::vector<std::string>{"OrmaCaptionGetItemCount"}));
}

// ---- styled pieces ----

TEST_F(ExportCaptionsUpdate, PieceIsLookedUpByTextThenUpdatedWithItsBlock) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document, "你好 world");
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(recorder::Formatted("OrmaGetCaptionItem"),
            (std::vector<std::string>{"OrmaGetCaptionItem(0xc0, \"你好 world\")"}));
  const auto updates = captiontest::CallsOf("OrmaUpdateCaptionItemParam");
  ASSERT_EQ(updates.size(), 1u);
  EXPECT_EQ(updates[0].args[0], "h1");
  EXPECT_EQ(TextAt(updates[0].blocks.at(0), 32, 2048), "你好 world");
  EXPECT_EQ(ReadAt<int32_t>(updates[0].blocks.at(0), 4228), 400);
}

TEST_F(ExportCaptionsUpdate, PiecesAreAppliedInOrder) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document, "one");
  Document::AddWord(c, "two");
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(ItemCallNames(), (std::vector<std::string>{"OrmaGetCaptionItem", "OrmaUpdateCaptionItemParam",
                                                       "OrmaGetCaptionItem", "OrmaUpdateCaptionItemParam"}));
  EXPECT_EQ(recorder::Formatted("OrmaUpdateCaptionItemParam"),
            (std::vector<std::string>{"OrmaUpdateCaptionItemParam(h1, block0)",
                                      "OrmaUpdateCaptionItemParam(h2, block0)"}));
}

TEST_F(ExportCaptionsUpdate, ItemFillFailureEndsTheRoutineWithItsCode) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  CAPTIONTEST_SET(c->folderPath, "missing-style");
  EXPECT_EQ(Update(document, c), -815);
  EXPECT_EQ(ItemCallNames(), (std::vector<std::string>{"OrmaGetCaptionItem"}));
}

TEST_F(ExportCaptionsUpdate, ItemUpdateFailureEndsTheRoutineWithItsResult) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  c->words->strokeWidth = 2;
  Document::AddWord(c, "next");
  recorder::SetResult("OrmaUpdateCaptionItemParam", -17);
  EXPECT_EQ(Update(document, c), -17);
  EXPECT_EQ(ItemCallNames(), (std::vector<std::string>{"OrmaGetCaptionItem", "OrmaUpdateCaptionItemParam"}));
}

// ---- word art ----

TEST_F(ExportCaptionsUpdate, WordArtJsonFileIsUsedDirectly) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  // Not even its existence is checked: the library reports a bad file.
  CAPTIONTEST_SET(c->words->flowerPath, "art/gold.json");
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(out_, "");
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionItemEffectConfigure"),
            (std::vector<std::string>{"OrmaSetCaptionItemEffectConfigure(h1, \"" +
                                      Joined(dir_.path(), "art/gold.json") + "\")"}));
}

TEST_F(ExportCaptionsUpdate, AbsoluteWordArtPathIsKept) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  CAPTIONTEST_SET(c->words->flowerPath, "E:\\art\\silver.JSON.json");
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionItemEffectConfigure").at(0),
            "OrmaSetCaptionItemEffectConfigure(h1, \"E:\\art\\silver.JSON.json\")");
}

struct WordArtCase {
  std::vector<std::string> present;
  std::string chosen;
};

class ExportCaptionsWordArt : public ExportCaptionsUpdate, public testing::WithParamInterface<WordArtCase> {};

TEST_P(ExportCaptionsWordArt, WordArtFolderUsesTheFirstExistingFileInOrder) {
  for (const std::string& name : GetParam().present)
    dir_.Write("art/" + name, "{}");
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  CAPTIONTEST_SET(c->words->flowerPath, "art");
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(out_, "");
  // The program joins the subfolder and the file name, as it joins the folder.
  std::string chosen = GetParam().chosen;
  std::replace(chosen.begin(), chosen.end(), '/', platform::kSeparator);
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionItemEffectConfigure"),
            (std::vector<std::string>{"OrmaSetCaptionItemEffectConfigure(h1, \"" +
                                      Joined(dir_.path(), "art", chosen) + "\")"}));
}

INSTANTIATE_TEST_SUITE_P(
    LookupOrder, ExportCaptionsWordArt,
    testing::Values(WordArtCase{{"config.json", "colortext.json", "file/config.json", "file/colortext.json"},
                                "config.json"},
                    WordArtCase{{"colortext.json", "file/config.json", "file/colortext.json"},
                                "colortext.json"},
                    WordArtCase{{"file/config.json", "file/colortext.json"}, "file/config.json"},
                    WordArtCase{{"file/colortext.json"}, "file/colortext.json"}),
    [](const testing::TestParamInfo<WordArtCase>& info) { return "Case" + std::to_string(info.index); });

TEST_F(ExportCaptionsUpdate, WordArtFolderWithoutFilesLogsAndThePieceIsStillShown) {
  dir_.Write("art/readme.txt", "none here");
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  CAPTIONTEST_SET(c->words->flowerPath, "art");
  c->words->strokeWidth = 1;
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_TRUE(std::regex_match(
      out_, std::regex(captiontest::LogLinePattern(
                "flowerPath not find", captiontest::LogSourceLine(kSource, "flowerPath not find")))))
      << out_;
  EXPECT_TRUE(recorder::Formatted("OrmaSetCaptionItemEffectConfigure").empty());
  EXPECT_EQ(ItemCallNames(), (std::vector<std::string>{"OrmaGetCaptionItem", "OrmaUpdateCaptionItemParam",
                                                       "OrmaSetCaptionItemStroke"}));
}

TEST_F(ExportCaptionsUpdate, WordArtFailureIsLoggedAndTheRoutineGoesOn) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  CAPTIONTEST_SET(c->words->flowerPath, "a.json");
  c->words->shadowBlur = 3;
  recorder::SetResult("OrmaSetCaptionItemEffectConfigure", -4);
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_TRUE(std::regex_match(
      out_, std::regex(captiontest::LogLinePattern(
                "OrmaSetCaptionItemEffectConfigure failed:-4",
                captiontest::LogSourceLine(kSource, "OrmaSetCaptionItemEffectConfigure failed")))))
      << out_;
  EXPECT_EQ(ItemCallNames().back(), "OrmaSetCaptionItemShadow");
}

TEST_F(ExportCaptionsUpdate, EmptyWordArtPathMakesNoWordArtCall) {
  Document document(DraftPath());
  EXPECT_EQ(Update(document, PieceCaption(document)), 1);
  EXPECT_EQ(out_, "");
  EXPECT_TRUE(recorder::Formatted("OrmaSetCaptionItemEffectConfigure").empty());
}

// ---- stroke, shadow, text box ----

TEST_F(ExportCaptionsUpdate, NoStrokeShadowOrBackgroundWhenAllZeroOrNegative) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  CaptionWord* w = c->words;
  w->strokeWidth = -1;
  w->strokeColor = ColorF{-1, 0, 0, 0};
  w->shadowAngle = -45;
  w->shadowDistance = -2;
  w->shadowColor = ColorF{0, 0, -0.5f, 0};
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(ItemCallNames(), (std::vector<std::string>{"OrmaGetCaptionItem", "OrmaUpdateCaptionItemParam"}));
}

class ExportCaptionsStroke : public ExportCaptionsUpdate, public testing::WithParamInterface<int> {};

TEST_P(ExportCaptionsStroke, AnyPositiveStrokeValueSendsWidthAndColour) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  float values[5] = {0, 0, 0, 0, 0};
  values[GetParam()] = 0.5f;
  c->words->strokeWidth = values[0];
  c->words->strokeColor = ColorF{values[1], values[2], values[3], values[4]};
  EXPECT_EQ(Update(document, c), 1);
  const auto strokes = captiontest::CallsOf("OrmaSetCaptionItemStroke");
  ASSERT_EQ(strokes.size(), 1u);
  EXPECT_EQ(strokes[0].args[0], "h1");
  const std::vector<uint8_t>& bytes = strokes[0].blocks.at(0);
  ASSERT_EQ(bytes.size(), 20u);
  for (int i = 0; i < 5; ++i)
    EXPECT_EQ(ReadAt<float>(bytes, 4 * i), values[i]) << i;
}

INSTANTIATE_TEST_SUITE_P(WidthOrChannel, ExportCaptionsStroke, testing::Range(0, 5));

class ExportCaptionsShadow : public ExportCaptionsUpdate, public testing::WithParamInterface<int> {};

TEST_P(ExportCaptionsShadow, AnyPositiveShadowValueSendsBlurAngleDistanceAndColour) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  // Order of the record's values: angle, blur, distance, red, green, blue, alpha.
  float values[7] = {0, 0, 0, 0, 0, 0, 0};
  values[GetParam()] = 0.25f;
  CaptionWord* w = c->words;
  w->shadowAngle = values[0];
  w->shadowBlur = values[1];
  w->shadowDistance = values[2];
  w->shadowColor = ColorF{values[3], values[4], values[5], values[6]};
  EXPECT_EQ(Update(document, c), 1);
  const auto shadows = captiontest::CallsOf("OrmaSetCaptionItemShadow");
  ASSERT_EQ(shadows.size(), 1u);
  const std::vector<uint8_t>& bytes = shadows[0].blocks.at(0);
  ASSERT_EQ(bytes.size(), 28u);
  EXPECT_EQ(ReadAt<float>(bytes, 0), values[1]); // blur
  EXPECT_EQ(ReadAt<float>(bytes, 4), values[0]); // angle
  EXPECT_EQ(ReadAt<float>(bytes, 8), values[2]); // distance
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(ReadAt<float>(bytes, 12 + 4 * i), values[3 + i]);
}

INSTANTIATE_TEST_SUITE_P(AngleBlurDistanceOrChannel, ExportCaptionsShadow, testing::Range(0, 7));

TEST_F(ExportCaptionsUpdate, StrokeShadowAndBackgroundFollowInThatOrderWithFullValues) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  CaptionWord* w = c->words;
  w->strokeWidth = 3;
  w->strokeColor = ColorF{1, 0.5f, 0.25f, 1};
  w->shadowAngle = 45;
  w->shadowBlur = 6;
  w->shadowDistance = 2;
  w->shadowColor = ColorF{0, 0, 0, 0.5f};
  w->background = NewRecord<CaptionBackground>();
  *w->background = CaptionBackground{1, ColorF{0.1f, 0.2f, 0.3f, 1.0f}, 0.4f, PairF{5, 6}, PairF{-1, 2}};
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(ItemCallNames(), (std::vector<std::string>{"OrmaGetCaptionItem", "OrmaUpdateCaptionItemParam",
                                                       "OrmaSetCaptionItemStroke", "OrmaSetCaptionItemShadow",
                                                       "OrmaSetCaptionItemBackground"}));
  const auto stroke = captiontest::CallsOf("OrmaSetCaptionItemStroke").at(0).blocks.at(0);
  EXPECT_EQ(ReadAt<float>(stroke, 0), 3.0f);
  EXPECT_EQ(ReadAt<float>(stroke, 8), 0.5f);
  const auto shadow = captiontest::CallsOf("OrmaSetCaptionItemShadow").at(0).blocks.at(0);
  EXPECT_EQ(ReadAt<float>(shadow, 0), 6.0f);
  EXPECT_EQ(ReadAt<float>(shadow, 4), 45.0f);
  EXPECT_EQ(ReadAt<float>(shadow, 8), 2.0f);
  EXPECT_EQ(ReadAt<float>(shadow, 24), 0.5f);
  const auto background = captiontest::CallsOf("OrmaSetCaptionItemBackground").at(0);
  EXPECT_EQ(background.args[0], "h1");
  EXPECT_EQ(background.args[1], "1");
  EXPECT_EQ(background.blocks.at(0), captiontest::BytesOf(w->background, 40));
}

TEST_F(ExportCaptionsUpdate, BackgroundWithDefaultsIsStillSentWithEnableOne) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  c->words->background = NewRecord<CaptionBackground>();
  EXPECT_EQ(Update(document, c), 1);
  const auto background = captiontest::CallsOf("OrmaSetCaptionItemBackground");
  ASSERT_EQ(background.size(), 1u);
  EXPECT_EQ(background[0].args[1], "1");
  EXPECT_EQ(background[0].blocks.at(0), std::vector<uint8_t>(40, 0));
}

TEST_F(ExportCaptionsUpdate, StrokeShadowAndBackgroundResultsAreNotTested) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  c->words->strokeWidth = 1;
  c->words->shadowBlur = 1;
  c->words->background = NewRecord<CaptionBackground>();
  Document::AddAnimation(c->words, "anim/in", 0, 0.5f);
  recorder::SetResult("OrmaSetCaptionItemStroke", -1);
  recorder::SetResult("OrmaSetCaptionItemShadow", 0);
  recorder::SetResult("OrmaSetCaptionItemBackground", -2);
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(ItemCallNames().back(), "OrmaSetCaptionItemAnimation");
}

// ---- animations ----

TEST_F(ExportCaptionsUpdate, InAnimationStartsAtZeroWithItsConfigUnderTheDraftFolder) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  Document::AddAnimation(c->words, "anim/in", 0, 0.7f);
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionItemAnimation"),
            (std::vector<std::string>{"OrmaSetCaptionItemAnimation(h1, \"" +
                                      Joined(dir_.path(), "anim/in", "config.json") + "\", 0, 0, 700000)"}));
  EXPECT_TRUE(recorder::Formatted("OrmaSetCaptionItemAnimationCycleDuration").empty());
}

TEST_F(ExportCaptionsUpdate, OutAnimationEndsWithTheCaption) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  c->timelineFrom = 2.0f;
  c->timelineTo = 7.5f;
  Document::AddAnimation(c->words, "D:\\anim\\out", 1, 1.5f);
  EXPECT_EQ(Update(document, c), 1);
  // 7.5 - 2.0 - 1.5 = 4 seconds into the caption.
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionItemAnimation"),
            (std::vector<std::string>{"OrmaSetCaptionItemAnimation(h1, \"" +
                                      Joined("D:\\anim\\out", "config.json") + "\", 1, 4000000, 1500000)"}));
}

TEST_F(ExportCaptionsUpdate, OutAnimationStartIsFormedInFloat) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  c->timelineFrom = 0.0f;
  c->timelineTo = 1.0f;
  Document::AddAnimation(c->words, "a", 1, 0.3f);
  EXPECT_EQ(Update(document, c), 1);
  const float start = 1.0f - 0.0f - 0.3f;
  const float micros = start * 1000000.0f;
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionItemAnimation").at(0),
            "OrmaSetCaptionItemAnimation(h1, \"" + Joined(dir_.path(), "a", "config.json") + "\", 1, " +
                std::to_string(static_cast<int64_t>(micros)) + ", 300000)");
}

TEST_F(ExportCaptionsUpdate, LoopAnimationAlwaysGetsItsCycleDuration) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  Document::AddAnimation(c->words, "loop", 2, 5.5f, 0.0f);
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionItemAnimation").at(0),
            "OrmaSetCaptionItemAnimation(h1, \"" + Joined(dir_.path(), "loop", "config.json") +
                "\", 2, 0, 5500000)");
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionItemAnimationCycleDuration"),
            (std::vector<std::string>{"OrmaSetCaptionItemAnimationCycleDuration(h1, 0)"}));
}

TEST_F(ExportCaptionsUpdate, PositiveCycleDurationGetsTheCycleCallForAnyType) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  Document::AddAnimation(c->words, "in", 0, 1.0f, 0.7f);
  Document::AddAnimation(c->words, "out", 1, 1.0f, -2.0f);
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(ItemCallNames(), (std::vector<std::string>{"OrmaGetCaptionItem", "OrmaUpdateCaptionItemParam",
                                                       "OrmaSetCaptionItemAnimation",
                                                       "OrmaSetCaptionItemAnimationCycleDuration",
                                                       "OrmaSetCaptionItemAnimation"}));
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionItemAnimationCycleDuration").at(0),
            "OrmaSetCaptionItemAnimationCycleDuration(h1, 700000)");
}

TEST_F(ExportCaptionsUpdate, AnimationResultOfZeroEndsTheRoutine) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  Document::AddAnimation(c->words, "in", 2, 1.0f, 1.0f);
  Document::AddAnimation(c->words, "out", 1, 1.0f);
  Document::AddWord(c, "later");
  recorder::SetResult("OrmaSetCaptionItemAnimation", 0);
  EXPECT_EQ(Update(document, c), 0);
  EXPECT_EQ(ItemCallNames(), (std::vector<std::string>{"OrmaGetCaptionItem", "OrmaUpdateCaptionItemParam",
                                                       "OrmaSetCaptionItemAnimation"}));
}

TEST_F(ExportCaptionsUpdate, CycleDurationFailureEndsTheRoutine) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document);
  Document::AddAnimation(c->words, "loop", 2, 1.0f, 1.0f);
  Document::AddAnimation(c->words, "out", 1, 1.0f);
  recorder::SetResult("OrmaSetCaptionItemAnimationCycleDuration", -6);
  EXPECT_EQ(Update(document, c), -6);
  EXPECT_EQ(ItemCallNames().back(), "OrmaSetCaptionItemAnimationCycleDuration");
  EXPECT_EQ(captiontest::CallsOf("OrmaSetCaptionItemAnimation").size(), 1u);
}

TEST_F(ExportCaptionsUpdate, EverythingOfAPieceComesBeforeTheNextPiece) {
  Document document(DraftPath());
  CaptionRecord* c = PieceCaption(document, "a");
  CAPTIONTEST_SET(c->words->flowerPath, "x.json");
  c->words->strokeWidth = 1;
  c->words->shadowBlur = 1;
  c->words->background = NewRecord<CaptionBackground>();
  Document::AddAnimation(c->words, "in", 0, 1.0f);
  Document::AddWord(c, "b");
  EXPECT_EQ(Update(document, c), 1);
  EXPECT_EQ(ItemCallNames(),
            (std::vector<std::string>{
                "OrmaGetCaptionItem", "OrmaUpdateCaptionItemParam", "OrmaSetCaptionItemEffectConfigure",
                "OrmaSetCaptionItemStroke", "OrmaSetCaptionItemShadow", "OrmaSetCaptionItemBackground",
                "OrmaSetCaptionItemAnimation", "OrmaGetCaptionItem", "OrmaUpdateCaptionItemParam"}));
}

} // namespace
