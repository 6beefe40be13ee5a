#!/usr/bin/env python3
"""Draws the pictures of Resources/Pictures, named by their numbers:

    Tools/pictures/make-pictures.py Resources/Pictures

1001  stand-in for a member without a photo, 100 by 120, opaque
1002  badge in the corner of a dimmed photo, 9 by 9, transparent around its disc
"""
import pathlib
import struct
import sys
import zlib

SAMPLES = 8  # per pixel and direction, for smooth edges


def png(width, height, rgba):
    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))
    rows = b"".join(b"\0" + bytes(rgba[y * width * 4:(y + 1) * width * 4]) for y in range(height))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


def render(width, height, colour_at):
    """colour_at(x, y) gives straight RGBA of a point; pixels are means weighted by alpha."""
    rgba = bytearray()
    points = [(i + 0.5) / SAMPLES for i in range(SAMPLES)]
    for y in range(height):
        for x in range(width):
            colours = [colour_at(x + dx, y + dy) for dy in points for dx in points]
            alpha = sum(c[3] for c in colours)
            rgba += bytes(round(sum(c[i] * c[3] for c in colours) / alpha) if alpha else 0 for i in range(3))
            rgba.append(round(alpha / len(colours)))
    return png(width, height, rgba)


def inside(x, y, centre_x, centre_y, radius_x, radius_y):
    return ((x - centre_x) / radius_x) ** 2 + ((y - centre_y) / radius_y) ** 2 <= 1


def portrait(x, y):
    head = inside(x, y, 50, 46, 21, 25)
    neck = abs(x - 50) < 9 and 60 < y < 88
    shoulders = inside(x, y, 50, 122, 42, 40)
    if head or neck or shoulders:
        return (122, 139, 158, 255)
    shade = round(8 * y / 120)
    return (226 - shade, 232 - shade, 238 - shade, 255)


def badge(x, y):
    if abs(x - 4.5) < 2.5 and abs(y - 4.5) < 0.75:
        return (255, 255, 255, 255)
    if inside(x, y, 4.5, 4.5, 3.75, 3.75):
        return (96, 105, 117, 255)
    return (255, 255, 255, 255 if inside(x, y, 4.5, 4.5, 4.5, 4.5) else 0)


def main():
    folder = pathlib.Path(sys.argv[1])
    (folder / "1001.png").write_bytes(render(100, 120, portrait))
    (folder / "1002.png").write_bytes(render(9, 9, badge))


main()
