"""Tiny files whose headers lie about their size: every format, colour type,
interlaced and progressive.  Each must read (or fall back with its own
message) in well under a second of CPU time and with little memory, however
large the image that its header claims.

Each file runs through `kivuimg info` and `kivuimg convert` as a child
process limited to 1 GiB of address space and 2 s of CPU time; `info` must
stay below 64 MB of peak memory.  On the sanitizer build the address space
isn't limited and memory isn't measured (the sanitizer takes its own), but
the outcome and the time still count.
"""
import io
import json
import os
import re
import resource
import struct
import subprocess
import sys
import tempfile
import zlib

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "tools"))
import kivutest as k

from PIL import Image

TMP = k.tmpdir("kivu_hostile_")
CACHE = os.path.join(k.BINARY, "CMakeCache.txt")
SANITIZED = os.path.exists(CACHE) and "KIVU_SANITIZE:BOOL=ON" in open(CACHE).read()
ADDRESS_LIMIT = 1 << 30
CPU_LIMIT = 2
MAX_CPU_SECONDS = 1.0
MAX_PEAK_MB = 64
READS = None  # the file reads: no fallback

# ---------------------------------------------------------------------------
# The files


def png(color_type, interlace=0, idat=b"", side=16384):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    ihdr = struct.pack(">IIBBBBB", side, side, 8, color_type, 0, 0, interlace)
    plte = chunk(b"PLTE", bytes(6)) if color_type == 3 else b""
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", ihdr) + plte + chunk(b"IDAT", idat) + chunk(b"IEND", b"")


def gif(interlaced, global_table=False, local_table=False, side=16384, lzw=b"\x08\x04\x00\x01\x04\x04\x00"):
    """An image descriptor of side x side whose LZW data is `lzw` (default:
    the 9-bit codes clear, 0 and end: one pixel)."""
    head = b"GIF89a" + struct.pack("<HHBBB", side, side, 0x80 if global_table else 0, 0, 0)
    if global_table:
        head += bytes(6)
    packed = (0x40 if interlaced else 0) | (0x80 if local_table else 0)
    frame = b"," + struct.pack("<HHHHB", 0, 0, side, side, packed) + (bytes(6) if local_table else b"")
    return head + frame + lzw + b";"


def bmp(bits, compression=0, width=16384, height=16384, pixels=b""):
    entries = 2 ** bits if bits <= 8 else 0
    off = 54 + 4 * entries
    return (b"BM" + struct.pack("<IIIIiiHHIIiiII", off + len(pixels), 0, off, 40, width, height, 1, bits,
                                compression, 0, 2835, 2835, 0, 0) + bytes(4 * entries) + pixels)


def jpeg(mode, progressive, side=11000):
    """A small JPEG with its frame header claiming side x side pixels."""
    out = io.BytesIO()
    Image.new(mode, (16, 16), 128 if mode == "L" else (10, 20, 30, 40)[:len(mode)]).save(
        out, "JPEG", progressive=progressive, quality=50)
    data = bytearray(out.getvalue())
    sof = data.find(b"\xff\xc2" if progressive else b"\xff\xc0")
    assert sof > 0
    data[sof + 5:sof + 9] = struct.pack(">HH", side, side)
    return bytes(data)


def wmf(*records):
    head = struct.pack("<HHHIHIH", 1, 9, 0x0300, 0, 0, 0, 0)
    return head + b"".join(records)


def record(function, *words, claim=None):
    return struct.pack("<IH", claim if claim is not None else 3 + len(words), function) + struct.pack(
        "<%dH" % len(words), *words)


TRUNCATED_PNG = "PNG: Image data ends early"
TRUNCATED_BMP = "BMP: Image data ends early"
TRUNCATED_GIF = "This suck!"

CASES = {
    # PNG: colour and gray pass their IDAT bytes through; alpha is inflated.
    "gray.png": (png(0), READS),
    "rgb.png": (png(2), READS),
    "indexed.png": (png(3), READS),
    "gray-alpha.png": (png(4), TRUNCATED_PNG),
    "rgba.png": (png(6), TRUNCATED_PNG),
    "rgba-short-stream.png": (png(6, idat=zlib.compress(bytes(1000))), TRUNCATED_PNG),
    # The standard rules (the tool's default) de-interlace: the passes end early.
    "rgba-interlaced.png": (png(6, interlace=1), TRUNCATED_PNG),
    "gray-interlaced.png": (png(0, interlace=1), TRUNCATED_PNG),
    # GIF: the end code comes before any pixel.
    "plain.gif": (gif(False), TRUNCATED_GIF),
    "interlaced.gif": (gif(True), TRUNCATED_GIF),
    "global-table.gif": (gif(True, global_table=True), TRUNCATED_GIF),
    "local-table.gif": (gif(False, local_table=True), TRUNCATED_GIF),
    "no-data.gif": (gif(True, lzw=b"\x08\x00"), TRUNCATED_GIF),
    # BMP: a header and no pixels, each depth; RLE of nothing but line ends.
    **{"rgb-%d.bmp" % bits: (bmp(bits), TRUNCATED_BMP) for bits in (1, 4, 8, 16, 24, 32)},
    "rle8-line-ends.bmp": (bmp(8, 1, pixels=bytes([5, 1, 0, 0] * 8 + [0, 1])), TRUNCATED_BMP),
    "rle4-line-ends.bmp": (bmp(4, 2, pixels=bytes([5, 0x12, 0, 0] * 8 + [0, 1])), TRUNCATED_BMP),
    "rle8-one-wide-row.bmp": (bmp(8, 1, width=1 << 27, height=1, pixels=bytes([2, 1, 0, 0])), TRUNCATED_BMP),
    # JPEG: only the header is read, whatever the scans would need.
    **{"%s-%s.jpg" % (mode, "progressive" if p else "baseline"): (jpeg(mode, p), READS)
       for mode in ("L", "RGB", "CMYK") for p in (False, True)},
    # WMF: records that claim more than the file holds.
    "huge-record.wmf": (wmf(record(0x020C, 460, 460), record(0x0324, 32767, 1, 2, claim=0xFFFFFFFF)), READS),
    "huge-polypolygon.wmf": (wmf(record(0x0538, 0xFFFF, *([32767] * 20), claim=0xFFFFFFFF)), READS),
}

# ---------------------------------------------------------------------------
# Running one child under the limits


def limits():
    if not SANITIZED:
        resource.setrlimit(resource.RLIMIT_AS, (ADDRESS_LIMIT, ADDRESS_LIMIT))
    resource.setrlimit(resource.RLIMIT_CPU, (CPU_LIMIT, CPU_LIMIT))


def run(args):
    """(exit code, output, CPU seconds, peak memory in MB) of one kivuimg run."""
    env = dict(os.environ, KIVU_HOME=k.HOME)
    with tempfile.TemporaryFile() as out:
        p = subprocess.Popen([k.TOOL] + args, stdout=out, stderr=subprocess.STDOUT, env=env, preexec_fn=limits)
        _, status, usage = os.wait4(p.pid, 0)
        p.returncode = os.waitstatus_to_exitcode(status)
        out.seek(0)
        text = out.read().decode(errors="replace")
    return p.returncode, text, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def main():
    failures = []
    for name, (data, expected) in CASES.items():
        failures += check(name, data, expected)
    if failures:
        print("\n".join(failures))
        sys.exit(1)
    print("ok: %d files" % len(CASES))


def check(name, data, expected):
    """The failures of one file: outcome, CPU time and memory of info, then convert."""
    path = os.path.join(TMP, name)
    with open(path, "wb") as f:
        f.write(data)
    failures = []
    code, text, cpu, peak = run(["info", "-v", path])
    print("%s (%d bytes): %.2f s CPU, %.0f MB" % (name, len(data), cpu, peak))
    result = [json.loads(l) for l in text.splitlines() if l.startswith("{")]
    if code != 0 or len(result) != 1:
        return ["%s: info ended with %d\n%s" % (name, code, text[-2000:])]
    if expected is READS and result[0]["name"] != path:
        failures.append("%s: should read, got %s\n%s" % (name, result[0]["name"], text[-2000:]))
    elif expected is not READS:
        said = re.search(re.escape(path) + r" -> (.*)", text)
        if result[0]["name"] != "exception-image.jpg" or not said or not said.group(1).startswith(expected):
            failures.append("%s: should fall back with '%s'\n%s" % (name, expected, text[-2000:]))
    if cpu > MAX_CPU_SECONDS:
        failures.append("%s: %.2f s of CPU time" % (name, cpu))
    if not SANITIZED and peak > MAX_PEAK_MB:
        failures.append("%s: peak memory %.0f MB" % (name, peak))
    # A file that can't be read is refused, named with the reason, and nothing is written.
    code, text, cpu, _ = run(["convert", path, "-o", path + ".pdf"])
    refused = code == 1 and text.startswith("kivuimg: %s: " % path) and not os.path.exists(path + ".pdf")
    if (code != 0 if expected is READS else not refused) or cpu > MAX_CPU_SECONDS:
        failures.append("%s: convert ended with %d after %.2f s of CPU time\n%s" % (name, code, cpu, text[-2000:]))
    return failures


# The fuzz targets take these files as corpus inputs: importing builds no process.
if __name__ == "__main__":
    main()
