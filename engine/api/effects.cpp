// Timeline-wide effects over a span of the output timeline.
#include <cmath>

#include "engine/api/api.h"
#include "engine/api/entry_points_gen.h"
#include "engine/api/value_limits.h"
#include "engine/look/lut_file.h"
#include "engine/look/special_effect.h"

using namespace orma;

namespace {

Effect* NewEffect(const char* function, OrmaVideoHandle vv, EffectKind kind, int64_t fromUs, int64_t toUs) {
  int32_t refused;
  VirtualVideo* v = Writable(function, vv, &refused);
  if (!v) return nullptr;
  auto* e = new Effect();
  e->effect = kind;
  PlaceNew(function, *e, fromUs, toUs);
  AddElement(v, e);
  return e;
}

OrmaEffectHandle Region(const char* function, OrmaVideoHandle vv, EffectKind kind, const float* region,
                        float intensity, int64_t fromUs, int64_t toUs) {
  if (!region) {
    Refuse(function, ORMA_BAD_ARGUMENT, "no region");
    return nullptr;
  }
  Effect* e = NewEffect(function, vv, kind, fromUs, toUs);
  if (e) {
    for (int i = 0; i < 4; ++i)
      e->region[i] = region[i];
    e->intensity = intensity;
  }
  return HandleTo<OrmaEffectHandle>(e);
}

} // namespace

namespace orma::entry {

OrmaEffectHandle OrmaAddMosaic(const char* call, OrmaVideoHandle vv, const float* region, float intensity,
                               int64_t fromUs, int64_t toUs) {
  return Region(call, vv, EffectKind::Mosaic, region, intensity, fromUs, toUs);
}

OrmaEffectHandle OrmaAddGaussBlur(const char* call, OrmaVideoHandle vv, const float* region, float intensity,
                                  int64_t fromUs, int64_t toUs) {
  return Region(call, vv, EffectKind::GaussBlur, region, intensity, fromUs, toUs);
}

OrmaEffectHandle OrmaAddDeLogo(const char* call, OrmaVideoHandle vv, const float* region, int64_t fromUs,
                               int64_t toUs) {
  return Region(call, vv, EffectKind::DeLogo, region, 0.0f, fromUs, toUs);
}

OrmaEffectHandle OrmaAddLUT(const char* call, OrmaVideoHandle vv, const char* path, float intensity,
                            int64_t fromUs, int64_t toUs) {
  Effect* e = nullptr;
  std::string error;
  std::string native = ResolveLocalFile(path, &error);
  Lut3D table;
  // The table is read now so that a file that is not a table is refused
  // here (the caller skips that filter) rather than failing the export.
  if (native.empty())
    Refuse(call, ORMA_BAD_FILE, error);
  else if (!LoadLutFile(native, &table, &error))
    Refuse(call, ORMA_BAD_FILE, error);
  else if (!std::isfinite(intensity))
    Refuse(call, ORMA_BAD_ARGUMENT, "intensity is not a number");
  else if ((e = NewEffect(call, vv, EffectKind::Lut, fromUs, toUs))) {
    e->path = native;
    e->intensity = intensity;
  }
  return HandleTo<OrmaEffectHandle>(e);
}

OrmaEffectHandle OrmaAddFilterAdjustment(const char* call, OrmaVideoHandle vv,
                                         const OrmaAdjustmentBlock* adjustment, int64_t fromUs,
                                         int64_t toUs) {
  Effect* e = nullptr;
  if (!adjustment)
    Refuse(call, ORMA_BAD_ARGUMENT, "no adjustment block");
  else if ((e = NewEffect(call, vv, EffectKind::Adjustment, fromUs, toUs)))
    e->adjustment = *adjustment;
  return HandleTo<OrmaEffectHandle>(e);
}

OrmaEffectHandle OrmaAddSpecialEffect(const char* call, OrmaVideoHandle vv, const char* configPath,
                                      int32_t applyRange, int64_t fromUs, int64_t toUs) {
  Effect* e = nullptr;
  std::string error;
  std::string native = ResolveLocalFile(configPath, &error);
  std::shared_ptr<const SpecialEffect> chain;
  if (native.empty() || !(chain = SpecialEffect::Load(native, &error)))
    Refuse(call, ORMA_BAD_FILE, error);
  else if ((e = NewEffect(call, vv, EffectKind::Special, fromUs, toUs))) {
    e->path = native;
    e->applyRange = applyRange;
    e->special = std::move(chain);
    e->underEveryLevel = applyRange == 1; // the main track only
  }
  return HandleTo<OrmaEffectHandle>(e);
}

int32_t OrmaUpdateEffectLevel(const char* call, void* handle, int32_t level) {
  // Effects and picture-in-picture scenes take a stacking level.
  Handle* h = FindHandle(handle);
  if (!h || (h->type != HandleType::Effect && h->type != HandleType::Scene))
    return Refuse(call, ORMA_BAD_HANDLE, "not an effect or picture-in-picture scene handle");
  auto* e = static_cast<Element*>(h);
  if (Exporting(e->video)) return Refuse(call, ORMA_BAD_STATE, "an export is running");
  if (level < 0) return Refuse(call, ORMA_BAD_ARGUMENT, "negative level");
  e->level = level;
  return int32_t{ORMA_OK};
}

} // namespace orma::entry
