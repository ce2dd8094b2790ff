// Music and sound effects. They will be audio-only clips on their own
// tracks, shared by tracks that never overlap, mixed into the output; until
// then they are kept in the model and reported once.
#include "engine/elements.h"
#include "engine/log.h"

namespace orma {

namespace {
class AudioBuilder : public ElementBuilder {
public:
  bool Add(Timeline&, Element&, std::string*) override {
    LogNotRendered("audio track (music or sound effect)");
    return true;
  }
};
} // namespace

std::unique_ptr<ElementBuilder> MakeAudioBuilder() { return std::make_unique<AudioBuilder>(); }

} // namespace orma
