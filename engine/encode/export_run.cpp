#include "engine/encode/export_run.h"
#include "engine/model/render_context.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/hwcontext.h>
}

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <memory>
#include <vector>

#include "engine/core/libraries.h"
#include "engine/core/log.h"
#include "engine/encode/encoder.h"
#include "engine/encode/output_file.h"
#include "engine/timeline/timeline.h"

namespace orma {

namespace {

int32_t Failure(int32_t code, const std::string& cause) {
  LogText("OrmaEditMedia failed (" + std::to_string(code) + "): " + cause);
  return code;
}

std::string AbsolutePath(const std::string& path) {
  if (!path.empty() && path[0] == '/') return path;
  char cwd[PATH_MAX];
  if (!getcwd(cwd, sizeof cwd)) return path;
  return std::string(cwd) + "/" + path;
}

bool HardwareDevice(AVHWDeviceType type, const char* device) {
  AVBufferRef* ref = nullptr;
  if (av_hwdevice_ctx_create(&ref, type, device, nullptr, 0) < 0) return false;
  av_buffer_unref(&ref);
  return true;
}

const char* kRenderNode = "/dev/dri/renderD128";

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
    if (!HardwareDevice(c.type, nullptr)) continue;
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

void CloseFrame(void* frame) { mlt_frame_close(static_cast<mlt_frame>(frame)); }

int32_t Render(VirtualVideo& video) {
  ExportSettings& s = video.settings;
  if (s.width <= 0 || s.height <= 0) return Failure(kNoFrameSize, "the frame size is not set");
  if (s.outPath.empty()) return Failure(kNoOutputPath, "the output path is not set");
  std::string target = AbsolutePath(s.outPath);

  const AVOutputFormat* container = av_guess_format(nullptr, target.c_str(), nullptr);
  if (!container) return Failure(kUnknownContainer, "no video container is known for the name " + target);

  // A sound-only export has no picture encoder at all, a picture-only one no
  // sound encoder (OrmaSetOutputStreams).
  std::string videoCodec = s.writeVideo ? s.videoCodec : "";
  const AVCodec* videoEncoder = avcodec_find_encoder_by_name(videoCodec.c_str());
  if (s.writeVideo && (!videoEncoder || videoEncoder->type != AVMEDIA_TYPE_VIDEO))
    return Failure(kUnknownVideoEncoder, "unknown video encoder \"" + videoCodec + "\"");
  if (s.writeVideo && s.hwEncoder != 0) {
    std::string hardware = HardwareEncoder(videoCodec);
    if (hardware.empty()) {
      LogOnce("hw-encoder",
              "no hardware encoder for " + videoCodec + " on this machine; encoding in software");
    } else {
      LogOnce("hw-encoder-used", "encoding with the hardware encoder " + hardware);
      videoCodec = hardware;
    }
  }

  std::string audioCodec;
  if (!s.audioCodec.empty()) {
    const AVCodec* a = avcodec_find_encoder_by_name(s.audioCodec.c_str());
    if (a && a->type == AVMEDIA_TYPE_AUDIO) {
      audioCodec = s.audioCodec;
    } else if (a && a->type == AVMEDIA_TYPE_VIDEO) {
      audioCodec = UsualAudioEncoder(container);
      LogOnce("audio-codec-" + s.audioCodec, "audio codec \"" + s.audioCodec +
                                                 "\" is a video encoder; the sound is encoded with " +
                                                 (audioCodec.empty() ? std::string("nothing") : audioCodec) +
                                                 " as usual for " + container->name);
    } else {
      return Failure(kUnknownAudioEncoder, "unknown audio encoder \"" + s.audioCodec + "\"");
    }
  } else {
    audioCodec = UsualAudioEncoder(container);
  }
  if (!s.writeSound) audioCodec.clear();
  if (!s.writeVideo && audioCodec.empty())
    return Failure(kUnknownAudioEncoder, "a sound-only export needs an audio encoder, and " +
                                             std::string(container->name) + " has none usual");

  // The video is written beside the target and moved into place only when
  // complete, so a failed or killed export never leaves a partial file at the
  // output path.
  struct stat st;
  if (stat(target.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
    return Failure(kOutputNotWritable, "cannot write " + target + ": it is a folder");
  RemoveStaleTemporaries(target);
  std::string temp = TemporaryOutputPath(target);
  int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return Failure(kOutputNotWritable, "cannot write " + target + ": " + std::strerror(errno));
  ::close(fd);
  struct TempFile {
    std::string path;
    bool keep = false;
    ~TempFile() {
      if (!keep) ::unlink(path.c_str());
    }
  } tempFile{temp};

  if (!EnsureMlt()) return Failure(kFrameworkUnavailable, "the MLT framework cannot be started");
  ProfilePtr profile = MakeProfile(s);
  if (!profile) return Failure(kFrameworkUnavailable, "cannot create the video profile");

  RenderContext ctx;
  ctx.profile = profile.get();
  ctx.width = s.width;
  ctx.height = s.height;
  ctx.matrix = CanvasMatrix(s.height);
  ctx.fps = s.fps;
  ctx.drawPictures = s.writeVideo;
  if (s.hwDecoder != 0) {
    if (access(kRenderNode, R_OK) == 0 && HardwareDevice(AV_HWDEVICE_TYPE_VAAPI, kRenderNode)) {
      ctx.hardwareDecoding = true;
      LogOnce("hw-decoder-used", "decoding with VA-API");
    } else {
      LogOnce("hw-decoder", "no hardware decoder on this machine; decoding in software");
    }
  }

  // The graph, then the consumer; destroyed in the reverse order.
  auto timeline = std::make_unique<Timeline>(video, ctx);
  std::string error;
  if (!timeline->Build(&error)) return Failure(kTimelineInvalid, error);
  int64_t length = timeline->length();
  if (length <= 0) return Failure(kTimelineEmpty, "the timeline is empty");
  int64_t first = 0, last = length;
  if (s.limitStartUs > 0) first = std::clamp<int64_t>(UsToFrames(s.limitStartUs, s.fps), 0, length);
  if (s.limitEndUs > 0) last = std::clamp<int64_t>(UsToFrames(s.limitEndUs, s.fps), 0, length);
  if (last <= first) return Failure(kLimitSelectsNothing, "the limit time selects no frame of the timeline");
  mlt_producer producer = timeline->producer();
  mlt_producer_set_in_and_out(producer, static_cast<mlt_position>(first),
                              static_cast<mlt_position>(last - 1));
  // A producer's position counts from its in point: seeking to `first` here
  // would land `first` frames past the range's start (clamped to its last
  // frame, which was then shown throughout).
  mlt_producer_seek(producer, 0);
  int64_t total = last - first;

  // MLT's read-ahead thread renders the frames in order (fetching and
  // decoding the sources, drawing, mixing the sound) while this thread hands
  // the finished ones to the encoder, so rendering overlaps the encoder's
  // waits instead of alternating with them.
  Encoder encoder;
  EncoderSettings es;
  es.path = temp;
  es.container = container->name;
  es.videoCodec = videoCodec;
  es.width = s.width;
  es.height = s.height;
  es.fpsNum = s.fps.num;
  es.fpsDen = s.fps.den;
  es.videoKbits = s.videoKbits;
  es.matrix = ctx.matrix;
  es.audioCodec = audioCodec;
  es.sampleRate = s.sampleRate;
  es.channels = s.channels;
  es.audioKbits = s.audioKbits > 0 ? s.audioKbits : 128;
  if (!encoder.Open(es, &error)) return Failure(kEncodingFailed, error);
  int rate = encoder.sampleRate();
  if (!audioCodec.empty() && rate != s.sampleRate)
    LogOnce("rate-" + audioCodec, audioCodec + " takes no " + std::to_string(s.sampleRate) +
                                      " Hz sound; it is written at " + std::to_string(rate) + " Hz");

  ConsumerPtr renderer = MakeFrameRenderer(profile.get(), rate, s.channels);
  if (!renderer) return Failure(kFrameworkUnavailable, "cannot create the frame renderer");
  mlt_consumer consumer = renderer.get();
  // The read-ahead thread then neither draws pictures nor mixes sound that
  // nobody writes.
  mlt_properties_set_int(MLT_CONSUMER_PROPERTIES(consumer), "video_off", s.writeVideo ? 0 : 1);
  mlt_properties_set_int(MLT_CONSUMER_PROPERTIES(consumer), "audio_off", audioCodec.empty() ? 1 : 0);
  mlt_consumer_connect(consumer, MLT_PRODUCER_SERVICE(producer));
  mlt_consumer_start(consumer);

  double fps = static_cast<double>(s.fps.num) / s.fps.den;
  std::vector<float> silence;
  std::vector<const float*> planes(s.channels);
  bool ok = true;
  for (int64_t done = 0; done < total && ok; ++done) {
    MltFramePtr owner(mlt_consumer_rt_frame(consumer));
    mlt_frame frame = owner.get();
    if (!frame) {
      error = "the renderer stopped early";
      ok = false;
      break;
    }
    uint8_t* image = nullptr;
    mlt_image_format format = mlt_image_yuv420p;
    int w = s.width, h = s.height;
    if (!s.writeVideo) {
      ok = !ctx.failed;
    } else if (mlt_frame_get_image(frame, &image, &format, &w, &h, 0) != 0 || !image ||
               format != mlt_image_yuv420p || w != s.width || h != s.height) {
      error = ctx.failed ? ctx.Error() : "a frame could not be rendered";
      ok = false;
    } else if (ctx.failed) {
      ok = false;
    } else {
      // The encoder holds the frame, and so its canvas, for as long as it
      // reads the picture.
      mlt_properties_inc_ref(MLT_FRAME_PROPERTIES(frame));
      ok = encoder.WriteVideo(image, CloseFrame, frame, &error);
    }
    if (ok && !audioCodec.empty()) {
      int samples = mlt_audio_calculate_frame_samples(static_cast<float>(fps), rate, done);
      void* pcm = nullptr;
      mlt_audio_format afmt = mlt_audio_float;
      int frequency = rate, channels = s.channels, n = samples;
      if (mlt_frame_get_audio(frame, &pcm, &afmt, &frequency, &channels, &n) != 0 || !pcm ||
          afmt != mlt_audio_float || channels != s.channels || n != samples) {
        silence.assign(static_cast<size_t>(samples) * s.channels, 0.0f);
        pcm = silence.data();
        n = samples;
      }
      for (int c = 0; c < s.channels; ++c)
        planes[c] = static_cast<const float*>(pcm) + static_cast<size_t>(c) * n;
      if (!encoder.WriteAudio(planes.data(), n, &error)) ok = false;
    }
    owner.reset();
    video.positionUs = FramesToUs(first + done + 1, s.fps);
    int percent = static_cast<int>(std::min<int64_t>(99, (done + 1) * 100 / total));
    if (percent > video.progress) video.progress = percent;
  }
  // The renderer stops before the graph it reads goes, and the decoders
  // that graph holds are released before the encoder finishes.
  renderer.reset();
  timeline.reset();

  if (!ok) return Failure(ctx.failed ? kMediaFailed : kEncodingFailed, ctx.failed ? ctx.Error() : error);
  if (!encoder.Finish(&error)) return Failure(kEncodingFailed, error);
  if (std::rename(temp.c_str(), target.c_str()) != 0)
    return Failure(kCannotPlaceOutput, "cannot move the video to " + target + ": " + std::strerror(errno));
  tempFile.keep = true;
  return kExportOk;
}

} // namespace

ConsumerPtr MakeFrameRenderer(mlt_profile profile, int sampleRate, int channels) {
  ConsumerPtr owner(mlt_consumer_new(profile));
  mlt_consumer consumer = owner.get();
  if (!consumer) return nullptr;
  // A consumer made with mlt_consumer_new has no service of its own behind
  // it: without a stopped state mlt_consumer_start returns at once, before
  // it reads real_time, and every frame would then be rendered on the
  // thread that asks for it; without the profile on the service it cannot
  // start at all.
  consumer->is_stopped = [](mlt_consumer) { return 1; };
  mlt_service_set_profile(MLT_CONSUMER_SERVICE(consumer), profile);
  mlt_properties cp = MLT_CONSUMER_PROPERTIES(consumer);
  // One read-ahead thread that never drops a frame (-1). Fetching is
  // sequential anyway (sources are decoded in order) and drawing a frame
  // costs less than encoding it; MLT's worker threads (-N) would fetch on
  // the taking thread again, between the encoder's calls. One frame waits
  // ahead: each holds a canvas, and more gained nothing measurable.
  mlt_properties_set_int(cp, "real_time", -1);
  mlt_properties_set_int(cp, "buffer", 1);
  mlt_properties_set_int(cp, "prefill", 1);
  mlt_properties_set(cp, "mlt_image_format", "yuv420p");
  mlt_properties_set(cp, "mlt_audio_format", "float");
  mlt_properties_set_int(cp, "frequency", sampleRate);
  mlt_properties_set_int(cp, "channels", channels);
  mlt_properties_set_int(cp, "terminate_on_pause", 1);
  return owner;
}

int32_t RunExport(VirtualVideo& video) {
  std::unique_lock<std::mutex> lock(video.exportMutex, std::try_to_lock);
  if (!lock.owns_lock()) return Failure(kExportBusy, "an export of this video is already running");
  video.progress = 0;
  video.exporting = true;
  int32_t result = Render(video);
  // 100 also after a failure: callers wait for the end by the progress.
  video.progress = 100;
  video.exporting = false;
  return result;
}

} // namespace orma
