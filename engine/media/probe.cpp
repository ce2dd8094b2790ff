#include "engine/media/probe.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
}

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <list>
#include <memory>
#include <mutex>

#include "engine/core/av_handles.h"
#include "engine/core/files.h"
#include "engine/core/libraries.h"
#include "engine/media/picture_limits.h"
#include "platform/platform.h"

namespace orma {

namespace {

// Demuxers that read other resources named inside the file (playlists,
// concatenation lists, session descriptions, manifests). A media path must
// be one self-contained file.
const char* const kRefusedDemuxers[] = {
    "hls", "applehttp",  "concat", "sdp", "rtp",   "rtsp", "dash", "webm_dash_manifest",
    "imf", "ffmetadata", "mpjpeg", "tee", "lavfi", "data", "bin",  "tty"};

bool IsRefusedDemuxer(const char* name) {
  if (!name) return true;
  // A demuxer can carry several comma-separated names.
  std::string names(name);
  size_t start = 0;
  while (start <= names.size()) {
    size_t end = names.find(',', start);
    std::string one = names.substr(start, end == std::string::npos ? std::string::npos : end - start);
    for (const char* refused : kRefusedDemuxers)
      if (one == refused) return true;
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return false;
}

// The image demuxer takes its file name as a pattern ("%d" numbers frames,
// "*" globs) unless told otherwise; every opening of a file it reads says
// that the name is one file.
void SingleFileOption(const AVInputFormat* format, AVDictionary** options) {
  if (format && format->name && std::strcmp(format->name, "image2") == 0)
    av_dict_set(options, "pattern_type", "none", 0);
}

// "concat:" of "concat:a.mp4|b.mp4", "subfile," of "subfile,,start,...";
// "" for a path that starts with a folder, a drive letter or a plain name.
std::string ProtocolPrefix(const std::string& path) {
  if (path.empty() || !std::isalpha(static_cast<unsigned char>(path[0]))) return "";
  size_t n = 0;
  while (n < path.size() && (std::isalnum(static_cast<unsigned char>(path[n])) || path[n] == '_'))
    ++n;
  if (n < 2 || n >= path.size() || (path[n] != ':' && path[n] != ',')) return "";
  return path.substr(0, n + 1);
}

// Decodes packets of `stream` until one frame comes out.
bool DecodesOneFrame(AVFormatContext* ctx, int stream, std::string* error) {
  AVCodecParameters* par = ctx->streams[stream]->codecpar;
  const AVCodec* codec = avcodec_find_decoder(par->codec_id);
  if (!codec) {
    *error = "no decoder for codec " + std::string(avcodec_get_name(par->codec_id));
    return false;
  }
  CodecPtr dec(avcodec_alloc_context3(codec));
  if (!dec || avcodec_parameters_to_context(dec.get(), par) < 0) {
    *error = "cannot set up the decoder";
    return false;
  }
  dec->thread_count = 1;
  int rc = avcodec_open2(dec.get(), codec, nullptr);
  if (rc < 0) {
    *error = "cannot open the decoder: " + AvError(rc);
    return false;
  }
  PacketPtr packet(av_packet_alloc());
  FramePtr picture(av_frame_alloc());
  AVPacket* pkt = packet.get();
  AVFrame* frame = picture.get();
  bool got = false;
  int lastError = 0;
  for (int packets = 0; packets < 2000 && !got; ++packets) {
    rc = av_read_frame(ctx, pkt);
    if (rc < 0) {
      avcodec_send_packet(dec.get(), nullptr); // drain
      if (avcodec_receive_frame(dec.get(), frame) >= 0) got = true;
      break;
    }
    if (pkt->stream_index == stream) {
      rc = avcodec_send_packet(dec.get(), pkt);
      if (rc < 0) lastError = rc;
      if (avcodec_receive_frame(dec.get(), frame) >= 0) got = true;
    }
    av_packet_unref(pkt);
  }
  if (!got) *error = "no frame could be decoded" + (lastError ? ": " + AvError(lastError) : std::string());
  return got;
}

} // namespace

std::string ResolveLocalFile(const char* path, std::string* error) {
  if (!path || !*path) {
    *error = "empty path";
    return "";
  }
  std::string mapError;
  std::string native = platform::NativePath(path, &mapError);
  if (native.empty()) {
    *error = mapError.empty() ? "empty path" : mapError;
    return "";
  }
  // URLs are refused outright: a media path names a local file.
  size_t scheme = native.find("://");
  if (scheme != std::string::npos && native.find('/') > scheme) {
    *error = "not a local file (URL): " + native;
    return "";
  }
  // So are FFmpeg's other protocols ("concat:", "pipe:", "subfile,", ...):
  // a name of two or more letters before a ":" or "," that no folder
  // precedes. A file whose name holds a colon is given with its folder.
  std::string protocol = ProtocolPrefix(native);
  if (!protocol.empty()) {
    *error = "not a local file (the " + protocol + " protocol): " + native;
    return "";
  }
  return ResolvedRegularFile(native, error);
}

namespace {

MediaProbe ProbeFile(const std::string& file, bool decode) {
  QuietLibraries();
  MediaProbe probe;
  probe.path = file;

  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "file", 0);
  // Probe the container first, from the file's own bytes, so that a playlist
  // is refused before a demuxer starts following it.
  AVIOContext* pb = nullptr;
  std::string url = "file:" + file;
  int rc = avio_open2(&pb, url.c_str(), AVIO_FLAG_READ, nullptr, &options);
  av_dict_free(&options);
  if (rc < 0) {
    probe.error = file + ": " + AvError(rc);
    return probe;
  }
  const AVInputFormat* format = nullptr;
  rc = av_probe_input_buffer2(pb, &format, file.c_str(), nullptr, 0, 0);
  avio_closep(&pb);
  if (rc < 0 || !format) {
    probe.error = file + ": unknown media format";
    return probe;
  }
  if (IsRefusedDemuxer(format->name)) {
    probe.error = file + ": " + format->name + " files are not accepted as media";
    return probe;
  }
  probe.container = format->name;

  AVFormatContext* raw = nullptr;
  av_dict_set(&options, "protocol_whitelist", "file", 0);
  // A picture's name is a name, never a numbered sequence: "pct%03d.png" or
  // a folder "f %d" would otherwise be read as frames 0, 1, ... that do not
  // exist (and the probe above picks the image demuxer for such names).
  SingleFileOption(format, &options);
  rc = avformat_open_input(&raw, url.c_str(), format, &options);
  av_dict_free(&options);
  if (rc < 0) {
    probe.error = file + ": " + AvError(rc);
    return probe;
  }
  FormatPtr ctx(raw);
  rc = avformat_find_stream_info(ctx.get(), nullptr);
  if (rc < 0) {
    probe.error = file + ": " + AvError(rc);
    return probe;
  }

  int video = -1, audio = -1;
  for (unsigned i = 0; i < ctx->nb_streams; ++i) {
    AVStream* st = ctx->streams[i];
    if (st->codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !(st->disposition & AV_DISPOSITION_ATTACHED_PIC) &&
        video < 0)
      video = static_cast<int>(i);
    if (st->codecpar->codec_type == AVMEDIA_TYPE_AUDIO && audio < 0) audio = static_cast<int>(i);
  }
  if (video < 0 && audio < 0) {
    probe.error = file + ": no picture or sound in the file";
    return probe;
  }
  probe.hasVideo = video >= 0;
  probe.hasAudio = audio >= 0;
  if (video >= 0) {
    AVStream* st = ctx->streams[video];
    probe.width = st->codecpar->width;
    probe.height = st->codecpar->height;
    probe.videoCodec = avcodec_get_name(st->codecpar->codec_id);
    switch (st->codecpar->color_space) {
    case AVCOL_SPC_BT709:
      probe.matrix = 709;
      break;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
    case AVCOL_SPC_FCC:
      probe.matrix = 601;
      break;
    default:
      probe.matrix = 0;
      break;
    }
    probe.fullRange =
        st->codecpar->color_range == AVCOL_RANGE_JPEG || st->codecpar->format == AV_PIX_FMT_YUVJ420P ||
        st->codecpar->format == AV_PIX_FMT_YUVJ422P || st->codecpar->format == AV_PIX_FMT_YUVJ444P;
    AVRational rate = av_guess_frame_rate(ctx.get(), st, nullptr);
    probe.frameRate = rate.num > 0 && rate.den > 0 ? av_q2d(rate) : 0.0;
    int statedWidth = 0, statedHeight = 0;
    if (probe.width <= 0 && PngHeaderSize(file, &statedWidth, &statedHeight) &&
        !PictureSizeRefusal(statedWidth, statedHeight).empty()) {
      probe.error = file + ": " + PictureSizeRefusal(statedWidth, statedHeight);
      return probe;
    }
    if (probe.width <= 0 || probe.height <= 0) {
      probe.error = file + ": picture size unknown";
      return probe;
    }
    std::string tooLarge = PictureSizeRefusal(probe.width, probe.height);
    if (!tooLarge.empty()) {
      probe.error = file + ": " + tooLarge;
      return probe;
    }
  }
  if (audio >= 0) {
    AVStream* st = ctx->streams[audio];
    probe.audioCodec = avcodec_get_name(st->codecpar->codec_id);
    probe.sampleRate = st->codecpar->sample_rate;
    probe.channels = st->codecpar->ch_layout.nb_channels;
  }
  if (ctx->duration != AV_NOPTS_VALUE && ctx->duration > 0)
    probe.durationUs = ctx->duration;
  else if (video >= 0 && ctx->streams[video]->duration != AV_NOPTS_VALUE)
    probe.durationUs =
        av_rescale_q(ctx->streams[video]->duration, ctx->streams[video]->time_base, AV_TIME_BASE_Q);

  // A still picture is a video stream of one frame and no sound; count the
  // first video packets to tell it from a clip.
  if (video >= 0 && audio < 0) {
    PacketPtr pkt(av_packet_alloc());
    int videoPackets = 0;
    for (int n = 0; n < 256 && videoPackets < 2; ++n) {
      if (av_read_frame(ctx.get(), pkt.get()) < 0) break;
      if (pkt->stream_index == video) ++videoPackets;
      av_packet_unref(pkt.get());
    }
    probe.still = videoPackets <= 1;
    av_seek_frame(ctx.get(), -1, 0, AVSEEK_FLAG_BACKWARD);
  }
  if (probe.still) {
    probe.durationUs = 0;
    probe.frameRate = 0.0;
  }

  if (decode) {
    std::string error;
    if (!DecodesOneFrame(ctx.get(), video >= 0 ? video : audio, &error)) {
      probe.error = file + ": " + error;
      return probe;
    }
  }
  probe.ok = true;
  return probe;
}

// What identifies one version of a file: a file written again (or another
// file moved into its place) differs in one of these.
using FileVersion = FileStamp;

bool VersionOf(const std::string& file, FileVersion* v) { return StampOf(file, v); }

// Drafts name the same few files again and again (a two-camera edit cuts
// between two clips hundreds of times), and each probe opens the file,
// reads its streams and decodes a frame: tens of milliseconds at 1080p. A
// file's accepted description is kept while the file stays the same
// version; refusals are not kept, so a file that is fixed is seen at once.
class ProbeCache {
public:
  bool Find(const std::string& file, const FileVersion& version, bool decode, MediaProbe* out) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = entries_.begin(); it != entries_.end(); ++it) {
      if (it->probe.path != file) continue;
      if (!(it->version == version) || (decode && !it->decoded)) return false;
      *out = it->probe;
      entries_.splice(entries_.begin(), entries_, it);
      return true;
    }
    return false;
  }
  void Keep(const FileVersion& version, bool decoded, const MediaProbe& probe) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = entries_.begin(); it != entries_.end(); ++it)
      if (it->probe.path == probe.path) {
        entries_.erase(it);
        break;
      }
    entries_.push_front(Entry{version, decoded, probe});
    if (entries_.size() > kCapacity) entries_.pop_back();
  }

private:
  static constexpr size_t kCapacity = 256;
  struct Entry {
    FileVersion version;
    bool decoded;
    MediaProbe probe;
  };
  std::mutex mutex_;
  std::list<Entry> entries_; ///< most recently used first
};

ProbeCache& Cache() {
  static ProbeCache cache;
  return cache;
}

} // namespace

MediaProbe ProbeMedia(const char* path, bool decode) {
  MediaProbe probe;
  std::string file = ResolveLocalFile(path, &probe.error);
  if (file.empty()) return probe;
  FileVersion before;
  if (!VersionOf(file, &before)) return ProbeFile(file, decode);
  if (Cache().Find(file, before, decode, &probe)) return probe;
  probe = ProbeFile(file, decode);
  // Kept only when the file did not change while it was being read.
  FileVersion after;
  if (probe.ok && VersionOf(file, &after) && after == before) Cache().Keep(before, decode, probe);
  return probe;
}

FormatPtr OpenMediaInput(const MediaProbe& probe, std::string* error) {
  QuietLibraries();
  const AVInputFormat* demuxer =
      probe.container.empty() ? nullptr : av_find_input_format(probe.container.c_str());
  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "file", 0);
  SingleFileOption(demuxer, &options);
  std::string url = "file:" + probe.path;
  AVFormatContext* raw = nullptr;
  int rc = avformat_open_input(&raw, url.c_str(), demuxer, &options);
  av_dict_free(&options);
  if (rc < 0) {
    *error = probe.path + ": " + AvError(rc);
    return nullptr;
  }
  FormatPtr ctx(raw);
  if ((rc = avformat_find_stream_info(ctx.get(), nullptr)) < 0) {
    *error = probe.path + ": " + AvError(rc);
    return nullptr;
  }
  return ctx;
}

} // namespace orma
