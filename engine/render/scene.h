// Rendering of scenes into canvas frames.
//
// MLT asks for frames in two steps: get_frame, called in timeline order on
// one thread, and get_image/get_audio, called later (get_image on several
// worker threads at once). The engine follows that split: Fetch() runs in
// get_frame and does everything that must be sequential (seeking and
// decoding sources, loading pictures once), and returns an immutable job;
// Composite() runs on a worker and only reads the job. Audio is mixed from
// the job on the consumer's thread, in timeline order.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <mlt-7/framework/mlt.h>

#include "engine/media/video_decoder.h"
#include "engine/model/model.h"
#include "engine/model/render_context.h"
#include "engine/picture/image.h"
#include "engine/render/frame_job.h"
#include "engine/sound/audio_chain.h"

namespace orma {

/// Audio of one frame as planar floats.
struct AudioBlock {
  int channels = 0;
  int samples = 0;
  int frequency = 0;
  std::vector<float> data; ///< channels * samples, plane after plane
  float* Plane(int c) { return data.data() + static_cast<size_t>(c) * samples; }
};

struct LookFrame;
class ItemLook;
class ItemAudio;

/// What one media item contributes to one frame.
struct SourceFrame {
  bool visible = false;
  PicturePtr still;   ///< a picture, already at its target size
  DecodedPtr decoded; ///< a clip's frame at its own size
  bool audio = false; ///< the clip's sound at `clipPosition` belongs to this frame
  std::shared_ptr<ClipSound> clipSound;
  int64_t clipPosition = 0; ///< source frame (at the output rate) the sound is read at
  float gainStart = 1.0f, gainEnd = 1.0f;
  std::shared_ptr<const LookFrame> look; ///< the item's state, when it has a look (item_look.h)
  std::shared_ptr<ItemAudio> sound;      ///< the item's processed sound (item_audio.h), mixed in order
  int64_t soundFrame = 0;                ///< the frame of the item that sound is asked for
};
using SourceFramePtr = std::shared_ptr<SourceFrame>;

/// Placement of an item on the canvas, in pixels.
struct ItemLayout {
  int x = 0, y = 0, w = 0, h = 0; ///< show rectangle (even)
  float crop[4] = {0, 0, 1, 1};   ///< normalised source area
  bool mirrorH = false, mirrorV = false;
  float opacity = 1.0f;
  bool FullCanvas(int width, int height) const { return x == 0 && y == 0 && w == width && h == height; }
};

/// Decoding side of one media item of a scene: a clip reader taken on first
/// use and handed back once the scene is over.
class MediaSource {
public:
  MediaSource(const Media& media, int64_t sceneFrames, RenderContext& ctx);
  ~MediaSource();
  /// Sequential: what the item shows (and plays) at scene-local frame t,
  /// which may lie before 0 or after the scene's end around a transition.
  SourceFramePtr Fetch(int64_t t, bool withAudio);
  void Release();

  const ItemLayout& layout() const { return layout_; }
  bool HasPicture() const { return media_.probe.hasVideo; }
  bool IsStill() const { return media_.probe.still; }
  /// Whether the item's sound is played (it has some, and is not muted).
  bool HasSound() const { return audioWanted_; }
  const Media& media() const { return media_; }

private:
  bool OpenReader(int64_t position);
  PicturePtr LoadStill();
  int64_t SourceFrameAt(int64_t t, bool* clamped, bool* visible) const;

  const Media& media_;
  RenderContext& ctx_;
  ItemLayout layout_;
  int64_t sceneFrames_ = 0;
  int64_t offset_ = 0;     ///< frames from the scene start to the item start
  int64_t duration_ = 0;   ///< frames the item lasts in the scene
  int64_t trimStart_ = 0;  ///< source position of the item's first frame
  int64_t trimLast_ = -1;  ///< last source frame of the trimmed range (-1: none)
  int64_t sourceLast_ = 0; ///< last frame of the source
  double speed_ = 1.0;
  bool audioWanted_ = false;
  float volume_ = 1.0f;
  int64_t fadeInFrames_ = 0, fadeOutFrames_ = 0;
  ClipReader reader_;
  PicturePtr still_;
  int64_t lastPosition_ = INT64_MIN;
  DecodedPtr last_;
  std::unique_ptr<ItemLook> look_; ///< null for an item drawn by the plain path
  float GainAt(int64_t itemFrame) const;
  bool processedSound_ = false;
  AudioChain::Settings soundSettings_;
  std::shared_ptr<ItemAudio> sound_;
};

class Painter;

/// One scene: its media sources and background.
class SceneRenderer {
public:
  SceneRenderer(const Scene& scene, RenderContext& ctx);
  ~SceneRenderer();

  struct Frame : FrameJob {
    std::vector<SourceFramePtr> items;
    FrameJobPtr background; ///< the background painter's job for this frame
  };
  using FramePtr = std::shared_ptr<Frame>;

  FramePtr Fetch(int64_t t, bool withAudio);
  void Composite(const Frame& frame, Yuv& canvas) const;
  /// Lets go of the frame's pictures once it is drawn; its sound stays.
  static void DropPictures(Frame& frame);
  /// Adds the frame's sound, times `gain` (ramped from start to end), to out.
  void MixAudio(const Frame& frame, AudioBlock& out, float gainStart, float gainEnd) const;
  void Release();
  /// Whether any item's sound is played.
  bool HasSound() const;

  int64_t startFrame = 0; ///< on the timeline
  int64_t endFrame = 0;
  const Scene& scene() const { return scene_; }
  RenderContext& context() const { return ctx_; }
  /// The first item that shows a picture at this frame (for blurred
  /// backgrounds), or null.
  const SourceFrame* FirstPicture(const Frame& frame, const ItemLayout** layout) const;

private:
  bool CoversCanvas(const Frame& frame) const;
  const Scene& scene_;
  RenderContext& ctx_;
  std::vector<std::unique_ptr<MediaSource>> sources_;
  std::unique_ptr<Painter> background_;
};

/// A rectangle of a source picture, in pixels.
struct SourceArea {
  int x, y, w, h;
};

/// The source area of a crop rectangle (shares of the source, each brought
/// into 0..1; an empty one is the whole source), on even offsets as 4:2:0
/// needs. The plain placement and an item's look crop through it alike, so
/// an item shows the same pixels with or without a look.
SourceArea CropArea(const float crop[4], int width, int height);

/// Draws one source frame of an item into dst (the whole item area, scaled
/// and mirrored), or composites it onto the canvas at its layout.
void DrawItem(const SourceFrame& frame, const ItemLayout& layout, Yuv& canvas, int matrix);

/// Scales a source frame's picture (the layout's crop area) so that it
/// covers dst entirely, cropping the overflow equally on both sides.
bool CoverScale(const SourceFrame& frame, const ItemLayout& layout, Yuv& dst, int matrix);

/// Background painters, one per background kind (background_*.cpp).
class Painter {
public:
  virtual ~Painter() = default;
  /// Sequential preparation for one frame; the returned state is handed to
  /// Paint (may be null).
  virtual FrameJobPtr Prepare(const SceneRenderer&) { return nullptr; }
  virtual void Paint(const SceneRenderer& scene, const SceneRenderer::Frame& frame, Yuv& canvas) const = 0;
  virtual void Release() {}
};
using PainterFactory = std::unique_ptr<Painter> (*)(const Background&, RenderContext&);
std::unique_ptr<Painter> MakePainter(const Background& background, RenderContext& ctx);

std::unique_ptr<Painter> MakeBlackPainter(const Background&, RenderContext&);
std::unique_ptr<Painter> MakeColorPainter(const Background&, RenderContext&);
std::unique_ptr<Painter> MakePicturePainter(const Background&, RenderContext&);
std::unique_ptr<Painter> MakeBlurPainter(const Background&, RenderContext&);

} // namespace orma
