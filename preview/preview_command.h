// The preview command file ("ThemesPreview") and the pipe control thread.
#pragma once

#include "draft/records.h"

/// Reads argv[2] as a preview command file when argc is 3; null otherwise.
PreviewCommand* parsePreviewCommand(int argc, char** argv);
