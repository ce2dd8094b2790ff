// The number of faces of a media item, as OrmaGetMediaFaceCount reports it.
//
// A picture is looked at whole. A clip is looked at in kFaceCountSamples
// frames spread evenly over its trimmed span (the middles of equal parts of
// it), and the count is the largest of their counts: a face that turns away
// or leaves for a moment still counts. Frames are decoded with libavformat
// under the same rules as every media file and scaled to a grey picture of
// at most kFaceCountSide pixels a side. The result is kept per file and span,
// so asking again costs nothing.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/look/face_detect.h"
#include "engine/media/probe.h"

namespace orma {

constexpr int kFaceCountSamples = 5;
constexpr int kFaceCountSide = 640;

/// Grey pictures of the frames that the face count looks at (see above);
/// false with *error set when the file cannot be decoded.
bool SampleGreyFrames(const MediaProbe& probe, int64_t fromUs, int64_t toUs, std::vector<GreyImage>* frames,
                      std::string* error);

/// The number of faces of the item (0 without a picture, without cascades or
/// when its frames cannot be decoded). `fromUs`..`toUs` is the trimmed span;
/// an empty span means the whole clip.
int CountMediaFaces(const MediaProbe& probe, int64_t fromUs, int64_t toUs);

} // namespace orma
