// Hands every attribute of a placed clip or picture to its media handle.
#pragma once

#include <cstdint>

#include "corelib/orma_core.h"
#include "draft/records.h"

/// 1 when every call succeeded, otherwise the failing call's result or one
/// of -126, -508, -554, -566, -606. applyBlendMode is 0 for scene items and
/// 1 for overlays and the logo.
int32_t ApplyMediaAttributes(const DraftDocument* document, OrmaMediaHandle media,
                             const MediaRecord* record, int32_t applyBlendMode);
