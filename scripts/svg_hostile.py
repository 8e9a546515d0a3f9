#!/usr/bin/python3
"""Hostile drawings, made by small generators: the classes of input a
service that converts uploads must survive.  Used by the regression test
tests/img/svg/test_svg_hostile.py (at sizes that run quickly) and by the
table in docs/hostile-input.md (at the sizes given below, with --full).

usage: svg_hostile.py OUT_DIR [--full] [--only NAME ...]
Writes NAME.svg (or .svgz) per case and prints one line per case: name, bytes.
"""

import argparse
import base64
import gzip
import os
import sys

SVG = '<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" width="100" height="100">'


def doubling(levels, leaf='<rect width="1" height="1"/>'):
    """`use` that doubles what it names, level after level."""
    s = '<defs><g id="L0">%s</g>' % leaf
    for i in range(1, levels + 1):
        s += '<g id="L%d"><use xlink:href="#L%d"/><use xlink:href="#L%d" x="1"/></g>' % (i, i - 1, i - 1)
    return s + '</defs><use xlink:href="#L%d"/>' % levels


def nested_doubling(levels):
    """Doubling by nesting: each group holds the last and a use of it."""
    inner = '<g id="L0"><rect width="1" height="1"/></g>'
    for i in range(1, levels + 1):
        inner = '<g id="L%d">%s<use xlink:href="#L%d" x="1"/></g>' % (i, inner, i - 1)
    return SVG + inner + '</svg>'


def embedded_bombs(count, levels):
    bomb = (SVG + doubling(levels) + '</svg>').encode()
    uri = "data:image/svg+xml;base64," + base64.b64encode(bomb).decode()
    return SVG + "".join('<image width="10" height="10" xlink:href="%s"/>' % uri for _ in range(count)) + '</svg>'


def cloned_attribute(kb, levels):
    big = "a" * (kb * 1024)
    return SVG + doubling(levels, '<rect class="%s" width="1" height="1"/>' % big) + '</svg>'


def many(n, element):
    return SVG + "".join(element % i for i in range(n)) + '</svg>'


def selector_list(selectors, body_kb):
    body = "fill: red; " * (body_kb * 1024 // 11)
    return SVG + '<style>%s { %s }</style><rect class="a" width="10" height="10"/></svg>' % (
        ",".join([".a"] * selectors), body)


def many_attributes(n):
    return SVG + '<rect %s width="1" height="1"/></svg>' % " ".join('a%d="1"' % i for i in range(n))


def gradient_stops(stops, shapes):
    stop = "".join('<stop offset="%f" stop-color="#%06x"/>' % (i / stops, i * 2654435761 % 0xFFFFFF)
                   for i in range(stops))
    grads = "".join('<linearGradient id="g%d">%s</linearGradient>' % (k, stop) for k in range(shapes))
    return SVG + grads + "".join('<rect x="%d" width="2" height="10" fill="url(#g%d)"/>' % (k * 2, k)
                                 for k in range(shapes)) + '</svg>'


LAUGHS = """<?xml version="1.0"?>
<!DOCTYPE svg [
<!ENTITY a "lollollollollollollollollollol">
""" + "".join('<!ENTITY %s "%s">\n' % (chr(ord("b") + i), ("&%s;" % chr(ord("a") + i)) * 10) for i in range(9)) + """]>
<svg xmlns="http://www.w3.org/2000/svg" width="100" height="100"><text y="20">&j;</text></svg>
"""

# name: (description, quick text, full text)
CASES = {
    "embedded-bombs": ("8 embedded drawings, each an 18-level use doubling",
                       lambda: embedded_bombs(8, 12), lambda: embedded_bombs(8, 18)),
    "use-nesting": ("use doubling by nesting, 18 levels", lambda: nested_doubling(14), lambda: nested_doubling(18)),
    "use-doubling": ("use doubling through defs, 24 levels", lambda: SVG + doubling(16) + '</svg>',
                     lambda: SVG + doubling(24) + '</svg>'),
    "cloned-class": ("a 100 KB class attribute cloned 2^14 times", lambda: cloned_attribute(100, 8),
                     lambda: cloned_attribute(100, 14)),
    "many-rects": ("999,000 rects", lambda: many(50000, '<rect x="%d" width="1" height="1"/>'),
                   lambda: many(999000, '<rect x="%d" width="1" height="1"/>')),
    "many-paths": ("300,000 paths", lambda: many(20000, '<path d="M%d 0h1v1h-1z"/>'),
                   lambda: many(300000, '<path d="M%d 0h1v1h-1z"/>')),
    "selector-list": ("20,000 selectors with a 100 KB body", lambda: selector_list(2000, 100),
                      lambda: selector_list(20000, 100)),
    "text-runs": ("20,000 distinct text runs", lambda: many(2000, '<text y="10">run %d</text>'),
                  lambda: many(20000, '<text y="10">run %d</text>')),
    "attributes-50k": ("50,000 attributes on one element", lambda: many_attributes(5000),
                       lambda: many_attributes(50000)),
    "attributes-200k": ("200,000 attributes on one element", lambda: many_attributes(20000),
                        lambda: many_attributes(200000)),
    "gradient-stops": ("10,000 stops over 50 shapes", lambda: gradient_stops(2000, 20),
                       lambda: gradient_stops(10000, 50)),
    "zero-viewbox": ("viewBox=\"0 0 0 0\"", lambda: SVG.replace('width="100" height="100"', 'viewBox="0 0 0 0"')
                     + '<rect width="10" height="10"/></svg>', None),
    "truncated": ("a truncated file", lambda: SVG + '<rect width="10" height', None),
    "bad-utf8": ("bad UTF-8", lambda: SVG + '<text y="10">\udcff\udcfe</text></svg>', None),
    "billion-laughs": ("a billion-laughs document", lambda: LAUGHS, None),
    "huge-font-size": ("font-size=\"1e38\"", lambda: SVG + '<text y="10" font-size="1e38">big</text></svg>', None),
    "svgz-bomb": ("a 10 MB gzip stream expanding to 10 GB", None, None),
}


def write(out, name, full):
    _, quick, big = CASES[name]
    path = os.path.join(out, name + ".svg")
    if name == "svgz-bomb":
        path = os.path.join(out, name + ".svgz")
        with gzip.open(path, "wb", compresslevel=9) as f:
            f.write(SVG.encode())
            chunk = b" " * (1 << 20)
            for _ in range(10240 if full else 256):
                f.write(chunk)
        return path
    text = (big or quick)() if full else quick()
    with open(path, "wb") as f:
        f.write(text.encode("utf-8", "surrogateescape"))
    return path


def main():
    p = argparse.ArgumentParser()
    p.add_argument("out")
    p.add_argument("--full", action="store_true")
    p.add_argument("--only", nargs="*")
    a = p.parse_args()
    os.makedirs(a.out, exist_ok=True)
    for name in a.only or CASES:
        path = write(a.out, name, a.full)
        print("%s %d" % (path, os.path.getsize(path)))


if __name__ == "__main__":
    sys.exit(main())
