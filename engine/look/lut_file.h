// Colour look-up table files: ".cube" (3D tables of float R'G'B'), ".3dl"
// (integer tables, blue varying fastest) and square HALD CLUT pictures
// (".png" and the other still formats), chosen by the file's extension
// through a table.
#pragma once

#include <string>

#include "engine/picture/color_table.h"

namespace orma {

/// Reads a table; false with a message naming the file and the fault.
bool LoadLutFile(const std::string& path, Lut3D* out, std::string* error);

/// The parsers, for text already read (exposed for tests).
bool ParseCubeLut(const std::string& text, const std::string& where, Lut3D* out, std::string* error);
bool Parse3dlLut(const std::string& text, const std::string& where, Lut3D* out, std::string* error);
/// A HALD CLUT picture in packed RGBA of `side` x `side` pixels.
bool HaldLut(const uint8_t* rgba, int width, int height, const std::string& where, Lut3D* out,
             std::string* error);

} // namespace orma
