#!/usr/bin/python3
"""Writes samples/shapes.wmf: a placeable metafile of pens, brushes,
polygons, a polyline and a poly-polygon, for the demo."""
import os
import struct

records = []


def rec(func, *words):
    body = b"".join(struct.pack("<H", w & 0xFFFF) for w in words)
    size = 3 + len(body) // 2
    records.append(struct.pack("<IH", size, func) + body)


def pen(style, width, r, g, b):
    rec(0x02FA, style, width, 0, r | (g << 8), b)


def brush(style, r, g, b, hatch=0):
    rec(0x02FC, style, r | (g << 8), b, hatch)


rec(0x020B, 0, 0)          # window origin (y, x)
rec(0x020C, 600, 800)      # window extent (y, x)
pen(0, 40, 20, 20, 20)     # 0: black pen
brush(0, 70, 130, 180)     # 1: steel blue brush
rec(0x012D, 0)
rec(0x012D, 1)
rec(0x0324, 4, 100, 500, 700, 500, 700, 250, 100, 250)            # wall
brush(0, 178, 34, 34)      # 2: red roof
rec(0x012D, 2)
rec(0x0324, 3, 60, 260, 400, 60, 740, 260)                        # roof
pen(1, 30, 255, 215, 0)    # 3: dashed yellow pen
rec(0x012D, 3)
rec(0x0325, 3, 120, 560, 400, 590, 680, 560)                      # polyline
rec(0x0106, 1)             # even-odd
brush(0, 250, 250, 210)    # 4: window brush
rec(0x012D, 0)
rec(0x012D, 4)
rec(0x0538, 2, 4, 4, 180, 300, 320, 300, 320, 440, 180, 440,      # outer square
    220, 340, 280, 340, 280, 400, 220, 400)                      # inner hole
rec(0x0000)                # end of file

header = struct.pack("<HHHIHIH", 1, 9, 0x300, 0, 0, 0, 0)  # standard header, 18 bytes
body = header + b"".join(records)
placeable = struct.pack("<IHhhhhHI", 0x9AC6CDD7, 0, 0, 0, 800, 600, 1440, 0)
checksum = 0
for i in range(0, 20, 2):
    checksum ^= struct.unpack("<H", placeable[i:i + 2])[0]
placeable += struct.pack("<H", checksum)
out = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "samples", "shapes.wmf")
open(out, "wb").write(placeable + body)
print(out, len(placeable + body))
