// Building the timeline in the core library from a DraftDocument and running
// the export (or the preview) with its progress reporter.
#pragma once

#include <cstdint>

#include "corelib/orma_core.h"
#include "draft/records.h"
#include "platform/program_results.h"

/// Size of the caller's message buffer that ExportDraft writes failures into.
inline constexpr int kExportMessageSize = 2048;

/// 1 or more on success; otherwise a failing call's result or one of the
/// program's codes (platform/program_results.h), with a short English text
/// in `message` (kExportMessageSize bytes).
int32_t ExportDraft(DraftDocument* document, char* message);

/// Span of a scene on the main track in float microseconds: 1,
/// kSceneWithoutMedia or kSceneWithoutSlot.
int SceneSpan(const SceneRecord* scene, const MediaInfoEntry* mediaInfo, float position, float* outStart,
              float* outEnd);

class ProgressBar;

/// Body of the progress thread: polls every 100 ms, prints every fifth poll
/// with the time since `startTicks` (the run's start, TickCount64
/// milliseconds), ends at 99.5 %. With a `bar` (standard error is a
/// terminal) it also redraws the bar on every poll.
void ProgressReporter(OrmaVideoHandle vv, uint64_t startTicks, ProgressBar* bar = nullptr);
