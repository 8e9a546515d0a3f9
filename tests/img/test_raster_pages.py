"""PNG, GIF and BMP pages: every file converts or falls back, and a converted
page shows the file's pixels.

For each input the test converts it on its own page and checks the PDF with
qpdf.  It then compares three things:

* the image as the PDF describes it (samples through its colour space and
  palette, decoded by qpdf) with Pillow's decoding of the file, or with the
  library's rule where that rule gives other colours than Pillow;
* the colour key or soft mask, separately;
* the page that pdftoppm renders at 96 dpi (one page pixel per image pixel)
  with the expected colours, masked pixels showing the white page.

Images made here with Pillow cover the common layouts; the third-party files
in ../shared/corpus/{png,gif,bmp} cover the rest when that folder exists.
Every corpus file whose handling isn't plain is listed below with its reason.
"""
import base64
import json
import os
import struct
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "tools"))
import kivutest as k

k.need("qpdf", "pdftoppm")
from PIL import Image

TMP = k.tmpdir("kivu_raster_")

# ---------------------------------------------------------------------------
# Corpus files that fall back, with the reason.  The key is the path below the
# corpus folder; the value the message the library raises (a prefix).
FALLBACK = {
    # Broken files of the suite.
    "png/pngsuite/xc1n0g08.png": "PNG: Unknown color type",       # colour type 1
    "png/pngsuite/xc9n2c08.png": "PNG: Unknown color type",       # colour type 9
    "png/pngsuite/xcrn0g04.png": "Unsupported PNG file format",   # CR bytes added to the signature
    "png/pngsuite/xlfn0g04.png": "Unsupported PNG file format",   # LF bytes added to the signature
    "png/pngsuite/xs1n0g01.png": "Unsupported PNG file format",   # signature byte 1 wrong
    "png/pngsuite/xs2n0g01.png": "Unsupported PNG file format",   # signature byte 2 wrong
    "png/pngsuite/xs4n0g01.png": "Unsupported PNG file format",   # signature byte 4 wrong
    "png/pngsuite/xs7n0g01.png": "Unsupported PNG file format",   # signature byte 7 wrong
    "png/pngsuite/xd9n2c08.png": "PNG: 16-bit depth not supported",  # depth 99
    "png/pngsuite/xd0n2c08.png": "PNG: Invalid bit depth 0",
    "png/pngsuite/xd3n2c08.png": "PNG: Invalid bit depth 3",
    # GIF: no frame loads, or an LZW stream that is broken or ends early.
    "gif/image-gif/issue-96-small-codesize.gif": "GIF: Invalid GIF image",      # no frame loads
    "gif/pillow/zero_width.gif": "GIF: Invalid GIF image",                      # frame width 0
    "gif/wuffs/artificial-gif/zero-width-frame.gif": "GIF: Invalid GIF image",  # frame width 0
    "gif/wuffs/artificial-gif/no-frames.gif": "GIF: Invalid GIF image",         # trailer only
    "gif/image-gif/issue-117-out-of-range.gif": "This suck!",                   # LZW codes out of range
    "gif/pillow/decompression_bomb.gif": "This suck!",                          # stream ends without end code
    "gif/wuffs/hippopotamus.interlaced.truncated.gif": "This suck!",            # file cut inside the stream
    "gif/wuffs/artificial-gif/pixel-data-none.gif": "This suck!",               # no LZW data at all
    "gif/image-gif/issue-96-small-codesize-2.gif": "This suck!",                # 26 bytes for 64311 x 56 pixels
    # BMP: depths and compressions that aren't read, hostile sizes, other headers.
    "bmp/b/badbitcount.bmp": "Error parsing BMP image - Unsupported biBitCount",   # 30000 bits
    "bmp/q/pal2.bmp": "Error parsing BMP image - Unsupported biBitCount",          # 2 bits
    "bmp/q/pal2color.bmp": "Error parsing BMP image - Unsupported biBitCount",     # 2 bits
    "bmp/q/rgba64.bmp": "Error parsing BMP image - Unsupported biBitCount",        # 64 bits
    "bmp/b/badwidth.bmp": "Image of 4294967169 x 64 pixels exceeds the limit",     # negative width
    "bmp/b/reallybig.bmp": "Image of 3000000 x 2000000 pixels exceeds the limit",  # 6e12 pixels
    "bmp/q/rgb24jpeg.bmp": "JPeg compressed BMP image is not yet supported!",
    "bmp/q/rgb24rle24.bmp": "JPeg compressed BMP image is not yet supported!",     # OS/2 RLE24 is value 4
    "bmp/q/rgb24png.bmp": "PNG compressed BMP image is not yet supported!",
    "bmp/q/rgba32abf.bmp": "Unsupported biCompression mode: 6",                    # BI_ALPHABITFIELDS
    # The 12-byte OS/2 header: the 40-byte layout reads pixel bytes as biCompression.
    "bmp/g/pal8os2.bmp": "Unsupported biCompression mode: 13056",
    "bmp/q/pal8os2-hs.bmp": "Unsupported biCompression mode: 13056",
    "bmp/q/pal8os2-sz.bmp": "Unsupported biCompression mode: 13056",
    "bmp/q/pal8os2sp.bmp": "Unsupported biCompression mode: 13056",
    "bmp/x/ba-bm.bmp": "Unsupported biCompression mode: 8323072",                  # OS/2 bitmap array
}
# Under the engine's rules (--rules engine) interlaced and 16-bit PNGs fall
# back; under the standard rules, the tool's default, they convert.
ENGINE_REFUSES = {"interlaced": "PNG: Interlacing not supported", 16: "PNG: 16-bit depth not supported"}

# Files that convert although they are broken: what the page shows instead.
BROKEN_BUT_CONVERTS = {
    # CRCs are not checked: these render like their good twins.
    "png/pngsuite/xcsn0g01.png": "IDAT CRC wrong, not checked",
    "png/pngsuite/xhdn0g08.png": "IHDR CRC wrong, not checked",
    # No IDAT: an empty stream.
    "png/pngsuite/xdtn0g01.png": "no IDAT chunk: the image has no data; Pillow refuses it",
}


# GIF frames as a browser shows them, where Pillow shows something else: a
# page pixel may be white (transparent) where Pillow's frame has a colour.
FRAME_RULES = {
    **{"gif/wuffs/artificial-gif/%s.gif" % n: "the screen starts transparent; Pillow: colour 0 or the background"
       for n in ["background-color", "frame-out-of-bounds", "metadata-empty", "metadata-full",
                 "multiple-loop-counts", "small-frame-interlaced"]},
    "gif/pillow/dispose_bgnd.gif": "disposal 2 clears to transparent; Pillow: to the background colour",
    "gif/pillow/test_extents_transparency.gif": "a byte that begins no block ends the frames; Pillow reads on",
    "gif/pillow/background_outside_palette.gif": "Pillow can't compose frame 1",
}

# Files that convert but that Pillow can't decode, so there is nothing to
# compare the page with; the PDF is still checked.
NO_REFERENCE = {
    # An end code before the frame is full; the rest of the frame is 0, Pillow raises.
    "gif/wuffs/artificial-gif/pixel-data-not-enough.gif": "Pillow: truncated",
}

# BMP files whose colours follow a rule of the library rather than Pillow
# (bmp_test.cpp checks those rules byte for byte): 16-bit pixels are 5-5-5
# whatever the bit fields say; 32-bit pixels are blue, green, red, unused; the
# colour table is read from offset 54 up to the pixels, so a longer header
# lands in it; RLE deltas don't move the output.  Here they must convert into
# a sound PDF.  "twin": Pillow's RLE4 reading of this file is off; the
# uncompressed twin g/pal4.bmp is the reference.
BMP_RULES = {
    **{"bmp/" + n: "555" for n in [
        "g/rgb16.bmp", "g/rgb16bfdef.bmp", "g/rgb16-565.bmp", "g/rgb16-565pal.bmp", "q/rgb16faketrns.bmp",
        "q/rgba16-5551.bmp", "q/rgb16-231.bmp", "q/rgb16-3103.bmp", "q/rgba16-1924.bmp", "q/rgba16-4444.bmp",
        "b/rgb16-880.bmp"]},
    **{"bmp/" + n: "bgr" for n in [
        "g/rgb32bf.bmp", "q/rgb32-111110.bmp", "q/rgb32-7187.bmp", "q/rgba32-1010102.bmp", "q/rgba32-2.bmp",
        "q/rgba32-61754.bmp", "q/rgba32-81284.bmp", "q/rgb32-xbgr.bmp", "q/rgb32h52.bmp", "q/rgba32h56.bmp"]},
    **{"bmp/" + n: "table" for n in [
        "g/pal8v4.bmp", "g/pal8v5.bmp", "q/pal8os2v2.bmp", "q/pal8os2v2-sz.bmp", "q/pal8os2v2-16.bmp",
        "b/badheadersize.bmp", "b/pal8badindex.bmp", "b/badpalettesize.bmp", "q/pal8oversizepal.bmp",
        "q/pal1huffmsb.bmp", "b/shortfile.bmp"]},
    **{"bmp/" + n: "rle" for n in [
        "b/badrle.bmp", "b/badrle4.bmp", "b/badrle4bis.bmp", "b/badrle4ter.bmp", "b/badrlebis.bmp",
        "b/badrleter.bmp", "q/pal4rlecut.bmp", "q/pal4rletrns.bmp", "q/pal8rlecut.bmp", "q/pal8rletrns.bmp"]},
    "bmp/g/pal4rle.bmp": "twin",
}


def rel(path):
    return os.path.relpath(path, k.CORPUS) if path.startswith(k.CORPUS) else os.path.basename(path)


# ---------------------------------------------------------------------------
# Reading the PDF back


def pdf_objects(pdf):
    """Object number -> (dictionary, decoded stream bytes or None)."""
    r = subprocess.run(["qpdf", "--json=2", "--json-key=qpdf", "--json-stream-data=inline",
                        "--decode-level=generalized", pdf], capture_output=True)
    doc = json.loads(r.stdout.decode())
    out = {}
    for key, val in doc["qpdf"][1].items():
        if not key.startswith("obj:"):
            continue
        num = int(key.split(":")[1].split()[0])
        if "stream" in val:
            s = val["stream"]
            data = base64.b64decode(s["data"]) if "data" in s else None
            out[num] = (s["dict"], data)
        else:
            out[num] = (val.get("value"), None)
    return out


def ref(v):
    return int(v.split()[0])


def page_image(objs):
    """The dictionary and data of the image the page draws, by number."""
    for num, (d, _) in objs.items():
        if isinstance(d, dict) and d.get("/Type") == "/Page":
            xo = d["/Resources"]["/XObject"]
            return ref(list(xo.values())[0])
    raise AssertionError("no page")


def unpack(data, bpc, count):
    """`count` samples of `bpc` bits each, rows already cut by the caller."""
    if bpc == 8:
        return list(data[:count])
    if bpc == 16:
        return [data[2 * i] << 8 | data[2 * i + 1] for i in range(count)]
    out = []
    per = 8 // bpc
    mask = (1 << bpc) - 1
    for byte in data:
        for i in range(per):
            out.append((byte >> (8 - bpc * (i + 1))) & mask)
    return out[:count]


def pdf_pixels(objs, num):
    """(width, height, [rgb tuples], key-masked [bools] or None, alpha [ints] or None, [samples]);
    16-bit colour and alpha as their high bytes, the samples as they stand."""
    d, data = objs[num]
    w, h, bpc = d["/Width"], d["/Height"], d["/BitsPerComponent"]
    cs = d["/ColorSpace"]
    if isinstance(cs, list):
        assert cs[0] == "/Indexed" and cs[1] == "/DeviceRGB", cs
        hival = cs[2]
        pal = objs[ref(cs[3])][1]
        comps = 1
    else:
        comps = {"/DeviceGray": 1, "/DeviceRGB": 3}[cs]
    row_bytes = (w * comps * bpc + 7) // 8
    data = data or b""
    samples = []
    for y in range(h):
        row = data[y * row_bytes:(y + 1) * row_bytes]
        row = row + bytes(row_bytes - len(row))
        samples.extend(unpack(row, bpc, w * comps))
    pixels = []
    raw = []
    for i in range(w * h):
        s = tuple(samples[i * comps:(i + 1) * comps])
        raw.append(s)
        if isinstance(cs, list):
            idx = min(s[0], hival)
            pixels.append(tuple(pal[3 * idx:3 * idx + 3]))
        elif bpc == 16:
            pixels.append(tuple(v >> 8 for v in s) * (3 if comps == 1 else 1))
        elif comps == 1:
            v = s[0] * 255 // ((1 << bpc) - 1)
            pixels.append((v, v, v))
        else:
            pixels.append(s)
    keyed = None
    if "/Mask" in d:
        m = d["/Mask"]
        pairs = [(m[2 * i], m[2 * i + 1]) for i in range(len(m) // 2)]
        keyed = [all(lo <= c <= hi for c, (lo, hi) in zip(s, pairs)) for s in raw]
    alpha = None
    if "/SMask" in d:
        md, mdata = objs[ref(d["/SMask"])]
        assert (md["/Width"], md["/Height"], md["/ColorSpace"], md["/BitsPerComponent"]) == (w, h, "/DeviceGray", bpc)
        step = bpc // 8
        alpha = list((mdata or b"") + bytes(w * h * step))[:w * h * step:step]
    return w, h, pixels, keyed, alpha, raw


# ---------------------------------------------------------------------------
# Rendering

# Splash (pdftoppm) interpolates an image that it draws at less than four
# times its size, which blurs a page at 96 dpi by a fraction of a pixel.  The
# page is rendered at 4 x 96 dpi (more when the image is drawn smaller than
# its pixel size) and each image pixel is read at the centre of its block:
# one sample per image pixel, none interpolated.


def render(pdf, page_w, page_h, w, h):
    """The image's w x h pixels as drawn over a page of page_w x page_h pixels at 96 dpi."""
    scale = 4 * max(1, -(-w // max(page_w, 1)), -(-h // max(page_h, 1)))
    page = k.render(pdf, dpi=96 * scale)
    pw, ph = page.size
    if abs(pw - page_w * scale) > 1 or abs(ph - page_h * scale) > 1:
        return None
    px = page.load()
    return [px[int((x + 0.5) * pw / w), int((y + 0.5) * ph / h)] for y in range(h) for x in range(w)]


# ---------------------------------------------------------------------------
# Checking one file

results = {"converted": 0, "fell back": 0, "rule": 0}
failures = []


def fail(path, msg):
    failures.append("%s: %s" % (rel(path), msg))


def first_diff(a, b, w):
    for i, (x, y) in enumerate(zip(a, b)):
        if x != y:
            return "first difference at (%d, %d): %s vs %s" % (i % w, i // w, x, y)
    return "lengths %d vs %d" % (len(a), len(b))


def convert(path, rules):
    name = os.path.basename(path)
    pdf = os.path.join(TMP, "%s.%s.pdf" % (name, rules))
    r = k.run(["convert", "--rules", rules, "--dpi", "96", "--first-frame-only", path, "-o", pdf])
    fell = b"falls back" in r.stderr
    return pdf, fell, r.stderr.decode()


def check(path, expect_ext, expected=None, rule=None, fallback=None, rules="standard"):
    """expected: function() -> (w, h, [rgb], masked [bool] or None, alpha or None), the colours by
    Pillow or by a named rule; fallback: the message prefix when the file must fall back.
    Answers the samples of the image the page draws, or None."""
    pdf, fell, err = convert(path, rules)
    k.qpdf_check(pdf)
    info = json.loads(k.run(["info", "--rules", rules, path]).stdout.decode().splitlines()[0])
    if fallback:
        results["fell back"] += 1
        if not fell or info["ext"] != "JPG":
            fail(path, "should fall back (%s) but converted" % fallback)
        return
    if fell:
        fail(path, "fell back: " + err.strip())
        return
    if info["ext"] != expect_ext:
        fail(path, "ext %s" % info["ext"])
    results["converted"] += 1
    if rule:
        results["rule"] += 1
    if expected is None:
        # A broken file that converts: the page exists and the PDF is sound.
        return
    objs = pdf_objects(pdf)
    num = page_image(objs)
    w, h, got, keyed, alpha, samples = pdf_pixels(objs, num)
    deep = objs[num][0]["/BitsPerComponent"] == 16
    if deep and (info["minPDFVer"] != 1.5 or not open(pdf, "rb").read(8) == b"%PDF-1.5"):
        fail(path, "16 bits need PDF 1.5: minPDFVer %s" % info["minPDFVer"])
    size = gif_parse(path)[4] if expect_ext == "GIF" else (w, h)
    if (info["width"], info["height"]) != size:
        fail(path, "info size %sx%s, expected %sx%s" % (info["width"], info["height"], size[0], size[1]))
    if info["hasMask"] != (alpha is not None):
        fail(path, "info hasMask %s" % info["hasMask"])
    if info["isIndexed"] != isinstance(objs[num][0]["/ColorSpace"], list):
        fail(path, "info isIndexed %s" % info["isIndexed"])
    try:
        ew, eh, want, want_keyed, want_alpha = expected()
    except Exception as e:
        if rel(path) in NO_REFERENCE:
            results["no reference"] = results.get("no reference", 0) + 1
        else:
            fail(path, "no reference decoding: %s: %s" % (type(e).__name__, e))
        return
    if (ew, eh) != (w, h):
        fail(path, "size %dx%d, expected %dx%d" % (w, h, ew, eh))
        return
    # The colour samples, masked or not.
    if got != want:
        fail(path, "colours differ%s: %s" % (" (rule: %s)" % rule if rule else "", first_diff(got, want, w)))
    # The mask, separately.
    if (keyed or None) != (want_keyed or None) and not (keyed is None and not any(want_keyed or [])):
        fail(path, "colour key masks other pixels: %s" % first_diff(keyed or [], want_keyed or [], w))
    if alpha != want_alpha:
        fail(path, "soft mask differs: %s" % first_diff(alpha or [], want_alpha or [], w))
    if deep and Image.open(path).mode == "I" and samples != [(v,) for v in Image.open(path).getdata()]:
        fail(path, "16-bit gray samples differ from Pillow's")
    # The rendered page.
    # The page has the image's size; a GIF frame is drawn over the logical screen.
    page = render(pdf, info["width"], info["height"], w, h)
    if page is None:
        fail(path, "page size differs from the image")
        return
    exact = True
    for i in range(w * h):
        c = want[i]
        if want_keyed and want_keyed[i]:
            c = (255, 255, 255)
        if want_alpha is not None:
            a = want_alpha[i]
            c = tuple((v * a + 255 * (255 - a) + 127) // 255 for v in c)
            if max(abs(x - y) for x, y in zip(page[i], c)) > 2:
                exact = False
        elif page[i] != c and not (deep and max(abs(x - y) for x, y in zip(page[i], c)) <= 1):
            exact = False
        if not exact:
            fail(path, "page pixel (%d, %d) is %s, expected %s" % (i % w, i // w, page[i], c))
            break
    return samples


# ---------------------------------------------------------------------------
# Expected colours


def pillow_rgb(im):
    return list(im.convert("RGB").getdata())


def png_expected(path):
    def f():
        im = Image.open(path)
        im.load()
        w, h = im.size
        keyed = alpha = None
        if im.mode in ("RGBA", "LA"):
            alpha = list(im.getchannel("A").getdata())
            colour = im.convert("RGB") if im.mode == "RGBA" else im.getchannel("L").convert("RGB")
            return w, h, list(colour.getdata()), None, alpha
        # Pillow reads 16-bit gray as such, 16-bit colour as its high bytes.
        rgb = [(v >> 8,) * 3 for v in im.getdata()] if im.mode == "I" else pillow_rgb(im)
        trns = png_chunk(path, b"tRNS")
        if trns is not None:
            ctype, depth = png_header(path)
            if ctype == 3:
                # Rule: an indexed PNG keys out index 0, whatever tRNS holds.
                keyed = [i == 0 for i in im.getdata()]
            elif depth == 16:
                # 16-bit keys: gray exactly, colour by the high bytes Pillow gives.
                key = struct.unpack(">%dH" % (len(trns) // 2), trns)
                keyed = ([v == key[0] for v in im.getdata()] if ctype == 0
                         else [c == tuple(v >> 8 for v in key) for c in rgb])
            elif ctype == 0:
                # Rule: the low byte of the 16-bit gray value.
                v = trns[1] * 255 // ((1 << depth) - 1)
                keyed = [c[0] == v for c in rgb]
            elif ctype == 2:
                key = (trns[1], trns[3], trns[5])
                keyed = [c == key for c in rgb]
        return w, h, rgb, keyed, alpha
    return f


def png_chunks(path):
    data = open(path, "rb").read()
    at = 8
    while at + 8 <= len(data):
        n, t = struct.unpack(">I4s", data[at:at + 8])
        yield t, data[at + 8:at + 8 + n]
        at += 12 + n


def png_chunk(path, kind):
    for t, body in png_chunks(path):
        if t == kind:
            return body
    return None


def png_header(path):
    h = png_chunk(path, b"IHDR")
    return h[9], h[8]


def gif_parse(path):
    """Global table, the first frame's extents, local table and transparent index, the screen size."""
    d = open(path, "rb").read()
    screen = struct.unpack("<HH", d[6:10])
    packed = d[10]
    at = 13
    glob = None
    if packed & 0x80:
        n = 2 << (packed & 7)
        glob = d[at:at + 3 * n]
        at += 3 * n
    trans = None
    while at < len(d):
        b = d[at]
        at += 1
        if b == 0x21:
            label = d[at]
            at += 1
            if label == 0xF9 and d[at + 1] & 1:
                trans = d[at + 4]
            while at < len(d) and d[at]:
                at += d[at] + 1
            at += 1
        elif b == 0x2C:
            x, y, w, h, p = struct.unpack("<HHHHB", d[at:at + 9])
            local = None
            if p & 0x80:
                n = 2 << (p & 7)
                local = d[at + 9:at + 9 + 3 * n]
            return glob, (x, y, w, h), local, trans, screen
        else:
            break
    return glob, None, None, trans, screen


def gif_expected(path):
    def f():
        glob, (x, y, w, h), local, trans, _ = gif_parse(path)
        im = Image.open(path)
        im.load()
        # Pillow draws the first frame on the logical screen: cut it out again.
        frame = im.crop((x, y, x + w, y + h)) if im.size != (w, h) else im
        idx = list(frame.getdata())
        if glob is None and local is None:
            # No colour table: the indices go out as gray levels.
            return w, h, [(v, v, v) for v in idx], None, None
        # Rule: the global palette wins over a local one (Pillow takes the
        # local one), and the viewer shows an index past the table as its
        # last entry.
        pal = glob if glob is not None else local
        hival = len(pal) // 3 - 1
        rgb = [tuple(pal[3 * min(i, hival):3 * min(i, hival) + 3]) for i in idx]
        keyed = [i == trans for i in idx] if trans is not None else None
        return w, h, rgb, keyed, None
    return f


def gif_rule(path):
    glob, _, local, _, _ = gif_parse(path)
    return "global palette wins" if glob is not None and local is not None else None


def bmp_expected(path, rule=None):
    def f():
        im = Image.open(os.path.join(os.path.dirname(path), "pal4.bmp") if rule == "twin" else path)
        return im.size[0], im.size[1], pillow_rgb(im), None, None
    return f


# ---------------------------------------------------------------------------
# Images made here

made = os.path.join(TMP, "made")
os.makedirs(made)


def gradient(mode, size=(37, 23)):
    w, h = size
    im = Image.new("RGBA", size)
    im.putdata([((x * 7) % 256, (y * 11) % 256, (x * y) % 256, (x * 13 + y * 3) % 256)
                for y in range(h) for x in range(w)])
    return im.convert(mode) if mode != "RGBA" else im


def save(im, name, **kw):
    p = os.path.join(made, name)
    im.save(p, **kw)
    return p


own = []
for mode in ["L", "RGB", "RGBA", "LA", "P", "1"]:
    own.append((save(gradient(mode), "grad-%s.png" % mode), "PNG", None))
own.append((save(gradient("L"), "key-gray.png", transparency=77), "PNG", None))
own.append((save(gradient("RGB"), "key-rgb.png", transparency=(14, 22, 0)), "PNG", None))
own.append((save(gradient("L").point(lambda v: v * 257, "I"), "grad-16.png"), "PNG", None))
own.append((save(gradient("P"), "grad.gif"), "GIF", None))
own.append((save(gradient("P"), "grad-interlaced.gif", interlace=True), "GIF", None))
own.append((save(gradient("P"), "grad-trans.gif", transparency=3), "GIF", None))
own.append((save(gradient("L"), "grad-gray.gif"), "GIF", None))
for mode in ["1", "P", "L", "RGB", "RGBA"]:
    own.append((save(gradient(mode), "grad-%s.bmp" % mode), "BMP", None))

for path, ext, rule in own:
    exp = {"PNG": png_expected, "GIF": gif_expected, "BMP": bmp_expected}[ext](path)
    check(path, ext, exp)
print("made here: %d images" % len(own))


def check_frames(path, rule=None):
    """Every frame on a page of its own (tests/img/hosts/gif_frames.cpp) against Pillow's frame on white."""
    prefix = os.path.join(TMP, "frame-" + os.path.basename(path))
    r = subprocess.run([os.path.join(k.BINARY, "kivu_gif_frames"), path, prefix], capture_output=True, text=True)
    im = Image.open(path)
    if r.returncode != 0 or (int(r.stdout) != im.n_frames and not rule):
        return fail(path, "frames: %s, Pillow: %d" % (r.stdout.strip(), im.n_frames))
    for i in range(int(r.stdout)):
        pdf = "%s-%d.pdf" % (prefix, i)
        k.qpdf_check(pdf)
        try:
            im.seek(i)
            want = im.convert("RGBA")
        except Exception:
            return
        w, h = want.size
        page = render(pdf, w, h, w, h)
        if page is None:
            return fail(path, "frame %d: page size differs from Pillow's %dx%d" % (i, w, h))
        for j, (c, p) in enumerate(zip(want.getdata(), page)):
            if p != (c[:3] if c[3] else (255, 255, 255)) and not (rule and p == (255, 255, 255)):
                return fail(path, "frame %d pixel (%d, %d) is %s, Pillow %s" % (i, j % w, j // w, p, c))


# ---------------------------------------------------------------------------
# Third-party files



def corpus_files(kind, ext):
    base = os.path.join(k.CORPUS, kind)
    for root, _, names in sorted(os.walk(base)):
        for n in sorted(names):
            if n.lower().endswith(ext):
                yield os.path.join(root, n)


if not os.path.isdir(k.CORPUS):
    if failures:
        print("\n".join(failures))
        sys.exit(1)
    k.skip("corpus folder %s not found: only the %d images made here were checked" % (k.CORPUS, len(own)))

twins = {}
for path in corpus_files("png", ".png"):
    r = rel(path)
    if r in FALLBACK:
        check(path, "PNG", fallback=FALLBACK[r])
    elif r in BROKEN_BUT_CONVERTS:
        check(path, "PNG")
    else:
        twins[r] = check(path, "PNG", png_expected(path))
        header = png_chunk(path, b"IHDR")
        refused = ENGINE_REFUSES.get("interlaced" if header[12] else header[8])
        if refused:
            check(path, "PNG", fallback=refused, rules="engine")
# PngSuite's interlaced files have twins that aren't: the same samples, all 16 bits of them.
for r, samples in twins.items():
    twin = r.replace("/basi", "/basn")
    if twin != r and "/basi" in r and twins.get(twin) != samples:
        fail(r, "samples differ from those of %s" % twin)

for path in corpus_files("gif", ".gif"):
    r = rel(path)
    if r in FALLBACK:
        check(path, "GIF", fallback=FALLBACK[r])
    elif r in BROKEN_BUT_CONVERTS:
        check(path, "GIF")
    else:
        check(path, "GIF", gif_expected(path), rule=gif_rule(path))
        if r not in NO_REFERENCE:
            check_frames(path, FRAME_RULES.get(r))

for path in corpus_files("bmp", ".bmp"):
    r = rel(path)
    if r in FALLBACK:
        check(path, "BMP", fallback=FALLBACK[r])
    elif r in BROKEN_BUT_CONVERTS or BMP_RULES.get(r, "twin") != "twin":
        check(path, "BMP", rule=BMP_RULES.get(r))
    else:
        check(path, "BMP", bmp_expected(path, BMP_RULES.get(r)), rule=BMP_RULES.get(r))

if failures:
    print("\n".join(failures))
    sys.exit(1)
print(results)
