#!/usr/bin/python3
"""Whole-process conversion of real-world SVG drawings to PDF, against the
converters users know: rsvg-convert (librsvg) and CairoSVG, both from
Debian (librsvg2-bin, python3-cairosvg; a missing one is left out).

Each tool converts each file in a process of its own, as a batch script
would; kivuimg also converts all files in one process, by either rule set.
Prints the best of R runs per tool, and the ratios to kivuimg by the
standard rules (the tool's default), and the standard rules' time against
the engine's.

usage: bench/svg_convert.py [--repeat R] [FOLDER]   (default ../shared/corpus/svg/real)
"""
import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

here = Path(__file__).resolve().parent
tool = here.parent / "build" / "kivuimg"

ap = argparse.ArgumentParser()
ap.add_argument("--repeat", type=int, default=5)
ap.add_argument("folder", nargs="?", default=str(here.parent.parent / "shared" / "corpus" / "svg" / "real"))
args = ap.parse_args()

files = sorted(Path(args.folder).rglob("*.svg"))
if not files:
    sys.exit("no SVG files under %s" % args.folder)
work = Path(tempfile.mkdtemp(prefix="kivu_svg_bench_"))
env = dict(os.environ, KIVU_HOME=str(work / "home"))
subprocess.run([str(tool), "info", str(files[0])], check=True, env=env, capture_output=True)  # makes the home


def each(command):
    return [command(f, work / ("%d.pdf" % i)) for i, f in enumerate(files)]


def kivu(rules):
    return each(lambda f, out: [str(tool), "convert", "--rules", rules, str(f), "-o", str(out)])


def kivu_batch(rules):
    return [[str(tool), "convert", "-q", "--rules", rules] + [str(f) for f in files] + ["-o", str(work / "all.pdf")]]


tools = {
    "kivuimg": kivu("standard"),
    "kivuimg --rules engine": kivu("engine"),
    "kivuimg (one process)": kivu_batch("standard"),
    "kivuimg --rules engine (one process)": kivu_batch("engine"),
}
if shutil.which("rsvg-convert"):
    tools["rsvg-convert"] = each(lambda f, out: ["rsvg-convert", "-f", "pdf", "-o", str(out), str(f)])
if subprocess.run(["/usr/bin/python3", "-c", "import cairosvg"], capture_output=True).returncode == 0:
    tools["CairoSVG"] = each(lambda f, out: ["/usr/bin/python3", "-m", "cairosvg", str(f), "-o", str(out)])


def best(commands):
    times = []
    for _ in range(args.repeat):
        t = time.perf_counter()
        for c in commands:
            subprocess.run(c, env=env, capture_output=True)
        times.append(time.perf_counter() - t)
    return min(times)


size = sum(f.stat().st_size for f in files)
print("%d SVG files, %.0f KB" % (len(files), size / 1e3))
results = {name: best(commands) for name, commands in tools.items()}
base = results["kivuimg"]
for name, t in results.items():
    print("%-38s %7.3f s   %5.2fx kivuimg" % (name, t, t / base))
print("standard / engine rules: %.2f (separate processes), %.2f (one process)" % (
    base / results["kivuimg --rules engine"],
    results["kivuimg (one process)"] / results["kivuimg --rules engine (one process)"]))
shutil.rmtree(work, ignore_errors=True)
