// Fonts of the text renderer. The engine keeps its own fontconfig
// configuration for the process: the system's fonts, the font files that
// captions name (added as application fonts), and aliases that map the
// family names drafts commonly carry (黑体, 宋体, Microsoft YaHei ...) to the
// Noto CJK families. Pango lays out with a font map on that configuration,
// so a glyph missing from the chosen font comes from another installed font
// (fontconfig's fallback order) rather than showing as a box.
#pragma once

#include <mutex>
#include <string>

typedef struct _PangoFontMap PangoFontMap;

namespace orma {

/// Families used when a caption names none or names one that is missing:
/// a CJK sans that also covers Latin, then DejaVu, then any sans.
extern const char* const kDefaultFontFamilies;

/// Serialises all use of Pango and fontconfig (neither is safe to share
/// between threads).
std::mutex& TextMutex();

/// The process's font map (made on first use). Call with TextMutex held.
PangoFontMap* TextFontMap();

/// The family list Pango is given for a caption item: the family of
/// `fontFile` when it names a usable font file (registered for the
/// process), else `family` when fontconfig has it (or one of the engine's
/// aliases), else the defaults. A missing file or family is logged once,
/// naming it. Call with TextMutex held.
std::string ResolveFontFamilies(const std::string& fontFile, const std::string& family);

} // namespace orma
