// The engine's model of a project as the API builds it: a virtual video
// (output settings and timeline) holding elements of a few kinds. Nothing
// here touches MLT; the MLT graph is built from this model when an export
// (or a preview) starts, by the element builders of elements.h.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "corelib/orma_core.h"
#include "engine/core/rational.h"
#include "engine/media/probe.h"

namespace orma {

enum class HandleType : uint32_t { Video = 1, Scene, Media, Effect, Audio, Caption, CaptionItem, Mask };

/// Base of every object the API hands out. Handles are registered so that a
/// stale or foreign pointer is refused rather than dereferenced.
struct Handle {
  explicit Handle(HandleType t) : type(t) {}
  virtual ~Handle() = default;
  HandleType type;
};

void RegisterHandle(Handle* handle);
Handle* FindHandle(const void* pointer);

template <class T> T* Lookup(const void* pointer, HandleType type) {
  Handle* h = FindHandle(pointer);
  return (h && h->type == type) ? static_cast<T*>(h) : nullptr;
}

/// An animation placed on a media item or a caption piece.
struct PlacedAnimationFile {
  std::string path;    ///< native path of the animation's config.json
  int type = 0;        ///< 0 in, 1 out, 2 loop
  int64_t startUs = 0; ///< from the item's start
  int64_t durationUs = 0;
  int64_t cycleUs = 0; ///< a loop's cycle (0: the animation's own length)
};

/// A pair of times as an API call sets it, microseconds; `set` tells a pair
/// of zeros apart from a call never made.
struct UsPair {
  bool set = false;
  int64_t first = 0, second = 0;
};

/// What the API has set on a media item, one typed member per setter; the
/// export reads it when it builds the item (render/media_source.cpp for time,
/// placement and sound, render/item_look.cpp for everything drawn).
struct MediaAttributes {
  UsPair timeline;              ///< start in the scene, duration (0: to the scene's end)
  UsPair cut;                   ///< trim in and out of the source
  float crop[4] = {0, 0, 0, 0}; ///< source share (l, t, r, b); all zero: the whole source
  float show[4] = {0, 0, 0, 0}; ///< canvas share (l, t, r, b); all zero: the whole canvas
  int flip = ORMA_FLIP_NONE;    ///< an OrmaFlip: the sum of the mirrors
  int angle = 0;                ///< degrees
  double opacity = 1.0;
  double speed = 1.0;
  double volume = 1.0;
  UsPair audioFade; ///< fade in, fade out
  int audioEffect = 0, audioNsLevel = 0;
  int displayMode = ORMA_DISPLAY_PLAIN; ///< ORMA_DISPLAY_BLURRED: the blur is shown
  int blendMode = ORMA_BLEND_NORMAL;
  int brightness = 0, contrast = 0, saturation = 0, whiteBalance = 0, tint = 0, highlight = 0, shadows = 0,
      lightSensation = 0, fade = 0, sharpness = 0, vignette = 0, graininess = 0;
  int beautyBlur = 0, beautyBright = 0, beautyTone = 0, bigEye = 0, thinFace = 0;
  std::string lutPath; ///< native path; drawn when lutIntensity > 0
  double lutIntensity = 0.0;
  std::optional<OrmaBlurBlock> blur;
  bool chromaKeyEnabled = false;
  int32_t chromaKey[7] = {0, 255, 0, 0, 0, 0, 0}; ///< red, green, blue, factor, alpha lower, upper, edge
  std::vector<OrmaKeyFrameBlock> keyFrames;
  std::vector<PlacedAnimationFile> animations;
  std::string maskVideo; ///< native path of a luma matte video, or empty
};

/// What the API has set on a caption piece beyond its block.
struct CaptionItemAttributes {
  std::optional<OrmaStrokeBlock> stroke;
  std::optional<OrmaShadowBlock> shadow;
  bool backgroundEnabled = false;
  std::optional<OrmaCaptionBackgroundBlock> background;
  std::string wordArt; ///< native path of a word-art config.json, or empty
  std::vector<PlacedAnimationFile> animations;
  int64_t animationCycle = 0; ///< cycle of every loop animation of the piece
};

struct Scene;
struct VirtualVideo;

struct Mask;
class SpecialEffect;

struct Media : Handle {
  Media() : Handle(HandleType::Media) {}
  MediaProbe probe;
  MediaAttributes attrs;
  Scene* scene = nullptr;
  std::vector<Mask*> masks; ///< masks from OrmaAddMediaMaskFromConfig, in the order added
  /// The item's own special effects (OrmaSetMediaSpecialEffect), in the
  /// order added, each with the chain read when it was set.
  struct PlacedEffect {
    std::shared_ptr<const SpecialEffect> chain;
    int64_t startUs = 0;    ///< from the item's start, microseconds
    int64_t durationUs = 0; ///< microseconds
  };
  std::vector<PlacedEffect> specialEffects;
  bool animationLeftOut = false; ///< the last animation set could not be read (its cycle goes with it)
};

struct Mask : Handle {
  Mask() : Handle(HandleType::Mask) {}
  Media* media = nullptr;
  std::string configPath;
  OrmaMaskShapeBlock shape{};
  std::vector<OrmaMaskKeyFrameBlock> keyFrames;
};

/// What a transition between two scenes looks like (see docs/resources.md).
struct TransitionStyle {
  std::string kind;      ///< dissolve, wipe, slide, push, zoom, circle, luma
  std::string direction; ///< left, right, up, down (wipe, slide, push)
  bool reverse = false;  ///< zoom out, circle closing, luma inverted
  float softness = 0.0f; ///< 0..1 width of the soft edge
  std::string lumaPath;  ///< luma picture (kind luma)
  std::string source;    ///< the path given to the API
};

enum class BackgroundKind { None, Color, Picture, Blur };

struct Background {
  BackgroundKind kind = BackgroundKind::None;
  float rgba[4] = {0, 0, 0, 0};
  MediaProbe picture;
  float blur = 0.0f; ///< 0..1
};

enum class ElementKind { MainScene, PipScene, Effect, Audio, Caption, Count };

/// Anything placed on the timeline. `level` orders the stacked elements
/// (picture-in-picture scenes, effects, captions and stickers); 0 means "not
/// set", which stacks above every set level, in the order added.
struct Element : Handle {
  Element(HandleType t, ElementKind k) : Handle(t), kind(k) {}
  ElementKind kind;
  int64_t startUs = 0;
  int64_t endUs = 0;
  int32_t level = 0;
  bool underEveryLevel = false; ///< drawn right above the main track, whatever its level
  bool leftOut = false;         ///< an empty span: kept as a handle, never drawn or played
  VirtualVideo* video = nullptr;
  size_t order = 0; ///< position in the video's element list
};

struct Scene : Element {
  explicit Scene(bool pip)
      : Element(HandleType::Scene, pip ? ElementKind::PipScene : ElementKind::MainScene) {}
  std::vector<Media*> media;
  Background background;
  int32_t transitionMode = 0;
  std::optional<TransitionStyle> transition;
  int64_t transitionUs = 0;
};

enum class EffectKind { Mosaic, GaussBlur, DeLogo, Lut, Adjustment, Special };

struct Effect : Element {
  Effect() : Element(HandleType::Effect, ElementKind::Effect) {}
  EffectKind effect = EffectKind::Mosaic;
  float region[4] = {0, 0, 0, 0};
  float intensity = 0.0f;
  std::string path;
  OrmaAdjustmentBlock adjustment{};
  int32_t applyRange = 0;
  std::shared_ptr<const SpecialEffect> special; ///< the chain read when the effect was added
};

struct AudioTrack : Element {
  AudioTrack() : Element(HandleType::Audio, ElementKind::Audio) {}
  MediaProbe probe;
  double volume = 1.0;
  int64_t trimStartUs = 0;
  int64_t trimEndUs = 0;
  int64_t fadeInUs = 0;
  int64_t fadeOutUs = 0;
  double speed = 1.0;
  int32_t effect = 0;
  int32_t nsLevel = 0;
};

struct CaptionItem;
struct CaptionStyle;
struct StickerSheet;

struct Caption : Element {
  Caption() : Element(HandleType::Caption, ElementKind::Caption) {}
  std::string configPath;
  int32_t captionKind = ORMA_CAPTION_STYLED_PIECES; ///< an OrmaCaptionKind
  float opacity = 1.0f;
  OrmaFloatPair center{0.5f, 0.5f};
  OrmaFloatPair size{0.0f, 0.0f};
  float scale = 1.0f;
  float angle = 0.0f;
  std::vector<CaptionItem*> items;
  std::vector<OrmaCaptionKeyFrameBlock> keyFrames;
  std::shared_ptr<const CaptionStyle> style;   ///< kinds 0 and 1 (caption_style.h)
  std::shared_ptr<const StickerSheet> sticker; ///< kind 2 (sticker.h)
};

struct CaptionItem : Handle {
  CaptionItem() : Handle(HandleType::CaptionItem) {}
  Caption* caption = nullptr;
  OrmaCaptionItemBlock block{};
  bool filled = false; ///< a caller has written its parameter block
  CaptionItemAttributes attrs;
};

struct ExportSettings {
  int width = 0;
  int height = 0;
  double fpsValue = 25.0;
  Rational fps{25, 1};
  std::string outPath; ///< native path
  std::string videoCodec = "libx264";
  int videoKbits = 3000;
  int channels = 2;
  int sampleRate = 44100;
  int audioKbits = 128;
  std::string audioCodec; ///< empty: the container's usual one
  int hwDecoder = 0;
  int hwEncoder = 0;
  bool agentProcess = false;
  bool writeVideo = true; ///< false: the sound alone (OrmaSetOutputStreams)
  bool writeSound = true; ///< false: the picture alone
  int64_t limitStartUs = -1;
  int64_t limitEndUs = -1;
};

struct PreviewSettings {
  float displayRatio = 0.0f;
  uint64_t window = 0;
  bool initialised = false;
};

struct VirtualVideo : Handle {
  VirtualVideo() : Handle(HandleType::Video) {}
  ExportSettings settings;
  PreviewSettings preview;
  std::vector<Element*> elements; ///< in the order added
  std::mutex exportMutex;
  std::atomic<int> progress{0};
  std::atomic<int64_t> positionUs{0};
  std::atomic<bool> exporting{false};
  /// Set by OrmaEditCancel: a running export stops at its next frame, one
  /// not yet started does not start. Never cleared; a virtual video whose
  /// export was stopped stays stopped.
  std::atomic<bool> stopRequested{false};
};

/// Length of the timeline built so far: the end of the last scene,
/// picture-in-picture scene, caption or sticker. Music and timeline effects
/// do not lengthen the video.
int64_t TimelineLengthUs(const VirtualVideo& video);

} // namespace orma
