// libFuzzer target: the reader of a transition folder's config.json
// (LoadTransitionStyle) on arbitrary bytes, in a folder that also holds a
// real luma map ("blinds.png") for a "luma" transition to name. A style it
// accepts must name a built-in transition, and TransitionAvailable then
// checks it the way an export does before making it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "engine/render/transitions.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& folder = fuzz::ScratchFolder("transition", {"transitions/luma-blinds/blinds.png"});
  const std::string config = folder + "/config.json";
  fuzz::WriteFile(config, data, size);

  orma::TransitionStyle style;
  std::string error;
  if (!orma::LoadTransitionStyle(config.c_str(), &style, &error)) {
    if (error.empty()) std::abort(); // a refusal always says why
    return 0;
  }
  bool known = false;
  for (const std::string& name : orma::TransitionNames())
    known = known || name == style.kind;
  if (!known) std::abort();
  orma::TransitionAvailable(style, &error);
  return 0;
}
