// Every resource the project ships loads through its own reader.
#include <gtest/gtest.h>

#include <filesystem>

#include "engine/animation.h"

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

TEST(ShippedResources, EveryAnimationLoadsAndMoves) {
  std::vector<std::string> configs = Configs("animations");
  EXPECT_GE(configs.size(), 15u);
  for (const std::string& path : configs) {
    std::string error;
    auto clip = orma::AnimationClip::Load(path, &error);
    ASSERT_NE(clip, nullptr) << error;
    bool changes = false;
    for (float p = 0; p <= 1.0f; p += 0.125f)
      changes = changes || !clip->At(p).Neutral();
    EXPECT_TRUE(changes) << path;
  }
}
