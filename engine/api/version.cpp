// About the library. OrmaGetLastError: why its most recent call failed, for
// the program's messages to its user. OrmaGetVersions: which library this is
// and which MLT and FFmpeg it runs on, for the program's --version. The framework versions are read at run
// time from the libraries actually loaded, not from the headers the library was built against, so a report
// names what renders.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
// MLT's version header, unlike mlt.h, declares no C linkage of its own.
#include <mlt-7/framework/mlt_version.h>
}

#include <cstdio>
#include <cstring>

#include "engine/api/api.h"
#include "engine/api/entry_points_gen.h"
#include "platform/text_number.h"

using namespace orma;

namespace {

// "major.minor.micro" of a version packed as FFmpeg packs them.
void WriteVersion(char* out, size_t size, unsigned packed) {
  std::snprintf(out, size, "%u.%u.%u", AV_VERSION_MAJOR(packed), AV_VERSION_MINOR(packed),
                AV_VERSION_MICRO(packed));
}

} // namespace

namespace orma::entry {

int32_t OrmaGetVersions(const char* call, OrmaVersionBlock* versions) {
  if (!versions) return Refuse(call, ORMA_BAD_ARGUMENT, "no version block");
  *versions = OrmaVersionBlock{};
  platform::CopyText(versions->core, ORMA_CORE_VERSION);
  const char* mlt = mlt_version_get_string();
  platform::CopyText(versions->mlt, mlt);
  const char* ffmpeg = av_version_info();
  platform::CopyText(versions->ffmpeg, ffmpeg);
  WriteVersion(versions->libavformat, sizeof versions->libavformat, avformat_version());
  WriteVersion(versions->libavcodec, sizeof versions->libavcodec, avcodec_version());
  return int32_t{ORMA_OK};
}

int32_t OrmaGetLastError(const char*, char* text, int32_t capacity) {
  // Not itself a failure when the buffer is missing: there is then nothing
  // to copy, and the last failure stays what it was.
  const std::string last = LastFailure();
  int32_t r = 0;
  if (text && capacity > 0) {
    platform::CopyText(text, static_cast<size_t>(capacity), last.c_str());
    r = static_cast<int32_t>(std::strlen(text));
  }
  return r;
}

} // namespace orma::entry
