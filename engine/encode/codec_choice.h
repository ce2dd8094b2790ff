// Which encoders an export writes with, decided from its settings before
// anything is rendered: the container from the target's name, the video
// encoder by name (or the machine's hardware encoder of its family when the
// settings ask for one and there is one), the audio encoder by name or, for
// the name of a video encoder (which the program passes), the one the
// container is usually written with. A sound-only export has no video
// encoder, a picture-only one no audio encoder. Whether clips are decoded
// with VA-API is decided here too.
//
//   CodecChoice codecs;
//   if (int32_t code = ChooseCodecs(settings, target, &codecs, &cause); code != ORMA_OK) ...
#pragma once

#include <cstdint>
#include <string>

namespace orma {

struct ExportSettings;

struct CodecChoice {
  std::string container; ///< FFmpeg's name of the muxer
  std::string video;     ///< empty: no picture is written
  std::string audio;     ///< empty: no sound is written
};

/// Fills *choice for writing `target` (an absolute path) with the settings:
/// ORMA_OK, or the export's result code for the failure with *cause.
int32_t ChooseCodecs(const ExportSettings& settings, const std::string& target, CodecChoice* choice,
                     std::string* cause);

/// Whether clips are decoded with VA-API: when the settings ask for it and
/// the machine has it (the choice is logged once either way).
bool UseHardwareDecoding(const ExportSettings& settings);

} // namespace orma
