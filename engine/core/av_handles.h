// Owners of FFmpeg's handles. Each is a unique_ptr whose deleter closes the
// handle with the function FFmpeg gives for it, so a reader or writer that
// returns early on a failure closes what it opened on every path, and a
// class that holds one needs no destructor of its own.
//
// Only forward declarations appear here: a file that uses the scaler owner
// does not pull in the demuxer's headers. The deleters are defined in
// av_handles.cpp. Two FFmpeg calls hand a context back instead of taking
// ownership, and want care with an owner:
//   - sws_getCachedContext frees the context it is given when it makes a new
//     one: pass it `owner.release()` and `reset` the owner with the result;
//   - swr_alloc_set_opts2 fills in a raw pointer: `reset` the owner with it
//     afterwards (it frees what it allocated itself when it fails).
// It sits in core because the layers below media (picture, sound) scale
// pictures and filter sound with FFmpeg too.
#pragma once

#include <memory>

struct AVAudioFifo;
struct AVBufferRef;
struct AVCodecContext;
struct AVFilterGraph;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;
struct SwrContext;
struct SwsContext;

namespace orma {

/// A demuxer opened with avformat_open_input.
struct FormatCloser {
  void operator()(AVFormatContext* c) const;
};
/// A muxer from avformat_alloc_output_context2: its file, if open, is
/// closed before the context is freed.
struct OutputCloser {
  void operator()(AVFormatContext* c) const;
};
struct CodecCloser {
  void operator()(AVCodecContext* c) const;
};
struct FrameCloser {
  void operator()(AVFrame* f) const;
};
struct PacketCloser {
  void operator()(AVPacket* p) const;
};
struct SwsCloser {
  void operator()(SwsContext* c) const;
};
struct SwrCloser {
  void operator()(SwrContext* c) const;
};
struct FilterGraphCloser {
  void operator()(AVFilterGraph* g) const;
};
struct AudioFifoCloser {
  void operator()(AVAudioFifo* f) const;
};
/// One reference to a buffer (a hardware device, for instance).
struct BufferCloser {
  void operator()(AVBufferRef* b) const;
};

using FormatPtr = std::unique_ptr<AVFormatContext, FormatCloser>;
using OutputPtr = std::unique_ptr<AVFormatContext, OutputCloser>;
using CodecPtr = std::unique_ptr<AVCodecContext, CodecCloser>;
using FramePtr = std::unique_ptr<AVFrame, FrameCloser>;
using PacketPtr = std::unique_ptr<AVPacket, PacketCloser>;
using SwsPtr = std::unique_ptr<SwsContext, SwsCloser>;
using SwrPtr = std::unique_ptr<SwrContext, SwrCloser>;
using FilterGraphPtr = std::unique_ptr<AVFilterGraph, FilterGraphCloser>;
using AudioFifoPtr = std::unique_ptr<AVAudioFifo, AudioFifoCloser>;
using BufferPtr = std::unique_ptr<AVBufferRef, BufferCloser>;

} // namespace orma
