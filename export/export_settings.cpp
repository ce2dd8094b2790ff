#include "export/export_settings.h"

#include <cjson/cJSON.h>

#include <cctype>
#include <cstdio>
#include <string>

#include "corelib/orma_core.h"
#include "export/convert.h"
#include "platform/log_line.h"
#include "platform/platform.h"
#include "platform/text_number.h"

namespace {

// A non-empty string item, or null.
const char* NonEmptyString(const cJSON* item) {
  return cJSON_IsString(item) && item->valuestring && item->valuestring[0] ? item->valuestring : nullptr;
}

void ReadVideo(const cJSON* video, ExportSettings* settings) {
  if (const cJSON* fps = cJSON_GetObjectItem(video, "fps")) {
    // Zero, negative and implausibly high rates are ignored, not clamped.
    if (fps->valuedouble > 0 && fps->valuedouble <= 120) settings->fps = fps->valuedouble;
  }
  if (const cJSON* bitrate = cJSON_GetObjectItem(video, "bitrate")) {
    if (bitrate->valueint > 0) settings->videoBitrate = bitrate->valueint;
  }
  if (const char* encoder = NonEmptyString(cJSON_GetObjectItem(video, "encoder"))) {
    platform::CopyText(settings->videoCodec, encoder);
  }
}

// Read only when "video" is present. "audio"."encoder" is never read: the audio
// codec follows the video encoder's name (see ExportDraft, which passes
// videoCodec when audioCodec is set).
void ReadAudio(const cJSON* audio, const cJSON* video, ExportSettings* settings) {
  if (audio) {
    if (const cJSON* channels = cJSON_GetObjectItem(audio, "channels")) {
      if (channels->valueint >= 1 && channels->valueint <= 6) settings->audioChannels = channels->valueint;
    }
    if (const cJSON* samples = cJSON_GetObjectItem(audio, "samples")) {
      settings->audioSamples = samples->valueint > 0 ? samples->valueint : 44100;
    }
    if (const cJSON* bitrate = cJSON_GetObjectItem(audio, "bitrate")) {
      // A negative rate is kept; it only suppresses the library call later.
      if (bitrate->valueint != 0) settings->audioBitrate = bitrate->valueint;
    }
  }
  if (const char* encoder = NonEmptyString(cJSON_GetObjectItem(video, "encoder"))) {
    platform::CopyText(settings->audioCodec, encoder);
  }
}

void ReadHardware(const cJSON* hw, ExportSettings* settings) {
  if (const cJSON* decoder = cJSON_GetObjectItem(hw, "decoder")) settings->hwDecoder = decoder->valueint;
  if (const cJSON* encoder = cJSON_GetObjectItem(hw, "encoder")) settings->hwEncoder = encoder->valueint;
}

// The file's range wins over the command line's: it is read later.
void ReadTime(const cJSON* time, int64_t* exportStart, int64_t* exportEnd) {
  if (const cJSON* start = cJSON_GetObjectItem(time, "start")) {
    *exportStart = convert::ToInt64(start->valuedouble * 1000000.0);
  }
  if (const cJSON* end = cJSON_GetObjectItem(time, "end")) {
    *exportEnd = convert::ToInt64(end->valuedouble * 1000000.0);
  }
}

bool SameAsciiText(const char* a, const char* b) {
  for (; *a && *b; ++a, ++b) {
    if (std::tolower(static_cast<unsigned char>(*a)) != std::tolower(static_cast<unsigned char>(*b)))
      return false;
  }
  return *a == *b;
}

// "streams": "both" (the default), "video" (the picture alone) or "audio"
// (the sound alone), as a render farm asks for picture ranges and one sound
// pass. Any other value is an error rather than a silent "both": a part of a
// farm render that carried sound would make the join wrong.
void ReadStreams(const cJSON* streams, const char* path, ExportSettings* settings) {
  static const struct {
    const char* name;
    int32_t streams;
  } kNames[] = {{"both", ORMA_STREAMS_BOTH}, {"video", ORMA_STREAMS_VIDEO}, {"audio", ORMA_STREAMS_SOUND}};
  if (cJSON_IsString(streams) && streams->valuestring) {
    for (const auto& name : kNames) {
      if (SameAsciiText(streams->valuestring, name.name)) {
        settings->streams = name.streams;
        return;
      }
    }
  }
  char* printed = cJSON_PrintUnformatted(streams);
  LogLine("export settings %s: \"streams\" is %s; it must be \"both\", \"video\" or \"audio\"\n", path,
          printed ? printed : "?");
  cJSON_free(printed);
  settings->streams = 0;
}

} // namespace

ExportSettings DefaultExportSettings() {
  ExportSettings settings{};
  platform::CopyText(settings.videoCodec, "libx264");
  settings.fps = 25.0;
  settings.videoBitrate = 3000;
  settings.audioChannels = 2;
  settings.audioSamples = 44100;
  settings.audioBitrate = 128;
  settings.streams = ORMA_STREAMS_BOTH;
  return settings;
}

bool ReadExportSettings(const char* path, ExportSettings* settings, int64_t* exportStart,
                        int64_t* exportEnd) {
  std::string contents;
  if (!path || !*path || !platform::ReadWholeFile(path, &contents)) return false;
  cJSON* root = cJSON_Parse(contents.c_str());
  if (!root) return false;

  const cJSON* video = cJSON_GetObjectItem(root, "video");
  if (video) {
    ReadVideo(video, settings);
    ReadAudio(cJSON_GetObjectItem(root, "audio"), video, settings);
  }
  if (const cJSON* hw = cJSON_GetObjectItem(root, "hw")) ReadHardware(hw, settings);
  if (const cJSON* time = cJSON_GetObjectItem(root, "time")) ReadTime(time, exportStart, exportEnd);
  if (const cJSON* outUrl = cJSON_GetObjectItem(root, "outUrl");
      cJSON_IsString(outUrl) && outUrl->valuestring) {
    platform::CopyText(settings->outUrl, outUrl->valuestring);
  }
  if (const cJSON* streams = cJSON_GetObjectItem(root, "streams")) ReadStreams(streams, path, settings);
  cJSON_Delete(root);
  return true;
}
