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

/// Closes an MLT object with the close function MLT gives for its kind.
template <typename Handle, void (*Close)(Handle)> struct MltCloser {
  void operator()(Handle h) const { Close(h); }
};
template <typename Handle, void (*Close)(Handle)>
using MltPtr = std::unique_ptr<std::remove_pointer_t<Handle>, MltCloser<Handle, Close>>;

/// A consumer is stopped before it is closed, so that its read-ahead thread
/// never outlives it (stopping one that was not started does nothing).
inline void StopAndCloseConsumer(mlt_consumer c) {
  mlt_consumer_stop(c);
  mlt_consumer_close(c);
}

using ProfilePtr = MltPtr<mlt_profile, mlt_profile_close>;
using ProducerPtr = MltPtr<mlt_producer, mlt_producer_close>;
using TractorPtr = MltPtr<mlt_tractor, mlt_tractor_close>;
using TransitionPtr = MltPtr<mlt_transition, mlt_transition_close>;
using FilterPtr = MltPtr<mlt_filter, mlt_filter_close>;
using MltFramePtr = MltPtr<mlt_frame, mlt_frame_close>;
using ConsumerPtr = MltPtr<mlt_consumer, StopAndCloseConsumer>;

} // namespace orma
