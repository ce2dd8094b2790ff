// Captions: source choice, kinds, font-size conversion and every field.
#include "draft/draft.h"
#include "draft/record_lists.h"
#include "tests/unit/draft_fixture.h"

using namespace drafttest;

namespace {

struct Captions {
  CaptionRecord* head = nullptr;
  ~Captions() { FreeCaptions(head); }
};

DraftDocument* Canvas(float width, float videoW) {
  DraftDocument* document = NewRecord<DraftDocument>();
  document->width = width;
  document->videoW = videoW;
  return document;
}

std::string OnePiece(const std::string& caption, const std::string& piece) {
  return R"({"subtitleExs": [{)" + caption + R"("wordItem": [{)" + piece + "}]}]}";
}

} // namespace

TEST(DraftCaptions, FontSizeIsScaledFromThePreviewToTheCanvas) {
  Json root = Parse(OnePiece(R"("previewSize": {"width": 360, "height": 640},)", R"("fontSize": 40)"));
  Document canvas(Canvas(720, 0));
  Captions captions{readCaptions(canvas.get(), root.get())};
  ASSERT_NE(captions.head, nullptr);
  ASSERT_NE(captions.head->words, nullptr);
  EXPECT_EQ(captions.head->words->fontSize, 80);
}

TEST(DraftCaptions, FontSizeIsScaledToTheOutputWidthWhenOneIsGiven) {
  Json root = Parse(OnePiece(R"("previewSize": {"width": 360, "height": 640},)", R"("fontSize": 40)"));
  Document canvas(Canvas(720, 1080));
  Captions captions{readCaptions(canvas.get(), root.get())};
  ASSERT_NE(captions.head, nullptr);
  EXPECT_EQ(captions.head->words->fontSize, 120);
}

TEST(DraftCaptions, FractionalFontSizeIsRoundedHalfUpWhenNoConversionApplies) {
  Json root = Parse(OnePiece("", R"("fontSize": 12.6)"));
  Document canvas(Canvas(720, 0));
  Captions withDocument{readCaptions(canvas.get(), root.get())};
  EXPECT_EQ(withDocument.head->words->fontSize, 13);
  Captions withoutDocument{readCaptions(nullptr, root.get())};
  EXPECT_EQ(withoutDocument.head->words->fontSize, 13);
  Json whole = Parse(OnePiece(R"("previewSize": {"width": 360, "height": 640},)", R"("fontSize": 12.4)"));
  Captions unconverted{readCaptions(nullptr, whole.get())};
  EXPECT_EQ(unconverted.head->words->fontSize, 12);
}

TEST(DraftCaptions, HugeFontSizeSaturates) {
  Json root = Parse(OnePiece(R"("previewSize": {"width": 1, "height": 1},)", R"("fontSize": 1e300)"));
  Document canvas(Canvas(1e9f, 0));
  Captions captions{readCaptions(canvas.get(), root.get())};
  EXPECT_EQ(captions.head->words->fontSize, INT32_MAX);
}

TEST(DraftCaptions, PieceRightEdgeBecomesOneOnlyWhenTheStoredRightIsZero) {
  Json root = Parse(R"({"subtitleExs": [{"wordItem": [
      {"showRectF": {"x": 0, "y": 0.2, "width": 0, "height": 0.5}},
      {"showRectF": {"x": 0.3, "y": 0, "width": 0, "height": 0}}]}]})");
  Captions captions{readCaptions(nullptr, root.get())};
  ASSERT_EQ(Count(captions.head->words), 2);
  const CaptionWord* first = captions.head->words;
  EXPECT_FLOAT_EQ(first->showRect.right, 1.0f);
  EXPECT_FLOAT_EQ(first->showRect.bottom, 0.7f);
  const CaptionWord* second = first->next;
  EXPECT_FLOAT_EQ(second->showRect.right, 0.3f);
  EXPECT_FLOAT_EQ(second->showRect.bottom, 1.0f);
}

TEST(DraftCaptions, CaptionOpacityAndScaleDefaultToOneAndPieceOpacityToZero) {
  Json root = Parse(R"({"subtitleExs": [{"wordItem": [{}]}, {"opacity": 0.5, "scale": "2"}]})");
  Captions captions{readCaptions(nullptr, root.get())};
  ASSERT_EQ(Count(captions.head), 2);
  EXPECT_FLOAT_EQ(captions.head->opacity, 1.0f);
  EXPECT_FLOAT_EQ(captions.head->scale, 1.0f);
  EXPECT_FLOAT_EQ(captions.head->words->opacity, 0.0f);
  EXPECT_FLOAT_EQ(captions.head->next->opacity, 0.5f);
  EXPECT_FLOAT_EQ(captions.head->next->scale, 0.0f);
}

TEST(DraftCaptions, BackgroundTypeComparisonIsExact) {
  Json root = Parse(R"({"subtitleExs": [{"wordItem": [
      {"background": {"type": "Paragraph"}},
      {"background": {"type": "paragraph", "color": {"red": 0.5}, "roundFactor": 0.2,
                      "padding": {"cx": 4, "cy": 5}, "offset": {"cx": -1, "cy": -2}}},
      {"background": {"type": "paragraph", "color": {"alpha": 0.25}}}, {}]}]})");
  Captions captions{readCaptions(nullptr, root.get())};
  ASSERT_EQ(Count(captions.head->words), 4);
  const CaptionWord* w = captions.head->words;
  ASSERT_NE(w->background, nullptr);
  EXPECT_EQ(w->background->type, 0);
  EXPECT_FLOAT_EQ(w->background->color.alpha, 1.0f);
  w = w->next;
  EXPECT_EQ(w->background->type, 1);
  EXPECT_FLOAT_EQ(w->background->color.red, 0.5f);
  EXPECT_FLOAT_EQ(w->background->color.alpha, 1.0f);
  EXPECT_FLOAT_EQ(w->background->roundFactor, 0.2f);
  EXPECT_FLOAT_EQ(w->background->padding.cx, 4.0f);
  EXPECT_FLOAT_EQ(w->background->padding.cy, 5.0f);
  EXPECT_FLOAT_EQ(w->background->offset.cx, -1.0f);
  EXPECT_FLOAT_EQ(w->background->offset.cy, -2.0f);
  w = w->next;
  EXPECT_FLOAT_EQ(w->background->color.alpha, 0.25f);
  EXPECT_EQ(w->next->background, nullptr);
}

TEST(DraftCaptions, KeyFrameTimeIsScaledToMicroseconds) {
  Json root = Parse(R"({"subtitleExs": [{"keyFrameAnimates": [
      {"atTime": 1.5, "rotate": 10, "alpha": 0.5, "scale": 2,
       "showRectF": {"x": 0.1, "y": 0.2, "width": 0.3, "height": 0.4}},
      {"atTime": 0.0000019}, {"atTime": 1e30}]}]})");
  Captions captions{readCaptions(nullptr, root.get())};
  ASSERT_EQ(Count(captions.head->keyFrames), 3);
  const CaptionKeyFrame* k = captions.head->keyFrames;
  EXPECT_EQ(k->atTime, 1500000);
  EXPECT_FLOAT_EQ(k->rotate, 10.0f);
  EXPECT_FLOAT_EQ(k->alpha, 0.5f);
  EXPECT_FLOAT_EQ(k->scale, 2.0f);
  EXPECT_FLOAT_EQ(k->showRect.right, 0.4f);
  EXPECT_FLOAT_EQ(k->showRect.bottom, 0.6f);
  EXPECT_EQ(k->next->atTime, 1);
  EXPECT_EQ(k->next->next->atTime, INT64_MAX);
}

TEST(DraftCaptions, SubtitleExsAreStyledPiecesReadUnfiltered) {
  Json root = Parse(R"({"subtitleExs": [{"pipType": 10, "content": ["x"], "wordItem": [{"text": "a"}]},
                                        {"wordItem": [{"text": "b"}]}],
                        "pipList": [{"pipType": 3}]})");
  Captions captions{readCaptions(nullptr, root.get())};
  ASSERT_EQ(Count(captions.head), 2);
  EXPECT_EQ(captions.head->kind, 0);
  EXPECT_EQ(captions.head->level, 1);
  EXPECT_EQ(captions.head->content, nullptr);
  EXPECT_STREQ(captions.head->words->text, "a");
  EXPECT_EQ(captions.head->next->level, 2);
  EXPECT_STREQ(captions.head->next->words->text, "b");
}

TEST(DraftCaptions, SubtitlesTemplateGivesTextLinesAndSkipsNonStrings) {
  Json root = Parse(R"({"subtitlesTemplate": [{"content": ["line one", 5, null, "", "line two"],
                                              "wordItem": [{"text": "ignored"}]}]})");
  Captions captions{readCaptions(nullptr, root.get())};
  ASSERT_EQ(Count(captions.head), 1);
  EXPECT_EQ(captions.head->kind, 1);
  EXPECT_EQ(captions.head->words, nullptr);
  ASSERT_EQ(Count(captions.head->content), 3);
  EXPECT_STREQ(captions.head->content->text, "line one");
  EXPECT_STREQ(captions.head->content->next->text, "");
  EXPECT_STREQ(captions.head->content->next->next->text, "line two");
}

TEST(DraftCaptions, EmptySubtitleExsFallsBackToPipListWithBothKinds) {
  Json root = Parse(R"({"subtitleExs": [], "subtitlesTemplate": [{"content": ["unused"]}],
      "pipList": [{"pipType": 0}, {"pipType": 10, "content": ["t"]}, {"pipType": 3, "wordItem": [{}]},
                  {"content": ["no type"]}, {"pipType": 4}]})");
  Captions captions{readCaptions(nullptr, root.get())};
  ASSERT_EQ(Count(captions.head), 2);
  EXPECT_EQ(captions.head->kind, 1);
  EXPECT_EQ(captions.head->level, 2);
  EXPECT_STREQ(captions.head->content->text, "t");
  EXPECT_EQ(captions.head->next->kind, 0);
  EXPECT_EQ(captions.head->next->level, 3);
  EXPECT_EQ(Count(captions.head->next->words), 1);
}

TEST(DraftCaptions, EmptySubtitleExsWithoutPipListFiltersSubtitlesTemplate) {
  Json root = Parse(R"({"subtitleExs": [],
      "subtitlesTemplate": [{"content": ["untyped"]}, {"pipType": 3, "wordItem": [{"text": "w"}]},
                            {"pipType": 10, "content": ["c"]}]})");
  Captions captions{readCaptions(nullptr, root.get())};
  ASSERT_EQ(Count(captions.head), 2);
  EXPECT_EQ(captions.head->kind, 0);
  EXPECT_EQ(captions.head->level, 2);
  EXPECT_EQ(captions.head->next->kind, 1);
  EXPECT_EQ(captions.head->next->level, 3);
}

TEST(DraftCaptions, NoSourceGivesNone) {
  Json root = Parse(R"({"subtitlesTemplate": []})");
  EXPECT_EQ(readCaptions(nullptr, root.get()), nullptr);
  Json other = Parse(R"({"stickers": [{}]})");
  EXPECT_EQ(readCaptions(nullptr, other.get()), nullptr);
  EXPECT_EQ(readCaptions(nullptr, nullptr), nullptr);
}

TEST(DraftCaptions, PreviewSizeNeedsBothKeys) {
  Json root = Parse(R"({"subtitleExs": [{"previewSize": {"width": 360}, "wordItem": [{"fontSize": 40}]},
                                        {"previewSize": {"width": 360.9, "height": 640}}]})");
  Document canvas(Canvas(720, 0));
  Captions captions{readCaptions(canvas.get(), root.get())};
  EXPECT_FLOAT_EQ(captions.head->previewSize.width, 0.0f);
  EXPECT_EQ(captions.head->words->fontSize, 40);
  EXPECT_FLOAT_EQ(captions.head->next->previewSize.width, 360.0f);
  EXPECT_FLOAT_EQ(captions.head->next->previewSize.height, 640.0f);
}

TEST(DraftCaptions, EveryCaptionAndPieceKeyIsRead) {
  Json root = Parse(R"({"subtitleExs": [{
      "timelineFrom": 1, "timelineTo": 3.5, "isEnableTracking": 2, "identifier": "cap-1",
      "networkResourceId": "res", "networkCategoryId": "cat", "groupId": 4.8, "opacity": 0.6,
      "flipY": 0.5, "flipX": 0, "scale": 1.5, "angle": 30, "folderPath": "",
      "showRectF": {"x": 0.1, "y": 0.7, "width": 0.8, "height": 0.2},
      "wordItem": [{
        "shadowDistance": 2, "fontPath": "fonts/a.ttf", "flowerPath": "art/1", "isBold": 1,
        "maskType": 2, "wordSpacing": 0.1, "lineSpacing": 1.2, "shadowBlur": 3, "text": "Hi %s",
        "opacity": 0.9, "isItalic": true, "isUnderline": 0, "strokeColor": {"red": 1},
        "backgroundColor": {"green": 1}, "shadowColor": {"blue": 1}, "textColor": {"alpha": 1},
        "isVertical": 1, "duration": 2.5, "startTime": 0.5, "flowerCategoryId": 7.5,
        "textAlignment": 1.9, "strokeWidth": 4, "angle": 15, "shadowAngle": 45,
        "animates": [{"cycleDuration": 1, "type": 2.2, "duration": 0.5, "networkCategoryId": "c",
                      "networkResourceId": "r", "folderPath": "anim/x"}]}]}]})");
  Captions captions{readCaptions(nullptr, root.get())};
  ASSERT_NE(captions.head, nullptr);
  const CaptionRecord& c = *captions.head;
  EXPECT_FLOAT_EQ(c.timelineFrom, 1.0f);
  EXPECT_FLOAT_EQ(c.timelineTo, 3.5f);
  EXPECT_TRUE(c.isEnableTracking);
  EXPECT_STREQ(c.identifier, "cap-1");
  EXPECT_STREQ(c.networkResourceId, "res");
  EXPECT_STREQ(c.networkCategoryId, "cat");
  EXPECT_EQ(c.groupId, 4);
  EXPECT_FLOAT_EQ(c.opacity, 0.6f);
  EXPECT_TRUE(c.flipY);
  EXPECT_FALSE(c.flipX);
  EXPECT_FLOAT_EQ(c.scale, 1.5f);
  EXPECT_FLOAT_EQ(c.angle, 30.0f);
  EXPECT_STREQ(c.folderPath, "");
  EXPECT_FLOAT_EQ(c.showRect.right, 0.9f);
  EXPECT_FLOAT_EQ(c.showRect.bottom, 0.9f);
  ASSERT_NE(c.words, nullptr);
  const CaptionWord& w = *c.words;
  EXPECT_FLOAT_EQ(w.shadowDistance, 2.0f);
  EXPECT_STREQ(w.fontPath, "fonts/a.ttf");
  EXPECT_STREQ(w.flowerPath, "art/1");
  EXPECT_TRUE(w.isBold);
  EXPECT_EQ(w.maskType, 2);
  EXPECT_FLOAT_EQ(w.wordSpacing, 0.1f);
  EXPECT_FLOAT_EQ(w.lineSpacing, 1.2f);
  EXPECT_FLOAT_EQ(w.shadowBlur, 3.0f);
  EXPECT_STREQ(w.text, "Hi %s");
  EXPECT_FLOAT_EQ(w.opacity, 0.9f);
  EXPECT_TRUE(w.isItalic);
  EXPECT_FALSE(w.isUnderline);
  EXPECT_FLOAT_EQ(w.strokeColor.red, 1.0f);
  EXPECT_FLOAT_EQ(w.backgroundColor.green, 1.0f);
  EXPECT_FLOAT_EQ(w.shadowColor.blue, 1.0f);
  EXPECT_FLOAT_EQ(w.textColor.alpha, 1.0f);
  EXPECT_TRUE(w.isVertical);
  EXPECT_FLOAT_EQ(w.duration, 2.5f);
  EXPECT_FLOAT_EQ(w.startTime, 0.5f);
  EXPECT_FLOAT_EQ(w.flowerCategoryId, 7.5f);
  EXPECT_EQ(w.textAlignment, 1);
  EXPECT_FLOAT_EQ(w.strokeWidth, 4.0f);
  EXPECT_FLOAT_EQ(w.angle, 15.0f);
  EXPECT_FLOAT_EQ(w.shadowAngle, 45.0f);
  EXPECT_EQ(w.fontSize, 0);
  ASSERT_EQ(Count(w.animations), 1);
  EXPECT_EQ(w.animations->type, 2);
  EXPECT_STREQ(w.animations->folderPath, "anim/x");
}
