#include "engine/render/transitions.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "engine/core/config_fields.h"
#include "engine/core/files.h"
#include "engine/core/registry.h"
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
  return FindIn(kTransitions, &TransitionKind::name, name);
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
  size_t slash = LastSeparator(path);
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

// A transition's config.json: which built-in transition, and its settings.
struct TransitionFields {
  std::string transition;
  std::string direction;
  float softness = 0.0f;
  bool reverse = false;
  std::string luma;
};
const FieldSpec<TransitionFields> kTransitionFields[] = {
    {"transition", &TransitionFields::transition, Range(), true},
    {"direction", &TransitionFields::direction, Choices("left|right|up|down")},
    {"softness", &TransitionFields::softness, Range(0, 1)},
    {"reverse", &TransitionFields::reverse},
    {"luma", &TransitionFields::luma},
};

bool ReadConfig(const std::string& file, TransitionStyle* style, std::string* error) {
  std::unique_ptr<ConfigFile> config = LoadConfigFile(file, error);
  if (!config) return false;
  TransitionFields fields;
  if (!ReadFields(config->root, kTransitionFields, &fields, file, error)) return false;
  style->kind = Lower(fields.transition);
  if (!FindKind(style->kind)) {
    *error = file + ": \"transition\" must name one of the built-in transitions";
    return false;
  }
  style->direction = fields.direction;
  style->softness = fields.softness;
  style->reverse = fields.reverse;
  if (style->kind == "luma") {
    if (fields.luma.empty()) {
      *error = file + ": a luma transition needs \"luma\", the name of its picture";
      return false;
    }
    std::string p = platform::NativePath(fields.luma.c_str());
    style->lumaPath = platform::IsAbsolutePath(fields.luma.c_str()) ? p : Folder(file) + "/" + p;
  }
  return true;
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
