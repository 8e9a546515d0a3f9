"""Starting inputs of the SVG fuzz target for text, embedded pictures, paths
and gradients: runs and tspan chains with every position, paint and font
attribute; pictures of each format (and drawings inside drawings) as data
URIs, with every preserveAspectRatio; path data that reaches every command,
arcs, compact and broken numbers; gradients of every kind, spread, unit and
reference, drawn on shapes.  scripts/fuzz_corpus.py adds them to the SVG
target's starting corpus.
"""
import base64
import os
import struct

HEAD = '<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" width="120" height="90">'


def svg(body):
    return (HEAD + "\n" + body + "\n</svg>\n").encode("utf-8")


def uri(mime, data):
    return "data:%s;base64,%s" % (mime, base64.b64encode(data).decode())


def sample(source, name):
    with open(os.path.join(source, "samples", name), "rb") as f:
        return f.read()


def tiny_bmp(w, h):
    row = (w * 3 + 3) // 4 * 4
    pixels = bytes([0x40, 0x80, 0xC0] * w + [0] * (row - 3 * w)) * h
    head = struct.pack("<2sIHHIIiiHHIIiiII", b"BM", 54 + len(pixels), 0, 0, 54, 40, w, h, 1, 24, 0,
                       len(pixels), 2835, 2835, 0, 0)
    return head + pixels


def texts():
    return [
        '<text x="10" y="20" font-size="12">Hello</text>',
        '<text x="10" y="20" dx="3" dy="-2" font-family="Arial, sans-serif" font-weight="bold">a'
        '<tspan x="5" fill="red">b<tspan dy="4" stroke="blue" stroke-width="2">c</tspan></tspan>'
        '<tspan font-style="italic">d</tspan><tspan dx="1">e</tspan></text>',
        '<g transform="rotate(10)"><text style="font-family:Courier;font-size:14px;fill:#336699;'
        'fill-opacity:0.5" transform="scale(2)">\u0428\u0449 \u03a8 \u4e0d\n  two lines</text></g>',
        '<text fill="none" stroke="none">x<tspan fill="green">y</tspan></text>',
        '<text font="bold italic 12px serif" opacity="0.3">( ) \\ &amp; &#xFFFD; &#x1F600;</text>',
        '<defs><text id="t">z<tspan>w</tspan></text></defs><use href="#t"/>'
        '<g><defs><text id="u">v</text></defs><use xlink:href="#u" x="9"/></g>',
        "<text>" + "<tspan>s</tspan>" * 60 + "</text>",
    ]


def pictures(source):
    inner = svg('<rect width="50" height="40" fill="teal"/><text y="20">in</text>')
    sources = [uri("image/png", sample(source, "palette.png")), uri("image/jpeg", sample(source, "gradient-gray.jpg")),
               uri("image/gif", sample(source, "palette.gif")), uri("image/bmp", tiny_bmp(4, 2)),
               uri("image/wmf", sample(source, "shapes.wmf")), uri("image/svg+xml", inner),
               uri("image/svg+xml", svg('<image width="9" height="9" xlink:href="%s"/>' % uri("image/svg+xml", inner))),
               uri("image/png", b"not a picture at all" * 3), "data:image/png;base64,***", "picture.png"]
    aspects = ["", "none", "xMidYMid meet", "xmaxymin slice", "xminymax", "xmidymid slice", "xMaxYMax foo"]
    out = []
    for i, src in enumerate(sources):
        aspect = aspects[i % len(aspects)]
        attr = ' preserveAspectRatio="%s"' % aspect if aspect else ""
        out.append('<image x="5" y="6" width="60" height="%d"%s transform="translate(1,2)" xlink:href="%s"/>'
                   % (30 + 10 * i, attr, src))
    return out


def paths():
    data = [
        "M 10 10 20 20 30 10", "m 1 1 z l 5 5", "M0 0 H 10 h 5 V 10 v 5 Z",
        "M0 0 C 0 8 8 8 8 0 S 16 -8 16 0 s 8 8 8 0", "M0 0 Q 8 8 16 0 T 32 0 t 8 0", "M 0 0 T 8 8 S 1 2 3 4",
        "M 5 5 A 5 5 0 0 1 5 5", "M 0 0 A 0 5 0 0 1 10 10", "M 0 0 A 10 10 30 1 0 20 0 a -5 3 0 1 1 -10 -10",
        "M10-5L.5 .5l1e1 1E1", "M 1.2.3 4", "M 1e999 0", "M 0 0 L 10 10 20", "M 0 0 A 1 2 3 4 5 6 7 8 9 10",
        "M" + " M 1 1 2 2 z" * 50,
    ]
    return ['<path d="%s" fill="url(#g)"/>' % d for d in data]


def gradients():
    definitions = [
        '<linearGradient id="g" x2="1"><stop stop-color="red"/><stop offset="1" stop-color="blue"/></linearGradient>',
        '<linearGradient id="g" x2="1" spreadMethod="reflect"><stop/><stop offset="0.5" stop-opacity="0.5"/>'
        '</linearGradient>',
        '<linearGradient id="g" x1="0.5" x2="0.5" spreadMethod="repeat"><stop/><stop offset="1"/></linearGradient>',
        '<linearGradient id="g" x1="0" y1="0" x2="100" y2="100" gradientUnits="userSpaceOnUse" '
        'gradientTransform="rotate(10)"><stop offset="0.5"/><stop offset="0.2" style="stop-color:red"/>'
        '</linearGradient>',
        '<radialGradient id="g" spreadMethod="repeat"><stop stop-color="white"/><stop offset="1"/></radialGradient>',
        '<radialGradient id="g" gradientUnits="userSpaceOnUse" cx="50%" cy="50%" r="0%" fx="100%" '
        'spreadMethod="reflect"><stop/><stop offset="1"/></radialGradient>',
        '<linearGradient id="f" href="#g"><stop/></linearGradient>'
        '<linearGradient id="g" xlink:href="#f" x2="1"><stop offset="nan"/></linearGradient>',
        '<linearGradient id="g" x2="100%"><stop/><stop/></linearGradient>',
        '<radialGradient id="g"></radialGradient>',
    ]
    shapes = ('<rect x="10" y="10" width="40" height="30" fill="url(#g)"/><rect width="0" height="0" fill="url(#g)"/>'
              '<circle cx="50" cy="50" r="20" fill="url(#g)"/><path d="M 10 80 q 20 -20 40 0 z" fill="url(#g)"/>'
              '<polygon points="0,0 10,0 10,10" fill="url(#g)"/>')
    return ["<defs>%s</defs>%s" % (d, shapes) for d in definitions]


def inputs(source):
    """The inputs as bytes; `source` is the project's folder (for samples/)."""
    bodies = texts() + pictures(source) + paths() + gradients()
    bodies.append("\n".join(texts()[:3] + pictures(source)[:4]))
    return [svg(b) for b in bodies]
