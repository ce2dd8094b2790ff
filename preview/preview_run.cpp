// The tail of an export in preview mode (preview_run.h): the control thread
// is started, the core library starts playing, and the export waits in
// 100 ms steps until the control thread has run "stop".
#include "preview/preview_run.h"

#include <cstdio>
#include <thread>

#include "platform/platform.h"
#include "preview/pipe_control.h"

int32_t RunPreview(DraftDocument* document, OrmaVideoHandle vv) {
  // Without a command there is no pipe to wait on.
  if (!document->previewCommand) return -1;
  std::thread control(PipeControlThread, vv, document);
  const int32_t result = OrmaPreview(vv);
  // A control thread that ended on a failure never sets `stopped`: the
  // application ends such a preview by ending the process.
  while (!document->previewCommand->stopped)
    platform::SleepMs(100);
  control.join();
  std::printf("ExportDraft out!\n");
  std::fflush(stdout);
  return result;
}
