#!/usr/bin/env python3
"""Writes the pictures that the tests decode: small files of every kind, made without the library.

    Tools/golden/make-image-files.py Tests/Display/Golden

A PNG has 3 by 2 pixels, a JPEG two blocks of 8 by 8, each of one colour.
"""
import pathlib
import struct
import sys
import zlib

# Straight RGBA, row by row.
PIXELS = [(255, 0, 0, 255), (0, 255, 0, 128), (0, 0, 255, 0),
          (16, 32, 48, 255), (200, 100, 50, 64), (255, 255, 255, 255)]
GREYS = [0, 85, 170, 255, 51, 204]
ADAM7 = [(0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2)]


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png(depth, colour_type, rows, extra=b"", interlace=0):
    header = struct.pack(">IIBBBBB", 3, 2, depth, colour_type, 0, 0, interlace)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + extra +
            chunk(b"IDAT", zlib.compress(b"".join(b"\0" + row for row in rows), 9)) + chunk(b"IEND", b""))


def rows(values, form=lambda v: bytes(v)):
    return [b"".join(map(form, values[:3])), b"".join(map(form, values[3:]))]


def wide(values):
    """16 bits a channel; the low byte must not matter much."""
    return b"".join(struct.pack(">BB", v, v) for v in values)


def packed(indices, depth):
    number = 0
    for index in indices:
        number = number << depth | index
    count = (3 * depth + 7) // 8
    return (number << (count * 8 - 3 * depth)).to_bytes(count, "big")


def adam7(values):
    for left, top, dx, dy in ADAM7:
        for y in range(top, 2, dy):
            row = [bytes(values[y * 3 + x]) for x in range(left, 3, dx)]
            if row:
                yield b"".join(row)


def pngs():
    rgb = [p[:3] for p in PIXELS]
    yield "grey1", png(1, 0, [packed([0, 1, 0], 1), packed([1, 0, 1], 1)])
    yield "grey8", png(8, 0, rows(GREYS, lambda g: bytes([g])))
    yield "grey16", png(16, 0, rows(GREYS, lambda g: wide([g])))
    yield "grey_alpha8", png(8, 4, rows(list(zip(GREYS, [p[3] for p in PIXELS]))))
    yield "rgb8", png(8, 2, rows(rgb))
    yield "rgb16", png(16, 2, rows(rgb, wide))
    yield "rgb8_key", png(8, 2, rows(rgb), chunk(b"tRNS", struct.pack(">HHH", 0, 255, 0)))
    yield "palette4", png(4, 3, [packed([0, 1, 2], 4), packed([3, 4, 5], 4)],
                          chunk(b"PLTE", b"".join(map(bytes, rgb))) +
                          chunk(b"tRNS", bytes(p[3] for p in PIXELS)))
    yield "rgba8", png(8, 6, rows(PIXELS))
    yield "rgba16", png(16, 6, rows(PIXELS, wide))
    yield "interlaced", png(8, 6, adam7(PIXELS), interlace=1)


def marker(code, data=b""):
    return bytes([0xFF, code]) + struct.pack(">H", len(data) + 2) + data


def scan(components, blocks, ac):
    """One colour a block: its DC coefficient alone, 4 bits for the length, then the difference."""
    bits = ""
    last = [0] * components
    for block in blocks:
        for c, value in enumerate(block):
            difference = 8 * (value - 128) - last[c]
            last[c] += difference
            size = abs(difference).bit_length()
            bits += f"{size:04b}"
            if size:
                bits += f"{difference if difference > 0 else difference + (1 << size) - 1:0{size}b}"
            bits += "0" if ac else ""
    bits += "1" * (-len(bits) % 8)
    data = int(bits, 2).to_bytes(len(bits) // 8, "big").replace(b"\xff", b"\xff\0")
    selectors = b"".join(bytes([c + 1, 0]) for c in range(components))
    return marker(0xDA, bytes([components]) + selectors + bytes([0, 63 if ac else 0, 0])) + data


# Says of two grey blocks that all their other coefficients are 0.
REST_OF_PROGRESSION = marker(0xDA, bytes([1, 1, 0, 1, 63, 0])) + b"\x3f"


def jpeg(blocks, extra=b"", progressive=False, scans=1):
    components = len(blocks[0])
    frame = struct.pack(">BHHB", 8, 8, 16, components)
    frame += b"".join(bytes([c + 1, 0x11, 0]) for c in range(components))
    return (b"\xff\xd8" + extra + marker(0xDB, bytes([0]) + bytes([1] * 64)) +
            marker(0xC2 if progressive else 0xC0, frame) +
            marker(0xC4, bytes([0x00, 0, 0, 0, 12] + [0] * 12 + list(range(12)))) +
            marker(0xC4, bytes([0x10, 1] + [0] * 15 + [0])) +
            scan(components, blocks, not progressive) * scans +
            (REST_OF_PROGRESSION if progressive else b"") + b"\xff\xd9")


def adobe(transform):
    return marker(0xEE, b"Adobe" + struct.pack(">HHHB", 100, 0, 0, transform))


def jpegs():
    yield "grey", jpeg([(40,), (200,)])
    yield "ycbcr", jpeg([(76, 85, 255), (200, 128, 128)])
    yield "rgb", jpeg([(250, 10, 20), (10, 20, 250)], adobe(0))
    yield "cmyk_adobe", jpeg([(255, 100, 0, 128), (255, 255, 255, 255)], adobe(0))
    yield "cmyk", jpeg([(0, 155, 255, 127), (0, 0, 0, 0)])
    yield "progressive", jpeg([(40,), (200,)], progressive=True)
    yield "scan_bomb", jpeg([(40,), (200,)], progressive=True, scans=200)


def main():
    folder = pathlib.Path(sys.argv[1])
    for name, data in pngs():
        (folder / f"{name}.png").write_bytes(data)
    for name, data in jpegs():
        (folder / f"{name}.jpg").write_bytes(data)


main()
