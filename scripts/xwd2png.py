#!/usr/bin/env python3
"""Turns an xwd screenshot (24 or 32 bits a pixel, ZPixmap, as xwd -root makes on Xvfb)
into a PNG, optionally cut to a rectangle:  xwd2png.py IN.xwd OUT.png [X Y W H]"""
import struct
import sys
import zlib


def read_xwd(path):
    data = open(path, "rb").read()
    h = struct.unpack(">25I", data[:100])
    header_size, width, height = h[0], h[4], h[5]
    byte_order, bits_per_pixel, bytes_per_line, ncolors = h[7], h[11], h[12], h[19]
    if bits_per_pixel not in (24, 32):
        sys.exit(f"{path}: {bits_per_pixel} bits a pixel is not supported")
    pixels = data[header_size + 12 * ncolors:]
    step = bits_per_pixel // 8
    rows = []
    for y in range(height):
        line = pixels[y * bytes_per_line:y * bytes_per_line + width * step]
        row = bytearray()
        for x in range(0, width * step, step):
            p = line[x:x + step]
            b, g, r = (p[0], p[1], p[2]) if byte_order == 0 else (p[-1], p[-2], p[-3])
            row += bytes((r, g, b))
        rows.append(bytes(row))
    return width, height, rows


def write_png(path, width, height, rows):
    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
    raw = b"".join(b"\0" + r for r in rows)
    png = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
    png += chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b"")
    open(path, "wb").write(png)


def main():
    width, height, rows = read_xwd(sys.argv[1])
    if len(sys.argv) == 7:
        x, y, w, h = (int(v) for v in sys.argv[3:7])
        rows = [r[x * 3:(x + w) * 3] for r in rows[y:y + h]]
        width, height = w, h
    write_png(sys.argv[2], width, height, rows)


if __name__ == "__main__":
    main()
