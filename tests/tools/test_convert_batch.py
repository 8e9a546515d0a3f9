"""A batch of every format: the file is sound, the same inputs give the same
file (two runs without a date, compared byte for byte and, where they differ,
object by object), and one input given twice gives the same image object
twice."""
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
batch = made + [os.path.join(samples, n) for n in sorted(os.listdir(samples))] + made[:1]


def convert(name):
    pdf = os.path.join(tmp, name)
    k.run(["convert", "--nodate"] + batch + ["-o", pdf])
    k.qpdf_check(pdf)
    return pdf


first, second = convert("first.pdf"), convert("second.pdf")
if open(first, "rb").read() != open(second, "rb").read():
    a, b = k.pdf_objects(first), k.pdf_objects(second)
    wrong = sorted(n for n in set(a) | set(b) if a.get(n) != b.get(n))
    for n in wrong:
        print("object %d differs:\n%s\n%s" % (n, a.get(n, "(missing)")[:400], b.get(n, "(missing)")[:400]))
    sys.exit("the same inputs gave other bytes; objects that differ: %s" % wrong)

# The input given twice: its second page's image object equals the first's
# but for the object number.
objects = k.pdf_objects(first)
images = sorted(n for n, t in objects.items() if "/Subtype /Image" in t)
assert objects[images[0]] == objects[images[-1]], (objects[images[0]], objects[images[-1]])
print("%d pages, %d objects, the same twice" % (len(batch), len(objects)))
