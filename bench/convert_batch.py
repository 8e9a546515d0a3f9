#!/usr/bin/python3
"""Whole-process batch conversion against two yardsticks: a plain copy of the
same files (cat FILES > out.pdf) and Debian's img2pdf.

Makes five sets of photo-like images with Pillow (smooth colour fields plus
fine noise, JPEG quality 90), converts each set with `kivuimg convert`, `cat`
and `img2pdf`, and prints the median wall time of each, the CPU time of
kivuimg and img2pdf (user + system: what a busy machine changes least), peak
memory (maximum resident set size, from /usr/bin/time) and the ratios.  A batch of 200 files
(hard links over a set) shows that peak memory does not grow with the batch.
Last, each set's peak against its largest image, file plus decoded samples
(MiB): above the peak of the process converting one small JPEG, and plain.

usage: bench/convert_batch.py [--sets DIR] [--repeat R] [--only NAME,...]
                              [--big NAME,...] [--tool PATH]

The sets are kept in DIR (default /tmp/kivu_bench_sets) and made again only
when missing.  img2pdf is optional: without it its columns stay empty.
"""
import argparse
import os
import shutil
import statistics
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))

# name, file count, width, height, Pillow mode, file extension, decoded by kivuimg
SETS = [
    ("jpeg", 24, 4000, 3000, "RGB", "jpg", False),
    ("png-rgb", 16, 2000, 1500, "RGB", "png", False),
    ("png-rgba", 16, 2000, 1500, "RGBA", "png", True),
    ("gif", 16, 1500, 1000, "P", "gif", True),
    ("bmp24", 16, 2000, 1500, "RGB", "bmp", True),
]
BIG_COUNT = 200


def photo(w, h, index, mode):
    """Smooth colour fields (a few random colours blown up) plus fine noise."""
    import random
    from PIL import Image, ImageChops
    rnd = random.Random(index)
    bands = 4 if mode == "RGBA" else 3
    small = Image.new("RGBA" if bands == 4 else "RGB", (6, 5))
    small.putdata([tuple(rnd.randrange(256) for _ in range(bands)) for _ in range(30)])
    smooth = small.resize((w, h), Image.BICUBIC)
    noise = Image.merge(smooth.mode, [Image.effect_noise((w, h), 6) for _ in range(bands)])
    # (smooth + noise) - 128: the noise is centred on 128.
    return ImageChops.add(smooth, noise, 1.0, -128)


def make_set(folder, name, count, w, h, mode, ext):
    os.makedirs(folder, exist_ok=True)
    files = [os.path.join(folder, "%s-%03d.%s" % (name, i, ext)) for i in range(count)]
    for i, path in enumerate(files):
        if os.path.exists(path):
            continue
        im = photo(w, h, i, mode)
        tmp = path + ".part"
        if ext == "jpg":
            im.save(tmp, "JPEG", quality=90)
        elif ext == "png":
            im.save(tmp, "PNG")
        elif ext == "gif":
            im.quantize(256).save(tmp, "GIF")
        else:
            im.save(tmp, "BMP")
        os.rename(tmp, path)
    return files


def big_batch(folder, files):
    """BIG_COUNT names, hard links cycling over the set's files."""
    os.makedirs(folder, exist_ok=True)
    out = []
    for i in range(BIG_COUNT):
        src = files[i % len(files)]
        path = os.path.join(folder, "big-%03d%s" % (i, os.path.splitext(src)[1]))
        if not os.path.exists(path):
            os.link(src, path)
        out.append(path)
    return out


def measure(cmd, env, repeat):
    """Median wall time, median CPU time (user + system) and the largest peak
    RSS in MB over `repeat` runs."""
    walls, cpus, peaks = [], [], []
    for _ in range(repeat):
        # Earlier outputs still being written back would slow this run down.
        subprocess.run(["sync"])
        r = subprocess.run(["/usr/bin/time", "-f", "%e %U %S %M"] + cmd, env=env, capture_output=True)
        if r.returncode != 0:
            raise RuntimeError("%s failed: %s" % (cmd[0], r.stderr.decode()[-500:]))
        wall, user, system, kb = r.stderr.decode().strip().splitlines()[-1].split()
        walls.append(float(wall))
        cpus.append(float(user) + float(system))
        peaks.append(int(kb) / 1024)
    return statistics.median(walls), statistics.median(cpus), max(peaks)


def image_bytes(files, mode, w, h, decoded):
    """Largest file, and its decoded samples when the format is decoded."""
    samples = {"RGB": 3, "RGBA": 4, "P": 1}[mode] * w * h if decoded else 0
    return max(os.path.getsize(f) for f in files), samples


def fmt(v, unit):
    return "" if v is None else (unit % v)


def run_set(label, files, tool, env, work, repeat):
    out = os.path.join(work, "out.pdf")
    t_kivu, c_kivu, m_kivu = measure([tool, "convert"] + files + ["-o", out], env, repeat)
    t_cat, _, _ = measure(["sh", "-c", 'cat "$@" > ' + out, "cat"] + files, env, repeat)
    t_i2p = c_i2p = m_i2p = None
    if shutil.which("img2pdf"):
        try:
            t_i2p, c_i2p, m_i2p = measure(["img2pdf", "-o", out] + files, env, repeat)
        except RuntimeError as e:
            print("  img2pdf: %s" % e, file=sys.stderr)
    mb = sum(os.path.getsize(f) for f in files) / 1e6
    row = [label, "%d, %.0f" % (len(files), mb), "%.2f" % t_cat, "%.2f" % t_kivu, "%.2f" % c_kivu,
           fmt(t_i2p, "%.2f"), fmt(c_i2p, "%.2f"), "%.1f" % (t_kivu / max(t_cat, 0.01)),
           fmt(t_i2p and t_i2p / t_kivu, "%.1f"), fmt(c_i2p and c_i2p / max(c_kivu, 0.01), "%.1f"),
           "%.0f" % m_kivu, fmt(m_i2p, "%.0f")]
    print("| " + " | ".join(row) + " |", flush=True)
    return m_kivu


def print_memory(base, sizes):
    """Each set's peak against its largest image (file + decoded samples):
    above the process's own baseline, and plain."""
    print("Process baseline (one small JPEG): %.0f MB peak" % base)
    print()
    print("| set | largest file + decoded MB | kivuimg peak MB (batches) | (peak - baseline) / size | peak / size |")
    print("|---|---|---|---|---|")
    for name, f, d, peaks in sizes:
        size = (f + d) / 2**20
        top = max(peaks)
        print("| %s | %.1f + %.1f = %.1f | %s | %.2f | %.2f |" % (
            name, f / 2**20, d / 2**20, size, " / ".join("%.0f" % p for p in peaks), (top - base) / size,
            top / size))


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--sets", default="/tmp/kivu_bench_sets")
    ap.add_argument("--repeat", type=int, default=3)
    ap.add_argument("--only", default=",".join(s[0] for s in SETS))
    ap.add_argument("--big", default="jpeg,gif")
    ap.add_argument("--tool", default=os.path.join(HERE, "..", "build", "kivuimg"))
    args = ap.parse_args()
    if not os.path.exists("/usr/bin/time"):
        sys.exit("bench: /usr/bin/time is missing (Debian package 'time')")
    if not shutil.which("img2pdf"):
        print("bench: img2pdf is not installed (Debian package 'img2pdf'): its columns stay empty", file=sys.stderr)
    only, big = args.only.split(","), args.big.split(",")
    work = tempfile.mkdtemp(prefix="kivu_batch_")
    env = dict(os.environ, KIVU_HOME=os.path.join(work, "home"))
    try:
        subprocess.run([args.tool, "--help"], check=True, env=env, capture_output=True)
        print("| set | files, MB | cat s | kivuimg s | kivuimg CPU s | img2pdf s | img2pdf CPU s | kivuimg / cat "
              "| img2pdf / kivuimg | same, CPU | kivuimg peak MB | img2pdf peak MB |")
        print("|---|---|---|---|---|---|---|---|---|---|---|---|")
        base = measure([args.tool, "convert", os.path.join(HERE, "..", "tests", "data", "smooth-gray.jpg"),
                        "-o", os.path.join(work, "out.pdf")], env, args.repeat)[2]
        sizes = []
        for name, count, w, h, mode, ext, decoded in SETS:
            if name not in only:
                continue
            files = make_set(os.path.join(args.sets, name), name, count, w, h, mode, ext)
            peaks = [run_set("%s %dx%d" % (name, w, h), files, args.tool, env, work, args.repeat)]
            if name in big:
                many = big_batch(os.path.join(args.sets, name + "-big"), files)
                peaks.append(run_set("%s %dx%d" % (name, w, h), many, args.tool, env, work, args.repeat))
            sizes.append((name,) + image_bytes(files, mode, w, h, decoded) + (peaks,))
        print()
        print_memory(base, sizes)
    finally:
        shutil.rmtree(work, True)


if __name__ == "__main__":
    main()
