#include "preview/preview_command.h"

#include <cjson/cJSON.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "platform/codepage.h"
#include "platform/platform.h"
#include "platform/text_number.h"

namespace {

void CopyString(char* buffer, size_t size, const cJSON* item) {
  if (cJSON_IsString(item) && item->valuestring) platform::CopyText(buffer, size, item->valuestring);
}

// Hexadecimal window handle as text; a leading "0x" is accepted, like a
// stream in hexadecimal mode.
uint64_t ParseWindowHandle(const char* text) {
  std::istringstream in(text);
  uint64_t value = 0;
  in >> std::hex >> value;
  return in.fail() ? 0 : value;
}

} // namespace

PreviewCommand* parsePreviewCommand(int argc, char** argv) {
  if (argc != 3) return nullptr;
  char* path = AnsiToUtf8(argv[2]);
  std::string text;
  bool read = path && platform::ReadWholeFile(path, &text);
  std::free(path);
  if (!read) return nullptr;

  cJSON* root = cJSON_ParseWithOpts(text.c_str(), nullptr, 0);
  if (!root) return nullptr;
  const cJSON* type = cJSON_GetObjectItem(root, "type");
  if (!cJSON_IsString(type) || !type->valuestring || std::string(type->valuestring) != "ThemesPreview") {
    cJSON_Delete(root);
    return nullptr;
  }

  // Lives until the process ends: the pipe thread and the export share it.
  auto* command = new PreviewCommand{};
  CopyString(command->type, sizeof(command->type), type);
  CopyString(command->pipeName, sizeof(command->pipeName), cJSON_GetObjectItem(root, "pipeName"));
  if (const cJSON* ver = cJSON_GetObjectItem(root, "ver"))
    command->ver = static_cast<float>(ver->valuedouble);
  if (const cJSON* loop = cJSON_GetObjectItem(root, "loop")) command->loop = loop->valueint;
  if (const cJSON* message = cJSON_GetObjectItem(root, "message")) {
    CopyString(command->key, sizeof(command->key), cJSON_GetObjectItem(message, "key"));
    CopyString(command->value, sizeof(command->value), cJSON_GetObjectItem(message, "value"));
  }
  const cJSON* window = cJSON_GetObjectItem(root, "hWnd");
  if (cJSON_IsString(window) && window->valuestring) command->hWnd = ParseWindowHandle(window->valuestring);
  cJSON_Delete(root);
  return command;
}
