// The encoder choice of an export (codec_choice.h): FFmpeg is asked which
// encoders exist and which hardware devices open; the choices that are not
// the plain names asked for are logged once.
#include "engine/encode/codec_choice.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/hwcontext.h>
}

#include <algorithm>
#include <vector>

#include "engine/core/av_handles.h"
#include "engine/core/libraries.h"
#include "engine/core/log.h"
#include "engine/encode/export_run.h"
#include "engine/media/video_decoder.h"
#include "engine/model/model.h"

namespace orma {

namespace {

// The hardware encoder for a software codec name, when the machine has one.
// Only encoders that take pictures from system memory are used (NVENC, Quick
// Sync); VA-API encoding would need the frames uploaded first.
std::string HardwareEncoder(const std::string& codec) {
  std::string family;
  if (codec == "libx264" || codec == "h264")
    family = "h264";
  else if (codec == "libx265" || codec == "hevc")
    family = "hevc";
  else
    return "";
  struct Candidate {
    const char* suffix;
    AVHWDeviceType type;
  } candidates[] = {{"_nvenc", AV_HWDEVICE_TYPE_CUDA}, {"_qsv", AV_HWDEVICE_TYPE_QSV}};
  for (const auto& c : candidates) {
    std::string name = family + c.suffix;
    if (!avcodec_find_encoder_by_name(name.c_str())) continue;
    if (!HardwareDeviceOpens(c.type, nullptr)) continue;
    return name;
  }
  return "";
}

// The audio encoder a container is usually written with.
std::string UsualAudioEncoder(const AVOutputFormat* format) {
  std::string name = format->name;
  auto has = [](const char* encoder) { return avcodec_find_encoder_by_name(encoder) != nullptr; };
  if (name == "mp4" || name == "mov" || name == "ipod" || name == "3gp" || name == "matroska" ||
      name == "adts" || name == "flv" || name == "mpegts")
    return "aac";
  if (name == "webm") return has("libopus") ? "libopus" : "libvorbis";
  if (name == "ogg") return has("libvorbis") ? "libvorbis" : "libopus";
  if (name == "mp3") return "libmp3lame";
  if (format->audio_codec == AV_CODEC_ID_NONE) return "";
  const AVCodec* codec = avcodec_find_encoder(format->audio_codec);
  return codec ? codec->name : "";
}

// Names of up to `most` encoders of this machine whose streams the container
// can hold, the usual ones first; "" when none is found.
std::string FittingVideoEncoders(const AVOutputFormat* container, size_t most) {
  std::vector<std::string> names;
  auto fits = [&](const AVCodec* codec) {
    return codec && codec->type == AVMEDIA_TYPE_VIDEO && av_codec_is_encoder(codec) &&
           avformat_query_codec(container, codec->id, FF_COMPLIANCE_NORMAL) == 1;
  };
  auto add = [&](const std::string& name) {
    if (names.size() < most && std::find(names.begin(), names.end(), name) == names.end())
      names.push_back(name);
  };
  for (const char* usual : {"libx264", "libvpx-vp9", "libvpx", "libaom-av1", "libsvtav1", "libx265", "mpeg4"})
    if (fits(avcodec_find_encoder_by_name(usual))) add(usual);
  void* state = nullptr;
  while (const AVCodec* codec = av_codec_iterate(&state))
    if (fits(codec) && !(codec->capabilities & AV_CODEC_CAP_EXPERIMENTAL)) add(codec->name);
  std::string text;
  for (const std::string& name : names)
    text += (text.empty() ? "" : ", ") + name;
  return text;
}

// Output name extensions whose containers take the encoder's streams.
std::string FittingContainers(const AVCodec* encoder) {
  std::string text;
  for (const char* name : {"mp4", "mkv", "mov", "webm", "avi"}) {
    const std::string file = std::string("video.") + name;
    const AVOutputFormat* format = av_guess_format(nullptr, file.c_str(), nullptr);
    if (format && avformat_query_codec(format, encoder->id, FF_COMPLIANCE_NORMAL) == 1)
      text += (text.empty() ? "." : ", .") + std::string(name);
  }
  return text;
}

// The container must be able to hold the encoder's stream: webm takes VP8,
// VP9 and AV1 only, and FFmpeg would refuse H.264 there with no more than
// "Invalid argument". Containers that cannot tell are let through.
int32_t CheckVideoFits(const AVOutputFormat* container, const AVCodec* encoder, std::string* cause) {
  if (avformat_query_codec(container, encoder->id, FF_COMPLIANCE_NORMAL) != 0) return ORMA_OK;
  const std::string encoders = FittingVideoEncoders(container, 3);
  const std::string containers = FittingContainers(encoder);
  *cause = "the " + std::string(container->name) + " container cannot hold " + encoder->name + " video";
  if (!encoders.empty()) *cause += "; for " + std::string(container->name) + " name the encoder " + encoders;
  if (!containers.empty())
    *cause += "; " + std::string(encoder->name) + " fits an output named " + containers;
  return ORMA_ENCODER_DOES_NOT_FIT_CONTAINER;
}

// The video encoder: the named one, or its hardware twin when asked for and
// present.
int32_t ChooseVideo(const ExportSettings& s, const AVOutputFormat* container, CodecChoice* choice,
                    std::string* cause) {
  // A sound-only export has no picture encoder at all (OrmaSetOutputStreams).
  choice->video = s.writeVideo ? s.videoCodec : "";
  if (!s.writeVideo) return ORMA_OK;
  const AVCodec* encoder = avcodec_find_encoder_by_name(choice->video.c_str());
  if (!encoder || encoder->type != AVMEDIA_TYPE_VIDEO) {
    *cause = "unknown video encoder \"" + choice->video + "\"";
    return ORMA_UNKNOWN_VIDEO_ENCODER;
  }
  if (int32_t fits = CheckVideoFits(container, encoder, cause); fits != ORMA_OK) return fits;
  if (s.hwEncoder != 0) {
    std::string hardware = HardwareEncoder(choice->video);
    if (hardware.empty()) {
      LogOnce("hw-encoder",
              "no hardware encoder for " + choice->video + " on this machine; encoding in software");
    } else {
      LogOnce("hw-encoder-used", "encoding with the hardware encoder " + hardware);
      choice->video = hardware;
    }
  }
  return ORMA_OK;
}

// The audio encoder: the named one, the container's usual one for the name
// of a video encoder or for none, and none for a picture-only export.
int32_t ChooseAudio(const ExportSettings& s, const AVOutputFormat* container, CodecChoice* choice,
                    std::string* cause) {
  std::string& audio = choice->audio;
  if (!s.audioCodec.empty()) {
    const AVCodec* a = avcodec_find_encoder_by_name(s.audioCodec.c_str());
    if (a && a->type == AVMEDIA_TYPE_AUDIO) {
      audio = s.audioCodec;
    } else if (a && a->type == AVMEDIA_TYPE_VIDEO) {
      // The program passes its video encoder's name as the audio codec
      // (that is how its export settings work), so this is no mistake of the
      // user's and is not logged.
      audio = UsualAudioEncoder(container);
    } else {
      *cause = "unknown audio encoder \"" + s.audioCodec + "\"";
      return ORMA_UNKNOWN_AUDIO_ENCODER;
    }
  } else {
    audio = UsualAudioEncoder(container);
  }
  if (!s.writeSound) audio.clear();
  if (!s.writeVideo && audio.empty()) {
    *cause =
        "a sound-only export needs an audio encoder, and " + std::string(container->name) + " has none usual";
    return ORMA_UNKNOWN_AUDIO_ENCODER;
  }
  return ORMA_OK;
}

} // namespace

int32_t ChooseCodecs(const ExportSettings& s, const std::string& target, CodecChoice* choice,
                     std::string* cause) {
  const AVOutputFormat* container = av_guess_format(nullptr, target.c_str(), nullptr);
  if (!container) {
    *cause = "no video container is known for the name " + target;
    return ORMA_UNKNOWN_CONTAINER;
  }
  choice->container = container->name;
  int32_t code = ChooseVideo(s, container, choice, cause);
  return code != ORMA_OK ? code : ChooseAudio(s, container, choice, cause);
}

bool UseHardwareDecoding(const ExportSettings& s) {
  if (s.hwDecoder == 0) return false;
  if (const HardwareDecoding* hardware = AvailableHardwareDecoding()) {
    LogOnce("hw-decoder-used", std::string("decoding with ") + hardware->name);
    return true;
  }
  LogOnce("hw-decoder", "no hardware decoder on this machine; decoding in software");
  return false;
}

} // namespace orma
