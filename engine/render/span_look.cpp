// Look-up filters and picture adjustments over a span of the timeline: the
// same colour table (and the same spatial filters) as a media item's look,
// applied to the whole picture below the effect's level. The table is built
// at the effect's first frame, from its file or its levels, and let go after
// its last, so an effect holds memory only while it is on screen.
#include <algorithm>
#include <cmath>

#include "engine/look/lut_file.h"
#include "engine/picture/color_table.h"
#include "engine/picture/filters.h"
#include "engine/render/span_effect.h"

namespace orma {

namespace {

struct LookState : FrameJob {
  std::shared_ptr<const ColorTable> table; ///< null: no point-wise change
  int64_t frame = 0;                       ///< for the grain's pattern
};

// Each frame holds the table it is drawn with, so that it outlives Release.
FrameJobPtr LookJob(const std::shared_ptr<const ColorTable>& table, int64_t frame) {
  auto state = std::make_shared<LookState>();
  state->table = table;
  state->frame = frame;
  return state;
}

class LutEffect : public PictureEffect {
public:
  LutEffect(const Effect& e, RenderContext& ctx)
      : path_(e.path), intensity_(std::isfinite(e.intensity) ? std::min(e.intensity, 1.0f) : 0.0f),
        ctx_(ctx) {}

  FrameJobPtr Prepare(int64_t t, int64_t) override {
    if (!loaded_ && intensity_ > 0.0f) {
      loaded_ = true;
      Lut3D lut;
      std::string error;
      if (!LoadLutFile(path_, &lut, &error))
        ctx_.Fail("look-up filter " + error);
      else
        table_ = ColorTable::Build(ColorLevels{}, &lut, intensity_, ctx_.matrix);
    }
    return LookJob(table_, t);
  }

  void Apply(const FrameJob& job, Yuv& picture) const override {
    const LookState* s = JobAs<LookState>(&job);
    if (s && s->table) s->table->Apply(picture);
  }

  void Release() override {
    table_.reset();
    loaded_ = false;
  }

private:
  std::string path_;
  float intensity_;
  RenderContext& ctx_;
  bool loaded_ = false;
  std::shared_ptr<const ColorTable> table_;
};

// The adjustment block's levels, on the scales of the media item's setters.
class AdjustmentEffect : public PictureEffect {
public:
  AdjustmentEffect(const Effect& e, RenderContext& ctx) : ctx_(ctx) {
    const OrmaAdjustmentBlock& b = e.adjustment;
    auto level = [](float v, int limit) {
      return std::isfinite(v) ? static_cast<int>(std::clamp(std::lround(v), -static_cast<long>(limit),
                                                            static_cast<long>(limit)))
                              : 0;
    };
    levels_.brightness = level(b.brightness, 255);
    levels_.saturation = level(b.saturation, 100);
    levels_.contrast = level(b.contrast, 100);
    levels_.whiteBalance = level(b.whiteBalance, 100);
    levels_.tint = level(b.tint, 100);
    levels_.shadows = level(b.shadows, 100);
    levels_.highlight = level(b.highlight, 100);
    levels_.lightSensation = level(b.lightSensation, 100);
    levels_.fade = std::max(0, level(b.fade, 100));
    sharpness_ = level(b.sharpness, 100);
    vignette_ = std::max(0, level(b.vignette, 100));
    graininess_ = std::max(0, level(b.graininess, 100));
  }

  FrameJobPtr Prepare(int64_t t, int64_t) override {
    if (!built_) {
      built_ = true;
      table_ = ColorTable::Build(levels_, nullptr, 0.0f, ctx_.matrix);
    }
    return LookJob(table_, t);
  }

  // In the order of a media item's look: colour, sharpness, vignette, grain.
  void Apply(const FrameJob& job, Yuv& picture) const override {
    const LookState* s = JobAs<LookState>(&job);
    if (!s) return;
    if (s->table) s->table->Apply(picture);
    if (sharpness_ != 0) Sharpen(picture, sharpness_ / 100.0f);
    if (vignette_ > 0) Vignette(picture, vignette_ / 100.0f);
    if (graininess_ > 0) AddGrain(picture, graininess_ / 100.0f, static_cast<uint32_t>(s->frame));
  }

  void Release() override {
    table_.reset();
    built_ = false;
  }

private:
  RenderContext& ctx_;
  ColorLevels levels_;
  int sharpness_ = 0, vignette_ = 0, graininess_ = 0;
  bool built_ = false;
  std::shared_ptr<const ColorTable> table_;
};

} // namespace

std::unique_ptr<PictureEffect> MakeLutEffect(const Effect& e, RenderContext& ctx, std::string*) {
  return std::make_unique<LutEffect>(e, ctx);
}

std::unique_ptr<PictureEffect> MakeAdjustmentEffect(const Effect& e, RenderContext& ctx, std::string*) {
  return std::make_unique<AdjustmentEffect>(e, ctx);
}

} // namespace orma
