#include "engine/render/item_look.h"
#include "engine/picture/scale.h"
#include "engine/picture/scratch.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/core/log.h"
#include "engine/look/lut_file.h"
#include "engine/picture/blend_modes.h"
#include "engine/picture/compose.h"

namespace orma {

namespace {

constexpr float kPi = 3.14159265358979f;

int Even(float v) { return std::max(2, static_cast<int>(std::lround(v / 2.0f)) * 2); }

} // namespace

ItemLook::ItemLook(const Media& media, RenderContext& ctx) : media_(media), ctx_(ctx) {}
ItemLook::~ItemLook() = default;

std::unique_ptr<ItemLook> ItemLook::Make(const Media& media, RenderContext& ctx, const ItemLayout& layout,
                                         int64_t durationFrames, std::string* error) {
  std::unique_ptr<ItemLook> look(new ItemLook(media, ctx));
  if (!look->Build(layout, durationFrames, error)) return nullptr;
  if (!look->Needed()) return nullptr;
  return look;
}

bool ItemLook::Build(const ItemLayout& layout, int64_t durationFrames, std::string* error) {
  const MediaAttributes& a = media_.attrs;
  layout_ = layout;
  itemUs_ = FramesToUs(durationFrames, ctx_.fps);
  angle_ = a.angle;
  blendMode_ = a.blendMode;
  if (blendMode_ != ORMA_BLEND_NORMAL && !FindBlendMode(blendMode_)) {
    LogOnce("blend-" + std::to_string(blendMode_),
            "blend mode " + std::to_string(blendMode_) + " is not known; the item is laid over normally");
    blendMode_ = ORMA_BLEND_NORMAL;
  }
  color_.brightness = a.brightness;
  color_.contrast = a.contrast;
  color_.saturation = a.saturation;
  color_.whiteBalance = a.whiteBalance;
  color_.tint = a.tint;
  color_.highlight = a.highlight;
  color_.shadows = a.shadows;
  color_.lightSensation = a.lightSensation;
  color_.fade = a.fade;
  color_.beautyBright = a.beautyBright;
  color_.beautyTone = a.beautyTone;
  sharpness_ = a.sharpness;
  vignette_ = a.vignette;
  graininess_ = a.graininess;
  beautyBlur_ = a.beautyBlur;
  faceLevels_.bigEye = a.bigEye;
  faceLevels_.thinFace = a.thinFace;
  if (faceLevels_.Active()) faceTracker_ = std::make_unique<FaceTracker>(FaceDetector::Shared());

  if (!a.lutPath.empty() && a.lutIntensity > 0.0) {
    lut_ = std::make_unique<Lut3D>();
    if (!LoadLutFile(a.lutPath, lut_.get(), error)) return false;
    lutIntensity_ = static_cast<float>(std::min(1.0, a.lutIntensity));
  }

  if (a.blur) {
    const OrmaBlurBlock& block = *a.blur;
    blur_.type = block.blurType;
    blur_.intensity = block.intensity;
    blur_.centerX = block.centerX;
    blur_.centerY = block.centerY;
    blur_.radius = block.radius;
  }
  blurShown_ = a.displayMode == ORMA_DISPLAY_BLURRED && blur_.Active();

  if (a.chromaKeyEnabled) {
    const int32_t* key = a.chromaKey;
    chroma_ = true;
    chromaKey_.red = key[0];
    chromaKey_.green = key[1];
    chromaKey_.blue = key[2];
    chromaKey_.factor = key[3];
    chromaKey_.alphaLower = key[4];
    chromaKey_.alphaUpper = key[5];
    chromaKey_.edgeSize = key[6];
  }

  if (!a.keyFrames.empty()) keyFrames_ = KeyFrameTrack(a.keyFrames, ctx_.width, ctx_.height);

  for (const PlacedAnimationFile& entry : a.animations) {
    PlacedAnimation p;
    p.clip = AnimationClip::Load(entry.path, error);
    if (!p.clip) return false;
    p.type = entry.type;
    p.startUs = entry.startUs;
    p.durationUs = entry.durationUs;
    p.cycleUs = entry.cycleUs;
    animations_.push_back(std::move(p));
  }

  for (const Mask* mask : media_.masks) {
    std::unique_ptr<MaskLayer> layer = MaskLayer::Make(*mask, error);
    if (!layer) return false;
    masks_.push_back(std::move(layer));
  }
  if (!a.maskVideo.empty()) matte_ = std::make_unique<LumaMatte>(a.maskVideo, ctx_);

  // The working picture: the item's size on the canvas, or the largest size
  // its key frames give it (at most twice the canvas).
  workW_ = layout_.w;
  workH_ = layout_.h;
  if (keyFrames_.AnimatesShow()) {
    float w, h;
    keyFrames_.LargestShow(&w, &h);
    workW_ = Even(std::min(w, 2.0f * ctx_.width));
    workH_ = Even(std::min(h, 2.0f * ctx_.height));
  }
  if (!keyFrames_.AnimatesAnyLevel())
    table_ = ColorTable::Build(color_, lut_.get(), lutIntensity_, ctx_.matrix);
  return true;
}

bool ItemLook::Needed() const {
  return angle_ % 360 != 0 || blendMode_ > ORMA_BLEND_CUT_OUT || !color_.Neutral() || lut_ ||
         sharpness_ != 0 || vignette_ > 0 || graininess_ > 0 || beautyBlur_ > 0 || faceLevels_.Active() ||
         blurShown_ || chroma_ || !keyFrames_.Empty() || !animations_.empty() || !masks_.empty() || matte_ ||
         !media_.specialEffects.empty();
}

void ItemLook::Release() {
  if (matte_) matte_->Release();
  std::lock_guard<std::mutex> lock(tableMutex_);
  tables_.clear();
}

std::shared_ptr<const ColorTable> ItemLook::TableFor(const ColorLevels& levels) const {
  if (levels == color_ && !keyFrames_.AnimatesAnyLevel()) return table_;
  {
    std::lock_guard<std::mutex> lock(tableMutex_);
    for (const auto& t : tables_)
      if (t.first == levels) return t.second;
  }
  auto table = ColorTable::Build(levels, lut_.get(), lutIntensity_, ctx_.matrix);
  std::lock_guard<std::mutex> lock(tableMutex_);
  if (tables_.size() >= 8) tables_.erase(tables_.begin());
  tables_.emplace_back(levels, table);
  return table;
}

std::shared_ptr<const LookFrame> ItemLook::Prepare(int64_t itemFrame, const SourceFrame* source) {
  auto f = std::make_shared<LookFrame>();
  f->look = this;
  f->frame = itemFrame;
  f->us = FramesToUs(itemFrame, ctx_.fps);
  std::copy(layout_.crop, layout_.crop + 4, f->crop);
  f->show[0] = static_cast<float>(layout_.x);
  f->show[1] = static_cast<float>(layout_.y);
  f->show[2] = static_cast<float>(layout_.x + layout_.w);
  f->show[3] = static_cast<float>(layout_.y + layout_.h);
  f->rotation = static_cast<float>(angle_);
  f->opacity = layout_.opacity;
  f->color = color_;
  f->sharpness = sharpness_;
  f->vignette = vignette_;
  f->graininess = graininess_;
  if (blurShown_) f->blur = blur_;

  if (!keyFrames_.Empty()) {
    KeyFrameState k = keyFrames_.At(f->us);
    if (keyFrames_.AnimatesShow()) std::copy(k.show, k.show + 4, f->show);
    if (keyFrames_.AnimatesCrop()) std::copy(k.crop, k.crop + 4, f->crop);
    if (keyFrames_.AnimatesRotation()) f->rotation = k.rotation;
    if (keyFrames_.AnimatesOpacity()) f->opacity = k.opacity;
    if (keyFrames_.AnimatesBlur()) f->blur = k.blur;
    int* targets[kLevelCount] = {
        &f->color.brightness, &f->color.contrast,  &f->color.saturation,     &f->color.whiteBalance,
        &f->sharpness,        &f->vignette,        &f->color.tint,           &f->color.shadows,
        &f->graininess,       &f->color.highlight, &f->color.lightSensation, &f->color.fade};
    for (int l = 0; l < kLevelCount; ++l)
      if (keyFrames_.AnimatesLevel(l)) *targets[l] = k.levels[l];
  }
  if (!animations_.empty()) f->pose = EvaluateAnimations(animations_, f->us, itemUs_);
  for (const auto& mask : masks_)
    f->maskShapes.push_back(mask->ShapeAt(f->us));
  if (matte_) f->matte = matte_->Fetch(itemFrame);
  if (faceTracker_ && source)
    f->faces = faceTracker_->At(itemFrame, *source, f->crop, layout_.mirrorH, layout_.mirrorV);

  f->covers = f->opacity >= 1.0f && f->pose.Neutral() && std::fmod(f->rotation, 360.0f) == 0.0f &&
              f->show[0] == 0 && f->show[1] == 0 && f->show[2] == ctx_.width && f->show[3] == ctx_.height &&
              !chroma_ && blendMode_ <= ORMA_BLEND_CUT_OUT && masks_.empty() && !matte_;
  return f;
}

void ItemLook::Draw(const SourceFrame& source, const LookFrame& f, Yuv& canvas) const {
  if (!source.visible) return;
  const int matrix = ctx_.matrix;
  bool rgba = source.decoded && source.decoded->rgba;
  bool sourceAlpha = rgba || (source.still && source.still->view().HasAlpha());
  bool clip = f.pose.clip[0] > 0 || f.pose.clip[1] > 0 || f.pose.clip[2] > 0 || f.pose.clip[3] > 0;
  bool alpha = sourceAlpha || chroma_ || !masks_.empty() || matte_;
  Picture& work = ScratchPicture(40, workW_, workH_, true);
  Yuv view = work.view();
  if (!alpha) view.p[3] = nullptr;
  // An opaque source's alpha plane is not filled while no step has looked
  // at it: the first mask then takes its own alpha as the picture's instead
  // of filling the plane and multiplying it.
  Yuv colour = view;
  colour.p[3] = nullptr;
  bool alphaPending = alpha && !sourceAlpha;
  auto settleAlpha = [&] {
    if (alphaPending) FillAlpha(view);
    alphaPending = false;
  };

  if (source.still) {
    const Yuv& s = source.still->view();
    SourceArea a = CropArea(f.crop, s.w, s.h);
    Colorimetry c;
    c.matrix = matrix;
    if (!ScaleYuv(s, a.x, a.y, a.w, a.h, c, alphaPending ? colour : view, matrix, false)) return;
  } else if (source.decoded) {
    const Decoded& d = *source.decoded;
    SourceArea a = CropArea(f.crop, d.width, d.height);
    if (rgba) {
      if (!ScaleRgba(d.rgba, d.width * 4, a.x, a.y, a.w, a.h, view, matrix)) return;
    } else if (!ScaleYuv(d.yuv, a.x, a.y, a.w, a.h, d.color, alphaPending ? colour : view, matrix, false)) {
      return;
    }
  } else {
    return;
  }
  Mirror(alphaPending ? colour : view, layout_.mirrorH, layout_.mirrorV);
  if (f.faces) {
    settleAlpha();
    WarpFaces(view, *f.faces, faceLevels_);
  }

  if (chroma_) {
    settleAlpha();
    ChromaKey(view, chromaKey_, matrix);
  }
  // With one mask that does not move, and only point-wise steps and the
  // sharpening before it, the steps skip what the mask will hide. The
  // margin keeps every pixel that the sharpening or the placement's
  // bilinear samples (of luma, and of chroma at half resolution) can reach.
  std::shared_ptr<const RowSpans> spans;
  if (masks_.size() == 1 && !matte_ && media_.specialEffects.empty() && beautyBlur_ == 0 &&
      !f.blur.Active() && f.pose.blur <= 0 && !f.faces)
    spans = masks_[0]->VisibleSpans(view.w, view.h, 8);
  if (auto table = TableFor(f.color)) table->Apply(view, spans.get());
  if (beautyBlur_ > 0) SmoothSkin(view, beautyBlur_ / 100.0f);
  if (f.sharpness != 0) Sharpen(view, f.sharpness / 100.0f, spans.get());
  if (f.blur.Active() || f.pose.blur > 0) settleAlpha();
  if (f.blur.Active()) ApplyBlur(view, f.blur);
  if (f.pose.blur > 0) BlurAll(view, f.pose.blur * 0.05f * std::min(view.w, view.h));
  if (f.vignette > 0) Vignette(view, f.vignette / 100.0f, spans.get());
  if (f.graininess > 0) AddGrain(view, f.graininess / 100.0f, static_cast<uint32_t>(f.frame), spans.get());
  for (const Media::PlacedEffect& e : media_.specialEffects)
    if (f.us >= e.startUs && f.us < e.startUs + e.durationUs) {
      EffectClock clock;
      clock.seconds = static_cast<double>(f.us - e.startUs) / 1e6;
      clock.span = static_cast<double>(e.durationUs) / 1e6;
      clock.frame = f.frame;
      settleAlpha();
      e.chain->Apply(view, clock, matrix);
    }
  for (size_t i = 0; i < masks_.size() && i < f.maskShapes.size(); ++i) {
    masks_[i]->Apply(view, f.maskShapes[i], matrix, alphaPending);
    alphaPending = false;
  }
  settleAlpha();
  if (matte_) matte_->Apply(view, f.matte);

  // Placement: the working picture stretched to the show rectangle, then
  // scaled, turned and moved about its centre by the animations.
  float left = f.show[0], top = f.show[1], right = f.show[2], bottom = f.show[3];
  float sx = (right - left) / workW_ * f.pose.scaleX;
  float sy = (bottom - top) / workH_ * f.pose.scaleY;
  float degrees = std::fmod(f.rotation + f.pose.rotation, 360.0f);
  float cosine = 1, sine = 0;
  if (degrees != 0.0f) {
    cosine = std::cos(degrees * kPi / 180.0f);
    sine = std::sin(degrees * kPi / 180.0f);
  }
  float cx = (left + right) * 0.5f + f.pose.x * canvas.w, cy = (top + bottom) * 0.5f + f.pose.y * canvas.h;
  Placement p;
  p.a = cosine * sx;
  p.b = -sine * sy;
  p.c = sine * sx;
  p.d = cosine * sy;
  p.tx = cx - (p.a * workW_ + p.b * workH_) * 0.5f;
  p.ty = cy - (p.c * workW_ + p.d * workH_) * 0.5f;
  float region[4] = {f.pose.clip[0] * workW_, f.pose.clip[1] * workH_, workW_ * (1.0f - f.pose.clip[2]),
                     workH_ * (1.0f - f.pose.clip[3])};
  Compose(canvas, view, p, f.opacity * f.pose.opacity, blendMode_, matrix, clip ? region : nullptr,
          spans.get());
}

PicturePtr ItemLook::StillPicture(const RgbaImage& image, int matrix) {
  int w = image.width, h = image.height;
  const int limit = 4096;
  if (w > limit || h > limit) {
    double k = static_cast<double>(limit) / std::max(w, h);
    w = std::max(2, static_cast<int>(w * k));
    h = std::max(2, static_cast<int>(h * k));
  }
  auto picture = std::make_shared<Picture>(w, h, true);
  if (!ScaleRgba(image.pixels.data(), image.width * 4, 0, 0, image.width, image.height, picture->view(),
                 matrix))
    return nullptr;
  const Yuv& v = picture->view();
  for (int y = 0; y < v.h; ++y) {
    const uint8_t* row = v.p[3] + static_cast<size_t>(y) * v.s[3];
    for (int x = 0; x < v.w; ++x)
      if (row[x] != 255) return picture;
  }
  auto plain = std::make_shared<Picture>(w, h, false);
  CopyPicture(plain->view(), v);
  return plain;
}

void DrawLook(const SourceFrame& source, Yuv& canvas) {
  if (source.look && source.look->look) source.look->look->Draw(source, *source.look, canvas);
}

} // namespace orma
