// libFuzzer target: the reader of an effect folder's config.json
// (SpecialEffect::Load) on arbitrary bytes. An effect it accepts is then run
// the way an export runs it: on a small picture with an alpha plane, at the
// start, middle and end of its span, in both colour matrices.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "engine/look/special_effect.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& folder = fuzz::ScratchFolder("effect");
  const std::string config = folder + "/config.json";
  fuzz::WriteFile(config, data, size);

  std::string error;
  std::unique_ptr<orma::SpecialEffect> effect = orma::SpecialEffect::Load(config, &error);
  if (!effect) {
    if (error.empty()) std::abort();
    return 0;
  }
  orma::Picture picture(18, 10, true);
  orma::Fill(picture.view(), orma::YuvColor{120, 90, 170});
  orma::FillAlpha(picture.view());
  const orma::EffectClock clocks[] = {{0.0, 2.0, 0}, {1.0, 2.0, 25}, {2.0, 2.0, 50}, {0.5, 0.0, 7}};
  for (const orma::EffectClock& clock : clocks)
    effect->Apply(picture.view(), clock, clock.frame % 2 ? 709 : 601);
  return 0;
}
