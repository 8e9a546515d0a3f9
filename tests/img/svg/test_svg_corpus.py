#!/usr/bin/python3
"""Every SVG of the third-party corpus converts or falls back.

Each file goes through `kivuimg convert` on its own (so that a sanitizer
report names it), and each PDF must pass `qpdf --check`.  On the sanitizer
build this is the sweep that proves no file of the corpus makes the library
read out of bounds, leak or overflow.  Exit code 77 (skipped) when the
corpus is missing.
"""

import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tools"))
import kivutest as kt  # noqa: E402

SVG = Path(kt.CORPUS) / "svg"


def convert(path, scratch):
    pdf = os.path.join(scratch, path.stem + "-" + str(abs(hash(str(path)))) + ".pdf")
    r = kt.run(["convert", str(path), "-o", pdf], check=False)
    problems = []
    if r.returncode != 0:
        problems.append("%s: kivuimg exit %d: %s" % (path, r.returncode, r.stderr.decode(errors="replace")[-2000:]))
    else:
        q = subprocess.run(["qpdf", "--check", pdf], capture_output=True)
        if q.returncode != 0:
            problems.append("%s: qpdf --check: %s" % (path, q.stdout.decode(errors="replace")[-500:]))
        os.remove(pdf)
    fell = b"falls back" in r.stderr
    return problems, fell


def main():
    if not SVG.is_dir():
        kt.skip("the SVG corpus is not at %s" % SVG)
    kt.need("qpdf")
    files = sorted(SVG.rglob("*.svg"))
    scratch = kt.tmpdir("kivu_svg_corpus_")
    with ThreadPoolExecutor(max_workers=os.cpu_count() or 2) as pool:
        results = list(pool.map(lambda f: convert(f, scratch), files))
    problems = [p for ps, _ in results for p in ps]
    fell = sum(1 for _, f in results if f)
    print("%d SVG files: %d converted, %d fell back, %d problems" % (len(files), len(files) - fell, fell, len(problems)))
    if problems:
        raise AssertionError("\n".join(problems))


if __name__ == "__main__":
    main()
