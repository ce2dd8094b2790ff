// The preview player (player.h): one per playing virtual video, kept in a
// table by video, living from OrmaPreview to "stop".
#include "engine/preview/player.h"

#if !defined(_WIN32)
#include <pthread.h>
#include <signal.h>
#endif

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "engine/core/libraries.h"
#include "engine/core/log.h"
#include "engine/core/mlt_handles.h"
#include "engine/encode/export_run.h"
#include "engine/encode/frame_pump.h"
#include "engine/preview/playback_clock.h"
#include "engine/preview/preview_format.h"
#include "engine/preview/sound_output.h"
#include "engine/preview/window_view.h"
#include "engine/timeline/timeline.h"

namespace orma {

namespace {

// Frames read ahead of the one shown: their sound is queued on the device
// early enough that it never runs dry between two pictures.
constexpr size_t kReadAhead = 4;

int32_t Failure(int32_t code, const std::string& cause) {
  LogText("OrmaPreview failed (" + std::to_string(code) + "): " + cause);
  return code;
}

class Player {
public:
  explicit Player(VirtualVideo& video) : video_(video), clock_(sound_) {}
  ~Player();

  int32_t Start();
  /// Hands a command to the player's thread and waits until it is done.
  void Command(PreviewControl control, int64_t positionUs);

private:
  struct Pending {
    PreviewControl control;
    int64_t positionUs;
    uint64_t ticket;
  };
  struct Ahead {
    MltFramePtr frame;
    int64_t index;
  };

  void Run();
  bool Apply(const Pending& command); // false for "stop"
  bool ReadOne();
  void Show(const Ahead& frame); // the frame closes as it leaves ahead_
  void Drop(const Ahead& frame);
  void ClearAhead();
  /// Shows the frame at `index` at once and sets the clock there.
  void Reposition(int64_t index);
  void ReachEnd();
  double FrameSeconds(int64_t index) const { return static_cast<double>(index) * fps_.den / fps_.num; }

  VirtualVideo& video_;
  SoundOutput sound_;
  PlaybackClock clock_;
  WindowView view_;
  ProfilePtr profile_;
  RenderContext ctx_;
  std::unique_ptr<Timeline> timeline_;
  ConsumerPtr consumer_;
  Rational fps_{25, 1};
  int rate_ = 44100;
  int channels_ = 2;
  int64_t length_ = 0;  ///< frames
  int64_t totalUs_ = 0; ///< what OrmaGetTotalPlaybackTime reports
  std::vector<float> silence_;

  // Player thread only.
  std::deque<Ahead> ahead_;
  int64_t next_ = 0; ///< index of the next frame the renderer gives
  bool playing_ = false;
  bool atEnd_ = false;
  bool mediaFailureLogged_ = false;
  int64_t shown_ = 0, dropped_ = 0;

  std::thread thread_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<Pending> commands_;
  uint64_t issued_ = 0, done_ = 0;
  bool stopped_ = false;
};

Player::~Player() {
  if (thread_.joinable()) Command(PreviewControl::Stop, 0);
  if (thread_.joinable()) thread_.join();
  // The frames, then the renderer that made them, then the graph it reads,
  // before the window and the sound device go.
  ClearAhead();
  consumer_.reset();
  timeline_.reset();
  view_.Close();
  sound_.Close();
  video_.positionUs = 0;
  video_.exporting = false;
  if (const char* path = std::getenv("ORMA_PREVIEW_STATS")) {
    // Counts for the preview benchmark: pictures shown and skipped.
    if (FILE* f = std::fopen(path, "a")) {
      std::fprintf(f, "{\"shown\": %lld, \"dropped\": %lld}\n", static_cast<long long>(shown_),
                   static_cast<long long>(dropped_));
      std::fclose(f);
    }
  }
}

int32_t Player::Start() {
  const PreviewSettings& preview = video_.preview;
  if (preview.window == 0) return Failure(ORMA_NO_PREVIEW_WINDOW, "no window was given to play into");
  std::string error;
  if (!view_.Open(preview.window, &error)) return Failure(ORMA_PREVIEW_WINDOW_UNUSABLE, error);

  ExportSettings settings = video_.settings;
  const FrameSize size =
      PreviewRenderSize(settings.width, settings.height, preview.displayRatio, view_.width(), view_.height());
  settings.width = size.width;
  settings.height = size.height;
  settings.fps = PreviewFrameRate(video_);
  fps_ = settings.fps;
  rate_ = settings.sampleRate > 0 ? settings.sampleRate : 44100;
  channels_ = settings.channels > 0 ? settings.channels : 2;

  if (!EnsureMlt()) return Failure(ORMA_FRAMEWORK_UNAVAILABLE, "the MLT framework cannot be started");
  profile_ = MakeProfile(settings);
  if (!profile_) return Failure(ORMA_FRAMEWORK_UNAVAILABLE, "cannot create the video profile");
  ctx_.profile = profile_.get();
  ctx_.width = settings.width;
  ctx_.height = settings.height;
  ctx_.matrix = CanvasMatrix(settings.height);
  ctx_.fps = settings.fps;
  timeline_ = std::make_unique<Timeline>(video_, ctx_);
  if (!timeline_->Build(&error)) return Failure(ORMA_TIMELINE_INVALID, error);
  length_ = timeline_->length();
  if (length_ <= 0) return Failure(ORMA_TIMELINE_EMPTY, "the timeline is empty");
  totalUs_ = TimelineLengthUs(video_);

  std::string why;
  if (!sound_.Open(rate_, channels_, &why))
    LogOnce("preview-no-sound", "preview: " + why + "; the pictures keep time with the system clock");

  consumer_ = MakeFrameRenderer(profile_.get(), rate_, channels_);
  if (!consumer_) return Failure(ORMA_FRAMEWORK_UNAVAILABLE, "cannot create the frame renderer");
  mlt_producer producer = timeline_->producer();
  mlt_producer_set_in_and_out(producer, 0, static_cast<mlt_position>(length_ - 1));
  mlt_consumer_connect(consumer_.get(), MLT_PRODUCER_SERVICE(producer));
  video_.exporting = true; // the model must hold still while it is played

  playing_ = true;
  Reposition(0);
  thread_ = std::thread([this] { Run(); });
  return 1;
}

void Player::Command(PreviewControl control, int64_t positionUs) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (stopped_) return;
  const uint64_t ticket = ++issued_;
  commands_.push_back({control, positionUs, ticket});
  wake_.notify_all();
  // A seek waits for its picture; a thread stuck on a broken display must
  // still not hold the caller for ever.
  wake_.wait_for(lock, std::chrono::seconds(5), [&] { return done_ >= ticket; });
}

bool Player::Apply(const Pending& command) {
  switch (command.control) {
  case PreviewControl::Play:
    if (atEnd_) Reposition(0);
    if (!playing_) {
      playing_ = true;
      clock_.Resume();
      sound_.Pause(false);
    }
    return true;
  case PreviewControl::Pause:
    if (playing_) {
      playing_ = false;
      clock_.Pause();
      sound_.Pause(true);
    }
    return true;
  case PreviewControl::Seek: {
    const int64_t us = std::clamp<int64_t>(command.positionUs, 0, totalUs_);
    if (us >= totalUs_) {
      Reposition(length_ - 1);
      ReachEnd();
    } else {
      Reposition(std::clamp<int64_t>(UsToFrames(us, fps_), 0, length_ - 1));
      // The position asked for, not that of the nearest frame shown.
      video_.positionUs = us;
    }
    return true;
  }
  case PreviewControl::Stop:
    return false;
  }
  return true;
}

bool Player::ReadOne() {
  MltFramePtr frame(mlt_consumer_rt_frame(consumer_.get()));
  if (!frame) return false;
  const int64_t index = next_++;
  // Every frame's sound is queued, also when its picture is skipped later.
  if (sound_.open()) {
    const int samples = mlt_audio_calculate_frame_samples(static_cast<float>(fps_.num) / fps_.den, rate_,
                                                          static_cast<int>(index));
    void* pcm = nullptr;
    mlt_audio_format format = mlt_audio_float;
    int frequency = rate_, channels = channels_, n = samples;
    if (mlt_frame_get_audio(frame.get(), &pcm, &format, &frequency, &channels, &n) != 0 || !pcm ||
        format != mlt_audio_float || channels != channels_ || n <= 0) {
      silence_.assign(static_cast<size_t>(samples) * channels_, 0.0f);
      pcm = silence_.data();
      n = samples;
    }
    sound_.Queue(static_cast<const float*>(pcm), n);
  }
  ahead_.push_back({std::move(frame), index});
  return true;
}

void Player::Show(const Ahead& frame) {
  uint8_t* image = nullptr;
  mlt_image_format format = mlt_image_yuv420p;
  int w = ctx_.width, h = ctx_.height;
  if (mlt_frame_get_image(frame.frame.get(), &image, &format, &w, &h, 0) == 0 && image &&
      format == mlt_image_yuv420p)
    view_.Show(image, w, h, ctx_.matrix);
  if (ctx_.failed && !mediaFailureLogged_) {
    mediaFailureLogged_ = true;
    LogText("preview: " + ctx_.Error());
  }
  ++shown_;
  video_.positionUs = FramesToUs(frame.index, fps_);
}

void Player::Drop(const Ahead& frame) {
  ++dropped_;
  video_.positionUs = FramesToUs(frame.index, fps_);
}

void Player::ClearAhead() { ahead_.clear(); }

void Player::Reposition(int64_t index) {
  ClearAhead();
  sound_.Clear();
  mlt_consumer_stop(consumer_.get());
  mlt_producer_seek(timeline_->producer(), static_cast<mlt_position>(index));
  mlt_consumer_start(consumer_.get());
  next_ = index;
  atEnd_ = false;
  sound_.Pause(!playing_);
  clock_.Set(FrameSeconds(index), playing_);
  if (ReadOne()) {
    Show(ahead_.front());
    ahead_.pop_front();
  }
}

void Player::ReachEnd() {
  // The last picture stays; the position is the whole length.
  playing_ = false;
  atEnd_ = true;
  clock_.Pause();
  sound_.Pause(true);
  video_.positionUs = totalUs_;
}

void Player::Run() {
  // Pictures are drawn from this thread. When the X server has gone, the
  // next write on its connection fails with EPIPE and raises SIGPIPE, whose
  // default action would end the process before Xlib could report the loss
  // (window_view.h); blocked here, the signal stays pending on this thread
  // and the write just fails.
#if !defined(_WIN32)
  sigset_t pipeSignal;
  sigemptyset(&pipeSignal);
  sigaddset(&pipeSignal, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
#endif
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    while (!commands_.empty()) {
      const Pending command = commands_.front();
      commands_.pop_front();
      lock.unlock();
      const bool goOn = Apply(command);
      lock.lock();
      done_ = command.ticket;
      wake_.notify_all();
      if (!goOn) {
        stopped_ = true;
        // Whoever still waits is released: nothing more is carried out.
        done_ = issued_;
        wake_.notify_all();
        return;
      }
    }
    lock.unlock();
    view_.Poll();
    double wait = 0.03; // seconds until something is due
    if (playing_) {
      while (ahead_.size() < kReadAhead && next_ < length_ && ReadOne()) {
      }
      const double now = clock_.Now();
      const double frame = FrameSeconds(1);
      if (ahead_.empty()) {
        // Everything shown: the end comes when the last frame's time is over.
        if (now >= FrameSeconds(length_)) ReachEnd();
        wait = std::min(wait, std::max(0.0, FrameSeconds(length_) - now));
      } else {
        Ahead& front = ahead_.front();
        const double due = FrameSeconds(front.index);
        if (now >= due + frame && ahead_.size() > 1) {
          Drop(front); // a later picture is due already
          ahead_.pop_front();
          wait = 0;
        } else if (now >= due) {
          Show(front);
          ahead_.pop_front();
          wait = 0;
        } else {
          wait = std::min(wait, due - now);
        }
      }
    }
    lock.lock();
    if (wait > 0 && commands_.empty())
      wake_.wait_for(lock, std::chrono::duration<double>(std::min(wait, 0.01)));
  }
}

std::mutex& TableMutex() {
  static std::mutex* mutex = new std::mutex; // outlives players at exit
  return *mutex;
}

std::condition_variable& TableChanged() {
  static auto* changed = new std::condition_variable;
  return *changed;
}

// Players by video, and videos whose preview is initialised but not yet
// started (no player): a command for those waits for OrmaPreview, which the
// program calls while its control thread may already be reading commands.
// Never destroyed at exit: a process that ends while a preview plays just
// ends.
struct Entry {
  std::shared_ptr<Player> player;
};
std::map<const VirtualVideo*, Entry>& Players() {
  static auto* players = new std::map<const VirtualVideo*, Entry>;
  return *players;
}

} // namespace

void AwaitPreview(VirtualVideo& video) {
  std::lock_guard<std::mutex> lock(TableMutex());
  Players().emplace(&video, Entry{});
}

int32_t StartPreview(VirtualVideo& video) {
  {
    std::lock_guard<std::mutex> lock(TableMutex());
    auto it = Players().find(&video);
    if (it != Players().end() && it->second.player)
      return Failure(ORMA_PREVIEW_RUNNING, "this video is already playing");
    Players()[&video] = Entry{};
  }
  auto player = std::make_shared<Player>(video);
  const int32_t result = player->Start();
  std::lock_guard<std::mutex> lock(TableMutex());
  if (result < 1)
    Players().erase(&video);
  else
    Players()[&video].player = std::move(player);
  TableChanged().notify_all();
  return result;
}

int32_t ControlPreview(VirtualVideo& video, PreviewControl control, int64_t positionUs) {
  std::shared_ptr<Player> player;
  {
    std::unique_lock<std::mutex> lock(TableMutex());
    // A preview being started is waited for; one that failed, or was never
    // started within the time, is not playing.
    TableChanged().wait_for(lock, std::chrono::seconds(30), [&] {
      auto it = Players().find(&video);
      return it == Players().end() || it->second.player;
    });
    auto it = Players().find(&video);
    if (it == Players().end() || !it->second.player) return ORMA_PREVIEW_NOT_RUNNING;
    player = it->second.player;
    if (control == PreviewControl::Stop) Players().erase(it);
  }
  player->Command(control, positionUs);
  return 1; // a stopped player is released with the last reference
}

} // namespace orma
