// Element builders: one per element kind, found through the table of
// elements.cpp. Each turns the model's elements of its kind into clips,
// tracks, transitions and filters of the export's MLT graph.
#pragma once

#include <memory>
#include <string>

#include "engine/model/model.h"

namespace orma {

class Segment;
class Timeline;

class ElementBuilder {
public:
  virtual ~ElementBuilder() = default;
  /// Called for every element of the builder's kind: main scenes in time
  /// order first, then the stacked elements from the lowest level up.
  virtual bool Add(Timeline& timeline, Element& element, std::string* error) = 0;
  /// Called once after all elements were added.
  virtual bool Finish(Timeline&, std::string*) { return true; }
};

using BuilderFactory = std::unique_ptr<ElementBuilder> (*)();

/// The builder factory for a kind (never null for a valid kind).
BuilderFactory FindBuilder(ElementKind kind);
const char* KindName(ElementKind kind);

std::unique_ptr<ElementBuilder> MakeMainSceneBuilder();
std::unique_ptr<ElementBuilder> MakePipSceneBuilder();
std::unique_ptr<ElementBuilder> MakeEffectBuilder();
std::unique_ptr<ElementBuilder> MakeAudioBuilder();
std::unique_ptr<ElementBuilder> MakeCaptionBuilder();

/// Black and silent over its span: a gap between scenes, and the main track
/// past its last scene up to the end of the stacked elements.
std::unique_ptr<Segment> MakeBlackSegment(int matrix);

} // namespace orma
