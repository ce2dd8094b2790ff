// The caption styles and word art the project ships load through their
// readers: every style serves a template caption (it has lines to fill),
// and the looks the styles stand for are all there.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "engine/text/caption_style.h"
#include "engine/text/word_art.h"

namespace {

std::vector<std::string> Configs(const std::string& kind) {
  std::vector<std::string> out;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::string(ORMA_SOURCE_DIR) + "/resources/" + kind))
    if (entry.is_directory()) out.push_back(entry.path().string() + "/config.json");
  std::sort(out.begin(), out.end());
  return out;
}

} // namespace

TEST(ShippedCaptions, EveryStyleLoadsForPiecesAndTemplateLines) {
  std::vector<std::string> configs = Configs("captions");
  EXPECT_GE(configs.size(), 8u);
  std::set<std::string> looks;
  for (const std::string& path : configs) {
    std::string error;
    ASSERT_NE(orma::LoadCaptionStyle(path, 0, &error), nullptr) << error;
    auto style = orma::LoadCaptionStyle(path, 1, &error);
    ASSERT_NE(style, nullptr) << error;
    ASSERT_FALSE(style->items.empty()) << path;
    for (const orma::StyleItem& item : style->items) {
      EXPECT_FALSE(item.text.empty()) << path;
      if (item.hasStroke) looks.insert("outlined");
      if (item.hasBox) looks.insert("boxed");
      if (item.hasShadow) looks.insert("shadowed");
      if (!item.wordArt.empty()) looks.insert("word art");
      if (item.vertical) looks.insert("vertical");
    }
    if (style->ktvColor.size() == 4) looks.insert("karaoke");
    if (style->items.size() >= 2) looks.insert("two lines");
  }
  EXPECT_EQ(looks, (std::set<std::string>{"outlined", "boxed", "shadowed", "word art", "vertical", "karaoke",
                                          "two lines"}));
}

TEST(ShippedCaptions, EveryWordArtLoads) {
  std::vector<std::string> configs = Configs("word-art");
  EXPECT_GE(configs.size(), 3u);
  std::set<std::string> fills;
  for (const std::string& path : configs) {
    std::string error;
    auto art = orma::LoadWordArt(path, &error);
    ASSERT_NE(art, nullptr) << error;
    fills.insert(art->fill);
    EXPECT_FALSE(art->strokes.empty()) << path;
  }
  EXPECT_TRUE(fills.count("gradient"));
}
