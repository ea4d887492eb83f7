#!/usr/bin/env python3
"""Makes the firmware image that the library carries: make_image.py OUTPUT VERSION

A stand-in of the real image's size and of no meaning: a line of text that says so, then noise from a fixed
seed, so that every build carries the same bytes. Whoever has the scanner's firmware puts it in this place.
"""
import hashlib
import sys

SIZE = 49588
LABEL = "K274 firmware image {}: stand-in, no program\r\n\0"
SEED = b"K274 stand-in firmware image"


def image(version):
    noise = b"".join(hashlib.sha256(SEED + number.to_bytes(4, "little")).digest()
                     for number in range(SIZE // 32 + 1))
    return (LABEL.format(version).encode() + noise)[:SIZE]


if __name__ == "__main__":
    with open(sys.argv[1], "wb") as output:
        output.write(image(sys.argv[2]))
