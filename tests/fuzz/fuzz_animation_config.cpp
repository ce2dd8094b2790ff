// libFuzzer target: the reader of an animation folder's config.json
// (AnimationClip::Load) on arbitrary bytes. An animation it accepts is then
// evaluated the way an export does, alone and placed as in, out and loop
// animations of an item; every pose must hold finite numbers.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "engine/look/animation.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

void CheckFinite(const orma::AnimationPose& pose) {
  const float values[] = {pose.opacity, pose.scaleX,  pose.scaleY,  pose.x,       pose.y,      pose.rotation,
                          pose.blur,    pose.clip[0], pose.clip[1], pose.clip[2], pose.clip[3]};
  for (float v : values)
    if (!std::isfinite(v)) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& folder = fuzz::ScratchFolder("animation");
  const std::string config = folder + "/config.json";
  fuzz::WriteFile(config, data, size);

  std::string error;
  std::shared_ptr<const orma::AnimationClip> clip = orma::AnimationClip::Load(config, &error);
  if (!clip) {
    if (error.empty()) std::abort();
    return 0;
  }
  for (float p : {-0.5f, 0.0f, 0.1f, 0.5f, 0.999f, 1.0f, 2.0f})
    CheckFinite(clip->At(p));
  std::vector<orma::PlacedAnimation> placed = {
      {clip, orma::kAnimationIn, 0, 500000, 0},
      {clip, orma::kAnimationOut, 0, 700000, 0},
      {clip, orma::kAnimationLoop, 100000, 0, 300000},
  };
  for (int64_t us : {0LL, 250000LL, 1000000LL, 1999999LL, 2000000LL})
    CheckFinite(orma::EvaluateAnimations(placed, us, 2000000));
  return 0;
}
