"""A reader's card of a library in a lighthouse, with a Code 39 barcode."""

from PIL import ImageDraw

from .barcode import code39, draw_symbol
from .canvas import HEIGHT, MONO, SANS, SERIF_BOLD, WIDTH, Ink, blank, fine_print, text, tint

PAPER, BRICK, DUSK, LIGHT, INK = (250, 244, 228), (196, 84, 58), (74, 84, 150), (255, 214, 110), (30, 28, 36)
NUMBER = "NL-0274-58"


def lighthouse(card, x, ground, size):
    """A striped tower of books with a lamp on top, its foot at the middle of the ground line."""
    beam = Ink(scale=2)
    for side in (-1, 1):
        beam.polygon([(x, ground - 8.4 * size), (x + side * 7 * size, ground - 9.9 * size),
                      (x + side * 7 * size, ground - 6.9 * size)])
    tint(card, LIGHT, beam.finish(steps=3), 0.5)
    for k in range(7):
        ink = Ink(scale=2)
        half = (1.9 - 0.13 * k) * size
        ink.box(x - half, ground - (k + 1) * size + 4, x + half, ground - k * size, 8)
        tint(card, BRICK if k % 2 == 0 else (236, 226, 206), ink.finish(steps=3))
    lamp = Ink(scale=2)
    lamp.ellipse(x, ground - 8.4 * size, 0.75 * size, 0.75 * size)
    tint(card, (255, 246, 206), lamp.finish(steps=3))
    roof = Ink(scale=2)
    roof.polygon([(x - 1.15 * size, ground - 9.2 * size), (x, ground - 10.4 * size),
                  (x + 1.15 * size, ground - 9.2 * size)])
    roof.box(x - 1.2 * size, ground - 7.4 * size, x + 1.2 * size, ground - 7.0 * size)
    tint(card, INK, roof.finish(steps=3))


def front():
    card = blank(DUSK)
    draw = ImageDraw.Draw(card)
    draw.rectangle((0, 730, WIDTH, HEIGHT), fill=PAPER)
    lighthouse(card, 1500, 730, 58)
    text(card, (110, 230), "Library of the", SERIF_BOLD, 84, PAPER)
    text(card, (110, 340), "Ninth Lighthouse", SERIF_BOLD, 84, PAPER)
    text(card, (114, 430), "READER", SANS, 40, LIGHT, tracking=16)
    text(card, (114, 640), "Imre Sandvale", SANS, 62, PAPER)
    rows = code39(NUMBER)
    draw_symbol(draw, (WIDTH - 6 * len(rows[0])) // 2, 800, rows, 6, 200, INK)
    text(card, (WIDTH // 2, 1060), NUMBER, MONO, 44, INK, anchor="ms", tracking=14)
    return card


def back():
    card = blank(PAPER)
    fine_print(
        card, (120, 300, 1740),
        "Books are lent for one tide or for one winter, whichever is longer. They come back dry. Whoever finds this card "
        "may read until its owner comes for it. Made for testing scanners: there is no such library, and the first eight "
        "lighthouses have none either.", SANS, 42, INK, 64)
    draw = ImageDraw.Draw(card)
    for y in (820, 940):
        draw.line((120, y, 1100, y), fill=DUSK, width=4)
    return card
