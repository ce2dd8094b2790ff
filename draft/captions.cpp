// Captions: styled text pieces ("subtitleExs", "pipList" type 3) or template
// text lines ("subtitlesTemplate", "pipList" type 10). Font sizes are turned
// from pixels of the editor's preview into pixels of the output.
#include <cstdlib>
#include <cstring>

#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_keys.h"
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
  ReadFields(object, kCaptionBackgroundKeys, background);
  return background;
}

void ReadWords(const cJSON* array, const DraftDocument* document, CaptionRecord* caption) {
  AppendEach(array, &caption->words, [&](const cJSON* element, CaptionWord* word, int32_t) {
    ReadFields(element, kWordKeys, word);
    if (const cJSON* fontSize = Item(element, "fontSize"))
      word->fontSize = FontSize(fontSize, document, caption);
    if (ReadRect(element, "showRectF", &word->showRect)) {
      // A piece without a width or height spans the whole caption box.
      if (word->showRect.right == 0.0f) word->showRect.right = 1.0f;
      if (word->showRect.bottom == 0.0f) word->showRect.bottom = 1.0f;
    }
    if (const cJSON* background = Item(element, "background")) {
      std::free(word->background);
      word->background = ReadBackground(background);
    }
    if (const cJSON* animates = Item(element, "animates")) ReadAnimationList(animates, &word->animations);
  });
}

void ReadContent(const cJSON* array, CaptionRecord* caption) {
  AppendKept(
      array, &caption->content, [](const cJSON* element) { return StringOf(element) != nullptr; },
      [](const cJSON* element, CaptionTextLine* line, int32_t) {
        CopyTextZeroFilled(line->text, sizeof(line->text), StringOf(element));
      });
}

void ReadCaptionKeyFrames(const cJSON* array, CaptionRecord* caption) {
  AppendEach(array, &caption->keyFrames, [](const cJSON* element, CaptionKeyFrame* frame, int32_t) {
    ReadFields(element, kCaptionKeyFrameKeys, frame);
    // Seconds as a 32-bit float, scaled to microseconds in float arithmetic.
    if (const cJSON* atTime = Item(element, "atTime"))
      frame->atTime = ToInt64(static_cast<double>(RealView(atTime) * 1000000.0f));
  });
}

void ReadCaption(const cJSON* element, int32_t kind, const DraftDocument* document, CaptionRecord* caption) {
  caption->kind = kind;
  caption->opacity = 1.0f;
  caption->scale = 1.0f;
  ReadFields(element, kCaptionKeys, caption);
  // Read before the pieces: their font sizes are converted with it.
  if (const cJSON* preview = Item(element, "previewSize")) {
    const cJSON* width = Item(preview, "width");
    const cJSON* height = Item(preview, "height");
    if (width && height) {
      caption->previewSize.width = static_cast<float>(IntView(width));
      caption->previewSize.height = static_cast<float>(IntView(height));
    }
  }
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
  auto kindOf = [&](const cJSON* element) {
    if (!filtered) return kind;
    const cJSON* type = Item(element, "pipType");
    if (!type) return -1;
    int32_t pipType = IntView(type);
    if (pipType == kStyledPipType) return kStyledPieces;
    if (pipType == kTemplatePipType) return kTemplateLines;
    return -1;
  };
  CaptionRecord* head = nullptr;
  AppendKept(
      array, &head, [&](const cJSON* element) { return kindOf(element) >= 0; },
      [&](const cJSON* element, CaptionRecord* caption, int32_t position) {
        caption->level = position;
        ReadCaption(element, kindOf(element), document, caption);
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
  FreeList(head, [](CaptionRecord* caption) {
    FreeList(caption->words, [](CaptionWord* word) {
      std::free(word->background);
      FreeAnimations(word->animations);
    });
    FreePlainList(caption->content);
    FreePlainList(caption->keyFrames);
  });
}
