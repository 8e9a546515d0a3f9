"""SVG text and embedded pictures through the host: every /F and /I name of
every Form resolves, the standard faces are the asked ones, pdftotext gives
the text back (Latin and non-Latin), embedded fonts are subsets, pictures
land in their boxes, and hostile pictures fall back."""
import base64
import io
import os
import subprocess
import sys

sys.path.insert(0, os.path.dirname(__file__))
import kivutest as k

k.need("qpdf", "pdftotext", "pdftoppm")
import pikepdf
from PIL import Image

tmp = k.tmpdir("kivu_svgtext_")


def uri(mime, data):
    return "data:%s;base64,%s" % (mime, base64.b64encode(data).decode())


def picture(fmt, size, colour, mode="RGB"):
    out = io.BytesIO()
    Image.new(mode, size, colour).save(out, fmt)
    return out.getvalue()


def svg(body, attrs='width="400" height="200"'):
    return ('<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" %s>\n%s\n</svg>\n'
            % (attrs, body))


def convert(name, text, expect_fallback=False):
    src = os.path.join(tmp, name + ".svg")
    pdf = os.path.join(tmp, name + ".pdf")
    with open(src, "w", encoding="utf-8") as f:
        f.write(text)
    r = k.run(["convert", src, "-o", pdf])
    assert (b"falls back" in r.stderr) == expect_fallback, r.stderr.decode()
    k.qpdf_check(pdf)
    return pdf


def check_names(form, seen):
    """Every font, image and state name of a form's content resolves in its
    own resources; forms drawn by it are checked in turn."""
    res = form.get("/Resources", pikepdf.Dictionary())
    for operands, op in pikepdf.parse_content_stream(form):
        kind = {"Tf": "/Font", "Do": "/XObject", "gs": "/ExtGState"}.get(str(op))
        if not kind:
            continue
        name = str(operands[0])
        assert kind in res and name in res[kind], "%s %s does not resolve" % (name, op)
        target = res[kind][name]
        if str(op) == "Do" and target.get("/Subtype") == "/Form" and target.objgen not in seen:
            seen.add(target.objgen)
            check_names(target, seen)


def forms_of(pdf):
    with pikepdf.open(pdf) as doc:
        for page in doc.pages:
            for _, xobj in page.Resources.XObject.items():
                check_names(xobj, set())
        return [str(f.get("/BaseFont")) for f in doc.objects if isinstance(f, pikepdf.Dictionary)
                and f.get("/Type") == "/Font" and "/BaseFont" in f]


def text_of(pdf):
    out = subprocess.run(["pdftotext", "-raw", pdf, "-"], capture_output=True, check=True).stdout.decode()
    return "".join(out.split())


# Families, weights and styles map onto the standard faces, once each.
latin = [("Arial", "normal", "normal", "Helvetica"), ("Verdana", "bold", "normal", "Helvetica-Bold"),
         ("'Times New Roman', serif", "normal", "italic", "Times-Italic"), ("Georgia", "700", "italic", "Times-BoldItalic"),
         ("Courier New", "normal", "oblique", "Courier-Oblique"), ("monospace", "bold", "normal", "Courier-Bold"),
         ("Unknown Family", "normal", "normal", "Times-Roman")]
body = "".join('<text x="10" y="%d" font-family="%s" font-weight="%s" font-style="%s" font-size="12">word%d caf\u00e9</text>'
               % (20 + 20 * i, fam, w, s, i) for i, (fam, w, s, _) in enumerate(latin))
body += '<text x="200" y="20" font-family="Arial" font-size="12">word0 caf\u00e9</text>'
pdf = convert("latin", svg(body))
fonts = forms_of(pdf)
assert sorted(fonts) == sorted("/" + face for *_, face in latin), fonts
got = text_of(pdf)
for i in range(len(latin)):
    assert "word%dcaf\u00e9" % i in got, got

# Non-Latin text: an embedded TrueType subset, searchable.  Characters whose
# UTF-16 bytes hold "(", ")" or a line end (Ш, Щ, 不) come back whole.
face = subprocess.run(["fc-match", "-f", "%{file}", "DejaVu Sans:charset=3a8 428"], capture_output=True).stdout.decode()
if not face.endswith(".ttf"):
    print("SKIP non-Latin text: no TrueType font with Greek and Cyrillic is installed")
else:
    lines = ["\u03a8\u03c5\u03c7\u03ae \u0428\u0449\u0438 \u0429", "\u0416\u0436 \u03a9\u03c9"]
    body = '<text x="10" y="40" font-family="DejaVu Sans" font-size="16">%s</text>' % lines[0]
    body += '<text x="10" y="80" font-size="16" fill="red" stroke="blue">%s\n  \u03bb</text>' % lines[1]
    pdf = convert("greek", svg(body))
    forms_of(pdf)
    got = text_of(pdf)
    for line in lines:
        assert "".join(line.split()) in got, (line, got)
    with pikepdf.open(pdf) as doc:
        files = [o for o in doc.objects if isinstance(o, pikepdf.Dictionary) and "/FontFile2" in o]
        assert files, "no embedded font"
        for d in files:
            size = len(d.FontFile2.read_bytes())
            print("subset %s: %d bytes of %d" % (d.FontName, size, os.path.getsize(face)))
            assert size < os.path.getsize(face) / 20

# Pictures: a PNG with alpha, a JPEG sliced into its box, a drawing with
# text inside a drawing.  Each lands in its box.
png = picture("PNG", (40, 20), (200, 30, 30, 255), "RGBA")
jpg = picture("JPEG", (30, 60), (30, 30, 200))
inner = svg('<rect width="50" height="50" fill="#00a000"/><text y="20" font-size="10">inner</text>',
            'width="50" height="50" viewBox="0 0 50 50"')
body = ('<image x="0" y="0" width="100" height="100" preserveAspectRatio="none" xlink:href="%s"/>'
        '<image x="100" y="0" width="100" height="100" preserveAspectRatio="xMidYMid slice" xlink:href="%s"/>'
        '<image x="200" y="0" width="100" height="100" xlink:href="%s"/>'
        '<image x="300" y="0" width="100" height="100" xlink:href="%s"/>'
        % (uri("image/png", png), uri("image/jpeg", jpg), uri("image/svg+xml", inner.encode()), uri("image/png", png)))
pdf = convert("pictures", svg(body, 'width="400" height="100"'))
forms_of(pdf)
with pikepdf.open(pdf) as doc:
    images = [o for o in doc.objects if isinstance(o, pikepdf.Stream) and o.get("/Subtype") == "/Image"]
    # The PNG once (with its mask), the JPEG once.
    assert len([i for i in images if "/SMask" in i]) == 1 and len(images) == 3, len(images)
assert "inner" in text_of(pdf)
page = k.render(pdf, dpi=72)
for x, colour in [(37, (200, 30, 30)), (112, (30, 30, 200)), (187, (0, 160, 0)), (262, (200, 30, 30))]:
    got = page.getpixel((x, 50))
    assert all(abs(a - b) < 40 for a, b in zip(got, colour)), (x, got, colour)
# xMidYMid meet: the wide PNG takes the middle half of its square box.
assert page.getpixel((262, 10)) == (255, 255, 255), page.getpixel((262, 10))

# Pictures that can't be had: the drawing falls back to the fallback picture
# (or, for a payload that is no Base64, loses what follows it), never a crash.
bad = [uri("image/png", b"garbage" * 20), uri("image/gif", b"GIF89a\x01\x00"),
       "data:image/png;base64,%%%%not-base64%%%%not-base64%%%%", "http://example.com/some/long/path/to/picture.png",
       uri("image/jpeg", b"\xff\xd8" + b"\x00" * (3 << 20))]
for i, href in enumerate(bad):
    fallback = "not-base64" not in href
    convert("bad%d" % i, svg('<rect width="9" height="9"/><image width="9" height="9" xlink:href="%s"/>' % href),
            expect_fallback=fallback)
print("ok")
