// Transitions between consecutive scenes. A transition is centred on the cut:
// it starts half its length before the scene's end and ends half its length
// after the next scene's start, so no scene moves and the timeline keeps its
// length. Each kind is one TransitionEffect (transition_*.cpp), found by name
// in the table of transitions.cpp.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/model/model.h"
#include "engine/picture/image.h"
#include "engine/picture/mix.h"
#include "engine/render/scene.h"

namespace orma {

class TransitionEffect {
public:
  virtual ~TransitionEffect() = default;
  /// Writes the picture at progress p (0 = all of a, 1 = all of b) into dst.
  /// Called on several threads at once; must not change the effect.
  virtual void Render(Yuv& dst, const Yuv& a, const Yuv& b, float p) const = 0;
};

using TransitionFactory = std::unique_ptr<TransitionEffect> (*)(const TransitionStyle&, RenderContext&,
                                                                std::string* error);

/// Reads a transition resource given to the API: a luma picture (jpg, jpeg,
/// png, bmp) or a config.json naming a built-in transition.
bool LoadTransitionStyle(const char* path, TransitionStyle* style, std::string* error);

std::unique_ptr<TransitionEffect> MakeTransition(const TransitionStyle& style, RenderContext& ctx,
                                                 std::string* error);

/// Whether MakeTransition can still make the transition (its kind is known
/// and a luma picture still reads as one), without making it.
bool TransitionAvailable(const TransitionStyle& style, std::string* error);

/// Names of the built-in transitions.
std::vector<std::string> TransitionNames();

/// Shared by the mask-based transitions (wipe, circle, luma): a full-size
/// map of when each pixel switches (0 first, 255 last) and a soft edge.
class MaskTransition : public TransitionEffect {
public:
  MaskTransition(std::vector<uint8_t> order, int width, int height, float softness);
  void Render(Yuv& dst, const Yuv& a, const Yuv& b, float p) const override;
  /// The weights of the next scene by switch order at progress `p` (0..1).
  SwitchRamp RampAt(float p) const;

private:
  std::vector<uint8_t> order_;
  std::vector<uint8_t> orderHalf_; ///< the order at chroma resolution
  int width_, height_;
  float softness_;
};

std::unique_ptr<TransitionEffect> MakeDissolve(const TransitionStyle&, RenderContext&, std::string*);
std::unique_ptr<TransitionEffect> MakeWipe(const TransitionStyle&, RenderContext&, std::string*);
std::unique_ptr<TransitionEffect> MakeSlide(const TransitionStyle&, RenderContext&, std::string*);
std::unique_ptr<TransitionEffect> MakePush(const TransitionStyle&, RenderContext&, std::string*);
std::unique_ptr<TransitionEffect> MakeZoom(const TransitionStyle&, RenderContext&, std::string*);
std::unique_ptr<TransitionEffect> MakeCircle(const TransitionStyle&, RenderContext&, std::string*);
std::unique_ptr<TransitionEffect> MakeLuma(const TransitionStyle&, RenderContext&, std::string*);

} // namespace orma
