// The consumer an export takes its frames from renders them ahead, in
// order, on a thread of its own, so that rendering overlaps the encoder.
#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "engine/core/libraries.h"
#include "engine/encode/frame_pump.h"
#include "engine/timeline/timeline.h"

namespace {

// A main-track segment that notes where and in which order it is asked.
class Recorder : public orma::Segment {
public:
  Recorder(int64_t from, int64_t to) {
    start = from;
    end = to;
  }
  orma::FrameJobPtr Fetch(int64_t f) override {
    std::lock_guard<std::mutex> lock(mutex);
    fetched.push_back(f);
    fetchThreads.push_back(std::this_thread::get_id());
    return nullptr;
  }
  void Render(const orma::FrameJobPtr&, orma::Yuv& canvas) const override {
    std::lock_guard<std::mutex> lock(mutex);
    renderThreads.push_back(std::this_thread::get_id());
    orma::Fill(canvas, orma::YuvColor{});
  }
  void Audio(const orma::FrameJobPtr&, orma::AudioBlock&) const override {}

  mutable std::mutex mutex;
  std::vector<int64_t> fetched;
  std::vector<std::thread::id> fetchThreads;
  mutable std::vector<std::thread::id> renderThreads;
};

TEST(FrameRenderer, RendersTheFramesInOrderOnAThreadOfItsOwn) {
  ASSERT_TRUE(orma::EnsureMlt());
  orma::VirtualVideo video;
  video.settings.width = 320;
  video.settings.height = 180;
  orma::ProfilePtr profile = orma::MakeProfile(video.settings);
  orma::RenderContext ctx;
  ctx.profile = profile.get();
  ctx.width = 320;
  ctx.height = 180;
  {
    orma::Timeline timeline(video, ctx);
    auto segment = std::make_unique<Recorder>(0, 12);
    Recorder* recorder = segment.get();
    ASSERT_TRUE(timeline.Append(0, std::move(segment)));
    orma::ConsumerPtr renderer = orma::MakeFrameRenderer(profile.get(), 44100, 2);
    ASSERT_NE(renderer, nullptr);
    mlt_consumer consumer = renderer.get();
    mlt_producer producer = timeline.producer();
    mlt_producer_set_in_and_out(producer, 0, 11);
    mlt_consumer_connect(consumer, MLT_PRODUCER_SERVICE(producer));
    mlt_consumer_start(consumer);
    for (int i = 0; i < 12; ++i) {
      orma::MltFramePtr owner(mlt_consumer_rt_frame(consumer));
      mlt_frame frame = owner.get();
      ASSERT_NE(frame, nullptr);
      uint8_t* image = nullptr;
      mlt_image_format format = mlt_image_yuv420p;
      int w = 320, h = 180;
      EXPECT_EQ(mlt_frame_get_image(frame, &image, &format, &w, &h, 0), 0);
      EXPECT_EQ(mlt_frame_get_position(frame), i);
    }
    renderer.reset(); // stopped: the recorder holds still from here
    std::lock_guard<std::mutex> lock(recorder->mutex);
    ASSERT_GE(recorder->fetched.size(), 12u);
    for (size_t i = 0; i < 12; ++i)
      EXPECT_EQ(recorder->fetched[i], static_cast<int64_t>(i));
    ASSERT_GE(recorder->renderThreads.size(), 12u);
    for (size_t i = 0; i < 12; ++i) {
      EXPECT_NE(recorder->fetchThreads[i], std::this_thread::get_id()) << "frame " << i << " fetched here";
      EXPECT_NE(recorder->renderThreads[i], std::this_thread::get_id()) << "frame " << i << " drawn here";
    }
  }
}

} // namespace
