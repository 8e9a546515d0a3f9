"""Helpers shared by the host-level tests: run the tool, check and render PDFs."""
import atexit
import json
import shutil
import os
import subprocess
import sys
import tempfile

SOURCE = os.environ.get("KIVU_SOURCE_DIR", os.path.join(os.path.dirname(__file__), "..", ".."))
BINARY = os.environ.get("KIVU_BINARY_DIR", os.path.join(SOURCE, "build"))
TOOL = os.path.join(BINARY, "kivuimg")
CORPUS = os.path.normpath(os.path.join(SOURCE, "..", "shared", "corpus"))
SKIP = 77


def skip(message):
    print("SKIP: " + message)
    sys.exit(SKIP)


def need(*programs):
    for p in programs:
        if subprocess.run(["sh", "-c", "command -v " + p], capture_output=True).returncode != 0:
            skip(p + " is not installed")


def home():
    """A package home of the test's own."""
    d = tempfile.mkdtemp(prefix="kivu_home_")
    atexit.register(shutil.rmtree, d, True)
    return d


def tmpdir(prefix):
    """A scratch folder removed when the test ends."""
    d = tempfile.mkdtemp(prefix=prefix)
    atexit.register(shutil.rmtree, d, True)
    return d


def run(args, check=True, rules="engine", fallback=True):
    """Runs the tool; drawings by the engine's rules unless `rules` or the
    arguments name others; an input that can't be read gets the fallback
    page (--fallback) unless `fallback` is off."""
    env = dict(os.environ, KIVU_HOME=HOME)
    if args and args[0] in ("convert", "info") and "--rules" not in args:
        args = [args[0], "--rules", rules] + args[1:]
    if fallback and args and args[0] == "convert" and "--fallback" not in args:
        args = [args[0], "--fallback"] + args[1:]
    r = subprocess.run([TOOL] + args, capture_output=True, env=env)
    if check and r.returncode != 0:
        raise AssertionError("kivuimg %s failed (%d): %s" % (" ".join(args), r.returncode, r.stderr.decode()))
    return r


def info(path):
    return json.loads(run(["info", path]).stdout.decode().splitlines()[0])


def qpdf_check(pdf, allow_stream_warnings=False):
    r = subprocess.run(["qpdf", "--check", pdf], capture_output=True)
    out = r.stdout.decode() + r.stderr.decode()
    if r.returncode == 0:
        return out
    if r.returncode == 3 and allow_stream_warnings:
        # Warnings only about stream data that the image file itself carries.
        bad = [l for l in out.splitlines() if l.startswith("WARNING") and "stream" not in l]
        if not bad:
            return out
    raise AssertionError("qpdf --check %s failed:\n%s" % (pdf, out))


def render(pdf, page=1, dpi=96):
    """The page as a Pillow RGB image."""
    from PIL import Image
    out = tempfile.mktemp(prefix="kivu_page_")
    subprocess.run(["pdftoppm", "-r", str(dpi), "-f", str(page), "-l", str(page), "-png", "-singlefile", pdf, out],
                   check=True, capture_output=True)
    im = Image.open(out + ".png").convert("RGB")
    im.load()
    os.remove(out + ".png")
    return im


def mean_abs_diff(a, b):
    """Mean absolute difference per sample of two RGB images of one size, 0..255."""
    assert a.size == b.size, "sizes differ: %s vs %s" % (a.size, b.size)
    da, db = a.tobytes(), b.tobytes()
    return sum(abs(x - y) for x, y in zip(da, db)) / len(da)


def percentile_diff(a, b, q):
    """The q-quantile of per-sample absolute differences."""
    assert a.size == b.size
    d = sorted(abs(x - y) for x, y in zip(a.tobytes(), b.tobytes()))
    return d[min(len(d) - 1, int(len(d) * q))]


HOME = home()


def photo_rows(w, h, bands, index=0):
    """Rows of a deterministic photo-like image: smooth ramps plus fine noise,
    integer arithmetic only, so every Python makes the same bytes."""
    state = 12345 + index
    rows = []
    for y in range(h):
        row = bytearray()
        for x in range(w):
            for b in range(bands):
                state = (state * 1103515245 + 12345) & 0x7FFFFFFF
                v = ((x * (b + 1) * 255) // w + (y * (3 - b % 3) * 255) // h) // 2 + (state >> 16) % 9 - 4
                row.append(max(0, min(255, v)))
        rows.append(bytes(row))
    return rows


def write_bmp24(path, w, h, rows):
    """A bottom-up 24-bit BMP with the 40-byte header; rows are RGB, top first."""
    import struct
    stride = (w * 3 + 3) & ~3
    body = b"".join(bytes(r[i + 2 - 2 * (i % 3)] for i in range(w * 3)) + b"\0" * (stride - w * 3)
                    for r in reversed(rows))
    head = struct.pack("<2sIHHIIiiHHIIiiII", b"BM", 54 + len(body), 0, 0, 54, 40, w, h, 1, 24, 0, len(body),
                       2835, 2835, 0, 0)
    open(path, "wb").write(head + body)


def write_png(path, w, h, color_type, rows):
    """A PNG of depth 8, filter 0 on every row, one IDAT."""
    import struct
    import zlib

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    raw = b"".join(b"\0" + r for r in rows)
    ihdr = struct.pack(">IIBBBBB", w, h, 8, color_type, 0, 0, 0)
    open(path, "wb").write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", ihdr) + chunk(b"IDAT", zlib.compress(raw)) +
                           chunk(b"IEND", b""))


def pdf_objects(path):
    """Every object of a PDF written by kivuimg as {number: text}, where the
    text is the dictionary without its /Length line and, for a stream, the
    MD5 of its decompressed data: what stays when only the deflater changes."""
    import hashlib
    import re
    import zlib
    data = open(path, "rb").read()
    out = {}
    head_re = re.compile(rb"(?m)^(\d+) 0 obj\n")
    pos = 0
    while True:
        m = head_re.search(data, pos)
        if not m:
            return out
        start = m.end()
        end = data.index(b"endobj\n", start)
        at = data.find(b">>\nstream\n", start)
        if at < 0 or at > end:
            out[int(m.group(1))] = data[start:end].decode("latin-1")
            pos = end
            continue
        head = data[start:at + 3].decode("latin-1")
        length = int(re.search(r"/Length (\d+)\n", head).group(1))
        stream = data[at + 10:at + 10 + length]
        pos = at + 10 + length
        if "/Filter /FlateDecode" in head:
            stream = zlib.decompress(stream)
        out[int(m.group(1))] = re.sub(r"/Length \d+\n", "", head) + hashlib.md5(stream).hexdigest()
