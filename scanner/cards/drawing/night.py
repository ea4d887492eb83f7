"""A night pass for an observatory: a card as dark as the scanner can still find."""

import math
import random

from PIL import Image, ImageChops, ImageDraw

from .canvas import (BOLD, HEIGHT, MONO, SANS, SERIF, SERIF_BOLD, WIDTH, Ink, fine_print, gradient, microprint, mix,
                     spline, text, tint)

# The scanner's search wants every edge of the card a little brighter than its dark surroundings.
DEEP, DUSK, LOW = (56, 62, 88), (70, 74, 98), (88, 82, 96)
BRASS, PALE = (162, 138, 92), (142, 148, 166)


def sky():
    return gradient([(0.0, DEEP), (0.6, DUSK), (1.0, LOW)], angle=78)


def stars(card, rng, count, top, bottom, spared=()):
    """Stars everywhere but in the spared boxes, where print will stand."""
    draw = ImageDraw.Draw(card)
    for _ in range(count):
        x, y = rng.uniform(60, WIDTH - 60), rng.uniform(top, bottom)
        if any(x0 < x < x1 and y0 < y < y1 for x0, y0, x1, y1 in spared):
            continue
        brightness = rng.random()**2.2
        colour = mix((96, 100, 122), rng.choice(((168, 168, 172), (166, 150, 124), (138, 150, 176))), brightness)
        r = 0.8 + 1.8 * brightness
        draw.ellipse((x - r, y - r, x + r, y + r), fill=colour)


def constellation(card, points, links):
    ink = Ink()
    for a, b in links:
        (x0, y0), (x1, y1) = points[a], points[b]
        length = math.hypot(x1 - x0, y1 - y0)
        ux, uy = (x1 - x0) / length, (y1 - y0) / length
        ink.line([(x0 + 16 * ux, y0 + 16 * uy), (x1 - 16 * ux, y1 - 16 * uy)], 1.6)
    tint(card, (112, 120, 148), ink.finish(), 0.9)
    for k, (x, y) in enumerate(points):
        r = 5.5 if k % 3 == 0 else 4.0
        star = Ink(scale=4)
        star.polygon([(x + (r * 2 if i % 2 == 0 else r * 0.55) * math.sin(math.pi * i / 4),
                       y - (r * 2 if i % 2 == 0 else r * 0.55) * math.cos(math.pi * i / 4)) for i in range(8)])
        tint(card, (170, 166, 150), star.finish())


def moon(card, cx, cy, radius, phase=None, seed=5):
    """A moon with seas and craters; phase 0 new to 1 full, None full."""
    rng = random.Random(seed)
    disc = Ink(scale=4)
    disc.ellipse(cx, cy, radius, radius)
    mask = disc.finish()
    tint(card, (142, 140, 134), mask)
    scale = radius / 100
    for x, y, rx, ry in ((-34, -34, 32, 22), (14, -40, 20, 15), (38, -14, 17, 20), (-58, 6, 20, 34),
                         (-26, 30, 20, 14), (50, 14, 12, 16), (-8, -12, 22, 12)):
        sea = Ink(scale=2)
        sea.ellipse(cx + x * scale, cy + y * scale, rx * scale, ry * scale)
        tint(card, (112, 112, 114), ImageChops.multiply(sea.finish(4 * scale), mask), 0.6)
    for _ in range(46):
        a, r = rng.uniform(0, 2 * math.pi), 92 * math.sqrt(rng.random())
        size = rng.uniform(1.5, 6.5)
        x, y = cx + r * math.cos(a) * scale, cy + r * math.sin(a) * scale
        for dx, colour in ((0.8, (158, 156, 150)), (-0.5, (104, 104, 106))):
            pit = Ink(scale=3)
            pit.ellipse(x + dx * scale, y + dx * scale, size * scale, size * scale)
            tint(card, colour, ImageChops.multiply(pit.finish(0.8 * scale), mask), 0.35)
    if phase is None:
        phase = 1.0
    # the dark part: from the left edge to the terminator
    dark = Ink(scale=4)
    bulge = math.cos(math.pi * phase)
    right = [(cx + bulge * radius * math.cos(t), cy + radius * math.sin(t))
             for t in (math.pi * (i / 60 - 0.5) for i in range(61))]
    left = [(cx - radius * math.cos(t), cy + radius * math.sin(t))
            for t in (math.pi * (0.5 - i / 60) for i in range(61))]
    dark.polygon(right + left)
    if phase < 0.99:
        tint(card, (60, 64, 84), ImageChops.multiply(dark.finish(1.2 * scale), mask), 0.93)
    rim = Ink(scale=4)
    rim.ring(cx, cy, radius, 1.2)
    tint(card, (120, 120, 122), rim.finish(), 0.6)


def ridge(rng, y, rise, roughness):
    """A mountain line by splitting it over and over."""
    points = [y + rng.uniform(-rise, rise) for _ in range(2)]
    spread = rise
    while len(points) < 129:
        spread *= roughness
        points = [p for a, b in zip(points, points[1:])
                  for p in (a, (a + b) / 2 + rng.uniform(-spread, spread))] + [points[-1]]
    return [(WIDTH * i / 128, p) for i, p in enumerate(points)]


def landscape(card, rng):
    for y, rise, colour in ((860, 110, (74, 74, 96)), (950, 80, (64, 64, 86)), (1040, 40, (54, 55, 76))):
        ink = Ink()
        ink.polygon(ridge(rng, y, rise, 0.55) + [(WIDTH + 4, HEIGHT + 4), (-4, HEIGHT + 4)])
        tint(card, colour, ink.finish())


def dome(card, x, y, size):
    """The observatory with its slit open."""
    def at(points):
        return [(x + px * size, y + py * size) for px, py in points]

    body = Ink(scale=4)
    body.polygon(at([(-1, 0), (1, 0), (1.04, 0.75), (-1.04, 0.75)]))
    body.polygon(
        at([(math.cos(math.pi * (1 + i / 40)) * 0.96, math.sin(math.pi * (1 + i / 40)) * 0.98) for i in range(41)]))
    mask = body.finish()
    tint(card, (84, 84, 100), mask)
    shade = Ink()
    shade.polygon(at([(0.25, -1.1), (1.2, -1.1), (1.2, 0.8), (0.55, 0.8)]))
    tint(card, (60, 60, 80), ImageChops.multiply(shade.finish(0.16 * size), mask), 0.85)
    slit = Ink(scale=4)
    slit.polygon(
        at(spline([(-0.32, 0), (-0.30, -0.5), (-0.14, -0.97), (0.06, -0.98), (-0.06, -0.5), (-0.08, 0)], steps=6)))
    tint(card, (118, 104, 76), slit.finish())
    tube = Ink(scale=4)
    tube.polygon(at([(-0.30, -0.40), (-0.02, -1.22), (0.12, -1.18), (-0.12, -0.30)]))
    tint(card, (104, 106, 120), tube.finish())
    lines = Ink(scale=4)
    lines.line(at([(-1.04, 0.0), (1.04, 0.0)]), 0.05 * size)
    lines.line(at([(-1.0, 0.09), (1.0, 0.09)]), 0.015 * size)
    for k in (-0.66, 0.36, 0.72):
        lines.line(
            at([(math.sin(k * 1.4) * math.cos(math.pi / 2 * i / 12), -0.97 * math.sin(math.pi / 2 * i / 12))
                for i in range(13)]), 0.012 * size)
    tint(card, (124, 118, 108), lines.finish(), 0.8)
    door = Ink(scale=4)
    door.box(x - 0.13 * size, y + 0.30 * size, x + 0.13 * size, y + 0.75 * size, 0.06 * size)
    tint(card, (168, 134, 78), door.finish())


def front():
    rng = random.Random(274)
    card = sky()
    # the Milky Way
    band = Ink(scale=1)
    for _ in range(70):
        t = rng.random()
        band.ellipse(700 + 1150 * t + rng.gauss(0, 46), 900 - 900 * t + rng.gauss(0, 60), rng.uniform(50, 130),
                     rng.uniform(30, 90), 120)
    tint(card, (104, 104, 122), band.finish(46, steps=48), 0.75)
    stars(card, rng, 800, 40, 980, ((80, 106, 1080, 322), (80, 790, 700, 990)))
    moon(card, 1470, 330, 168, 0.72)
    constellation(card, [(760, 470), (868, 420), (968, 452), (1046, 540), (1180, 548), (1196, 660), (1062, 668)],
                  [(0, 1), (1, 2), (2, 3), (3, 4), (4, 5), (5, 6), (6, 3)])
    constellation(card, [(130, 560), (214, 520), (252, 610), (330, 560), (410, 622)], [(0, 1), (1, 2), (2, 3),
                                                                                       (3, 4)])
    landscape(card, rng)
    dome(card, 1390, 916, 118)
    text(card, (92, 172), "FELLTOP OBSERVATORY", SERIF_BOLD, 64, BRASS, tracking=3)
    text(card, (94, 228), "NIGHT PASS", SANS, 36, PALE, tracking=14)
    text(card, (94, 300), "Admits one, after sunset, clouds permitting", SERIF, 29, PALE)
    text(card, (94, 846), "ORRIN TALLOW", BOLD, 50, BRASS, tracking=2)
    text(card, (94, 900), "Friend of the Observatory", SANS, 28, PALE)
    text(card, (94, 966), "FO 0274 1608", MONO, 34, PALE)
    text(card, (420, 966), "until 12/2031", MONO, 34, PALE)
    microprint(card, 94, 1764, 1052, "FELLTOP OBSERVATORY MADE FOR TESTING SCANNERS", mix(BRASS, LOW, 0.3), 9)
    return card


def back():
    rng = random.Random(275)
    card = sky()
    stars(card, rng, 320, 40, 1130, ((80, 90, 1780, 384), (80, 410, 680, 690), (80, 750, 1020, 890)))
    orbits = Ink()
    for k in range(9):
        rx, ry = 150 + 82 * k, 56 + 31 * k
        orbits.line([(1420 + rx * math.cos(2 * math.pi * i / 240), 960 + ry * math.sin(2 * math.pi * i / 240))
                     for i in range(241)], 1.6)
    tint(card, (112, 112, 128), orbits.finish(steps=4), 0.8)
    for k, (a, r, colour) in enumerate(
        ((0.3, 9, (150, 130, 100)), (3.6, 12, (164, 142, 100)), (2.5, 13, (110, 132, 160)),
         (4.1, 10, (164, 104, 80)), (3.0, 30, (158, 138, 112)), (5.2, 25, (160, 148, 112)),
         (3.5, 18, (116, 146, 152)), (4.4, 18, (100, 116, 162)))):
        rx, ry = 150 + 82 * k, 56 + 31 * k
        planet = Ink(scale=4)
        x, y = 1420 + rx * math.cos(a), 960 + ry * math.sin(a)
        planet.ellipse(x, y, r, r)
        tint(card, colour, planet.finish())
        if k == 5:
            ring = Ink(scale=4)
            ring.line([(x + 46 * math.cos(2 * math.pi * i / 60),
                        y + 11 * math.sin(2 * math.pi * i / 60) - 6 * math.cos(2 * math.pi * i / 60))
                       for i in range(61)], 4)
            tint(card, (150, 140, 110), ring.finish())
    sun = Ink(scale=4)
    sun.ellipse(1420, 960, 44, 44)
    tint(card, (170, 140, 84), sun.finish())

    text(card, (92, 140), "THE MOON THIS MONTH", SERIF_BOLD, 42, BRASS, tracking=3)
    for k in range(9):
        waxing = k <= 4
        cx = 160 + k * 192
        phase = k / 4 if waxing else 2 - k / 4
        patch = Image.new("RGB", card.size)
        patch.paste(card)
        moon(patch, cx, 262, 62, phase, seed=5)
        part = patch.crop((cx - 66, 196, cx + 66, 328))
        if not waxing:
            part = part.transpose(Image.FLIP_LEFT_RIGHT)
        card.paste(part, (cx - 66, 196))
        text(card, (cx, 368), str(1 + round(k * 29.5 / 8)), MONO, 26, PALE, anchor="ms")

    y = 450
    text(card, (92, y), "WHEN TO COME", SERIF_BOLD, 34, BRASS, tracking=3)
    for k, (night, what) in enumerate(
        (("Mondays", "closed, the mirror rests"), ("Tuesdays", "planets, for beginners"),
         ("Thursdays", "double stars and tea"), ("Saturdays", "far galaxies, bring a coat"), ("New moon",
                                                                                              "open all night"))):
        text(card, (92, y + 54 + 44 * k), night, BOLD, 28, PALE)
        text(card, (300, y + 54 + 44 * k), what, SANS, 28, PALE)
    fine_print(
        card, (92, 780, 1010),
        "No torches, no flash, no wishes on falling stars longer than ten seconds. The dome turns without a warning. Children under "
        "six see the Moon only. This pass belongs to the Observatory, which lies above the tree line and is not to be found on any map.",
        SANS, 22, PALE, 32)
    microprint(card, 92, 1764, 1090, "FELLTOP OBSERVATORY MADE FOR TESTING SCANNERS", mix(BRASS, LOW, 0.3), 9)
    return card
