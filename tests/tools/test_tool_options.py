#!/usr/bin/python3
"""The kivuimg tool's options, through the real tool: page sizes, fits,
borders and landscape read back from the PDF; standard input and output;
EXIF orientations 1-8 rendered upright; the Info dictionary; exit codes and
no partial file after a failure, nor on standard output, nor after SIGINT,
SIGTERM or SIGHUP."""
import os
import subprocess
import sys

sys.path.insert(0, os.path.dirname(__file__))
import kivutest as k

try:
    import pikepdf
    from PIL import Image, ImageOps
except ImportError:
    k.skip("pikepdf or Pillow is not installed")

k.need("qpdf", "pdftoppm")
tmp = k.tmpdir("kivu_options_")
A4 = (595.276, 841.89)


def quadrants(w, h):
    """A picture whose four quarters are red, green, blue and yellow."""
    im = Image.new("RGB", (w, h))
    for (x, y), c in {(0, 0): (255, 0, 0), (1, 0): (0, 255, 0), (0, 1): (0, 0, 255), (1, 1): (255, 255, 0)}.items():
        im.paste(c, (x * w // 2, y * h // 2, (x + 1) * w // 2, (y + 1) * h // 2))
    return im


def convert(inputs, *options):
    out = os.path.join(tmp, "out.pdf")
    k.run(["convert"] + inputs + ["-o", out] + list(options))
    k.qpdf_check(out)
    return out


def page_and_box(pdf):
    """MediaBox and the a b c d e f of the page's cm operator."""
    with pikepdf.open(pdf) as doc:
        page = doc.pages[0]
        ops = page.Contents.read_bytes().decode().split()
        cm = [float(v) for v in ops[ops.index("cm") - 6:ops.index("cm")]]
        return [float(v) for v in page.MediaBox], cm


def near(a, b):
    return all(abs(x - y) < 0.01 for x, y in zip(a, b)), (a, b)


jpg = os.path.join(tmp, "photo.jpg")
quadrants(160, 80).save(jpg, quality=95)  # 120 x 60 pt at 96 dpi

# Fits: page, then the image's box (w, h, x, y).
cases = [
    ([], [0, 0, 120, 60], [120, 60, 0, 0]),
    (["--border", "10:5"], [0, 0, 140, 70], [120, 60, 10, 5]),
    (["--pagesize", "A4"], [0, 0, *A4], [A4[0], A4[0] / 2, 0, (A4[1] - A4[0] / 2) / 2]),
    (["--pagesize", "200x100", "--fit", "exact"], [0, 0, 200, 100], [200, 100, 0, 0]),
    (["--pagesize", "100x100", "--fit", "fill"], [0, 0, 100, 100], [200, 100, -50, 0]),
    (["--pagesize", "1000x1000", "--fit", "shrink"], [0, 0, 1000, 1000], [120, 60, 440, 470]),
    (["--pagesize", "60x60", "--fit", "enlarge"], [0, 0, 60, 60], [120, 60, -30, 0]),
    (["--pagesize", "A4", "--landscape", "--border", "1in"], [0, 0, A4[1], A4[0]],
     [A4[1] - 144, (A4[1] - 144) / 2, 72, (A4[0] - (A4[1] - 144) / 2) / 2]),
    (["--pagesize", "10cmx5cm"], [0, 0, 283.465, 141.732], [283.465, 141.732, 0, 0]),
]
for options, media, box in cases:
    got_media, cm = page_and_box(convert([jpg], *options))
    assert near(got_media, media)[0], (options, got_media, media)
    assert near([cm[0], cm[3], cm[4], cm[5]], box)[0], (options, cm, box)
# fill is cut at the area's edge.
with pikepdf.open(convert([jpg], "--pagesize", "100x100", "--fit", "fill")) as doc:
    assert b" re W n" in doc.pages[0].Contents.read_bytes()

# Standard input (told by its bytes, or by --format) and standard output.
env = dict(os.environ, KIVU_HOME=k.HOME)
for extra in ([], ["--format", "jpg"]):
    with open(jpg, "rb") as f:
        r = subprocess.run([k.TOOL, "convert", "-", "-o", "-"] + extra, stdin=f, capture_output=True, env=env)
    assert r.returncode == 0 and r.stdout.startswith(b"%PDF-1.4"), r.stderr
    piped = os.path.join(tmp, "piped.pdf")
    open(piped, "wb").write(r.stdout)
    k.qpdf_check(piped)
    assert page_and_box(piped)[0] == [0, 0, 120, 60]

# EXIF orientations (applied by default): each page, rendered, shows what
# Pillow shows upright.
for orientation in range(1, 9):
    path = os.path.join(tmp, "o%d.jpg" % orientation)
    exif = Image.Exif()
    exif[0x0112] = orientation
    quadrants(160, 80).save(path, quality=95, exif=exif)
    upright = ImageOps.exif_transpose(Image.open(path)).convert("RGB")
    page = k.render(convert([path]))
    assert page.size == upright.size, (orientation, page.size, upright.size)
    for fx in (0.25, 0.75):
        for fy in (0.25, 0.75):
            at = (int(fx * page.size[0]), int(fy * page.size[1]))
            want, got = upright.getpixel(at), page.getpixel(at)
            assert max(abs(a - b) for a, b in zip(want, got)) < 40, (orientation, at, want, got)

# The Info dictionary.
pdf = convert([jpg], "--title", "Café (1)", "--author", "A. Writer", "--subject", "S", "--keywords", "k1, k2",
              "--creator", "test")
with pikepdf.open(pdf) as doc:
    info = {str(key): str(value) for key, value in doc.docinfo.items()}
assert info["/Title"] == "Café (1)" and info["/Author"] == "A. Writer" and info["/Keywords"] == "k1, k2", info
assert info["/Producer"] == "LibKivuImg" and info["/CreationDate"].startswith("D:"), info
with pikepdf.open(convert([jpg], "--nodate")) as doc:
    assert "/CreationDate" not in doc.docinfo

# Exit codes, and no file left behind when the conversion fails.
out = os.path.join(tmp, "failed.pdf")
for args, code in [(["convert", jpg, "--fit", "into", "-o", out], 2), (["convert", jpg, "--pagesize", "B7", "-o", out], 2),
                   (["convert", jpg, "--frobnicate", "-o", out], 2), (["convert", jpg, "missing.png", "--strict", "-o", out], 1),
                   (["convert", jpg, "-o", tmp], 1)]:
    r = k.run(args, check=False)
    assert r.returncode == code, (args, r.returncode, r.stderr)
    leftovers = [n for n in os.listdir(tmp) if n.startswith("failed.pdf") or ".part" in n]
    assert not leftovers, (args, leftovers)
# Standard output gets nothing of a document that fails.
r = k.run(["convert", jpg, "missing.png", "--strict", "-o", "-"], check=False)
assert r.returncode == 1 and r.stdout == b"", (r.returncode, len(r.stdout))

# A signal stops the conversion and takes the half-written file with it.
os.makedirs(os.path.join(tmp, "signalled"))
for signal in ("INT", "TERM", "HUP"):
    out = os.path.join(tmp, "signalled", "out.pdf")
    p = subprocess.Popen([k.TOOL, "convert", "-q"] + [jpg] * 20000 + ["-o", out], env=env, stderr=subprocess.PIPE)
    while not os.listdir(os.path.dirname(out)):
        assert p.poll() is None, p.stderr.read()
    subprocess.run(["kill", "-" + signal, str(p.pid)], check=True)
    p.wait()
    p.stderr.close()
    assert p.returncode < 0 and os.listdir(os.path.dirname(out)) == [], (signal, p.returncode)

# Standard error is no terminal here: no progress line.
r = k.run(["convert", jpg, jpg, "-o", os.path.join(tmp, "two.pdf")])
assert b"pages" not in r.stderr, r.stderr
print("options read back as asked")
