"""Starting inputs of the SVG fuzz target for text and embedded pictures:
runs and tspan chains with every position, paint and font attribute, and
pictures of each format (and drawings inside drawings) as data URIs, with
every preserveAspectRatio.  scripts/fuzz_corpus.py adds them to the SVG
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


def inputs(source):
    """The inputs as bytes; `source` is the project's folder (for samples/)."""
    bodies = texts() + pictures(source)
    bodies.append("\n".join(texts()[:3] + pictures(source)[:4]))
    return [svg(b) for b in bodies]
