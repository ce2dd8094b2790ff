#include "export/caption_common.h"

#include <cmath>
#include <cstdio>
#include <limits>

#include "driver/log_line.h"
#include "export/resource_path.h"
#include "platform/platform.h"

namespace {

template <typename Int> Int TruncateSaturating(float value) {
  if (std::isnan(value)) return 0;
  // Both limits are powers of two (or one less), so their float images are
  // exact: 2^63 and -2^63 for int64, 2^31 and -2^31 for int32.
  constexpr float kUpper = -static_cast<float>(std::numeric_limits<Int>::min());
  constexpr float kLower = static_cast<float>(std::numeric_limits<Int>::min());
  if (value >= kUpper) return std::numeric_limits<Int>::max();
  if (value <= kLower) return std::numeric_limits<Int>::min();
  return static_cast<Int>(value);
}

} // namespace

int64_t TruncateToInt64(float value) { return TruncateSaturating<int64_t>(value); }
int32_t TruncateToInt32(float value) { return TruncateSaturating<int32_t>(value); }

int64_t SecondsToMicros(float seconds) {
  const float micros = seconds * 1000000.0f;
  return TruncateToInt64(micros);
}

bool CanvasHasArea(const DraftDocument* document) {
  return document && TruncateToInt32(document->width) > 0 && TruncateToInt32(document->height) > 0;
}

std::string FullWidthColon() {
  // Converted on every use: the codeset follows LC_CTYPE, which the driver
  // sets at start-up and which may differ between runs of the tests.
  return platform::LocaleText("\xEF\xBC\x9A");
}

OrmaCaptionHandle CreateTimelineCaption(const DraftDocument* document, OrmaVideoHandle vv, const char* folder,
                                        int32_t kind, int32_t level) {
  const std::string config = ResolveResourcePath(document, folder, true);
  OrmaCaptionHandle caption = OrmaCreateCaptionFromConfigure(config.c_str(), kind);
  if (!caption) {
    std::printf("OrmaCreateCaptionFromConfigure failed line:%d \n", __LINE__);
    return nullptr;
  }
  const int32_t added = OrmaAddCaption(vv, caption);
  if (added < 1) {
    std::printf("OrmaAddCaption error %s%d line:%d \n", FullWidthColon().c_str(), added, __LINE__);
    LogLine("OrmaAddCaption failed:ret:%lld", static_cast<long long>(added));
  }
  if (level > 0) OrmaUpateCaptionLevel(caption, level);
  return caption;
}
