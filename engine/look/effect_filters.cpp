// The special-effect filters and their table (effect_filters.h): each one a
// parameter struct, its FieldSpec table and the function that runs it.
#include "engine/look/effect_filters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <mutex>

#include "engine/core/config_fields.h"
#include "engine/core/easing.h"
#include "engine/picture/color_table.h"
#include "engine/picture/filters.h"
#include "engine/picture/geometry.h"
#include "engine/picture/scratch.h"
#include "platform/per_thread.h"

namespace orma {

namespace {

// A filter's progress: through its cycle when it has one, else through the
// effect's span.
float Progress(const EffectClock& clock, float cycle) {
  double p;
  if (cycle > 0)
    p = std::fmod(std::max(0.0, clock.seconds), static_cast<double>(cycle)) / cycle;
  else
    p = clock.span > 0 ? clock.seconds / clock.span : 0.0;
  return static_cast<float>(std::clamp(p, 0.0, 1.0));
}

float ValueAt(const KeyedNumber& k, float p) {
  if (k.keys.empty()) return k.value;
  if (p <= k.keys.front().at) return k.keys.front().value;
  if (p >= k.keys.back().at) return k.keys.back().value;
  for (size_t i = 0; i + 1 < k.keys.size(); ++i) {
    const auto& a = k.keys[i];
    const auto& b = k.keys[i + 1];
    if (p < b.at) {
      float t = b.at > a.at ? (p - a.at) / (b.at - a.at) : 1.0f;
      const EasingInfo* e = EasingByName(a.easing);
      return a.value + (b.value - a.value) * Ease(e ? e->number : 0, t);
    }
  }
  return k.keys.back().value;
}

// Random value in -1..1 for a step and a channel.
float Noise(int64_t step, uint32_t channel, uint32_t seed) {
  return static_cast<float>(HashNoise(static_cast<uint32_t>(step), channel, seed)) / 127.5f - 1.0f;
}

// dst = src scaled by `zoom` about (cx, cy) (pixels) and moved by (dx, dy).
void Transform(Yuv& img, float zoom, float cx, float cy, float dx, float dy) {
  if (zoom == 1.0f && dx == 0.0f && dy == 0.0f) return;
  Picture& copy = ScratchPicture(50, img.w, img.h, img.HasAlpha());
  CopyPicture(copy.view(), img);
  if (img.HasAlpha())
    for (int y = 0; y < img.h; ++y)
      std::memcpy(copy.view().p[3] + static_cast<size_t>(y) * copy.view().s[3],
                  img.p[3] + static_cast<size_t>(y) * img.s[3], img.w);
  float inv = 1.0f / zoom;
  float m[6] = {inv, 0, cx - (cx + dx) * inv, 0, inv, cy - (cy + dy) * inv};
  AffineResample(copy.view(), img, m);
}

// The parameters every filter has besides its own.
#define ORMA_FILTER_COMMON                                                                                   \
  std::string filter;                                                                                        \
  float cycle = 0;
#define ORMA_FILTER_COMMON_FIELDS(T)                                                                         \
  {"filter", &T::filter}, { "cycle", &T::cycle, Range(0, 3600) }

// ---- the filters -----------------------------------------------------------

struct ShakeParams {
  ORMA_FILTER_COMMON
  KeyedNumber amount{0.02f};
  KeyedNumber frequency{12.0f};
};
const FieldSpec<ShakeParams> kShake[] = {ORMA_FILTER_COMMON_FIELDS(ShakeParams),
                                         {"amount", &ShakeParams::amount, Range(0, 0.5)},
                                         {"frequency", &ShakeParams::frequency, Range(0.1, 60)}};
void RunShake(Yuv& img, const ShakeParams& p, const EffectClock& c, int) {
  float t = Progress(c, p.cycle);
  float amount = ValueAt(p.amount, t);
  if (amount <= 0) return;
  int64_t step = static_cast<int64_t>(std::floor(c.seconds * ValueAt(p.frequency, t)));
  float dx = Noise(step, 0, 17) * amount * img.w, dy = Noise(step, 1, 17) * amount * img.h;
  // Enlarged so that no edge comes into view.
  Transform(img, 1.0f + 2.0f * amount, img.w * 0.5f, img.h * 0.5f, dx, dy);
}

struct ZoomParams {
  ORMA_FILTER_COMMON
  KeyedNumber scale{1.2f};
  KeyedNumber x{0.5f};
  KeyedNumber y{0.5f};
};
const FieldSpec<ZoomParams> kZoom[] = {ORMA_FILTER_COMMON_FIELDS(ZoomParams),
                                       {"scale", &ZoomParams::scale, Range(0.1, 10)},
                                       {"x", &ZoomParams::x, Range(0, 1)},
                                       {"y", &ZoomParams::y, Range(0, 1)}};
void RunZoom(Yuv& img, const ZoomParams& p, const EffectClock& c, int) {
  float t = Progress(c, p.cycle);
  Transform(img, ValueAt(p.scale, t), ValueAt(p.x, t) * img.w, ValueAt(p.y, t) * img.h, 0, 0);
}

struct AmountParams {
  ORMA_FILTER_COMMON
  KeyedNumber amount{1.0f};
};
const FieldSpec<AmountParams> kAmount[] = {ORMA_FILTER_COMMON_FIELDS(AmountParams),
                                           {"amount", &AmountParams::amount, Range(0, 1)}};

// Red moved right and blue moved left by up to 5 % of the width (at amount
// 1), green kept: coloured fringes along every edge.
void RunRgbSplit(Yuv& img, const AmountParams& p, const EffectClock& c, int matrix) {
  float amount = ValueAt(p.amount, Progress(c, p.cycle));
  int shift = static_cast<int>(std::lround(amount * 0.05f * img.w));
  if (shift == 0) return;
  const float kr = matrix == 709 ? 0.2126f : 0.299f, kb = matrix == 709 ? 0.0722f : 0.114f, kg = 1 - kr - kb;
  auto& rgb = platform::PerThread<std::array<std::array<std::vector<float>, 3>, 2>>([] {});
  for (auto& row : rgb)
    for (auto& channel : row)
      channel.resize(img.w);
  for (int y = 0; y < img.h; y += 2) {
    int rows = std::min(2, img.h - y);
    const uint8_t* u = img.p[1] + static_cast<size_t>(y / 2) * img.s[1];
    const uint8_t* v = img.p[2] + static_cast<size_t>(y / 2) * img.s[2];
    for (int r = 0; r < rows; ++r) {
      const uint8_t* l = img.p[0] + static_cast<size_t>(y + r) * img.s[0];
      for (int x = 0; x < img.w; ++x) {
        float luma = (l[x] - 16.0f) / 219.0f, cb = (u[x / 2] - 128.0f) / 224.0f,
              cr = (v[x / 2] - 128.0f) / 224.0f;
        float red = luma + 2.0f * (1.0f - kr) * cr, blue = luma + 2.0f * (1.0f - kb) * cb;
        rgb[r][0][x] = red;
        rgb[r][2][x] = blue;
        rgb[r][1][x] = (luma - kr * red - kb * blue) / kg;
      }
    }
    uint8_t* ou = img.p[1] + static_cast<size_t>(y / 2) * img.s[1];
    uint8_t* ov = img.p[2] + static_cast<size_t>(y / 2) * img.s[2];
    for (int x = 0; x < img.w; x += 2) {
      float sum[3] = {0, 0, 0};
      int n = 0;
      for (int r = 0; r < rows; ++r) {
        uint8_t* l = img.p[0] + static_cast<size_t>(y + r) * img.s[0];
        for (int dx = 0; dx < 2 && x + dx < img.w; ++dx) {
          int xx = x + dx;
          float red = rgb[r][0][std::clamp(xx - shift, 0, img.w - 1)];
          float green = rgb[r][1][xx];
          float blue = rgb[r][2][std::clamp(xx + shift, 0, img.w - 1)];
          float luma = kr * red + kg * green + kb * blue;
          l[xx] = static_cast<uint8_t>(std::clamp(std::lround(16.0f + 219.0f * luma), 0L, 255L));
          sum[0] += red;
          sum[1] += luma;
          sum[2] += blue;
          ++n;
        }
      }
      float red = sum[0] / n, luma = sum[1] / n, blue = sum[2] / n;
      ou[x / 2] = static_cast<uint8_t>(
          std::clamp(std::lround(128.0f + 224.0f * (blue - luma) / (2.0f * (1.0f - kb))), 0L, 255L));
      ov[x / 2] = static_cast<uint8_t>(
          std::clamp(std::lround(128.0f + 224.0f * (red - luma) / (2.0f * (1.0f - kr))), 0L, 255L));
    }
  }
}

struct GlitchParams {
  ORMA_FILTER_COMMON
  KeyedNumber amount{0.5f};
  KeyedNumber rate{8.0f};
};
const FieldSpec<GlitchParams> kGlitch[] = {ORMA_FILTER_COMMON_FIELDS(GlitchParams),
                                           {"amount", &GlitchParams::amount, Range(0, 1)},
                                           {"rate", &GlitchParams::rate, Range(0.1, 60)}};
// Bands of rows pushed sideways, a new pattern `rate` times a second.
void RunGlitch(Yuv& img, const GlitchParams& p, const EffectClock& c, int) {
  float t = Progress(c, p.cycle);
  float amount = ValueAt(p.amount, t);
  if (amount <= 0) return;
  int64_t step = static_cast<int64_t>(std::floor(c.seconds * ValueAt(p.rate, t)));
  int bands = 1 + static_cast<int>(amount * 7);
  std::vector<uint8_t>& row = platform::PerThread<std::vector<uint8_t>>([] {});
  row.resize(img.w);
  for (int b = 0; b < bands; ++b) {
    int top = static_cast<int>((Noise(step, 10 + b, 3) * 0.5f + 0.5f) * img.h) & ~1;
    int height = 2 + (static_cast<int>((Noise(step, 40 + b, 3) * 0.5f + 0.5f) * img.h * 0.08f) & ~1);
    int shift = static_cast<int>(Noise(step, 70 + b, 3) * amount * 0.15f * img.w) & ~1;
    for (int y = top; y < std::min(img.h, top + height); ++y)
      for (int k = 0; k < 3; ++k) {
        bool chroma = k > 0;
        if (chroma && (y & 1)) continue;
        int w = chroma ? Half(img.w) : img.w, s = chroma ? shift / 2 : shift;
        uint8_t* r = img.p[k] + static_cast<size_t>(chroma ? y / 2 : y) * img.s[k];
        std::memcpy(row.data(), r, w);
        for (int x = 0; x < w; ++x)
          r[x] = row[((x - s) % w + w) % w];
      }
  }
}

void RunFlash(Yuv& img, const AmountParams& p, const EffectClock& c, int) {
  int a = static_cast<int>(std::lround(ValueAt(p.amount, Progress(c, p.cycle)) * 256.0f));
  if (a <= 0) return;
  for (int y = 0; y < img.h; ++y) {
    uint8_t* r = img.p[0] + static_cast<size_t>(y) * img.s[0];
    for (int x = 0; x < img.w; ++x)
      r[x] = static_cast<uint8_t>(r[x] + (((235 - r[x]) * a + 128) >> 8));
  }
  for (int k = 1; k <= 2; ++k)
    for (int y = 0; y < Half(img.h); ++y) {
      uint8_t* r = img.p[k] + static_cast<size_t>(y) * img.s[k];
      for (int x = 0; x < Half(img.w); ++x)
        r[x] = static_cast<uint8_t>(r[x] + (((128 - r[x]) * a + 128) >> 8));
    }
}

// Chroma pulled towards neutral (plus an offset: sepia).
void ToneChroma(Yuv& img, float amount, int cbOffset, int crOffset) {
  int a = static_cast<int>(std::lround(std::clamp(amount, 0.0f, 1.0f) * 256.0f));
  if (a <= 0) return;
  int target[3] = {0, 128 + cbOffset, 128 + crOffset};
  for (int k = 1; k <= 2; ++k)
    for (int y = 0; y < Half(img.h); ++y) {
      uint8_t* r = img.p[k] + static_cast<size_t>(y) * img.s[k];
      for (int x = 0; x < Half(img.w); ++x)
        r[x] = static_cast<uint8_t>(r[x] + (((target[k] - r[x]) * a + 128) >> 8));
    }
}

void RunGrayscale(Yuv& img, const AmountParams& p, const EffectClock& c, int) {
  ToneChroma(img, ValueAt(p.amount, Progress(c, p.cycle)), 0, 0);
}

void RunSepia(Yuv& img, const AmountParams& p, const EffectClock& c, int) {
  ToneChroma(img, ValueAt(p.amount, Progress(c, p.cycle)), -14, 12);
}

void RunInvert(Yuv& img, const AmountParams& p, const EffectClock& c, int) {
  int a = static_cast<int>(std::lround(ValueAt(p.amount, Progress(c, p.cycle)) * 256.0f));
  if (a <= 0) return;
  for (int y = 0; y < img.h; ++y) {
    uint8_t* r = img.p[0] + static_cast<size_t>(y) * img.s[0];
    for (int x = 0; x < img.w; ++x)
      r[x] = static_cast<uint8_t>(r[x] + (((251 - 2 * r[x]) * a + 128) >> 8));
  }
  for (int k = 1; k <= 2; ++k)
    for (int y = 0; y < Half(img.h); ++y) {
      uint8_t* r = img.p[k] + static_cast<size_t>(y) * img.s[k];
      for (int x = 0; x < Half(img.w); ++x)
        r[x] = static_cast<uint8_t>(std::clamp(r[x] + (((256 - 2 * r[x]) * a + 128) >> 8), 0, 255));
    }
}

void RunGrain(Yuv& img, const AmountParams& p, const EffectClock& c, int) {
  AddGrain(img, ValueAt(p.amount, Progress(c, p.cycle)), static_cast<uint32_t>(c.frame * 7919 + 13));
}

void RunVignette(Yuv& img, const AmountParams& p, const EffectClock& c, int) {
  Vignette(img, ValueAt(p.amount, Progress(c, p.cycle)));
}

void RunBlur(Yuv& img, const AmountParams& p, const EffectClock& c, int) {
  BlurAll(img, ValueAt(p.amount, Progress(c, p.cycle)) * 0.05f * std::min(img.w, img.h));
}

struct FlickerParams {
  ORMA_FILTER_COMMON
  KeyedNumber amount{0.2f};
};
const FieldSpec<FlickerParams> kFlicker[] = {ORMA_FILTER_COMMON_FIELDS(FlickerParams),
                                             {"amount", &FlickerParams::amount, Range(0, 1)}};
// The whole picture a little lighter or darker from frame to frame.
void RunFlicker(Yuv& img, const FlickerParams& p, const EffectClock& c, int) {
  float amount = ValueAt(p.amount, Progress(c, p.cycle));
  int gain = static_cast<int>(std::lround((1.0f + 0.3f * amount * Noise(c.frame, 5, 29)) * 256.0f));
  if (gain == 256) return;
  for (int y = 0; y < img.h; ++y) {
    uint8_t* r = img.p[0] + static_cast<size_t>(y) * img.s[0];
    for (int x = 0; x < img.w; ++x)
      r[x] = static_cast<uint8_t>(std::clamp(16 + (((r[x] - 16) * gain + 128) >> 8), 0, 255));
  }
}

// A few thin vertical lines, light or dark, at new places every frame.
void RunScratches(Yuv& img, const AmountParams& p, const EffectClock& c, int) {
  float amount = ValueAt(p.amount, Progress(c, p.cycle));
  int lines = static_cast<int>(std::floor(amount * 3.0f + (Noise(c.frame, 90, 41) * 0.5f + 0.5f)));
  for (int i = 0; i < lines; ++i) {
    int x = static_cast<int>((Noise(c.frame, 100 + i, 41) * 0.5f + 0.5f) * (img.w - 2));
    int value = Noise(c.frame, 120 + i, 41) > 0 ? 220 : 40;
    int top = static_cast<int>((Noise(c.frame, 140 + i, 41) * 0.5f + 0.5f) * img.h * 0.5f);
    for (int y = top; y < img.h; ++y) {
      uint8_t* r = img.p[0] + static_cast<size_t>(y) * img.s[0];
      r[x] = static_cast<uint8_t>((r[x] + value) / 2);
    }
  }
}

struct MirrorParams {
  ORMA_FILTER_COMMON
  std::string mode = "left";
};
const FieldSpec<MirrorParams> kMirror[] = {
    ORMA_FILTER_COMMON_FIELDS(MirrorParams),
    {"mode", &MirrorParams::mode, Choices("left|right|top|bottom|quad")}};
// One half shown twice, mirrored onto the other (quad: the top-left quarter
// four times).
void RunMirror(Yuv& img, const MirrorParams& p, const EffectClock&, int) {
  bool horizontal = p.mode == "left" || p.mode == "right" || p.mode == "quad";
  bool vertical = p.mode == "top" || p.mode == "bottom" || p.mode == "quad";
  bool keepFirstX = p.mode != "right", keepFirstY = p.mode != "bottom";
  for (int k = 0; k < 4; ++k) {
    if (!img.p[k]) continue;
    bool chroma = k == 1 || k == 2;
    int w = chroma ? Half(img.w) : img.w, h = chroma ? Half(img.h) : img.h;
    if (horizontal)
      for (int y = 0; y < h; ++y) {
        uint8_t* r = img.p[k] + static_cast<size_t>(y) * img.s[k];
        for (int x = 0; x < w / 2; ++x) {
          if (keepFirstX)
            r[w - 1 - x] = r[x];
          else
            r[x] = r[w - 1 - x];
        }
      }
    if (vertical)
      for (int y = 0; y < h / 2; ++y) {
        uint8_t* a = img.p[k] + static_cast<size_t>(y) * img.s[k];
        uint8_t* b = img.p[k] + static_cast<size_t>(h - 1 - y) * img.s[k];
        if (keepFirstY)
          std::memcpy(b, a, w);
        else
          std::memcpy(a, b, w);
      }
  }
}

struct AdjustParams {
  ORMA_FILTER_COMMON
  KeyedNumber brightness{0}, contrast{0}, saturation{0}, exposure{0}, temperature{0}, tint{0}, highlight{0},
      shadows{0}, fade{0};
};
const FieldSpec<AdjustParams> kAdjust[] = {ORMA_FILTER_COMMON_FIELDS(AdjustParams),
                                           {"brightness", &AdjustParams::brightness, Range(-255, 255)},
                                           {"contrast", &AdjustParams::contrast, Range(-100, 100)},
                                           {"saturation", &AdjustParams::saturation, Range(-100, 100)},
                                           {"exposure", &AdjustParams::exposure, Range(-100, 100)},
                                           {"temperature", &AdjustParams::temperature, Range(-100, 100)},
                                           {"tint", &AdjustParams::tint, Range(-100, 100)},
                                           {"highlight", &AdjustParams::highlight, Range(-100, 100)},
                                           {"shadows", &AdjustParams::shadows, Range(-100, 100)},
                                           {"fade", &AdjustParams::fade, Range(0, 100)}};

// Levels as a media item's picture adjustments (docs/engine.md).
class AdjustFilter : public EffectFilter {
public:
  explicit AdjustFilter(AdjustParams p) : p_(std::move(p)) {}
  void Apply(Yuv& img, const EffectClock& c, int matrix) const override {
    float t = Progress(c, p_.cycle);
    auto level = [&](const KeyedNumber& k) { return static_cast<int>(std::lround(ValueAt(k, t))); };
    ColorLevels l;
    l.brightness = level(p_.brightness);
    l.contrast = level(p_.contrast);
    l.saturation = level(p_.saturation);
    l.lightSensation = level(p_.exposure);
    l.whiteBalance = level(p_.temperature);
    l.tint = level(p_.tint);
    l.highlight = level(p_.highlight);
    l.shadows = level(p_.shadows);
    l.fade = level(p_.fade);
    if (l.Neutral()) return;
    std::shared_ptr<const ColorTable> table;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      for (const auto& e : tables_)
        if (e.first == l && e.second.first == matrix) table = e.second.second;
    }
    if (!table) {
      table = ColorTable::Build(l, nullptr, 0, matrix);
      std::lock_guard<std::mutex> lock(mutex_);
      if (tables_.size() >= 16) tables_.erase(tables_.begin());
      tables_.push_back({l, {matrix, table}});
    }
    if (table) table->Apply(img);
  }

private:
  AdjustParams p_;
  mutable std::mutex mutex_;
  mutable std::vector<std::pair<ColorLevels, std::pair<int, std::shared_ptr<const ColorTable>>>> tables_;
};

// A filter whose work is a function of its parameters.
template <class P> class FunctionFilter : public EffectFilter {
public:
  using Run = void (*)(Yuv&, const P&, const EffectClock&, int);
  FunctionFilter(P p, Run run) : p_(std::move(p)), run_(run) {}
  void Apply(Yuv& img, const EffectClock& c, int matrix) const override { run_(img, p_, c, matrix); }

private:
  P p_;
  Run run_;
};

template <class P, size_t N>
std::unique_ptr<EffectFilter> Read(const cJSON* o, const FieldSpec<P> (&table)[N],
                                   void (*run)(Yuv&, const P&, const EffectClock&, int),
                                   const std::string& where, std::string* error) {
  P p;
  if (!ReadFields(o, table, &p, where, error)) return nullptr;
  return std::make_unique<FunctionFilter<P>>(std::move(p), run);
}

const EffectFilterKind kFilters[] = {
    {"shake",
     [](const cJSON* o, const std::string& w, std::string* e) { return Read(o, kShake, RunShake, w, e); }},
    {"zoom",
     [](const cJSON* o, const std::string& w, std::string* e) { return Read(o, kZoom, RunZoom, w, e); }},
    {"rgbSplit", [](const cJSON* o, const std::string& w,
                    std::string* e) { return Read(o, kAmount, RunRgbSplit, w, e); }},
    {"glitch",
     [](const cJSON* o, const std::string& w, std::string* e) { return Read(o, kGlitch, RunGlitch, w, e); }},
    {"flash",
     [](const cJSON* o, const std::string& w, std::string* e) { return Read(o, kAmount, RunFlash, w, e); }},
    {"grayscale", [](const cJSON* o, const std::string& w,
                     std::string* e) { return Read(o, kAmount, RunGrayscale, w, e); }},
    {"sepia",
     [](const cJSON* o, const std::string& w, std::string* e) { return Read(o, kAmount, RunSepia, w, e); }},
    {"invert",
     [](const cJSON* o, const std::string& w, std::string* e) { return Read(o, kAmount, RunInvert, w, e); }},
    {"grain",
     [](const cJSON* o, const std::string& w, std::string* e) { return Read(o, kAmount, RunGrain, w, e); }},
    {"vignette", [](const cJSON* o, const std::string& w,
                    std::string* e) { return Read(o, kAmount, RunVignette, w, e); }},
    {"blur",
     [](const cJSON* o, const std::string& w, std::string* e) { return Read(o, kAmount, RunBlur, w, e); }},
    {"flicker", [](const cJSON* o, const std::string& w,
                   std::string* e) { return Read(o, kFlicker, RunFlicker, w, e); }},
    {"scratches", [](const cJSON* o, const std::string& w,
                     std::string* e) { return Read(o, kAmount, RunScratches, w, e); }},
    {"mirror",
     [](const cJSON* o, const std::string& w, std::string* e) { return Read(o, kMirror, RunMirror, w, e); }},
    {"adjust",
     [](const cJSON* o, const std::string& w, std::string* e) -> std::unique_ptr<EffectFilter> {
       AdjustParams p;
       if (!ReadFields(o, kAdjust, &p, w, e)) return nullptr;
       return std::make_unique<AdjustFilter>(std::move(p));
     }},
};

} // namespace

std::span<const EffectFilterKind> EffectFilterKinds() { return kFilters; }

} // namespace orma
