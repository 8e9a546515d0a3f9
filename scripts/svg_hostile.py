#!/usr/bin/python3
"""Hostile drawings, made by small generators: the classes of input a
service that converts uploads must survive.  Used by the regression test
tests/img/svg/test_svg_hostile.py (at sizes that run quickly) and by the
table in docs/hostile-input.md (at the sizes given below, with --full).

usage: svg_hostile.py OUT_DIR [--full] [--only NAME ...] [--measure KIVUIMG]
Writes NAME.svg (or .svgz) per case and prints one line per case: name, bytes.
With --measure, converts each file with KIVUIMG under /usr/bin/time -v and
prints a Markdown row per case: size, peak memory, CPU time, output size,
exit status and the tool's last message.
"""

import argparse
import base64
import gzip
import os
import re
import subprocess
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
    """One gradient of many stops, used by shapes of different sizes: a shading each."""
    stop = "".join('<stop offset="%.4f" stop-color="#%06x"/>' % (i / stops, i * 2654435761 % 0xFFFFFF)
                   for i in range(stops))
    return SVG + '<linearGradient id="g">%s</linearGradient>' % stop + "".join(
        '<rect x="%d" width="%d" height="10" fill="url(#g)"/>' % (k * 2, k + 1) for k in range(shapes)) + '</svg>'


def honest_paths(n):
    """A big honest drawing: n filled paths of about 100 bytes each."""
    path = ('<path fill="#%06x" stroke="#000" d="M%d.5 %d.25c10.5 -3.25 20.75 4.5 30.25 0.5'
            's5.5 8.25 -2.75 12.5l-4.5 6.25h-12.75z"/>\n')
    return SVG.replace('width="100" height="100"', 'viewBox="0 0 1000 1000"') + "".join(
        path % (i * 2654435761 % 0xFFFFFF, i % 1000, i // 100 % 1000) for i in range(n)) + '</svg>'


LAUGHS = """<?xml version="1.0"?>
<!DOCTYPE svg [
<!ENTITY a "lollollollollollollollollollol">
""" + "".join('<!ENTITY %s "%s">\n' % (chr(ord("b") + i), ("&%s;" % chr(ord("a") + i)) * 10) for i in range(9)) + """]>
<svg xmlns="http://www.w3.org/2000/svg" width="100" height="100"><text y="20">&j;</text></svg>
"""

# name: (description, quick text, full text)
# name: (description, text at full size, text for a quick run or None when the
# same); the regression test runs the quick ones.
CASES = {
    "embedded-bombs": ("8 embedded drawings, each an 18-level use doubling", lambda: embedded_bombs(8, 18), None),
    "use-nesting": ("use doubling by nesting, 18 levels", lambda: nested_doubling(18), None),
    "use-doubling": ("use doubling through defs, 24 levels", lambda: SVG + doubling(24) + '</svg>', None),
    "cloned-class": ("a 100 KB class attribute cloned 2^14 times", lambda: cloned_attribute(100, 14), None),
    "many-rects": ("999,000 rects", lambda: many(999000, '<rect x="%d" width="1" height="1"/>'),
                   lambda: many(50000, '<rect x="%d" width="1" height="1"/>')),
    "many-paths": ("300,000 paths", lambda: many(300000, '<path d="M%d 0h1v1h-1z"/>'),
                   lambda: many(20000, '<path d="M%d 0h1v1h-1z"/>')),
    "selector-list": ("20,000 selectors with a 100 KB body", lambda: selector_list(20000, 100), None),
    "text-runs": ("20,000 distinct text runs", lambda: many(20000, '<text y="10">run %d</text>'), None),
    "attributes-50k": ("50,000 attributes on one element", lambda: many_attributes(50000), None),
    "attributes-200k": ("200,000 attributes on one element", lambda: many_attributes(200000),
                        lambda: many_attributes(20000)),
    "gradient-stops": ("10,000 stops over 50 shapes", lambda: gradient_stops(10000, 50), None),
    "zero-viewbox": ("viewBox=\"0 0 0 0\"", lambda: SVG.replace('width="100" height="100"', 'viewBox="0 0 0 0"')
                     + '<rect width="10" height="10"/></svg>', None),
    "truncated": ("a truncated file", lambda: SVG + '<rect width="10" height', None),
    "bad-utf8": ("bad UTF-8", lambda: SVG + '<text y="10">\udcff\udcfe</text></svg>', None),
    "billion-laughs": ("a billion-laughs document", lambda: LAUGHS, None),
    "huge-font-size": ("font-size=\"1e38\"", lambda: SVG + '<text y="10" font-size="1e38">big</text></svg>', None),
    "honest-paths": ("a drawing of 100,000 paths, not hostile: it must convert",
                     lambda: honest_paths(100000), lambda: honest_paths(5000)),
    "svgz-bomb": ("a 10 MB gzip stream expanding to 10 GB", None, None),
}


def write(out, name, full):
    _, big, quick = CASES[name]
    path = os.path.join(out, name + ".svg")
    if name == "svgz-bomb":
        path = os.path.join(out, name + ".svgz")
        with gzip.open(path, "wb", compresslevel=9) as f:
            f.write(SVG.encode())
            chunk = b" " * (1 << 20)
            for _ in range(10240 if full else 256):
                f.write(chunk)
        return path
    text = big() if full or not quick else quick()
    with open(path, "wb") as f:
        f.write(text.encode("utf-8", "surrogateescape"))
    return path


def measure(kivuimg, path, desc):
    """One row of the hostile-input table for `path`."""
    out = path + ".pdf"
    if os.path.exists(out):
        os.remove(out)
    cmd = ["/usr/bin/time", "-v", kivuimg, "convert", "-q", path, "-o", out]
    r = subprocess.run(cmd, capture_output=True, text=True, errors="replace", timeout=600)
    rss = int(re.search(r"Maximum resident set size \(kbytes\): (\d+)", r.stderr).group(1))
    cpu = sum(float(re.search(r"%s time \(seconds\): ([\d.]+)" % k, r.stderr).group(1)) for k in ("User", "System"))
    status = int(re.search(r"Exit status: (\d+)", r.stderr).group(1))
    said = [l.replace("kivuimg: %s: " % path, "").split("': ", 2)[-1]
            for l in r.stderr.splitlines() if l.startswith("kivuimg")]
    size = os.path.getsize(out) if os.path.exists(out) else 0
    valid = ""
    if size:
        q = subprocess.run(["qpdf", "--check", out], capture_output=True, text=True)
        valid = "valid PDF" if q.returncode == 0 else "qpdf: %s" % q.stdout.strip().splitlines()[-1]
    what = "; ".join(x for x in (valid, "refused: " + said[-1] if said else "") if x)
    return "| %s | %s | %.1f MB | %.2f s | %s | %d | %s |" % (
        desc, "{:,}".format(os.path.getsize(path)), rss / 1024, cpu,
        "{:,} B".format(size) if size else "none", status, what.replace("|", "/")[:160])


def main():
    p = argparse.ArgumentParser()
    p.add_argument("out")
    p.add_argument("--full", action="store_true")
    p.add_argument("--only", nargs="*")
    p.add_argument("--measure", metavar="KIVUIMG")
    a = p.parse_args()
    os.makedirs(a.out, exist_ok=True)
    if a.measure:
        print("| input | bytes | peak memory | CPU | output | exit | result |")
        print("|---|---|---|---|---|---|---|")
    for name in a.only or CASES:
        path = write(a.out, name, a.full)
        if a.measure:
            print(measure(a.measure, path, CASES[name][0]), flush=True)
        else:
            print("%s %d" % (path, os.path.getsize(path)))


if __name__ == "__main__":
    sys.exit(main())
