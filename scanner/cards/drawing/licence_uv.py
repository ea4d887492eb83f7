"""What glows on the driver licence in ultraviolet light. The paper itself is dull."""

import math
import random

from PIL import Image, ImageChops

from .canvas import BOLD, HEIGHT, MONO_BOLD, SERIF_BOLD, WIDTH, Ink, blank, rosette, spline, text, tint, waves
from .licence_data import LICENCE_NUMBER
from .portrait import portrait

DULL = (14, 10, 34)  # what paper without brightener throws back of the lamp
GREEN, YELLOW, ORANGE = (70, 240, 120), (240, 230, 90), (255, 120, 50)
BLUE, RED = (90, 130, 255), (255, 60, 60)


def fibres(card, seed):
    """Silk in the paper: short, crooked, in three colours, nowhere twice the same."""
    rng = random.Random(seed)
    for colour in (RED, BLUE, GREEN):
        ink = Ink(scale=2)
        for _ in range(34):
            x, y = rng.uniform(20, WIDTH - 20), rng.uniform(20, HEIGHT - 20)
            angle, curve = [], rng.uniform(0, 2 * math.pi)
            for _ in range(4):
                angle.append((x, y))
                curve += rng.uniform(-0.9, 0.9)
                x, y = x + 15 * math.cos(curve), y + 15 * math.sin(curve)
            ink.line(spline(angle, steps=4), 2.6)
        tint(card, colour, ink.finish(steps=3))


def seal(card, cx, cy, radius):
    """The lantern star over two peaks, in a ring."""
    ring = Ink(scale=2)
    ring.ring(cx, cy, radius, 7)
    inner = Ink(scale=2)
    inner.ring(cx, cy, radius * 0.9, 2)
    tint(card, YELLOW, ImageChops.lighter(ring.finish(steps=3), inner.finish(steps=3)))
    peaks = Ink(scale=2)
    for points in ([(-0.72, 0.30), (-0.25, -0.14), (0.02, 0.14)], [(-0.25, 0.30), (0.22, -0.28), (0.74, 0.30)]):
        peaks.line([(cx + x * radius, cy + y * radius) for x, y in points], 7)
    for k in range(3):
        peaks.line([(cx + radius * (i / 20 - 1) * (0.74 - 0.12 * k), cy + radius *
                     (0.42 + 0.14 * k) + 6 * math.sin(i * 0.9 + k)) for i in range(41)], 5)
    tint(card, GREEN, peaks.finish(steps=3))
    star = Ink(scale=2)
    star.polygon([(cx + (0.27 if i % 2 == 0 else 0.08) * radius * math.sin(math.pi * i / 8),
                   cy - 0.52 * radius - (0.27 if i % 2 == 0 else 0.08) * radius * math.cos(math.pi * i / 8))
                  for i in range(16)])
    tint(card, ORANGE, star.finish(steps=3))


def glowing_face(card, x, y, width):
    """The portrait once more, in blue light."""
    small = portrait(width).convert("L")
    levels = small.point([v // 24 * 24 for v in range(256)])
    card.paste(Image.new("RGB", small.size, BLUE), (x, y), levels)


def front():
    card = blank(DULL)
    bands = Ink(scale=2)
    waves(bands, 880, 1080, 6, 40, 900, 2.0, 2.2, 0.4, step=8)
    tint(card, GREEN, bands.finish(steps=2), 0.7)
    fibres(card, 3)
    seal(card, 1050, 560, 330)
    glowing_face(card, 1500, 428, 286)
    text(card, (1643, 850), LICENCE_NUMBER, MONO_BOLD, 34, ORANGE, anchor="ms")
    text(card, (70, 150), "NORVANIA", SERIF_BOLD, 92, YELLOW, tracking=26)
    return card


def back():
    card = blank(DULL)
    flower = Ink(scale=2)
    rosette(flower, 1420, 640, 330, 9, 0.45, 6, 2.4)
    tint(card, GREEN, flower.finish(steps=2))
    fibres(card, 4)
    seal(card, 1420, 640, 130)
    text(card, (80, 470), "NORVANIA", SERIF_BOLD, 120, YELLOW, tracking=20)
    for k in range(3):
        text(card, (80, 640 + 130 * k), "VALID   " * 3, BOLD, 56, (BLUE, RED, BLUE)[k], tracking=6)
    text(card, (80, 1060), LICENCE_NUMBER, MONO_BOLD, 64, ORANGE, tracking=6)
    return card
