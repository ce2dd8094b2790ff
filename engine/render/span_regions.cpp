// Region effects: the rectangle given by the four region floats (left, top,
// right, bottom in canvas units 0..1) pixelated, blurred, or filled from
// its border. Their settings are fixed for the span, so nothing is
// prepared per frame.
#include "engine/picture/region_filters.h"
#include "engine/render/span_effect.h"

namespace orma {

namespace {

// One empty job for every frame: the region is drawn, but nothing changes
// from frame to frame.
FrameJobPtr NoState() {
  static const auto state = std::make_shared<FrameJob>();
  return state;
}

class MosaicEffect : public PictureEffect {
public:
  MosaicEffect(const Effect& e, const RenderContext& ctx)
      : region_(RegionPixels(e.region, ctx.width, ctx.height)),
        block_(MosaicBlockSize(e.intensity, ctx.width, ctx.height)) {}
  FrameJobPtr Prepare(int64_t, int64_t) override { return NoState(); }
  void Apply(const FrameJob&, Yuv& picture) const override { Pixelate(picture, region_, block_); }

private:
  PixelRect region_;
  int block_;
};

class RegionBlurEffect : public PictureEffect {
public:
  RegionBlurEffect(const Effect& e, const RenderContext& ctx)
      : region_(RegionPixels(e.region, ctx.width, ctx.height)),
        sigma_(RegionBlurSigma(e.intensity, ctx.width, ctx.height)) {}
  FrameJobPtr Prepare(int64_t, int64_t) override { return NoState(); }
  void Apply(const FrameJob&, Yuv& picture) const override { BlurRegion(picture, region_, sigma_); }

private:
  PixelRect region_;
  float sigma_;
};

class DelogoEffect : public PictureEffect {
public:
  DelogoEffect(const Effect& e, const RenderContext& ctx)
      : region_(RegionPixels(e.region, ctx.width, ctx.height)) {}
  FrameJobPtr Prepare(int64_t, int64_t) override { return NoState(); }
  void Apply(const FrameJob&, Yuv& picture) const override { FillFromBorder(picture, region_); }

private:
  PixelRect region_;
};

} // namespace

std::unique_ptr<PictureEffect> MakeMosaicEffect(const Effect& e, RenderContext& ctx, std::string*) {
  return std::make_unique<MosaicEffect>(e, ctx);
}

std::unique_ptr<PictureEffect> MakeRegionBlurEffect(const Effect& e, RenderContext& ctx, std::string*) {
  return std::make_unique<RegionBlurEffect>(e, ctx);
}

std::unique_ptr<PictureEffect> MakeDelogoEffect(const Effect& e, RenderContext& ctx, std::string*) {
  return std::make_unique<DelogoEffect>(e, ctx);
}

} // namespace orma
