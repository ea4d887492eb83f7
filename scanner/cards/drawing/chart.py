"""A resolution chart on the front, colours and greys on the back."""

import colorsys
import math

from PIL import Image, ImageDraw

from .canvas import BOLD, DPI, MONO, SANS, Ink, blank, mix, text, tint

PAPER, BLACK, GREY = (248, 248, 246), (16, 16, 18), (96, 100, 108)
PERIODS = (32, 24, 16, 12, 10, 8, 6, 5, 4, 3, 2)  # pixels a line pair


def line_pairs(draw, x, y, size, period, upright):
    """A square of bars; in odd periods bar and gap differ by a pixel."""
    bar = (period + 1) // 2
    for at in range(0, size, period):
        end = min(at + bar, size) - 1
        if upright:
            draw.rectangle((x + at, y, x + end, y + size - 1), fill=BLACK)
        else:
            draw.rectangle((x, y + at, x + size - 1, y + end), fill=BLACK)


def checkerboard(draw, x, y, size, cell):
    for row in range(0, size, cell):
        for column in range(row // cell % 2 * cell, size, 2 * cell):
            draw.rectangle((x + column, y + row, x + min(column + cell, size) - 1, y + min(row + cell, size) - 1),
                           fill=BLACK)


def siemens_star(card, cx, cy, radius, spokes):
    ink = Ink(scale=4)
    for k in range(spokes):
        a, b = 2 * math.pi * k / spokes, 2 * math.pi * (k + 0.5) / spokes
        ink.polygon([(cx, cy), (cx + radius * math.cos(a), cy + radius * math.sin(a)),
                     (cx + radius * math.cos(b), cy + radius * math.sin(b))])
    tint(card, BLACK, ink.finish())
    for reached in (2, 4, 8):  # where a pair of spokes is so many pixels wide
        r = reached * spokes / (2 * math.pi)
        ring = Ink(scale=4)
        ring.ring(cx, cy, r, 1.5)
        tint(card, (206, 60, 50), ring.finish())


def zone_plate(card, cx, cy, radius):
    """Rings that grow finer outwards until a pair is three pixels wide."""
    pixels = card.load()
    for y in range(-radius, radius + 1):
        for x in range(-radius, radius + 1):
            r2 = x * x + y * y
            if r2 <= radius * radius:
                v = round(132 + 110 * math.cos(math.pi * r2 / (3 * radius)))
                pixels[cx + x, cy + y] = (v, v, v)


def slanted_square(card, cx, cy, size, degrees, colour):
    a, h = math.radians(degrees), size / 2
    ink = Ink(scale=8)
    ink.polygon([(cx + x * math.cos(a) - y * math.sin(a), cy + x * math.sin(a) + y * math.cos(a))
                 for x, y in ((-h, -h), (h, -h), (h, h), (-h, h))])
    tint(card, colour, ink.finish())


def wedge(card, x, y, length, wide, narrow, lines):
    """Lines that converge: from the wide period to the narrow one."""
    ink = Ink(scale=8)
    for k in range(lines):
        at = k - (lines - 1) / 2
        ink.polygon([(x, y + (at - 0.25) * wide), (x + length, y + (at - 0.25) * narrow),
                     (x + length, y + (at + 0.25) * narrow), (x, y + (at + 0.25) * wide)])
    tint(card, BLACK, ink.finish())


def rulers(card):
    """Tenths of an inch along the upper edge and millimetres along the lower one, from the left edge."""
    draw = ImageDraw.Draw(card)
    for k in range(2, 33):
        x = round(k * DPI / 10)
        draw.line((x, 44, x, 44 + (26 if k % 10 == 0 else 18 if k % 5 == 0 else 11)), fill=BLACK, width=2)
    for inch in (1, 2, 3):
        text(card, (inch * DPI + 8, 74), "%d in" % inch, SANS, 20, BLACK)
    for k in range(5, 82):
        x = round(k * DPI / 25.4)
        draw.line((x, 1110, x, 1110 - (22 if k % 10 == 0 else 15 if k % 5 == 0 else 9)), fill=BLACK, width=2)
        if k % 10 == 0:
            text(card, (x + 7, 1096), str(k), SANS, 18, BLACK)


def front():
    card = blank(PAPER)
    draw = ImageDraw.Draw(card)
    rulers(card)
    text(card, (72, 134), "RESOLUTION CHART", BOLD, 42, BLACK)
    text(card, (596, 134), "550 dots per inch, line pairs to the inch", SANS, 24, GREY)

    size, x = 130, 72
    for k, period in enumerate(PERIODS):
        x = 72 + k * (size + 27)
        line_pairs(draw, x, 172, size, period, True)
        line_pairs(draw, x, 172 + size + 24, size, period, False)
        text(card, (x + size // 2, 172 + 2 * size + 56), ("%.1f" % (DPI / period)).rstrip("0").rstrip("."),
             MONO,
             24,
             BLACK,
             anchor="ms")

    siemens_star(card, 330, 790, 240, 72)
    zone_plate(card, 800, 736, 172)
    text(card, (800, 942), "zone plate, 3 pixels at the rim", SANS, 18, GREY, anchor="ms")
    text(card, (330, 1066), "72 pairs of spokes; rings at 2, 4 and 8 pixels a pair", SANS, 18, GREY, anchor="ms")

    for k, (degrees, colour) in enumerate(
        ((5, BLACK), (-8, (120, 120, 122)), (3, (176, 30, 40)), (-5, (24, 70, 150)))):
        cx, cy = 1105 + (k % 2) * 206, 640 + (k // 2) * 206
        slanted_square(card, cx, cy, 142, degrees, colour)
    text(card, (1208, 942), "edges at 5, -8, 3 and -5 degrees", SANS, 18, GREY, anchor="ms")

    for k, cell in enumerate((32, 16, 8, 4, 2, 1)):
        cx, cy = 1450 + (k % 2) * 180, 546 + (k // 2) * 132
        checkerboard(draw, cx, cy, 96, cell)
        text(card, (cx + 106, cy + 56), str(cell), MONO, 24, BLACK)
    text(card, (1600, 942), "checks, pixels a side", SANS, 18, GREY, anchor="ms")

    wedge(card, 660, 1026, 1060, 12, 2, 9)
    for period in (12, 8, 6, 4, 3, 2):
        at = 660 + 1060 * (12 - period) / 10
        draw.line((at, 968, at, 978), fill=BLACK, width=2)
        text(card, (at, 964), str(period), MONO, 16, BLACK, anchor="ms")
    return card


PATCHES = (
    ("bark", (96, 66, 50)),
    ("peach", (226, 176, 148)),
    ("ink", (44, 52, 96)),
    ("moss", (88, 108, 60)),
    ("lilac", (140, 128, 180)),
    ("mint", (120, 196, 176)),
    ("amber", (226, 138, 44)),
    ("cobalt", (52, 78, 168)),
    ("coral", (214, 84, 92)),
    ("plum", (90, 50, 104)),
    ("lime", (168, 196, 62)),
    ("honey", (236, 176, 50)),
    ("deep blue", (36, 48, 140)),
    ("leaf", (64, 146, 72)),
    ("brick", (172, 44, 48)),
    ("canary", (240, 210, 40)),
    ("fuchsia", (192, 72, 148)),
    ("lagoon", (10, 132, 166)),
    ("fair skin", (240, 200, 178)),
    ("tan skin", (202, 152, 118)),
    ("brown skin", (148, 98, 72)),
    ("dark skin", (88, 56, 44)),
    ("sky", (150, 196, 226)),
    ("sand", (220, 204, 170)),
)


def hue_field(width, height):
    """All hues across; from pale over pure to dark downwards."""
    small = Image.new("RGB", (width // 4, height // 4))
    pixels = small.load()
    for y in range(small.height):
        t = y / (small.height - 1)
        for x in range(small.width):
            hue = x / small.width
            r, g, b = colorsys.hsv_to_rgb(hue, min(1.0, 0.12 + 1.76 * t), min(1.0, 1.9 - 1.4 * t))
            pixels[x, y] = (round(255 * r), round(255 * g), round(255 * b))
    return small.resize((width, height), Image.NEAREST)


def back():
    card = blank((236, 236, 234))
    draw = ImageDraw.Draw(card)
    text(card, (72, 112), "COLOURS AND GREYS", BOLD, 42, BLACK)
    text(card, (640, 112), "values from 0 to 255, red green blue", SANS, 24, GREY)

    for k, (name, colour) in enumerate(PATCHES):
        x, y = 72 + k % 6 * 168, 150 + k // 6 * 152
        draw.rectangle((x, y, x + 147, y + 107), fill=colour, outline=(60, 60, 62), width=2)
        text(card, (x, y + 128), name, SANS, 17, BLACK)
        text(card, (x + 148, y + 128), "%02X%02X%02X" % colour, MONO, 14, GREY, anchor="rs")

    card.paste(hue_field(700, 596), (1088, 150))
    draw.rectangle((1086, 148, 1789, 747), outline=(60, 60, 62), width=2)

    for k in range(21):
        v = round(255 * k / 20)
        x = 72 + k * 1716 // 21
        end = 72 + (k + 1) * 1716 // 21
        draw.rectangle((x, 780, end - 1, 859), fill=(v, v, v))
        text(card, ((x + end) // 2, 884), str(v), MONO, 18, BLACK, anchor="ms")
    for k, colour in enumerate(((255, 255, 255), (255, 0, 0), (0, 255, 0), (0, 0, 255))):
        y = 906 + k * 40
        for x in range(1716):
            draw.line((72 + x, y, 72 + x, y + 33), fill=mix((0, 0, 0), colour, x / 1715))
    return card
