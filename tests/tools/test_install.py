#!/usr/bin/python3
"""The library as a package: an install into a scratch prefix has the
versioned shared object (stripped), the public headers, each compiling on
its own, kivuimg.pc without private include paths, the CMake package, the
tool and its man page; libkivuimg.so exports only what the installed
headers mark KIVU_API; the example hosts build through pkg-config and
through find_package(KivuImg), with no home folder: the store-level host's
PDFs pass qpdf --check, and every page the C++ and C document hosts write
passes qpdf --check, resolves every name its content streams use (pikepdf),
gives back its Latin and non-Latin text (pdftotext) and shows the gradient
and the picture in their colours (pdftoppm); uninstalling by the manifest
leaves no file behind."""
import os
import re
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.dirname(__file__))
import kivutest as k
import document_hosts

k.need("cmake", "pkg-config", "nm", "c++filt", "readelf", "g++", "gcc", "qpdf", "pdftotext", "pdftoppm")
try:
    import pikepdf
except ImportError:
    k.skip("pikepdf is not installed")
tmp = k.tmpdir("kivu_install_")
stage = os.path.join(tmp, "stage")
example = os.path.join(k.SOURCE, "examples", "host_example.cpp")
cache = open(os.path.join(k.BINARY, "CMakeCache.txt")).read()
sanitized = "KIVU_SANITIZE:BOOL=ON" in cache
san_flags = ["-fsanitize=address,undefined", "-fno-omit-frame-pointer"] if sanitized else []


def sh(args, env=None, cwd=None):
    r = subprocess.run(args, capture_output=True, env=env, cwd=cwd)
    if r.returncode != 0:
        raise AssertionError("%s failed (%d):\n%s%s" % (" ".join(args), r.returncode, r.stdout.decode(),
                                                      r.stderr.decode()))
    return r.stdout.decode()


def install():
    """cmake --install into the stage; the build's own manifest (a real
    `make install`) is kept as it was.  Answers the stage's manifest as
    cmake wrote it."""
    manifest = os.path.join(k.BINARY, "install_manifest.txt")
    saved = open(manifest, "rb").read() if os.path.exists(manifest) else None
    env = {key: v for key, v in os.environ.items() if key != "DESTDIR"}
    try:
        sh(["cmake", "--install", k.BINARY, "--prefix", stage, "--strip"], env=env)
        ours = open(manifest).read()
    finally:
        if saved is None:
            os.remove(manifest)
        else:
            open(manifest, "wb").write(saved)
    return ours


manifest_text = install()
files = manifest_text.split()
rel = sorted(os.path.relpath(f, stage) for f in files)
so = [f for f in rel if re.search(r"libkivuimg\.so\.\d+\.\d+\.\d+$", f)]
assert len(so) == 1, rel
libdir = os.path.join(stage, os.path.dirname(so[0]))
for name, target in (("libkivuimg.so", "libkivuimg.so.1"), ("libkivuimg.so.1", os.path.basename(so[0]))):
    assert os.readlink(os.path.join(libdir, name)) == target, name
assert "Library soname: [libkivuimg.so.1]" in sh(["readelf", "-d", os.path.join(libdir, "libkivuimg.so")])
for binary in (os.path.join(libdir, "libkivuimg.so"), os.path.join(stage, "bin", "kivuimg")):
    assert ".debug_info" not in sh(["readelf", "-S", "-W", binary]), binary + " keeps its debug information"
for want in ("bin/kivuimg", "share/man/man1/kivuimg.1", "include/kivuimg/img/libmain.h",
             "include/kivuimg/kivuimg.h", "include/kivuimg/img/pdfdocument.h",
             "include/kivuimg/commons/objects.h", "include/kivuimg/commons/graphics/gradient.h",
             "include/kivuimg/commons/core/export.h"):
    assert want in rel, (want, rel)
rel_lib = os.path.relpath(libdir, stage)
for want in ("pkgconfig/kivuimg.pc", "cmake/KivuImg/KivuImgConfig.cmake",
             "cmake/KivuImg/KivuImgConfigVersion.cmake", "cmake/KivuImg/KivuImgTargets.cmake"):
    assert os.path.join(rel_lib, want) in rel, (want, rel)

# Every header an installed header includes is installed too; the internal
# ones (SVG tree, content operators, string and regex helpers) are not.
include = os.path.join(stage, "include")
headers = [f for f in rel if f.startswith("include/") and f.endswith(".h")]
api = set()
for h in headers:
    text = open(os.path.join(stage, h)).read()
    for inc in re.findall(r'#include "(kivuimg/[^"]+)"', text):
        assert os.path.exists(os.path.join(include, inc)), (h, inc)
    api.update(re.findall(r"(?:class|struct) KIVU_API (\w+)", text))
    api.update(re.findall(r"KIVU_API [^;(\n]*?(\w+)\(", text))
    api.update(re.findall(r"extern KIVU_API [^;\n]*?(\w+);", text))
for internal in ("img/svg/element.h", "commons/content.h", "commons/core/cstr.h", "commons/core/regex.h",
                 "img/pdf/writer.h", "img/pdf/fonts.h"):
    assert "include/kivuimg/" + internal not in rel, internal
for internal in ("TImagePNG", "TImageSVG", "TImageWMF", "TSvgElement", "TContent", "KivuException", "regSplit",
                 "TPdfWriter", "FontBook"):
    assert internal not in api, internal

# Every installed header compiles on its own (the C header as C too).
for h in headers:
    sh(["g++", "-std=c++20", "-fsyntax-only", "-I" + include, "-x", "c++", os.path.join(stage, h)])
sh(["gcc", "-std=c99", "-fsyntax-only", "-I" + include, "-x", "c", os.path.join(include, "kivuimg", "kivuimg.h")])

# Exported symbols: C entry functions and kivu:: names marked KIVU_API.
lines = sh(["nm", "-D", "--defined-only", os.path.join(libdir, "libkivuimg.so")]).splitlines()
demangled = subprocess.run(["c++filt"], input="\n".join(l.split()[-1].split("@")[0] for l in lines), capture_output=True,
                           text=True, check=True).stdout.splitlines()
wrappers = re.compile(r"^(typeinfo name for |typeinfo for |vtable for |(non-)?virtual thunk to )")
bad, seen = [], set()
for line, sym in zip(lines, demangled):
    if line.split()[-2] == "A":  # the version node KIVUIMG_1
        continue
    sym = wrappers.sub("", sym)
    m = re.match(r"kivu::(\w+)", sym) or re.match(r"(\w+)$", sym)
    if m and m.group(1) in api:
        seen.add(m.group(1))
    else:
        bad.append(sym)
assert not bad, "exported but not public:\n" + "\n".join(bad[:40])
for core in ("libimg_loadImage", "libimg_getImage", "lib_uninit", "TImageFormat", "TObjects", "TBuffer",
             "TIndirectObject", "SGradient", "SColor", "SUnit", "TSettings", "colorSpace2Str", "TPdfDocument",
             "kivu_doc_open", "kivu_doc_place_image_bytes", "kivu_last_error"):
    assert core in seen, core
print("exported symbols:", len(lines))

# The README's host section is the example file, whole.
readme = open(os.path.join(k.SOURCE, "docs", "host.md")).read()
section = readme.split("## Using the library from a host\n", 1)[1]
block = re.search(r"```cpp\n(.*?)```", section, re.S).group(1)
assert block == open(example).read(), "README's host example differs from examples/host_example.cpp"
# A C++ program the README shows is an example file, whole.
readme = open(os.path.join(k.SOURCE, "README.md")).read()
examples = [open(os.path.join(k.SOURCE, "examples", f)).read() for f in ("host_example.cpp", "document.cpp")]
for block in re.findall(r"```cpp\n(.*?)```", readme, re.S):
    if "int main(" in block:
        assert block in examples, "README's host example differs from the files in examples/"

SAMPLES = ["gradient-rgb.jpg", "fade-rgba.png", "palette.gif", "palette-8.bmp"]


def convert_all(program, env, label):
    for sample in SAMPLES:
        out = os.path.join(tmp, "%s-%s.pdf" % (label, sample))
        sh([program, os.path.join(tmp, "home"), os.path.join(k.SOURCE, "samples", sample), out], env=env)
        k.qpdf_check(out)


# The hosts through pkg-config, found from the staged prefix.
env = dict(os.environ, PKG_CONFIG_PATH=os.path.join(libdir, "pkgconfig"))
flags = sh(["pkg-config", "--cflags", "--libs", "kivuimg"], env=env).split()
assert "-lkivuimg" in flags, flags
assert [f for f in flags if f.startswith("-I")] == ["-I" + include] or \
    [os.path.realpath(f[2:]) for f in flags if f.startswith("-I")] == [os.path.realpath(include)], flags
host = os.path.join(tmp, "host_pkgconfig")
sh(["g++", "-std=c++20", example, "-o", host] + san_flags + flags, env=env)
convert_all(host, dict(os.environ, LD_LIBRARY_PATH=libdir), "pkgconfig")
hosts = {}
for name, src, compiler in (("document", "document.cpp", ["g++", "-std=c++20"]),
                            ("document_c", "document.c", ["gcc", "-std=c99"])):
    hosts["pkgconfig-" + name] = os.path.join(tmp, name + "_pkgconfig")
    sh(compiler + [os.path.join(k.SOURCE, "examples", src), "-o", hosts["pkgconfig-" + name]] + san_flags + flags,
       env=env)

# The host through find_package(KivuImg): the imported target brings the
# include folder and the library (with its run path).
build = os.path.join(tmp, "cmake-host")
sh(["cmake", "-S", os.path.dirname(example), "-B", build, "-DCMAKE_PREFIX_PATH=" + stage,
    "-DCMAKE_CXX_FLAGS=" + " ".join(san_flags), "-DCMAKE_EXE_LINKER_FLAGS=" + " ".join(san_flags)])
sh(["cmake", "--build", build])
convert_all(os.path.join(build, "host_example"), None, "cmake")
for name in ("document", "document_c"):
    hosts["cmake-" + name] = os.path.join(build, name)

document_hosts.check(hosts, dict(os.environ, LD_LIBRARY_PATH=libdir), tmp)

# Uninstalling by the stage's manifest removes every file the install wrote.
manifest = os.path.join(tmp, "manifest.txt")
open(manifest, "w").write(manifest_text)
sh(["bash", os.path.join(k.SOURCE, "scripts", "uninstall.sh"), manifest])
left = [os.path.join(d, f) for d, _, fs in os.walk(stage) for f in fs]
assert not left, left
assert not os.path.exists(os.path.join(stage, "include", "kivuimg"))
print("install, symbols, pkg-config host, CMake host, uninstall: ok")
