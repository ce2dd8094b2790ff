// The deleters of the FFmpeg owners declared in av_handles.h, each the
// closing function FFmpeg gives for its handle. unique_ptr calls them only
// for a handle that is set.
#include "engine/core/av_handles.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/buffer.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

namespace orma {

void FormatCloser::operator()(AVFormatContext* c) const { avformat_close_input(&c); }

void OutputCloser::operator()(AVFormatContext* c) const {
  if (c->pb && !(c->oformat->flags & AVFMT_NOFILE)) avio_closep(&c->pb);
  avformat_free_context(c);
}

void CodecCloser::operator()(AVCodecContext* c) const { avcodec_free_context(&c); }

void FrameCloser::operator()(AVFrame* f) const { av_frame_free(&f); }

void PacketCloser::operator()(AVPacket* p) const { av_packet_free(&p); }

void SwsCloser::operator()(SwsContext* c) const { sws_freeContext(c); }

void SwrCloser::operator()(SwrContext* c) const { swr_free(&c); }

void FilterGraphCloser::operator()(AVFilterGraph* g) const { avfilter_graph_free(&g); }

void AudioFifoCloser::operator()(AVAudioFifo* f) const { av_audio_fifo_free(f); }

void BufferCloser::operator()(AVBufferRef* b) const { av_buffer_unref(&b); }

} // namespace orma
