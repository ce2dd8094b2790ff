// Picture-in-picture overlays and the logo: each is a picture-in-picture
// scene of its own, holding media items placed by ApplyMediaAttributes.
#pragma once

#include <cstdint>

#include "corelib/orma_core.h"
#include "draft/records.h"

/// Adds one picture-in-picture scene per overlay with its media. Returns 1
/// on success, otherwise the failing result or code, with its text in
/// `message` (2048 bytes).
int32_t AddOverlays(DraftDocument* document, OrmaVideoHandle vv, char* message);

/// Adds one picture-in-picture scene per logo item, spanning the timeline
/// built so far; built last so that it covers everything else. Returns 1 on
/// success, otherwise as AddOverlays.
int32_t AddLogo(DraftDocument* document, OrmaVideoHandle vv, char* message);
