#!/usr/bin/python3
"""Gathers a set of real-world drawings into a folder: icons of the icon
themes Debian installs (a fixed sample of each), and charts and diagrams
made here by matplotlib, graphviz and gnuplot.  Used by the fidelity table
(scripts/svg_fidelity.py) and the conversion benchmark (bench/svg_convert.py).

usage: svg_real_world.py OUT_DIR [--per-theme N]

Themes or tools that are not installed are passed over with a message.
The same packages give the same set.
"""

import argparse
import os
import shutil
import subprocess
import sys

THEMES = [
    ("adwaita", "/usr/share/icons/Adwaita/scalable"),
    ("tango", "/usr/share/icons/Tango/scalable"),
    ("numix", "/usr/share/icons/Numix"),
    ("mate", "/usr/share/icons/mate/scalable"),
]


def sample_theme(name, root, out, per_theme):
    files = sorted(os.path.join(d, f) for d, _, fs in os.walk(root) for f in fs if f.endswith(".svg"))
    files = [f for f in files if not os.path.islink(f) and os.path.getsize(f) > 0]
    if not files:
        print("svg_real_world: no %s icons at %s" % (name, root), file=sys.stderr)
        return
    step = max(1, len(files) // per_theme)
    folder = os.path.join(out, "icons-" + name)
    os.makedirs(folder, exist_ok=True)
    for i, f in enumerate(files[::step][:per_theme]):
        shutil.copy(f, os.path.join(folder, "%03d-%s" % (i, os.path.basename(f))))


MATPLOTLIB = r"""
import sys, numpy as np, matplotlib
matplotlib.use("svg")
import matplotlib.pyplot as plt
out, fonttype = sys.argv[1], sys.argv[2]
matplotlib.rcParams["svg.fonttype"] = fonttype
matplotlib.rcParams["svg.hashsalt"] = "kivu"
SEED = 3
np.random.seed(SEED)
def save(name):
    plt.savefig("%s/%s-%s.svg" % (out, name, fonttype), metadata={"Date": None})
    plt.close("all")
x = np.linspace(0, 10, 200)
plt.figure(); plt.plot(x, np.sin(x), "-o", markevery=10, label="sin"); plt.plot(x, np.cos(x), "--", label="cos")
plt.legend(); plt.title("Line plot"); plt.grid(True); save("line")
plt.figure(); plt.bar(range(6), [3, 5, 2, 6, 4, 1], hatch="//", color="skyblue", edgecolor="navy"); save("bar-hatch")
plt.figure(); plt.scatter(np.random.rand(60), np.random.rand(60), c=np.random.rand(60), s=80, alpha=0.6)
plt.colorbar(); save("scatter")
X, Y = np.meshgrid(np.linspace(-2, 2, 60), np.linspace(-2, 2, 60))
plt.figure(); plt.contourf(X, Y, np.exp(-X**2 - Y**2), 12); plt.contour(X, Y, X * Y, colors="k"); save("contour")
plt.figure(); plt.pie([30, 20, 45, 5], labels=["a", "b", "c", "d"], autopct="%1.0f%%", shadow=True); save("pie")
plt.figure(); plt.hist(np.random.randn(1000), bins=30); plt.xlabel("value"); plt.ylabel("count"); save("histogram")
"""

DOT = {
    "clusters": """digraph G { subgraph cluster_0 { style=filled; color=lightgrey; node [style=filled,color=white];
        a0 -> a1 -> a2; label = "process #1"; } subgraph cluster_1 { node [style=filled]; b0 -> b1;
        label = "process #2"; color=blue } start -> a0; start -> b0; a1 -> b1; a2 -> end; b1 -> end;
        start [shape=Mdiamond]; end [shape=Msquare]; }""",
    "records": """digraph structs { node [shape=record]; s1 [label="<f0> left|<f1> mid\\ dle|<f2> right"];
        s2 [label="<f0> one|<f1> two"]; s3 [label="hello\\nworld |{ b |{c|<here> d|e}| f}| g | h"];
        s1:f1 -> s2:f0; s1:f2 -> s3:here; }""",
    "undirected": """graph G { layout=neato; a -- b -- c -- d -- a; a -- c; e [shape=box,style=filled,fillcolor=gold];
        e -- a; e -- d; }""",
}

GNUPLOT = """set terminal svg size 600,400 enhanced font 'DejaVu Sans,10'
set output '%s'
set title 'gnuplot'
set grid
plot sin(x) title 'sin' with lines lw 2, cos(x) title 'cos' with points pt 7
"""


def charts(out):
    folder = os.path.join(out, "charts")
    os.makedirs(folder, exist_ok=True)
    for fonttype in ("path", "none"):
        r = subprocess.run(["/usr/bin/python3", "-c", MATPLOTLIB, folder, fonttype], capture_output=True)
        if r.returncode:
            print("svg_real_world: matplotlib: %s" % r.stderr.decode()[-300:], file=sys.stderr)
    for name, text in DOT.items():
        if shutil.which("dot"):
            subprocess.run(["dot", "-Tsvg", "-o", os.path.join(folder, "graphviz-%s.svg" % name)],
                           input=text.encode(), capture_output=True)
    if shutil.which("gnuplot"):
        subprocess.run(["gnuplot"], input=(GNUPLOT % os.path.join(folder, "gnuplot-lines.svg")).encode(),
                       capture_output=True)


def main():
    p = argparse.ArgumentParser()
    p.add_argument("out")
    p.add_argument("--per-theme", type=int, default=60)
    a = p.parse_args()
    os.makedirs(a.out, exist_ok=True)
    for name, root in THEMES:
        if os.path.isdir(root):
            sample_theme(name, root, a.out, a.per_theme)
        else:
            print("svg_real_world: %s is not installed (%s)" % (name, root), file=sys.stderr)
    charts(a.out)


if __name__ == "__main__":
    main()
