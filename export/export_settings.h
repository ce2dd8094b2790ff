// Output settings of an export: what is passed to the core library before the
// first scene is built, and their reading from the export settings file
// ("video", "audio", "hw", "time", "outUrl", "streams").
#pragma once

#include <cstdint>
#include <string>

struct ExportSettings {
  char videoCodec[128];  ///< encoder name; "libx264" unless the file names one
  double fps;            ///< frames per second, 0 < fps <= 120; 25 by default
  int32_t videoBitrate;  ///< passed through unchanged; 3000 by default, > 0
  int32_t audioChannels; ///< 1..6; 2 by default
  int32_t audioSamples;  ///< sample rate in Hz; 44100 by default
  int32_t audioBitrate;  ///< passed through unchanged; 128 by default, may be negative
  char audioCodec[128];  ///< non-empty switches the audio codec call on (with videoCodec)
  int32_t hwDecoder;     ///< non-zero switches hardware decoding on
  int32_t hwEncoder;     ///< non-zero switches hardware encoding on
  char outUrl[2048];     ///< video file to write; empty means "video.mp4" beside the draft
  int32_t streams;       ///< ORMA_STREAMS_BOTH, _VIDEO or _SOUND; 0 for a "streams" value not known
};

/// The values used when the file does not say otherwise.
ExportSettings DefaultExportSettings();

/// Reads the UTF-8 JSON file at `path` over `settings`. A file that does not
/// open or does not parse leaves everything as it was and returns false,
/// with *why (when given) saying which ("cannot be read (No such file or
/// directory)", "is not JSON (at byte 12)"). Each "time" key present
/// overwrites *exportStart / *exportEnd (microseconds). Values that are not
/// used as written, and keys the format does not have, are said on standard
/// error, one line each naming the file, the key and the value.
bool ReadExportSettings(const char* path, ExportSettings* settings, int64_t* exportStart, int64_t* exportEnd,
                        std::string* why = nullptr);
