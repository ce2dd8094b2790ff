// The MLT graph of one export, built from the model by the element builders.
//
//   tractor
//     multitrack: track 0 = main track (scenes, transitions, gaps), then the
//                 tracks of stacked elements, shared by elements that never
//                 overlap in time; each track is one producer that finds the
//                 segment under the position
//     field:      per track of drawn elements, in track order, a compositing
//                 transition onto track 0 over the span of its elements;
//                 the sound of stacked tracks mixed in; the limiter
//
// So each frame costs what is on screen at that moment, and the graph grows
// with the most elements on screen at once, not with the draft's length.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include <mlt-7/framework/mlt.h>

#include "engine/core/mlt_handles.h"
#include "engine/model/model.h"
#include "engine/render/scene.h"
#include "engine/render/segment.h"

namespace orma {

class Limiter;
struct TrackClips;

/// The segment and job behind a frame made by a timeline clip, or null.
Segment* ClipSegment(mlt_frame frame, FrameJobPtr* job);

class Timeline {
public:
  Timeline(VirtualVideo& video, RenderContext& ctx);
  ~Timeline();

  /// Runs every element builder; false with *error on failure.
  bool Build(std::string* error);

  mlt_producer producer() const { return MLT_TRACTOR_PRODUCER(tractor_.get()); }
  int64_t length() const { return length_; }

  // Used by the element builders.
  VirtualVideo& video;
  RenderContext& ctx;
  /// Appends a segment as a clip to a track (blank-filled up to its start).
  /// The main track (0) takes segments in time order; a stacked track takes
  /// them in any order as long as they do not overlap (false if they do).
  bool Append(int track, std::unique_ptr<Segment> segment);
  /// A track for an element over [start, end): the first stacked track free
  /// over that time, whatever lies before or after it, or a new one.
  int AllocateTrack(int64_t start, int64_t end);
  mlt_field field() const { return mlt_tractor_field(tractor_.get()); }
  /// Places the segment of an element drawn over the picture (a caption,
  /// sticker, effect or picture-in-picture scene) on a track of its own
  /// choosing, drawn onto the tracks below by that track's overlay
  /// transition (stack_overlay.cpp). Returns the track, or -1.
  int PlaceDrawn(std::unique_ptr<Segment> segment);
  /// Whether a segment is drawn by its track's overlay transition.
  bool DrawnOver(const Segment& segment) const { return drawn_.count(&segment) != 0; }
  /// Mixes the sound of the segments of a stacked track into the output
  /// (stack_audio.cpp); their Audio() is called with the frame's block.
  void MixSound(int track);
  /// Keeps a renderer alive for the export; it is released once the
  /// rendering passes `lastFrame`.
  SceneRenderer* Own(std::unique_ptr<SceneRenderer> renderer, int64_t lastFrame);
  /// Calls `release` once the rendering passes `lastFrame`, so that what a
  /// segment holds for its own frames does not stay for the whole export
  /// (the segment must be able to take it again after a seek back).
  void ReleaseAfter(int64_t lastFrame, std::function<void()> release);
  /// Called from the clips' get_frame: releases what is no longer needed.
  void Retire(int64_t frame);

private:
  mlt_producer Track(int index);
  bool TrackFree(size_t track, int64_t start, int64_t end) const;
  bool AppendClip(int track, std::unique_ptr<Segment> segment);
  /// Puts the stacked segments on their tracks, in time order per track.
  bool PlaceStacked(std::string* error);
  struct Pending {
    int track;
    std::unique_ptr<Segment> segment;
  };
  std::vector<Pending> pending_;
  std::vector<std::map<int64_t, int64_t>> busy_; ///< per track: start -> end of its segments
  /// After every builder: the main track reaches the end of the stacked
  /// elements, the sound of stacked tracks is mixed, and the limiter is
  /// planted last (stack_audio.cpp).
  bool FinishStack(std::string* error);
  /// A track for a drawn element over [start, end): above every track with
  /// an element over that time, so that the tracks drawn in order draw the
  /// elements in the order they were added.
  int AllocateDrawnTrack(int64_t start, int64_t end);
  /// One overlay transition per track with drawn segments, in track order,
  /// over the span from their first start to their last end.
  bool PlantOverlays(std::string* error);
  std::map<int, std::pair<int64_t, int64_t>> overlays_;
  std::unordered_set<const Segment*> drawn_;
  std::vector<int> soundTracks_;
  std::unique_ptr<Limiter> limiter_;
  std::vector<int64_t> trackEnds_;
  std::vector<std::unique_ptr<Segment>> segments_;
  std::vector<std::unique_ptr<SceneRenderer>> renderers_;
  struct Held {
    std::function<void()> release;
    int64_t lastFrame;
    bool released;
  };
  std::vector<Held> held_;
  // The MLT graph is declared after what its clips, transitions and filters
  // point at (segments, renderers, what they hold, the limiter, the tracks'
  // lists of segments), so that it is closed first: the tractor, then the
  // tracks it took from here.
  std::vector<std::unique_ptr<TrackClips>> clips_; ///< per track: its segments, behind its producer
  std::vector<ProducerPtr> tracks_;
  TractorPtr tractor_;
  std::mutex retireMutex_;
  int64_t length_ = 0;
};

} // namespace orma
