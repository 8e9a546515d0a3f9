"""JPEG pages: structure, pixels against Pillow, byte-equal streams, an image
that fails while it is written (the tool's other failures are in
test_tool_failures.py)."""
import json
import os
import re
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(__file__))
import kivutest as k

k.need("qpdf", "pdftoppm")
from PIL import Image

samples = os.path.join(k.SOURCE, "samples")
tmp = k.tmpdir("kivu_jpeg_")


def sample(n):
    return os.path.join(samples, n)


# Gray and RGB pages render like Pillow's decoding, one pixel per image pixel.
# Poppler decodes JPEG with its own rounding: smooth images differ by a few
# levels on average, never by much.
data = os.path.join(k.SOURCE, "tests", "data")
for name in ["smooth-rgb.jpg", "smooth-gray.jpg"]:
    src = os.path.join(data, name)
    pdf = os.path.join(tmp, name + ".pdf")
    k.run(["convert", src, "-o", pdf])
    k.qpdf_check(pdf)
    page = k.render(pdf)
    ref = Image.open(src).convert("RGB")
    d = k.mean_abs_diff(page, ref)
    worst = k.percentile_diff(page, ref, 0.99)
    print("%s: mean difference %.2f, 99th percentile %d" % (name, d, worst))
    assert d < 4.0 and worst <= 16, name

# CMYK: DeviceCMYK with the inverted Decode array.
pdf = os.path.join(tmp, "cmyk.pdf")
k.run(["convert", sample("gradient-cmyk.jpg"), "-o", pdf])
k.qpdf_check(pdf)
obj = subprocess.run(["qpdf", "--show-object=3", pdf], capture_output=True).stdout.decode()
assert "/ColorSpace /DeviceCMYK" in obj and "/Decode [ 1 0 1 0 1 0 1 0 ]" in obj, obj

# The image stream is the file, byte for byte.
raw = subprocess.run(["qpdf", "--show-object=3", "--raw-stream-data", pdf], capture_output=True).stdout
assert raw == open(sample("gradient-cmyk.jpg"), "rb").read()

# Page size follows --dpi: 160 x 120 pixels at 72 dpi are 160 x 120 points.
pdf = os.path.join(tmp, "dpi.pdf")
k.run(["convert", "--dpi", "72", sample("gradient-rgb.jpg"), "-o", pdf])
text = open(pdf, "rb").read()
assert b"/MediaBox [0 0 160 120]" in text
pdf96 = os.path.join(tmp, "dpi96.pdf")
k.run(["convert", sample("gradient-rgb.jpg"), "-o", pdf96])
assert b"/MediaBox [0 0 120 90]" in open(pdf96, "rb").read()
assert open(pdf96, "rb").read().startswith(b"%PDF-1.4\n")

# An image that reads but fails while it is written (a metafile selecting an
# object it never made) also falls back; --strict makes it an error.
import struct
recs = []
def rec(f, *w):
    body = b"".join(struct.pack("<H", x & 0xFFFF) for x in w)
    recs.append(struct.pack("<IH", 3 + len(body) // 2, f) + body)
rec(0x020C, 100, 100); rec(0x012D, 7); rec(0x0324, 3, 0, 0, 50, 50, 0, 50); rec(0)
bad = os.path.join(tmp, "bad.wmf")
open(bad, "wb").write(struct.pack("<HHHIHIH", 1, 9, 0x300, 0, 0, 0, 0) + b"".join(recs))
pdf = os.path.join(tmp, "bad.pdf")
r = k.run(["convert", bad, sample("gradient-rgb.jpg"), "-o", pdf])
assert "falls back to 'exception-image.jpg': GDI object at index 7 not found" in r.stderr.decode(), r.stderr
k.qpdf_check(pdf)
r = k.run(["convert", "--strict", bad, "-o", pdf + "2"], check=False)
assert r.returncode == 1 and not os.path.exists(pdf + "2")

# Bad arguments: exit status 2 and a clear message.
for args in [[], ["frobnicate"], ["convert", "--dpi", "0", "x.jpg", "-o", "y"],
             ["info", "--max-pixels", "0", "x.jpg"], ["info", "--max-pixels", "-5", "x.jpg"]]:
    r = k.run(args, check=False)
    assert r.returncode == 2 and r.stderr.startswith(b"kivuimg: "), (args, r.returncode, r.stderr)
assert k.run(["--help"]).stdout.startswith(b"usage: kivuimg convert")

# The pixel limit is the host's to set: 160 x 120 is refused below 19200.
r = k.run(["info", "--max-pixels", "19199", "-v", sample("gradient-rgb.jpg")])
assert b"Image of 160 x 120 pixels exceeds the limit of 19199 pixels" in r.stdout, r.stdout
assert json.loads(r.stdout.splitlines()[-1])["name"] == "exception-image.jpg"
r = k.run(["info", "--max-pixels", "19200", sample("gradient-rgb.jpg")])
assert json.loads(r.stdout)["name"] == sample("gradient-rgb.jpg"), r.stdout

# info reports what the library read.
j = k.info(sample("gradient-cmyk.jpg"))
assert (j["ext"], j["width"], j["height"], j["components"], j["colorSpace"]) == ("JPG", 160, 120, 4, "CMYK"), j
assert j["minPDFVer"] is None and j["hasMask"] is False and j["isFormObject"] is False

# Every JPEG of the corpus converts or falls back, and every PDF passes qpdf.
corpus = os.path.join(k.CORPUS, "jpeg")
if not os.path.isdir(corpus):
    print("corpus not found at %s: corpus part skipped" % corpus)
    sys.exit(0)
files = sorted(os.path.join(dp, f) for dp, _, fs in os.walk(corpus) for f in fs
               if f.lower().endswith((".jpg", ".jpeg")))
fallbacks = []
for f in files:
    pdf = os.path.join(tmp, "corpus.pdf")
    r = k.run(["convert", f, "-o", pdf])
    m = re.search(r"falls back to '([^']+)'", r.stderr.decode())
    if m:
        fallbacks.append((os.path.relpath(f, corpus), m.group(1)))
    # Truncated files pass their broken scan data through: qpdf may warn about it.
    k.qpdf_check(pdf, allow_stream_warnings=True)
print("%d corpus JPEGs, %d fall back:" % (len(files), len(fallbacks)))
for f, why in fallbacks:
    print("  %s -> %s" % (f, why))
print("ok")
