// The look of a media item: everything beyond plain placement that its
// attributes ask for (picture adjustments, look-up table, blur, chroma key,
// rotation, blend mode, key frames, animations, masks, special effects,
// beauty). An item whose attributes are all neutral has no look and is
// drawn by the plain path of render/scene.cpp.
//
// Like the rest of the renderer it works in two steps: Prepare (sequential,
// in timeline order) works out the item's state at a frame; Draw (on MLT's
// worker threads) scales the source into a working picture of a fixed size,
// processes it and composites it onto the canvas.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "engine/look/animation.h"
#include "engine/look/key_frames.h"
#include "engine/look/luma_matte.h"
#include "engine/look/mask_shape.h"
#include "engine/look/special_effect.h"
#include "engine/media/still_image.h"
#include "engine/picture/color_table.h"
#include "engine/picture/filters.h"
#include "engine/render/face_warp.h"
#include "engine/render/scene.h"

namespace orma {

class ItemLook;

/// The item's state at one frame.
struct LookFrame {
  const ItemLook* look = nullptr;
  int64_t frame = 0; ///< frames since the item's start
  int64_t us = 0;    ///< the same in microseconds
  float crop[4] = {0, 0, 1, 1};
  float show[4] = {0, 0, 0, 0}; ///< canvas pixels
  float rotation = 0;           ///< degrees, clockwise
  float opacity = 1;
  AnimationPose pose;
  ColorLevels color;
  int sharpness = 0, vignette = 0, graininess = 0;
  BlurSettings blur;
  bool covers = false;                        ///< an opaque picture over the whole canvas
  std::vector<OrmaMaskShapeBlock> maskShapes; ///< one per mask layer
  std::shared_ptr<const MatteFrame> matte;    ///< the mask video's or picture's frame
  std::shared_ptr<const FaceList> faces;      ///< faces to shape (face_warp.h)
};

class ItemLook {
public:
  /// Null when the item needs nothing beyond plain placement (and when it
  /// cannot be built: then *error says why).
  static std::unique_ptr<ItemLook> Make(const Media& media, RenderContext& ctx, const ItemLayout& layout,
                                        int64_t durationFrames, std::string* error);
  ~ItemLook();

  /// Sequential: the state at `itemFrame` frames from the item's start;
  /// `source` is the frame fetched for it (faces are found on it).
  std::shared_ptr<const LookFrame> Prepare(int64_t itemFrame, const SourceFrame* source = nullptr);
  /// Parallel: draws the item's source frame onto the canvas.
  void Draw(const SourceFrame& source, const LookFrame& frame, Yuv& canvas) const;
  void Release();

  /// A still picture at its own size (at most 4096 pixels a side), kept
  /// whole: the look crops, mirrors and scales it per frame.
  static PicturePtr StillPicture(const RgbaImage& image, int matrix);

  int workWidth() const { return workW_; }
  int workHeight() const { return workH_; }

private:
  ItemLook(const Media& media, RenderContext& ctx);
  bool Build(const ItemLayout& layout, int64_t durationFrames, std::string* error);
  bool Needed() const;
  std::shared_ptr<const ColorTable> TableFor(const ColorLevels& levels) const;

  const Media& media_;
  RenderContext& ctx_;
  ItemLayout layout_;
  int workW_ = 2, workH_ = 2;
  int64_t itemUs_ = 0;

  int angle_ = 0;
  int blendMode_ = 0;
  ColorLevels color_;
  int sharpness_ = 0, vignette_ = 0, graininess_ = 0;
  int beautyBlur_ = 0;
  FaceWarpLevels faceLevels_;
  std::unique_ptr<FaceTracker> faceTracker_;
  bool blurShown_ = false; ///< display mode 1: the item's blur block is drawn
  BlurSettings blur_;
  bool chroma_ = false;
  ChromaKeySettings chromaKey_;
  std::unique_ptr<Lut3D> lut_;
  float lutIntensity_ = 0;
  KeyFrameTrack keyFrames_;
  std::vector<PlacedAnimation> animations_;
  std::vector<std::unique_ptr<MaskLayer>> masks_;
  std::unique_ptr<LumaMatte> matte_;

  std::shared_ptr<const ColorTable> table_; ///< for levels that do not change
  mutable std::mutex tableMutex_;
  mutable std::vector<std::pair<ColorLevels, std::shared_ptr<const ColorTable>>> tables_;
};

/// Draws an item that has a look (DrawItem of render/scene.cpp hands it over).
void DrawLook(const SourceFrame& source, Yuv& canvas);

} // namespace orma
