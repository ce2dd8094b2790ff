#!/usr/bin/env python3
"""Writes the malformed-input corpus beside this script: damaged forms of
valid drafts, export settings files, preview command files and theme
requests (truncated, values of the wrong type, absurd numbers, deep nesting,
odd bytes), and of the resource files the core library reads: the
config.json of transitions, animations, masks, effects, stickers and caption
styles, word art, and colour look-up tables (.cube, .3dl).
tests/cli/malformed.sh runs the program on the first four kinds;
tests/engine_unit/malformed_resources_test.cpp runs the library's readers
on the others. Run this script again after changing the seeds and commit
the result.
Usage: make_corpus.py"""
import copy
import json
import os
import random

HERE = os.path.dirname(os.path.abspath(__file__))
FUZZ = os.path.join(HERE, '..', 'fuzz', 'corpus')
RESOURCES = os.path.join(HERE, '..', '..', 'resources')
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


def write(kind, items, extension='json'):
    folder = os.path.join(HERE, kind)
    os.makedirs(folder, exist_ok=True)
    for old in os.listdir(folder):
        os.remove(os.path.join(folder, old))
    for number, data in enumerate(items):
        with open(os.path.join(folder, '%03d.%s' % (number, extension)), 'wb') as f:
            f.write(data)


# The files a damaged resource may name are the ones
# malformed_resources_test.cpp puts beside it (and the fuzz targets too).
STICKER_FRAMES = ['frame01.png', 'frame02.png']


def resource_seeds(kind, pattern='config.json'):
    """The shipped resources of one kind, parsed, in name order."""
    seeds = []
    folder = os.path.join(RESOURCES, kind)
    for name in sorted(os.listdir(folder)):
        path = os.path.join(folder, name, pattern)
        if os.path.isfile(path):
            seeds.append(json.load(open(path, encoding='utf-8')))
    return seeds


def resource_variants(seeds, count):
    """`count` damaged files spread over the seeds."""
    out = []
    for index, seed in enumerate(seeds):
        share = count // len(seeds) + (1 if index < count % len(seeds) else 0)
        if share:
            out += variants(seed, share)
    return out


# Lines that a table reader has to refuse or survive.
ODD_LUT_LINES = ['nan nan nan', '1e39 0 0', '-1e39 0 0', 'inf 0 1', '0x10 0 0', '1 2', '1 2 3 4', '-1 -2 -3',
                 '1.5 2 3', 'LUT_3D_SIZE 129', 'LUT_3D_SIZE 1', 'LUT_3D_SIZE 2.5', 'LUT_3D_SIZE', 'LUT_1D_SIZE 4',
                 'DOMAIN_MIN 1 1 1', 'DOMAIN_MAX -1e39 0 0', 'DOMAIN_MIN -1e39 -1e39 -1e39', '65536 0 0',
                 '0 64 128', '#', '\xff\xfe', 'TITLE "x"']


def cube_table(size, domain=False):
    lines = ['TITLE "seed"', 'LUT_3D_SIZE %d' % size]
    if domain:
        lines += ['DOMAIN_MIN 0 0 0', 'DOMAIN_MAX 1 1 1']
    step = size - 1
    for b in range(size):
        for g in range(size):
            for r in range(size):
                lines.append('%.4f %.4f %.4f' % (r / step, g / step, b / step))
    return '\n'.join(lines) + '\n'


def three_dl_table(size, mesh=True):
    lines = [' '.join(str(i * 1023 // (size - 1)) for i in range(size))] if mesh else []
    for r in range(size):
        for g in range(size):
            for b in range(size):
                lines.append('%d %d %d' % (r * 1023 // (size - 1), g * 1023 // (size - 1), b * 1023 // (size - 1)))
    return '\n'.join(lines) + '\n'


def text_variants(text, count):
    """A line replaced by an odd one, truncations and byte damage."""
    lines = text.split('\n')
    out = []
    for _ in range(count * 6 // 10):
        damaged = list(lines)
        damaged[random.randrange(len(damaged))] = random.choice(ODD_LUT_LINES)
        out.append('\n'.join(damaged).encode('latin-1'))
    for _ in range(count * 2 // 10):
        out.append(text.encode()[:random.randrange(0, len(text))])
    while len(out) < count:
        raw = bytearray(text.encode())
        for _ in range(random.randint(1, 8)):
            raw[random.randrange(len(raw))] = random.choice(b' \n\t#-.e9\0\xff')
        out.append(bytes(raw))
    return out


def write_resources():
    write('transitions', resource_variants(resource_seeds('transitions'), 20))
    write('animations', resource_variants(resource_seeds('animations'), 20))
    write('masks', resource_variants(resource_seeds('masks'), 12))
    write('effects', resource_variants(resource_seeds('effects'), 24))
    stickers = resource_seeds('stickers')
    for sticker in stickers:
        if 'frames' in sticker:
            sticker['frames'] = STICKER_FRAMES
    write('stickers', resource_variants(stickers, 14))
    word_art = resource_seeds('word-art')
    word_art.append({'fill': {'type': 'texture', 'picture': 'frame01.png', 'mode': 'tile'}})
    write('word-art', resource_variants(word_art, 12))
    write('captions', resource_variants(resource_seeds('captions'), 24))
    tables = text_variants(cube_table(2), 10) + text_variants(cube_table(3, True), 10)
    # An empty table, a size with no entries, and one with far too many.
    tables += [b'', b'LUT_3D_SIZE 128\n', b'LUT_3D_SIZE 2\n' + b'0 0 0\n' * 20000]
    write('luts-cube', tables, 'cube')
    write('luts-3dl', text_variants(three_dl_table(2), 8) + text_variants(three_dl_table(3, False), 8) +
          [b'', b'0 1023\n', b' '.join(b'%d' % i for i in range(200)) + b'\n'], '3dl')


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
    write_resources()


main()
