// Owners of FFmpeg's contexts: each closes its handle with the function
// FFmpeg gives for it when it goes out of scope, so a reader that returns
// early on a failure closes what it opened on every path.
#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace orma {

struct FormatCloser {
  void operator()(AVFormatContext* c) const {
    if (c) avformat_close_input(&c);
  }
};
struct CodecCloser {
  void operator()(AVCodecContext* c) const {
    if (c) avcodec_free_context(&c);
  }
};
struct FrameCloser {
  void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct PacketCloser {
  void operator()(AVPacket* p) const { av_packet_free(&p); }
};

using FormatPtr = std::unique_ptr<AVFormatContext, FormatCloser>;
using CodecPtr = std::unique_ptr<AVCodecContext, CodecCloser>;
using FramePtr = std::unique_ptr<AVFrame, FrameCloser>;
using PacketPtr = std::unique_ptr<AVPacket, PacketCloser>;

} // namespace orma
