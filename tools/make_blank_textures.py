#!/usr/bin/env python3
"""Writes the placeholder images that stand in for missing members of an image set.

Black.png (0, 0, 0), White.png (255, 255, 255) and NormalBlue.png (128, 128, 255), the flat
normal pointing at the viewer, all opaque and 8 by 8 pixels. Standard library only, so the files
can be remade anywhere: python3 tools/make_blank_textures.py resources/BlankTextures
"""
import struct
import sys
import zlib
from pathlib import Path

SIZE = 8


def png(rgb):
    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)

    header = struct.pack(">IIBBBBB", SIZE, SIZE, 8, 2, 0, 0, 0)  # 8-bit RGB
    rows = b"".join(b"\x00" + bytes(rgb) * SIZE for _ in range(SIZE))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 9))
            + chunk(b"IEND", b""))


def main():
    folder = Path(sys.argv[1] if len(sys.argv) > 1 else "resources/BlankTextures")
    folder.mkdir(parents=True, exist_ok=True)
    for name, rgb in (("Black.png", (0, 0, 0)), ("White.png", (255, 255, 255)),
                      ("NormalBlue.png", (128, 128, 255))):
        (folder / name).write_bytes(png(rgb))


if __name__ == "__main__":
    main()
