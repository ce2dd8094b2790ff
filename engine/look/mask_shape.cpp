#include "engine/look/mask_shape.h"
#include "engine/media/still_image.h"
#include "engine/picture/scale.h"
#include "engine/picture/scratch.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/picture/filters.h"
#include "engine/picture/geometry.h"
#include "platform/per_thread.h"

namespace orma {

namespace {

constexpr float kPi = 3.14159265358979f;

// Masks are drawn at no more than this many pixels along the longer side and
// scaled up: their edges are smooth, and a mask that moves is drawn anew for
// every frame.
constexpr int kMaxRasterSide = 640;

const FieldSpec<MaskConfig> kMaskFields[] = {
    {"name", &MaskConfig::name},
    {"shape", &MaskConfig::shape, Choices("linear|mirror|circle|rectangle|heart|star"), true},
    {"points", &MaskConfig::points, Range(3, 32)},
    {"innerRatio", &MaskConfig::innerRatio, Range(0.05, 1)},
    {"width", &MaskConfig::width, Range(0.01, 4)},
    {"height", &MaskConfig::height, Range(0.01, 4)},
    {"cornerRadius", &MaskConfig::cornerRadius, Range(0, 1)},
};

struct Vec {
  float x, y;
};

float Dot(Vec a, Vec b) { return a.x * b.x + a.y * b.y; }

// Signed distance to a closed polygon (negative inside).
float PolygonDistance(const Vec* v, int n, Vec p) {
  float d = Dot({p.x - v[0].x, p.y - v[0].y}, {p.x - v[0].x, p.y - v[0].y});
  float s = 1.0f;
  for (int i = 0, j = n - 1; i < n; j = i, ++i) {
    Vec e{v[j].x - v[i].x, v[j].y - v[i].y};
    Vec w{p.x - v[i].x, p.y - v[i].y};
    float t = std::clamp(Dot(w, e) / std::max(Dot(e, e), 1e-12f), 0.0f, 1.0f);
    Vec b{w.x - e.x * t, w.y - e.y * t};
    d = std::min(d, Dot(b, b));
    bool c1 = p.y >= v[i].y, c2 = p.y<v[j].y, c3 = e.x * w.y> e.y * w.x;
    if ((c1 && c2 && c3) || (!c1 && !c2 && !c3)) s = -s;
  }
  return s * std::sqrt(d);
}

// The heart of height 1.104 and width 1.208 with its tip at the origin,
// y upwards (after a distance function by I. Quilez).
float HeartDistance(Vec p) {
  p.x = std::fabs(p.x);
  if (p.y + p.x > 1.0f) {
    float dx = p.x - 0.25f, dy = p.y - 0.75f;
    return std::sqrt(dx * dx + dy * dy) - std::sqrt(2.0f) / 4.0f;
  }
  float ax = p.x, ay = p.y - 1.0f;
  float m = 0.5f * std::max(p.x + p.y, 0.0f);
  float bx = p.x - m, by = p.y - m;
  float d = std::sqrt(std::min(ax * ax + ay * ay, bx * bx + by * by));
  return p.x - p.y < 0 ? -d : d;
}

bool AllZero(const OrmaMaskShapeBlock& s) {
  static const OrmaMaskShapeBlock zero{};
  return std::memcmp(&s, &zero, sizeof s) == 0;
}

bool HasCorners(const OrmaMaskShapeBlock& s) {
  const float* c[4] = {s.topLeft, s.topRight, s.bottomRight, s.bottomLeft};
  for (const float* v : c)
    if (v[0] != 0.0f || v[1] != 0.0f) return true;
  return false;
}

float Lerp(float a, float b, float t) { return a + (b - a) * t; }

} // namespace

bool ParseMaskConfig(const std::string& text, const std::string& where, MaskConfig* out, std::string* error) {
  std::unique_ptr<cJSON, void (*)(cJSON*)> root(cJSON_Parse(text.c_str()), cJSON_Delete);
  if (!root || !cJSON_IsObject(root.get())) {
    *error = where + ": expected a JSON object";
    return false;
  }
  MaskConfig config;
  if (!ReadFields(root.get(), kMaskFields, &config, where, error)) return false;
  *out = config;
  return true;
}

bool LoadMaskConfig(const std::string& path, MaskConfig* out, std::string* error) {
  std::unique_ptr<ConfigFile> file = LoadConfigFile(path, error);
  if (!file) return false;
  MaskConfig config;
  if (!ReadFields(file->root, kMaskFields, &config, path, error)) return false;
  *out = config;
  return true;
}

OrmaMaskShapeBlock EffectiveShape(const MaskConfig& config, const OrmaMaskShapeBlock& shape) {
  OrmaMaskShapeBlock s = shape;
  if (AllZero(shape)) {
    s.centerX = s.centerY = 0.5f;
    s.cornerRadius = config.cornerRadius;
  }
  if (s.width <= 0.0f) s.width = config.width;
  if (s.height <= 0.0f) s.height = config.height;
  return s;
}

OrmaMaskShapeBlock ShapeAt(const std::vector<OrmaMaskKeyFrameBlock>& frames, int64_t us) {
  if (frames.empty()) return OrmaMaskShapeBlock{};
  if (us <= frames.front().atTimeUs) return frames.front().shape;
  if (us >= frames.back().atTimeUs) return frames.back().shape;
  size_t i = 1;
  while (i < frames.size() && frames[i].atTimeUs <= us)
    ++i;
  const OrmaMaskKeyFrameBlock& a = frames[i - 1];
  const OrmaMaskKeyFrameBlock& b = frames[i];
  float t = b.atTimeUs > a.atTimeUs ? static_cast<float>(static_cast<double>(us - a.atTimeUs) /
                                                         static_cast<double>(b.atTimeUs - a.atTimeUs))
                                    : 1.0f;
  // Every float field is interpolated; the inversion switches at the later
  // key frame.
  OrmaMaskShapeBlock s = a.shape;
  const float* fa = reinterpret_cast<const float*>(&a.shape);
  const float* fb = reinterpret_cast<const float*>(&b.shape);
  float* fs = reinterpret_cast<float*>(&s);
  for (size_t k = 0; k < sizeof(OrmaMaskShapeBlock) / sizeof(float); ++k)
    if (k * sizeof(float) != offsetof(OrmaMaskShapeBlock, invert)) fs[k] = Lerp(fa[k], fb[k], t);
  s.invert = t >= 1.0f ? b.shape.invert : a.shape.invert;
  return s;
}

float MaskDistance(const MaskConfig& c, const OrmaMaskShapeBlock& s, int w, int h, float x, float y) {
  float cx = s.centerX * w, cy = s.centerY * h;
  float th = s.degrees * kPi / 180.0f, cs = std::cos(th), sn = std::sin(th);
  // Into the shape's own frame (turned back by its rotation).
  float dx = x - cx, dy = y - cy;
  float lx = dx * cs + dy * sn, ly = -dx * sn + dy * cs;
  float a = std::max(0.5f, s.width * w * 0.5f), b = std::max(0.5f, s.height * h * 0.5f);
  if (c.shape == "linear") {
    // The part below the line through the centre is kept; distance moves
    // the line down (in item heights).
    return s.distance * h - ly;
  }
  if (c.shape == "mirror") {
    // A band about the centre line: half its width is `distance` (in item
    // heights) or, without one, half the shape's height.
    float half = s.distance > 0.0f ? s.distance * h : b;
    return std::fabs(ly) - half;
  }
  if (c.shape == "circle") {
    float k = std::sqrt((lx * lx) / (a * a) + (ly * ly) / (b * b));
    float g = std::sqrt((lx * lx) / (a * a * a * a) + (ly * ly) / (b * b * b * b));
    return g > 0.0f ? (k * k - 1.0f) / (2.0f * g) : -std::min(a, b);
  }
  if (c.shape == "rectangle") {
    if (HasCorners(s)) {
      Vec quad[4] = {{s.topLeft[0] * w, s.topLeft[1] * h},
                     {s.topRight[0] * w, s.topRight[1] * h},
                     {s.bottomRight[0] * w, s.bottomRight[1] * h},
                     {s.bottomLeft[0] * w, s.bottomLeft[1] * h}};
      return PolygonDistance(quad, 4, {x, y});
    }
    float r = std::clamp(s.cornerRadius, 0.0f, 1.0f) * std::min(a, b);
    float qx = std::fabs(lx) - a + r, qy = std::fabs(ly) - b + r;
    float outside =
        std::sqrt(std::max(qx, 0.0f) * std::max(qx, 0.0f) + std::max(qy, 0.0f) * std::max(qy, 0.0f));
    return outside + std::min(std::max(qx, qy), 0.0f) - r;
  }
  if (c.shape == "heart") {
    Vec p{lx / (2.0f * a) * 1.208f, (b - ly) / (2.0f * b) * 1.104f};
    return HeartDistance(p) * std::min(2.0f * a / 1.208f, 2.0f * b / 1.104f);
  }
  // star
  Vec v[64];
  int n = std::clamp(c.points, 3, 32);
  for (int i = 0; i < 2 * n; ++i) {
    float r = (i % 2) ? c.innerRatio : 1.0f;
    float phi = kPi * i / n;
    v[i] = {a * r * std::sin(phi), -b * r * std::cos(phi)};
  }
  return PolygonDistance(v, 2 * n, {lx, ly});
}

void RenderMask(const MaskConfig& config, const OrmaMaskShapeBlock& shape, int w, int h, MaskRaster* out) {
  out->width = w;
  out->height = h;
  out->alpha.assign(static_cast<size_t>(w) * h, 0);
  bool edge = shape.edgeSize > 0.0f && shape.edgeColor[3] > 0.0f;
  out->edge.assign(edge ? static_cast<size_t>(w) * h : 0, 0);
  for (int k = 0; k < 4; ++k)
    out->edgeColor[k] = std::clamp(shape.edgeColor[k], 0.0f, 1.0f);
  // Drawn small, then scaled up with the edge kept smooth.
  float scale = std::min(1.0f, static_cast<float>(kMaxRasterSide) / std::max(w, h));
  int rw = std::max(2, static_cast<int>(std::lround(w * scale))),
      rh = std::max(2, static_cast<int>(std::lround(h * scale)));
  float side = static_cast<float>(std::min(w, h));
  float feather = std::max(1.0f / scale, std::max(0.0f, shape.featherStep) * side);
  float edgeWidth = std::max(0.0f, shape.edgeSize) * side;
  std::vector<uint8_t> small(static_cast<size_t>(rw) * rh), smallEdge(edge ? small.size() : 0);
  for (int y = 0; y < rh; ++y)
    for (int x = 0; x < rw; ++x) {
      float px = (x + 0.5f) * w / rw, py = (y + 0.5f) * h / rh;
      float d = MaskDistance(config, shape, w, h, px, py);
      float a = std::clamp(0.5f - d / feather, 0.0f, 1.0f);
      if (shape.invert) a = 1.0f - a;
      small[static_cast<size_t>(y) * rw + x] = static_cast<uint8_t>(std::lround(a * 255.0f));
      if (edge) {
        float e = std::clamp(edgeWidth * 0.5f - std::fabs(d) + 0.5f / scale, 0.0f, 1.0f);
        smallEdge[static_cast<size_t>(y) * rw + x] = static_cast<uint8_t>(std::lround(e * 255.0f));
      }
    }
  auto upscale = [&](const std::vector<uint8_t>& from, std::vector<uint8_t>& to) {
    for (int y = 0; y < h; ++y) {
      float sy = std::clamp((y + 0.5f) * rh / h - 0.5f, 0.0f, static_cast<float>(rh - 1));
      int y0 = static_cast<int>(sy), y1 = std::min(y0 + 1, rh - 1);
      float fy = sy - y0;
      for (int x = 0; x < w; ++x) {
        float sx = std::clamp((x + 0.5f) * rw / w - 0.5f, 0.0f, static_cast<float>(rw - 1));
        int x0 = static_cast<int>(sx), x1 = std::min(x0 + 1, rw - 1);
        float fx = sx - x0;
        float top =
            from[static_cast<size_t>(y0) * rw + x0] * (1 - fx) + from[static_cast<size_t>(y0) * rw + x1] * fx;
        float bottom =
            from[static_cast<size_t>(y1) * rw + x0] * (1 - fx) + from[static_cast<size_t>(y1) * rw + x1] * fx;
        to[static_cast<size_t>(y) * w + x] = static_cast<uint8_t>(std::lround(top * (1 - fy) + bottom * fy));
      }
    }
  };
  upscale(small, out->alpha);
  if (edge) upscale(smallEdge, out->edge);
}

void ApplyMask(Yuv& img, const MaskRaster& mask, int matrix, bool opaque) {
  if (!img.p[3] || mask.width != img.w || mask.height != img.h) return;
  // A picture that is opaque everywhere (whatever its alpha plane holds yet)
  // takes the mask's alpha as its own.
  if (mask.edge.empty()) {
    if (opaque) {
      for (int y = 0; y < img.h; ++y)
        std::memcpy(img.p[3] + static_cast<size_t>(y) * img.s[3],
                    mask.alpha.data() + static_cast<size_t>(y) * mask.width, img.w);
      return;
    }
    MultiplyAlpha(img, mask.alpha.data(), mask.width);
    return;
  }
  if (opaque) FillAlpha(img);
  // The edge line is painted over the picture and shows where the mask
  // hides it too.
  YuvColor c = RgbToYuv(mask.edgeColor[0], mask.edgeColor[1], mask.edgeColor[2], matrix);
  int strength = static_cast<int>(std::lround(mask.edgeColor[3] * 256.0f));
  for (int y = 0; y < img.h; ++y) {
    uint8_t* l = img.p[0] + static_cast<size_t>(y) * img.s[0];
    uint8_t* a = img.p[3] + static_cast<size_t>(y) * img.s[3];
    const uint8_t* m = mask.alpha.data() + static_cast<size_t>(y) * mask.width;
    const uint8_t* e = mask.edge.data() + static_cast<size_t>(y) * mask.width;
    for (int x = 0; x < img.w; ++x) {
      int k = (e[x] * strength) >> 8;
      l[x] = static_cast<uint8_t>(l[x] + (((c.y - l[x]) * k + 128) >> 8));
      int shaped = (a[x] * m[x] + 127) / 255;
      a[x] = static_cast<uint8_t>(std::max(shaped, (e[x] * strength) >> 8));
    }
  }
  for (int y = 0; y < Half(img.h); ++y) {
    uint8_t* u = img.p[1] + static_cast<size_t>(y) * img.s[1];
    uint8_t* v = img.p[2] + static_cast<size_t>(y) * img.s[2];
    const uint8_t* e = mask.edge.data() + static_cast<size_t>(std::min(2 * y, img.h - 1)) * mask.width;
    for (int x = 0; x < Half(img.w); ++x) {
      int k = (e[std::min(2 * x, img.w - 1)] * strength) >> 8;
      u[x] = static_cast<uint8_t>(u[x] + (((c.u - u[x]) * k + 128) >> 8));
      v[x] = static_cast<uint8_t>(v[x] + (((c.v - v[x]) * k + 128) >> 8));
    }
  }
}

std::unique_ptr<MaskLayer> MaskLayer::Make(const Mask& mask, std::string* error) {
  auto layer = std::make_unique<MaskLayer>();
  if (!LoadMaskConfig(mask.configPath, &layer->config_, error)) return nullptr;
  layer->shape_ = mask.shape;
  layer->frames_ = mask.keyFrames;
  std::stable_sort(
      layer->frames_.begin(), layer->frames_.end(),
      [](const OrmaMaskKeyFrameBlock& a, const OrmaMaskKeyFrameBlock& b) { return a.atTimeUs < b.atTimeUs; });
  return layer;
}

OrmaMaskShapeBlock MaskLayer::ShapeAt(int64_t us) const {
  return EffectiveShape(config_, frames_.empty() ? shape_ : orma::ShapeAt(frames_, us));
}

std::shared_ptr<const MaskRaster> MaskLayer::StillRaster(int w, int h) const {
  std::lock_guard<std::mutex> lock(cacheMutex_);
  if (!cache_.raster || cache_.raster->width != w || cache_.raster->height != h) {
    auto fresh = std::make_shared<MaskRaster>();
    RenderMask(config_, ShapeAt(0), w, h, fresh.get());
    cache_ = Cache();
    cache_.raster = fresh;
  }
  return cache_.raster;
}

std::shared_ptr<const RowSpans> MaskLayer::VisibleSpans(int w, int h, int margin) const {
  if (Animated()) return nullptr;
  std::shared_ptr<const MaskRaster> raster = StillRaster(w, h);
  std::lock_guard<std::mutex> lock(cacheMutex_);
  if (cache_.raster == raster && cache_.spansMargin == margin && cache_.spans) return cache_.spans;
  auto spans = std::make_shared<RowSpans>(
      SpansOfCoverage(raster->alpha.data(), raster->edge.empty() ? nullptr : raster->edge.data(),
                      raster->width, raster->width, raster->height, margin));
  if (cache_.raster == raster) {
    cache_.spans = spans;
    cache_.spansMargin = margin;
  }
  return spans;
}

void MaskLayer::Apply(Yuv& img, const OrmaMaskShapeBlock& shape, int matrix, bool opaque) const {
  if (!Animated()) {
    ApplyMask(img, *StillRaster(img.w, img.h), matrix, opaque);
    return;
  }
  MaskRaster& raster = platform::PerThread<MaskRaster>([] {});
  RenderMask(config_, shape, img.w, img.h, &raster);
  ApplyMask(img, raster, matrix, opaque);
}

} // namespace orma
