// The frame pump (frame_pump.h): the frame renderer MLT's consumer is set up
// as, and the loop that takes its frames in order and hands each one's
// picture and sound to the encoder.
#include "engine/encode/frame_pump.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "engine/core/rational.h"
#include "engine/encode/encoder.h"
#include "engine/model/model.h"
#include "engine/model/render_context.h"

namespace orma {

namespace {

// Gives back the reference the encoder held on a frame whose canvas it read.
void CloseFrame(void* frame) { mlt_frame_close(static_cast<mlt_frame>(frame)); }

// Hands one rendered frame after the other to the encoder.
class Pump {
public:
  Pump(const ExportSettings& settings, RenderContext& ctx, Encoder& encoder, bool writeSound)
      : s_(settings), ctx_(ctx), encoder_(encoder), writeSound_(writeSound), rate_(encoder.sampleRate()),
        fps_(static_cast<double>(settings.fps.num) / settings.fps.den), planes_(settings.channels) {}

  /// The picture, then the sound, of the frame at `index` from the range's
  /// start; the frame closes on return.
  bool Frame(MltFramePtr frame, int64_t index, std::string* error) {
    if (!Picture(frame.get(), error)) return false;
    return !writeSound_ || Sound(frame.get(), index, error);
  }

private:
  bool Picture(mlt_frame frame, std::string* error) {
    if (!s_.writeVideo) return !ctx_.failed;
    uint8_t* image = nullptr;
    mlt_image_format format = mlt_image_yuv420p;
    int w = s_.width, h = s_.height;
    if (mlt_frame_get_image(frame, &image, &format, &w, &h, 0) != 0 || !image ||
        format != mlt_image_yuv420p || w != s_.width || h != s_.height) {
      *error = ctx_.failed ? ctx_.Error() : "a frame could not be rendered";
      return false;
    }
    if (ctx_.failed) return false;
    // The encoder holds the frame, and so its canvas, for as long as it
    // reads the picture.
    mlt_properties_inc_ref(MLT_FRAME_PROPERTIES(frame));
    return encoder_.WriteVideo(image, CloseFrame, frame, error);
  }

  // A frame whose sound cannot be had gets silence of its length, so that
  // the sound keeps time with the pictures.
  bool Sound(mlt_frame frame, int64_t index, std::string* error) {
    int samples = mlt_audio_calculate_frame_samples(static_cast<float>(fps_), rate_, index);
    void* pcm = nullptr;
    mlt_audio_format format = mlt_audio_float;
    int frequency = rate_, channels = s_.channels, n = samples;
    if (mlt_frame_get_audio(frame, &pcm, &format, &frequency, &channels, &n) != 0 || !pcm ||
        format != mlt_audio_float || channels != s_.channels || n != samples) {
      silence_.assign(static_cast<size_t>(samples) * s_.channels, 0.0f);
      pcm = silence_.data();
      n = samples;
    }
    for (int c = 0; c < s_.channels; ++c)
      planes_[c] = static_cast<const float*>(pcm) + static_cast<size_t>(c) * n;
    return encoder_.WriteAudio(planes_.data(), n, error);
  }

  const ExportSettings& s_;
  RenderContext& ctx_;
  Encoder& encoder_;
  bool writeSound_;
  int rate_;
  double fps_;
  std::vector<float> silence_;
  std::vector<const float*> planes_;
};

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

PumpEnd PumpFrames(VirtualVideo& video, RenderContext& ctx, mlt_producer producer, FrameRange range,
                   Encoder& encoder, bool writeSound, std::string* error) {
  const ExportSettings& s = video.settings;
  ConsumerPtr renderer = MakeFrameRenderer(ctx.profile, encoder.sampleRate(), s.channels);
  if (!renderer) return PumpEnd::NoRenderer;
  mlt_consumer consumer = renderer.get();
  // The read-ahead thread then neither draws pictures nor mixes sound that
  // nobody writes.
  mlt_properties_set_int(MLT_CONSUMER_PROPERTIES(consumer), "video_off", s.writeVideo ? 0 : 1);
  mlt_properties_set_int(MLT_CONSUMER_PROPERTIES(consumer), "audio_off", writeSound ? 0 : 1);
  mlt_consumer_connect(consumer, MLT_PRODUCER_SERVICE(producer));
  mlt_consumer_start(consumer);

  Pump pump(s, ctx, encoder, writeSound);
  for (int64_t done = 0; done < range.count; ++done) {
    if (video.stopRequested) return PumpEnd::Stopped;
    MltFramePtr frame(mlt_consumer_rt_frame(consumer));
    if (!frame) {
      *error = "the renderer stopped early";
      return PumpEnd::Failed;
    }
    bool ok = pump.Frame(std::move(frame), done, error);
    video.positionUs = FramesToUs(range.first + done + 1, s.fps);
    int percent = static_cast<int>(std::min<int64_t>(99, (done + 1) * 100 / range.count));
    if (percent > video.progress) video.progress = percent;
    if (!ok) return PumpEnd::Failed;
  }
  return PumpEnd::Done;
}

} // namespace orma
