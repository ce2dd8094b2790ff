#include "engine/timeline/elements.h"
#include "engine/core/registry.h"

namespace orma {

namespace {
struct BuilderEntry {
  ElementKind kind;
  const char* name;
  BuilderFactory make;
};

const BuilderEntry kBuilders[] = {
    {ElementKind::MainScene, "scene", MakeMainSceneBuilder},
    {ElementKind::PipScene, "picture-in-picture scene", MakePipSceneBuilder},
    {ElementKind::Effect, "timeline effect", MakeEffectBuilder},
    {ElementKind::Audio, "audio track", MakeAudioBuilder},
    {ElementKind::Caption, "caption", MakeCaptionBuilder},
};
} // namespace

BuilderFactory FindBuilder(ElementKind kind) {
  const BuilderEntry* entry = FindIn(kBuilders, &BuilderEntry::kind, kind);
  return entry ? entry->make : nullptr;
}

const char* KindName(ElementKind kind) {
  for (const auto& b : kBuilders)
    if (b.kind == kind) return b.name;
  return "element";
}

} // namespace orma
