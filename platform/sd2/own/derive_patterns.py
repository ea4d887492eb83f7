#!/usr/bin/env python3
"""Derives the bar patterns of PDF417's codewords from symbols made by an existing generator (Debian: zint).

    derive_patterns.py > pdf417_patterns.inc

Random bytes are encoded twice: here into the codewords that a symbol of them must have, by zint into bars. So each
place of a symbol tells one codeword's pattern, and every pattern is seen many times: a contradiction, or a pattern
that two codewords of a cluster share, would show that the codewords are not those of the symbol.
"""
import random
import subprocess
import sys
import tempfile

FIELD, GENERATOR, CODEWORDS, CLUSTERS = 929, 3, 929, 3
START, CODEWORD = 17, 17  # modules
COLUMNS, LEVEL = 20, 8


def correction(data, count):
    """The remainder of the data by the product of (x - 3^i), i from 1, negated."""
    generator = [1]
    for i in range(1, count + 1):
        root = pow(GENERATOR, i, FIELD)
        generator = [(a - root * b) % FIELD for a, b in zip(generator + [0], [0] + generator)]
    rest = [0] * count
    for word in data:
        lead = (word + rest[0]) % FIELD
        rest = [(r - lead * g) % FIELD for r, g in zip(rest[1:] + [0], generator[1:])]
    return [-r % FIELD for r in rest]


def byte_compaction(content):
    """Six bytes in five codewords, the rest one by one."""
    words = [924 if len(content) % 6 == 0 else 901]
    whole = len(content) // 6 * 6
    for i in range(0, whole, 6):
        value = int.from_bytes(content[i:i + 6], "big")
        words += [value // 900**k % 900 for k in range(4, -1, -1)]
    return words + list(content[whole:])


def symbol_rows(content):
    """The symbol's rows as texts of 0 and 1."""
    with tempfile.NamedTemporaryFile() as file:
        file.write(content)
        file.flush()
        dump = subprocess.run(["zint", "-b", "PDF417", "--binary", f"--cols={COLUMNS}", f"--secure={LEVEL}", "--dump",
                               "-i", file.name], check=True, capture_output=True, text=True).stdout
    return ["".join(f"{int(byte, 16):0{4 * len(byte)}b}" for byte in line.split()) for line in dump.splitlines()]


def learn(patterns, content):
    rows = symbol_rows(content)
    places = len(rows) * COLUMNS - 2 ** (LEVEL + 1)
    words = byte_compaction(content)
    words = [places] + words + [900] * (places - 1 - len(words))
    words += correction(words, 2 ** (LEVEL + 1))
    for place, word in enumerate(words):
        row, column = divmod(place, COLUMNS)
        begin = START + CODEWORD * (column + 1)  # behind the left indicator
        pattern = rows[row][begin:begin + CODEWORD]
        if patterns[row % CLUSTERS].setdefault(word, pattern) != pattern:
            sys.exit(f"codeword {word} of row {row} contradicts an earlier one")


def main():
    random.seed(417)
    patterns = [{} for _ in range(CLUSTERS)]
    while any(len(known) < CODEWORDS for known in patterns):
        # High bytes alone, and whole groups of six: there is one shortest way to encode them.
        learn(patterns, bytes(random.randrange(128, 256) for _ in range(6 * random.randrange(30, 55))))
    for known in patterns:
        assert len(set(known.values())) == CODEWORDS and all(p[0] == "1" and p[-1] == "0" for p in known.values())
    print("// Bars of PDF417's codewords, cluster after cluster: sixteen bits for the modules after the first, which is\n"
          "// always dark; 1 is dark. Made by derive_patterns.py.")
    for known in patterns:
        print("{{")
        for first in range(0, CODEWORDS, 13):
            print(" ".join(f"0x{int(known[word][1:], 2):04X}," for word in range(first, min(first + 13, CODEWORDS))))
        print("}},")


main()
