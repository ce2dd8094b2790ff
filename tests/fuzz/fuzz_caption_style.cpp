// libFuzzer target: a caption style folder's config.json on arbitrary bytes,
// through both of its readers. The core library's (LoadCaptionStyle, as a
// styled-pieces caption when the input's length is even and as a template
// caption when it is odd) turns an accepted style into the blocks its
// captions are made from; the program's (FillCaptionItemParam) fills a
// piece's item block from the same file. The style's folder also holds a
// word art ("wordart.json") and a file to stand for a font ("font.ttf") for
// items to name. The program's calls into the core library go to the
// recording double.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "draft/records.h"
#include "engine/text/caption_style.h"
#include "export/captions.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

// The engine's view of an accepted style, as api/captions.cpp builds it.
void UseStyle(const orma::CaptionStyle& style, int kind) {
  if (style.width < 1 || style.height < 1 || style.textPadding.size() != 4) std::abort();
  if (!style.ktvColor.empty() && style.ktvColor.size() != 4) std::abort();
  if (kind == 1 && style.items.empty()) std::abort();
  OrmaCaptionItemBlock block{};
  orma::ApplyStyleKeys(style, &block);
  for (const orma::StyleItem& item : style.items) {
    block = orma::StyleItemBlock(style, item);
    if (!std::memchr(block.text, 0, sizeof block.text) ||
        !std::memchr(block.fontFile, 0, sizeof block.fontFile))
      std::abort();
    if (item.hasStroke) orma::StrokeBlock(item.stroke);
    if (item.hasShadow) orma::ShadowBlock(item.shadow);
    if (item.hasBox) orma::BackgroundBlock(item.box);
  }
}

// A draft in `folder` with one caption on "style" and one piece.
struct OneCaption {
  explicit OneCaption(const std::string& folder) {
    document = NewRecord<DraftDocument>();
    caption = NewRecord<CaptionRecord>();
    word = NewRecord<CaptionWord>();
    std::snprintf(document->draftPath, sizeof document->draftPath, "%s/d_1.json", folder.c_str());
    document->width = 1280;
    document->height = 720;
    std::snprintf(caption->folderPath, sizeof caption->folderPath, "style");
    caption->timelineTo = 3;
    std::snprintf(word->text, sizeof word->text, "piece");
    word->duration = 1.5f;
    caption->words = word;
    document->captions = caption;
  }
  ~OneCaption() {
    std::free(word);
    std::free(caption);
    std::free(document);
  }
  DraftDocument* document;
  CaptionRecord* caption;
  CaptionWord* word;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& folder = fuzz::ScratchFolder("caption-style", {"captions/gradient/wordart.json"});
  const std::string styleFolder = folder + "/style";
  static const bool made = [&] {
    std::filesystem::create_directories(styleFolder);
    std::filesystem::rename(folder + "/wordart.json", styleFolder + "/wordart.json");
    fuzz::WriteFile(styleFolder + "/font.ttf", "not read, only found");
    return true;
  }();
  (void)made;
  const std::string config = styleFolder + "/config.json";
  fuzz::WriteFile(config, data, size);

  const int kind = static_cast<int>(size % 2);
  std::string error;
  if (std::shared_ptr<const orma::CaptionStyle> style = orma::LoadCaptionStyle(config, kind, &error))
    UseStyle(*style, kind);
  else if (error.empty())
    std::abort();

  static OneCaption draft(folder);
  OrmaCaptionItemBlock block{};
  FillCaptionItemParam(draft.document, draft.caption, draft.word, &block);
  if (!std::memchr(block.text, 0, sizeof block.text)) std::abort();
  return 0;
}
