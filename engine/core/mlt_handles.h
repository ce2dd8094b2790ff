// Owners of MLT's objects. Each is a unique_ptr whose deleter drops the
// reference the owner holds with MLT's close function for that kind, so an
// export or a preview that stops on a failure releases what it made on
// every path. MLT counts references: an object handed to another (a
// producer appended to a playlist, a transition planted in a field) is held
// there too, and the owner's close only gives up its own share.
//
//   ProfilePtr profile(mlt_profile_init(nullptr));
//   ConsumerPtr consumer(mlt_consumer_new(profile.get()));
//   MltFramePtr frame(mlt_consumer_rt_frame(consumer.get()));
#pragma once

#include <memory>
#include <type_traits>

#include <mlt-7/framework/mlt.h>

namespace orma {

struct ProfileCloser {
  void operator()(mlt_profile p) const { mlt_profile_close(p); }
};
struct ProducerCloser {
  void operator()(mlt_producer p) const { mlt_producer_close(p); }
};
struct PlaylistCloser {
  void operator()(mlt_playlist p) const { mlt_playlist_close(p); }
};
struct TractorCloser {
  void operator()(mlt_tractor t) const { mlt_tractor_close(t); }
};
struct TransitionCloser {
  void operator()(mlt_transition t) const { mlt_transition_close(t); }
};
struct FilterCloser {
  void operator()(mlt_filter f) const { mlt_filter_close(f); }
};
struct MltFrameCloser {
  void operator()(mlt_frame f) const { mlt_frame_close(f); }
};
/// A consumer is stopped before it is closed, so that its read-ahead thread
/// never outlives it (stopping one that was not started does nothing).
struct ConsumerCloser {
  void operator()(mlt_consumer c) const {
    mlt_consumer_stop(c);
    mlt_consumer_close(c);
  }
};

using ProfilePtr = std::unique_ptr<std::remove_pointer_t<mlt_profile>, ProfileCloser>;
using ProducerPtr = std::unique_ptr<std::remove_pointer_t<mlt_producer>, ProducerCloser>;
using PlaylistPtr = std::unique_ptr<std::remove_pointer_t<mlt_playlist>, PlaylistCloser>;
using TractorPtr = std::unique_ptr<std::remove_pointer_t<mlt_tractor>, TractorCloser>;
using TransitionPtr = std::unique_ptr<std::remove_pointer_t<mlt_transition>, TransitionCloser>;
using FilterPtr = std::unique_ptr<std::remove_pointer_t<mlt_filter>, FilterCloser>;
using MltFramePtr = std::unique_ptr<std::remove_pointer_t<mlt_frame>, MltFrameCloser>;
using ConsumerPtr = std::unique_ptr<std::remove_pointer_t<mlt_consumer>, ConsumerCloser>;

} // namespace orma
