#!/usr/bin/env python3
"""Writes the malformed-input corpus beside this script: damaged forms of
valid drafts, export settings files, preview command files and theme
requests (truncated, values of the wrong type, absurd numbers, deep nesting,
odd bytes). tests/cli/malformed.sh runs the program on every file; run this
script again after changing the seeds and commit the result.
Usage: make_corpus.py"""
import copy
import json
import os
import random

HERE = os.path.dirname(os.path.abspath(__file__))
FUZZ = os.path.join(HERE, '..', 'fuzz', 'corpus')
random.seed(16)

SETTINGS = {"video": {"fps": 29.97, "bitrate": 5000, "encoder": "libx264", "w": 1280, "h": 720},
            "audio": {"channels": 2, "samples": 48000, "bitrate": 192},
            "hw": {"decoder": 0, "encoder": 0}, "time": {"start": 0.5, "end": 1.5}, "outUrl": "out.mp4"}
PREVIEW = {"type": "ThemesPreview", "hWnd": "0", "pipeName": "ormadraft-test-pipe", "x": 0, "y": 0}
THEME = {"type": "TemplateThemes", "themePath": "theme", "outPath": "out.mp4",
         "medias": [{"path": "a.png", "type": 0}, {"path": "b.mp4", "type": 1}], "texts": ["one", "two"]}

ODD_VALUES = [None, True, False, 0, -1, 2 ** 31, -2 ** 63, 1e308, -1e308, 0.1, "", "x" * 1500, "%s%n%d",
              "草稿", "\u0000nul", [], {}, [1, 2, 3], {"a": {"b": {}}}]


def paths(value, prefix=()):
    """Every path to a value inside a JSON tree."""
    yield prefix
    if isinstance(value, dict):
        for key, item in value.items():
            yield from paths(item, prefix + (key,))
    elif isinstance(value, list):
        for index, item in enumerate(value):
            yield from paths(item, prefix + (index,))


def replaced(tree, path, new):
    tree = copy.deepcopy(tree)
    if not path:
        return new
    node = tree
    for step in path[:-1]:
        node = node[step]
    node[path[-1]] = new
    return tree


def variants(seed, count):
    """Type swaps at random places, truncations and byte damage."""
    text = json.dumps(seed, ensure_ascii=False)
    all_paths = list(paths(seed))
    out = []
    for _ in range(count * 6 // 10):
        path = random.choice(all_paths)
        out.append(json.dumps(replaced(seed, path, random.choice(ODD_VALUES)), ensure_ascii=False).encode())
    for _ in range(count * 2 // 10):
        out.append(text.encode()[:random.randrange(0, len(text.encode()))])
    while len(out) < count:
        raw = bytearray(text.encode())
        for _ in range(random.randint(1, 8)):
            raw[random.randrange(len(raw))] = random.choice(b'{}[]",:\\0\xff\xfe\x80')
        out.append(bytes(raw))
    return out


def write(kind, items):
    folder = os.path.join(HERE, kind)
    os.makedirs(folder, exist_ok=True)
    for old in os.listdir(folder):
        os.remove(os.path.join(folder, old))
    for number, data in enumerate(items):
        with open(os.path.join(folder, '%03d.json' % number), 'wb') as f:
            f.write(data)


def main():
    drafts = []
    for name in sorted(os.listdir(FUZZ)):
        try:
            seed = json.load(open(os.path.join(FUZZ, name), encoding='utf-8'))
        except ValueError:
            continue
        drafts += variants(seed, 17)
    # Deep nesting, an empty file, a byte-order mark, a huge array.
    drafts += [b'[' * 5000 + b']' * 5000, b'{"scenes":' * 2000 + b'1' + b'}' * 2000, b'',
               b'\xef\xbb\xbf{"scenes": []}', b'{"mediaInfo": [' + b'{},' * 20000 + b'{}]}']
    write('drafts', drafts)
    write('settings', variants(SETTINGS, 60))
    write('preview', variants(PREVIEW, 20))
    write('themes', variants(THEME, 20))


main()
