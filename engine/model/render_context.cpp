#include "engine/model/render_context.h"

#include <cstdlib>
#include <cstring>

#include "engine/model/model.h"

namespace orma {

void RenderContext::Fail(const std::string& message) {
  std::lock_guard<std::mutex> lock(errorMutex);
  if (error.empty()) error = message;
  failed = true;
}

std::string RenderContext::Error() {
  std::lock_guard<std::mutex> lock(errorMutex);
  return error;
}

ClipReader ClipPool::Take(const std::string& path, int64_t position) {
  std::lock_guard<std::mutex> lock(mutex_);
  int best = -1;
  for (size_t i = 0; i < idle_.size(); ++i) {
    if (idle_[i].path != path) continue;
    if (best < 0) {
      best = static_cast<int>(i);
      continue;
    }
    int64_t p = idle_[i].reader.video ? idle_[i].reader.video->position() : INT64_MIN;
    int64_t q = idle_[best].reader.video ? idle_[best].reader.video->position() : INT64_MIN;
    bool before = p <= position, bestBefore = q <= position;
    if ((before && !bestBefore) ||
        (before == bestBefore && std::llabs(p - position) < std::llabs(q - position)))
      best = static_cast<int>(i);
  }
  if (best < 0) return ClipReader();
  ClipReader r = std::move(idle_[best].reader);
  idle_.erase(idle_.begin() + best);
  return r;
}

void ClipPool::Give(const std::string& path, ClipReader reader) {
  std::lock_guard<std::mutex> lock(mutex_);
  idle_.push_back({path, std::move(reader)});
  // A few idle readers at most: each decoder holds its pictures.
  while (idle_.size() > 2)
    idle_.erase(idle_.begin());
}

int CanvasMatrix(int height) { return height > 576 ? 709 : 601; }

ProfilePtr MakeProfile(const ExportSettings& settings) {
  mlt_profile profile = mlt_profile_init(nullptr);
  if (!profile) return nullptr;
  profile->width = settings.width;
  profile->height = settings.height;
  profile->frame_rate_num = settings.fps.num;
  profile->frame_rate_den = settings.fps.den;
  profile->progressive = 1;
  profile->sample_aspect_num = 1;
  profile->sample_aspect_den = 1;
  int a = settings.width, b = settings.height;
  while (b) {
    int t = a % b;
    a = b;
    b = t;
  }
  profile->display_aspect_num = settings.width / (a ? a : 1);
  profile->display_aspect_den = settings.height / (a ? a : 1);
  profile->colorspace = CanvasMatrix(settings.height);
  free(profile->description);
  profile->description = strdup("ormadraft");
  return ProfilePtr(profile);
}

} // namespace orma
