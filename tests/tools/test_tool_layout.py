#!/usr/bin/python3
"""Pages laid out from the image, and the options people know from img2pdf
and rsvg-convert, through the real tool:

* page sizes from the image's own resolution (JFIF, PNG pHYs, BMP), its EXIF
  orientation, --rotation, named page sizes with ^T, --auto-orient, --imgsize
  and borders, against img2pdf's pages for the same files and options (its
  displayed size, /Rotate counted) when img2pdf is installed, else against
  the figures it gave;
* --width, --height, --zoom and --keep-aspect-ratio against rsvg-convert's
  page sizes, --background-color in the rendered page;
* --colorspace: photos and drawings of the same colours render alike;
* --producer, --creationdate and --moddate in the Info dictionary;
* the usage errors of these options (exit 2)."""
import os
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.dirname(__file__))
import kivutest as k

try:
    import pikepdf
    from PIL import Image
except ImportError:
    k.skip("pikepdf or Pillow is not installed")

k.need("qpdf", "pdftoppm")
tmp = k.tmpdir("kivu_layout_")


def shown(pdf):
    """The page's size as a viewer shows it: MediaBox turned by /Rotate."""
    with pikepdf.open(pdf) as doc:
        page = doc.pages[0]
        x0, y0, x1, y1 = [float(v) for v in page.MediaBox]
        size = (round(x1 - x0, 1), round(y1 - y0, 1))
        return size[::-1] if int(page.obj.get("/Rotate", 0)) % 180 else size


def convert(inputs, *options):
    out = os.path.join(tmp, "out.pdf")
    k.run(["convert"] + inputs + list(options) + ["-o", out], rules="standard")
    k.qpdf_check(out)
    return out


def path(name):
    return os.path.join(tmp, name)


photo = Image.new("RGB", (600, 300), (200, 100, 50))
photo.save(path("300.jpg"), dpi=(300, 300))
photo.save(path("150.png"), dpi=(150, 150))  # 5906 dots per metre: 150.01 dpi
photo.save(path("none.jpg"))
photo.save(path("300.bmp"), dpi=(300, 300))
exif = Image.Exif()
exif[0x0112] = 6  # stored lying, shown upright by a quarter turn clockwise
photo.save(path("turned.jpg"), exif=exif, dpi=(72, 72))

# (file, options, the page img2pdf shows).  The figures are img2pdf 0.4.4's.
A4, A4T, LEGAL_T = (595.3, 841.9), (841.9, 595.3), (1008.0, 612.0)
CASES = [
    ("300.jpg", [], (144.0, 72.0)), ("150.png", [], (288.0, 144.0)), ("turned.jpg", ["--auto-orient"], (300.0, 600.0)), ("none.jpg", [], (450.0, 225.0)),
    ("300.bmp", [], (144.0, 72.0)), ("turned.jpg", [], (300.0, 600.0)),
    ("turned.jpg", ["--rotation", "none"], (600.0, 300.0)), ("300.jpg", ["--rotation", "90"], (72.0, 144.0)),
    ("none.jpg", ["--rotation", "270"], (225.0, 450.0)), ("turned.jpg", ["--rotation", "180"], (600.0, 300.0)),
    ("300.jpg", ["--pagesize", "A4"], A4), ("300.jpg", ["--pagesize", "A4^T"], A4T),
    ("150.png", ["--pagesize", "A4", "--auto-orient"], A4T), ("turned.jpg", ["--pagesize", "A4", "--auto-orient"], A4),
    ("300.jpg", ["--pagesize", "Legal^T", "--auto-orient"], LEGAL_T), ("300.jpg", ["--pagesize", "A0"], (2383.9, 3370.4)),
    ("300.jpg", ["--pagesize", "B5", "--border", "1cm"], (498.9, 708.7)),
    ("300.jpg", ["--pagesize", "Tabloid"], (792.0, 1224.0)), ("300.jpg", ["--pagesize", "B6^T"], (498.9, 354.3)),
    ("none.jpg", ["--imgsize", "A6"], (297.6, 148.8)), ("none.jpg", ["--imgsize", "1cmx1cm", "--fit", "fill"], (56.7, 28.3)),
    ("none.jpg", ["--imgsize", "10cmx10cm", "--fit", "exact"], (283.5, 283.5)),
    ("none.jpg", ["--imgsize", "10cmx10cm", "--fit", "enlarge"], (450.0, 225.0)),
    ("300.jpg", ["--imgsize", "10cmx"], (283.5, 141.7)), ("150.png", ["--imgsize", "x2in"], (288.0, 144.0)),
    ("none.jpg", ["--imgsize", "150dpix"], (288.0, 144.0)),
    ("300.jpg", ["--pagesize", "Letter", "--imgsize", "5cmx5cm"], (612.0, 792.0)),
]
img2pdf = shutil.which("img2pdf")
if not img2pdf:
    print("img2pdf is not installed: its pages are the figures it gave")
for name, options, figure in CASES:
    want = figure
    if img2pdf:
        theirs = path("img2pdf.pdf")
        subprocess.run([img2pdf, path(name)] + options + ["-o", theirs], check=True, capture_output=True)
        want = shown(theirs)
        assert all(abs(a - b) < 0.15 for a, b in zip(want, figure)), (name, options, want, figure)
    got = shown(convert([path(name)], *options))
    assert all(abs(a - b) < 0.15 for a, b in zip(got, want)), (name, options, got, want)

# Where img2pdf turns the page with an EXIF-turned photo (/Rotate), the page
# stays as asked and the photo stands upright on it; sizes are of the photo
# as seen.
# Ledger is Tabloid turned (img2pdf has no such name).
for name, options, want in [("turned.jpg", ["--pagesize", "A4"], A4), ("turned.jpg", ["--imgsize", "10cmx"], (283.5, 566.9)),
                            ("300.jpg", ["--pagesize", "Ledger"], (1224.0, 792.0))]:
    got = shown(convert([path(name)], *options))
    assert all(abs(a - b) < 0.15 for a, b in zip(got, want)), (options, got, want)

# Drawings: rsvg-convert's pages (rsvg-convert 2.54) for a 100 x 50 px drawing.
svg = path("d.svg")
open(svg, "w").write('<svg xmlns="http://www.w3.org/2000/svg" width="100" height="50">'
                     '<rect width="100" height="50" fill="red"/></svg>')
for options, want in [([], (75, 37.5)), (["--width", "200"], (150, 75)), (["--height=200"], (300, 150)),
                      (["--width", "200", "--height", "200"], (150, 150)),
                      (["--width", "200", "--height", "200", "--keep-aspect-ratio"], (150, 75)),
                      (["--zoom", "2"], (150, 75)), (["--width", "10cm"], (283.5, 141.7))]:
    got = shown(convert([svg], *options))
    assert all(abs(a - b) < 0.15 for a, b in zip(got, want)), (options, got, want)
page = k.render(convert([svg], "--pagesize", "200x200", "--background-color", "#00f"))
assert page.getpixel((5, 5)) == (0, 0, 255) and page.getpixel((130, 130)) == (255, 0, 0), page.getpixel((5, 5))

# --colorspace: a photo and a drawing of the same colours render alike, in
# every space; under gray the photo is gray.
bands = [(200, 40, 60), (30, 180, 90), (20, 20, 20), (250, 250, 250)]
strip = Image.new("RGB", (40, 10))
for i, c in enumerate(bands):
    strip.paste(c, (i * 10, 0, i * 10 + 10, 10))
strip.save(path("bands.png"))
strip.save(path("bands.jpg"), quality=100)
strip.convert("P").save(path("bands.gif"))
open(path("bands.svg"), "w").write('<svg xmlns="http://www.w3.org/2000/svg" width="40" height="10">' + "".join(
    '<rect x="%d" width="10" height="10" fill="rgb%s"/>' % (i * 10, c) for i, c in enumerate(bands)) + "</svg>")
for space in ("gray", "cmyk", "rgb"):
    drawn = k.render(convert([path("bands.svg")], "--colorspace", space))
    for name in ("bands.png", "bands.jpg"):
        page = k.render(convert([path(name), "--dpi", "96"], "--colorspace", space))
        for x in (5, 15, 25, 35):
            a, b = page.getpixel((x, 5)), drawn.getpixel((x, 5))
            assert max(abs(p - q) for p, q in zip(a, b)) <= 6, (space, name, x, a, b)
            assert space != "gray" or len(set(a)) == 1, (name, a)
    gray = k.render(convert([path("bands.gif"), "--dpi", "96"], "--colorspace", "gray"))
    assert all(len(set(gray.getpixel((x, 5)))) == 1 for x in (5, 15, 25, 35))

# Metadata.
pdf = convert([path("300.jpg")], "--producer", "Scanner 9", "--creationdate", "2024-02-29T13:45:10+01:00",
              "--moddate", "2025-01-02")
with pikepdf.open(pdf) as doc:
    info = {str(key): str(value) for key, value in doc.docinfo.items()}
assert info["/Producer"] == "Scanner 9", info
assert info["/CreationDate"] == "D:20240229134510+01'00'" and info["/ModDate"] == "D:20250102000000", info

# Usage errors.
for options in (["--pagesize", "A7"], ["--pagesize", "A4^X"], ["--imgsize", "10cm"], ["--rotation", "45"],
                ["--width", "0"], ["--zoom", "2", "--width", "10"], ["--keep-aspect-ratio"], ["--landscape"],
                ["--fit", "fill"], ["--background-color", "nocolour"], ["--creationdate", "yesterday"]):
    r = k.run(["convert", svg] + options + ["-o", path("bad.pdf")], check=False)
    assert r.returncode == 2 and b"kivuimg: " in r.stderr, (options, r.returncode, r.stderr)
    assert not os.path.exists(path("bad.pdf"))
print("pages laid out as img2pdf and rsvg-convert lay them")
