// Special effects: a chain of the engine's picture filters read from an
// effect folder's config.json (format in docs/resources.md). Every numeric
// parameter may be key-framed over the effect's span, or over a cycle that
// repeats. The same effect applies to a media item's working picture (its
// own effects) or to the whole canvas (timeline-wide effects): it only
// changes the picture it is given, at its size.
//
//   auto effect = SpecialEffect::Load(path, &error);
//   EffectClock clock{secondsSinceTheSpanStarted, spanSeconds, frameNumber};
//   effect->Apply(picture, clock, matrix);   // thread-safe, any thread
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/picture/image.h"

struct cJSON;

namespace orma {

/// Where an effect is in its span.
struct EffectClock {
  double seconds = 0; ///< since the span started
  double span = 0;    ///< the span's length in seconds
  int64_t frame = 0;  ///< a frame counter, for patterns that change per frame
};

class EffectFilter {
public:
  virtual ~EffectFilter() = default;
  virtual void Apply(Yuv& img, const EffectClock& clock, int matrix) const = 0;
};

class SpecialEffect {
public:
  static std::unique_ptr<SpecialEffect> Load(const std::string& path, std::string* error);
  static std::unique_ptr<SpecialEffect> Parse(const std::string& text, const std::string& where,
                                              std::string* error);
  /// Runs the chain on `img` in order.
  void Apply(Yuv& img, const EffectClock& clock, int matrix) const;
  const std::string& name() const { return name_; }
  size_t size() const { return filters_.size(); }

  /// The names of every filter kind (for documentation and tests).
  static std::vector<std::string> FilterNames();

private:
  static std::unique_ptr<SpecialEffect> FromJson(const cJSON* root, const std::string& where,
                                                 std::string* error);
  std::string name_;
  std::vector<std::unique_ptr<EffectFilter>> filters_;
};

} // namespace orma
