#!/usr/bin/python3
"""Whole-process conversion of a batch of large JPEGs against a plain copy of
the same bytes (cat FILES > /dev/null).  Prints both times and their ratio.

usage: bench/convert_batch.py [--count N] [--size WxH] [--repeat R]
"""
import argparse
import os
import shutil
import subprocess
import tempfile
import time

here = os.path.dirname(os.path.abspath(__file__))
tool = os.path.join(here, "..", "build", "kivuimg")

ap = argparse.ArgumentParser()
ap.add_argument("--count", type=int, default=12)
ap.add_argument("--size", default="4000x3000")
ap.add_argument("--repeat", type=int, default=5)
args = ap.parse_args()
w, h = (int(v) for v in args.size.split("x"))

work = tempfile.mkdtemp(prefix="kivu_batch_")
try:
    from PIL import Image
    base = Image.effect_noise((w, h), 40).convert("RGB")
    files = []
    for i in range(args.count):
        p = os.path.join(work, "photo%02d.jpg" % i)
        base.rotate(i * 3).save(p, quality=90)
        files.append(p)
    total = sum(os.path.getsize(f) for f in files)
    env = dict(os.environ, KIVU_HOME=os.path.join(work, "home"))
    out = os.path.join(work, "batch.pdf")

    def best(cmd, **kw):
        times = []
        for _ in range(args.repeat):
            t = time.perf_counter()
            subprocess.run(cmd, check=True, env=env, **kw)
            times.append(time.perf_counter() - t)
        return min(times)

    subprocess.run([tool, "info", files[0]], check=True, env=env, capture_output=True)  # creates the home
    t_cat = best(["sh", "-c", "cat \"$@\" > /dev/null", "cat"] + files)
    t_kivu = best([tool, "convert"] + files + ["-o", out])
    print("%d JPEGs, %.1f MB" % (len(files), total / 1e6))
    print("cat:     %.3f s  (%.0f MB/s)" % (t_cat, total / 1e6 / t_cat))
    print("kivuimg: %.3f s  (%.0f MB/s)" % (t_kivu, total / 1e6 / t_kivu))
    print("ratio:   %.2f" % (t_kivu / t_cat))
finally:
    shutil.rmtree(work, True)
