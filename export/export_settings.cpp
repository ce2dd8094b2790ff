#include "export/export_settings.h"

#include <cjson/cJSON.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>

#include "corelib/orma_core.h"
#include "export/convert.h"
#include "platform/diagnostic.h"
#include "platform/log_line.h"
#include "platform/platform.h"
#include "platform/text_number.h"

namespace {

bool SameAsciiText(const char* a, const char* b) {
  for (; *a && *b; ++a, ++b) {
    if (std::tolower(static_cast<unsigned char>(*a)) != std::tolower(static_cast<unsigned char>(*b)))
      return false;
  }
  return *a == *b;
}

// The item as JSON text, for notes that quote what the file says.
std::string Printed(const cJSON* item) {
  char* printed = cJSON_PrintUnformatted(item);
  std::string text = printed ? printed : "?";
  cJSON_free(printed);
  return text;
}

// Numbers are written with "." (LC_NUMERIC stays "C").
std::string Number(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

// One line on standard error for a value of the file that is not used as
// written: the file, the key, the value, and what is used instead.
void NotUsed(const char* path, const char* key, const cJSON* item, const char* why,
             const std::string& instead) {
  Diagnostic("export settings %s: %s %s %s; %s", path, key, Printed(item).c_str(), why, instead.c_str());
}

// Keys of an object that this file format does not have (a typo, or a key
// of another program): said, since they change nothing.
void NoteUnknownKeys(const char* path, const char* place, const cJSON* object,
                     std::initializer_list<const char*> known) {
  if (!cJSON_IsObject(object)) return;
  for (const cJSON* item = object->child; item; item = item->next) {
    bool found = false;
    for (const char* name : known)
      found = found || (item->string && SameAsciiText(item->string, name));
    if (!found && item->string)
      Diagnostic("export settings %s: %s\"%s\" is not a setting and is ignored", path, place, item->string);
  }
}

// A non-empty string item, or null.
const char* NonEmptyString(const cJSON* item) {
  return cJSON_IsString(item) && item->valuestring && item->valuestring[0] ? item->valuestring : nullptr;
}

void ReadVideo(const char* path, const cJSON* video, ExportSettings* settings) {
  if (const cJSON* fps = cJSON_GetObjectItem(video, "fps")) {
    // Zero, negative and implausibly high rates are ignored, not clamped.
    if (fps->valuedouble > 0 && fps->valuedouble <= 120)
      settings->fps = fps->valuedouble;
    else
      NotUsed(path, "\"video\".\"fps\"", fps, "is not a rate above 0 and at most 120",
              Number(settings->fps) + " frames per second are used");
  }
  if (const cJSON* bitrate = cJSON_GetObjectItem(video, "bitrate")) {
    if (bitrate->valueint > 0)
      settings->videoBitrate = bitrate->valueint;
    else
      NotUsed(path, "\"video\".\"bitrate\"", bitrate, "is not a positive whole number",
              std::to_string(settings->videoBitrate) + " kbit/s is used");
  }
  const cJSON* encoderItem = cJSON_GetObjectItem(video, "encoder");
  if (const char* encoder = NonEmptyString(encoderItem)) {
    platform::CopyText(settings->videoCodec, encoder);
  } else if (encoderItem) {
    NotUsed(path, "\"video\".\"encoder\"", encoderItem, "is not an encoder name",
            std::string(settings->videoCodec) + " is used");
  }
}

// Read only when "video" is present. "audio"."encoder" is never read: the audio
// codec follows the video encoder's name (see ExportDraft, which passes
// videoCodec when audioCodec is set).
void ReadAudio(const char* path, const cJSON* audio, const cJSON* video, ExportSettings* settings) {
  if (audio) {
    if (const cJSON* channels = cJSON_GetObjectItem(audio, "channels")) {
      if (channels->valueint >= 1 && channels->valueint <= 6)
        settings->audioChannels = channels->valueint;
      else
        NotUsed(path, "\"audio\".\"channels\"", channels, "is not 1 to 6",
                std::to_string(settings->audioChannels) + " channels are used");
    }
    if (const cJSON* samples = cJSON_GetObjectItem(audio, "samples")) {
      settings->audioSamples = samples->valueint > 0 ? samples->valueint : 44100;
      if (samples->valueint <= 0)
        NotUsed(path, "\"audio\".\"samples\"", samples, "is not a positive sample rate", "44100 Hz is used");
    }
    if (const cJSON* bitrate = cJSON_GetObjectItem(audio, "bitrate")) {
      // A negative rate is kept; it only suppresses the library call later.
      if (bitrate->valueint != 0) settings->audioBitrate = bitrate->valueint;
      if (bitrate->valueint < 0)
        NotUsed(path, "\"audio\".\"bitrate\"", bitrate, "is negative",
                "the core library's own audio bit rate is used");
      else if (bitrate->valueint == 0)
        NotUsed(path, "\"audio\".\"bitrate\"", bitrate, "is not a positive whole number",
                std::to_string(settings->audioBitrate) + " kbit/s is used");
    }
    if (const cJSON* encoder = cJSON_GetObjectItem(audio, "encoder"))
      NotUsed(path, "\"audio\".\"encoder\"", encoder, "is not read",
              "the sound is encoded as usual for the output's container");
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

bool ReadExportSettings(const char* path, ExportSettings* settings, int64_t* exportStart, int64_t* exportEnd,
                        std::string* why) {
  std::string contents;
  if (!path || !*path) return false;
  if (!platform::ReadWholeFile(path, &contents)) {
    if (why) {
      const int error = errno;
      *why = platform::IsDirectory(path) ? std::string("is a folder")
                                         : std::string("cannot be read (") + std::strerror(error) + ")";
    }
    return false;
  }
  const char* end = nullptr;
  cJSON* root = cJSON_ParseWithOpts(contents.c_str(), &end, 0);
  if (!root) {
    if (why) {
      const size_t at = end && end >= contents.c_str() ? static_cast<size_t>(end - contents.c_str()) : 0;
      *why = "is not JSON (at byte " + std::to_string(at) + ")";
    }
    return false;
  }

  NoteUnknownKeys(path, "", root, {"video", "audio", "hw", "time", "outUrl", "streams"});
  const cJSON* video = cJSON_GetObjectItem(root, "video");
  const cJSON* audio = cJSON_GetObjectItem(root, "audio");
  NoteUnknownKeys(path, "\"video\".", video, {"fps", "bitrate", "encoder", "w", "h"});
  NoteUnknownKeys(path, "\"audio\".", audio, {"channels", "samples", "bitrate", "encoder"});
  NoteUnknownKeys(path, "\"hw\".", cJSON_GetObjectItem(root, "hw"), {"decoder", "encoder"});
  NoteUnknownKeys(path, "\"time\".", cJSON_GetObjectItem(root, "time"), {"start", "end"});
  if (video) {
    ReadVideo(path, video, settings);
    ReadAudio(path, audio, video, settings);
  } else if (audio) {
    // The audio keys are read only together with "video", as the editor's
    // own program reads them.
    Diagnostic("export settings %s: \"audio\" is read only when \"video\" is given too; %d channels at %d Hz "
               "and %d kbit/s are used",
               path, settings->audioChannels, settings->audioSamples, settings->audioBitrate);
  }
  if (const cJSON* hw = cJSON_GetObjectItem(root, "hw")) ReadHardware(hw, settings);
  if (const cJSON* time = cJSON_GetObjectItem(root, "time")) ReadTime(time, exportStart, exportEnd);
  if (const cJSON* outUrl = cJSON_GetObjectItem(root, "outUrl");
      cJSON_IsString(outUrl) && outUrl->valuestring) {
    platform::CopyText(settings->outUrl, outUrl->valuestring);
  } else if (outUrl) {
    NotUsed(path, "\"outUrl\"", outUrl, "is not a path", "the video goes to video.mp4 beside the draft");
  }
  if (const cJSON* streams = cJSON_GetObjectItem(root, "streams")) ReadStreams(streams, path, settings);
  cJSON_Delete(root);
  return true;
}
