// The simple setters of the API, as rows of one table. Each of them does the
// same things: looks up its handle (refusing one of another kind), refuses
// while the handle's video is exporting, brings the value into its range (or
// refuses it) and stores it in one member; the generated C entry point traces
// the call. A row names the entry point, the member and the limit; the body
// (Set) is written once. Entry points that do more than store one value (read a file, set a
// pair of times, add to a list) stay in the file of their kind.
//
// A value is brought into range here, at the API, and nowhere later: the
// drawing code may take every stored value as within its row's limit.
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>

#include "engine/api/api.h"
#include "engine/api/entry_points_gen.h"
#include "engine/api/value_limits.h"

using namespace orma;

namespace {

/// What a setter does with the value it is given before storing it.
enum class Rule {
  kAsGiven, ///< stored as given
  kFinite,  ///< a number that is not finite is refused with `text`
  kInto,    ///< not finite: refused ("<text> is not a number"); else brought into [low, high] with a log line
  kRefusedOutside, ///< refused with `text` outside [low, high]
  kNotEmpty,       ///< a text: refused with `text` when null or empty
};

struct Limit {
  Rule rule;
  double low;
  double high;
  const char* text;
};

constexpr double kNoEnd = std::numeric_limits<double>::infinity();
constexpr Limit kAsGiven{Rule::kAsGiven, 0, 0, nullptr};
constexpr Limit Finite(const char* refusal) { return {Rule::kFinite, 0, 0, refusal}; }
constexpr Limit Into(double low, double high, const char* what) { return {Rule::kInto, low, high, what}; }
constexpr Limit Refused(double low, double high, const char* refusal) {
  return {Rule::kRefusedOutside, low, high, refusal};
}
constexpr Limit NotEmpty(const char* refusal) { return {Rule::kNotEmpty, 0, 0, refusal}; }

// Where each kind keeps the members its setters write.
MediaAttributes& Members(Media& media) { return media.attrs; }
AudioTrack& Members(AudioTrack& track) { return track; }
Caption& Members(Caption& caption) { return caption; }
ExportSettings& Members(VirtualVideo& video) { return video.settings; }

// Brings `value` into `limit` and stores it in `field`, or refuses it.
template <class Value, class Field>
int32_t Store(const char* call, Value value, Field& field, const Limit& limit) {
  if constexpr (std::is_same_v<Value, const char*>) {
    if (limit.rule == Rule::kNotEmpty && (!value || !*value))
      return Refuse(call, ORMA_BAD_ARGUMENT, limit.text);
    field = value;
  } else if constexpr (std::is_same_v<Value, OrmaFloatPair>) {
    field = value;
  } else {
    const double number = static_cast<double>(value);
    switch (limit.rule) {
    case Rule::kFinite:
      if (!std::isfinite(number)) return Refuse(call, ORMA_BAD_ARGUMENT, limit.text);
      break;
    case Rule::kInto:
      if (!std::isfinite(number))
        return Refuse(call, ORMA_BAD_ARGUMENT, std::string(limit.text) + " is not a number");
      field =
          static_cast<Field>(limit.high == kNoEnd ? AtLeast(call, limit.text, number, limit.low)
                                                  : Limited(call, limit.text, number, limit.low, limit.high));
      return ORMA_OK;
    case Rule::kRefusedOutside:
      if (number < limit.low || number > limit.high) return Refuse(call, ORMA_BAD_ARGUMENT, limit.text);
      break;
    case Rule::kAsGiven:
    case Rule::kNotEmpty:
      break;
    }
    field = static_cast<Field>(value);
  }
  return ORMA_OK;
}

// The one body of every row.
template <class Handle, class Value, class Owner, class Field>
int32_t Set(const char* call, Handle handle, Value value, Field Owner::*member, const Limit& limit) {
  return With(call, handle, [&](auto& object) { return Store(call, value, Members(object).*member, limit); });
}

// The handle and value types of a setter, as corelib/orma_core.h declares it.
template <class F> struct Setter;
template <class H, class V> struct Setter<int32_t(H, V)> {
  using Handle = H;
  using Value = V;
};

} // namespace

// One row: the entry point, the member it stores, the limit of its value.
// It defines the entry point's body; the C function around it, which traces
// the call, is generated (entry_points_gen.cpp).
#define ORMA_SETTER(Entry, member, limit)                                                                    \
  int32_t Entry(const char* call, Setter<decltype(::Entry)>::Handle handle,                                  \
                Setter<decltype(::Entry)>::Value value) {                                                    \
    return Set(call, handle, value, &member, limit);                                                         \
  }

namespace orma::entry {

// Media items.
ORMA_SETTER(OrmaSetMediaFlip, MediaAttributes::flip,
            Refused(ORMA_FLIP_NONE, ORMA_FLIP_BOTH, "flip mode must be 0 to 3"))
ORMA_SETTER(OrmaSetMediaAudioFactor, MediaAttributes::volume, Into(0, kNoEnd, "volume"))
ORMA_SETTER(OrmaSetMediaAudioEffect, MediaAttributes::audioEffect, kAsGiven)
ORMA_SETTER(OrmaSetMediaAudioNsLevel, MediaAttributes::audioNsLevel, kAsGiven)
ORMA_SETTER(OrmaSetMediaDisplayMode, MediaAttributes::displayMode, kAsGiven)
ORMA_SETTER(OrmaSetMediaBeautyBlurIntensity, MediaAttributes::beautyBlur, kAsGiven)
ORMA_SETTER(OrmaSetMediaBeautyBrightIntensity, MediaAttributes::beautyBright, kAsGiven)
ORMA_SETTER(OrmaSetMediaBeautyToneIntensity, MediaAttributes::beautyTone, kAsGiven)
ORMA_SETTER(OrmaSetMediaBigEyeIntensity, MediaAttributes::bigEye, kAsGiven)
ORMA_SETTER(OrmaSetMediaThinFaceIntensity, MediaAttributes::thinFace, kAsGiven)
ORMA_SETTER(OrmaSetMediaVignette, MediaAttributes::vignette, kAsGiven)
ORMA_SETTER(OrmaSetMediaSharp, MediaAttributes::sharpness, kAsGiven)
ORMA_SETTER(OrmaSetMediaSaturation, MediaAttributes::saturation, kAsGiven)
ORMA_SETTER(OrmaSetMediaContrast, MediaAttributes::contrast, kAsGiven)
ORMA_SETTER(OrmaSetMediaBright, MediaAttributes::brightness, kAsGiven)
ORMA_SETTER(OrmaSetMediaWhiteBalance, MediaAttributes::whiteBalance, kAsGiven)
ORMA_SETTER(OrmaSetMediaTint, MediaAttributes::tint, kAsGiven)
ORMA_SETTER(OrmaSetMediaHighlight, MediaAttributes::highlight, kAsGiven)
ORMA_SETTER(OrmaSetMediaShadow, MediaAttributes::shadows, kAsGiven)
ORMA_SETTER(OrmaSetMediaGraininess, MediaAttributes::graininess, kAsGiven)
ORMA_SETTER(OrmaSetMediaLightSensation, MediaAttributes::lightSensation, kAsGiven)
ORMA_SETTER(OrmaSetMediaFade, MediaAttributes::fade, kAsGiven)
ORMA_SETTER(OrmaSetMediaTransparency, MediaAttributes::opacity, Into(0, 1, "opacity"))
ORMA_SETTER(OrmaSetMediaAnimationAngle, MediaAttributes::angle, kAsGiven)
ORMA_SETTER(OrmaSetMediaBlendMode, MediaAttributes::blendMode, kAsGiven)
// 0 (a draft without speed) plays at normal speed.
ORMA_SETTER(OrmaSetMediaPlaySpeed, MediaAttributes::speed, Into(0, 100, "speed"))

// Music and sound effects.
ORMA_SETTER(OrmaSetAudioMediaPlaySpeed, AudioTrack::speed, Into(0, 100, "speed"))
ORMA_SETTER(OrmaSetAudioMediaVolFactor, AudioTrack::volume, Into(0, kNoEnd, "volume"))
ORMA_SETTER(OrmaSetAudioMediaEffect, AudioTrack::effect, kAsGiven)
ORMA_SETTER(OrmaSetAudioMediaNsLevel, AudioTrack::nsLevel, kAsGiven)

// Captions and stickers.
ORMA_SETTER(OrmaUpateCaptionLevel, Caption::level, Refused(0, kNoEnd, "negative level"))
ORMA_SETTER(OrmaSetCaptionTransparency, Caption::opacity, Into(0, 1, "opacity"))
ORMA_SETTER(OrmaSetCaptionPosition, Caption::center, kAsGiven)
ORMA_SETTER(OrmaSetCaptionSize, Caption::size, kAsGiven)
ORMA_SETTER(OrmaSetCaptionScale, Caption::scale, Finite("not a number"))
ORMA_SETTER(OrmaSetCaptionAngle, Caption::angle, Finite("not a number"))

// Output settings. Any FFmpeg encoder name is taken; it is checked when the
// export starts. A video encoder's name as the audio codec means "the
// container's usual audio encoder" (the program passes its video codec);
// see docs/engine.md.
ORMA_SETTER(OrmaSetVideoCodec, ExportSettings::videoCodec, NotEmpty("empty codec name"))
ORMA_SETTER(OrmaSetAudioCodec, ExportSettings::audioCodec, NotEmpty("empty codec name"))
ORMA_SETTER(OrmaSetVideoBitrate, ExportSettings::videoKbits, Refused(1, kNoEnd, "bit rate must be positive"))
ORMA_SETTER(OrmaSetAudioBitrate, ExportSettings::audioKbits, Refused(1, kNoEnd, "bit rate must be positive"))
ORMA_SETTER(OrmaSetAudioChannels, ExportSettings::channels, Refused(1, 8, "channels must be 1 to 8"))
ORMA_SETTER(OrmaSetAudioSamples, ExportSettings::sampleRate,
            Refused(8000, 192000, "sample rate must be 8000 to 192000 Hz"))
ORMA_SETTER(OrmaEnableHWDecoder, ExportSettings::hwDecoder, kAsGiven)
ORMA_SETTER(OrmaEnableHWEncoder, ExportSettings::hwEncoder, kAsGiven)

} // namespace orma::entry
