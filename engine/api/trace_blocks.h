// What the trace (ORMA_TRACE) shows of a parameter block an entry point is
// handed: the fields that tell one call from another, not the whole block
// (a key frame is over 4 KiB). The generated argument lists
// (entry_points_gen.cpp) call Describe for every block parameter; a block
// without an overload of its own is shown by its address. A null block is
// shown as "null".
#pragma once

#include "corelib/orma_core.h"
#include "engine/api/trace.h"

namespace orma {

template <class Block> void Describe(TraceArgs& t, const char* name, const Block* block) {
  t.Ptr(name, block);
}

void Describe(TraceArgs& t, const char* name, const OrmaBlurBlock* blur);
void Describe(TraceArgs& t, const char* name, const OrmaKeyFrameBlock* frame);
void Describe(TraceArgs& t, const char* name, const OrmaMaskKeyFrameBlock* frame);
void Describe(TraceArgs& t, const char* name, const OrmaMaskShapeBlock* shape);
void Describe(TraceArgs& t, const char* name, const OrmaAdjustmentBlock* adjustment);
void Describe(TraceArgs& t, const char* name, const OrmaCaptionItemBlock* block);
void Describe(TraceArgs& t, const char* name, const OrmaStrokeBlock* stroke);
void Describe(TraceArgs& t, const char* name, const OrmaShadowBlock* shadow);
void Describe(TraceArgs& t, const char* name, const OrmaCaptionBackgroundBlock* background);
void Describe(TraceArgs& t, const char* name, const OrmaCaptionKeyFrameBlock* frame);

} // namespace orma
