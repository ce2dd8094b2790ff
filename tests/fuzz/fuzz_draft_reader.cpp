// libFuzzer target: the draft reader on arbitrary bytes, as the draft file and
// as the auxiliary export settings file. Every loaded document is released and
// every file the reader wrote is removed again.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "draft/draft.h"
#include "tests/fuzz/fuzz_support.h"

namespace fs = std::filesystem;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& folder = fuzz::ScratchFolder("draft");
  const std::string draft = folder + "/draft.json";
  const std::string settings = folder + "/export.json";
  fuzz::WriteFile(draft, data, size);
  fuzz::WriteFile(settings, data, size);

  if (DraftDocument* document = loadDraft(draft.c_str(), settings.c_str(), 0)) freeDraft(document);

  // The working copy and any folder the reader made stay inside the folder.
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(folder, ec)) {
    const std::string name = entry.path().filename().string();
    if (name != "draft.json" && name != "export.json") fs::remove_all(entry.path(), ec);
  }
  return 0;
}
