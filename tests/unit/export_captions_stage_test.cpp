// The caption stage of the export: creation, stacking, messages and key
// frames, against the recording core library.
#include <gtest/gtest.h>

#include <regex>

#include "export/captions.h"
#include "tests/support/caption_test_support.h"
#include "tests/support/joined_path.h"

namespace {

using captiontest::Document;
using captiontest::ReadAt;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;
using testpath::Joined;

constexpr const char* kSource = "export/captions.cpp";
constexpr const char* kCommonSource = "export/caption_common.cpp";
OrmaVideoHandle const kVideo = reinterpret_cast<OrmaVideoHandle>(0x51);

class ExportCaptionsStage : public testing::Test {
protected:
  void SetUp() override {
    recorder::Reset();
    ASSERT_FALSE(dir_.path().empty());
    dir_.Write("style/config.json", R"({"width": 400, "height": 200, "textWidth": 300, "textHeight": 100})");
  }

  std::string Run(Document& document) {
    CaptureStdout();
    AddCaptions(document.get(), kVideo);
    return GetCapturedStdout();
  }

  std::string DraftPath() const { return dir_ / "d_1.json"; }

  /// A template caption: it needs no style file and no pieces.
  CaptionRecord* TemplateCaption(Document& document, int32_t level = 0) {
    CaptionRecord* c = document.AddCaption("tpl", 1, level);
    c->timelineFrom = 1.0f;
    c->timelineTo = 3.0f;
    c->showRect = RectF{0.1f, 0.2f, 0.5f, 0.4f};
    return c;
  }

  static std::string UpdateError(int32_t value, int occurrence = 1) {
    return "UpdateCaptionParam error " + captiontest::kColonPrinted + std::to_string(value) + " line:" +
           std::to_string(captiontest::SourceLine(kSource, "UpdateCaptionParam error", occurrence)) + " \n";
  }

  captiontest::CtypeLocale utf8_{"C.UTF-8"};
  captiontest::TempDir dir_;
};

TEST_F(ExportCaptionsStage, EmptyFolderPathIsNotCreatedAndPrintsNothing) {
  Document document(DraftPath());
  CaptionRecord* c = document.AddCaption("", 0, 2);
  Document::AddWord(c, "hello");
  Document::AddKeyFrame(c);
  EXPECT_EQ(Run(document), "");
  EXPECT_TRUE(recorder::Calls().empty());
}

TEST_F(ExportCaptionsStage, StyledPiecesAreKindZeroAndTemplateLinesKindOne) {
  Document document("/drafts/p/d_1.json");
  CaptionRecord* pieces = document.AddCaption("fx/a", 0);
  Document::AddWord(pieces, "x");
  TemplateCaption(document)->kind = 1;
  Run(document);
  EXPECT_EQ(recorder::Formatted("OrmaCreateCaptionFromConfigure"),
            (std::vector<std::string>{
                "OrmaCreateCaptionFromConfigure(\"" + Joined("/drafts/p", "fx/a", "config.json") + "\", 0)",
                "OrmaCreateCaptionFromConfigure(\"" + Joined("/drafts/p", "tpl", "config.json") + "\", 1)"}));
}

TEST_F(ExportCaptionsStage, AbsoluteStyleFolderTakesItsOwnConfig) {
  Document document("/drafts/p/d_1.json");
  TemplateCaption(document);
  CAPTIONTEST_SET(document->captions->folderPath, "D:\\styles\\bubble");
  Run(document);
  EXPECT_EQ(recorder::Formatted("OrmaCreateCaptionFromConfigure").at(0),
            "OrmaCreateCaptionFromConfigure(\"" + Joined("D:\\styles\\bubble", "config.json") + "\", 1)");
}

TEST_F(ExportCaptionsStage, CaptionIsAddedStackedAndFilledInOrder) {
  Document document("/drafts/p/d_1.json");
  TemplateCaption(document, 6);
  EXPECT_EQ(Run(document), "");
  EXPECT_EQ(recorder::Formatted(),
            (std::vector<std::string>{
                "OrmaCreateCaptionFromConfigure(\"" + Joined("/drafts/p", "tpl", "config.json") + "\", 1)",
                "OrmaAddCaption(0x51, h1)",
                "OrmaUpateCaptionLevel(h1, 6)",
                "OrmaUpdateCaptionTimeline(h1, 1000000, 3000000)",
                "OrmaSetCaptionTransparency(h1, 1)",
                "OrmaSetCaptionPosition(h1, 0.300000012,0.300000012)",
                "OrmaSetCaptionSize(h1, 0.400000006,0.200000003)",
                "OrmaSetCaptionScale(h1, 1)",
                "OrmaSetCaptionAngle(h1, 0)",
            }));
}

TEST_F(ExportCaptionsStage, LevelZeroGetsNoLevelCall) {
  Document document("/drafts/p/d_1.json");
  TemplateCaption(document, 0);
  Run(document);
  EXPECT_TRUE(recorder::Formatted("OrmaUpateCaptionLevel").empty());
}

TEST_F(ExportCaptionsStage, CreateFailurePrintsTheLineAndSkipsTheCaptionAndItsKeyFrames) {
  Document document("/drafts/p/d_1.json");
  Document::AddKeyFrame(TemplateCaption(document));
  TemplateCaption(document);
  recorder::QueueResults("OrmaCreateCaptionFromConfigure", {0});
  EXPECT_EQ(Run(document), "OrmaCreateCaptionFromConfigure failed line:" +
                               std::to_string(captiontest::SourceLine(
                                   kCommonSource, "OrmaCreateCaptionFromConfigure failed")) +
                               " \n");
  EXPECT_TRUE(recorder::Formatted("OrmaCreateCaptionKeyFrameAniamtion").empty());
  EXPECT_EQ(recorder::Formatted("OrmaAddCaption").size(), 1u);
}

TEST_F(ExportCaptionsStage, AddFailureIsReportedAndTheCaptionIsStillFilled) {
  Document document("/drafts/p/d_1.json");
  TemplateCaption(document, 2);
  recorder::SetResult("OrmaAddCaption", -3);
  const std::string out = Run(document);
  const std::string pattern =
      captiontest::Escaped("OrmaAddCaption error " + captiontest::kColonPrinted + "-3 line:" +
                           std::to_string(captiontest::SourceLine(kCommonSource, "OrmaAddCaption error")) +
                           " \n") +
      captiontest::LogLinePattern("OrmaAddCaption failed:ret:-3",
                                  captiontest::LogSourceLine(kCommonSource, "OrmaAddCaption failed"));
  EXPECT_TRUE(std::regex_match(out, std::regex(pattern))) << out;
  EXPECT_EQ(recorder::Formatted("OrmaUpateCaptionLevel").size(), 1u);
  EXPECT_EQ(recorder::Formatted("OrmaSetCaptionAngle").size(), 1u);
}

TEST_F(ExportCaptionsStage, UpdateFailureIsReportedWithItsResult) {
  Document document("/drafts/p/d_1.json", 1280, 0);
  TemplateCaption(document);
  TemplateCaption(document);
  EXPECT_EQ(Run(document), UpdateError(-1120) + UpdateError(-1120));
  EXPECT_EQ(recorder::Formatted("OrmaAddCaption").size(), 2u);
}

TEST_F(ExportCaptionsStage, FailingWholeCaptionCallIsReportedWithThatCallsResult) {
  Document document("/drafts/p/d_1.json");
  TemplateCaption(document);
  recorder::SetResult("OrmaSetCaptionScale", -41);
  EXPECT_EQ(Run(document), UpdateError(-41));
}

TEST_F(ExportCaptionsStage, GbkLocalePrintsTheColonAsA3BA) {
  captiontest::CtypeLocale gbk("zh_CN.GBK");
  ASSERT_TRUE(gbk.ok()) << "locale zh_CN.GBK is missing; scripts/install-deps.sh generates it";
  Document document("/drafts/p/d_1.json", 0, 0);
  TemplateCaption(document);
  const std::string out = Run(document);
  EXPECT_EQ(out, "UpdateCaptionParam error \xA3\xBA-1120 line:" +
                     std::to_string(captiontest::SourceLine(kSource, "UpdateCaptionParam error")) + " \n");
}

std::vector<uint8_t> ExpectedKeyFrameBytes(int64_t at, float rotate, float l, float t, float r, float b,
                                           float alpha, float scale) {
  std::vector<uint8_t> bytes(40, 0);
  std::memcpy(&bytes[0], &at, 8);
  std::memcpy(&bytes[8], &rotate, 4);
  std::memcpy(&bytes[12], &l, 4);
  std::memcpy(&bytes[16], &t, 4);
  std::memcpy(&bytes[20], &r, 4);
  std::memcpy(&bytes[24], &b, 4);
  std::memcpy(&bytes[28], &alpha, 4);
  std::memcpy(&bytes[32], &scale, 4);
  return bytes;
}

TEST_F(ExportCaptionsStage, KeyFrameBlocksCarryCanvasScaledRectanglesByteForByte) {
  Document document("/drafts/p/d_1.json", 1280, 720);
  CaptionRecord* c = TemplateCaption(document);
  CaptionKeyFrame* first = Document::AddKeyFrame(c);
  first->atTime = 1500000;
  first->rotate = 15.0f;
  first->showRect = RectF{0.1f, 0.25f, 0.6f, 0.75f};
  first->alpha = 0.5f;
  first->scale = 2.0f;
  CaptionKeyFrame* second = Document::AddKeyFrame(c);
  second->atTime = -1;
  second->showRect = RectF{0.0f, 0.0f, 1.0f, 1.0f};
  second->alpha = 1.0f;
  second->scale = 1.0f;
  EXPECT_EQ(Run(document), "");
  const auto frames = captiontest::CallsOf("OrmaCreateCaptionKeyFrameAniamtion");
  ASSERT_EQ(frames.size(), 2u);
  EXPECT_EQ(frames[0].args[0], "h1");
  EXPECT_EQ(frames[0].blocks.at(0), ExpectedKeyFrameBytes(1500000, 15.0f, 0.1f * 1280.0f, 0.25f * 720.0f,
                                                          0.6f * 1280.0f, 0.75f * 720.0f, 0.5f, 2.0f));
  EXPECT_EQ(frames[1].blocks.at(0), ExpectedKeyFrameBytes(-1, 0.0f, 0.0f, 0.0f, 1280.0f, 720.0f, 1.0f, 1.0f));
  // Key frames follow the caption's own settings.
  EXPECT_EQ(recorder::CallNames().back(), "OrmaCreateCaptionKeyFrameAniamtion");
}

TEST_F(ExportCaptionsStage, KeyFrameZeroResultReportsTheCaptionsResultAndGoesOn) {
  Document document("/drafts/p/d_1.json");
  CaptionRecord* c = TemplateCaption(document);
  Document::AddKeyFrame(c);
  Document::AddKeyFrame(c);
  Document::AddKeyFrame(c);
  recorder::QueueResults("OrmaCreateCaptionKeyFrameAniamtion", {0, -4, 0});
  // The update succeeded (1); a negative key-frame result is not reported.
  EXPECT_EQ(Run(document), UpdateError(1, 2) + UpdateError(1, 2));
  EXPECT_EQ(captiontest::CallsOf("OrmaCreateCaptionKeyFrameAniamtion").size(), 3u);
}

TEST_F(ExportCaptionsStage, KeyFramesAreSentEvenWhenTheUpdateFailed) {
  Document document("/drafts/p/d_1.json", 0, 720);
  Document::AddKeyFrame(TemplateCaption(document));
  recorder::SetResult("OrmaCreateCaptionKeyFrameAniamtion", 0);
  EXPECT_EQ(Run(document), UpdateError(-1120) + UpdateError(-1120, 2));
}

TEST_F(ExportCaptionsStage, PiecesAreFilledFromTheStyleFolder) {
  Document document(DraftPath());
  CaptionRecord* c = document.AddCaption("style", 0, 1);
  c->timelineTo = 2.0f;
  c->showRect = RectF{0, 0, 1, 1};
  Document::AddWord(c, "first");
  Document::AddWord(c, "second");
  EXPECT_EQ(Run(document), "");
  EXPECT_EQ(
      recorder::Formatted("OrmaGetCaptionItem"),
      (std::vector<std::string>{"OrmaGetCaptionItem(h1, \"first\")", "OrmaGetCaptionItem(h1, \"second\")"}));
  EXPECT_EQ(recorder::Formatted("OrmaUpdateCaptionItemParam"),
            (std::vector<std::string>{"OrmaUpdateCaptionItemParam(h2, block0)",
                                      "OrmaUpdateCaptionItemParam(h3, block0)"}));
}

TEST(ExportCaptionsStageNoDocument, NullDocumentDoesNothing) {
  recorder::Reset();
  AddCaptions(nullptr, kVideo);
  EXPECT_TRUE(recorder::Calls().empty());
}

} // namespace
