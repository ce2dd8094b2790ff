#include "engine/text/fonts.h"

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>
#include <pango/pangofc-fontmap.h>

#include <cctype>
#include <map>
#include <string_view>

#include "engine/core/log.h"
#include "engine/media/probe.h"

namespace orma {

const char* const kDefaultFontFamilies = "Noto Sans CJK SC,DejaVu Sans,sans-serif";

namespace {

/// Family names drafts carry that have no font of that name on Linux, and
/// the installed family that stands in for each.
const struct {
  const char* name;
  const char* family;
} kAliases[] = {
    {"\xE9\xBB\x91\xE4\xBD\x93", "Noto Sans CJK SC"}, // 黑体
    {"SimHei", "Noto Sans CJK SC"},
    {"\xE5\xBE\xAE\xE8\xBD\xAF\xE9\x9B\x85\xE9\xBB\x91", "Noto Sans CJK SC"}, // 微软雅黑
    {"Microsoft YaHei", "Noto Sans CJK SC"},
    {"PingFang SC", "Noto Sans CJK SC"},
    {"\xE8\x8B\xB9\xE6\x96\xB9", "Noto Sans CJK SC"},  // 苹方
    {"\xE5\xAE\x8B\xE4\xBD\x93", "Noto Serif CJK SC"}, // 宋体
    {"SimSun", "Noto Serif CJK SC"},
    {"\xE6\xA5\xB7\xE4\xBD\x93", "Noto Serif CJK SC"}, // 楷体
    {"KaiTi", "Noto Serif CJK SC"},
};

/// Generic names fontconfig always resolves.
const char* const kGeneric[] = {"sans-serif", "sans",      "serif",   "monospace",
                                "mono",       "system-ui", "cursive", "fantasy"};

struct FontState {
  FcConfig* config = nullptr;
  PangoFontMap* map = nullptr;
  std::map<std::string, std::string> fileFamilies; ///< font file -> family ("" when unusable)
  std::map<std::string, bool> families;            ///< family -> installed
};

FontState& State() {
  static FontState state;
  return state;
}

std::string AliasXml() {
  std::string xml = "<?xml version=\"1.0\"?>\n<!DOCTYPE fontconfig SYSTEM \"fonts.dtd\">\n<fontconfig>\n";
  for (const auto& a : kAliases)
    xml += std::string("<alias binding=\"same\"><family>") + a.name + "</family><prefer><family>" + a.family +
           "</family></prefer></alias>\n";
  xml += "</fontconfig>\n";
  return xml;
}

/// Family names compare as fontconfig compares them: ignoring ASCII case
/// and blanks.
bool SameName(const char* a, const std::string& b) {
  auto squeeze = [](std::string_view s) {
    std::string out;
    for (char c : s)
      if (c != ' ') out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
  };
  return squeeze(a) == squeeze(b);
}

bool FamilyInstalled(FcConfig* config, const std::string& family) {
  for (const auto& a : kAliases)
    if (SameName(a.name, family)) return true;
  for (const char* g : kGeneric)
    if (SameName(g, family)) return true;
  FcPattern* pattern = FcPatternCreate();
  FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
  FcConfigSubstitute(config, pattern, FcMatchPattern);
  FcDefaultSubstitute(pattern);
  FcResult result;
  FcPattern* match = FcFontMatch(config, pattern, &result);
  bool found = false;
  FcChar8* name = nullptr;
  for (int i = 0; match && !found && FcPatternGetString(match, FC_FAMILY, i, &name) == FcResultMatch; ++i)
    found = SameName(reinterpret_cast<const char*>(name), family);
  if (match) FcPatternDestroy(match);
  FcPatternDestroy(pattern);
  return found;
}

std::string FileFamily(FontState& s, const std::string& file) {
  auto known = s.fileFamilies.find(file);
  if (known != s.fileFamilies.end()) return known->second;
  std::string family;
  std::string why;
  std::string native = ResolveLocalFile(file.c_str(), &why);
  if (!native.empty()) {
    int count = 0;
    FcPattern* pattern =
        FcFreeTypeQuery(reinterpret_cast<const FcChar8*>(native.c_str()), 0, nullptr, &count);
    FcChar8* name = nullptr;
    if (pattern && FcPatternGetString(pattern, FC_FAMILY, 0, &name) == FcResultMatch && name) {
      if (FcConfigAppFontAddFile(s.config, reinterpret_cast<const FcChar8*>(native.c_str()))) {
        family = reinterpret_cast<const char*>(name);
        pango_fc_font_map_config_changed(PANGO_FC_FONT_MAP(s.map));
      } else {
        why = native + ": fontconfig cannot add it";
      }
    } else {
      why = native + ": not a font file";
    }
    if (pattern) FcPatternDestroy(pattern);
  }
  if (family.empty()) LogText("font file " + file + " cannot be used (" + why + "); using the default font");
  s.fileFamilies[file] = family;
  return family;
}

} // namespace

std::mutex& TextMutex() {
  static std::mutex mutex;
  return mutex;
}

PangoFontMap* TextFontMap() {
  FontState& s = State();
  if (!s.map) {
    s.config = FcInitLoadConfigAndFonts();
    std::string xml = AliasXml();
    if (!FcConfigParseAndLoadFromMemory(s.config, reinterpret_cast<const FcChar8*>(xml.c_str()), FcTrue))
      LogText(
          "font aliases could not be loaded; family names such as 黑体 may fall back to the default font");
    s.map = pango_cairo_font_map_new_for_font_type(CAIRO_FONT_TYPE_FT);
    pango_fc_font_map_set_config(PANGO_FC_FONT_MAP(s.map), s.config);
  }
  return s.map;
}

std::string ResolveFontFamilies(const std::string& fontFile, const std::string& family) {
  FontState& s = State();
  TextFontMap();
  if (!fontFile.empty()) {
    std::string fromFile = FileFamily(s, fontFile);
    if (!fromFile.empty()) return fromFile + "," + kDefaultFontFamilies;
  }
  if (!family.empty()) {
    auto known = s.families.find(family);
    bool installed = known != s.families.end() ? known->second : FamilyInstalled(s.config, family);
    if (known == s.families.end()) {
      s.families[family] = installed;
      if (!installed) LogText("font " + family + " is not installed; using the default font");
    }
    if (installed) return family + "," + kDefaultFontFamilies;
  }
  return kDefaultFontFamilies;
}

} // namespace orma
