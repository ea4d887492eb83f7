"""The card of a bank that does not exist, with three tracks on its stripe.

Its number belongs to nobody: it fails the check digit's rule and begins with the code of no country.
"""

from PIL import ImageDraw

from .canvas import (BOLD, HEIGHT, MONO_BOLD, SANS, SERIF_BOLD, WIDTH, Ink, blank, fine_print, gradient, rosette,
                     text, tint, waves)
from .licence_uv import DULL

NUMBER = "9274801644055183"
GOLD, PALE, INK = (222, 188, 104), (236, 246, 246), (26, 30, 40)

# The third track is written in 5-bit characters. Its digits avoid 02 and 32 before an odd digit: read as 7-bit
# characters, which is what a reader tries first, those would look like the start of a track.
TRACKS = {
    "track1": "B%s^BRACKWATER/OTTO^29091010000000274000" % NUMBER,
    "track2": "%s=29091010000027400" % NUMBER,
    "track3": "01%s=274274000000000003000000000100012909==1=000000000000" % NUMBER,
    "track3-bits": "5",
}


def lantern(ink, x, y, size):
    """The bank's mark: a lantern in a ring, its middle at (x, y)."""
    ink.ring(x, y, size, size * 0.09)
    ink.polygon([(x - 0.36 * size, y + 0.5 * size), (x - 0.24 * size, y - 0.3 * size),
                 (x + 0.24 * size, y - 0.3 * size), (x + 0.36 * size, y + 0.5 * size)])
    ink.polygon([(x - 0.34 * size, y - 0.36 * size), (x, y - 0.66 * size), (x + 0.34 * size, y - 0.36 * size)])
    ink.box(x - 0.42 * size, y + 0.56 * size, x + 0.42 * size, y + 0.64 * size)
    ink.ellipse(x, y + 0.14 * size, 0.1 * size, 0.18 * size, 0)


def chip(card, x, y):
    draw = ImageDraw.Draw(card)
    draw.rounded_rectangle((x, y, x + 210, y + 168), 26, fill=GOLD, outline=(150, 118, 52), width=3)
    for k in (56, 112):
        draw.line((x, y + k, x + 70, y + k), fill=(150, 118, 52), width=3)
        draw.line((x + 140, y + k, x + 210, y + k), fill=(150, 118, 52), width=3)
    draw.rounded_rectangle((x + 70, y + 30, x + 140, y + 138), 14, outline=(150, 118, 52), width=3)


def in_fours(number):
    return "  ".join(number[k:k + 4] for k in range(0, len(number), 4))


def front():
    card = gradient([(0.0, (36, 116, 160)), (0.6, (44, 140, 170)), (1.0, (70, 170, 178))], angle=24)
    sea = Ink(scale=2)
    waves(sea, 620, 1200, 9, 50, 1200, 2.4, 2.0, 1.0, step=8)
    tint(card, PALE, sea.finish(steps=2), 0.25)
    mark = Ink(scale=2)
    lantern(mark, 1640, 210, 120)
    tint(card, GOLD, mark.finish(steps=3))
    card = card.quantize(64, dither=0).convert("RGB")
    text(card, (110, 210), "Bank of the Lantern Coast", SERIF_BOLD, 78, PALE)
    text(card, (112, 270), "NOT A BANK   NOT MONEY   FOR TESTING SCANNERS", SANS, 28, PALE, tracking=4)
    chip(card, 150, 410)
    text(card, (110, 790), in_fours(NUMBER), MONO_BOLD, 98, PALE)
    text(card, (112, 900), "VALID THRU", SANS, 24, PALE)
    text(card, (290, 906), "09/29", MONO_BOLD, 48, PALE)
    text(card, (110, 1040), "OTTO BRACKWATER", MONO_BOLD, 56, PALE, tracking=4)
    return card


def back():
    card = blank((150, 196, 206))
    draw = ImageDraw.Draw(card)
    draw.rectangle((0, 124, WIDTH, 330), fill=(34, 32, 34))
    draw.rectangle((110, 430, 1240, 560), fill=(250, 250, 246))
    for k in range(9):
        draw.line((110, 444 + 14 * k, 1240, 444 + 14 * k), fill=(206, 216, 222), width=2)
    text(card, (1290, 520), "581  274", MONO_BOLD, 52, INK)
    fine_print(
        card, (110, 680, 1740),
        "This card buys nothing. It was made for testing scanners: there is no such bank, no such coast and no such account. "
        "If found, keep it as a bookmark.", SANS, 36, INK, 54)
    text(card, (110, 1040), "Bank of the Lantern Coast", SERIF_BOLD, 50, (28, 84, 120))
    return card


def front_uv():
    card = blank(DULL)
    glow = Ink(scale=2)
    lantern(glow, 1320, 560, 400)
    tint(card, (250, 220, 90), glow.finish(steps=3))
    sea = Ink(scale=2)
    waves(sea, 700, 1180, 6, 50, 1200, 2.4, 3.0, 1.0, step=8)
    tint(card, (60, 200, 255), sea.finish(steps=2))
    text(card, (110, 200), "LANTERN COAST", BOLD, 84, (90, 255, 140), tracking=10)
    return card


def back_uv():
    card = blank(DULL)
    flower = Ink(scale=2)
    rosette(flower, 1400, 780, 280, 8, 0.35, 5, 3.0)
    tint(card, (60, 200, 255), flower.finish(steps=2))
    # The signature panel is ordinary white paper, which has brightener in it.
    ImageDraw.Draw(card).rectangle((110, 430, 1240, 560), fill=(120, 150, 250))
    text(card, (110, HEIGHT - 129), "274", MONO_BOLD, 120, (255, 110, 60), tracking=20)
    return card


def plain_front():
    """The same card from the bank's other, cheaper printer."""
    card = blank((150, 196, 206))
    text(card, (110, 210), "Bank of the Lantern Coast", SERIF_BOLD, 78, INK)
    text(card, (110, 790), in_fours(NUMBER), MONO_BOLD, 98, INK)
    text(card, (110, 1040), "OTTO BRACKWATER", MONO_BOLD, 56, INK, tracking=4)
    return card
