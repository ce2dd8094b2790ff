#include "engine/picture/scratch.h"
#include "platform/per_thread.h"

#include <map>
#include <memory>

namespace orma {

Picture& ScratchPicture(int slot, int width, int height, bool alpha) {
  auto& scratch = platform::PerThread<std::map<int, std::unique_ptr<Picture>>>([] {});
  auto& p = scratch[slot];
  if (!p || p->width() != width || p->height() != height || p->view().HasAlpha() != alpha)
    p = std::make_unique<Picture>(width, height, alpha);
  return *p;
}

} // namespace orma
