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


def run(args, check=True):
    env = dict(os.environ, KIVU_HOME=HOME)
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
