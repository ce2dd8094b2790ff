// The preview's control thread (pipe_control.h). Failures of the pipe end
// the thread with one line on standard error naming the call that failed and
// its errno value; the export then keeps waiting, because only the
// application ends a preview: with "stop", or by ending the process.
#include "preview/pipe_control.h"

#include <cjson/cJSON.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/platform.h"
#include "preview/control_pipe.h"

namespace {

void PrintFailure(const char* call, int error) {
  std::fprintf(stderr, "%s failed: %d\n", call, error);
  std::fflush(stderr);
}

const char* StringOf(const cJSON* item) {
  return cJSON_IsString(item) && item->valuestring ? item->valuestring : nullptr;
}

void RunCommand(const char* key, const char* value, OrmaVideoHandle vv, PreviewCommand* command,
                int64_t totalUs) {
  if (std::strcmp(key, "play") == 0) {
    OrmaPreviewConintue(vv);
  } else if (std::strcmp(key, "pause") == 0) {
    OrmaPreviewPause(vv);
  } else if (std::strcmp(key, "seek") == 0) {
    OrmaPreviewSeek(vv, SeekPosition(value, totalUs));
  } else if (std::strcmp(key, "stop") == 0) {
    OrmaPreviewStop(vv);
    command->stopped = 1;
  }
  // Any other key is ignored.
}

} // namespace

char* BuildPlaybackReply(float playSeconds, float totalSeconds) {
  cJSON* root = cJSON_CreateObject();
  cJSON* list = cJSON_AddArrayToObject(root, "message");
  const struct {
    const char* key;
    float seconds;
  } entries[] = {{"playtime", playSeconds}, {"totaltime", totalSeconds}};
  for (const auto& entry : entries) {
    char value[64];
    std::snprintf(value, sizeof(value), "%f", static_cast<double>(entry.seconds));
    cJSON* item = cJSON_CreateObject();
    cJSON_AddStringToObject(item, "key", entry.key);
    cJSON_AddStringToObject(item, "value", value);
    cJSON_AddItemToArray(list, item);
  }
  char* text = cJSON_Print(root);
  cJSON_Delete(root);
  return text;
}

int64_t SeekPosition(const char* value, int64_t totalUs) {
  // The leading integer, as atoi reads it, but held to the int range instead
  // of overflowing on "99999999999".
  long percent = value ? std::strtol(value, nullptr, 10) : 0;
  if (percent > INT_MAX) percent = INT_MAX;
  if (percent < INT_MIN) percent = INT_MIN;
  int64_t product = 0;
  if (!__builtin_mul_overflow(static_cast<int64_t>(percent), totalUs, &product))
    return static_cast<int64_t>(std::trunc(static_cast<double>(product) / 100.0));
  // Only absurd percentages get here; the position is held to what an int64
  // can carry rather than converted out of range.
  const double position = std::trunc(static_cast<double>(percent) * static_cast<double>(totalUs) / 100.0);
  if (position >= 9223372036854775807.0) return INT64_MAX;
  if (position <= -9223372036854775808.0) return INT64_MIN;
  return static_cast<int64_t>(position);
}

bool ExecuteMessage(const char* text, OrmaVideoHandle vv, PreviewCommand* command, int64_t totalUs) {
  cJSON* root = cJSON_ParseWithOpts(text, nullptr, 0);
  if (!root) {
    if (const char* where = cJSON_GetErrorPtr()) std::fprintf(stderr, "Error before: %s\n", where);
    std::fflush(stderr);
    return false;
  }
  const cJSON* list = cJSON_GetObjectItem(root, "message");
  if (cJSON_IsArray(list)) {
    for (const cJSON* element = list->child; element; element = element->next) {
      // An element needs a "key" string; a missing "value" reads as empty
      // text (what "play", "pause" and "stop" ignore, and "seek" takes as 0).
      const char* key = StringOf(cJSON_GetObjectItem(element, "key"));
      if (!key) continue;
      const char* value = StringOf(cJSON_GetObjectItem(element, "value"));
      std::printf("Key: %s, Value: %s\n", key, value ? value : "");
      std::fflush(stdout);
      RunCommand(key, value ? value : "", vv, command, totalUs);
    }
  }
  cJSON_Delete(root);
  return true;
}

void ServeControlPipe(preview::PipeHandle fd, OrmaVideoHandle vv, PreviewCommand* command) {
  // One byte more than a message, always zero, so that the received text is
  // terminated whatever arrives; a longer message is cut at the buffer's size.
  char buffer[kPipeMessageSize + 1] = {};
  std::printf("Client connected to the server.\n");
  std::fflush(stdout);
  int64_t total = OrmaGetTotalPlaybackTime(vv);
  for (;;) {
    size_t received = 0;
    if (const int error = preview::ReadMessage(fd, buffer, kPipeMessageSize, &received)) {
      PrintFailure("ReadFile", error);
      return;
    }
    buffer[received] = '\0';
    if (buffer[0] && !ExecuteMessage(buffer, vv, command, total)) return;

    const int64_t current = OrmaGetCurrentPlaybackTime(vv);
    char* reply =
        BuildPlaybackReply(static_cast<float>(current / 1000000.0), static_cast<float>(total / 1000000.0));
    const int error = preview::WriteMessage(fd, reply, std::strlen(reply));
    cJSON_free(reply);
    if (error) {
      PrintFailure("WriteFile", error);
      return;
    }
    platform::SleepMs(100);
    if (command->stopped) {
      if (const int closeError = preview::ClosePipe(fd)) PrintFailure("CloseHandle", closeError);
      std::fprintf(stderr, " pipe thread finish \n");
      std::fflush(stderr);
      return;
    }
    total = OrmaGetTotalPlaybackTime(vv);
  }
}

void PipeControlThread(OrmaVideoHandle vv, DraftDocument* document) {
  PreviewCommand* command = document->previewCommand;
  preview::PipeHandle fd{};
  if (const int error = preview::ConnectPipe(command->pipeName, &fd)) {
    PrintFailure("CreateFile", error);
    return;
  }
  ServeControlPipe(fd, vv, command);
}
