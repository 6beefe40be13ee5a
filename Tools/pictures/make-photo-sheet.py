#!/usr/bin/env python3
"""Renders photos as mails and lists show them, and puts them on one sheet:

    Tools/pictures/make-photo-sheet.py build/dev/bin/syclient Docs/photos.png

A row for each photo: 100 by 120 pixels, dimmed, 50 by 60, dimmed, wide, and a badge's size. The
last row is the member without a photo. Bands show the sheet's chequered ground.
"""
import pathlib
import struct
import subprocess
import sys
import tempfile
import zlib

ROOT = pathlib.Path(__file__).resolve().parents[2]
PHOTOS = sorted((ROOT / "Server/SamplePhotos").glob("*.*g")) + [None]
PLACES = [("100x120", False), ("100x120", True), ("50x60", False), ("50x60", True), ("120x40", False), ("16x16", True)]
GAP = 12
ROW = 120 + GAP


def chunks(data):
    at = 8
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        yield kind, data[at + 8:at + 8 + length]
        at += length + 12


def read_rgba(path):
    """A PNG of syclient: 8 bits RGBA. Returns width and rows of bytes."""
    parts = list(chunks(path.read_bytes()))
    width, height, depth, colour = struct.unpack(">IIBB", parts[0][1][:10])
    if (depth, colour) not in ((8, 6), (8, 2)):
        sys.exit(f"{path}: not the PNG that was expected")
    size = 4 if colour == 6 else 3
    raw = zlib.decompress(b"".join(body for kind, body in parts if kind == b"IDAT"))
    rows, former = [], bytes(width * size)
    for y in range(height):
        line = bytearray(raw[y * (width * size + 1):(y + 1) * (width * size + 1)])
        kind, line = line[0], line[1:]
        for i in range(len(line)):
            left = line[i - size] if i >= size else 0
            corner = former[i - size] if i >= size else 0
            line[i] = (line[i] + predict(kind, left, former[i], corner)) & 255
        former = bytes(line)
        rows.append(former if size == 4 else b"".join(former[i:i + 3] + b"\xff" for i in range(0, len(former), 3)))
    return width, rows


def predict(kind, left, above, corner):
    if kind == 4:
        guess = left + above - corner
        return min((left, above, corner), key=lambda value: abs(guess - value))
    return (0, left, above, (left + above) // 2)[kind]


def ground(x, y):
    return 236 if (x // 8 + y // 8) % 2 else 246


def put(sheet, stride, left, top, width, rows):
    for y, row in enumerate(rows):
        for x in range(width):
            *rgb, alpha = row[4 * x:4 * x + 4]
            at = (top + y) * stride + 3 * (left + x)
            for i in range(3):
                sheet[at + i] = round((rgb[i] * alpha + sheet[at + i] * (255 - alpha)) / 255)


def write(path, width, height, sheet):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    rows = b"".join(b"\0" + bytes(sheet[y * width * 3:(y + 1) * width * 3]) for y in range(height))
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)) +
                     chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


def main():
    syclient, target = sys.argv[1], pathlib.Path(sys.argv[2])
    width = sum(int(size.split("x")[0]) + GAP for size, _ in PLACES) + GAP
    height = ROW * len(PHOTOS) + GAP
    sheet = bytearray(ground(x, y) for y in range(height) for x in range(width) for _ in range(3))
    with tempfile.TemporaryDirectory() as folder:
        out = pathlib.Path(folder) / "photo.png"
        for row, photo in enumerate(PHOTOS):
            left = GAP
            for size, dimmed in PLACES:
                subprocess.run([syclient, "photo", str(photo or ""), "--size", size, "--out", str(out)] +
                               ["--dimmed"] * dimmed, check=True)
                photo_width, rows = read_rgba(out)
                put(sheet, width * 3, left, GAP + row * ROW + (120 - len(rows)) // 2, photo_width, rows)
                left += photo_width + GAP
    write(target, width, height, sheet)


main()
