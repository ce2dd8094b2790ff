#include "engine/model/model.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace orma {

namespace {
std::mutex& RegistryMutex() {
  static std::mutex mutex;
  return mutex;
}
std::unordered_map<const void*, Handle*>& Registry() {
  static std::unordered_map<const void*, Handle*> registry;
  return registry;
}
} // namespace

void RegisterHandle(Handle* handle) {
  std::lock_guard<std::mutex> lock(RegistryMutex());
  Registry()[handle] = handle;
}

Handle* FindHandle(const void* pointer) {
  if (!pointer) return nullptr;
  std::lock_guard<std::mutex> lock(RegistryMutex());
  auto it = Registry().find(pointer);
  return it == Registry().end() ? nullptr : it->second;
}

int64_t TimelineLengthUs(const VirtualVideo& video) {
  int64_t length = 0;
  for (const Element* e : video.elements) {
    if (e->leftOut) continue;
    switch (e->kind) {
    case ElementKind::MainScene:
    case ElementKind::PipScene:
    case ElementKind::Caption:
      length = std::max(length, e->endUs);
      break;
    default:
      break;
    }
  }
  return length;
}

} // namespace orma
