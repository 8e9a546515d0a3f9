"""Fills fuzz/corpus-<name>/ with the starting inputs of fuzz target fuzz_<name>.

The inputs come from the third-party files in ../shared/corpus/ (skipped
when absent), from samples/, and from images made here: small files of
every layout with Pillow, the lying headers of
tests/img/test_hostile_sizes.py, and drawings with text, embedded pictures,
every path command and every kind of gradient (scripts/svg_fuzz_inputs.py).  Files are named by their SHA-1, as
libFuzzer names the inputs it adds, so running this again adds nothing twice.
The folders are not part of the project (see .gitignore); nothing is copied
into the source tree.

usage: fuzz_corpus.py [SOURCE_DIR]
"""
import hashlib
import io
import os
import re
import sys

SOURCE = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), ".."))
CORPUS = os.environ.get("KIVU_CORPUS", os.path.join(SOURCE, "..", "shared", "corpus"))
MAX_BYTES = 64 * 1024
MAX_SVG = 60  # drawings for fuzz_load, for when SVG is read
FOLDERS = {"png": {".png"}, "gif": {".gif"}, "bmp": {".bmp"}, "jpeg": {".jpg", ".jpeg"}, "wmf": {".wmf"},
           "svg": {".svg"}}
# fuzz_load chooses the extension by the first byte, and with bit 3 the standard rules.
LOAD_PREFIX = {".jpg": 0, ".jpeg": 1, ".png": 2, ".gif": 3, ".bmp": 4, ".wmf": 5, ".svg": 6}

sys.path.insert(0, os.path.join(SOURCE, "tests", "img"))
os.environ.setdefault("KIVU_SOURCE_DIR", SOURCE)
import test_hostile_sizes as hostile  # noqa: E402  (builds files only; runs nothing on import)
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import svg_fuzz_inputs  # noqa: E402  (text, pictures, paths and gradients)


def files_below(folder, exts):
    """(extension, bytes) of every file below `folder` with one of `exts`, small enough to fuzz."""
    if not os.path.isdir(folder):
        return []
    out = []
    for dirpath, _, names in os.walk(folder):
        for name in sorted(names):
            ext = os.path.splitext(name)[1].lower()
            path = os.path.join(dirpath, name)
            if ext in exts and os.path.getsize(path) <= MAX_BYTES:
                with open(path, "rb") as f:
                    out.append((ext, f.read()))
    return out


def made_with_pillow():
    """Small images of every layout the decoders know."""
    from PIL import Image
    out = []

    def save(ext, image, **options):
        buf = io.BytesIO()
        image.save(buf, {".png": "PNG", ".gif": "GIF", ".bmp": "BMP", ".jpg": "JPEG"}[ext], **options)
        out.append((ext, buf.getvalue()))

    base = Image.radial_gradient("L").resize((19, 13))
    rgb = Image.merge("RGB", (base, base.rotate(90), base.transpose(Image.Transpose.FLIP_LEFT_RIGHT)))
    for mode in ("1", "L", "LA", "RGB", "RGBA", "P"):
        save(".png", rgb.convert(mode))
    save(".png", rgb.convert("P"), transparency=3)
    save(".png", rgb.convert("L"), transparency=7)
    for mode in ("1", "P", "L", "RGB"):
        save(".bmp", rgb.convert(mode))
    for interlace in (False, True):
        save(".gif", rgb.convert("P"), interlace=interlace)
    save(".gif", rgb.convert("P"), transparency=2, comment=b"made here")
    for mode in ("L", "RGB", "CMYK"):
        for progressive in (False, True):
            save(".jpg", rgb.convert(mode), progressive=progressive, quality=60)
    # 16 bits, resolutions, and an animation of every disposal.
    save(".png", base.point(lambda v: v * 257, "I"))
    save(".png", rgb, dpi=(300, 150))
    save(".jpg", rgb, dpi=(300, 150))
    save(".bmp", rgb, dpi=(300, 150))
    frames = [rgb.convert("P").rotate(angle) for angle in (0, 90, 180, 270)]
    save(".gif", frames[0], save_all=True, append_images=frames[1:], disposal=[0, 1, 2, 3], transparency=0)
    return out


def lying_headers():
    return [(os.path.splitext(name)[1], data) for name, (data, _) in hostile.CASES.items()]


def color_texts():
    """Colours and measures as documents write them: attribute values of the SVG corpus, and the notations."""
    texts = {"#369", "#336699", "#33669980", "red", "none", "rgb(10, 20, 30)", "rgba(0.2, 0.4, 0.6, 0.5)",
             "cmyk(0.1, 0.2, 0.3, 0.4)", "cmyk(0.1,0.2,0.3,0.4,0.5)", "@1a334d66", "gray(0.5)", "50%",
             "spot(1, 0.5)", "12pt", "2.5cm", "1in", "3mm", "4px", "45deg", "1rad", "2*", "1fs", "auto",
             "inline", "1,5pt", "-0.5", "1e3pt"}
    pattern = re.compile(rb'(?:fill|stroke|stop-color|color|width|height|font-size|stroke-width|r|x|y)="([^"]{1,40})"')
    for _, data in files_below(os.path.join(CORPUS, "svg"), {".svg"}):
        for m in pattern.finditer(data):
            texts.add(m.group(1).decode("utf-8", "replace"))
            if len(texts) >= 600:
                break
    return [("", t.encode()) for t in sorted(texts)]


def write(name, inputs):
    if not os.path.exists(os.path.join(SOURCE, "fuzz", "fuzz_%s.cpp" % name)):
        return None
    folder = os.path.join(SOURCE, "fuzz", "corpus-" + name)
    os.makedirs(folder, exist_ok=True)
    for data in inputs:
        with open(os.path.join(folder, hashlib.sha1(data).hexdigest()), "wb") as f:
            f.write(data)
    return len(set(inputs))


def main():
    # Each format from its own folder (the drawings' folders also hold their reference PNGs).
    found = [f for folder, exts in FOLDERS.items() for f in files_below(os.path.join(CORPUS, folder), exts)]
    found += files_below(os.path.join(SOURCE, "samples"), set(LOAD_PREFIX))
    images = found + made_with_pillow() + lying_headers()
    if not os.path.isdir(CORPUS):
        print("third-party corpus not found at %s: starting from the project's own images" % CORPUS)

    def of(*exts):
        return [data for ext, data in images if ext in exts]

    counts = {
        "png": write("png", of(".png")),
        "gif": write("gif", of(".gif")),
        "bmp": write("bmp", of(".bmp")),
        "wmf": write("wmf", of(".wmf")),
        "jpg": write("jpg", of(".jpg", ".jpeg")),
        "svg": write("svg", of(".svg") + svg_fuzz_inputs.inputs(SOURCE)),
        "load": write("load", [bytes([LOAD_PREFIX[ext]]) + data for ext, data in images if ext != ".svg"]
                           + [bytes([LOAD_PREFIX[ext] | 8]) + data for ext, data in images if ext in (".png", ".gif")]
                           + [bytes([LOAD_PREFIX[".svg"]]) + data for data in of(".svg")[:MAX_SVG]]),
        "color_unit": write("color_unit", [data for _, data in color_texts()]),
    }
    for name, n in counts.items():
        if n is not None:
            print("fuzz_%-12s %4d starting inputs in fuzz/corpus-%s" % (name, n, name))


if __name__ == "__main__":
    main()
