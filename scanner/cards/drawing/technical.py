"""Cards that are there for what they make the scanner or the library do: white cards, test cards and bad cards."""

import random

from PIL import ImageDraw

from .barcode import draw_symbol, pdf417
from .canvas import BOLD, HEIGHT, MONO, SANS, WIDTH, blank, fine_print, text

WHITE = (250, 250, 250)  # paper: white, but not more than the scanner's white target
INK = (20, 20, 24)


def white_card(words, paper=WHITE):
    """A white card whose barcode stands upright beside its right edge, in the lower half.

    The scanner's software looks for it only there, and for that of a card put in the other way round only in the
    corner opposite; this place lies within both, and off the places where the white is measured.
    """
    card = blank(paper)
    rows = pdf417(words, columns=2, security=3)
    module, height = 5, 14
    x = 1707 - height * len(rows) // 2
    y = 840 + module * len(rows[0]) // 2
    draw_symbol(ImageDraw.Draw(card), x, y, rows, module, height, INK, upwards=True)
    return card


def glow(percent):
    """White under ultraviolet light so that the card's number, a gain in percent, brings it to full white."""
    return tuple(v * 100 // percent for v in WHITE)


def labelled(colour, title, words, width=WIDTH):
    """White paper with a coloured panel across the middle, dark enough that nobody takes it for a white card."""
    card = blank(WHITE, (width, HEIGHT))
    draw = ImageDraw.Draw(card)
    draw.rectangle((110, 330, width - 111, 860), fill=colour)
    text(card, (170, 520), title, BOLD, 110, WHITE)
    fine_print(card, (174, 620, width - 170), words, SANS, 44, WHITE, 66)
    text(card, (110, 1040), "K274 sample deck", MONO, 34, INK)
    return card


def decode_mode():
    """Everything is on the front: with a white back the barcode is read whatever the mode was before."""
    card = blank(WHITE)
    text(card, (WIDTH // 2, 250), "Decode Mode: 1", BOLD, 110, INK, anchor="ms")
    rows = pdf417("Decode Mode: 1", columns=4, security=3)
    draw_symbol(ImageDraw.Draw(card), (WIDTH - 7 * len(rows[0])) // 2, 420, rows, 7, 28, INK)
    fine_print(
        card, (300, 840, 1556),
        "Switches the reading of barcodes to the mode that the last digit names, until the program ends or another such "
        "card comes.", SANS, 40, INK, 60)
    return card


def jitter_front():
    return labelled((24, 96, 84), "Jitter Test Card", "Pulled evenly, the edges of the bars on the back are grey. "
                    "Pulled unevenly, they show coloured fringes.")


def jitter_back():
    """Bars along the transport, with room for the chart below them and the barcode below that."""
    card = blank(WHITE)
    draw = ImageDraw.Draw(card)
    for x in range(40, 1816, 16):
        draw.rectangle((x, 96, x + 7, 648), fill=(8, 8, 8))
    rows = pdf417("Jitter Test Card", columns=5, security=3)
    draw_symbol(draw, 200, 910, rows, 6, 28, INK)
    return card


def cleaning():
    return labelled((20, 110, 190), "Cleaning card",
                    "Felt on both sides. Wipes rollers and glass as it passes; there is "
                    "nothing on it to read.")


def slipping():
    card = labelled((44, 64, 150), "Slipping card", "Greasy. The rollers do not get hold of it.")
    draw = ImageDraw.Draw(card)
    for k, (x, y, r) in enumerate(((1340, 700, 90), (1500, 560, 60), (1190, 790, 44), (1610, 780, 54))):
        shade = 236 - 12 * k
        draw.ellipse((x - r, y - r * 3 // 4, x + r, y + r * 3 // 4), fill=(shade, shade - 20, shade - 70))
    return card


def jamming():
    card = labelled((186, 60, 40), "Jamming card", "Bent. It goes in and sticks.")
    draw = ImageDraw.Draw(card)
    for k in range(6):
        draw.line([(1200 + 18 * k, 0), (1280 + 14 * k, 320), (1230 + 22 * k, 800), (1330 + 10 * k, HEIGHT)],
                  fill=(196 - 12 * k, 196 - 12 * k, 200 - 12 * k),
                  width=5)
    return card


SHORT_WIDTH = 1705  # 3.1 inches


def short_front():
    return labelled((30, 90, 60), "Short card", "3.1 inches long instead of 3.375.", SHORT_WIDTH)


def short_back():
    return blank(WHITE, (SHORT_WIDTH, HEIGHT))


def dusty():
    card = labelled((110, 92, 40), "Dusty card", "From the bottom of a handbag: leaves its dust on the glass.")
    draw = ImageDraw.Draw(card)
    rng = random.Random(11)
    for _ in range(700):
        x, y, r = rng.uniform(0, WIDTH), rng.uniform(0, HEIGHT), rng.uniform(1, 5)
        draw.ellipse((x - r, y - r, x + r, y + r), fill=(132, 122, 108))
    return card
