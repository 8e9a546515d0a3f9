#!/usr/bin/python3
"""Rendered metafiles against an independent reader.

Every .wmf of the third-party corpus is converted by `kivuimg convert`, the
PDF is checked by `qpdf --check` and rendered by `pdftoppm`.  The same file is
rendered by libwmf (`wmf2svg`, then `rsvg-convert`).  Both pictures are scaled
to one size and compared:

  ink IoU  - intersection over union of the "ink" pixels (any channel
             below 250), each mask first widened by one pixel so that
             anti-aliasing and half-pixel offsets don't count;
  colour   - 1 - mean absolute difference of the RGB values (0..1).

The converter draws polygons, polylines and poly-polygons only.  Text,
bitmaps, arcs, chords, pies, rectangles, ellipses and MOVETO/LINETO runs are
skipped, so a file made of those shows less ink than libwmf's picture.  The
script counts the records of each file and asserts a floor only for files
whose drawing is (almost) all polygons and polylines; for the rest the
figures are printed with the skipped records that explain them.

Exit code 77 (skipped) when the corpus, the host tool or one of the external
programs is missing.
"""

import json
import os
import shutil
import struct
import subprocess
import sys
import tempfile
from pathlib import Path

SKIP = 77

try:
    from PIL import Image, ImageChops, ImageFilter
except ImportError:
    print("SKIP: Pillow is not installed")
    sys.exit(SKIP)

SOURCE = Path(os.environ.get("KIVU_SOURCE_DIR", Path(__file__).resolve().parents[2]))
BINARY = Path(os.environ.get("KIVU_BINARY_DIR", SOURCE / "build"))
CORPUS = Path(os.environ.get("KIVU_WMF_CORPUS", SOURCE.parent / "shared" / "corpus" / "wmf"))
TOOL = BINARY / "kivuimg"

# Records the converter draws, and drawing records it skips, by function number.
DRAWN = {0x0324: "POLYGON", 0x0325: "POLYLINE", 0x0538: "POLYPOLYGON"}
SKIPPED = {
    0x0521: "TEXTOUT", 0x0A32: "EXTTEXTOUT", 0x0626: "ESCAPE",
    0x0213: "LINETO", 0x0214: "MOVETO",
    0x041B: "RECTANGLE", 0x061C: "ROUNDRECT", 0x0418: "ELLIPSE",
    0x0817: "ARC", 0x0830: "CHORD", 0x081A: "PIE",
    0x0922: "BITBLT", 0x0940: "DIBBITBLT", 0x0B23: "STRETCHBLT",
    0x0B41: "DIBSTRETCHBLT", 0x0F43: "STRETCHDIB", 0x0D33: "SETDIBTODEV",
    0x041D: "PATBLT", 0x0228: "FILLREGION", 0x0419: "FLOODFILL",
    0x0548: "EXTFLOODFILL", 0x012B: "PAINTREGION", 0x0429: "FRAMEREGION",
    0x0416: "INTERSECTCLIPRECT", 0x0415: "EXCLUDECLIPRECT",
}
# Skipped drawing records that leave a visible gap, as a share of the drawn
# ones; below it the file counts as polygonal.
POLYGONAL_SHARE = 0.10
# Floor for polygonal files.  The colour figure is printed, not asserted:
# libwmf's SVG snaps colours to SVG colour names and gives many fills an
# opacity of 0.5.
MIN_IOU = 0.80
# Renders are made at least this large on their long side.
MIN_LONG_SIDE = 400
BASE_DPI = 96
INK_LEVEL = 250  # a channel below this is ink


def census(path):
    """Counts the records of a metafile by name, the way both readers walk
    it, and finds the box of the points that the converter draws."""
    data = path.read_bytes()
    pos = 18
    if len(data) >= 4 and struct.unpack_from("<I", data, 0)[0] == 0x9AC6CDD7:
        pos = 40
    drawn, skipped = {}, {}
    box = [None, None, None, None]

    def take(x, y):
        box[0] = x if box[0] is None else min(box[0], x)
        box[1] = y if box[1] is None else min(box[1], y)
        box[2] = x if box[2] is None else max(box[2], x)
        box[3] = y if box[3] is None else max(box[3], y)

    while pos + 6 <= len(data):
        words, function = struct.unpack_from("<IH", data, pos)
        if function == 0:
            break
        block = data[pos + 6:pos + max(words, 3) * 2]
        nums = struct.unpack_from(f"<{len(block) // 2}h", block)
        if function in DRAWN:
            drawn[DRAWN[function]] = drawn.get(DRAWN[function], 0) + 1
            if nums:
                first = 1 if function != 0x0538 else 1 + max(0, nums[0])
                for k in range(first, len(nums) - 1, 2):
                    take(nums[k], nums[k + 1])
        elif function in SKIPPED:
            # ESCAPE records are comments and printer data, not drawing.
            if function != 0x0626:
                skipped[SKIPPED[function]] = skipped.get(SKIPPED[function], 0) + 1
        pos += max(words, 3) * 2
    return drawn, skipped, (None if box[0] is None else tuple(box))


def run(cmd, **kw):
    return subprocess.run(cmd, capture_output=True, text=True, timeout=120, **kw)


def flatten(path):
    """The picture over white, RGB."""
    im = Image.open(path).convert("RGBA")
    back = Image.new("RGBA", im.size, (255, 255, 255, 255))
    back.alpha_composite(im)
    return back.convert("RGB")


def ink(im):
    """Mask (0/255) of the pixels with any channel below INK_LEVEL."""
    r, g, b = im.split()
    low = ImageChops.darker(ImageChops.darker(r, g), b)
    return low.point(lambda v: 255 if v < INK_LEVEL else 0)


def count(mask):
    return mask.histogram()[255]


def compare(ours, theirs):
    """(ink IoU with one pixel of tolerance, colour similarity), both 0..1.

    libwmf's picture is fitted to what it draws, the converter's to the
    window: each picture is cut to the box of its ink first, and libwmf's
    is scaled onto the converter's."""
    box_a, box_b = ink(ours).getbbox(), ink(theirs).getbbox()
    if box_a is None or box_b is None:
        return (1.0 if box_a == box_b else 0.0), None
    ours = ours.crop(box_a)
    theirs = theirs.crop(box_b).resize(ours.size, Image.LANCZOS)
    # Each mask widened by one pixel, so that anti-aliasing and half-pixel
    # offsets between the two renderers are no loss.
    a = ink(ours).filter(ImageFilter.MaxFilter(3))
    b = ink(theirs).filter(ImageFilter.MaxFilter(3))
    union = count(ImageChops.lighter(a, b))
    iou = count(ImageChops.darker(a, b)) / union if union else 1.0
    hist = ImageChops.difference(ours, theirs).convert("L").histogram()
    mad = sum(v * n for v, n in enumerate(hist)) / (255.0 * ours.size[0] * ours.size[1])
    return iou, 1.0 - mad


def classify(drawn, skipped, box, facts):
    """Whether the floor applies, and why not."""
    n_drawn, n_skipped = sum(drawn.values()), sum(skipped.values())
    if n_drawn == 0:
        return False, "nothing this converter draws"
    if n_skipped > POLYGONAL_SHARE * n_drawn:
        return False, "skips records"
    fills = drawn.get("POLYGON", 0) + drawn.get("POLYPOLYGON", 0)
    if fills < drawn.get("POLYLINE", 0):
        # Pen widths are written in the form's units at 1/20 of a metafile
        # unit, libwmf draws them in device units: stroke-heavy drawings
        # differ in line weight.
        return False, "mostly strokes"
    ox, oy, ex, ey = facts["positionX"], facts["positionY"], facts["origWidth"], facts["origHeight"]
    x0, x1 = sorted((ox, ox + ex))
    y0, y1 = sorted((oy, oy + ey))
    slack_x, slack_y = 0.05 * (x1 - x0), 0.05 * (y1 - y0)
    if box and (box[0] < x0 - slack_x or box[1] < y0 - slack_y or box[2] > x1 + slack_x or box[3] > y1 + slack_y):
        # The form's BBox is the window; libwmf shows all that is drawn.
        return False, "drawn beyond the window"
    return True, "polygonal"


def main():
    if not CORPUS.is_dir():
        print(f"SKIP: the WMF corpus is not at {CORPUS} (third-party files, not part of the project)")
        return SKIP
    if not TOOL.exists():
        print(f"SKIP: the host tool {TOOL} is not built")
        return SKIP
    for program in ("qpdf", "pdftoppm", "wmf2svg", "rsvg-convert"):
        if shutil.which(program) is None:
            print(f"SKIP: {program} is not installed (scripts/setup.sh installs it)")
            return SKIP
    files = sorted(CORPUS.rglob("*.wmf"))
    if not files:
        print(f"SKIP: no .wmf files in {CORPUS}")
        return SKIP

    failures = []
    rows = []
    asserted = 0
    with tempfile.TemporaryDirectory(prefix="wmf-render-") as tmp:
        tmp = Path(tmp)
        for i, path in enumerate(files):
            rel = path.relative_to(CORPUS).as_posix()
            drawn, skipped, box = census(path)
            why = ", ".join(f"{k}:{v}" for k, v in sorted(skipped.items(), key=lambda kv: -kv[1])) or "-"

            def row(iou, colour, note):
                rows.append((rel, iou, colour, note, why))

            info = run([str(TOOL), "info", str(path)], cwd=tmp)
            try:
                facts = json.loads(info.stdout.splitlines()[0])
            except (ValueError, IndexError):
                failures.append(f"{rel}: info gave no JSON: {info.stderr.strip()}")
                continue
            pdf = tmp / f"{i}.pdf"
            conv = run([str(TOOL), "convert", "--fallback", str(path), "-o", str(pdf)], cwd=tmp)
            if "Sanitizer" in conv.stderr or "runtime error" in conv.stderr:
                failures.append(f"{rel}: sanitizer report: {conv.stderr.strip()}")
                continue
            if conv.returncode != 0 or facts.get("ext") != "WMF":
                row(None, None, "does not convert: " + (conv.stderr.strip().splitlines() or [facts.get("name", "")])[-1])
                continue
            check = run(["qpdf", "--check", str(pdf)])
            if check.returncode not in (0, 3):
                failures.append(f"{rel}: qpdf --check failed: {check.stdout.strip()} {check.stderr.strip()}")
                continue
            w, h = facts["width"], facts["height"]
            if w <= 0 or h <= 0 or facts["origWidth"] == 0 or facts["origHeight"] == 0:
                row(None, None, "no window extent before drawing: empty page")
                continue
            # The size counts 46 window units a millimetre, so at 96 dpi some
            # drawings are a few pixels: render them large enough to compare.
            scale = max(1, -(-MIN_LONG_SIDE // max(w, h)))
            ours_png = tmp / f"{i}-ours"
            r = run(["pdftoppm", "-r", str(BASE_DPI * scale), "-png", "-singlefile", str(pdf), str(ours_png)])
            if r.returncode != 0:
                failures.append(f"{rel}: pdftoppm failed: {r.stderr.strip()}")
                continue
            ours_png = Path(str(ours_png) + ".png")
            svg = tmp / f"{i}.svg"
            r = run(["wmf2svg", "-o", str(svg), str(path)])
            if r.returncode != 0 or not svg.exists() or svg.stat().st_size == 0:
                row(None, None, "libwmf can't read it: " + " ".join(r.stderr.split())[:60])
                continue
            size = Image.open(ours_png).size
            ref_png = tmp / f"{i}-ref.png"
            r = run(["rsvg-convert", "-w", str(size[0]), "-h", str(size[1]), str(svg), "-o", str(ref_png)])
            if r.returncode != 0:
                row(None, None, "libwmf wrote an SVG that rsvg can't read")
                continue
            iou, colour = compare(flatten(ours_png), flatten(ref_png))
            polygonal, note = classify(drawn, skipped, box, facts)
            if colour is None and iou == 1.0:
                polygonal, note = False, "no ink in either picture (white on white)"
            row(iou, colour, note)
            if polygonal:
                asserted += 1
                if iou < MIN_IOU:
                    failures.append(f"{rel}: ink IoU {iou:.3f} below the floor {MIN_IOU}")

    print(f"{'file':40} {'ink IoU':>7} {'colour':>6}  note; drawing records skipped by the converter")
    for rel, iou, colour, note, why in rows:
        a = f"{iou:7.3f}" if iou is not None else f"{'-':>7}"
        b = f"{colour:6.3f}" if colour is not None else f"{'-':>6}"
        print(f"{rel:40} {a} {b}  {note}; {why}")
    print(f"floor ink IoU >= {MIN_IOU} asserted for {asserted} polygonal files")
    for f in failures:
        print("FAIL:", f)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
