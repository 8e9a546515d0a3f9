#!/usr/bin/python3
"""What a PDF reader finds in a converted SVG: every shared-state name of a
Form's stream resolves in the Form's resources to an ExtGState with the
opacity the drawing asks for, and the drawing stands upright on its page.
Exit code 77 (skipped) when pikepdf or pdftoppm is missing.
"""

import re
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tools"))
import kivutest as kt  # noqa: E402

try:
    import pikepdf
    from PIL import Image
except ImportError:
    kt.skip("pikepdf or Pillow is not installed")

DRAWING = """<svg xmlns="http://www.w3.org/2000/svg" width="200" height="100" viewBox="0 0 200 100">
<rect x="0" y="0" width="100" height="50" fill="#ff0000"/>
<rect x="100" y="50" width="100" height="50" fill="#0000ff" fill-opacity="0.25"/>
<circle cx="150" cy="25" r="20" fill="#00ff00" opacity="0.5"/>
</svg>
"""


def main():
    kt.need("pdftoppm")
    work = Path(kt.tmpdir("kivu_svg_host_"))
    svg, pdf = work / "d.svg", work / "d.pdf"
    svg.write_text(DRAWING)
    kt.run(["convert", str(svg), "-o", str(pdf)])
    kt.qpdf_check(str(pdf))
    with pikepdf.open(pdf) as doc:
        page = doc.pages[0]
        form = page.Resources.XObject["/Im1"]
        assert form.Subtype == "/Form" and form.Group.S == "/Transparency"
        content = form.read_bytes().decode("latin-1")
        names = set(re.findall(r"/(GS\d+) gs", content))
        assert names, content
        states = form.Resources.ExtGState
        opacities = set()
        for name in names:
            state = states["/" + name]
            assert state.Type == "/ExtGState" and state.BM == "/Normal", name
            opacities.update(float(state[k]) for k in ("/ca", "/CA") if k in state)
        assert opacities == {1.0, 0.25, 0.5}, opacities
    # Upright: red in the top left quarter, blue (a quarter strong) bottom right.
    im = kt.render(str(pdf))
    w, h = im.size
    top_left, bottom_right = im.getpixel((w // 4, h // 4)), im.getpixel((3 * w // 4, 3 * h // 4))
    assert top_left[0] > 200 and top_left[2] < 60, top_left
    assert bottom_right[2] > 200 and bottom_right[0] > 150, bottom_right
    print("resources resolve; the drawing stands upright")


if __name__ == "__main__":
    main()
