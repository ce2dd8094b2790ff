// Still pictures (png, jpg, bmp, webp, one-frame gif) are decoded here with
// libavformat and libavcodec, under the same rules as every media file (a
// plain local file, FFmpeg limited to the "file" protocol, the demuxer that
// the probe accepted), once per scene, into straight RGBA.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include "engine/core/av_handles.h"
#include "engine/core/libraries.h"
#include "engine/media/exif_orientation.h"
#include "engine/media/picture_input.h"
#include "engine/media/still_image.h"

namespace orma {

namespace {
bool FullRange(const AVFrame* f) {
  if (f->color_range == AVCOL_RANGE_JPEG) return true;
  if (f->color_range == AVCOL_RANGE_MPEG) return false;
  switch (f->format) {
  case AV_PIX_FMT_YUVJ420P:
  case AV_PIX_FMT_YUVJ422P:
  case AV_PIX_FMT_YUVJ444P:
  case AV_PIX_FMT_YUVJ440P:
  case AV_PIX_FMT_YUVJ411P:
    return true;
  default:
    return false;
  }
}
} // namespace

bool LoadRgba(const MediaProbe& probe, RgbaImage* out, std::string* error) {
  PictureInput in;
  PictureOpen opened = in.Open(probe, error);
  if (opened == PictureOpen::NoFile) return false;
  PacketPtr packet(av_packet_alloc());
  FramePtr picture(av_frame_alloc());
  AVPacket* pkt = packet.get();
  AVFrame* frame = picture.get();
  bool got = false;
  if (opened == PictureOpen::Ok) {
    AVCodecContext* dec = in.decoder.get();
    while (!got && av_read_frame(in.format.get(), pkt) >= 0) {
      if (pkt->stream_index == in.stream && avcodec_send_packet(dec, pkt) >= 0)
        got = avcodec_receive_frame(dec, frame) >= 0;
      av_packet_unref(pkt);
    }
    if (!got) {
      avcodec_send_packet(dec, nullptr);
      got = avcodec_receive_frame(dec, frame) >= 0;
    }
  }
  if (got) {
    int w = frame->width, h = frame->height;
    SwsPtr sws(sws_getContext(w, h, static_cast<AVPixelFormat>(frame->format), w, h, AV_PIX_FMT_RGBA,
                              SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr,
                              nullptr));
    if (sws) {
      int space = frame->colorspace == AVCOL_SPC_BT709 ? SWS_CS_ITU709 : SWS_CS_ITU601;
      sws_setColorspaceDetails(sws.get(), sws_getCoefficients(space), FullRange(frame) ? 1 : 0,
                               sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
      out->width = w;
      out->height = h;
      out->pixels.assign(static_cast<size_t>(w) * h * 4, 0);
      uint8_t* dst[4] = {out->pixels.data(), nullptr, nullptr, nullptr};
      int strides[4] = {w * 4, 0, 0, 0};
      sws_scale(sws.get(), frame->data, frame->linesize, 0, h, dst, strides);
      // A camera's picture stored sideways says in its EXIF data how to turn it.
      TurnRgba(ExifQuarterTurns(frame), &out->width, &out->height, &out->pixels);
    } else {
      got = false;
    }
  }
  if (!got) *error = probe.path + ": cannot decode the picture";
  return got;
}

} // namespace orma
