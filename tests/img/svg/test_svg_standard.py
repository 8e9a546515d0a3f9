#!/usr/bin/python3
"""Drawings by the standard rules, as a user sees them: each small drawing
of the table is converted by `kivuimg convert --rules standard` (one PDF,
a page each), its page rendered by pdftoppm at 96 dpi (one pixel a CSS
pixel), and the colours at the named points compared with what a browser
paints there.  Text is checked by where its ink lies.  The engine's rules
draw most of these wrong; they are kept by the engine's own tests."""

import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tools"))
import kivutest as kt  # noqa: E402

kt.need("pdftoppm")

RED, GREEN, BLUE, WHITE, BLACK = (255, 0, 0), (0, 128, 0), (0, 0, 255), (255, 255, 255), (0, 0, 0)
LIGHTGREY, LIME = (211, 211, 211), (0, 255, 0)


def svg(body, attrs='width="100" height="100"'):
    return ('<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" %s>%s</svg>'
            % (attrs, body))


GRAD = ('<defs><linearGradient id="my-grad"%s><stop offset="0" stop-color="red"/>'
        '<stop offset="1" stop-color="blue"/></linearGradient></defs>')

# name, drawing, [(x, y, colour)] in CSS pixels of the page.
CASES = [
    ("gradient on a stroke",
     svg(GRAD % "" + '<rect x="20" y="20" width="60" height="60" fill="none" stroke="url(#my-grad)" stroke-width="20"/>'),
     [(12, 50, RED), (88, 50, BLUE), (50, 50, WHITE)]),
    ("missing x2 is 100%, a percentage x1 reads",
     svg(GRAD % ' x1="0%"' + '<rect width="100" height="100" fill="url(#my-grad)"/>'),
     [(3, 50, RED), (97, 50, BLUE)]),
    ("radial gradient in user space with plain numbers",
     svg('<radialGradient id="r" gradientUnits="userSpaceOnUse" cx="50" cy="50" r="50"><stop offset="0" '
         'stop-color="lime"/><stop offset="1" stop-color="blue"/></radialGradient>'
         '<rect width="100" height="100" fill="url(#r)"/>'),
     [(50, 50, LIME), (2, 2, BLUE)]),
    ("currentColor from a class rule and a style attribute",
     svg('<style>.c { color: green }</style><rect class="c" width="50" height="100" fill="currentColor"/>'
         '<rect x="50" style="color: blue" width="50" height="100" fill="currentColor"/>'),
     [(25, 50, GREEN), (75, 50, BLUE)]),
    ("numbers back to back, exponents, a fractional dash offset",
     svg('<path d="M10-0 100.0.0V5.0e1H10z" fill="green"/><line x1="0" y1="75" x2="100" y2="75" '
         'stroke="blue" stroke-width="10" stroke-dashoffset="0.0000000"/>'
         '<path transform="matrix(1-0-0 1 0 0)" d="M0 90h100v10H0z" fill="red"/>'),
     [(50, 25, GREEN), (50, 75, BLUE), (50, 95, RED)]),
    ("selectors: id, type, descendant, child, compound, grouped, two classes, a rule over lines, in defs",
     svg('<defs><style><![CDATA[ #a { fill: green } g rect.b { fill: green }\n svg > g > rect.c.d {\n'
         ' fill:\n green } .e, .f { fill: green } rect { fill: red } ]]></style></defs>'
         '<rect id="a" width="20" height="100"/><g><rect class="b" x="20" width="20" height="100"/>'
         '<rect class="c d" x="40" width="20" height="100"/></g><rect class="e" x="60" width="20" height="100"/>'
         '<rect class="f" x="80" width="20" height="100"/>'),
     [(10, 50, GREEN), (30, 50, GREEN), (50, 50, GREEN), (70, 50, GREEN), (90, 50, GREEN)]),
    ("specificity, source order, !important, presentation attributes under CSS",
     svg('<style>rect { fill: red } .k { fill: green } #p { fill: red !important } #p { fill: blue }</style>'
         '<rect class="k" width="50" height="100" fill="blue"/><rect id="p" x="50" width="50" height="100"/>'),
     [(25, 50, GREEN), (75, 50, RED)]),
    ("use reaches into defs and later elements; inheritance from the use",
     svg('<use xlink:href="#later" fill="green"/><defs><rect id="d" x="50" width="50" height="100"/></defs>'
         '<use href="#d" fill="blue"/><rect id="later" width="50" height="100"/>'),
     [(25, 30, BLACK), (75, 50, BLUE)]),
    ("colours: rgb() and rgba() attributes, lightgrey, upper case, hsl()",
     svg('<rect width="25" height="100" fill="rgb(0, 128, 0)"/><rect x="25" width="25" height="100" '
         'fill="rgba(0,0,255,0.5)"/><rect x="50" width="25" height="100" fill="lightgrey"/>'
         '<rect x="75" width="25" height="50" fill="RED"/><rect x="75" y="50" width="25" height="50" '
         'fill="hsl(120, 100%, 50%)"/>'),
     [(12, 50, GREEN), (37, 50, (127, 127, 255)), (62, 50, LIGHTGREY), (87, 25, RED), (87, 75, LIME)]),
    ("stroke widths scale with the view box",
     svg('<line x1="0" y1="5" x2="10" y2="5" stroke="green" stroke-width="2"/>',
         'width="100" height="100" viewBox="0 0 10 10"'),
     [(50, 42, GREEN), (50, 58, GREEN), (50, 38, WHITE)]),
    ("lengths in mm, cm, in, em",
     svg('<rect x="10mm" y="1em" width="1cm" height="0.5in" fill="blue" style="font-size: 10px"/>'),
     [(45, 30, BLUE), (80, 30, WHITE), (45, 5, WHITE), (45, 62, WHITE)]),
    ("the root's preserveAspectRatio",
     svg('<rect width="10" height="10" fill="green"/>',
         'width="100" height="50" viewBox="0 0 10 10" preserveAspectRatio="xMaxYMid meet"'),
     [(75, 25, GREEN), (25, 25, WHITE)]),
    ("a path without d keeps its group; a polyline of two points",
     svg('<g><path/><rect width="100" height="50" fill="green"/></g>'
         '<polyline points="0 75 100 75" stroke="blue" stroke-width="10"/>'),
     [(50, 25, GREEN), (50, 75, BLUE)]),
    ("pictures: a file beside the drawing, none outside its folder, a percent-encoded data URI",
     svg('<image href="pic.png" width="50" height="50"/><image href="../outside.png" x="50" width="50" height="50"/>'
         '<image href="data:image/svg+xml,%3Csvg xmlns=%22http://www.w3.org/2000/svg%22 width=%2210%22 '
         'height=%2210%22%3E%3Crect width=%2210%22 height=%2210%22 fill=%22blue%22/%3E%3C/svg%3E" y="50" '
         'width="50" height="50"/>'),
     [(25, 25, GREEN), (75, 25, WHITE), (25, 75, BLUE)]),
    ("clip paths: a circle clips a rect; two children clip to their union",
     svg('<clipPath id="c"><circle cx="25" cy="25" r="20"/></clipPath><rect width="50" height="50" fill="green" '
         'clip-path="url(#c)"/><clipPath id="u"><rect x="50" width="20" height="50"/><rect x="80" width="20" '
         'height="50"/></clipPath><rect x="50" width="50" height="50" fill="blue" clip-path="url(#u)"/>'),
     [(25, 25, GREEN), (3, 3, WHITE), (60, 25, BLUE), (75, 25, WHITE), (90, 25, BLUE)]),
    ("a mask by the luminance of a gradient",
     svg('<linearGradient id="g"><stop offset="0" stop-color="white"/><stop offset="1" stop-color="black"/>'
         '</linearGradient><mask id="m"><rect width="100" height="50" fill="url(#g)"/></mask>'
         '<rect width="100" height="50" fill="blue" mask="url(#m)"/>'),
     [(3, 25, BLUE), (97, 25, WHITE)]),
    ("a pattern tiles a rect",
     svg('<pattern id="p" width="20" height="20" patternUnits="userSpaceOnUse"><rect width="10" height="10" '
         'fill="green"/><rect x="10" y="10" width="10" height="10" fill="green"/></pattern>'
         '<rect width="100" height="100" fill="url(#p)"/>'),
     [(5, 5, GREEN), (15, 5, WHITE), (45, 45, GREEN), (55, 45, WHITE)]),
    ("markers at the vertices of a polyline",
     svg('<marker id="m" markerWidth="10" markerHeight="10" refX="5" refY="5" markerUnits="userSpaceOnUse">'
         '<rect width="10" height="10" fill="green"/></marker><polyline points="20 20 80 20 80 80" fill="none" '
         'stroke="black" marker-start="url(#m)" marker-mid="url(#m)" marker-end="url(#m)"/>'),
     [(17, 17, GREEN), (83, 17, GREEN), (83, 83, GREEN), (50, 40, WHITE)]),
    ("switch draws the first child whose language passes; a nested svg clips to its viewport",
     svg('<switch><rect systemLanguage="fr" width="50" height="50" fill="red"/><rect width="50" height="50" '
         'fill="green"/></switch><svg x="50" width="25" height="50"><rect width="50" height="50" fill="blue"/></svg>'),
     [(25, 25, GREEN), (60, 25, BLUE), (90, 25, WHITE)]),
    ("filters: a shadow is left out, a colour matrix changes the colours",
     svg('<filter id="s"><feOffset dx="10" dy="10"/><feGaussianBlur stdDeviation="2" result="b"/><feMerge>'
         '<feMergeNode in="b"/><feMergeNode in="SourceGraphic"/></feMerge></filter><filter id="g">'
         '<feColorMatrix type="saturate" values="0"/></filter><rect width="40" height="40" fill="green" '
         'filter="url(#s)"/><rect x="50" width="40" height="40" fill="red" filter="url(#g)"/>'),
     [(20, 20, GREEN), (45, 45, WHITE), (70, 20, (127, 127, 127))]),
    ("opacity of a group composites it whole",
     svg('<g opacity="0.5"><rect width="60" height="100" fill="blue"/><rect x="40" width="60" height="100" '
         'fill="blue"/></g>'),
     [(20, 50, (127, 127, 255)), (50, 50, (127, 127, 255))]),
]

# Text: (name, drawing, the ink's expected centre x, y range).
TEXT = [
    ("text-anchor middle over a whole chunk with tspans",
     svg('<text x="50" y="60" font-size="20" text-anchor="middle" font-family="sans-serif">Mid<tspan>dle</tspan>'
         '</text>'), 50),
    ("text-anchor end; a group's font-size and fill reach the text",
     svg('<g font-size="20" fill="black"><text x="95" y="60" text-anchor="end">End</text></g>'), 77),
    ("the font shorthand; a unitless font-size is in user units",
     svg('<text x="10" y="60" style="font: 20px sans-serif">Font</text>', 'width="100" height="100" '
         'viewBox="0 0 50 50"'), 45),
    ("a transform on text reaches its tspans",
     svg('<text transform="translate(60 0)" x="0" y="60" font-size="20"><tspan>T</tspan></text>'), 66),
]

# Text anchored at its end, measured with the face that shows it: (name,
# drawing, where its ink begins on the left: the anchor less the widths of
# the standard fonts), within 1.5 pixels.
ANCHORED = [
    ("text-anchor end, Times", svg('<text x="95" y="60" font-size="20" font-family="Times,serif" '
                                   'text-anchor="end">WWWW</text>'), 95 - 4 * 0.944 * 20),
    ("text-anchor end, Courier", svg('<text x="95" y="60" font-size="10" font-family="monospace" '
                                     'text-anchor="end">HHHHHHHHHH</text>'), 95 - 10 * 0.6 * 10),
]


def content_problems(pdf):
    """Names the content streams (pages, forms, tiling patterns) use that
    their Resources lack, and q/Q that don't pair."""
    import pikepdf
    uses = {"gs": "/ExtGState", "sh": "/Shading", "Do": "/XObject", "Tf": "/Font", "scn": "/Pattern",
            "SCN": "/Pattern"}
    missing = []

    def check(stream, resources):
        depth = 0
        for operands, op in pikepdf.parse_content_stream(stream):
            depth += {"q": 1, "Q": -1}.get(str(op), 0)
            if depth < 0:
                missing.append("Q without its q")
            kind = uses.get(str(op))
            names = [o for o in operands if isinstance(o, pikepdf.Name)]
            if kind and names and names[-1] not in resources.get(kind, {}):
                missing.append("%s %s without its resource" % (names[-1], op))
        if depth:
            missing.append("%d q without their Q" % depth)

    with pikepdf.open(pdf) as doc:
        for page in doc.pages:
            check(page.obj, page.Resources)
        for obj in doc.objects:
            if isinstance(obj, pikepdf.Stream) and (obj.get("/Subtype") == "/Form" or obj.get("/PatternType") == 1):
                check(obj, obj.get("/Resources", pikepdf.Dictionary()))
    return missing


def ink_centre(page):
    xs = [x for y in range(page.size[1]) for x in range(page.size[0]) if sum(page.getpixel((x, y))) < 300]
    return sum(xs) / len(xs) if xs else None


def ink_left(page):
    xs = [x for y in range(page.size[1]) for x in range(page.size[0]) if sum(page.getpixel((x, y))) < 300]
    return min(xs) if xs else None


def near(a, b, tolerance=40):
    return all(abs(x - y) <= tolerance for x, y in zip(a, b))


def main():
    from PIL import Image
    scratch = kt.tmpdir("kivu_svg_standard_")
    folder = Path(scratch) / "drawings"
    folder.mkdir()
    Image.new("RGB", (4, 4), GREEN).save(folder / "pic.png")
    Image.new("RGB", (4, 4), RED).save(Path(scratch) / "outside.png")
    files = []
    for n, (_, text, *rest) in enumerate(CASES + TEXT + ANCHORED):
        path = folder / ("case%02d.svg" % n)
        path.write_text(text)
        files.append(str(path))
    pdf = str(Path(scratch) / "cases.pdf")
    r = kt.run(["convert", "--strict"] + files + ["-o", pdf], rules="standard")
    assert "falls back" not in r.stderr.decode(), r.stderr.decode()
    kt.qpdf_check(pdf)
    failures = []
    for n, (name, _, checks) in enumerate(CASES):
        page = kt.render(pdf, n + 1, 96)
        for x, y, want in checks:
            got = page.getpixel((x, y))
            if not near(got, want):
                failures.append("%s: at (%d, %d) %s, not %s" % (name, x, y, got, want))
    for n, (name, _, centre) in enumerate(TEXT):
        got = ink_centre(kt.render(pdf, len(CASES) + n + 1, 96))
        if got is None or abs(got - centre) > 8:
            failures.append("%s: ink centred at %s, not about %d" % (name, got, centre))
    for n, (name, _, left) in enumerate(ANCHORED):
        got = ink_left(kt.render(pdf, len(CASES) + len(TEXT) + n + 1, 96))
        if got is None or abs(got - left) > 1.5:
            failures.append("%s: ink begins at %s, not %.1f" % (name, got, left))
    failures += content_problems(pdf)
    # A compressed drawing reads as its expansion.
    import gzip
    packed = Path(scratch) / "packed.svgz"
    packed.write_bytes(gzip.compress(Path(files[0]).read_bytes()))
    kt.run(["convert", "--strict", str(packed), "-o", pdf], rules="standard")
    # Exact page sizes: 240 x 80 CSS pixels are 180 x 60 points.
    exact = Path(scratch) / "exact.svg"
    exact.write_text(svg('<rect width="240" height="80"/>', 'width="240" height="80"'))
    kt.run(["convert", str(exact), "-o", pdf], rules="standard")
    box = kt.pdf_objects(pdf)
    if not any("/MediaBox [0 0 180 60]" in text for text in box.values()):
        failures.append("a 240 x 80 px drawing is not a 180 x 60 pt page")
    if failures:
        raise AssertionError("\n".join(failures))
    print("%d drawings and %d texts as a browser draws them" % (len(CASES), len(TEXT) + len(ANCHORED)))


if __name__ == "__main__":
    main()
