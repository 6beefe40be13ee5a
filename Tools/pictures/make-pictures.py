#!/usr/bin/env python3
"""Draws the pictures of Resources/Pictures, named by their numbers:

    Tools/pictures/make-pictures.py Resources/Pictures

1001  stand-in for a member without a photo, 100 by 120, opaque
1002  badge in the corner of a dimmed photo, 9 by 9, transparent around its disc

16 by 16, transparent, in colours that are seen on light and on dark:
1500  send        1503  receive      1504  join         1505  leave        1506  share
1507  backup      1508  release      1509  release all  1510  reserve      1511  comment
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


BLUE, GREEN, ORANGE, GREY = (52, 126, 196), (38, 148, 96), (212, 132, 32), (120, 132, 146)


def box(x, y, left, top, right, bottom):
    return left <= x <= right and top <= y <= bottom


def arrow(along, across, tip, tail):
    """Points from tail to tip along an axis; `across` is the distance from it."""
    head = 5 if tip > tail else -5
    back = tip - head
    between = min(tip, back) <= along <= max(tip, back)
    return (min(tail, back) <= along <= max(tail, back) and abs(across) <= 1.3 or
            between and abs(across) <= abs(tip - along) * 0.9)


def padlock(x, y, is_open):
    if box(x, y, 3, 8, 13, 14.5):
        return True
    centre = 11 if is_open else 8
    ring = inside(x, y, centre, 7, 4, 5) and not inside(x, y, centre, 7, 2.4, 3.4)
    return ring and y < 8 and not (is_open and x > 11 and y > 6)


def share(x, y):
    nodes = ((4, 8), (12, 3.5), (12, 12.5))
    if any(inside(x, y, *node, 2.4, 2.4) for node in nodes):
        return True
    return 4 <= x <= 12 and abs(abs(y - 8) - (x - 4) * 4.5 / 8) < 0.8


def backup(x, y):
    rows = ((3.5, 6.0), (7.2, 9.7), (10.9, 13.4))
    return any(box(x, y, 2.5, top, 13.5, bottom) and not inside(x, y, 11, (top + bottom) / 2, 0.8, 0.8)
               for top, bottom in rows)


def comment(x, y):
    bubble = inside(x, y, 8, 7, 6.5, 4.8)
    tail = 4 <= x <= 7.5 and 10 <= y <= 14.5 and y - 10 <= (7.5 - x) * 1.6
    dots = any(inside(x, y, centre, 7, 0.9, 0.9) for centre in (5, 8, 11))
    return (bubble or tail) and not dots


def door(x, y):
    return box(x, y, 11.5, 2, 13.5, 14)


ICONS = {
    1500: (GREEN, lambda x, y: arrow(y, x - 8, 1.5, 14)),
    1503: (BLUE, lambda x, y: arrow(y, x - 8, 14.5, 2)),
    1504: (GREEN, lambda x, y: door(x, y) or arrow(x, y - 8, 10.5, 1.5)),
    1505: (GREY, lambda x, y: door(x, y) or arrow(x, y - 8, 1, 10)),
    1506: (BLUE, share),
    1507: (GREY, backup),
    1508: (GREEN, lambda x, y: padlock(x, y, True)),
    1509: (GREEN, lambda x, y: padlock(x, y, True) and not (box(x, y, 7.3, 9, 8.7, 13.5) or
                                                            box(x, y, 5, 10.6, 11, 12))),
    1510: (ORANGE, lambda x, y: padlock(x, y, False)),
    1511: (BLUE, comment),
}


def main():
    folder = pathlib.Path(sys.argv[1])
    (folder / "1001.png").write_bytes(render(100, 120, portrait))
    (folder / "1002.png").write_bytes(render(9, 9, badge))
    for number, (colour, holds) in ICONS.items():
        (folder / f"{number}.png").write_bytes(
            render(16, 16, lambda x, y: (*colour, 255 if holds(x, y) else 0)))


main()
