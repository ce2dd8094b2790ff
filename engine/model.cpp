#include "engine/model.h"

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

void PropertyBag::SetInt(const std::string& name, int64_t value) {
  Attr a;
  a.kind = Attr::Int;
  a.i[0] = value;
  values_[name] = a;
}

void PropertyBag::SetReal(const std::string& name, double value) {
  Attr a;
  a.kind = Attr::Real;
  a.d = value;
  values_[name] = a;
}

void PropertyBag::SetPair(const std::string& name, int64_t first, int64_t second) {
  Attr a;
  a.kind = Attr::Pair;
  a.i[0] = first;
  a.i[1] = second;
  values_[name] = a;
}

void PropertyBag::SetRect(const std::string& name, const float* rect) {
  Attr a;
  a.kind = Attr::Rect;
  std::copy(rect, rect + 4, a.r);
  values_[name] = a;
}

void PropertyBag::SetText(const std::string& name, const std::string& text, double value) {
  Attr a;
  a.kind = Attr::Text;
  a.text = text;
  a.d = value;
  values_[name] = a;
}

void PropertyBag::SetBytes(const std::string& name, const void* data, size_t size) {
  Attr a;
  a.kind = Attr::Bytes;
  const uint8_t* p = static_cast<const uint8_t*>(data);
  a.bytes.assign(p, p + size);
  values_[name] = a;
}

size_t PropertyBag::Append(const std::string& name, Attr value) {
  auto& list = lists_[name];
  list.push_back(std::move(value));
  return list.size();
}

const Attr* PropertyBag::Get(const std::string& name) const {
  auto it = values_.find(name);
  return it == values_.end() ? nullptr : &it->second;
}

int64_t PropertyBag::GetInt(const std::string& name, int64_t fallback) const {
  const Attr* a = Get(name);
  return a && a->kind == Attr::Int ? a->i[0] : fallback;
}

double PropertyBag::GetReal(const std::string& name, double fallback) const {
  const Attr* a = Get(name);
  return a && a->kind == Attr::Real ? a->d : fallback;
}

bool PropertyBag::GetPair(const std::string& name, int64_t* first, int64_t* second) const {
  const Attr* a = Get(name);
  if (!a || a->kind != Attr::Pair) return false;
  *first = a->i[0];
  *second = a->i[1];
  return true;
}

bool PropertyBag::GetRect(const std::string& name, float* rect) const {
  const Attr* a = Get(name);
  if (!a || a->kind != Attr::Rect) return false;
  std::copy(a->r, a->r + 4, rect);
  return true;
}

const std::vector<Attr>* PropertyBag::List(const std::string& name) const {
  auto it = lists_.find(name);
  return it == lists_.end() ? nullptr : &it->second;
}

Rational RationalFps(double fps) {
  Rational r;
  if (!(fps > 0.0) || !std::isfinite(fps)) return r;
  double whole = std::round(fps);
  if (std::fabs(fps - whole) < 1e-6) {
    r.num = static_cast<int>(whole);
    r.den = 1;
    return r;
  }
  // NTSC-style rates: n * 1000 / 1001 (23.976, 29.97, 59.94 ...).
  double ntsc = std::round(fps * 1.001);
  if (ntsc > 0 && std::fabs(fps - ntsc * 1000.0 / 1001.0) < 0.0051) {
    r.num = static_cast<int>(ntsc) * 1000;
    r.den = 1001;
    return r;
  }
  // Anything else to the nearest 1/1000 of a frame per second.
  r.num = static_cast<int>(std::lround(fps * 1000.0));
  r.den = 1000;
  int a = r.num, b = r.den;
  while (b) {
    int t = a % b;
    a = b;
    b = t;
  }
  r.num /= a;
  r.den /= a;
  return r;
}

int64_t UsToFrames(int64_t us, Rational fps) {
  // Nearest frame; exact in integers for the range of any real timeline.
  __int128 n = static_cast<__int128>(us) * fps.num;
  __int128 d = static_cast<__int128>(fps.den) * 1000000;
  __int128 q = (n >= 0 ? n + d / 2 : n - d / 2) / d;
  return static_cast<int64_t>(q);
}

int64_t FramesToUs(int64_t frames, Rational fps) {
  __int128 n = static_cast<__int128>(frames) * fps.den * 1000000;
  return static_cast<int64_t>(n / fps.num);
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
