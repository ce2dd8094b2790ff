// Captions: styled text pieces ("subtitleExs", "pipList" type 3) or template
// text lines ("subtitlesTemplate", "pipList" type 10). Font sizes are turned
// from pixels of the editor's preview into pixels of the output.
#include <cstdlib>
#include <cstring>

#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_lists.h"

using namespace draftjson;

namespace {

constexpr int32_t kStyledPieces = 0;
constexpr int32_t kTemplateLines = 1;
constexpr int32_t kStyledPipType = 3;
constexpr int32_t kTemplatePipType = 10;

int32_t FontSize(const cJSON* item, const DraftDocument* document, const CaptionRecord* caption) {
  // A fractional size written by the editor is kept; a whole one reads exact.
  float size = static_cast<float>(IntView(item));
  double exact = DoubleView(item);
  if (exact > size) size = ToFloat(exact);
  if (document && size > 0 && caption->previewSize.width > 0 && document->width > 0) {
    float factor = ToFloat(static_cast<double>(document->width) / caption->previewSize.width);
    if (document->videoW > 0) factor = document->videoW * factor / document->width;
    size = size * factor;
  }
  // Rounding half up.
  return ToInt32(static_cast<double>(size + 0.5f));
}

CaptionBackground* ReadBackground(const cJSON* object) {
  CaptionBackground* background = NewRecord<CaptionBackground>();
  if (!background) return nullptr;
  background->color.alpha = 1.0f;
  const char* type = StringOf(Item(object, "type"));
  background->type = type && std::strcmp(type, "paragraph") == 0 ? 1 : 0;
  ReadColor(object, "color", &background->color);
  ReadReal(object, "roundFactor", &background->roundFactor);
  ReadPair(object, "padding", &background->padding);
  ReadPair(object, "offset", &background->offset);
  return background;
}

void ReadWords(const cJSON* array, const DraftDocument* document, CaptionRecord* caption) {
  ListTail<CaptionWord> tail(&caption->words);
  ForEachElement(array, [&](const cJSON* element, int32_t) {
    CaptionWord* word = tail.Append();
    if (!word) return;
    ReadReal(element, "shadowDistance", &word->shadowDistance);
    ReadText(element, "fontPath", word->fontPath);
    ReadText(element, "flowerPath", word->flowerPath);
    ReadIntFlag(element, "isBold", &word->isBold);
    ReadInt(element, "maskType", &word->maskType);
    ReadReal(element, "wordSpacing", &word->wordSpacing);
    ReadReal(element, "lineSpacing", &word->lineSpacing);
    ReadReal(element, "shadowBlur", &word->shadowBlur);
    ReadText(element, "text", word->text);
    ReadReal(element, "opacity", &word->opacity);
    ReadIntFlag(element, "isItalic", &word->isItalic);
    ReadIntFlag(element, "isUnderline", &word->isUnderline);
    if (const cJSON* fontSize = Item(element, "fontSize"))
      word->fontSize = FontSize(fontSize, document, caption);
    if (ReadRect(element, "showRectF", &word->showRect)) {
      // A piece without a width or height spans the whole caption box.
      if (word->showRect.right == 0.0f) word->showRect.right = 1.0f;
      if (word->showRect.bottom == 0.0f) word->showRect.bottom = 1.0f;
    }
    ReadColor(element, "strokeColor", &word->strokeColor);
    ReadColor(element, "backgroundColor", &word->backgroundColor);
    if (const cJSON* background = Item(element, "background")) {
      std::free(word->background);
      word->background = ReadBackground(background);
    }
    ReadColor(element, "shadowColor", &word->shadowColor);
    ReadColor(element, "textColor", &word->textColor);
    ReadIntFlag(element, "isVertical", &word->isVertical);
    ReadReal(element, "duration", &word->duration);
    ReadReal(element, "startTime", &word->startTime);
    ReadReal(element, "flowerCategoryId", &word->flowerCategoryId);
    ReadTruncated(element, "textAlignment", &word->textAlignment);
    ReadReal(element, "strokeWidth", &word->strokeWidth);
    ReadReal(element, "angle", &word->angle);
    ReadReal(element, "shadowAngle", &word->shadowAngle);
    if (const cJSON* animates = Item(element, "animates")) ReadAnimationList(animates, &word->animations);
  });
}

void ReadContent(const cJSON* array, CaptionRecord* caption) {
  ListTail<CaptionTextLine> tail(&caption->content);
  ForEachElement(array, [&](const cJSON* element, int32_t) {
    const char* text = StringOf(element);
    if (!text) return;
    CaptionTextLine* line = tail.Append();
    if (line) CopyTextZeroFilled(line->text, sizeof(line->text), text);
  });
}

void ReadCaptionKeyFrames(const cJSON* array, CaptionRecord* caption) {
  ListTail<CaptionKeyFrame> tail(&caption->keyFrames);
  ForEachElement(array, [&](const cJSON* element, int32_t) {
    CaptionKeyFrame* frame = tail.Append();
    if (!frame) return;
    ReadRect(element, "showRectF", &frame->showRect);
    ReadReal(element, "scale", &frame->scale);
    ReadReal(element, "alpha", &frame->alpha);
    // Seconds as a 32-bit float, scaled to microseconds in float arithmetic.
    if (const cJSON* atTime = Item(element, "atTime"))
      frame->atTime = ToInt64(static_cast<double>(RealView(atTime) * 1000000.0f));
    ReadReal(element, "rotate", &frame->rotate);
  });
}

void ReadCaption(const cJSON* element, int32_t kind, const DraftDocument* document, CaptionRecord* caption) {
  caption->kind = kind;
  ReadReal(element, "timelineFrom", &caption->timelineFrom);
  ReadReal(element, "timelineTo", &caption->timelineTo);
  ReadIntFlag(element, "isEnableTracking", &caption->isEnableTracking);
  ReadText(element, "identifier", caption->identifier);
  ReadText(element, "networkResourceId", caption->networkResourceId);
  ReadText(element, "networkCategoryId", caption->networkCategoryId);
  ReadTruncated(element, "groupId", &caption->groupId);
  caption->opacity = 1.0f;
  ReadReal(element, "opacity", &caption->opacity);
  ReadDoubleFlag(element, "flipY", &caption->flipY);
  ReadDoubleFlag(element, "flipX", &caption->flipX);
  caption->scale = 1.0f;
  ReadReal(element, "scale", &caption->scale);
  ReadReal(element, "angle", &caption->angle);
  // Read before the pieces: their font sizes are converted with it.
  if (const cJSON* preview = Item(element, "previewSize")) {
    const cJSON* width = Item(preview, "width");
    const cJSON* height = Item(preview, "height");
    if (width && height) {
      caption->previewSize.width = static_cast<float>(IntView(width));
      caption->previewSize.height = static_cast<float>(IntView(height));
    }
  }
  ReadTextNonEmpty(element, "folderPath", caption->folderPath);
  ReadRect(element, "showRectF", &caption->showRect);
  if (kind == kTemplateLines) {
    ReadContent(Item(element, "content"), caption);
  } else {
    ReadWords(Item(element, "wordItem"), document, caption);
  }
  ReadCaptionKeyFrames(Item(element, "keyFrameAnimates"), caption);
}

// Reads the elements of an array; filtered arrays keep only the two caption
// "pipType"s (an element without one is skipped) and take the kind from it.
CaptionRecord* ReadArray(const cJSON* array, bool filtered, int32_t kind, const DraftDocument* document) {
  CaptionRecord* head = nullptr;
  ListTail<CaptionRecord> tail(&head);
  ForEachElement(array, [&](const cJSON* element, int32_t position) {
    int32_t elementKind = kind;
    if (filtered) {
      const cJSON* type = Item(element, "pipType");
      if (!type) return;
      int32_t pipType = IntView(type);
      if (pipType == kStyledPipType)
        elementKind = kStyledPieces;
      else if (pipType == kTemplatePipType)
        elementKind = kTemplateLines;
      else
        return;
    }
    CaptionRecord* caption = tail.Append();
    if (!caption) return;
    caption->level = position;
    ReadCaption(element, elementKind, document, caption);
  });
  return head;
}

} // namespace

CaptionRecord* readCaptions(const DraftDocument* document, const cJSON* root) {
  const cJSON* styled = Item(root, "subtitleExs");
  const cJSON* lines = Item(root, "subtitlesTemplate");
  const cJSON* first = styled ? styled : lines;
  int32_t firstKind = styled ? kStyledPieces : kTemplateLines;
  if (HasElements(first)) return ReadArray(first, false, firstKind, document);
  if (const cJSON* pipList = Item(root, "pipList")) return ReadArray(pipList, true, 0, document);
  if (lines) return ReadArray(lines, true, 0, document);
  return nullptr;
}

void FreeCaptions(CaptionRecord* head) {
  while (head) {
    CaptionRecord* next = head->next;
    for (CaptionWord* word = head->words; word;) {
      CaptionWord* nextWord = word->next;
      std::free(word->background);
      FreeAnimations(word->animations);
      std::free(word);
      word = nextWord;
    }
    FreePlainList(head->content);
    FreePlainList(head->keyFrames);
    std::free(head);
    head = next;
  }
}
