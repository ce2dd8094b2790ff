// The fields of each parameter block that its trace line shows
// (trace_blocks.h); the block's own name stands before them.
#include "engine/api/trace_blocks.h"

#include <cstring>
#include <string>

namespace orma {

namespace {

// A null block is shown as null; a block's fields follow its name as
// "name={...}".
template <class Block, class Fields>
void Braced(TraceArgs& t, const char* name, const Block* block, Fields fields) {
  if (!block) {
    t.Ptr(name, nullptr);
    return;
  }
  TraceArgs inner;
  fields(inner, *block);
  t.Raw(name, "{" + inner.str() + "}");
}

} // namespace

void Describe(TraceArgs& t, const char* name, const OrmaBlurBlock* blur) {
  Braced(t, name, blur, [](TraceArgs& f, const OrmaBlurBlock& b) {
    f.Int("type", b.blurType)
        .Dbl("intensity", b.intensity)
        .Dbl("centerX", b.centerX)
        .Dbl("centerY", b.centerY);
    f.Dbl("radius", b.radius);
  });
}

void Describe(TraceArgs& t, const char* name, const OrmaKeyFrameBlock* frame) {
  Braced(t, name, frame, [](TraceArgs& f, const OrmaKeyFrameBlock& k) {
    f.Int("atTimeUs", k.atTimeUs).Floats("showRect", k.showRect, 4).Floats("cropRect", k.cropRect, 4);
    f.Dbl("opacity", k.opacity).Dbl("rotate", k.rotate).Int("type", k.type);
  });
}

void Describe(TraceArgs& t, const char* name, const OrmaMaskKeyFrameBlock* frame) {
  Braced(t, name, frame, [](TraceArgs& f, const OrmaMaskKeyFrameBlock& k) { f.Int("atTimeUs", k.atTimeUs); });
}

void Describe(TraceArgs& t, const char* name, const OrmaMaskShapeBlock* shape) {
  Braced(t, name, shape, [](TraceArgs& f, const OrmaMaskShapeBlock& s) {
    f.Dbl("width", s.width).Dbl("height", s.height).Dbl("centerX", s.centerX).Dbl("centerY", s.centerY);
  });
}

void Describe(TraceArgs& t, const char* name, const OrmaAdjustmentBlock* adjustment) {
  Braced(t, name, adjustment,
         [](TraceArgs& f, const OrmaAdjustmentBlock& a) { f.Floats("values", &a.brightness, 12); });
}

void Describe(TraceArgs& t, const char* name, const OrmaCaptionItemBlock* block) {
  Braced(t, name, block, [](TraceArgs& f, const OrmaCaptionItemBlock& b) {
    std::string text(b.text, strnlen(b.text, sizeof b.text));
    f.Int("startUs", b.startUs).Int("endUs", b.endUs).Text("text", text.c_str());
  });
}

void Describe(TraceArgs& t, const char* name, const OrmaStrokeBlock* stroke) {
  Braced(t, name, stroke,
         [](TraceArgs& f, const OrmaStrokeBlock& s) { f.Dbl("width", s.width).Floats("color", s.color, 4); });
}

void Describe(TraceArgs& t, const char* name, const OrmaShadowBlock* shadow) {
  Braced(t, name, shadow, [](TraceArgs& f, const OrmaShadowBlock& s) {
    f.Dbl("blur", s.blur).Dbl("angle", s.angle).Dbl("distance", s.distance);
  });
}

void Describe(TraceArgs& t, const char* name, const OrmaCaptionBackgroundBlock* background) {
  Braced(t, name, background, [](TraceArgs& f, const OrmaCaptionBackgroundBlock& b) {
    f.Int("type", b.type).Floats("color", b.color, 4);
  });
}

void Describe(TraceArgs& t, const char* name, const OrmaCaptionKeyFrameBlock* frame) {
  Braced(t, name, frame, [](TraceArgs& f, const OrmaCaptionKeyFrameBlock& k) {
    f.Int("atTimeUs", k.atTimeUs)
        .Floats("showRect", k.showRect, 4)
        .Dbl("alpha", k.alpha)
        .Dbl("scale", k.scale);
  });
}

} // namespace orma
