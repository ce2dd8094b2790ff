// In-memory model of a draft: plain, zero-filled records with fixed-size text
// buffers, one singly linked list per element kind. Every record is allocated
// with NewRecord<T>() so that an absent JSON key leaves 0, 0.0 or "".
#pragma once

#include <cstdint>
#include <cstdlib>

struct ColorF {
  float red;   ///< 0..1 as the editor writes it
  float green; ///< 0..1
  float blue;  ///< 0..1
  float alpha; ///< 0..1
};

/// Rectangle stored as edges; the draft writes x, y, width, height.
/// The twelve colour and light levels of a media item, of one of its key
/// frames and of a toning, in the order the records have always held them
/// (twelve floats in a row: the records keep their layout).
struct ColorLevels {
  float vignette;
  float sharpness;
  float saturation;
  float contrast;
  float brightness;
  float whiteBalance;
  float tint;
  float highlight;
  float shadows;
  float graininess;
  float lightSensation;
  float fade;
};
static_assert(sizeof(ColorLevels) == 12 * sizeof(float), "twelve floats, no padding");

struct RectF {
  float left;   ///< normalised canvas units (0..1) unless a field says otherwise
  float top;    ///< same unit as left
  float right;  ///< left + width
  float bottom; ///< top + height
};

struct PointF {
  float x;
  float y;
};

struct SizeF {
  float width;
  float height;
};

/// Padding and offset pairs of a caption background ("cx", "cy").
struct PairF {
  float cx;
  float cy;
};

/// One replaceable media slot ("mediaInfo", or derived from the scenes).
struct MediaInfoEntry {
  char path[1024];
  float timelineFrom;  ///< seconds; 0 for entries derived from scenes
  float timelineTo;    ///< seconds
  int32_t replaceType; ///< 3 marks a fixed item in template themes
  int32_t groupId;
  int32_t width;  ///< pixels; filled by template themes only
  int32_t height; ///< pixels; filled by template themes only
  MediaInfoEntry* next;
};

/// One element of "customAnimations" (media items, stickers) or "animates"
/// (caption pieces).
struct AnimationRecord {
  float cycleDuration; ///< seconds; loop period of type 2
  int32_t type;        ///< 0 in, 1 out, 2 loop
  char networkCategoryId[1024];
  char networkResourceId[1024];
  float duration; ///< seconds
  char folderPath[1024];
  AnimationRecord* next;
};

struct BlurParams {
  float radius;
  int32_t blurType;
  float centerPoint[2]; ///< x, y
  float intensity;
};

/// One element of a media item's "animates".
struct MediaKeyFrame {
  float atTime;       ///< seconds on the item's own time
  ColorLevels levels; ///< the twelve colour and light levels, as written
  float blurIntensity;
  BlurParams* blur; ///< owned; null when the key frame has no "blur"
  RectF cropRect;
  RectF showRect;
  float rotate; ///< degrees
  float fillScale;
  float opacity;
  float type; ///< easing type, kept as a float
  MediaKeyFrame* next;
};

/// Look-up-table filter of a media item.
struct MediaFilter {
  char filterPath[1024];
  int32_t filterType; ///< 11 is the look-up table the export applies
  float filterIntensity;
  char filterNetworkCategoryId[1024];
  char filterNetworkResourceId[1024];
};

struct MaskShape {
  SizeF size;
  float degrees;
  float distance;
  int32_t invert;
  float featherStep;
  float edgeSize;
  ColorF edgeColor;
  PointF centerF;
  PointF topLeft;
  PointF topRight;
  PointF bottomRight;
  PointF bottomLeft;
  float cornerRadius;
};

struct MaskKeyFrame {
  int64_t atTime; ///< the number as written, truncated; whole seconds
  MaskShape shape;
  MaskKeyFrame* next;
};

struct MaskObject {
  char folderPath[1024];
  char maskImagePath[1024];
  MaskShape shape;         ///< read only when there is no "animates"
  MaskKeyFrame* keyFrames; ///< owned list
};

/// Special effect over a span: timeline-wide, or one media item's own.
struct EffectRecord {
  int32_t level;      ///< 1-based place in the array read
  float timelineFrom; ///< seconds
  float timelineTo;   ///< seconds
  int32_t nApplyRange;
  char networkCategoryId[1024];
  char networkResourceId[1024];
  char folderPath[1024];
  EffectRecord* next;
};

/// A placed clip or picture: scene item, overlay media, or the logo.
struct MediaRecord {
  char path[1024];
  int32_t isHorizontalMirror;
  int32_t isVerticalMirror;
  float timelineFrom;  ///< seconds on the timeline
  float timelineTo;    ///< seconds
  float trimTimeStart; ///< seconds into the source
  float trimTimeEnd;   ///< seconds into the source
  int32_t curveSpeedType;
  float audioFadeOutDuration; ///< seconds
  float audioFadeInDuration;  ///< seconds
  int32_t audioFilterType;
  float pitch;
  int32_t denoiseLevel;
  float volume; ///< 1.0 when absent, 0 when muted
  float blurIntensity;
  BlurParams* blur; ///< owned; null when absent
  float beautyBlurIntensity;
  float beautyBrightIntensity;
  float beautyToneIntensity;
  float beautyThinFaceIntensity;
  float beautyBigEyeIntensity;
  float cutoutAlphaLower;
  float cutoutEdgeSize;
  float cutoutAlphaUpper;
  float cutoutFactor;
  ColorF cutoutColor;
  ColorLevels levels; ///< the twelve colour and light levels, as written
  float alpha;        ///< opacity 0..1
  float rotate;       ///< degrees as written
  float blendType;    ///< kept as a float
  RectF cropRect;     ///< normalised source units
  RectF showRect;     ///< normalised canvas units
  float speed;        ///< playback factor; 0 means unset
  int32_t isReverse;
  int32_t reverseType;
  int32_t autoSegment;
  int32_t replaceType;
  int32_t level;
  float transitionDuration; ///< seconds
  AnimationRecord* customAnimations;
  EffectRecord* specialEffects;
  MediaKeyFrame* keyFrames;
  MediaFilter* filter;
  MaskObject* maskObject;
  MediaRecord* next;
};

/// The logo is a media record of which only a few fields are read.
using LogoRecord = MediaRecord;

struct TransitionRecord {
  char folderPath[1024];
  char networkCategoryId[1024];
  char networkResourceId[1024];
  float duration; ///< seconds
  int32_t type;
};

struct BackgroundRecord {
  char imagePath[2048];
  int32_t type;
  ColorF color; ///< as written, no scaling
  float blurIntensity;
};

struct SceneRecord {
  char identifier[1024];
  int32_t isDefault;
  int32_t groupId;
  MediaRecord* media;           ///< owned list
  TransitionRecord* transition; ///< owned; null when absent
  BackgroundRecord* background; ///< owned; null when absent
  SceneRecord* next;
};

/// Text box behind a caption piece. Its 40 bytes are passed to the core
/// library as they are stored, so the layout is fixed.
struct CaptionBackground {
  int32_t type; ///< 1 for "paragraph", else 0
  ColorF color; ///< alpha 1.0 when absent
  float roundFactor;
  PairF padding;
  PairF offset;
};
static_assert(sizeof(CaptionBackground) == 40, "caption background block is 40 bytes");

struct CaptionWord {
  char flowerPath[1024];
  bool isBold;
  int32_t maskType;
  int32_t fontSize; ///< output pixels, rounded half up
  float wordSpacing;
  float lineSpacing;
  char fontPath[1024];
  char text[1024];
  float opacity; ///< 0 when absent
  bool isItalic;
  bool isUnderline;
  RectF showRect; ///< a right or bottom of exactly 0 becomes 1.0
  float shadowBlur;
  float shadowAngle;
  float shadowDistance;
  ColorF shadowColor;
  float strokeWidth;
  ColorF strokeColor;
  bool isVertical;
  float duration;  ///< seconds
  float startTime; ///< seconds
  float flowerCategoryId;
  int32_t textAlignment;
  ColorF textColor;
  ColorF backgroundColor;
  CaptionBackground* background; ///< owned; null when absent
  float angle;
  AnimationRecord* animations; ///< owned list
  CaptionWord* next;
};

struct CaptionTextLine {
  char text[1024];
  CaptionTextLine* next;
};

struct CaptionKeyFrame {
  int64_t atTime; ///< microseconds
  float rotate;
  RectF showRect;
  float alpha;
  float scale;
  CaptionKeyFrame* next;
};

struct CaptionRecord {
  int32_t level;
  float timelineFrom; ///< seconds
  float timelineTo;   ///< seconds
  bool isEnableTracking;
  char identifier[1024];
  char folderPath[1024];
  char networkCategoryId[1024];
  char networkResourceId[1024];
  int32_t groupId;
  float opacity; ///< 1.0 when absent
  RectF showRect;
  bool flipX;
  bool flipY;
  float scale;                ///< 1.0 when absent
  float angle;                ///< degrees
  CaptionWord* words;         ///< kind 0 only
  CaptionTextLine* content;   ///< kind 1 only
  CaptionKeyFrame* keyFrames; ///< both kinds
  int32_t kind;               ///< 0 styled pieces, 1 template text lines
  SizeF previewSize;          ///< editor preview size in pixels
  CaptionRecord* next;
};

struct StickerRecord {
  int32_t level;
  char networkCategoryId[1024];
  char networkResourceId[1024];
  char imageFolderPath[1024];
  int32_t isHorizontalMirror;
  int32_t isEnableTracking;
  int32_t isVerticalMirror;
  float timelineFrom; ///< seconds
  float timelineTo;   ///< seconds
  float opacity;      ///< 0 when absent
  float scale;        ///< 0 when absent
  int32_t blendType;
  SizeF size;
  PointF center;
  float angle; ///< degrees
  AnimationRecord* customAnimations;
  StickerRecord* next;
};

struct ToningRecord {
  int32_t level;
  float timelineFrom; ///< seconds
  float timelineTo;   ///< seconds
  float tag;
  ColorLevels levels; ///< the twelve colour and light levels, as written
  ToningRecord* next;
};

struct FilterRecord {
  int32_t level;
  float timelineFrom; ///< seconds
  float timelineTo;   ///< seconds
  float lookUpFilterIntensity;
  char name[2048];
  char lookUpFilterPath[2048];
  char networkCategoryId[1024];
  char networkResourceId[1024];
  int32_t tag;
  FilterRecord* next;
};

struct MosaicRecord {
  int32_t level;      ///< only set by the renumbering without "pipList"
  float timelineFrom; ///< seconds
  float timelineTo;   ///< seconds
  float intensity;
  int32_t type; ///< 0 mosaic, 1 Gaussian blur, 2 delogo
  PointF points[4];
  MosaicRecord* next;
};

struct OverlayRecord {
  int32_t level;
  float timelineFrom; ///< seconds
  float timelineTo;   ///< seconds
  char identifier[1024];
  int32_t groupId;
  float fRailLevelY;
  MediaRecord* media; ///< list of at most one record
  OverlayRecord* next;
};

struct AudioTrackRecord {
  char path[1024];
  char name[1024];
  int32_t isFadeInOut;
  float timelineFrom;  ///< seconds
  float timelineTo;    ///< seconds
  float trimTimeStart; ///< seconds
  float trimTimeEnd;   ///< seconds
  float denoiseLevel;
  float volume; ///< 0 when absent
  float speed;
  float pitch;
  float speedHoldPitch;
  float audioFilterType;
  float fadeInDuration;  ///< seconds
  float fadeOutDuration; ///< seconds
  char captionIdentifier[1024];
  int32_t curveSpeedType;
  char type[1024];
  int32_t tts_id;
  char tts_name[1024];
  char emotion_code[1024];
  AudioTrackRecord* next;
};

/// The preview request of a preview run (preview/preview_command.h); the
/// document only points to it.
struct PreviewCommand;

struct DraftDocument {
  int32_t ver;
  char name[1024];
  char draftPath[1024];  ///< the working copy once loading has finished
  char exportPath[1024]; ///< export settings file, set by the driver
  char outputPath[1024]; ///< video to write from a theme request
  char description[1024];
  int64_t creationTime;
  char cover[1024];
  char coverPath[1024];
  char resourceDir[1024];
  int32_t picture_need;
  int32_t video_need;
  int32_t text_need;
  int32_t draft;
  float duration; ///< seconds, whole (integer view)
  float width;    ///< canvas pixels
  float height;   ///< canvas pixels
  float videoW;   ///< output width override; 0 when not given
  float videoH;   ///< output height override; 0 when not given
  int32_t isHasEndScene;
  int32_t previewMode;
  uint64_t previewWindow;
  int64_t exportStart; ///< microseconds
  int64_t exportEnd;   ///< microseconds
  int32_t pipCount;
  MediaInfoEntry* mediaInfo;
  SceneRecord* scenes;
  OverlayRecord* overlays;
  StickerRecord* stickers;
  CaptionRecord* captions;
  EffectRecord* specialEffects;
  MosaicRecord* mosaics;
  FilterRecord* customFilters;
  ToningRecord* tonings;
  AudioTrackRecord* musics;
  AudioTrackRecord* soundEffects;
  LogoRecord* logo;
  PreviewCommand* previewCommand; ///< not owned
  /// Set by loadDraft: the element records were allocated by the reader, so
  /// the export may release them once the core library has them.
  int32_t ownsRecords;
  /// Milliseconds of the monotonic clock (platform::TickCount64) when the
  /// run started, set by the driver: the export's progress lines count from it.
  uint64_t startTicks;
};

/// Zero-filled allocation, as every record of the model expects.
template <typename T> T* NewRecord() { return static_cast<T*>(std::calloc(1, sizeof(T))); }

/// Appends zero-filled nodes at the tail of a singly linked list in O(1).
template <typename T> class ListTail {
public:
  explicit ListTail(T** head) : slot_(head) {
    while (*slot_)
      slot_ = &(*slot_)->next;
  }
  T* Append() {
    T* node = NewRecord<T>();
    if (!node) return nullptr;
    *slot_ = node;
    slot_ = &node->next;
    return node;
  }

private:
  T** slot_;
};
