#!/usr/bin/python3
"""Writes the starting corpus of fuzz_svg into a folder (not into the project):
every SVG of ../shared/corpus/svg/ when that folder is there, and small
documents made here that reach each path command, arcs, compact and broken
numbers, and gradients of every kind, spread, unit and reference.

    python3 fuzz/svg_corpus.py build-fuzz/svg-corpus
    ./build-fuzz/fuzz_svg -dict=fuzz/svg.dict build-fuzz/svg-corpus
"""

import shutil
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
SHARED = ROOT.parent / "shared" / "corpus" / "svg"

PATHS = [
    "M 10 10 20 20 30 10", "m 1 1 z l 5 5", "M0 0 H 10 h 5 V 10 v 5 Z",
    "M0 0 C 0 8 8 8 8 0 S 16 -8 16 0 s 8 8 8 0", "M0 0 Q 8 8 16 0 T 32 0 t 8 0",
    "M 0 0 T 8 8 S 1 2 3 4", "M 5 5 A 5 5 0 0 1 5 5", "M 0 0 A 0 5 0 0 1 10 10",
    "M 0 0 A 10 10 30 1 0 20 0 a -5 3 0 1 1 -10 -10", "M10-5L.5 .5l1e1 1E1", "M 1.2.3 4", "M 1e999 0",
    "M 0 0 L 10 10 20", "M 0 0 A 1 2 3 4 5 6 7 8 9 10", "M" + " M 1 1 2 2 z" * 50,
]

GRADIENTS = [
    '<linearGradient id="g" x2="1"><stop stop-color="red"/><stop offset="1" stop-color="blue"/></linearGradient>',
    '<linearGradient id="g" x2="1" spreadMethod="reflect"><stop/><stop offset="0.5" stop-opacity="0.5"/></linearGradient>',
    '<linearGradient id="g" x1="0.5" x2="0.5" spreadMethod="repeat"><stop/><stop offset="1"/></linearGradient>',
    '<linearGradient id="g" x1="0" y1="0" x2="100" y2="100" gradientUnits="userSpaceOnUse" '
    'gradientTransform="rotate(10)"><stop offset="0.5"/><stop offset="0.2" style="stop-color:red"/></linearGradient>',
    '<radialGradient id="g" spreadMethod="repeat"><stop stop-color="white"/><stop offset="1"/></radialGradient>',
    '<radialGradient id="g" gradientUnits="userSpaceOnUse" cx="50%" cy="50%" r="0%" fx="100%" '
    'spreadMethod="reflect"><stop/><stop offset="1"/></radialGradient>',
    '<linearGradient id="f" href="#g"><stop/></linearGradient>'
    '<linearGradient id="g" xlink:href="#f" x2="1"><stop offset="nan"/></linearGradient>',
    '<linearGradient id="g" x2="100%"><stop/><stop/></linearGradient>',
    '<radialGradient id="g"></radialGradient>',
]

SHAPES = ('<rect x="10" y="10" width="40" height="30" fill="url(#g)"/><rect width="0" height="0" fill="url(#g)"/>'
          '<circle cx="50" cy="50" r="20" fill="url(#g)"/><path d="M 10 80 q 20 -20 40 0 z" fill="url(#g)"/>'
          '<polygon points="0,0 10,0 10,10" fill="url(#g)"/>')


def document(body):
    return ('<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" '
            'width="100" height="100">\n%s\n</svg>\n' % body)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    out = Path(sys.argv[1])
    out.mkdir(parents=True, exist_ok=True)
    count = 0
    if SHARED.is_dir():
        for f in sorted(SHARED.rglob("*.svg")):
            shutil.copyfile(f, out / ("shared-%04d.svg" % count))
            count += 1
    for i, d in enumerate(PATHS):
        (out / ("path-%02d.svg" % i)).write_text(document('<path d="%s" fill="url(#g)"/>' % d))
    for i, g in enumerate(GRADIENTS):
        (out / ("gradient-%02d.svg" % i)).write_text(document("<defs>%s</defs>%s" % (g, SHAPES)))
    print("%d files in %s" % (count + len(PATHS) + len(GRADIENTS), out))


if __name__ == "__main__":
    main()
