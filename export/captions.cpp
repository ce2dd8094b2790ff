#include "export/captions.h"

#include <cjson/cJSON.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "export/caption_common.h"
#include "export/convert.h"
#include "export/resource_path.h"
#include "platform/log_line.h"
#include "platform/platform.h"
#include "platform/text_number.h"

namespace {

/// Font shipped beside the program, used by pieces that name no font, as
/// its folders below the program's and its name.
constexpr const char* kProgramFontFile[] = {"resource", "font", "PingFang-SC-Regular.otf"};
/// Family asked of the library when that font is missing ("黑体", UTF-8).
constexpr const char* kFallbackFontFamily = "\xE9\xBB\x91\xE4\xBD\x93";

/// Word-art files a folder may hold, in the order they are looked for; the
/// last two lie in its folder "file".
constexpr const char* kWordArtFiles[] = {"config.json", "colortext.json"};
constexpr const char* kWordArtSubfolder = "file";

void CopyColor(float out[4], const ColorF& color) {
  out[0] = color.red;
  out[1] = color.green;
  out[2] = color.blue;
  out[3] = color.alpha;
}

bool AnyPositive(const ColorF& color) {
  return color.red > 0 || color.green > 0 || color.blue > 0 || color.alpha > 0;
}

std::string ProgramFolder() {
  const std::string program = platform::ProgramPath();
  const size_t cut = program.find_last_of("\\/");
  return cut == std::string::npos ? std::string() : program.substr(0, cut);
}

/// Up to `count` numbers of a JSON array into `out`; false when not an array.
bool CopyNumbers(const cJSON* array, float* out, int count) {
  if (!cJSON_IsArray(array)) return false;
  const int n = std::min(cJSON_GetArraySize(array), count);
  for (int i = 0; i < n; ++i)
    out[i] = static_cast<float>(cJSON_GetArrayItem(array, i)->valuedouble);
  return true;
}

/// The caption's style file; "" when a relative style folder has no draft
/// folder to stand in (a draft path without any separator).
std::string StylePath(const DraftDocument* document, const char* folder) {
  if (!platform::IsAbsolutePath(folder) && std::strpbrk(document->draftPath, "\\/") == nullptr) return "";
  return ResolveResourcePath(document, folder, true);
}

/// The word-art file of a piece, or "" when its folder holds none.
std::string WordArtFile(const DraftDocument* document, const char* flowerPath) {
  const std::string resolved = ResolveResourcePath(document, flowerPath);
  if (resolved.find(".json") != std::string::npos) return resolved;
  for (const std::string& folder : {resolved, JoinPath(resolved, kWordArtSubfolder)}) {
    for (const char* name : kWordArtFiles) {
      const std::string candidate = JoinPath(folder, name);
      if (platform::Exists(candidate.c_str())) return candidate;
    }
  }
  return "";
}

/// Template text lines go into the items the style's configuration defines,
/// in order; items beyond the last line keep the configuration's text.
int32_t FillTemplateLines(OrmaCaptionHandle caption, const CaptionRecord* record) {
  const int32_t count = OrmaCaptionGetItemCount(caption);
  // One block for all items: the library fills it before each use.
  OrmaCaptionItemBlock block;
  std::memset(&block, 0, sizeof(block));
  const CaptionTextLine* line = record->content;
  for (int32_t i = 0; i < count; ++i) {
    OrmaCaptionItemHandle item = OrmaCaptionGetItemCaption(caption, i);
    OrmaCaptionGetItemCaptionParam(caption, i, &block);
    if (!line) continue;
    platform::CopyText(block.text, sizeof(block.text), line->text);
    OrmaUpdateCaptionItemParam(item, &block);
    line = line->next;
  }
  return 1;
}

int32_t ApplyPieceAnimations(const DraftDocument* document, const CaptionRecord* record,
                             const CaptionWord* word, OrmaCaptionItemHandle item) {
  for (const AnimationRecord* animation = word->animations; animation; animation = animation->next) {
    const std::string config = ResolveResourcePath(document, animation->folderPath, true);
    // An out-animation (type 1) is placed so that it ends with the caption.
    float start = 0.0f;
    if (animation->type == 1) start = record->timelineTo - record->timelineFrom - animation->duration;
    int32_t r =
        OrmaSetCaptionItemAnimation(item, config.c_str(), animation->type, convert::SecondsToUs(start),
                                    convert::SecondsToUs(animation->duration));
    if (r <= 0) return r;
    if (animation->type == 2 || animation->cycleDuration > 0) {
      r = OrmaSetCaptionItemAnimationCycleDuration(item, convert::SecondsToUs(animation->cycleDuration));
      if (r <= 0) return r;
    }
  }
  return 1;
}

/// One styled piece: its parameter block, word art, stroke, shadow, text box
/// and animations.
int32_t ApplyPiece(const DraftDocument* document, OrmaCaptionHandle caption, const CaptionRecord* record,
                   const CaptionWord* word) {
  OrmaCaptionItemHandle item = OrmaGetCaptionItem(caption, word->text);
  OrmaCaptionItemBlock block;
  std::memset(&block, 0, sizeof(block));
  int32_t r = FillCaptionItemParam(document, record, word, &block);
  if (r < 1) return r;
  r = OrmaUpdateCaptionItemParam(item, &block);
  if (r < 1) return r;

  if (word->flowerPath[0] != '\0') {
    const std::string wordArt = WordArtFile(document, word->flowerPath);
    if (wordArt.empty()) {
      // The piece is still shown, only without its word art.
      LogLine("flowerPath not find");
    } else {
      const int32_t effect = OrmaSetCaptionItemEffectConfigure(item, wordArt.c_str());
      if (effect < 1) LogLine("OrmaSetCaptionItemEffectConfigure failed:%d", effect);
    }
  }

  if (word->strokeWidth > 0 || AnyPositive(word->strokeColor)) {
    OrmaStrokeBlock stroke;
    std::memset(&stroke, 0, sizeof(stroke));
    stroke.width = word->strokeWidth;
    CopyColor(stroke.color, word->strokeColor);
    OrmaSetCaptionItemStroke(item, &stroke);
  }

  if (word->shadowAngle > 0 || word->shadowBlur > 0 || word->shadowDistance > 0 ||
      AnyPositive(word->shadowColor)) {
    OrmaShadowBlock shadow;
    std::memset(&shadow, 0, sizeof(shadow));
    shadow.blur = word->shadowBlur;
    shadow.angle = word->shadowAngle;
    shadow.distance = word->shadowDistance;
    CopyColor(shadow.color, word->shadowColor);
    OrmaSetCaptionItemShadow(item, &shadow);
  }

  if (word->background) {
    static_assert(sizeof(OrmaCaptionBackgroundBlock) == sizeof(CaptionBackground),
                  "the text box record is handed over as stored");
    OrmaCaptionBackgroundBlock background;
    std::memcpy(&background, word->background, sizeof(background));
    OrmaSetCaptionItemBackground(item, 1, &background);
  }

  return ApplyPieceAnimations(document, record, word, item);
}

} // namespace

void StyleTextMargins(int32_t styleWidth, int32_t styleHeight, float textWidth, float textHeight,
                      const float padding[4], float margins[4]) {
  auto axis = [](int32_t side, float text, float lead, float trail, float* outLead, float* outTrail) {
    *outLead = 0.0f;
    *outTrail = 0.0f;
    const double free = static_cast<double>(side) - static_cast<double>(text);
    if (side <= 0 || !(free > 0.0)) return;
    const double a = lead > 0 ? lead : 0.0;
    const double b = trail > 0 ? trail : 0.0;
    const double leading = a + b > 0.0 ? free * a / (a + b) : free * 0.5;
    *outLead = static_cast<float>(leading / side);
    *outTrail = static_cast<float>((free - leading) / side);
  };
  axis(styleWidth, textWidth, padding[0], padding[2], &margins[0], &margins[2]);
  axis(styleHeight, textHeight, padding[1], padding[3], &margins[1], &margins[3]);
}

int32_t FillCaptionItemParam(const DraftDocument* document, const CaptionRecord* record,
                             const CaptionWord* word, OrmaCaptionItemBlock* block) {
  if (!document || !record || !word || !block) return kCaptionItemNullArgument;
  if (record->folderPath[0] == '\0') return 1;

  const std::string stylePath = StylePath(document, record->folderPath);
  if (stylePath.empty()) return kCaptionItemNoStylePath;
  std::string styleText;
  if (!platform::ReadWholeFile(stylePath.c_str(), &styleText)) return kCaptionItemStyleUnreadable;
  cJSON* style = cJSON_Parse(styleText.c_str());
  if (!style) return kCaptionItemStyleNotJson;

  // Piece times are on the caption's own time. A piece without a span gets
  // the caption's length, which is handed over in whole seconds, unscaled:
  // that is how the library has always been given it.
  block->startUs = convert::SecondsToUs(word->startTime);
  block->endUs = convert::ToInt64(static_cast<float>(convert::SecondsToUs(word->duration)) +
                                  static_cast<float>(block->startUs));
  if (block->endUs == 0) block->endUs = convert::ToInt64(record->timelineTo - record->timelineFrom);

  platform::CopyText(block->text, sizeof(block->text), word->text);

  const RectF& rect = word->showRect;
  const double left = rect.left;
  const double top = rect.top;
  block->centerX = static_cast<float>(left + (static_cast<double>(rect.right) - left) * 0.5);
  block->centerY = static_cast<float>(top + (static_cast<double>(rect.bottom) - top) * 0.5);
  block->width = rect.right - rect.left;
  block->height = rect.bottom - rect.top;

  block->fontSize = word->fontSize;
  block->textAlignment = word->textAlignment;
  block->isItalic = word->isItalic ? 1 : 0;
  block->isUnderline = word->isUnderline ? 1 : 0;
  block->isVertical = word->isVertical ? 1 : 0;
  block->opacity = word->opacity;
  block->angle = word->angle;
  block->maskType = word->maskType;
  CopyColor(block->textColor, word->textColor);
  CopyColor(block->backgroundColor, word->backgroundColor);
  block->lineSpacing = word->lineSpacing;
  block->wordSpacing = word->wordSpacing;
  block->isBold = word->isBold ? 1 : 0;

  if (word->fontPath[0] != '\0') {
    const std::string font = ResolveResourcePath(document, word->fontPath);
    platform::CopyText(block->fontFile, sizeof(block->fontFile), font.c_str());
  } else {
    // The library falls back to its own default font; only when the
    // program's font is missing too is a system family named.
    std::string programFont = ProgramFolder();
    for (const char* part : kProgramFontFile)
      programFont = JoinPath(programFont, part);
    if (!platform::Exists(programFont.c_str()))
      platform::CopyText(block->fontFamily, sizeof(block->fontFamily), kFallbackFontFamily);
  }

  int32_t result = 1;
  CopyNumbers(cJSON_GetObjectItem(style, "textPadding"), block->textPadding, 4);
  const cJSON* width = cJSON_GetObjectItem(style, "width");
  const cJSON* height = cJSON_GetObjectItem(style, "height");
  if (!width) {
    result = kCaptionItemNoStyleWidth;
  } else if (!height) {
    result = kCaptionItemNoStyleHeight;
  } else {
    block->styleWidth = width->valueint;
    block->styleHeight = height->valueint;
    const cJSON* stretch = cJSON_GetObjectItem(style, "stretchability");
    block->stretchability = stretch ? static_cast<float>(stretch->valuedouble) : 0.0f;
    if (block->stretchability == 0.0f) {
      // A fixed style box: the text must fit the box the style draws for it.
      const cJSON* textWidth = cJSON_GetObjectItem(style, "textWidth");
      const cJSON* textHeight = cJSON_GetObjectItem(style, "textHeight");
      if (!textWidth) {
        result = kCaptionItemNoTextWidth;
      } else if (!textHeight) {
        result = kCaptionItemNoTextHeight;
      } else {
        block->textWidth = static_cast<float>(textWidth->valuedouble);
        block->textHeight = static_cast<float>(textHeight->valuedouble);
        StyleTextMargins(block->styleWidth, block->styleHeight, block->textWidth, block->textHeight,
                         block->textPadding, block->margins);
      }
    }
  }
  if (result == 1) {
    if (CopyNumbers(cJSON_GetObjectItem(style, "ktvColor"), block->ktvColor, 4)) {
      block->hasKtvColor = 1;
    } else {
      std::memset(block->ktvColor, 0, sizeof(block->ktvColor));
      block->hasKtvColor = 0;
    }
    if (const cJSON* vertical = cJSON_GetObjectItem(style, "vertical")) {
      block->vertical = vertical->valueint;
      block->hasVertical = 1;
    }
  }
  cJSON_Delete(style);
  return result;
}

int32_t UpdateCaptionParam(const DraftDocument* document, OrmaCaptionHandle caption,
                           const CaptionRecord* record) {
  if (!document) return kCaptionNoDocument;
  if (!caption || !record) return kCaptionNoHandle;
  if (record->kind == 0 && !record->words) return kCaptionNoPieces;
  if (!CanvasHasArea(document)) return kCaptionNoCanvas;

  int32_t r = OrmaUpdateCaptionTimeline(caption, convert::SecondsToUs(record->timelineFrom),
                                        convert::SecondsToUs(record->timelineTo));
  if (r < 1) return r;
  r = OrmaSetCaptionTransparency(caption, record->opacity);
  if (r < 1) return r;
  const RectF& rect = record->showRect;
  const double left = rect.left;
  const double top = rect.top;
  const double width = static_cast<double>(rect.right) - left;
  const double height = static_cast<double>(rect.bottom) - top;
  r = OrmaSetCaptionPosition(
      caption, OrmaFloatPair{static_cast<float>(left + width * 0.5), static_cast<float>(top + height * 0.5)});
  if (r < 1) return r;
  OrmaSetCaptionSize(caption, OrmaFloatPair{static_cast<float>(width), static_cast<float>(height)});
  r = OrmaSetCaptionScale(caption, record->scale);
  if (r < 1) return r;
  r = OrmaSetCaptionAngle(caption, record->angle);
  if (r < 1) return r;

  if (record->kind != 0) return record->content ? FillTemplateLines(caption, record) : 1;
  for (const CaptionWord* word = record->words; word; word = word->next) {
    r = ApplyPiece(document, caption, record, word);
    if (r < 1) return r;
  }
  return 1;
}

void AddCaptions(DraftDocument* document, OrmaVideoHandle vv) {
  if (!document) return;
  for (const CaptionRecord* record = document->captions; record; record = record->next) {
    if (record->folderPath[0] == '\0') continue;
    const int32_t kind = record->kind != 0 ? ORMA_CAPTION_TEMPLATE_LINES : ORMA_CAPTION_STYLED_PIECES;
    OrmaCaptionHandle caption = CreateTimelineCaption(document, vv, record->folderPath, kind, record->level);
    if (!caption) continue;
    const int32_t r = UpdateCaptionParam(document, caption, record);
    if (r < 1) std::printf("UpdateCaptionParam error %s%d line:%d \n", FullWidthColon().c_str(), r, __LINE__);

    // Key-frame rectangles go to the library in canvas pixels.
    for (const CaptionKeyFrame* frame = record->keyFrames; frame; frame = frame->next) {
      OrmaCaptionKeyFrameBlock block;
      std::memset(&block, 0, sizeof(block));
      block.atTimeUs = frame->atTime;
      block.rotate = frame->rotate;
      block.showRect[0] = frame->showRect.left * document->width;
      block.showRect[1] = frame->showRect.top * document->height;
      block.showRect[2] = frame->showRect.right * document->width;
      block.showRect[3] = frame->showRect.bottom * document->height;
      block.alpha = frame->alpha;
      block.scale = frame->scale;
      // Only a result of exactly 0 counts as a failure here, and the line
      // carries the caption's own result rather than the key frame's.
      if (OrmaCreateCaptionKeyFrameAniamtion(caption, &block) == 0)
        std::printf("UpdateCaptionParam error %s%d line:%d \n", FullWidthColon().c_str(), r, __LINE__);
    }
  }
}
