#!/usr/bin/python3
"""Writes samples/text-and-pictures.svg for the demo: text in several
families, weights and styles, a line of Greek and Cyrillic, and two of the
sample pictures (a PNG with alpha and a JPEG) embedded as data URIs."""
import base64
import os

here = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "samples")


def uri(name, mime):
    with open(os.path.join(here, name), "rb") as f:
        return "data:%s;base64,%s" % (mime, base64.b64encode(f.read()).decode())


runs = [
    ("Arial", "normal", "normal", "Helvetica, from Arial"),
    ("Verdana", "bold", "normal", "Helvetica bold, from Verdana"),
    ("Times New Roman", "normal", "italic", "Times italic"),
    ("Georgia, serif", "bold", "italic", "Times bold italic, from Georgia"),
    ("Courier New", "normal", "normal", "Courier: caf\u00e9 \u20ac 12.50"),
]
lines = []
for i, (family, weight, style, text) in enumerate(runs):
    lines.append('  <text x="16" y="%d" font-family="%s" font-weight="%s" font-style="%s" font-size="18" fill="#203060">'
                 '%s</text>' % (34 + 28 * i, family, weight, style, text))
lines.append('  <text x="16" y="200" font-family="DejaVu Sans" font-size="18" fill="#a02020">'
             '\u039a\u03b1\u03bb\u03b7\u03bc\u03ad\u03c1\u03b1 \u00b7 '
             '\u041f\u0440\u0438\u0432\u0435\u0442 \u00b7 '
             '\u0428\u0449\u0438</text>')
lines.append('  <text x="16" y="236" font-size="14">A run, <tspan x="80" font-weight="bold" fill="#008040">'
             'and its tspan</tspan></text>')
lines.append('  <rect x="380" y="16" width="200" height="100" fill="none" stroke="#999"/>')
lines.append('  <image x="380" y="16" width="200" height="100" xlink:href="%s"/>' % uri("fade-rgba.png", "image/png"))
lines.append('  <rect x="380" y="136" width="200" height="100" fill="none" stroke="#999"/>')
lines.append('  <image x="380" y="136" width="200" height="100" preserveAspectRatio="xMidYMid slice" xlink:href="%s"/>'
             % uri("gradient-rgb.jpg", "image/jpeg"))
svg = ('<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" '
       'width="600" height="260" viewBox="0 0 600 260">\n%s\n</svg>\n' % "\n".join(lines))
with open(os.path.join(here, "text-and-pictures.svg"), "w", encoding="utf-8") as f:
    f.write(svg)
