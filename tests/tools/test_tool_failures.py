#!/usr/bin/python3
"""What the kivuimg tool does with inputs it can't read and outputs it must
not write, and the option spellings people know: each failure class exits 1
with "kivuimg: FILE: reason" and leaves no output, --fallback gives the
fallback page instead; an output that is an input, or whose folder is
missing, is refused; every GIF frame is a page; nothing is written to HOME."""
import os
import subprocess
import sys

sys.path.insert(0, os.path.dirname(__file__))
import kivutest as k

try:
    import pikepdf
    from PIL import Image
except ImportError:
    k.skip("pikepdf or Pillow is not installed")

tmp = k.tmpdir("kivu_failures_")
k.HOME = k.home()
jpg = os.path.join(k.SOURCE, "samples", "gradient-rgb.jpg")


def path(name, data=None):
    p = os.path.join(tmp, name)
    if data is not None:
        open(p, "wb").write(data)
    return p


png = bytearray(open(os.path.join(k.SOURCE, "samples", "fade-rgba.png"), "rb").read())
png[png.index(b"IDAT") + 8] ^= 0xFF  # the data no longer matches its CRC
png = bytes(png)
os.makedirs(path("folder.png"))
FAILURES = [  # input, the reason the tool names
    (path("missing.png"), "no such file"),
    (path("folder.png"), "is a directory"),
    (path("empty.png", b""), "empty"),
    (path("notes.txt", b"hello"), "the format 'txt' is not supported"),
    (path("crc.png", png), "PNG: the image data can't be inflated"),
    (path("cut.svg", b'<svg xmlns="http://www.w3.org/2000/svg"><rect width="10" height'), "SVG: not well-formed at line 1"),
]


def pages(pdf):
    with pikepdf.open(pdf) as doc:
        return len(doc.pages)


out = path("out.pdf")
for name, reason in FAILURES:
    r = k.run(["convert", jpg, name, "-o", out], check=False, rules="standard", fallback=False)
    said = r.stderr.decode()
    assert r.returncode == 1 and said.startswith("kivuimg: %s: %s" % (name, reason)), (name, r.returncode, said)
    assert not os.path.exists(out) and os.listdir(tmp).count("out.pdf") == 0, name
# --fallback: a page per input, the reason in the warning, exit 0.
r = k.run(["convert", "--fallback", jpg] + [n for n, _ in FAILURES] + ["-o", out], rules="standard")
assert pages(out) == 1 + len(FAILURES), pages(out)
assert all(reason in r.stderr.decode() for _, reason in FAILURES), r.stderr.decode()
# --strict with --fallback: a warning is an error.
r = k.run(["convert", "--fallback", "--strict", jpg, FAILURES[0][0], "-o", path("strict.pdf")], check=False)
assert r.returncode == 1 and not os.path.exists(path("strict.pdf")), r.stderr
# And so is the document's own: a text that no installed font holds.
hieroglyph = path("hieroglyph.svg", '<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9">'
                  '<text y="8">\U00013000</text></svg>'.encode())
r = k.run(["convert", "--strict", hieroglyph, "-o", path("strict.pdf")], check=False, rules="standard")
assert r.returncode == 1 and b"no TrueType font" in r.stderr and not os.path.exists(path("strict.pdf")), r.stderr

# Outputs the tool refuses: an input, and a file in a folder that isn't there.
copy = path("copy.jpg", open(jpg, "rb").read())
os.link(copy, path("hard.jpg"))
for target, reason in ((copy, "it is also an input"), (path("hard.jpg"), "it is also an input"),
                       (path("no/such/out.pdf"), "no folder")):
    r = k.run(["convert", copy, "-o", target], check=False)
    assert r.returncode == 1 and reason in r.stderr.decode(), (target, r.stderr)
assert open(copy, "rb").read() == open(jpg, "rb").read() and not os.path.exists(path("no"))

# Spellings: --opt=value, -- before inputs, -o left out when standard output is a pipe, --version.
r = k.run(["convert", "--title=Spelled", "--", jpg, "--output=" + out])
assert r.returncode == 0 and os.path.exists(out)
r = k.run(["convert", jpg, "--title=Spelled"])
assert r.stdout.startswith(b"%PDF-") and b"Spelled" in r.stdout, r.stderr
r = k.run(["--version"], check=False)
assert r.returncode == 0 and r.stdout.decode().startswith("kivuimg "), r.stdout

# The page takes the resolution a file states (JFIF, PNG pHYs), unless --dpi names one.
for ext in ("jpg", "png"):
    scan = path("scan." + ext)
    Image.new("RGB", (300, 600), "white").save(scan, dpi=(300, 300))
    for extra, size in (([], [72, 144]), (["--dpi", "150"], [144, 288])):
        k.run(["convert", scan, "-o", out] + extra)
        with pikepdf.open(out) as doc:
            box = [round(float(v)) for v in doc.pages[0].MediaBox]
        assert box == [0, 0] + size, (ext, extra, box)

# An animated GIF: a page per frame, or its first only.
frames = [Image.new("P", (8, 8), i) for i in range(5)]
gif = path("anim.gif")
frames[0].save(gif, save_all=True, append_images=frames[1:], duration=50)
k.run(["convert", gif, "-o", out])
assert pages(out) == 5, pages(out)
k.run(["convert", gif, "--first-frame-only", "-o", out])
assert pages(out) == 1

# No package folder asked for: nothing is written to HOME.
home = k.tmpdir("kivu_plain_home_")
env = dict(os.environ, HOME=home)
env.pop("KIVU_HOME", None)
r = subprocess.run([k.TOOL, "convert", jpg, "-o", out], env=env, capture_output=True)
assert r.returncode == 0 and os.listdir(home) == [], (r.stderr, os.listdir(home))
print("%d failure classes, 3 refused outputs, spellings, resolutions, frames and HOME as a user expects" % len(FAILURES))
