// Stickers on the export timeline, against the recording core library.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <regex>

#include "export/caption_common.h"
#include "export/stickers.h"
#include "tests/support/caption_test_support.h"
#include "tests/support/joined_path.h"

namespace {

using captiontest::Document;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;
using testpath::Joined;

constexpr const char* kSource = "export/stickers.cpp";
constexpr const char* kCommonSource = "export/caption_common.cpp";
OrmaVideoHandle const kVideo = reinterpret_cast<OrmaVideoHandle>(0x51);

class ExportStickers : public testing::Test {
protected:
  void SetUp() override { recorder::Reset(); }

  /// Runs the sticker stage and returns what it printed.
  std::string Run(Document& document) {
    CaptureStdout();
    AddStickers(document.get(), kVideo);
    return GetCapturedStdout();
  }

  captiontest::CtypeLocale utf8_{"C.UTF-8"};
};

std::string StickerError(int32_t value) {
  return "UpdateStickerParam error " + captiontest::kColonPrinted + std::to_string(value) +
         " line:" + std::to_string(captiontest::SourceLine(kSource, "UpdateStickerParam error")) + " \n";
}

StickerRecord* FullSticker(Document& document, const std::string& folder) {
  StickerRecord* s = document.AddSticker(folder, 4);
  s->timelineFrom = 0.7f;
  s->timelineTo = 2.3f;
  s->opacity = 0.5f;
  s->center = PointF{0.25f, 0.75f};
  s->size = SizeF{0.125f, 0.375f};
  s->scale = 1.5f;
  s->angle = -30.0f;
  return s;
}

TEST_F(ExportStickers, EmptyImageFolderPathMakesNoCallAndNoMessage) {
  Document document;
  document.AddSticker("", 3);
  EXPECT_EQ(Run(document), "");
  EXPECT_TRUE(recorder::Calls().empty());
}

TEST_F(ExportStickers, RelativeFolderIsCreatedFromConfigUnderTheDraftFolder) {
  Document document("D:\\work\\a.draft");
  document.AddSticker("stickers\\heart");
  Run(document);
  ASSERT_FALSE(recorder::Calls().empty());
  // Backslashes in a draft path are separators; the library maps them.
  EXPECT_EQ(recorder::Formatted("OrmaCreateCaptionFromConfigure").at(0),
            "OrmaCreateCaptionFromConfigure(\"" + Joined("D:\\work", "stickers\\heart", "config.json") +
                "\", 2)");
}

TEST_F(ExportStickers, RelativeFolderOnPosixDraftIsJoinedToItsFolder) {
  Document document("/srv/work/a.draft");
  document.AddSticker("stickers/heart");
  Run(document);
  EXPECT_EQ(recorder::Formatted("OrmaCreateCaptionFromConfigure").at(0),
            "OrmaCreateCaptionFromConfigure(\"" + Joined("/srv/work", "stickers/heart", "config.json") +
                "\", 2)");
}

TEST_F(ExportStickers, AbsoluteFolderTakesItsOwnConfig) {
  Document document("/srv/work/a.draft");
  document.AddSticker("E:\\res\\star");
  document.AddSticker("/opt/res/moon");
  Run(document);
  EXPECT_EQ(recorder::Formatted("OrmaCreateCaptionFromConfigure"),
            (std::vector<std::string>{
                "OrmaCreateCaptionFromConfigure(\"" + Joined("E:\\res\\star", "config.json") + "\", 2)",
                "OrmaCreateCaptionFromConfigure(\"" + Joined("/opt/res/moon", "config.json") + "\", 2)"}));
}

TEST_F(ExportStickers, SettingsAreSentInOrderWithValuesAsStored) {
  Document document;
  FullSticker(document, "st/a");
  EXPECT_EQ(Run(document), "");
  EXPECT_EQ(recorder::Formatted(),
            (std::vector<std::string>{
                "OrmaCreateCaptionFromConfigure(\"" + Joined("/drafts/p", "st/a", "config.json") + "\", 2)",
                "OrmaAddCaption(0x51, h1)",
                "OrmaUpateCaptionLevel(h1, 4)",
                "OrmaUpdateCaptionTimeline(h1, 700000, 2300000)",
                "OrmaSetCaptionTransparency(h1, 0.5)",
                "OrmaSetCaptionPosition(h1, 0.25,0.75)",
                "OrmaSetCaptionSize(h1, 0.125,0.375)",
                "OrmaSetCaptionScale(h1, 1.5)",
                "OrmaSetCaptionAngle(h1, -30)",
            }));
}

TEST_F(ExportStickers, TimesAreMicrosecondsFormedInFloatAndTruncated) {
  // 0.7 s and 2.3 s: a double product would truncate to 699999 and 2299999.
  Document document;
  StickerRecord* s = FullSticker(document, "st/a");
  s->timelineFrom = 0.7f;
  s->timelineTo = 4.1f;
  Run(document);
  EXPECT_EQ(recorder::Formatted("OrmaUpdateCaptionTimeline").at(0),
            "OrmaUpdateCaptionTimeline(h1, 700000, 4100000)");
}

TEST_F(ExportStickers, OutOfRangeTimesSaturateInsteadOfOverflowing) {
  Document document;
  StickerRecord* s = FullSticker(document, "st/a");
  s->timelineFrom = -1e20f;
  s->timelineTo = 1e20f;
  Run(document);
  EXPECT_EQ(recorder::Formatted("OrmaUpdateCaptionTimeline").at(0),
            "OrmaUpdateCaptionTimeline(h1, " + std::to_string(std::numeric_limits<int64_t>::min()) + ", " +
                std::to_string(std::numeric_limits<int64_t>::max()) + ")");
}

TEST_F(ExportStickers, PairsArePassedByValueCentreAndSizeUnscaled) {
  Document document("/d/a.json", 1920, 1080);
  FullSticker(document, "st/a");
  Run(document);
  // The canvas is 1920 x 1080, yet the pair reaches the library in draft units.
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionPosition").at(0), "OrmaSetCaptionPosition(h1, 0.25,0.75)");
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionSize").at(0), "OrmaSetCaptionSize(h1, 0.125,0.375)");
}

TEST_F(ExportStickers, ZeroCanvasWidthCreatesAndAddsEveryStickerButReportsMinus1062) {
  Document document("/d/a.json", 0, 720);
  FullSticker(document, "st/a");
  FullSticker(document, "st/b");
  const std::string out = Run(document);
  EXPECT_EQ(out, StickerError(-1062) + StickerError(-1062));
  EXPECT_EQ(recorder::CallNames(),
            (std::vector<std::string>{"OrmaCreateCaptionFromConfigure", "OrmaAddCaption",
                                      "OrmaUpateCaptionLevel", "OrmaCreateCaptionFromConfigure",
                                      "OrmaAddCaption", "OrmaUpateCaptionLevel"}));
}

TEST_F(ExportStickers, CanvasBelowOnePixelCountsAsNoCanvas) {
  Document document("/d/a.json", 1280, 0.9f);
  FullSticker(document, "st/a");
  EXPECT_EQ(Run(document), StickerError(-1062));
  EXPECT_TRUE(recorder::Formatted("OrmaUpdateCaptionTimeline").empty());
}

TEST_F(ExportStickers, LevelZeroGetsNoLevelCall) {
  Document document;
  StickerRecord* s = FullSticker(document, "st/a");
  s->level = 0;
  Run(document);
  EXPECT_TRUE(recorder::Formatted("OrmaUpateCaptionLevel").empty());
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionAngle").size(), 1u);
}

TEST_F(ExportStickers, MirroredStickerIsExportedUnmirrored) {
  Document mirrored;
  StickerRecord* s = FullSticker(mirrored, "st/a");
  s->isHorizontalMirror = 1;
  s->isVerticalMirror = 1;
  s->isEnableTracking = 1;
  s->blendType = 3;
  AnimationRecord* animation = NewRecord<AnimationRecord>();
  animation->type = 1;
  animation->duration = 1.0f;
  s->customAnimations = animation;
  Run(mirrored);
  const std::vector<std::string> withMirror = recorder::Formatted();
  std::free(animation);
  s->customAnimations = nullptr;

  recorder::Reset();
  Document plain;
  FullSticker(plain, "st/a");
  Run(plain);
  EXPECT_EQ(withMirror, recorder::Formatted());
}

TEST_F(ExportStickers, CreateFailurePrintsTheLineAndSkipsTheSticker) {
  Document document;
  FullSticker(document, "st/a");
  FullSticker(document, "st/b");
  recorder::QueueResults("OrmaCreateCaptionFromConfigure", {0});
  const std::string out = Run(document);
  EXPECT_EQ(out, "OrmaCreateCaptionFromConfigure failed line:" +
                     std::to_string(
                         captiontest::SourceLine(kCommonSource, "OrmaCreateCaptionFromConfigure failed")) +
                     " \n");
  // The second sticker is placed normally, on the first handle handed out.
  EXPECT_EQ(recorder::Formatted("OrmaAddCaption"), (std::vector<std::string>{"OrmaAddCaption(0x51, h1)"}));
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionAngle").size(), 1u);
}

TEST_F(ExportStickers, AddFailureIsReportedAndTheStickerIsStillConfigured) {
  Document document;
  FullSticker(document, "st/a");
  recorder::SetResult("OrmaAddCaption", -5);
  const std::string out = Run(document);
  const std::string pattern =
      captiontest::Escaped("OrmaAddCaption error " + captiontest::kColonPrinted + "-5 line:" +
                           std::to_string(captiontest::SourceLine(kCommonSource, "OrmaAddCaption error")) +
                           " \n") +
      captiontest::LogLinePattern("OrmaAddCaption failed:ret:-5",
                                  captiontest::LogSourceLine(kCommonSource, "OrmaAddCaption failed"));
  EXPECT_TRUE(std::regex_match(out, std::regex(pattern))) << out;
  EXPECT_EQ(recorder::Formatted("OrmaUpateCaptionLevel").size(), 1u);
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionAngle").size(), 1u);
}

TEST_F(ExportStickers, AddResultOfZeroIsAFailure) {
  Document document;
  FullSticker(document, "st/a");
  recorder::SetResult("OrmaAddCaption", 0);
  EXPECT_NE(Run(document).find("OrmaAddCaption error " + captiontest::kColonPrinted + "0 line:"),
            std::string::npos);
}

class ExportStickersFailingSetting : public ExportStickers,
                                     public testing::WithParamInterface<const char*> {};

TEST_P(ExportStickersFailingSetting, FirstFailingSettingEndsTheListAndIsReported) {
  Document document;
  FullSticker(document, "st/a");
  FullSticker(document, "st/b");
  recorder::QueueResults(GetParam(), {-7});
  EXPECT_EQ(Run(document), StickerError(-7));
  const std::vector<std::string> all = {"OrmaCreateCaptionFromConfigure",
                                        "OrmaAddCaption",
                                        "OrmaUpateCaptionLevel",
                                        "OrmaUpdateCaptionTimeline",
                                        "OrmaSetCaptionTransparency",
                                        "OrmaSetCaptionPosition",
                                        "OrmaSetCaptionSize",
                                        "OrmaSetCaptionScale",
                                        "OrmaSetCaptionAngle"};
  // The first sticker's calls end with the failing one; the second is complete.
  std::vector<std::string> expected(all.begin(), std::find(all.begin(), all.end(), GetParam()) + 1);
  expected.insert(expected.end(), all.begin(), all.end());
  EXPECT_EQ(recorder::CallNames(), expected);
}

INSTANTIATE_TEST_SUITE_P(EachCheckedCall, ExportStickersFailingSetting,
                         testing::Values("OrmaUpdateCaptionTimeline", "OrmaSetCaptionTransparency",
                                         "OrmaSetCaptionPosition", "OrmaSetCaptionScale",
                                         "OrmaSetCaptionAngle"),
                         [](const testing::TestParamInfo<const char*>& info) {
                           return std::string(info.param + 4);
                         });

TEST_F(ExportStickers, SizeResultIsIgnored) {
  Document document;
  FullSticker(document, "st/a");
  recorder::SetResult("OrmaSetCaptionSize", -9);
  EXPECT_EQ(Run(document), "");
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionAngle").size(), 1u);
}

TEST_F(ExportStickers, LevelResultIsIgnored) {
  Document document;
  FullSticker(document, "st/a");
  recorder::SetResult("OrmaUpateCaptionLevel", -9);
  EXPECT_EQ(Run(document), "");
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionAngle").size(), 1u);
}

TEST(ExportStickersColon, FullWidthColonIsGbkBytesUnderAGbkLocale) {
  recorder::Reset();
  captiontest::CtypeLocale gbk("zh_CN.GBK");
  ASSERT_TRUE(gbk.ok()) << "locale zh_CN.GBK is missing; scripts/install-deps.sh generates it";
  Document document("/d/a.json", 0, 0);
  document.AddSticker("st/a");
  CaptureStdout();
  AddStickers(document.get(), kVideo);
  const std::string out = GetCapturedStdout();
  EXPECT_EQ(out.substr(0, std::strlen("UpdateStickerParam error ") + 2 + 5),
            "UpdateStickerParam error \xA3\xBA-1062");
}

TEST(ExportStickersColon, FullWidthColonIsUtf8UnderAUtf8Locale) {
  recorder::Reset();
  captiontest::CtypeLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  Document document("/d/a.json", 0, 0);
  document.AddSticker("st/a");
  CaptureStdout();
  AddStickers(document.get(), kVideo);
  const std::string out = GetCapturedStdout();
  EXPECT_EQ(out.substr(0, std::strlen("UpdateStickerParam error ") + 3 + 5),
            "UpdateStickerParam error \xEF\xBC\x9A-1062");
}

TEST(ExportStickersNoDocument, NullDocumentDoesNothing) {
  recorder::Reset();
  AddStickers(nullptr, kVideo);
  EXPECT_TRUE(recorder::Calls().empty());
}

} // namespace
