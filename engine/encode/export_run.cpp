#include "engine/encode/export_run.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>

#include <mlt-7/framework/mlt.h>

#include "engine/core/libraries.h"
#include "engine/core/log.h"
#include "engine/core/mlt_handles.h"
#include "engine/core/rational.h"
#include "engine/encode/codec_choice.h"
#include "engine/encode/encoder.h"
#include "engine/encode/frame_pump.h"
#include "engine/encode/output_file.h"
#include "engine/model/render_context.h"
#include "engine/timeline/timeline.h"

namespace orma {

namespace {

const char* const kStoppedCause = "the export was stopped (OrmaEditCancel); its temporary file is removed";

int32_t Failure(int32_t code, const std::string& cause) {
  LogText("OrmaEditMedia failed (" + std::to_string(code) + "): " + cause);
  NoteFailure(cause);
  return code;
}

// The frames the limit time selects of a timeline of `length` frames; an
// empty range when it selects none.
FrameRange LimitRange(const ExportSettings& s, int64_t length) {
  int64_t first = 0, last = length;
  if (s.limitStartUs > 0) first = std::clamp<int64_t>(UsToFrames(s.limitStartUs, s.fps), 0, length);
  if (s.limitEndUs > 0) last = std::clamp<int64_t>(UsToFrames(s.limitEndUs, s.fps), 0, length);
  return FrameRange{first, std::max<int64_t>(0, last - first)};
}

EncoderSettings EncoderSettingsFor(const ExportSettings& s, const CodecChoice& codecs,
                                   const std::string& path, int matrix) {
  EncoderSettings es;
  es.path = path;
  es.container = codecs.container;
  es.videoCodec = codecs.video;
  es.width = s.width;
  es.height = s.height;
  es.fpsNum = s.fps.num;
  es.fpsDen = s.fps.den;
  es.videoKbits = s.videoKbits;
  es.matrix = matrix;
  es.audioCodec = codecs.audio;
  es.sampleRate = s.sampleRate;
  es.channels = s.channels;
  es.audioKbits = s.audioKbits > 0 ? s.audioKbits : 128;
  return es;
}

int32_t Render(VirtualVideo& video) {
  ExportSettings& s = video.settings;
  if (s.width <= 0 || s.height <= 0) return Failure(ORMA_NO_FRAME_SIZE, "the frame size is not set");
  if (s.outPath.empty()) return Failure(ORMA_NO_OUTPUT_PATH, "the output path is not set");
  std::string target = AbsolutePath(s.outPath);
  std::string cause;
  CodecChoice codecs;
  if (int32_t code = ChooseCodecs(s, target, &codecs, &cause); code != ORMA_OK) return Failure(code, cause);

  // The video is written beside the target and moved into place only when
  // complete, so a failed or killed export never leaves a partial file at the
  // output path. Declared before the encoder: the file is closed before its
  // temporary is removed.
  PartFile part;
  if (!part.Create(target, &cause)) return Failure(ORMA_OUTPUT_NOT_WRITABLE, cause);

  if (!EnsureMlt()) return Failure(ORMA_FRAMEWORK_UNAVAILABLE, "the MLT framework cannot be started");
  ProfilePtr profile = MakeProfile(s);
  if (!profile) return Failure(ORMA_FRAMEWORK_UNAVAILABLE, "cannot create the video profile");

  RenderContext ctx;
  ctx.profile = profile.get();
  ctx.width = s.width;
  ctx.height = s.height;
  ctx.matrix = CanvasMatrix(s.height);
  ctx.fps = s.fps;
  ctx.drawPictures = s.writeVideo;
  ctx.hardwareDecoding = UseHardwareDecoding(s);

  auto timeline = std::make_unique<Timeline>(video, ctx);
  std::string error;
  if (!timeline->Build(&error)) return Failure(ORMA_TIMELINE_INVALID, error);
  // Building a long timeline takes a while; a stop asked for meanwhile is
  // not worth opening the encoder for.
  if (video.stopRequested) return Failure(ORMA_EXPORT_STOPPED, kStoppedCause);
  int64_t length = timeline->length();
  if (length <= 0) return Failure(ORMA_TIMELINE_EMPTY, "the timeline is empty");
  FrameRange range = LimitRange(s, length);
  if (range.count <= 0)
    return Failure(ORMA_LIMIT_SELECTS_NOTHING, "the limit time selects no frame of the timeline");
  mlt_producer producer = timeline->producer();
  mlt_producer_set_in_and_out(producer, static_cast<mlt_position>(range.first),
                              static_cast<mlt_position>(range.first + range.count - 1));
  // A producer's position counts from its in point: seeking to `first` here
  // would land `first` frames past the range's start (clamped to its last
  // frame, which was then shown throughout).
  mlt_producer_seek(producer, 0);

  Encoder encoder;
  if (!encoder.Open(EncoderSettingsFor(s, codecs, part.path(), ctx.matrix), &error))
    return Failure(ORMA_ENCODING_FAILED, error);
  int rate = encoder.sampleRate();
  if (!codecs.audio.empty() && rate != s.sampleRate)
    LogOnce("rate-" + codecs.audio, codecs.audio + " takes no " + std::to_string(s.sampleRate) +
                                        " Hz sound; it is written at " + std::to_string(rate) + " Hz");

  PumpEnd end = PumpFrames(video, ctx, producer, range, encoder, !codecs.audio.empty(), &error);
  if (end == PumpEnd::NoRenderer)
    return Failure(ORMA_FRAMEWORK_UNAVAILABLE, "cannot create the frame renderer");
  // The decoders and pictures the graph still holds go before the encoder
  // finishes.
  timeline.reset();
  if (end == PumpEnd::Stopped) return Failure(ORMA_EXPORT_STOPPED, kStoppedCause);
  if (end != PumpEnd::Done)
    return Failure(ctx.failed ? ORMA_MEDIA_FAILED : ORMA_ENCODING_FAILED, ctx.failed ? ctx.Error() : error);
  if (!encoder.Finish(&error)) return Failure(ORMA_ENCODING_FAILED, error);
  if (!part.Place(&cause)) return Failure(ORMA_CANNOT_PLACE_OUTPUT, cause);
  return ORMA_OK;
}

} // namespace

int32_t RunExport(VirtualVideo& video) {
  std::unique_lock<std::mutex> lock(video.exportMutex, std::try_to_lock);
  if (!lock.owns_lock()) return Failure(ORMA_EXPORT_BUSY, "an export of this video is already running");
  video.progress = 0;
  video.exporting = true;
  // A stop asked for before the export began ends it before anything is
  // written.
  int32_t result = video.stopRequested ? Failure(ORMA_EXPORT_STOPPED, kStoppedCause) : Render(video);
  // 100 also after a failure: callers wait for the end by the progress.
  video.progress = 100;
  video.exporting = false;
  return result;
}

} // namespace orma
