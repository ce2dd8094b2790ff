// Every resource the project ships loads through its own reader.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "engine/look/animation.h"
#include "engine/look/mask_shape.h"
#include "engine/look/special_effect.h"

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

TEST(ShippedResources, EveryMaskLoadsAndTheSixShapesAreThere) {
  std::vector<std::string> configs = Configs("masks");
  std::set<std::string> shapes;
  for (const std::string& path : configs) {
    orma::MaskConfig config;
    std::string error;
    ASSERT_TRUE(orma::LoadMaskConfig(path, &config, &error)) << error;
    shapes.insert(config.shape);
  }
  EXPECT_EQ(shapes, (std::set<std::string>{"linear", "mirror", "circle", "rectangle", "heart", "star"}));
}

TEST(ShippedResources, EveryEffectLoads) {
  std::vector<std::string> configs = Configs("effects");
  EXPECT_GE(configs.size(), 10u);
  for (const std::string& path : configs) {
    std::string error;
    EXPECT_NE(orma::SpecialEffect::Load(path, &error), nullptr) << error;
  }
}
