// A segment: what draws one stretch of a track of the timeline, in the
// engine's two steps (fetch in order, draw in parallel, sound in order).
// Scenes, picture-in-picture scenes, captions, stickers, effects and music
// are all segments; the timeline places them on tracks and calls them.
#pragma once

#include <cstdint>
#include <memory>

#include "engine/picture/image.h"
#include "engine/render/frame_job.h"
#include "engine/render/scene.h"

namespace orma {

/// A stretch [start, end) of a track, rendered by one clip producer.
class Segment {
public:
  virtual ~Segment() = default;
  /// Sequential (get_frame): gathers what the frame at absolute frame f needs.
  virtual FrameJobPtr Fetch(int64_t f) = 0;
  /// Parallel (get_image): draws the frame.
  virtual void Render(const FrameJobPtr& job, Yuv& canvas) const = 0;
  /// Consumer thread, in order: adds the frame's sound.
  virtual void Audio(const FrameJobPtr& job, AudioBlock& out) const = 0;
  /// After the frame of the main track is drawn: lets go of the decoded
  /// pictures the job holds (a frame waits for the encoder for a while, and
  /// its decoder cannot reuse them meanwhile), keeping what Audio needs.
  virtual void Drawn(const FrameJobPtr&) const {}
  int64_t start = 0;
  int64_t end = 0;
  /// A segment of a stacked element draws over the picture below it (its
  /// overlay transition hands Render that picture) and has no sound, so the
  /// tractor keeps the main track's. Shown alone, it draws over black.
  bool overlay = false;
  /// False for a segment that only sounds (music, sound effects): its frames
  /// are flagged as having no picture, so the tractor never shows them.
  bool picture = true;
};

/// A segment whose every job is a `Job`: it writes its steps on that type
/// and never sees a `FrameJob`. A frame without a job (or, by a wiring
/// mistake, with another segment's) draws and sounds nothing here.
template <class Job> class SegmentOf : public Segment {
public:
  FrameJobPtr Fetch(int64_t f) final { return FetchJob(f); }
  void Render(const FrameJobPtr& job, Yuv& canvas) const final {
    if (const Job* j = JobAs<Job>(job.get())) RenderJob(*j, canvas);
  }
  void Audio(const FrameJobPtr& job, AudioBlock& out) const final {
    if (const Job* j = JobAs<Job>(job.get())) AudioJob(*j, out);
  }
  void Drawn(const FrameJobPtr& job) const final {
    if (Job* j = JobAs<Job>(job.get())) DrawnJob(*j);
  }

protected:
  virtual std::shared_ptr<Job> FetchJob(int64_t f) = 0;
  virtual void RenderJob(const Job& job, Yuv& canvas) const = 0;
  /// Most segments that draw have no sound of their own.
  virtual void AudioJob(const Job&, AudioBlock&) const {}
  virtual void DrawnJob(Job&) const {}
};

} // namespace orma
