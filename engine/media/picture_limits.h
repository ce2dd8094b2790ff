// The largest picture the engine decodes: media whose pictures are larger
// are refused when they are probed, before anything is decoded, so that a
// small file that unpacks into gigabytes (a 20000x20000 PNG of a few hundred
// kilobytes) fails with its size named instead of exhausting memory. Used by
// the media probe (probe.cpp).
#pragma once

#include <string>

namespace orma {

/// Each side at most this many pixels (the largest canvas too).
constexpr int kMaxPictureSide = 16384;

/// "" when a w x h picture may be decoded; otherwise why not.
std::string PictureSizeRefusal(int width, int height);

/// The size a PNG file's header states (FFmpeg refuses to open very large
/// ones without saying their size); false when the file is no PNG.
bool PngHeaderSize(const std::string& file, int* width, int* height);

} // namespace orma
