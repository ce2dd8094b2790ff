// Captions and stickers: created from a style's config.json, placed on the
// timeline, and filled item by item.
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>

#include "engine/api/api.h"
#include "engine/api/entry_points_gen.h"
#include "engine/api/value_limits.h"
#include "engine/core/registry.h"
#include "engine/look/animation.h"
#include "engine/look/sticker.h"
#include "engine/text/caption_style.h"
#include "engine/text/word_art.h"
#include "platform/text_number.h"

using namespace orma;

namespace {

// An item's stroke and shadow are whole blocks, kept as given.
template <class Block>
int32_t SetItemBlock(const char* call, OrmaCaptionItemHandle i,
                     std::optional<Block> CaptionItemAttributes::*field, const Block* block) {
  return With(call, i, [&](CaptionItem& item) {
    if (!block) return Refuse(call, ORMA_BAD_ARGUMENT, "no block");
    item.attrs.*field = *block;
    return int32_t{ORMA_OK};
  });
}

CaptionItem* NewItem(Caption& caption) {
  auto* item = new CaptionItem();
  item->caption = &caption;
  RegisterHandle(item);
  caption.items.push_back(item);
  return item;
}

std::string Copied(const char* text, size_t size) {
  size_t n = strnlen(text, size);
  return std::string(text, n);
}

// What each caption kind reads from its config.json, and the items it starts
// with.
bool LoadStyledPieces(Caption& caption, std::string* error) {
  caption.style = LoadCaptionStyle(caption.configPath, 0, error);
  return caption.style != nullptr;
}

bool LoadTemplateLines(Caption& caption, std::string* error) {
  caption.style = LoadCaptionStyle(caption.configPath, 1, error);
  return caption.style != nullptr;
}

bool LoadSticker(Caption& caption, std::string* error) {
  caption.sticker = LoadStickerSheet(caption.configPath, error);
  return caption.sticker != nullptr;
}

/// A template caption has one item per item of its style, with the style's
/// text and look, for the program to fill with its lines.
void TemplateItems(Caption& caption) {
  for (const StyleItem& look : caption.style->items) {
    CaptionItem* item = NewItem(caption);
    item->block = StyleItemBlock(*caption.style, look);
    if (look.hasStroke) {
      OrmaStrokeBlock stroke = StrokeBlock(look.stroke);
      item->attrs.stroke = stroke;
    }
    if (look.hasShadow) {
      OrmaShadowBlock shadow = ShadowBlock(look.shadow);
      item->attrs.shadow = shadow;
    }
    if (look.hasBox) {
      OrmaCaptionBackgroundBlock box = BackgroundBlock(look.box);
      item->attrs.backgroundEnabled = true;
      item->attrs.background = box;
    }
    item->attrs.wordArt = look.wordArt;
  }
}

struct CaptionKindEntry {
  int32_t kind;
  bool (*load)(Caption&, std::string*);
  void (*items)(Caption&);
};

const CaptionKindEntry kCaptionKinds[] = {
    {ORMA_CAPTION_STYLED_PIECES, LoadStyledPieces, nullptr},
    {ORMA_CAPTION_TEMPLATE_LINES, LoadTemplateLines, TemplateItems},
    {ORMA_CAPTION_STICKER, LoadSticker, nullptr},
};

const CaptionKindEntry* FindCaptionKind(int32_t kind) {
  return FindIn(kCaptionKinds, &CaptionKindEntry::kind, kind);
}

/// A piece's item before the program fills it: its text, white, centred in
/// the whole caption box, with the style's own values.
void PieceDefaults(const Caption& caption, CaptionItem* item, const char* text) {
  platform::CopyText(item->block.text, text);
  item->block.centerX = 0.5f;
  item->block.centerY = 0.5f;
  item->block.width = 1.0f;
  item->block.height = 1.0f;
  item->block.textAlignment = 1;
  item->block.opacity = 1.0f;
  for (float& c : item->block.textColor)
    c = 1.0f;
  if (caption.style) ApplyStyleKeys(*caption.style, &item->block);
}

} // namespace

namespace orma::entry {

OrmaCaptionHandle OrmaCreateCaptionFromConfigure(const char* call, const char* configPath, int32_t kind) {
  Caption* caption = nullptr;
  std::string error;
  std::string native = ResolveLocalFile(configPath, &error);
  const CaptionKindEntry* entry = FindCaptionKind(kind);
  if (!entry) {
    Refuse(call, ORMA_BAD_ARGUMENT, "kind must be 0, 1 or 2");
  } else if (native.empty()) {
    Refuse(call, ORMA_BAD_FILE, error);
  } else {
    auto made = std::make_unique<Caption>();
    made->configPath = native;
    made->captionKind = kind;
    if (!entry->load(*made, &error)) {
      Refuse(call, ORMA_BAD_FILE, error);
    } else {
      caption = made.release();
      RegisterHandle(caption);
      if (entry->items) entry->items(*caption);
    }
  }
  return HandleTo<OrmaCaptionHandle>(caption);
}

int32_t OrmaAddCaption(const char* call, OrmaVideoHandle vv, OrmaCaptionHandle c) {
  return With(call, c, [&](Caption& caption) {
    VirtualVideo* v = VideoOf(vv);
    if (!v) return Refuse(call, ORMA_BAD_HANDLE, "not a virtual video handle");
    if (Exporting(v)) return Refuse(call, ORMA_BAD_STATE, "an export is running");
    if (caption.video) return Refuse(call, ORMA_BAD_STATE, "the caption is already on a timeline");
    AddElement(v, &caption);
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaUpdateCaptionTimeline(const char* call, OrmaCaptionHandle c, int64_t startUs, int64_t endUs) {
  return With(call, c, [&](Caption& caption) {
    // An empty span leaves the caption out until a later span gives it time.
    caption.leftOut = EmptySpan(call, startUs, endUs);
    caption.startUs = caption.leftOut ? startUs : NotNegative(call, "start", startUs);
    caption.endUs = endUs;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaCaptionGetItemCount(const char* call, OrmaCaptionHandle c) {
  // A count, not a status: 0 for a caption without items (or a bad handle).
  Caption* caption = CaptionOf(c);
  int32_t n = caption ? static_cast<int32_t>(caption->items.size()) : 0;
  if (!caption) Refuse(call, ORMA_BAD_HANDLE, "not a caption handle");
  return n;
}

OrmaCaptionItemHandle OrmaCaptionGetItemCaption(const char* call, OrmaCaptionHandle c, int32_t index) {
  Caption* caption = CaptionOf(c);
  CaptionItem* item = nullptr;
  if (!caption)
    Refuse(call, ORMA_BAD_HANDLE, "not a caption handle");
  else if (index < 0 || index >= static_cast<int32_t>(caption->items.size()))
    Refuse(call, ORMA_BAD_ARGUMENT, "no item " + std::to_string(index));
  else
    item = caption->items[index];
  return HandleTo<OrmaCaptionItemHandle>(item);
}

int32_t OrmaCaptionGetItemCaptionParam(const char* call, OrmaCaptionHandle c, int32_t index,
                                       OrmaCaptionItemBlock* block) {
  Caption* caption = CaptionOf(c);
  if (!caption) return Refuse(call, ORMA_BAD_HANDLE, "not a caption handle");
  if (!block) return Refuse(call, ORMA_BAD_ARGUMENT, "no block");
  if (index < 0 || index >= static_cast<int32_t>(caption->items.size()))
    return Refuse(call, ORMA_BAD_ARGUMENT, "no item " + std::to_string(index));
  *block = caption->items[index]->block;
  return int32_t{ORMA_OK};
}

OrmaCaptionItemHandle OrmaGetCaptionItem(const char* call, OrmaCaptionHandle c, const char* text) {
  // The item showing `text`; a caption of styled pieces gets one item per
  // piece, made on first request. Pieces may share a text (a red "AB" and a
  // yellow "AB"): an item whose parameter block a caller has already written
  // belongs to an earlier piece, so the next piece of that text gets its own.
  Caption* caption = CaptionOf(c);
  CaptionItem* item = nullptr;
  if (!caption)
    Refuse(call, ORMA_BAD_HANDLE, "not a caption handle");
  else if (!text)
    Refuse(call, ORMA_BAD_ARGUMENT, "no text");
  else if (Exporting(caption->video))
    Refuse(call, ORMA_BAD_STATE, "an export is running");
  else {
    for (CaptionItem* i : caption->items)
      if (!i->filled && Copied(i->block.text, sizeof i->block.text) == text) {
        item = i;
        break;
      }
    if (!item) {
      item = NewItem(*caption);
      PieceDefaults(*caption, item, text);
    }
  }
  return HandleTo<OrmaCaptionItemHandle>(item);
}

int32_t OrmaUpdateCaptionItemParam(const char* call, OrmaCaptionItemHandle i,
                                   const OrmaCaptionItemBlock* block) {
  return With(call, i, [&](CaptionItem& item) {
    if (!block) return Refuse(call, ORMA_BAD_ARGUMENT, "no block");
    item.block = *block;
    item.block.text[sizeof item.block.text - 1] = '\0';
    item.filled = true;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetCaptionItemEffectConfigure(const char* call, OrmaCaptionItemHandle i, const char* path) {
  return With(call, i, [&](CaptionItem& item) {
    std::string error;
    std::string native = ResolveLocalFile(path, &error);
    if (native.empty()) return Refuse(call, ORMA_BAD_FILE, error);
    if (!LoadWordArt(native, &error)) return Refuse(call, ORMA_BAD_FILE, error);
    item.attrs.wordArt = native;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetCaptionItemStroke(const char* call, OrmaCaptionItemHandle i, const OrmaStrokeBlock* stroke) {
  return SetItemBlock(call, i, &CaptionItemAttributes::stroke, stroke);
}

int32_t OrmaSetCaptionItemShadow(const char* call, OrmaCaptionItemHandle i, const OrmaShadowBlock* shadow) {
  return SetItemBlock(call, i, &CaptionItemAttributes::shadow, shadow);
}

int32_t OrmaSetCaptionItemBackground(const char* call, OrmaCaptionItemHandle i, int32_t enable,
                                     const OrmaCaptionBackgroundBlock* background) {
  return With(call, i, [&](CaptionItem& item) {
    if (enable && !background) return Refuse(call, ORMA_BAD_ARGUMENT, "no block");
    item.attrs.backgroundEnabled = enable != 0;
    if (background) item.attrs.background = *background;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetCaptionItemAnimation(const char* call, OrmaCaptionItemHandle i, const char* configPath,
                                    int32_t type, int64_t startUs, int64_t durationUs) {
  return With(call, i, [&](CaptionItem& item) {
    std::string error;
    std::string native = ResolveLocalFile(configPath, &error);
    if (native.empty()) return Refuse(call, ORMA_BAD_FILE, error);
    if (startUs < 0 || durationUs < 0) return Refuse(call, ORMA_BAD_ARGUMENT, "negative time");
    if (!AnimationClip::Load(native, &error)) return Refuse(call, ORMA_BAD_FILE, error);
    item.attrs.animations.push_back({native, type, startUs, durationUs});
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetCaptionItemAnimationCycleDuration(const char* call, OrmaCaptionItemHandle i, int64_t cycleUs) {
  return With(call, i, [&](CaptionItem& item) {
    if (cycleUs < 0) return Refuse(call, ORMA_BAD_ARGUMENT, "negative time");
    item.attrs.animationCycle = cycleUs;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaCreateCaptionKeyFrameAniamtion(const char* call, OrmaCaptionHandle c,
                                           const OrmaCaptionKeyFrameBlock* frame) {
  return With(call, c, [&](Caption& caption) {
    if (!frame) return Refuse(call, ORMA_BAD_ARGUMENT, "no key frame");
    caption.keyFrames.push_back(*frame);
    return int32_t{ORMA_OK};
  });
}

} // namespace orma::entry
