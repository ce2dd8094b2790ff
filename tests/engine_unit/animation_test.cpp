#include <gtest/gtest.h>

#include "engine/core/easing.h"
#include "engine/look/animation.h"

using namespace orma;

namespace {
std::shared_ptr<const AnimationClip> Parse(const std::string& json, std::string* error) {
  return AnimationClip::Parse(json, "anim/config.json", error);
}
} // namespace

TEST(Easing, EveryCurveRunsFromZeroToOne) {
  for (int n = 0; n <= 12; ++n) {
    EXPECT_NEAR(Ease(n, 0.0f), 0.0f, 1e-4) << EasingByNumber(n).name;
    EXPECT_NEAR(Ease(n, 1.0f), 1.0f, 1e-4) << EasingByNumber(n).name;
  }
}

TEST(Easing, NamesAndNumbersMatchAndUnknownNumbersAreLinear) {
  ASSERT_NE(EasingByName("EASEOUT"), nullptr);
  EXPECT_EQ(EasingByName("easeOut")->number, 2);
  EXPECT_EQ(EasingByName("nonsense"), nullptr);
  EXPECT_STREQ(EasingByNumber(99).name, "linear");
  EXPECT_FLOAT_EQ(Ease(99, 0.3f), 0.3f);
  EXPECT_LT(Ease(1, 0.5f), 0.5f);        // ease in starts slowly
  EXPECT_GT(Ease(2, 0.5f), 0.5f);        // ease out starts fast
  EXPECT_FLOAT_EQ(Ease(4, 0.99f), 0.0f); // hold keeps the earlier value
  EXPECT_GT(Ease(8, 0.7f), 1.0f);        // back overshoots
}

TEST(AnimationConfig, KeysMakeOneTrackPerProperty) {
  std::string error;
  auto clip = Parse(R"({"name": "zoom", "keys": [
      {"at": 0, "opacity": 0, "scale": 0.5, "easing": "easeOut"},
      {"at": 0.5, "opacity": 1},
      {"at": 1, "scale": 1}]})",
                    &error);
  ASSERT_NE(clip, nullptr) << error;
  EXPECT_EQ(clip->Track(AnimationClip::kOpacity).size(), 2u);
  EXPECT_EQ(clip->Track(AnimationClip::kScale).size(), 2u);
  EXPECT_TRUE(clip->Track(AnimationClip::kRotation).empty());
  AnimationPose p = clip->At(0.25f);
  EXPECT_NEAR(p.opacity, Ease(2, 0.5f), 1e-5);
  EXPECT_NEAR(p.scaleX, 0.5f + 0.5f * Ease(2, 0.25f), 1e-5);
  EXPECT_FLOAT_EQ(clip->At(0.75f).opacity, 1.0f); // held after the last key
  EXPECT_FLOAT_EQ(clip->At(1.0f).scaleY, 1.0f);
  EXPECT_FLOAT_EQ(clip->At(0.5f).rotation, 0.0f); // no track: neutral
}

TEST(AnimationConfig, ScaleAxesMultiplyTheUniformScale) {
  std::string error;
  auto clip = Parse(R"({"keys": [{"at": 0, "scale": 2, "scaleX": -1}]})", &error);
  ASSERT_NE(clip, nullptr) << error;
  EXPECT_FLOAT_EQ(clip->At(0).scaleX, -2.0f);
  EXPECT_FLOAT_EQ(clip->At(0).scaleY, 2.0f);
}

TEST(AnimationConfig, FaultsNameTheFileAndTheField) {
  std::string error;
  EXPECT_EQ(Parse(R"({"name": "x"})", &error), nullptr);
  EXPECT_NE(error.find("anim/config.json: \"keys\""), std::string::npos) << error;
  EXPECT_EQ(Parse(R"({"keys": [{"opacity": 1}]})", &error), nullptr);
  EXPECT_NE(error.find("keys[0]: \"at\" is required"), std::string::npos) << error;
  EXPECT_EQ(Parse(R"({"keys": [{"at": 0, "opacity": 2}]})", &error), nullptr);
  EXPECT_NE(error.find("\"opacity\" must be from 0 to 1"), std::string::npos) << error;
  EXPECT_EQ(Parse(R"({"keys": [{"at": 0.5}, {"at": 0.2}]})", &error), nullptr);
  EXPECT_NE(error.find("keys[1]"), std::string::npos) << error;
  EXPECT_EQ(Parse(R"({"keys": [{"at": 0, "easing": "wobble"}]})", &error), nullptr);
  EXPECT_EQ(Parse("[1]", &error), nullptr);
}

TEST(AnimationTiming, InOutAndLoopCoverTheirSpans) {
  std::string error;
  auto fade = Parse(R"({"keys": [{"at": 0, "opacity": 0}, {"at": 1, "opacity": 1}]})", &error);
  ASSERT_NE(fade, nullptr) << error;
  const int64_t s = 1000000;
  std::vector<PlacedAnimation> in = {{fade, kAnimationIn, 0, s / 2, 0}};
  EXPECT_FLOAT_EQ(EvaluateAnimations(in, 0, 3 * s).opacity, 0.0f);
  EXPECT_FLOAT_EQ(EvaluateAnimations(in, s / 4, 3 * s).opacity, 0.5f);
  EXPECT_FLOAT_EQ(EvaluateAnimations(in, s, 3 * s).opacity, 1.0f); // after it: neutral
  // An out animation ends with the item, whatever start it was given.
  std::vector<PlacedAnimation> out = {{fade, kAnimationOut, 12345, s, 0}};
  EXPECT_FLOAT_EQ(EvaluateAnimations(out, s, 3 * s).opacity, 1.0f);
  EXPECT_FLOAT_EQ(EvaluateAnimations(out, 2 * s + s / 2, 3 * s).opacity, 0.5f);
  // A loop repeats every cycle.
  std::vector<PlacedAnimation> loop = {{fade, kAnimationLoop, 0, 0, s}};
  EXPECT_FLOAT_EQ(EvaluateAnimations(loop, s / 4, 3 * s).opacity, 0.25f);
  EXPECT_FLOAT_EQ(EvaluateAnimations(loop, 2 * s + s / 4, 3 * s).opacity, 0.25f);
  // Several combine: opacity multiplies.
  std::vector<PlacedAnimation> both = {in[0], loop[0]};
  EXPECT_FLOAT_EQ(EvaluateAnimations(both, s / 4, 3 * s).opacity, 0.125f);
}
