#!/usr/bin/env python3
"""Draws the arrow pictures the main window puts between its image previews.

Each arrow is a rounded shaft ending in a triangular head, anti-aliased by 4 x 4 supersampling, in a
soft blue-grey that reads on light and dark window themes. Standard library only:
python3 tools/make_ui_arrows.py resources/UIArrows
"""
import math
import struct
import sys
import zlib
from pathlib import Path

COLOUR = (120, 140, 170)
SHAFT = 2.2  # half thickness in pixels
HEAD_LENGTH = 10.0
HEAD_HALF_WIDTH = 7.0


def png_rgba(width, height, pixels):
    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)

    header = struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)  # 8-bit RGBA
    rows = b"".join(b"\x00" + bytes(pixels[y * width * 4:(y + 1) * width * 4]) for y in range(height))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 9))
            + chunk(b"IEND", b""))


def segment_distance(px, py, ax, ay, bx, by):
    dx, dy = bx - ax, by - ay
    t = max(0.0, min(1.0, ((px - ax) * dx + (py - ay) * dy) / (dx * dx + dy * dy)))
    return math.hypot(px - ax - t * dx, py - ay - t * dy)


def in_triangle(px, py, a, b, c):
    def side(p1, p2):
        return (px - p2[0]) * (p1[1] - p2[1]) - (p1[0] - p2[0]) * (py - p2[1])

    d1, d2, d3 = side(a, b), side(b, c), side(c, a)
    return not ((d1 < 0 or d2 < 0 or d3 < 0) and (d1 > 0 or d2 > 0 or d3 > 0))


def arrow(width, height, start, end):
    """An arrow from start to end (pixel coordinates), its head's tip at end."""
    length = math.hypot(end[0] - start[0], end[1] - start[1])
    ux, uy = (end[0] - start[0]) / length, (end[1] - start[1]) / length
    base = (end[0] - ux * HEAD_LENGTH, end[1] - uy * HEAD_LENGTH)
    left = (base[0] - uy * HEAD_HALF_WIDTH, base[1] + ux * HEAD_HALF_WIDTH)
    right = (base[0] + uy * HEAD_HALF_WIDTH, base[1] - ux * HEAD_HALF_WIDTH)
    pixels = bytearray()
    for y in range(height):
        for x in range(width):
            covered = 0
            for sy in range(4):
                for sx in range(4):
                    px, py = x + (sx + 0.5) / 4, y + (sy + 0.5) / 4
                    if (segment_distance(px, py, start[0], start[1], base[0], base[1]) <= SHAFT
                            or in_triangle(px, py, end, left, right)):
                        covered += 1
            pixels += bytes(COLOUR) + bytes([round(255 * covered / 16)])
    return png_rgba(width, height, pixels)


def main():
    folder = Path(sys.argv[1] if len(sys.argv) > 1 else "resources/UIArrows")
    folder.mkdir(parents=True, exist_ok=True)
    pictures = {
        "RightArrow.png": (48, 24, (4, 12), (44, 12)),
        "LongRightArrow.png": (96, 24, (4, 12), (92, 12)),
        "UpArrow.png": (24, 40, (12, 36), (12, 4)),
        "DownLeftArrow.png": (40, 40, (34, 6), (6, 34)),
        "LeftUpArrow.png": (40, 40, (34, 34), (6, 6)),
    }
    for name, (width, height, start, end) in pictures.items():
        (folder / name).write_bytes(arrow(width, height, start, end))


if __name__ == "__main__":
    main()
