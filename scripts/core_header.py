"""Reads the entry points that corelib/orma_core.h declares, for the scripts
that generate code from the header (the recording test double and the
library's trace argument lists), so that both read it by the same rule."""
import re
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

HANDLE_TYPES = {"OrmaVideoHandle", "OrmaSceneHandle", "OrmaMediaHandle", "OrmaEffectHandle",
                "OrmaAudioHandle", "OrmaCaptionHandle", "OrmaCaptionItemHandle", "OrmaMaskHandle",
                "void*"}


def split_type_name(s):
    """'const char* path' -> ('const char*', 'path')."""
    s = " ".join(s.split())
    m = re.match(r"(.*?)\s*(\w+)$", s)
    return m.group(1).strip(), m.group(2)


def entry_points():
    """Each declared function as (return type, name, [(type, name), ...])."""
    header = (ROOT / "corelib/orma_core.h").read_text()
    text = re.sub(r"/\*.*?\*/", "", header, flags=re.S)
    result = []
    for ret, params in re.findall(r"ORMA_API\s+([^;]+?)\s*\(([^;]*?)\)\s*;", text, flags=re.S):
        ret_type, name = split_type_name(ret)
        params = " ".join(params.split())
        plist = [] if params in ("void", "") else [split_type_name(p.strip()) for p in params.split(",")]
        result.append((ret_type, name, plist))
    return result


def write_or_check(target, content, argv):
    """Writes `content` to `target`, or with --check exits 1 when the file
    differs (the generated file is stale)."""
    import sys
    if len(argv) > 1 and argv[1] == "--check":
        sys.exit(0 if target.exists() and target.read_text() == content else 1)
    target.write_text(content)
    print(f"wrote {target.relative_to(ROOT)}")
