#!/usr/bin/env python3
"""Draws the photos of the sample team into this folder: LOGIN.png, or LOGIN.jpg.

PNG needs nothing but Python. JPEG is written through gdk-pixbuf, which most desktops have; without
it those files stay as they are.
"""
import ctypes
import ctypes.util
import pathlib
import struct
import zlib

SIZE = 96
SAMPLES = 3  # a pixel is the mean of 3 x 3 points
FOLDER = pathlib.Path(__file__).parent

# login and ending: background, skin, hair, clothes, hair below the chin
PORTRAITS = {
    "anna.novak.png": ((0xCF, 0xE8, 0xD0), (0xF2, 0xC9, 0xA6), (0x6B, 0x3E, 0x26), (0x2E, 0x7D, 0x32), 1),
    "yuki.tanaka.png": ((0xD6, 0xE4, 0xF5), (0xF5, 0xD5, 0xB5), (0x1E, 0x1B, 0x1A), (0x15, 0x65, 0xC0), 1),
    "marco.rossi.jpg": ((0xF6, 0xD9, 0xD5), (0xE3, 0xB0, 0x8A), (0x3A, 0x2A, 0x20), (0xC6, 0x28, 0x28), 0),
    "omar.haddad.jpg": ((0xFB, 0xE5, 0xCC), (0xB9, 0x80, 0x58), (0x19, 0x14, 0x12), (0xEF, 0x6C, 0x00), 0),
    "lena.fischer.png": ((0xE6, 0xD8, 0xEE), (0xF7, 0xD3, 0xBA), (0xC9, 0x9A, 0x4B), (0x6A, 0x1B, 0x9A), 1),
}


def inside(x, y, cx, cy, rx, ry):
    return ((x - cx) / rx) ** 2 + ((y - cy) / ry) ** 2 <= 1


def colour_at(x, y, portrait):
    background, skin, hair, clothes, long_hair = portrait
    if inside(x, y, 0.40, 0.44, 0.025, 0.03) or inside(x, y, 0.60, 0.44, 0.025, 0.03):
        return hair
    if inside(x, y, 0.5, 0.56, 0.09, 0.035) and y > 0.56:
        return (0xA8, 0x4A, 0x42)
    if inside(x, y, 0.5, 0.46, 0.20, 0.25) and not (y < 0.34 and not inside(x, y, 0.56, 0.42, 0.2, 0.16)):
        return skin
    if inside(x, y, 0.5, 0.38, 0.25, 0.27) and (y < 0.42 or long_hair):
        return hair
    if long_hair and 0.27 < x < 0.73 and 0.38 < y < 0.68 and not 0.40 < x < 0.60:
        return hair
    if 0.43 < x < 0.57 and 0.6 < y < 0.78:
        return skin
    if inside(x, y, 0.5, 1.05, 0.42, 0.32):
        return clothes
    shade = 1 - 0.15 * y
    return tuple(int(part * shade) for part in background)


def pixels_of(portrait):
    steps = [(i + 0.5) / SAMPLES for i in range(SAMPLES)]
    for row in range(SIZE):
        line = bytearray()
        for column in range(SIZE):
            points = [colour_at((column + dx) / SIZE, (row + dy) / SIZE, portrait)
                      for dy in steps for dx in steps]
            line += bytes(sum(parts) // len(points) for parts in zip(*points))
        yield bytes(line)


def png_of(portrait):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    rows = b"".join(b"\0" + line for line in pixels_of(portrait))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", SIZE, SIZE, 8, 2, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


def write_jpeg(portrait, path):
    name = ctypes.util.find_library("gdk_pixbuf-2.0") or "libgdk_pixbuf-2.0.so.0"
    try:
        library = ctypes.CDLL(name)
    except OSError:
        print(path.name, "is left as it is: gdk-pixbuf is not installed")
        return
    pixels = b"".join(pixels_of(portrait))
    make = library.gdk_pixbuf_new_from_data
    make.restype = ctypes.c_void_p
    make.argtypes = [ctypes.c_char_p] + [ctypes.c_int] * 6 + [ctypes.c_void_p] * 2
    picture = make(pixels, 0, 0, 8, SIZE, SIZE, SIZE * 3, None, None)
    keys = (ctypes.c_char_p * 2)(b"quality", None)
    values = (ctypes.c_char_p * 2)(b"85", None)
    if not library.gdk_pixbuf_savev(ctypes.c_void_p(picture), str(path).encode(), b"jpeg", keys,
                                    values, None):
        raise OSError(f"{path} could not be written")


for file_name, drawn in PORTRAITS.items():
    if file_name.endswith(".png"):
        (FOLDER / file_name).write_bytes(png_of(drawn))
    else:
        write_jpeg(drawn, FOLDER / file_name)
