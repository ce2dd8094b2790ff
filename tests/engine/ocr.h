// Reading rendered text back from a decoded frame with Debian's tesseract
// (English and simplified Chinese data), so that caption tests check what a
// viewer would read rather than pixel counts.
#pragma once

#include <string>

#include "tests/engine/decoded_video.h"

/// Part of a frame: left, top, right, bottom in 0..1 of the frame.
struct FrameArea {
  double x0 = 0, y0 = 0, x1 = 1, y1 = 1;
};

/// Writes `area` of frame `index` as a binary PPM picture, enlarged `zoom`
/// times (tesseract reads small captions better larger).
bool WriteFramePpm(const DecodedVideo& video, int index, const std::string& path, FrameArea area = {},
                   int zoom = 1);

/// The text tesseract reads in the area (language "eng" or "chi_sim"), with
/// blanks and line ends removed; "" when tesseract cannot run.
std::string ReadText(const DecodedVideo& video, int index, const std::string& folder,
                     const std::string& language, FrameArea area = {}, int zoom = 3);

/// The text of a vertical column: the area is cut into `cells` equal parts
/// from the top, laid side by side and read as one line.
std::string ReadColumn(const DecodedVideo& video, int index, const std::string& folder,
                       const std::string& language, FrameArea area, int cells, int zoom = 3);
