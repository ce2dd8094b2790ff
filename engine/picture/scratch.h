// Scratch pictures: per-thread pictures kept between frames for the steps
// that need a temporary copy (a resampled mask, a rotated item, a blurred
// sprite). Each user takes its own slot number, so two steps of one frame
// never share a picture, and a picture is allocated again only when its
// size or alpha changes.
#pragma once

#include "engine/picture/image.h"

namespace orma {

/// A scratch picture owned by the calling thread, reused between frames.
Picture& ScratchPicture(int slot, int width, int height, bool alpha);

} // namespace orma
