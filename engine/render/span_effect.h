// Timeline effects that change the picture below their level during their
// span (adjustment layers): region effects, look-up filters, picture
// adjustments and special effects. One implementation per effect kind
// (span_*.cpp), chosen through the table of element_effect.cpp.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/model/model.h"
#include "engine/picture/image.h"
#include "engine/render/frame_job.h"
#include "engine/render/scene.h"

namespace orma {

class PictureEffect {
public:
  virtual ~PictureEffect() = default;
  /// Sequential, for each frame of the span in order (t: frames since its
  /// start, `frames` the span's length): loads what the effect needs on
  /// first use and returns what Apply needs for this frame. What it returns
  /// must keep alive any data Apply reads, since Release may come first.
  /// Never null: a frame without a job is not drawn.
  virtual FrameJobPtr Prepare(int64_t t, int64_t frames) = 0;
  /// Parallel: changes the picture in place.
  virtual void Apply(const FrameJob& job, Yuv& picture) const = 0;
  /// After the span's last frame: lets go of what Prepare loaded.
  virtual void Release() {}
};

/// Builds the effect of an element; null with *error when it cannot.
using PictureEffectFactory = std::unique_ptr<PictureEffect> (*)(const Effect& effect, RenderContext& ctx,
                                                                std::string* error);

std::unique_ptr<PictureEffect> MakeMosaicEffect(const Effect&, RenderContext&, std::string*);
std::unique_ptr<PictureEffect> MakeRegionBlurEffect(const Effect&, RenderContext&, std::string*);
std::unique_ptr<PictureEffect> MakeDelogoEffect(const Effect&, RenderContext&, std::string*);
std::unique_ptr<PictureEffect> MakeLutEffect(const Effect&, RenderContext&, std::string*);
std::unique_ptr<PictureEffect> MakeAdjustmentEffect(const Effect&, RenderContext&, std::string*);
std::unique_ptr<PictureEffect> MakeSpecialEffect(const Effect&, RenderContext&, std::string*);

} // namespace orma
