"""Barcodes as rows of modules. The symbols themselves are made by Debian's zint."""

import subprocess


def symbol(kind, words, *options):
    """Rows of modules, 1 for a bar, of a symbol that zint knows by that name."""
    escaped = "".join(c if " " <= c <= "~" and c != "\\" else "\\x%02X" % ord(c) for c in words)
    dump = subprocess.run(["zint", "--dump", "--esc", "-b", kind, *options, "-d", escaped],
                          check=True,
                          capture_output=True,
                          text=True).stdout
    # Four modules a digit; every row ends with a bar, so what follows is padding.
    rows = ["".join("{:04b}".format(int(digit, 16)) for digit in line if digit != " ") for line in dump.split("\n")]
    return [[int(module) for module in row.rstrip("0")] for row in rows if row]


def code128(words):
    return symbol("CODE128B", words)


def code39(words):
    return symbol("CODE39", words)


def pdf417(words, columns, security):
    """Security is the level of error correction: each level doubles the codewords spent on it."""
    return symbol("PDF417", words, "--cols=%d" % columns, "--secure=%d" % security)


def draw_symbol(draw, x, y, rows, module, height, colour, upwards=False):
    """Draws with bars of whole pixels; height is that of one row. Returns the width drawn along the rows.

    Upwards turns the symbol by a quarter: it then begins at (x, y) as its lower left corner and reads upwards.
    """
    for k, row in enumerate(rows):
        for i, bar in enumerate(row):
            if not bar:
                continue
            along, across = i * module, k * height
            if upwards:
                box = (x + across, y - along - module + 1, x + across + height - 1, y - along)
            else:
                box = (x + along, y + across, x + along + module - 1, y + across + height - 1)
            draw.rectangle(box, fill=colour)
    return len(rows[0]) * module
