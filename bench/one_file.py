#!/usr/bin/python3
"""Whole-process conversion of ONE small file, against the converters users
know: what a user waits for when converting a single file from a shell.

Two cases, both made by this script:
  drawing: a small SVG (rects, a path, a circle with a linear gradient, a line
           of text), `kivuimg convert` against `rsvg-convert -f pdf`;
  photo:   a 640x480 JPEG (smooth colours plus noise, quality 90, 300 dpi),
           `kivuimg convert` against `img2pdf`.
Each tool runs as a process of its own, R times, interleaved with the others
so that machine noise hits all alike (after one untimed warm-up run each).
Per run: CPU time (user + system of the child, from getrusage(RUSAGE_CHILDREN)
deltas) and wall time.  Prints a Markdown table of the medians and the ratios
kivuimg / peer.  A missing peer is left out with a note.

usage: bench/one_file.py [--repeat R] [--tool PATH] [--keep DIR]

--tool defaults to build/kivuimg of this checkout; --keep DIR keeps the made
inputs in DIR.  Nothing else is written outside a temporary folder.
"""
import argparse
import os
import random
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))

SVG = """<svg xmlns="http://www.w3.org/2000/svg" width="400" height="300" viewBox="0 0 400 300">
  <defs>
    <linearGradient id="g" x1="0" y1="0" x2="1" y2="1">
      <stop offset="0" stop-color="#f6d365"/><stop offset="1" stop-color="#fda085"/>
    </linearGradient>
  </defs>
  <rect width="400" height="300" fill="#fafafa"/>
  <rect x="20" y="20" width="160" height="100" rx="8" fill="#4a90d9" stroke="#1d3f66" stroke-width="3"/>
  <rect x="40" y="150" width="120" height="120" fill="none" stroke="#333" stroke-dasharray="6 4"/>
  <path d="M220 40 L370 40 L330 130 Q295 180 250 130 Z" fill="#7ac77a" stroke="#2e6b2e" stroke-width="2"/>
  <circle cx="290" cy="220" r="60" fill="url(#g)" stroke="#a0522d" stroke-width="2"/>
  <text x="20" y="290" font-family="sans-serif" font-size="16" fill="#222">Quarterly report, page 1</text>
</svg>
"""


def make_photo(path):
    """640x480: a few random colours blown up smoothly, plus fine noise."""
    from PIL import Image, ImageChops
    rnd = random.Random(1)
    small = Image.new("RGB", (6, 5))
    small.putdata([tuple(rnd.randrange(256) for _ in range(3)) for _ in range(30)])
    smooth = small.resize((640, 480), Image.BICUBIC)
    noise = Image.merge("RGB", [Image.effect_noise((640, 480), 6) for _ in range(3)])
    ImageChops.add(smooth, noise, 1.0, -128).save(path, "JPEG", quality=90, dpi=(300, 300))


def run(cmd, env):
    """One run: (CPU seconds of the child, wall seconds)."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    t = time.perf_counter()
    r = subprocess.run(cmd, env=env, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    wall = time.perf_counter() - t
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    if r.returncode != 0:
        sys.exit("bench: %s failed (%d): %s" % (cmd[0], r.returncode, r.stderr.decode()[-500:]))
    return after.ru_utime - before.ru_utime + after.ru_stime - before.ru_stime, wall


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--repeat", type=int, default=30)
    ap.add_argument("--tool", default=os.path.join(HERE, "..", "build", "kivuimg"))
    ap.add_argument("--keep", metavar="DIR")
    args = ap.parse_args()
    if not os.access(args.tool, os.X_OK):
        sys.exit("bench: no kivuimg at %s (build it, or give --tool)" % args.tool)
    work = tempfile.mkdtemp(prefix="kivu_one_file_")
    inputs = args.keep or work
    os.makedirs(inputs, exist_ok=True)
    # No package folder: kivuimg writes nothing but the PDF.  Caches (fontconfig) go to the work folder.
    env = {k: v for k, v in os.environ.items() if k != "KIVU_HOME"}
    env["XDG_CACHE_HOME"] = os.path.join(work, "cache")
    try:
        svg, jpg = os.path.join(inputs, "drawing.svg"), os.path.join(inputs, "photo.jpg")
        with open(svg, "w") as f:
            f.write(SVG)
        make_photo(jpg)
        out = lambda name: os.path.join(work, name + ".pdf")
        cases = [  # case, input, peer name, peer command
            ("drawing (SVG, %d B)" % os.path.getsize(svg), svg, "rsvg-convert",
             ["rsvg-convert", "-f", "pdf", "-o", out("rsvg"), svg]),
            ("photo (JPEG 640x480, %d KB)" % (os.path.getsize(jpg) // 1000), jpg, "img2pdf",
             ["img2pdf", jpg, "-o", out("img2pdf")]),
        ]
        runs = []  # [case, peer, kivuimg command, peer command or None]
        for case, path, peer, cmd in cases:
            if not shutil.which(peer):
                print("note: %s is not installed: the %s case has no peer" % (peer, case.split()[0]), file=sys.stderr)
                cmd = None
            runs.append([case, peer, [args.tool, "convert", "-q", path, "-o", out("kivuimg")], cmd])
        commands = [c for r in runs for c in r[2:] if c]
        for c in commands:  # warm-up; also checks that each one works
            run(c, env)
        times = {id(c): [] for c in commands}
        for _ in range(args.repeat):
            for c in commands:
                times[id(c)].append(run(c, env))

        def medians(c):
            return [statistics.median(t[i] for t in times[id(c)]) * 1000 for i in (0, 1)]

        print("%d runs each, medians (CPU = user + system of the process)\n" % args.repeat)
        print("| case | kivuimg CPU ms | peer | peer CPU ms | CPU ratio | kivuimg wall ms | peer wall ms | wall ratio |")
        print("|---|---|---|---|---|---|---|---|")
        for case, peer, kivu, other in runs:
            kc, kw = medians(kivu)
            if other:
                pc, pw = medians(other)
                cells = [peer, "%.1f" % pc, "%.2f" % (kc / pc), "%.1f" % kw, "%.1f" % pw, "%.2f" % (kw / pw)]
            else:
                cells = ["(%s missing)" % peer, "", "", "%.1f" % kw, "", ""]
            print("| " + " | ".join([case, "%.1f" % kc] + cells) + " |")
    finally:
        shutil.rmtree(work, True)


if __name__ == "__main__":
    main()
