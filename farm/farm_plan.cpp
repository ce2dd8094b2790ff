// ormadraft-plan: the timeline facts a render farm splits a draft by.
//
//   ormadraft-plan DRAFT.json EXPORT.json PLAN.json
//
// Loads the draft as the program does (the same readers, the same scene
// spans as the export) and writes PLAN.json: the export settings file's own
// range ("start"/"end" in microseconds, 0 when it gives none) and every main
// scene with its span in microseconds, as the export passes it to the core
// library, and whether a transition leads out of it and how long it is.
// farm/ormadraft-farm cuts the timeline between scenes that no transition
// joins, or inside a scene away from any transition, so that no part starts
// or ends inside a transition. The working copy of the draft that loading
// writes is deleted again. Exit status 0 on success, 1 with a message on
// standard error otherwise.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "draft/draft.h"
#include "export/convert.h"
#include "export/export_draft.h"
#include "export/export_settings.h"
#include "platform/codepage.h"
#include "platform/platform.h"

namespace {

// JSON string body: the path may hold quotes, backslashes or control bytes.
std::string Quoted(const char* text) {
  std::string out = "\"";
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(text); *p; ++p) {
    if (*p == '"' || *p == '\\') {
      out += '\\';
      out += static_cast<char>(*p);
    } else if (*p < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", *p);
      out += escaped;
    } else {
      out += static_cast<char>(*p);
    }
  }
  return out + "\"";
}

// The scenes as the export lays them out: each starts where the one before
// ended, with the spans SceneSpan gives.
bool WriteScenes(const DraftDocument* document, std::string* json) {
  float position = 0;
  bool first = true;
  for (const SceneRecord* scene = document->scenes; scene; scene = scene->next) {
    float start = 0, end = 0;
    if (SceneSpan(scene, document->mediaInfo, position, &start, &end) <= 0) {
      std::fprintf(stderr,
                   "ormadraft-plan: a scene's span cannot be worked out (the export fails as well)\n");
      return false;
    }
    position = end;
    const bool transition = scene->transition && scene->transition->folderPath[0];
    const long long transitionUs = transition ? convert::SecondsToUs(scene->transition->duration) : 0;
    char line[200];
    std::snprintf(line, sizeof line,
                  "%s\n    {\"start\": %lld, \"end\": %lld, \"transition\": %s, \"transitionUs\": %lld}",
                  first ? "" : ",", static_cast<long long>(convert::ToInt64(start)),
                  static_cast<long long>(convert::ToInt64(end)), transition ? "true" : "false", transitionUs);
    *json += line;
    first = false;
  }
  return true;
}

bool WriteText(const char* path, const std::string& text) {
  std::FILE* file = std::fopen(path, "wb");
  if (!file) return false;
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  return std::fclose(file) == 0 && written;
}

} // namespace

int main(int argc, char** argv) {
  platform::InitLocale();
  if (argc != 4) {
    std::fprintf(stderr, "usage: ormadraft-plan DRAFT.json EXPORT.json PLAN.json\n");
    return 1;
  }
  char* draftUtf8 = AnsiToUtf8(argv[1]);
  char* exportUtf8 = AnsiToUtf8(argv[2]);
  DraftDocument* document = loadDraft(draftUtf8, exportUtf8, 0);
  if (!document) {
    std::fprintf(stderr, "ormadraft-plan: the draft %s cannot be loaded\n", argv[1]);
    std::free(draftUtf8);
    std::free(exportUtf8);
    return 1;
  }
  platform::RemoveFile(document->draftPath); // the working copy loading wrote

  ExportSettings settings = DefaultExportSettings();
  int64_t start = 0, end = 0;
  bool ok = document->scenes != nullptr;
  if (!ok) std::fprintf(stderr, "ormadraft-plan: the draft %s has no scenes\n", argv[1]);
  if (ok && !ReadExportSettings(exportUtf8, &settings, &start, &end)) {
    std::fprintf(stderr, "ormadraft-plan: the export settings file %s cannot be read as JSON\n", argv[2]);
    ok = false;
  }
  std::string json;
  if (ok) {
    char head[160];
    std::snprintf(head, sizeof head,
                  "{\n  \"start\": %lld,\n  \"end\": %lld,\n  \"fps\": %.9g,\n  \"scenes\": [",
                  static_cast<long long>(start), static_cast<long long>(end), settings.fps);
    json = head;
    ok = WriteScenes(document, &json);
    json += "\n  ],\n  \"draft\": " + Quoted(draftUtf8) + "\n}\n";
  }
  if (ok && !WriteText(argv[3], json)) {
    std::fprintf(stderr, "ormadraft-plan: cannot write %s\n", argv[3]);
    ok = false;
  }
  freeDraft(document);
  std::free(draftUtf8);
  std::free(exportUtf8);
  return ok ? 0 : 1;
}
