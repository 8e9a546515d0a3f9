#!/usr/bin/python3
"""Gradients as the host writes them, read back from the PDF.

The sample drawing and a few small ones are converted by `kivuimg convert`
and opened with pikepdf:

  - every "/GS<k> gs", "/TGS<k> gs" and "/Sh<k> sh" of a Form's stream
    resolves in the Form's Resources;
  - every shading's function is a stitching function over [0 1] with one
    exponential segment (N 1) per pair of neighbouring stops, its bounds
    inside the domain and never going back;
  - every soft mask is a luminosity group drawing a gray shading;
  - rendered by pdftoppm, a linear, a translucent and a radial gradient show
    the expected colours at sample points;
  - flat fills with opacities: each shared state is an ExtGState with the
    opacity asked for, the Form is a transparency group, and the drawing
    stands upright on its page.

Exit code 77 (skipped) when pikepdf or pdftoppm is missing.
"""

import os
import re
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
import kivutest as kt  # noqa: E402

try:
    import pikepdf
except ImportError:
    kt.skip("pikepdf is not installed")

SAMPLE = Path(kt.SOURCE) / "samples" / "gradients.svg"
NAMES = re.compile(rb"/(GS|TGS|Sh)(\d+) (gs|sh)")


def svg(body):
    return ('<svg xmlns="http://www.w3.org/2000/svg" width="300" height="100">\n<defs>%s</defs>\n'
            '<rect width="300" height="100" fill="url(#g)"/>\n</svg>\n' % body)


LINEAR = svg('<linearGradient id="g" x2="1"><stop stop-color="#ff0000"/><stop offset="0.5" stop-color="#00ff00"/>'
             '<stop offset="1" stop-color="#0000ff"/></linearGradient>')
FADE = svg('<linearGradient id="g" x2="1"><stop stop-color="#000000"/>'
           '<stop offset="1" stop-color="#000000" stop-opacity="0"/></linearGradient>')
RADIAL = svg('<radialGradient id="g"><stop stop-color="#ffffff"/><stop offset="1" stop-color="#0000ff"/>'
             '</radialGradient>')
OPACITY = ('<svg xmlns="http://www.w3.org/2000/svg" width="200" height="100" viewBox="0 0 200 100">\n'
           '<rect width="100" height="50" fill="#ff0000"/>\n'
           '<rect x="100" y="50" width="100" height="50" fill="#0000ff" fill-opacity="0.25"/>\n'
           '<circle cx="150" cy="25" r="20" fill="#00ff00" opacity="0.5"/>\n</svg>\n')


def forms(pdf):
    for page in pdf.pages:
        for _, xobject in page.Resources.XObject.items():
            if xobject.get("/Subtype") == "/Form":
                yield xobject


def check_function(function, stops=None):
    assert function.FunctionType == 3, function
    assert [float(v) for v in function.Domain] == [0, 1]
    parts, bounds = list(function.Functions), [float(b) for b in function.Bounds]
    assert len(parts) == len(bounds) + 1, (len(parts), bounds)
    assert [float(v) for v in function.Encode] == [0, 1] * len(parts)
    assert all(0 <= b <= 1 for b in bounds) and bounds == sorted(bounds), bounds
    for part in parts:
        assert part.FunctionType == 2 and float(part.N) == 1 and [float(v) for v in part.Domain] == [0, 1]
    if stops is not None:
        assert len(parts) == stops - 1, "%d segments for %d stops" % (len(parts), stops)


def check_names(pdf_path, stops=None):
    """Every name of every Form resolves; answers the count of each kind."""
    seen = {"GS": 0, "TGS": 0, "Sh": 0}
    with pikepdf.open(pdf_path) as pdf:
        for form in forms(pdf):
            resources = form.get("/Resources", pikepdf.Dictionary())
            for kind, number, _ in NAMES.findall(form.read_bytes()):
                kind, name = kind.decode(), "/%s%s" % (kind.decode(), number.decode())
                where = resources.Shading if kind == "Sh" else resources.ExtGState
                assert name in where, "%s: %s does not resolve" % (pdf_path, name)
                seen[kind] += 1
                if kind == "Sh":
                    shading = where[name]
                    assert int(shading.ShadingType) in (2, 3)
                    assert len(shading.Coords) == (4 if int(shading.ShadingType) == 2 else 6)
                    check_function(shading.Function, stops)
                elif kind == "TGS":
                    mask = where[name].SMask
                    assert mask.S == "/Luminosity", mask
                    assert mask.G.Group.CS == "/DeviceGray"
                    gray = mask.G.Resources.Shading["/Sh0"]
                    assert gray.ColorSpace == "/DeviceGray"
                    check_function(gray.Function, stops)
    return seen


def convert(name, text, scratch):
    src = os.path.join(scratch, name + ".svg")
    Path(src).write_text(text)
    pdf = os.path.join(scratch, name + ".pdf")
    kt.run(["convert", src, "-o", pdf])
    kt.qpdf_check(pdf)
    return pdf


def near(pixel, expected, tolerance=16):
    return all(abs(a - b) <= tolerance for a, b in zip(pixel, expected))


def check_colours(pdf, samples):
    page = kt.render(pdf, dpi=96)
    w, h = page.size
    for fraction, expected in samples:
        pixel = page.getpixel((int(fraction[0] * (w - 1)), int(fraction[1] * (h - 1))))
        assert near(pixel, expected), "%s at %s: %s, expected %s" % (pdf, fraction, pixel, expected)


def main():
    kt.need("pdftoppm", "qpdf")
    scratch = kt.tmpdir("kivu_gradients_")
    sample = os.path.join(scratch, "sample.pdf")
    kt.run(["convert", str(SAMPLE), "-o", sample])
    kt.qpdf_check(sample)
    seen = check_names(sample)
    assert seen["Sh"] == 6 and seen["TGS"] >= 1 and seen["GS"] > 0, seen

    linear = convert("linear", LINEAR, scratch)
    check_names(linear, stops=3)
    # Red, green and blue at 0, 0.5 and 1; halfway between them in between.
    check_colours(linear, [((0.02, 0.5), (250, 10, 0)), ((0.25, 0.5), (128, 128, 0)), ((0.5, 0.5), (0, 255, 0)),
                           ((0.75, 0.5), (0, 128, 128)), ((0.98, 0.5), (0, 10, 250))])
    fade = convert("fade", FADE, scratch)
    assert check_names(fade, stops=2)["TGS"] == 1
    # Black fading to nothing over the white page.
    check_colours(fade, [((0.02, 0.5), (5, 5, 5)), ((0.5, 0.5), (128, 128, 128)), ((0.98, 0.5), (250, 250, 250))])
    radial = convert("radial", RADIAL, scratch)
    check_names(radial, stops=2)
    # White at the centre, blue at the circle (half the height from it) and beyond.
    check_colours(radial, [((0.5, 0.5), (255, 255, 255)), ((0.5, 0.02), (10, 10, 255)), ((0.02, 0.5), (0, 0, 255))])
    flat = convert("opacity", OPACITY, scratch)
    check_names(flat)
    with pikepdf.open(flat) as pdf:
        form = next(forms(pdf))
        assert form.Group.S == "/Transparency", form.Group
        names = set(re.findall(rb"/(GS\d+) gs", form.read_bytes()))
        states = [form.Resources.ExtGState["/" + n.decode()] for n in names]
        assert states and all(s.Type == "/ExtGState" and s.BM == "/Normal" for s in states), states
        opacities = {float(s[k]) for s in states for k in ("/ca", "/CA") if k in s}
        assert opacities == {1.0, 0.25, 0.5}, opacities
    # Upright: red in the top left quarter, blue a quarter strong over white bottom right.
    check_colours(flat, [((0.25, 0.25), (255, 0, 0)), ((0.75, 0.75), (191, 191, 255))])
    print("gradients resolve, stitch and render as expected; opacities resolve, upright")


if __name__ == "__main__":
    main()
