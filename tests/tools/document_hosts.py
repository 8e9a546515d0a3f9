"""The document hosts of examples/ (C++ and C) as a user runs them: with no
home folder (HOME can't be written, no KIVU_HOME), on a raster image and on
a drawing with Latin and Greek text, a gradient and a picture.  Every page
passes qpdf --check, every name its content streams use resolves in the
resources of the stream's own holder, the text comes back through
pdftotext, and the gradient and the picture render in their colours."""
import base64
import os
import subprocess
import zlib
import struct

import kivutest as k
import pikepdf

# A 4 x 4 PNG of one colour, as the drawing's picture.
GREEN = (0, 160, 0)


def png(rgb):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data) & 0xFFFFFFFF)
    raw = b"".join(b"\0" + bytes(rgb) * 4 for _ in range(4))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", 4, 4, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(raw)) + chunk(b"IEND", b""))


# 400 x 300 px: a gradient red to blue across the upper left quarter, the
# picture in the upper right one, Latin and Greek text below.
DRAWING = """<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" width="400" height="300">
<defs><linearGradient id="g"><stop offset="0" stop-color="#ff0000"/><stop offset="1" stop-color="#0000ff"/></linearGradient></defs>
<rect x="0" y="0" width="200" height="150" fill="url(#g)"/>
<image x="220" y="20" width="160" height="110" preserveAspectRatio="none" xlink:href="data:image/png;base64,%s"/>
<text x="10" y="200" font-family="sans-serif" font-size="30">Hello pages</text>
<text x="10" y="260" font-family="sans-serif" font-size="30">Καλημέρα κόσμε</text>
</svg>
""" % base64.b64encode(png(GREEN)).decode()

# The drawing's 400 x 300 px (300 x 225 pt) fitted into the box of the
# examples (A4 within 1 cm margins), centred: pixels of a 72 dpi rendering.
BOX = (28.35, 28.35, 538.58, 785.19)
SCALE = min(BOX[2] / 300, BOX[3] / 225) * 0.75
LEFT = BOX[0] + (BOX[2] - 400 * SCALE) / 2
TOP = 841.89 - (BOX[1] + (BOX[3] + 300 * SCALE) / 2)

# (x, y) of the drawing, the colour there, the tolerance per channel.
COLOURS = [((10, 75), (255, 0, 0), 30), ((190, 75), (0, 0, 255), 30), ((100, 75), (128, 0, 128), 30),
           ((300, 75), GREEN, 8)]

NAMED = {"Do": "/XObject", "gs": "/ExtGState", "sh": "/Shading", "Tf": "/Font", "scn": "/Pattern",
         "SCN": "/Pattern"}


def unresolved(holder, resources, seen):
    """Names the content of `holder` uses that its resources lack, and of
    every form it draws."""
    if holder.objgen in seen:
        return []
    seen.add(holder.objgen)
    res = holder.get("/Resources", resources)
    bad = []
    for operands, op in pikepdf.parse_content_stream(holder):
        kind = NAMED.get(str(op))
        names = [o for o in operands if isinstance(o, pikepdf.Name)]
        if not kind or not names:
            continue
        entry = res.get(kind, {}) if res is not None else {}
        if names[0] not in entry:
            bad.append("%s %s" % (names[0], op))
        elif kind == "/XObject" and entry[names[0]].get("/Subtype") == "/Form":
            bad += unresolved(entry[names[0]], res, seen)
    return bad


def check_document(pdf, with_greek):
    k.qpdf_check(pdf)
    with pikepdf.open(pdf) as doc:
        assert len(doc.pages) == 2, pdf
        for page in doc.pages:
            seen = set()
            bad = unresolved(page.obj, page.obj.get("/Resources"), seen)
            assert not bad, (pdf, bad)
    text = subprocess.run(["pdftotext", pdf, "-"], capture_output=True, check=True).stdout.decode()
    assert "Hello pages" in text, text
    if with_greek:
        assert "Καλημέρα κόσμε" in text, text
    page = k.render(pdf, page=2, dpi=72)
    for (x, y), want, tolerance in COLOURS:
        got = page.getpixel((round(LEFT + x * SCALE), round(TOP + y * SCALE)))
        assert all(abs(g - w) <= tolerance for g, w in zip(got, want)), (pdf, (x, y), got, want)


def check(hosts, env, tmp):
    drawing = os.path.join(tmp, "drawing.svg")
    open(drawing, "w").write(DRAWING)
    photo = os.path.join(k.SOURCE, "samples", "gradient-rgb.jpg")
    env = {key: v for key, v in env.items() if key != "KIVU_HOME"}
    env["HOME"] = "/nonexistent/home"
    greek = subprocess.run(["fc-list", ":lang=el"], capture_output=True).stdout.strip() != b""
    for label, program in sorted(hosts.items()):
        work = os.path.join(tmp, "run-" + label)
        os.makedirs(work)
        r = subprocess.run([program, "out.pdf", photo, drawing], capture_output=True, env=env, cwd=work)
        assert r.returncode == 0, (label, r.stderr.decode())
        assert os.listdir(work) == ["out.pdf"], (label, os.listdir(work))
        check_document(os.path.join(work, "out.pdf"), greek)
    # A failure answers 1 with its reason, and leaves no file.
    r = subprocess.run([hosts["cmake-document_c"], os.path.join(tmp, "no", "such", "dir.pdf"), photo],
                       capture_output=True, env=env)
    assert r.returncode == 1 and b"can't write" in r.stderr, r
