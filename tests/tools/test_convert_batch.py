"""A batch of every format converts to the objects it always gave: each
object's dictionary (its /Length aside) and each stream's decompressed data
against digests taken before pages were streamed to the file and the
deflater changed.  Also: the file is sound, and one input given
twice gives the same objects twice."""
import hashlib
import os
import sys

sys.path.insert(0, os.path.dirname(__file__))
import kivutest as k

k.need("qpdf")

tmp = k.tmpdir("kivu_batch_")
made = []
for name, kind, bands in [("photo.bmp", "bmp", 3), ("photo.png", 2, 3), ("photo-alpha.png", 6, 4)]:
    path = os.path.join(tmp, name)
    rows = k.photo_rows(640, 480, bands, len(made))
    if kind == "bmp":
        k.write_bmp24(path, 640, 480, rows)
    else:
        k.write_png(path, 640, 480, kind, rows)
    made.append(path)
samples = os.path.join(k.SOURCE, "samples")
# The samples the digests were taken with; text in drawings depends on the
# fonts a machine has, so that sample stays out.
SAMPLES = ["fade-rgba.png", "gradient-24.bmp", "gradient-cmyk.jpg", "gradient-gray.jpg", "gradient-rgb.jpg",
           "gradient-rgb.png", "palette-8.bmp", "palette.gif", "palette.png", "shapes.svg", "shapes.wmf"]
batch = made + [os.path.join(samples, n) for n in SAMPLES] + made[:1]

pdf = os.path.join(tmp, "batch.pdf")
k.run(["convert"] + batch + ["-o", pdf])
k.qpdf_check(pdf)
# The Info dictionary (producer, creation date) came later: it stands last.
objects = {n: t for n, t in k.pdf_objects(pdf).items() if "/Producer" not in t}
got = {n: hashlib.md5(t.encode("latin-1")).hexdigest()[:12] for n, t in objects.items()}

# Object number: digest of its normalised text.
GOLDEN = {
    1: "904ebaabc6a7", 2: "d699dcd7ebf6", 3: "a33b911a4aca", 4: "1301587fcc24", 5: "2b33eecde47e",
    6: "75e6bead5e3c", 7: "7e208890fec5", 8: "d6f71a551891", 9: "c76e0797dc61", 10: "cc26e10487dc",
    11: "71f32b0bd9bc", 12: "627e36dc0baf", 13: "2f64abc55033", 14: "121009a50a50", 15: "9435905133e5",
    16: "61ed94fc889e", 17: "784a6136085d", 18: "632b323307c1", 19: "17f5e7f168e1", 20: "4120beb10eb7",
    21: "651dffbe9f9a", 22: "cc9676e568d2", 23: "bfce8c42b6f0", 24: "5d171ddd4ab5", 25: "d95bae94aad9",
    26: "5f1a12d32492", 27: "90140456fbf6", 28: "0bfeb65e589d", 29: "3d85b9eec96d", 30: "469db0bae3a1",
    31: "fced6465d2c6", 32: "70af1846c4b1", 33: "8ab8a9157be9", 34: "75640a8954fe", 35: "deb268895d39",
    36: "b470694f5280", 37: "8ab8a9157be9", 38: "85d87a4d4d6e", 39: "6554fbb42ba9", 40: "6a93662af7a5",
    41: "50308dc64a76", 42: "a78f67afe54b", 43: "5bfde89e4664", 44: "ff7da31c230d", 45: "78b33070850d",
    46: "adbf4b034d9b", 47: "fa13d6f2543a", 48: "0cc2e48a58db", 49: "a9e6cbbc4047", 50: "74a3ea02e8f4",
    51: "b2e3c61bab04", 52: "c1dc9be4e333", 53: "a2776d7605c9", 54: "78b33070850d", 55: "5978d622184c",
    56: "87da70d78842", 57: "a33b911a4aca", 58: "a11ca1ba2421", 59: "71353057a382",
}
wrong = sorted(n for n in set(GOLDEN) | set(got) if GOLDEN.get(n) != got.get(n))
for n in wrong:
    print("object %d differs:\n%s" % (n, objects.get(n, "(missing)")[:400]))
assert not wrong, "objects that changed: %s" % wrong

# The input given twice: its second page's image object equals the first's
# but for the object number.
images = sorted(n for n, t in objects.items() if "/Subtype /Image" in t)
assert objects[images[0]] == objects[images[-1]], (objects[images[0]], objects[images[-1]])
print("%d pages, %d objects as before" % (len(batch), len(objects)))
