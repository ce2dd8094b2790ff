/*
 * Flat C API of the core video-editing library (OrmaCore).
 *
 * The program builds a timeline through these calls and the library renders
 * it. Conventions:
 *  - Every int32 status is success when 1 or more, failure otherwise.
 *  - Handles are opaque pointers owned by the library; null means failure.
 *    A picture-in-picture scene is a scene handle, and an effect-like handle
 *    (look-up filter, adjustment, special effect, PIP scene) accepts
 *    OrmaUpdateEffectLevel.
 *  - Times are signed 64-bit microseconds; texts are UTF-8.
 *  - Parameter blocks are packed little-endian structures exchanged byte for
 *    byte; their sizes and the offsets the program relies on are checked
 *    below.
 */
#ifndef ORMA_CORE_H
#define ORMA_CORE_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#if defined(ORMA_CORE_BUILD)
#define ORMA_API __declspec(dllexport)
#else
#define ORMA_API __declspec(dllimport)
#endif
#else
#define ORMA_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Each handle kind is a pointer to its own incomplete struct: the same
 * pointer at the boundary as a void*, but a C++ compiler (and a C compiler's
 * warning) refuses a scene handle where a media handle belongs. The structs
 * are never defined; the library casts the pointer to its own object. */
typedef struct OrmaVideo_* OrmaVideoHandle;             /* virtual video: timeline and output */
typedef struct OrmaScene_* OrmaSceneHandle;             /* main-track scene or picture-in-picture scene */
typedef struct OrmaMedia_* OrmaMediaHandle;             /* clip or picture placed in a scene */
typedef struct OrmaEffect_* OrmaEffectHandle;           /* timeline-wide effect over a span */
typedef struct OrmaAudio_* OrmaAudioHandle;             /* music or sound effect */
typedef struct OrmaCaption_* OrmaCaptionHandle;         /* caption or sticker */
typedef struct OrmaCaptionItem_* OrmaCaptionItemHandle; /* one text item of a caption */
typedef struct OrmaMask_* OrmaMaskHandle;               /* mask of a media item */

/* The library's results. A status call returns ORMA_OK (or, where it says
 * so, a count) on success and one of the failures below otherwise, with one
 * log line naming the cause (OrmaGetLastError). The calls keep their int32_t
 * results; these names say what each number means. */
enum OrmaResult {
  ORMA_OK = 1,
  /* Any call. */
  ORMA_BAD_HANDLE = -1,   /* null, unknown or wrong kind of handle */
  ORMA_BAD_ARGUMENT = -2, /* a value out of range or a null block */
  ORMA_BAD_FILE = -3,     /* a file that is missing, unreadable or undecodable */
  ORMA_BAD_STATE = -4,    /* a call out of order (scene not added, export running ...) */
  /* OrmaEditMedia (and the preview calls, for the timeline's failures). */
  ORMA_NO_FRAME_SIZE = -20,
  ORMA_NO_OUTPUT_PATH = -21,
  ORMA_UNKNOWN_CONTAINER = -22,
  ORMA_UNKNOWN_VIDEO_ENCODER = -23,
  ORMA_UNKNOWN_AUDIO_ENCODER = -24,
  ORMA_OUTPUT_NOT_WRITABLE = -25,
  ORMA_FRAMEWORK_UNAVAILABLE = -26,
  ORMA_TIMELINE_INVALID = -27,
  ORMA_TIMELINE_EMPTY = -28,
  ORMA_LIMIT_SELECTS_NOTHING = -29,
  ORMA_MEDIA_FAILED = -30,
  ORMA_ENCODING_FAILED = -31,
  ORMA_CANNOT_PLACE_OUTPUT = -32,
  ORMA_EXPORT_BUSY = -33,
  ORMA_EXPORT_STOPPED = -34, /* stopped by OrmaEditCancel */
  ORMA_ENCODER_DOES_NOT_FIT_CONTAINER = -35,
  /* The preview calls. */
  ORMA_NO_PREVIEW_WINDOW = -40,       /* no window was given */
  ORMA_PREVIEW_WINDOW_UNUSABLE = -41, /* no X display, no such window, or one that cannot be drawn into */
  ORMA_PREVIEW_RUNNING = -42,         /* this video is already playing */
  ORMA_PREVIEW_NOT_RUNNING = -43      /* a control call without a preview playing */
};

/* Named values of the integer modes and kinds the calls and blocks take. The
 * calls keep their int32_t parameters (the values cross the boundary as
 * plain numbers); these names say what each number means. */

/* OrmaCreateCaptionFromConfigure: what the folder's config.json describes. */
enum OrmaCaptionKind {
  ORMA_CAPTION_STYLED_PIECES = 0,  /* a style whose pieces the program fills */
  ORMA_CAPTION_TEMPLATE_LINES = 1, /* a template of plain text lines */
  ORMA_CAPTION_STICKER = 2         /* an animated sticker's frames */
};

/* OrmaSetMediaFlip: the sum of the mirrors wanted. */
enum OrmaFlip { ORMA_FLIP_NONE = 0, ORMA_FLIP_HORIZONTAL = 1, ORMA_FLIP_VERTICAL = 2, ORMA_FLIP_BOTH = 3 };

/* OrmaSetMediaDisplayMode: whether the item is drawn through its blur block. */
enum OrmaDisplayMode { ORMA_DISPLAY_PLAIN = 0, ORMA_DISPLAY_BLURRED = 1 };

/* OrmaSetSceneTransitionMode: the one mode, a transition centred on the cut. */
enum OrmaTransitionMode { ORMA_TRANSITION_CENTRED = 3 };

/* The type of OrmaSetMediaAnimation and OrmaSetCaptionItemAnimation. */
enum OrmaAnimationType { ORMA_ANIMATION_IN = 0, ORMA_ANIMATION_OUT = 1, ORMA_ANIMATION_LOOP = 2 };

/* OrmaBlurBlock.blurType. */
enum OrmaBlurType { ORMA_BLUR_GAUSSIAN = 0, ORMA_BLUR_RADIAL = 1, ORMA_BLUR_MOTION = 2 };

/* OrmaSetMediaAudioEffect and OrmaSetAudioMediaEffect: the voice effect. */
enum OrmaVoiceEffect {
  ORMA_VOICE_NONE = 0,
  ORMA_VOICE_ECHO = 1,
  ORMA_VOICE_ROBOT = 2,
  ORMA_VOICE_CHIPMUNK = 3,
  ORMA_VOICE_DEEP = 4,
  ORMA_VOICE_TELEPHONE = 5,
  ORMA_VOICE_REVERB = 6,
  ORMA_VOICE_MEGAPHONE = 7,
  ORMA_VOICE_UNDERWATER = 8
};

/* OrmaSetMediaBlendMode: how the item mixes with what is below it. */
enum OrmaBlendMode {
  ORMA_BLEND_NORMAL = 0,
  ORMA_BLEND_CUT_OUT = 1, /* normal, with the chroma key of OrmaSetMediaChromaKey */
  ORMA_BLEND_MULTIPLY = 2,
  ORMA_BLEND_SCREEN = 3,
  ORMA_BLEND_OVERLAY = 4,
  ORMA_BLEND_DARKEN = 5,
  ORMA_BLEND_LIGHTEN = 6,
  ORMA_BLEND_COLOR_DODGE = 7,
  ORMA_BLEND_COLOR_BURN = 8,
  ORMA_BLEND_SOFT_LIGHT = 9,
  ORMA_BLEND_HARD_LIGHT = 10,
  ORMA_BLEND_DIFFERENCE = 11,
  ORMA_BLEND_EXCLUSION = 12,
  ORMA_BLEND_ADD = 13,
  ORMA_BLEND_SUBTRACT = 14
};

/* OrmaCaptionBackgroundBlock.type. */
enum OrmaCaptionBoxType { ORMA_CAPTION_BOX_PER_LINE = 0, ORMA_CAPTION_BOX_PARAGRAPH = 1 };

#pragma pack(push, 1)

/* Blur of a media item or of a key frame. */
typedef struct OrmaBlurBlock {
  int32_t blurType; /* 0 Gaussian, 1 radial (zoom), 2 motion; see docs/engine.md */
  float intensity;  /* 0..1 */
  float centerX;    /* normalised 0..1 */
  float centerY;    /* normalised 0..1 */
  float radius;     /* normalised 0..1 of the frame's shorter side */
  uint8_t reserved[4096];
} OrmaBlurBlock;

/* One key frame of a media item; rectangles in canvas pixels. */
typedef struct OrmaKeyFrameBlock {
  int64_t atTimeUs;       /* on the item's own time */
  float rotate;           /* degrees */
  float showRect[4];      /* left, top, right, bottom in canvas pixels */
  float cropRect[4];      /* left, top, right, bottom in canvas pixels */
  float opacity;          /* 0..1 */
  int32_t brightness;     /* -255..255 */
  int32_t contrast;       /* -100..100 */
  int32_t saturation;     /* -100..100 */
  int32_t whiteBalance;   /* -100..100 */
  int32_t sharpness;      /* 0..100 */
  int32_t vignette;       /* 0..100 */
  int32_t reserved72;     /* always 0 */
  int32_t tint;           /* -100..100 */
  int32_t shadows;        /* -100..100 */
  int32_t graininess;     /* 0..100 */
  int32_t highlight;      /* -100..100 */
  int32_t lightSensation; /* -100..100 */
  int32_t fade;           /* 0..100 */
  OrmaBlurBlock blur;     /* all zero: no blur */
  uint8_t reserved4216[8];
  int32_t type; /* easing from the previous key frame: 0 linear, see docs/engine.md */
} OrmaKeyFrameBlock;

/* Shape of a mask, as the draft writes it (normalised units). */
typedef struct OrmaMaskShapeBlock {
  float width;
  float height;
  float degrees;
  float distance;
  int32_t invert;
  float featherStep;
  float edgeSize;
  float edgeColor[4]; /* red, green, blue, alpha 0..1 */
  float centerX;
  float centerY;
  float topLeft[2];
  float topRight[2];
  float bottomRight[2];
  float bottomLeft[2];
  float cornerRadius;
} OrmaMaskShapeBlock;

typedef struct OrmaMaskKeyFrameBlock {
  int64_t atTimeUs;
  OrmaMaskShapeBlock shape;
} OrmaMaskKeyFrameBlock;

/* Timeline-wide picture adjustment ("toning"). Levels as for media items. */
typedef struct OrmaAdjustmentBlock {
  float brightness;     /* -255..255 */
  float saturation;     /* -100..100 */
  float contrast;       /* -100..100 */
  float vignette;       /* 0..100 */
  float sharpness;      /* 0..100 */
  float whiteBalance;   /* -100..100 */
  float tint;           /* -100..100 */
  float shadows;        /* -100..100 */
  float graininess;     /* 0..100 */
  float highlight;      /* -100..100 */
  float lightSensation; /* -100..100 */
  float fade;           /* 0..100 */
  float reserved[8];
  int32_t flags; /* 0 */
} OrmaAdjustmentBlock;

/* Pair of floats passed by value: position (x, y) or size (width, height). */
typedef struct OrmaFloatPair {
  float first;
  float second;
} OrmaFloatPair;

/* One text item of a caption (obtained from and returned to the library). */
typedef struct OrmaCaptionItemBlock {
  int64_t startUs;          /* 0:  piece start on the caption's own time */
  int64_t endUs;            /* 8:  piece end */
  int32_t fontSize;         /* 16: output pixels */
  int32_t textAlignment;    /* 20: 0 left, 1 centre, 2 right */
  int32_t isItalic;         /* 24 */
  int32_t isUnderline;      /* 28 */
  char text[2048];          /* 32: UTF-8, zero-terminated */
  float centerX;            /* 2080: normalised canvas units */
  float centerY;            /* 2084 */
  float width;              /* 2088 */
  float height;             /* 2092 */
  int32_t isVertical;       /* 2096 */
  float opacity;            /* 2100: 0..1 */
  float angle;              /* 2104: degrees */
  int32_t maskType;         /* 2108 */
  char fontFamily[1024];    /* 2112: family name, UTF-8 */
  char fontFile[1024];      /* 3136: font file path, UTF-8 */
  float textColor[4];       /* 4160: red, green, blue, alpha 0..1 */
  float backgroundColor[4]; /* 4176 */
  float ktvColor[4];        /* 4192: karaoke highlight */
  int32_t hasKtvColor;      /* 4208 */
  float textPadding[4];     /* 4212: left, top, right, bottom in style pixels */
  int32_t styleWidth;       /* 4228: style box in style pixels */
  int32_t styleHeight;      /* 4232 */
  float stretchability;     /* 4236 */
  float textWidth;          /* 4240: text box in style pixels */
  float textHeight;         /* 4244 */
  float margins[4];         /* 4248: text box margins relative to the style box */
  int32_t vertical;         /* 4264: style's "vertical" */
  int32_t hasVertical;      /* 4268 */
  uint8_t reserved4272[920];
  float lineSpacing; /* 5192 */
  float wordSpacing; /* 5196 */
  int32_t isBold;    /* 5200 */
  uint8_t reserved5204[92];
} OrmaCaptionItemBlock;

typedef struct OrmaStrokeBlock {
  float width;    /* output pixels */
  float color[4]; /* red, green, blue, alpha 0..1 */
} OrmaStrokeBlock;

typedef struct OrmaShadowBlock {
  float blur;     /* output pixels */
  float angle;    /* degrees */
  float distance; /* output pixels */
  float color[4]; /* red, green, blue, alpha 0..1 */
} OrmaShadowBlock;

typedef struct OrmaCaptionBackgroundBlock {
  int32_t type; /* 1 paragraph box, 0 per line */
  float color[4];
  float roundFactor;
  float padding[2];
  float offset[2];
} OrmaCaptionBackgroundBlock;

typedef struct OrmaCaptionKeyFrameBlock {
  int64_t atTimeUs;
  float rotate;
  float showRect[4]; /* canvas pixels */
  float alpha;
  float scale;
  uint8_t reserved[4];
} OrmaCaptionKeyFrameBlock;

/* Stream properties reported by OrmaGetMediaInfoLite. */
typedef struct OrmaMediaPropertyBlock {
  char name[128];     /* codec name; empty for a still picture's video block */
  int32_t width;      /* pixels; 0 for audio */
  int32_t height;     /* pixels */
  double frameRate;   /* frames per second; 0 for stills and audio */
  int32_t sampleRate; /* Hz; audio only */
  int32_t channels;   /* audio only */
  int32_t present;    /* 1 when the stream exists */
  uint8_t reserved[108];
} OrmaMediaPropertyBlock;

/* Versions of the library and of the frameworks it runs on (OrmaGetVersions).
 * Each text is NUL-terminated; an empty text means "not known". */
typedef struct OrmaVersionBlock {
  char core[32];        /* the library's own version, e.g. "0.9.0" */
  char mlt[32];         /* MLT as it reports itself at run time */
  char ffmpeg[64];      /* the FFmpeg release the libraries come from */
  char libavformat[16]; /* "major.minor.micro" of the loaded libavformat */
  char libavcodec[16];  /* and of the loaded libavcodec */
} OrmaVersionBlock;

#pragma pack(pop)

#ifdef __cplusplus
#define ORMA_STATIC_ASSERT(c, m) static_assert(c, m)
#else
#define ORMA_STATIC_ASSERT(c, m) _Static_assert(c, m)
#endif
ORMA_STATIC_ASSERT(sizeof(OrmaBlurBlock) == 4116, "BlurBlock is 4116 bytes");
ORMA_STATIC_ASSERT(offsetof(OrmaBlurBlock, intensity) == 4, "blur intensity at 4");
ORMA_STATIC_ASSERT(offsetof(OrmaBlurBlock, centerX) == 8, "blur centre at 8");
ORMA_STATIC_ASSERT(offsetof(OrmaBlurBlock, radius) == 16, "blur radius at 16");
ORMA_STATIC_ASSERT(sizeof(OrmaKeyFrameBlock) == 4228, "KeyFrameBlock is 4228 bytes");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, rotate) == 8, "rotate at 8");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, showRect) == 12, "show rect at 12");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, cropRect) == 28, "crop rect at 28");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, opacity) == 44, "opacity at 44");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, brightness) == 48, "brightness at 48");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, contrast) == 52, "contrast at 52");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, saturation) == 56, "saturation at 56");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, whiteBalance) == 60, "white balance at 60");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, sharpness) == 64, "sharpness at 64");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, vignette) == 68, "vignette at 68");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, reserved72) == 72, "zero at 72");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, tint) == 76, "tint at 76");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, shadows) == 80, "shadows at 80");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, graininess) == 84, "graininess at 84");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, highlight) == 88, "highlight at 88");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, lightSensation) == 92, "light sensation at 92");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, fade) == 96, "fade at 96");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, blur) == 100, "blur block at 100");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, reserved4216) == 4216, "zero at 4216");
ORMA_STATIC_ASSERT(offsetof(OrmaKeyFrameBlock, type) == 4224, "type at 4224");
ORMA_STATIC_ASSERT(sizeof(OrmaMaskShapeBlock) == 88, "MaskShapeBlock is 88 bytes");
ORMA_STATIC_ASSERT(offsetof(OrmaMaskShapeBlock, invert) == 16, "invert at 16");
ORMA_STATIC_ASSERT(offsetof(OrmaMaskShapeBlock, edgeColor) == 28, "edge colour at 28");
ORMA_STATIC_ASSERT(offsetof(OrmaMaskShapeBlock, centerX) == 44, "centre at 44");
ORMA_STATIC_ASSERT(offsetof(OrmaMaskShapeBlock, topLeft) == 52, "top left at 52");
ORMA_STATIC_ASSERT(offsetof(OrmaMaskShapeBlock, topRight) == 60, "top right at 60");
ORMA_STATIC_ASSERT(offsetof(OrmaMaskShapeBlock, bottomRight) == 68, "bottom right at 68");
ORMA_STATIC_ASSERT(offsetof(OrmaMaskShapeBlock, bottomLeft) == 76, "bottom left at 76");
ORMA_STATIC_ASSERT(offsetof(OrmaMaskShapeBlock, cornerRadius) == 84, "corner radius at 84");
ORMA_STATIC_ASSERT(sizeof(OrmaMaskKeyFrameBlock) == 96, "MaskKeyFrameBlock is 96 bytes");
ORMA_STATIC_ASSERT(offsetof(OrmaMaskKeyFrameBlock, shape) == 8, "mask shape at 8");
ORMA_STATIC_ASSERT(sizeof(OrmaAdjustmentBlock) == 84, "adjustment block: 20 floats and an int");
ORMA_STATIC_ASSERT(offsetof(OrmaAdjustmentBlock, flags) == 80, "adjustment flags at 80");
ORMA_STATIC_ASSERT(sizeof(OrmaFloatPair) == 8, "float pair is 8 bytes");
ORMA_STATIC_ASSERT(sizeof(OrmaCaptionItemBlock) == 5296, "caption item block is 5296 bytes");
ORMA_STATIC_ASSERT(offsetof(OrmaCaptionItemBlock, endUs) == 8, "item end at 8");
ORMA_STATIC_ASSERT(offsetof(OrmaCaptionItemBlock, text) == 32, "item text at 32");
ORMA_STATIC_ASSERT(offsetof(OrmaCaptionItemBlock, centerX) == 2080, "item centre x at 2080");
ORMA_STATIC_ASSERT(offsetof(OrmaCaptionItemBlock, centerY) == 2084, "item centre y at 2084");
ORMA_STATIC_ASSERT(offsetof(OrmaCaptionItemBlock, width) == 2088, "item width at 2088");
ORMA_STATIC_ASSERT(offsetof(OrmaCaptionItemBlock, height) == 2092, "item height at 2092");
ORMA_STATIC_ASSERT(offsetof(OrmaCaptionItemBlock, fontFamily) == 2112, "font family at 2112");
ORMA_STATIC_ASSERT(offsetof(OrmaCaptionItemBlock, fontFile) == 3136, "font file at 3136");
ORMA_STATIC_ASSERT(offsetof(OrmaCaptionItemBlock, lineSpacing) == 5192, "line spacing at 5192");
ORMA_STATIC_ASSERT(offsetof(OrmaCaptionItemBlock, wordSpacing) == 5196, "word spacing at 5196");
ORMA_STATIC_ASSERT(offsetof(OrmaCaptionItemBlock, isBold) == 5200, "bold at 5200");
ORMA_STATIC_ASSERT(sizeof(OrmaCaptionKeyFrameBlock) == 40, "caption key frame is 40 bytes");
ORMA_STATIC_ASSERT(offsetof(OrmaCaptionKeyFrameBlock, rotate) == 8, "caption key frame rotate at 8");
ORMA_STATIC_ASSERT(offsetof(OrmaCaptionKeyFrameBlock, showRect) == 12, "caption key frame rect at 12");
ORMA_STATIC_ASSERT(offsetof(OrmaCaptionKeyFrameBlock, alpha) == 28, "caption key frame alpha at 28");
ORMA_STATIC_ASSERT(offsetof(OrmaCaptionKeyFrameBlock, scale) == 32, "caption key frame scale at 32");
ORMA_STATIC_ASSERT(sizeof(OrmaCaptionBackgroundBlock) == 40, "caption background is 40 bytes");
ORMA_STATIC_ASSERT(sizeof(OrmaMediaPropertyBlock) == 264, "media property block is 264 bytes");
ORMA_STATIC_ASSERT(sizeof(OrmaVersionBlock) == 160, "version block is 160 bytes");

/* ---- Virtual video and output settings ---- */
ORMA_API OrmaVideoHandle OrmaVirtualVideoCreate(void);
ORMA_API int32_t OrmaSetFrameSize(OrmaVideoHandle vv, int32_t width, int32_t height);
ORMA_API int32_t OrmaSetOutPath(OrmaVideoHandle vv, const char* path);
ORMA_API int32_t OrmaSetVideoCodec(OrmaVideoHandle vv, const char* name);
ORMA_API int32_t OrmaSetFPS(OrmaVideoHandle vv, double fps);
ORMA_API int32_t OrmaSetVideoBitrate(OrmaVideoHandle vv, int32_t kbits);
ORMA_API int32_t OrmaSetAudioChannels(OrmaVideoHandle vv, int32_t channels);
ORMA_API int32_t OrmaSetAudioSamples(OrmaVideoHandle vv, int32_t sampleRate);
ORMA_API int32_t OrmaSetAudioBitrate(OrmaVideoHandle vv, int32_t kbits);
ORMA_API int32_t OrmaSetAudioCodec(OrmaVideoHandle vv, const char* name);
ORMA_API int32_t OrmaEnableHWDecoder(OrmaVideoHandle vv, int32_t mode);
ORMA_API int32_t OrmaEnableHWEncoder(OrmaVideoHandle vv, int32_t mode);
/* Which streams the export writes: ORMA_STREAMS_BOTH (the default), or the
 * picture or the sound alone, so that a long timeline can be rendered as
 * picture ranges and one sound pass and joined without re-encoding. */
#define ORMA_STREAMS_VIDEO 1
#define ORMA_STREAMS_SOUND 2
#define ORMA_STREAMS_BOTH 3
ORMA_API int32_t OrmaSetOutputStreams(OrmaVideoHandle vv, int32_t streams);

/* ---- Scenes, media, backgrounds, transitions ---- */
ORMA_API OrmaSceneHandle OrmaCreateScene(int64_t startUs, int64_t endUs);
ORMA_API OrmaSceneHandle OrmaCreatePIPScene(int64_t startUs, int64_t endUs);
ORMA_API int32_t OrmaAddScene(OrmaVideoHandle vv, OrmaSceneHandle scene);
ORMA_API OrmaMediaHandle OrmaSceneCreateMedia(const char* path);
ORMA_API int32_t OrmaSceneAddMediaHandle(OrmaSceneHandle scene, OrmaMediaHandle media);
ORMA_API int32_t OrmaSetSceneBackGroundImage(OrmaSceneHandle scene, const char* path);
ORMA_API int32_t OrmaSetSceneBackGroundColor(OrmaSceneHandle scene, const float* rgba);
ORMA_API int32_t OrmaSetSceneBackGroundGaussBlur(OrmaSceneHandle scene, float intensity);
ORMA_API int32_t OrmaSetSceneTransitionMode(OrmaVideoHandle vv, OrmaSceneHandle scene, int32_t mode);
ORMA_API int32_t OrmaSetSceneTransition(OrmaVideoHandle vv, OrmaSceneHandle scene, const char* path,
                                        int64_t durationUs);

/* ---- Media attributes ---- */
ORMA_API int32_t OrmaSetMediaFlip(OrmaMediaHandle media, int32_t mode);
ORMA_API int32_t OrmaSetMediaTimeLine(OrmaMediaHandle media, int64_t startUs, int64_t durationUs);
ORMA_API int32_t OrmaSetMediaCutTime(OrmaMediaHandle media, int64_t trimStartUs, int64_t trimEndUs);
ORMA_API int32_t OrmaSetMediaAudioFactor(OrmaMediaHandle media, float volume);
ORMA_API int32_t OrmaSetMediaAudioFadeTime(OrmaMediaHandle media, int64_t fadeInUs, int64_t fadeOutUs);
ORMA_API int32_t OrmaSetMediaAudioEffect(OrmaMediaHandle media, int32_t type);
ORMA_API int32_t OrmaSetMediaAudioNsLevel(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaLUT(OrmaMediaHandle media, const char* path, float intensity);
ORMA_API int32_t OrmaSetMediaDisplayMode(OrmaMediaHandle media, int32_t mode);
ORMA_API int32_t OrmaSetMediaBlur(OrmaMediaHandle media, const OrmaBlurBlock* blur);
ORMA_API int32_t OrmaSetMediaBeautyBlurIntensity(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaBeautyBrightIntensity(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaBeautyToneIntensity(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaBigEyeIntensity(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaThinFaceIntensity(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaGetMediaFaceCount(OrmaMediaHandle media, int32_t* count);
ORMA_API int32_t OrmaSetMediaVignette(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaSharp(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaSaturation(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaContrast(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaBright(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaWhiteBalance(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaTint(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaHighlight(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaShadow(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaGraininess(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaLightSensation(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaFade(OrmaMediaHandle media, int32_t level);
ORMA_API int32_t OrmaSetMediaTransparency(OrmaMediaHandle media, double opacity);
ORMA_API int32_t OrmaSetMediaAnimationAngle(OrmaMediaHandle media, int32_t degrees);
ORMA_API int32_t OrmaSetMediaBlendMode(OrmaMediaHandle media, int32_t mode);
ORMA_API int32_t OrmaSetMediaClip(OrmaMediaHandle media, const float* rect);
ORMA_API int32_t OrmaSetMediaShowRect(OrmaMediaHandle media, const float* rect);
ORMA_API int32_t OrmaSetMediaPlaySpeed(OrmaMediaHandle media, double speed);
ORMA_API int32_t OrmaSetMediaAnimation(OrmaMediaHandle media, const char* configPath, int32_t type,
                                       int64_t startUs, int64_t durationUs);
ORMA_API int32_t OrmaSetMediaAnimationCycleDuration(OrmaMediaHandle media, int64_t cycleUs);
ORMA_API int64_t OrmaMediaAddKeyFrameAnimation(OrmaMediaHandle media, const OrmaKeyFrameBlock* frame);
ORMA_API int32_t OrmaSetMediaMaskVideo(OrmaMediaHandle media, const char* path);
ORMA_API OrmaMaskHandle OrmaAddMediaMaskFromConfig(OrmaMediaHandle media, const char* configPath);
ORMA_API int64_t OrmaMediaAddMaskKeyFrameAnimation(OrmaMediaHandle media, OrmaMaskHandle mask,
                                                   const OrmaMaskKeyFrameBlock* frame);
ORMA_API int32_t OrmaUpdateMediaMaskParam(OrmaMediaHandle media, OrmaMaskHandle mask,
                                          const OrmaMaskShapeBlock* shape);
ORMA_API int32_t OrmaSetMediaChromaKey(OrmaMediaHandle media, int32_t enable, int32_t red, int32_t green,
                                       int32_t blue, int32_t factor, int32_t alphaLower, int32_t alphaUpper,
                                       int32_t edgeSize);
ORMA_API int32_t OrmaSetMediaSpecialEffect(OrmaMediaHandle media, const char* configPath, int64_t startUs,
                                           int64_t durationUs);

/* ---- Timeline-wide effects ---- */
ORMA_API OrmaEffectHandle OrmaAddMosaic(OrmaVideoHandle vv, const float* region, float intensity,
                                        int64_t fromUs, int64_t toUs);
ORMA_API OrmaEffectHandle OrmaAddGaussBlur(OrmaVideoHandle vv, const float* region, float intensity,
                                           int64_t fromUs, int64_t toUs);
ORMA_API OrmaEffectHandle OrmaAddDeLogo(OrmaVideoHandle vv, const float* region, int64_t fromUs,
                                        int64_t toUs);
ORMA_API OrmaEffectHandle OrmaAddLUT(OrmaVideoHandle vv, const char* path, float intensity, int64_t fromUs,
                                     int64_t toUs);
ORMA_API OrmaEffectHandle OrmaAddFilterAdjustment(OrmaVideoHandle vv, const OrmaAdjustmentBlock* adjustment,
                                                  int64_t fromUs, int64_t toUs);
ORMA_API OrmaEffectHandle OrmaAddSpecialEffect(OrmaVideoHandle vv, const char* configPath, int32_t applyRange,
                                               int64_t fromUs, int64_t toUs);
ORMA_API int32_t OrmaUpdateEffectLevel(void* handle, int32_t level);

/* ---- Audio media ---- */
ORMA_API OrmaAudioHandle OrmaAddAudioMedia(OrmaVideoHandle vv, const char* path, double volume,
                                           int64_t trimStartUs, int64_t trimEndUs, int64_t timelineFromUs,
                                           int64_t timelineToUs);
ORMA_API int32_t OrmaSetAudioMediaCutTime(OrmaAudioHandle audio, int64_t trimStartUs, int64_t trimEndUs);
ORMA_API int32_t OrmaSetAudioMediaFadeTime(OrmaAudioHandle audio, int64_t fadeInUs, int64_t fadeOutUs);
ORMA_API int32_t OrmaSetAudioMediaPlaySpeed(OrmaAudioHandle audio, double speed);
ORMA_API int32_t OrmaSetAudioMediaVolFactor(OrmaAudioHandle audio, double volume);
ORMA_API int32_t OrmaSetAudioMediaEffect(OrmaAudioHandle audio, int32_t type);
ORMA_API int32_t OrmaSetAudioMediaNsLevel(OrmaAudioHandle audio, int32_t level);

/* ---- Captions and stickers ---- */
ORMA_API OrmaCaptionHandle OrmaCreateCaptionFromConfigure(const char* configPath, int32_t kind);
ORMA_API int32_t OrmaAddCaption(OrmaVideoHandle vv, OrmaCaptionHandle caption);
ORMA_API int32_t OrmaUpateCaptionLevel(OrmaCaptionHandle caption, int32_t level);
ORMA_API int32_t OrmaUpdateCaptionTimeline(OrmaCaptionHandle caption, int64_t startUs, int64_t endUs);
ORMA_API int32_t OrmaSetCaptionTransparency(OrmaCaptionHandle caption, float opacity);
ORMA_API int32_t OrmaSetCaptionPosition(OrmaCaptionHandle caption, OrmaFloatPair center);
ORMA_API int32_t OrmaSetCaptionSize(OrmaCaptionHandle caption, OrmaFloatPair size);
ORMA_API int32_t OrmaSetCaptionScale(OrmaCaptionHandle caption, float scale);
ORMA_API int32_t OrmaSetCaptionAngle(OrmaCaptionHandle caption, float degrees);
ORMA_API int32_t OrmaCaptionGetItemCount(OrmaCaptionHandle caption);
ORMA_API OrmaCaptionItemHandle OrmaCaptionGetItemCaption(OrmaCaptionHandle caption, int32_t index);
ORMA_API int32_t OrmaCaptionGetItemCaptionParam(OrmaCaptionHandle caption, int32_t index,
                                                OrmaCaptionItemBlock* block);
ORMA_API OrmaCaptionItemHandle OrmaGetCaptionItem(OrmaCaptionHandle caption, const char* text);
ORMA_API int32_t OrmaUpdateCaptionItemParam(OrmaCaptionItemHandle item, const OrmaCaptionItemBlock* block);
ORMA_API int32_t OrmaSetCaptionItemEffectConfigure(OrmaCaptionItemHandle item, const char* path);
ORMA_API int32_t OrmaSetCaptionItemStroke(OrmaCaptionItemHandle item, const OrmaStrokeBlock* stroke);
ORMA_API int32_t OrmaSetCaptionItemShadow(OrmaCaptionItemHandle item, const OrmaShadowBlock* shadow);
ORMA_API int32_t OrmaSetCaptionItemBackground(OrmaCaptionItemHandle item, int32_t enable,
                                              const OrmaCaptionBackgroundBlock* background);
ORMA_API int32_t OrmaSetCaptionItemAnimation(OrmaCaptionItemHandle item, const char* configPath, int32_t type,
                                             int64_t startUs, int64_t durationUs);
ORMA_API int32_t OrmaSetCaptionItemAnimationCycleDuration(OrmaCaptionItemHandle item, int64_t cycleUs);
ORMA_API int32_t OrmaCreateCaptionKeyFrameAniamtion(OrmaCaptionHandle caption,
                                                    const OrmaCaptionKeyFrameBlock* frame);

/* ---- Export ---- */
ORMA_API int32_t OrmaEditSetLimitTime(OrmaVideoHandle vv, int64_t startUs, int64_t endUs);
ORMA_API int32_t OrmaEditMediaUseAgentProcess(OrmaVideoHandle vv);
ORMA_API int32_t OrmaEditMedia(OrmaVideoHandle vv);
ORMA_API int32_t OrmaEditProgress(OrmaVideoHandle vv);
/* Asks the export of `vv` to stop, from any thread: a running OrmaEditMedia
 * returns ORMA_EXPORT_STOPPED after the frame it is on, removing its
 * temporary file; one called later returns it at once. ORMA_OK when asked,
 * ORMA_BAD_HANDLE for a bad handle. */
ORMA_API int32_t OrmaEditCancel(OrmaVideoHandle vv);

/* ---- Timeline queries ---- */
ORMA_API int64_t OrmaGetTotalPlaybackTime(OrmaVideoHandle vv);
ORMA_API int64_t OrmaGetCurrentPlaybackTime(OrmaVideoHandle vv);
ORMA_API int32_t OrmaGetMediaInfoLite(const char* path, int64_t* durationUs, OrmaMediaPropertyBlock* audio,
                                      OrmaMediaPropertyBlock* video);

/* ---- Preview ---- */
ORMA_API int32_t OrmaSetDisplayRatio(OrmaVideoHandle vv, float ratio);
ORMA_API int32_t OrmaSetPreviewWindowsHwnd(OrmaVideoHandle vv, uint64_t window);
ORMA_API int32_t OrmaPreviewInit(OrmaVideoHandle vv);
ORMA_API int32_t OrmaPreview(OrmaVideoHandle vv);
ORMA_API int32_t OrmaPreviewConintue(OrmaVideoHandle vv);
ORMA_API int32_t OrmaPreviewPause(OrmaVideoHandle vv);
ORMA_API int32_t OrmaPreviewStop(OrmaVideoHandle vv);
ORMA_API int32_t OrmaPreviewSeek(OrmaVideoHandle vv, int64_t positionUs);

/* ---- About the library ---- */
ORMA_API int32_t OrmaGetVersions(OrmaVersionBlock* versions);
/* The cause of the library's most recent failure in this process (the text
 * of its log line, without the call's name), copied zero-terminated and cut
 * to `capacity` bytes: its length, or 0 when nothing has failed yet. Kept
 * until the next failure; refusals of values that are put right (a value
 * brought into range) are not failures. */
ORMA_API int32_t OrmaGetLastError(char* text, int32_t capacity);

#ifdef __cplusplus
}
#endif

#endif /* ORMA_CORE_H */
