#include "themes/theme_request.h"

// Template themes are not part of this build yet: no argument is taken for a
// theme request, so a single argument is always exported as a draft.
ThemeRequest* LoadThemeRequest(const char* /*requestPath*/) { return nullptr; }
