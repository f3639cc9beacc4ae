#!/usr/bin/env python3
"""Writes the small hostile files (and a few ordinary seeds) of the fuzz corpora.

Each hostile file is tiny on disk and huge once read by a parser without a budget:
  property-list/shared-references-60-deep       60 levels of arrays, each holding the next twice
  property-list/one-string-40000-references     one 32 KB string referenced 40,000 times (1.3 GB)
  property-list/nested-arrays-blank-before-gt   arrays nested past the limit, a blank before each '>'
  image/tiff-60-pages-one-strip                 60 pages of 3000 x 3000 sharing one compressed strip
  image/png-declares-9000x9000                  a header for 81 megapixels over one row of pixels
The deep XML here is kept short for the fuzzer; tests build the 300,000-level one themselves.
Run from anywhere: python3 tests/fuzz/make-hostile-inputs.py
"""
import os
import struct
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))


def write(relative, data):
    path = os.path.join(HERE, "corpus", relative)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(data)


def bplist(objects, top=0):
    """A binary property list of already encoded objects (references are one byte wide when
    fewer than 256 objects)."""
    body = b"bplist00"
    offsets = []
    for encoded in objects:
        offsets.append(len(body))
        body += encoded
    table = len(body)
    body += b"".join(struct.pack(">I", offset) for offset in offsets)
    return body + bytes(6) + struct.pack(">BBQQQ", 4, 1, len(objects), top, table)


def marker(kind, length):
    """An object marker with its length, the long form past 14."""
    if length < 15:
        return bytes([kind << 4 | length])
    for power, fmt in ((0, ">B"), (1, ">H"), (2, ">I")):
        if length < 1 << (8 << power):
            return bytes([kind << 4 | 0xF, 0x10 | power]) + struct.pack(fmt, length)
    raise ValueError(length)


def array(refs):
    return marker(0xA, len(refs)) + bytes(refs)


def ascii_string(text):
    return marker(0x5, len(text)) + text


def tiff(pages, width, height, shared_strip):
    """A little-endian RGB TIFF whose pages all point at the same deflated strip."""
    strip = zlib.compress(bytes(width * height * 3), 9) if shared_strip else None
    header = b"II*\x00"
    data = bytearray(header + bytes(4))
    bits_at = len(data)
    data += struct.pack("<HHH", 8, 8, 8)
    strips = []
    for page in range(pages):
        if shared_strip and strips:
            strips.append(strips[0])
            continue
        pixels = strip if shared_strip else bytes((page * 40 + i) % 256 for i in range(width * height * 3))
        strips.append((len(data), len(pixels)))
        data += pixels
    if len(data) % 2:
        data += b"\x00"
    struct.pack_into("<I", data, 4, len(data))
    compression = 8 if shared_strip else 1
    for page, (offset, length) in enumerate(strips):
        entries = [(256, 4, 1, width), (257, 4, 1, height), (258, 3, 3, bits_at), (259, 3, 1, compression),
                   (262, 3, 1, 2), (273, 4, 1, offset), (277, 3, 1, 3), (278, 4, 1, height),
                   (279, 4, 1, length), (284, 3, 1, 1)]
        following = len(data) + 2 + 12 * len(entries) + 4
        data += struct.pack("<H", len(entries))
        for tag, kind, count, value in entries:
            packed = struct.pack("<H", value) + bytes(2) if kind == 3 and count == 1 else struct.pack("<I", value)
            data += struct.pack("<HHI", tag, kind, count) + packed
        data += struct.pack("<I", following if page + 1 < len(strips) else 0)
    return bytes(data)


def png(width, height, rows=None):
    """An RGBA PNG; `rows` (the compressed pixel rows) can be left short of what the size needs."""
    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
    if rows is None:
        rows = zlib.compress(b"".join(b"\x00" + bytes((x * 60 + y * 20) % 256 for x in range(width * 4))
                                      for y in range(height)))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)) +
            chunk(b"IDAT", rows) + chunk(b"IEND", b""))


def main():
    deep = [array([index + 1, index + 1]) for index in range(60)] + [ascii_string(b"x")]
    write("property-list/shared-references-60-deep", bplist(deep))
    many = marker(0xA, 40000) + bytes([1]) * 40000
    write("property-list/one-string-40000-references", bplist([many, ascii_string(b"A" * 32768)]))
    blanks = [b"\n", b"\t", b" ", b"\r\n", b' kind="list"']
    levels = b"".join(b"<array" + blanks[i % len(blanks)] + b">" for i in range(2000))
    write("property-list/nested-arrays-blank-before-gt",
          b'<?xml version="1.0" encoding="UTF-8"?>\n<plist version="1.0">\n' + levels)

    write("image/tiff-60-pages-one-strip", tiff(60, 3000, 3000, shared_strip=True))
    write("image/tiff-3-pages", tiff(3, 8, 8, shared_strip=False))
    write("image/png-declares-9000x9000", png(9000, 9000, zlib.compress(bytes(9000 * 4 + 1))))
    write("image/png-rgba", png(6, 4))
    with open(os.path.join(HERE, "..", "fixtures", "images", "sizes-16-32.ico"), "rb") as file:
        write("image/ico-16-32", file.read())


if __name__ == "__main__":
    main()
