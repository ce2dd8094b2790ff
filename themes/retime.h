// Element retiming: after the scenes of a theme draft were filled, its
// overlays, special effects, stickers, captions, musics and logo follow the
// new length. Every element ending at or after the new end is cut there
// (none is deleted, even one that now starts after the end); when the draft
// grew, each element is repeated every old length until the new end, the
// last copy cut at the end. Stickers, captions and overlays repeat only over
// the middle of the theme: the period leaves out the fixed opening and
// closing scenes (headLength, tailLength) and the copies stop before the
// closing scene. Theme-relative file references become absolute.
#pragma once

#include <cjson/cJSON.h>

#include "themes/theme_request.h"

// Each returns 1 on success (also when the draft has no such elements), 0
// when the record or tree is missing or a duration is not above 0.
int UpdateJsonOverlaysObject(ThemeRequest* record, cJSON* tree, float newDuration);
int UpdateJsonSpecialEffectsObject(ThemeRequest* record, cJSON* tree, float newDuration);
int UpdateJsonStickersObject(ThemeRequest* record, cJSON* tree, float newDuration);
int UpdateJsonCaptionObject(ThemeRequest* record, cJSON* tree, float newDuration);
int UpdateJsonMusicsObject(ThemeRequest* record, cJSON* tree, float newDuration);
int UpdateJsonLogosObject(ThemeRequest* record, cJSON* tree, float newDuration);

/// One retiming routine and the error block printed when it fails.
struct RetimeStep {
  int (*update)(ThemeRequest*, cJSON*, float);
  const char* failure;
};

/// The six above in the order they run, with their messages.
extern const RetimeStep kRetimeSteps[6];

/// Runs `count` steps in order; the first that gives a result not above 0
/// prints its error block and gives 0 (the later ones do not run).
int RunRetimeSteps(ThemeRequest* record, cJSON* tree, float newDuration, const RetimeStep* steps, int count);

/// The six routines in their order (kRetimeSteps).
int RetimeElements(ThemeRequest* record, cJSON* tree, float newDuration);
