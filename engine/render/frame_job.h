// Per-frame state: what a sequential step (a segment's Fetch, a timeline
// effect's or a background's Prepare) gathers for one frame and hands on to
// the parallel step that draws it (and to the sound step). Each maker derives
// its own job type from `FrameJob`; the drawing step gets it back through
// `JobAs`, the one place where a job is turned back into its own type.
#pragma once

#include <memory>

namespace orma {

/// The base of every per-frame job. A job is only ever handed back to the
/// object that made it, so its type is known there.
struct FrameJob {
  virtual ~FrameJob() = default;
};
using FrameJobPtr = std::shared_ptr<FrameJob>;

/// The job as the type its maker made it, or null when there is none. The
/// cast is checked: a job of another type (a wiring mistake) reads as no job,
/// so nothing is drawn from it instead of memory being misread.
template <class Job> const Job* JobAs(const FrameJob* job) { return dynamic_cast<const Job*>(job); }

template <class Job> Job* JobAs(FrameJob* job) { return dynamic_cast<Job*>(job); }

} // namespace orma
