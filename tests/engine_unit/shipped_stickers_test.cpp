// The stickers the project ships (drawn by scripts/make-stickers.sh) load
// through the sticker reader and move: every folder decodes to several
// frames, each different from the one before, that loop.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "engine/look/sticker.h"

namespace {

std::vector<std::string> StickerConfigs() {
  std::vector<std::string> out;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::string(ORMA_SOURCE_DIR) + "/resources/stickers"))
    if (entry.is_directory()) out.push_back(entry.path().string() + "/config.json");
  std::sort(out.begin(), out.end());
  return out;
}

} // namespace

TEST(ShippedStickers, EveryStickerDecodesToMovingFrames) {
  std::vector<std::string> configs = StickerConfigs();
  EXPECT_GE(configs.size(), 6u);
  bool sawFrameList = false, sawAnimation = false;
  for (const std::string& path : configs) {
    std::string error;
    auto sheet = orma::LoadStickerSheet(path, &error);
    ASSERT_NE(sheet, nullptr) << error;
    sawFrameList = sawFrameList || !sheet->frames.empty();
    sawAnimation = sawAnimation || !sheet->animation.empty();
    orma::StickerFrames frames;
    ASSERT_TRUE(orma::LoadStickerFrames(*sheet, &frames, &error)) << error;
    ASSERT_GE(frames.sprites.size(), 2u) << path;
    EXPECT_TRUE(frames.loop) << path;
    EXPECT_GT(frames.totalUs, 0) << path;
    for (size_t i = 1; i < frames.sprites.size(); ++i) {
      const orma::Sprite& before = *frames.sprites[i - 1];
      const orma::Sprite& now = *frames.sprites[i];
      EXPECT_TRUE(before.width != now.width || before.height != now.height || before.argb != now.argb)
          << path << ": frame " << i << " is the same picture as the one before it";
    }
    const orma::Sprite& first = *frames.sprites.front();
    EXPECT_GT(first.width, 0);
    bool visible =
        std::any_of(first.argb.begin(), first.argb.end(), [](uint32_t p) { return (p >> 24) > 0; });
    EXPECT_TRUE(visible) << path << ": the first frame is fully transparent";
  }
  EXPECT_TRUE(sawFrameList);
  EXPECT_TRUE(sawAnimation);
}

TEST(ShippedStickers, AnimatedWebpKeepsItsFramesAndTimes) {
  // pulse.webp: ten frames of a tenth of a second, which FFmpeg alone
  // cannot decode.
  std::string error;
  auto sheet =
      orma::LoadStickerSheet(std::string(ORMA_SOURCE_DIR) + "/resources/stickers/pulse/config.json", &error);
  ASSERT_NE(sheet, nullptr) << error;
  orma::StickerFrames frames;
  ASSERT_TRUE(orma::LoadStickerFrames(*sheet, &frames, &error)) << error;
  ASSERT_EQ(frames.sprites.size(), 10u);
  EXPECT_EQ(frames.totalUs, 1000000);
  EXPECT_EQ(frames.FrameAt(0), 0u);
  EXPECT_EQ(frames.FrameAt(250000), 2u);
  EXPECT_EQ(frames.FrameAt(1250000), 2u); // looped
  EXPECT_EQ(frames.sprites[0]->width, 128);
  // Transparent corners, an opaque green centre.
  const orma::Sprite& first = *frames.sprites[0];
  EXPECT_EQ(first.argb[0] >> 24, 0u);
  uint32_t centre = first.argb[static_cast<size_t>(64 * first.width + 64)];
  EXPECT_GT(centre >> 24, 200u);
  EXPECT_GT((centre >> 8) & 0xff, (centre >> 16) & 0xff); // more green than red
}
