#include "export/overlays_logo.h"

#include <cstdio>
#include <limits>
#include <string>

#include "export/convert.h"
#include "export/export_draft.h"
#include "export/export_message.h"
#include "export/media_attributes.h"
#include "export/resource_path.h"

namespace {

// The library's timeline length goes through a 32-bit float on its way to
// the logo, as the editor's exporter does; long timelines lose precision.
int64_t TotalThroughFloat(OrmaVideoHandle vv) {
  const float total = static_cast<float>(OrmaGetTotalPlaybackTime(vv));
  return convert::ToInt64(total);
}

// Logo layers stack above every element of the editor's list, in item order.
int32_t LogoLevel(int32_t pipCount, int64_t n) {
  const int64_t level = static_cast<int64_t>(pipCount) + n;
  return level > std::numeric_limits<int32_t>::max() ? std::numeric_limits<int32_t>::max()
                                                     : static_cast<int32_t>(level);
}

} // namespace

int32_t AddOverlays(DraftDocument* document, OrmaVideoHandle vv, char* message) {
  if (!document) return 1;
  for (const OverlayRecord* overlay = document->overlays; overlay; overlay = overlay->next) {
    OrmaSceneHandle pip = OrmaCreatePIPScene(convert::SecondsToUs(overlay->timelineFrom),
                                             convert::SecondsToUs(overlay->timelineTo));
    if (!pip) return Fail(message, kCreateOverlaySceneFailed, "PIP create fail,timeline is invalid");
    int32_t result = OrmaAddScene(vv, pip);
    if (result <= 0) return Fail(message, result, "Add PIP fail");
    if (overlay->level > 0) OrmaUpdateEffectLevel(pip, overlay->level);
    // An overlay without media still holds its place on the timeline.
    for (const MediaRecord* item = overlay->media; item; item = item->next) {
      const std::string path = ResolveResourcePath(document, item->path);
      OrmaMediaHandle media = OrmaSceneCreateMedia(path.c_str());
      if (!media) return Fail(message, kOverlayMediaFailed, "Add media to PIP fail");
      result = OrmaSceneAddMediaHandle(pip, media);
      // The scene's text, so that both tracks report a refused item alike.
      if (result <= 0) return Fail(message, result, "Add media to scene fail");
      result = ApplyMediaAttributes(document, media, item, 1);
      if (result <= 0) return Fail(message, result, "Set PIP media attribute fail");
    }
  }
  return 1;
}

int32_t AddLogo(DraftDocument* document, OrmaVideoHandle vv, char* message) {
  if (!document) return 1;
  int64_t n = 0;
  for (const LogoRecord* item = document->logo; item; item = item->next) {
    ++n;
    // Asked again for every layer; the logo spans the whole timeline.
    OrmaSceneHandle pip = OrmaCreatePIPScene(0, TotalThroughFloat(vv));
    if (!pip) return Fail(message, kCreateLogoSceneFailed, "(logo)PIP create fail,timeline is invalid");
    int32_t result = OrmaAddScene(vv, pip);
    if (result <= 0) return Fail(message, result, "(logo)Add PIP fail");
    if (document->pipCount > 0) OrmaUpdateEffectLevel(pip, LogoLevel(document->pipCount, n));
    const std::string path = ResolveResourcePath(document, item->path);
    OrmaMediaHandle media = OrmaSceneCreateMedia(path.c_str());
    if (!media) {
      // The one failure of this stage that is also shown on the console.
      char text[kExportMessageSize];
      std::snprintf(text, sizeof(text), "(logo)Add media to PIP fail! path:%s\n ", path.c_str());
      std::fputs(text, stdout);
      return Fail(message, kLogoMediaFailed, text);
    }
    result = OrmaSceneAddMediaHandle(pip, media);
    if (result <= 0) return Fail(message, result, "(logo)Add media to scene fail");
    result = ApplyMediaAttributes(document, media, item, 1);
    if (result <= 0) return Fail(message, result, "(logo)Set PIP media attribute fail");
  }
  return 1;
}
