#include "export/caption_common.h"

#include <cstdio>

#include "export/convert.h"
#include "export/resource_path.h"
#include "platform/log_line.h"
#include "platform/platform.h"

bool CanvasHasArea(const DraftDocument* document) {
  return document && convert::ToInt32(document->width) > 0 && convert::ToInt32(document->height) > 0;
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
