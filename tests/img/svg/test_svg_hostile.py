"""Hostile drawings made by scripts/svg_hostile.py (at the sizes of a quick
run) cost no more than their bytes can produce: each one converts to a valid
PDF, or falls back with the reason the library recorded, in less than 256 MB
and with less than 5 MB of output.  The budget of a document is shared with
the drawings embedded in it, and --max-svg-bytes (or "max-svg-bytes" in the
configuration) sets it."""
import json
import os
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "tools"))
import kivutest as kt  # noqa: E402

kt.HOME = kt.home()
SCRIPT = os.path.join(kt.SOURCE, "scripts", "svg_hostile.py")
SANITIZED = "asan" in os.path.basename(os.path.normpath(kt.BINARY))

# case: the reason its fallback names, or None when it converts
EXPECTED = {
    "embedded-bombs": "expands to more than 1000000 elements",
    "use-nesting": "expands to more than 1000000 elements",
    "use-doubling": "expands to more than 1000000 elements",
    "cloned-class": None,
    "many-rects": None,
    "many-paths": None,
    "selector-list": None,
    "text-runs": None,
    "attributes-50k": "more than 1000 attributes",
    "attributes-200k": "more than 1000 attributes",
    "gradient-stops": None,
    "zero-viewbox": None,
    "truncated": "SVG: not well-formed at line 1",
    "bad-utf8": "SVG: not well-formed at line 1",
    "billion-laughs": "SVG: not well-formed",
    "huge-font-size": None,
    "honest-paths": None,
    "svgz-bomb": "the compressed drawing can't be read",
}


def convert(path, *extra, home=None):
    """Exit status, standard error and peak memory (MB) of one conversion."""
    out = path + ".pdf"
    env = dict(os.environ, KIVU_HOME=home or kt.HOME)
    p = subprocess.Popen([kt.TOOL, "convert", "-q", "--fallback", "--rules", "standard", *extra, path, "-o", out],
                         stderr=subprocess.PIPE, env=env)
    err = p.stderr.read().decode(errors="replace")
    _, status, usage = os.wait4(p.pid, 0)
    p.returncode = os.waitstatus_to_exitcode(status)
    return p.returncode, err, usage.ru_maxrss / 1024, out


def check(name, path, reason, *extra, home=None):
    rc, err, peak, out = convert(path, *extra, home=home)
    assert rc == 0, "%s: exit %d: %s" % (name, rc, err)
    kt.qpdf_check(out)
    assert os.path.getsize(out) < 5 << 20, "%s: %d bytes of output" % (name, os.path.getsize(out))
    if not SANITIZED:
        assert peak < 256, "%s: %.0f MB" % (name, peak)
    if reason is None:
        assert "falls back" not in err, "%s: %s" % (name, err)
    else:
        assert reason in err, "%s: expected '%s', got: %s" % (name, reason, err)


def main():
    d = kt.tmpdir("kivu_hostile_")
    made = subprocess.run(["/usr/bin/python3", SCRIPT, d], capture_output=True, text=True, check=True).stdout
    paths = {os.path.basename(line.split()[0]).split(".")[0]: line.split()[0] for line in made.splitlines()}
    assert set(paths) == set(EXPECTED), sorted(set(paths) ^ set(EXPECTED))
    for name, reason in EXPECTED.items():
        check(name, paths[name], reason)

    # One embedded drawing of the eight fits the budget: the eight share it.
    sys.path.insert(0, os.path.dirname(SCRIPT))
    import svg_hostile
    one = os.path.join(d, "one-bomb.svg")
    with open(one, "w") as f:
        f.write(svg_hostile.embedded_bombs(1, 18))
    check("one-bomb", one, None)

    # A smaller budget, from the option and from the configuration.
    check("many-rects", paths["many-rects"], "holds more than 4000000 bytes", "--max-svg-bytes", "4000000")
    home = kt.home()
    with open(os.path.join(home, ".conf.json"), "w") as f:
        json.dump({"max-svg-bytes": 4000000}, f)
    check("many-rects", paths["many-rects"], "holds more than 4000000 bytes", home=home)
    rc, err, _, _ = convert(paths["zero-viewbox"], "--max-svg-bytes", "0")
    assert rc == 2 and "--max-svg-bytes needs a positive whole number" in err, err
    print("%d passed, 0 failed" % (len(EXPECTED) + 3))


if __name__ == "__main__":
    main()
