#include "engine/render/transitions.h"

#include <cjson/cJSON.h>

#include <algorithm>
#include <cctype>
#include <cmath>

#include "platform/platform.h"

namespace orma {

namespace {

struct TransitionKind {
  const char* name;
  TransitionFactory make;
};

// Every built-in transition, by the name a config.json gives in
// "transition".
const TransitionKind kTransitions[] = {
    {"dissolve", MakeDissolve}, {"wipe", MakeWipe},     {"slide", MakeSlide}, {"push", MakePush},
    {"zoom", MakeZoom},         {"circle", MakeCircle}, {"luma", MakeLuma},
};

const TransitionKind* FindKind(const std::string& name) {
  for (const auto& k : kTransitions)
    if (name == k.name) return &k;
  return nullptr;
}

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
  return s;
}

bool EndsWith(const std::string& s, const char* suffix) {
  size_t n = std::char_traits<char>::length(suffix);
  return s.size() >= n && s.compare(s.size() - n, n, suffix) == 0;
}

std::string Folder(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

bool ReadConfig(const std::string& file, TransitionStyle* style, std::string* error) {
  std::string text;
  if (!platform::ReadWholeFile(file.c_str(), &text)) {
    *error = file + ": cannot be read";
    return false;
  }
  cJSON* root = cJSON_Parse(text.c_str());
  if (!root || !cJSON_IsObject(root)) {
    cJSON_Delete(root);
    *error = file + ": not a JSON object";
    return false;
  }
  bool ok = true;
  const cJSON* name = cJSON_GetObjectItem(root, "transition");
  if (!cJSON_IsString(name) || !FindKind(Lower(name->valuestring))) {
    *error = file + ": \"transition\" must name one of the built-in transitions";
    ok = false;
  } else {
    style->kind = Lower(name->valuestring);
  }
  const cJSON* direction = cJSON_GetObjectItem(root, "direction");
  if (ok && direction) {
    std::string d = cJSON_IsString(direction) ? Lower(direction->valuestring) : "";
    if (d != "left" && d != "right" && d != "up" && d != "down") {
      *error = file + ": \"direction\" must be left, right, up or down";
      ok = false;
    }
    style->direction = d;
  }
  const cJSON* softness = cJSON_GetObjectItem(root, "softness");
  if (ok && softness) {
    if (!cJSON_IsNumber(softness) || softness->valuedouble < 0 || softness->valuedouble > 1) {
      *error = file + ": \"softness\" must be a number from 0 to 1";
      ok = false;
    }
    style->softness = static_cast<float>(softness->valuedouble);
  }
  const cJSON* reverse = cJSON_GetObjectItem(root, "reverse");
  if (ok && reverse) style->reverse = cJSON_IsTrue(reverse);
  if (ok && style->kind == "luma") {
    const cJSON* luma = cJSON_GetObjectItem(root, "luma");
    if (!cJSON_IsString(luma) || !*luma->valuestring) {
      *error = file + ": a luma transition needs \"luma\", the name of its picture";
      ok = false;
    } else {
      std::string p = platform::NativePath(luma->valuestring);
      style->lumaPath = platform::IsAbsolutePath(luma->valuestring) ? p : Folder(file) + "/" + p;
    }
  }
  cJSON_Delete(root);
  return ok;
}

} // namespace

std::vector<std::string> TransitionNames() {
  std::vector<std::string> names;
  for (const auto& k : kTransitions)
    names.push_back(k.name);
  return names;
}

namespace {

// A luma map must read as one still picture (`decode`: down to its first
// frame); *probe is what was found.
bool ProbeLumaMap(const std::string& path, bool decode, MediaProbe* probe, std::string* error) {
  *probe = ProbeMedia(path.c_str(), decode);
  if (probe->ok && probe->still) return true;
  *error = probe->ok ? path + ": a luma map must be a still picture" : probe->error;
  return false;
}

// The transition kind a style names, or null with *error.
const TransitionKind* KindOf(const TransitionStyle& style, std::string* error) {
  const TransitionKind* kind = FindKind(style.kind);
  if (!kind) *error = "unknown transition " + style.kind;
  return kind;
}

} // namespace

bool LoadTransitionStyle(const char* path, TransitionStyle* style, std::string* error) {
  std::string file = ResolveLocalFile(path, error);
  if (file.empty()) return false;
  *style = TransitionStyle();
  style->source = path;
  std::string lower = Lower(file);
  if (EndsWith(lower, ".jpg") || EndsWith(lower, ".jpeg") || EndsWith(lower, ".png") ||
      EndsWith(lower, ".bmp")) {
    style->kind = "luma";
    style->lumaPath = file;
  } else if (!ReadConfig(file, style, error)) {
    return false;
  }
  if (style->kind == "luma") {
    MediaProbe probe;
    if (!ProbeLumaMap(style->lumaPath, true, &probe, error)) return false;
    style->lumaPath = probe.path;
  }
  return true;
}

std::unique_ptr<TransitionEffect> MakeTransition(const TransitionStyle& style, RenderContext& ctx,
                                                 std::string* error) {
  const TransitionKind* kind = KindOf(style, error);
  return kind ? kind->make(style, ctx, error) : nullptr;
}

bool TransitionAvailable(const TransitionStyle& style, std::string* error) {
  if (!KindOf(style, error)) return false;
  MediaProbe probe;
  return style.kind != "luma" || ProbeLumaMap(style.lumaPath, false, &probe, error);
}

MaskTransition::MaskTransition(std::vector<uint8_t> order, int width, int height, float softness)
    : order_(std::move(order)), width_(width), height_(height), softness_(std::clamp(softness, 0.0f, 1.0f)) {
  // Each chroma sample switches with the luma pixel at its top left.
  const int cw = (width_ + 1) / 2, ch = (height_ + 1) / 2;
  orderHalf_.resize(static_cast<size_t>(cw) * ch);
  for (int y = 0; y < ch; ++y)
    for (int x = 0; x < cw; ++x)
      orderHalf_[static_cast<size_t>(y) * cw + x] =
          order_[static_cast<size_t>(std::min(2 * y, height_ - 1)) * width_ + std::min(2 * x, width_ - 1)];
}

SwitchRamp MaskTransition::RampAt(float p) const {
  // A pixel of switch order L (0..1) is fully the next scene once
  // p * (1 + s) - L >= s and fully this one while it is <= 0; a soft edge
  // narrower than one code is a hard one: L < p.
  SwitchRamp ramp;
  const float s = softness_;
  if (s * 255.0f >= 1.0f) {
    ramp.base =
        static_cast<int32_t>(std::lround(65536.0f * std::clamp(p, 0.0f, 1.0f) * (1.0f + s) / s)) + 128;
    ramp.slope = static_cast<int32_t>(std::lround(65536.0f / (255.0f * s)));
  } else {
    int first = 0; // the first order code still this scene's
    while (first < 256 && first / 255.0f < p)
      ++first;
    ramp.slope = 256 * 257;
    ramp.base = first * ramp.slope - 1;
  }
  return ramp;
}

void MaskTransition::Render(Yuv& dst, const Yuv& a, const Yuv& b, float p) const {
  SwitchMix(dst, a, b, order_.data(), orderHalf_.data(), RampAt(p));
}

} // namespace orma
