// Masks of media items. A mask folder's config.json names a shape (format
// in docs/resources.md); the item's OrmaMaskShapeBlock (or its mask key
// frames) place it: centre, size, rotation, distance, corners, corner
// radius, feather, an edge line and inversion. The shape becomes a matte
// multiplied into the item's alpha. (A mask video or picture is a luma
// matte instead: luma_matte.h.)
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "corelib/orma_core.h"
#include "engine/core/config_fields.h"
#include "engine/model/model.h"
#include "engine/picture/image.h"

namespace orma {

/// A mask's config.json.
struct MaskConfig {
  std::string name;
  std::string shape;         ///< linear, mirror, circle, rectangle, heart, star
  int points = 5;            ///< star: number of points
  float innerRatio = 0.45f;  ///< star: inner radius over outer radius
  float width = 0.5f;        ///< default size, share of the item's width
  float height = 0.5f;       ///< default size, share of the item's height
  float cornerRadius = 0.0f; ///< rectangle: default rounding
};

bool LoadMaskConfig(const std::string& path, MaskConfig* out, std::string* error);
bool ParseMaskConfig(const std::string& text, const std::string& where, MaskConfig* out, std::string* error);

/// The shape actually drawn: an all-zero block (never set) takes the
/// config's defaults, centred; a zero size takes the default size.
OrmaMaskShapeBlock EffectiveShape(const MaskConfig& config, const OrmaMaskShapeBlock& shape);

/// Shape fields interpolated between mask key frames (the nearest one holds
/// before the first and after the last).
OrmaMaskShapeBlock ShapeAt(const std::vector<OrmaMaskKeyFrameBlock>& frames, int64_t us);

/// A rendered mask: coverage 0..255 per pixel and, where the shape has an
/// edge line, that line's coverage and colour.
struct MaskRaster {
  int width = 0, height = 0;
  std::vector<uint8_t> alpha;
  std::vector<uint8_t> edge; ///< empty without an edge line
  Rgba edgeColor{0, 0, 0, 0};
};

/// Signed distance in pixels from a point of a w x h item to the shape's
/// outline (negative inside), before feathering and inversion.
float MaskDistance(const MaskConfig& config, const OrmaMaskShapeBlock& shape, int w, int h, float x, float y);

/// Renders the mask for a w x h item.
void RenderMask(const MaskConfig& config, const OrmaMaskShapeBlock& shape, int w, int h, MaskRaster* out);

/// Multiplies a rendered mask into a picture's alpha (which must exist) and
/// paints its edge line.
void ApplyMask(Yuv& img, const MaskRaster& mask, int matrix, bool opaque = false);

/// One mask of an item, as the API built it.
class MaskLayer {
public:
  static std::unique_ptr<MaskLayer> Make(const Mask& mask, std::string* error);
  bool Animated() const { return frames_.size() > 1; }
  OrmaMaskShapeBlock ShapeAt(int64_t us) const;
  /// Parallel: the item's mask for this shape applied to `img` (a mask that
  /// does not move is rendered once); `opaque`: img is opaque everywhere,
  /// whatever its alpha plane holds yet.
  void Apply(Yuv& img, const OrmaMaskShapeBlock& shape, int matrix, bool opaque = false) const;
  /// For a mask that does not move: the parts of a w x h item that can
  /// still show once the mask is applied, widened by `margin` pixels (null
  /// for a moving mask).
  std::shared_ptr<const RowSpans> VisibleSpans(int w, int h, int margin) const;

private:
  struct Cache {
    std::shared_ptr<const MaskRaster> raster;
    std::shared_ptr<const RowSpans> spans;
    int spansMargin = -1;
  };
  std::shared_ptr<const MaskRaster> StillRaster(int w, int h) const;

  MaskConfig config_;
  OrmaMaskShapeBlock shape_{};
  std::vector<OrmaMaskKeyFrameBlock> frames_;
  mutable std::mutex cacheMutex_;
  mutable Cache cache_;
};

} // namespace orma
