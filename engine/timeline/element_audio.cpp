// Music and sound effects: a sound-only segment per track over its span, on
// a stacked track shared with elements it never overlaps, mixed into the
// output by the track's mixing transition. The source is read from its
// trim start at the play speed (pitch kept) through the media items' sound
// chain (noise suppression, speed, voice effect), until its trim end or the
// span's end,
// whichever comes first, with its volume and its fades in and out over
// what is heard. The file is opened at the span's first frame and closed
// after its last.
#include <algorithm>
#include <cmath>

#include "engine/core/log.h"
#include "engine/media/audio_reader.h"
#include "engine/sound/audio_chain.h"
#include "engine/timeline/elements.h"
#include "engine/timeline/timeline.h"

namespace orma {

namespace {

// The state of playing one track: kept across frames, used only by the
// thread that takes the sound, in order.
class Playback {
public:
  Playback(const AudioTrack& track, RenderContext& ctx) : track_(track), ctx_(ctx) {
    speed_ = track.speed > 0 ? std::clamp(track.speed, 0.1, 10.0) : 1.0;
  }

  // Adds the sound of frame f of the span [start, end) to out.
  void Play(int64_t f, int64_t start, int64_t end, AudioBlock& out) {
    if (failed_ || out.samples <= 0 || out.channels <= 0) return;
    if (f != next_ && !Position(f, start, end, out.frequency, out.channels)) {
      failed_ = true;
      return;
    }
    next_ = f + 1;
    int n = out.samples;
    Resize(output_, outputPlanes_, out.channels, n);
    int got = elapsed_ < audible_ ? Produce(n) : 0;
    for (int i = 0; i < got; ++i) {
      float g = Gain(elapsed_ + i);
      for (int c = 0; c < out.channels; ++c)
        out.Plane(c)[i] += outputPlanes_[c][i] * g;
    }
    elapsed_ += n;
    if (f >= end - 1) {
      // Past the span: let go of the file, the decoder, the filters and the
      // buffers, so that a long draft does not keep them for every sound
      // effect it has played (a seek back makes them again).
      reader_.reset();
      chain_.reset();
      next_ = -1;
      ReleaseBuffers();
    }
  }

private:
  static constexpr int kBlock = 4096; ///< samples read from the file at a time

  static void Resize(std::vector<float>& buffer, std::vector<float*>& planes, int channels, int n) {
    buffer.assign(static_cast<size_t>(channels) * n, 0.0f);
    planes.resize(channels);
    for (int c = 0; c < channels; ++c)
      planes[c] = buffer.data() + static_cast<size_t>(c) * n;
  }

  void ReleaseBuffers() {
    std::vector<float>().swap(input_);
    std::vector<float>().swap(output_);
    std::vector<float*>().swap(inputPlanes_);
    std::vector<float*>().swap(outputPlanes_);
  }

  // Reads up to n samples of the trimmed source.
  int Read(int n) {
    n = static_cast<int>(std::min<int64_t>(n, sourceLeft_));
    int got = n > 0 ? reader_->Read(inputPlanes_.data(), n) : 0;
    sourceLeft_ -= got;
    return got;
  }

  // n samples of processed sound into output_; fewer once it has ended.
  int Produce(int n) {
    if (!chain_) {
      Resize(input_, inputPlanes_, reader_->channels(), n);
      int got = Read(n);
      for (int c = 0; c < reader_->channels(); ++c)
        std::copy(inputPlanes_[c], inputPlanes_[c] + got, outputPlanes_[c]);
      return got;
    }
    while (chain_->Available() < n && !chain_->finished()) {
      Resize(input_, inputPlanes_, reader_->channels(), kBlock);
      int got = Read(kBlock);
      if (got > 0)
        chain_->Push(inputPlanes_.data(), got);
      else
        chain_->Finish();
    }
    return chain_->Pull(outputPlanes_.data(), n);
  }

  bool Position(int64_t f, int64_t start, int64_t end, int rate, int channels) {
    if (!reader_ || reader_->sampleRate() != rate || reader_->channels() != channels)
      reader_ = std::make_unique<AudioReader>(track_.probe, rate, channels);
    int64_t offsetUs = FramesToUs(f, ctx_.fps) - FramesToUs(start, ctx_.fps);
    int64_t sourceUs = track_.trimStartUs + static_cast<int64_t>(std::llround(offsetUs * speed_));
    auto toSamples = [rate](int64_t us) { return static_cast<int64_t>(std::llround(us * 1e-6 * rate)); };
    elapsed_ = toSamples(offsetUs);
    int64_t span = toSamples(FramesToUs(end, ctx_.fps) - FramesToUs(start, ctx_.fps));
    int64_t sourceEnd = track_.trimEndUs > track_.trimStartUs ? track_.trimEndUs : track_.probe.durationUs;
    int64_t heard = sourceEnd > track_.trimStartUs
                        ? toSamples(static_cast<int64_t>((sourceEnd - track_.trimStartUs) / speed_))
                        : span;
    audible_ = std::min(span, heard);
    fadeIn_ = toSamples(track_.fadeInUs);
    fadeOut_ = toSamples(track_.fadeOutUs);
    sourceLeft_ = sourceEnd > sourceUs ? toSamples(sourceEnd - sourceUs) : 0;
    std::string error;
    if (!reader_->Seek(sourceUs, &error)) {
      ctx_.Fail(error);
      return false;
    }
    // The media items' sound chain, only when it changes something.
    AudioChain::Settings settings;
    settings.sampleRate = rate;
    settings.channels = channels;
    settings.speed = speed_;
    settings.effect = track_.effect;
    settings.noiseLevel = track_.nsLevel;
    chain_.reset();
    if (AudioChain::Changes(settings)) {
      chain_ = std::make_unique<AudioChain>();
      if (!chain_->Open(settings, &error)) {
        ctx_.Fail(track_.probe.path + ": " + error);
        return false;
      }
    }
    return true;
  }

  float Gain(int64_t t) const {
    if (t >= audible_) return 0.0f;
    double g = track_.volume;
    if (fadeIn_ > 0 && t < fadeIn_) g *= static_cast<double>(t) / fadeIn_;
    if (fadeOut_ > 0 && audible_ - t < fadeOut_) g *= static_cast<double>(audible_ - t) / fadeOut_;
    return static_cast<float>(g);
  }

  const AudioTrack& track_;
  RenderContext& ctx_;
  double speed_ = 1.0;
  bool failed_ = false;
  std::unique_ptr<AudioReader> reader_;
  std::unique_ptr<AudioChain> chain_;
  int64_t next_ = -1;      ///< the frame that continues the stream without a seek
  int64_t elapsed_ = 0;    ///< output samples since the span's start
  int64_t sourceLeft_ = 0; ///< source samples left before the trim end
  int64_t audible_ = 0, fadeIn_ = 0, fadeOut_ = 0;
  std::vector<float> input_, output_;
  std::vector<float*> inputPlanes_, outputPlanes_;
};

// A sound frame needs only its number: the playback reads in order.
struct SoundJob : FrameJob {
  explicit SoundJob(int64_t f) : frame(f) {}
  int64_t frame;
};

class AudioTrackSegment : public SegmentOf<SoundJob> {
public:
  AudioTrackSegment(const AudioTrack& track, RenderContext& ctx)
      : playback_(std::make_unique<Playback>(track, ctx)) {
    overlay = true;
    picture = false;
  }

protected:
  std::shared_ptr<SoundJob> FetchJob(int64_t f) override { return std::make_shared<SoundJob>(f); }
  void RenderJob(const SoundJob&, Yuv&) const override {}
  void AudioJob(const SoundJob& job, AudioBlock& out) const override {
    playback_->Play(job.frame, start, end, out);
  }

private:
  std::unique_ptr<Playback> playback_;
};

class AudioBuilder : public ElementBuilder {
public:
  bool Add(Timeline& tl, Element& element, std::string* error) override {
    auto& track = static_cast<AudioTrack&>(element);
    if (!(track.volume > 0.0)) return true; // silent: nothing to mix
    // Sound does not lengthen the video: it is cut where the video ends.
    int64_t videoEnd = UsToFrames(TimelineLengthUs(tl.video), tl.ctx.fps);
    int64_t start = UsToFrames(track.startUs, tl.ctx.fps);
    int64_t end = std::min(UsToFrames(track.endUs, tl.ctx.fps), videoEnd);
    if (end <= start) return true;
    auto segment = std::make_unique<AudioTrackSegment>(track, tl.ctx);
    segment->start = start;
    segment->end = end;
    int lane = tl.AllocateTrack(start, end);
    if (!tl.Append(lane, std::move(segment))) {
      *error = "cannot place an audio track";
      return false;
    }
    tl.MixSound(lane);
    return true;
  }
};

} // namespace

std::unique_ptr<ElementBuilder> MakeAudioBuilder() { return std::make_unique<AudioBuilder>(); }

} // namespace orma
