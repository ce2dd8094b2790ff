// libFuzzer target: the reader of a mask folder's config.json
// (LoadMaskConfig) on arbitrary bytes. A mask it accepts is then drawn the
// way an item's mask is: at its default place, and at a placed shape with
// corners, rotation, feather and an edge line, on a small item.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "engine/look/mask_shape.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& folder = fuzz::ScratchFolder("mask");
  const std::string config = folder + "/config.json";
  fuzz::WriteFile(config, data, size);

  orma::MaskConfig mask;
  std::string error;
  if (!orma::LoadMaskConfig(config, &mask, &error)) {
    if (error.empty()) std::abort();
    return 0;
  }
  orma::MaskRaster raster;
  orma::RenderMask(mask, orma::EffectiveShape(mask, OrmaMaskShapeBlock{}), 24, 14, &raster);
  if (raster.alpha.size() != 24u * 14u) std::abort();

  OrmaMaskShapeBlock placed{};
  placed.centerX = 0.4f;
  placed.centerY = 0.6f;
  placed.degrees = 30.0f;
  placed.featherStep = 0.2f;
  placed.edgeSize = 2.0f;
  placed.edgeColor[3] = 1.0f;
  placed.topLeft[0] = 0.1f;
  orma::RenderMask(mask, orma::EffectiveShape(mask, placed), 17, 9, &raster);
  if (raster.alpha.size() != 17u * 9u) std::abort();
  return 0;
}
