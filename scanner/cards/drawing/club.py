"""A membership card in all colours: a swimming club by the harbour."""

import math
import random

from PIL import Image, ImageChops, ImageDraw, ImageFilter

from .barcode import code128, draw_symbol
from .canvas import (BOLD, HEIGHT, MONO, MONO_BOLD, SANS, SERIF_BOLD, WIDTH, Ink, coarser, fine_print, font,
                     gradient, mix, shadow, spline, text, tint)
from .portrait import BLACK_HAIRED, portrait

WHITE, NAVY, SEA = (255, 255, 255), (20, 44, 92), (20, 150, 176)
CORAL, SUN, PINK = (240, 92, 76), (255, 206, 74), (236, 96, 150)


def swell(y, height, length, phase):
    """A line of waves with sharp crests, closed below."""
    top = []
    for x in range(-10, WIDTH + 11, 6):
        a = (x / length + phase) % 1.0
        top.append(
            (x,
             y - height * (1 - abs(2 * a - 1))**1.6 + 0.35 * height * math.sin(2 * math.pi * x / 1300 + phase * 7)))
    return top + [(WIDTH + 10, HEIGHT + 10), (-10, HEIGHT + 10)]


FLAGS = (
    lambda d, w, h: d.rectangle((0, 0, w, h), fill=CORAL),
    lambda d, w, h: (d.rectangle((0, 0, w, h), fill=WHITE), d.rectangle((w // 2, 0, w, h), fill=(36, 96, 190))),
    lambda d, w, h:
    [d.rectangle((0, h * k // 3, w, h * (k + 1) // 3 - 1), fill=(SUN, (36, 96, 190), SUN)[k]) for k in range(3)],
    lambda d, w, h: (d.rectangle((0, 0, w, h), fill=WHITE), d.polygon([(0, 0), (w, 0),
                                                                       (0, h)], fill=(226, 54, 60))),
    lambda d, w, h: (d.rectangle(
        (0, 0, w, h), fill=(36, 96, 190)), d.rectangle((w // 4, h // 4, w * 3 // 4, h * 3 // 4), fill=WHITE)),
    lambda d, w, h:
    [d.rectangle((w * k // 6, 0, w * (k + 1) // 6 - 1, h), fill=(SUN, (36, 96, 190))[k % 2]) for k in range(6)],
    lambda d, w, h: (d.rectangle(
        (0, 0, w, h), fill=SUN), d.ellipse((w // 4, h // 4, w * 3 // 4, h * 3 // 4), fill=NAVY)),
    lambda d, w, h: (d.rectangle((0, 0, w, h), fill=(40, 160, 96)), d.line(
        (0, 0, w, h), fill=WHITE, width=w // 4), d.line((w, 0, 0, h), fill=WHITE, width=w // 4)),
    lambda d, w, h: [
        d.rectangle(
            (w * i // 4, h * j // 4, w * (i + 1) // 4 - 1, h * (j + 1) // 4 - 1), fill=(WHITE, NAVY)[(i + j) % 2])
        for i in range(4) for j in range(4)
    ],
    lambda d, w, h: (d.rectangle((0, 0, w, h), fill=PINK), d.polygon([(0, 0), (w, h // 2), (0, h)], fill=WHITE)),
)


def bunting(card, start, end, sag, count, first):
    """Signal flags on a line between two points."""
    (x0, y0), (x1, y1) = start, end
    rope = [(x0 + (x1 - x0) * t, y0 + (y1 - y0) * t + 4 * sag * t * (1 - t)) for t in (i / 40 for i in range(41))]
    ink = Ink()
    ink.line(rope, 3)
    tint(card, (90, 84, 92), ink.finish())
    for k in range(count):
        t = (k + 0.5) / count
        x, y = x0 + (x1 - x0) * t, y0 + (y1 - y0) * t + 4 * sag * t * (1 - t)
        slope = math.degrees(math.atan2((y1 - y0) + 4 * sag * (1 - 2 * t), x1 - x0))
        flag = Image.new("RGBA", (52 * 3, 60 * 3), (0, 0, 0, 0))
        art = Image.new("RGB", (50 * 3, 58 * 3))
        FLAGS[(first + k) % len(FLAGS)](ImageDraw.Draw(art), 150, 174)
        flag.paste(art, (3, 3))
        flag = flag.rotate(-slope, Image.BICUBIC, expand=True)
        flag = flag.resize((flag.width // 3, flag.height // 3), Image.BOX)
        card.paste(flag, (round(x - flag.width / 2), round(y + 2)), flag)


def lighthouse(card, x, y, size):

    def at(points):
        return [(x + px * size, y + py * size) for px, py in points]

    beam = Ink(scale=1)
    beam.polygon(at([(0, -3.05), (-18, -6.2), (-18, -3.4)]))
    beam.polygon(at([(0, -3.05), (6, -3.6), (6, -2.9)]))
    tint(card, (255, 246, 200), beam.finish(6, steps=32), 0.45)
    rocks = Ink()
    rocks.polygon(
        at(
            spline([(-2.4, 0.5), (-1.7, 0.05), (-1.1, 0.12), (-0.6, -0.16), (0.5, -0.14), (1.2, 0.1), (1.8, 0.02),
                    (2.6, 0.5)])))
    tint(card, (92, 84, 104), rocks.finish())
    tower = Ink(scale=4)
    tower.polygon(at([(-0.50, 0), (-0.33, -2.6), (0.33, -2.6), (0.50, 0)]))
    mask = tower.finish()
    tint(card, (252, 250, 244), mask)
    for k in range(3):
        band = Ink(scale=4)
        band.polygon(
            at([(-0.7, -0.35 - 0.86 * k), (0.7, -0.35 - 0.86 * k), (0.7, -0.78 - 0.86 * k),
                (-0.7, -0.78 - 0.86 * k)]))
        tint(card, (222, 58, 62), ImageChops.multiply(band.finish(), mask))
    shade = Ink()
    shade.polygon(at([(0.02, 0), (0.05, -2.7), (0.7, -2.7), (0.7, 0)]))
    tint(card, (70, 40, 90), ImageChops.multiply(shade.finish(0.10 * size), mask), 0.32)
    top = Ink(scale=4)
    top.box(x - 0.47 * size, y - 2.72 * size, x + 0.47 * size, y - 2.58 * size, 3)
    top.polygon(at([(-0.30, -3.32), (0, -3.75), (0.30, -3.32)]))
    top.line(at([(0, -3.7), (0, -3.95)]), 4)
    for px in (-0.24, 0, 0.24):
        top.line(at([(px, -2.7), (px, -3.34)]), 3)
    lamp = Ink(scale=4)
    lamp.box(x - 0.24 * size, y - 3.34 * size, x + 0.24 * size, y - 2.7 * size)
    tint(card, (255, 236, 150), lamp.finish())
    tint(card, NAVY, top.finish())


def swimmer(card, x, y, size, suit):
    """Doing the crawl: cap, arm and a wake."""

    def at(points):
        return [(x + px * size, y + py * size) for px, py in points]

    arm = Ink(scale=4)
    arm.line(at(spline([(-0.9, 0.05), (-0.55, -0.75), (0.1, -0.95), (0.75, -0.35)], steps=10)), 0.24 * size)
    tint(card, (196, 132, 98), arm.finish())
    head = Ink(scale=4)
    head.ellipse(x + 0.12 * size, y - 0.16 * size, 0.36 * size, 0.34 * size)
    tint(card, (206, 142, 106), head.finish())
    cap = Ink(scale=4)
    cap.polygon(
        at([(0.12 + 0.38 * math.cos(math.pi * (1.04 + 0.90 * i / 30)),
             -0.17 + 0.37 * math.sin(math.pi * (1.04 + 0.90 * i / 30))) for i in range(31)]))
    tint(card, suit, cap.finish())
    foam = Ink()
    for px, py, r in ((-0.55, 0.20, 0.16), (-0.25, 0.24, 0.2), (0.1, 0.25, 0.18), (0.45, 0.22, 0.14),
                      (0.8, -0.05, 0.10), (-0.95, 0.2, 0.13), (-1.3, 0.24, 0.10), (0.95, 0.16, 0.12)):
        foam.ellipse(x + px * size, y + py * size, r * size, 0.6 * r * size)
    tint(card, (236, 250, 250), foam.finish(0.8))


def sea(card, first_y):
    layers = (((70, 176, 196), 26, 230, 0.1), ((34, 150, 182), 30, 290, 0.55), ((22, 124, 168), 34, 350, 0.3),
              ((28, 146, 172), 36, 410, 0.8), ((74, 186, 198), 34, 470, 0.2))
    step = (HEIGHT - first_y) / len(layers)
    for k, (colour, height, length, phase) in enumerate(layers):
        y = first_y + k * step
        ink = Ink()
        ink.polygon(swell(y, height, length, phase))
        mask = ink.finish()
        tint(card, colour, mask)
        crest = ImageChops.subtract(mask, ImageChops.offset(mask, 0, 7))
        tint(card, mix(colour, WHITE, 0.55), crest)


def front():
    rng = random.Random(31)
    card = gradient([(0.0, (96, 186, 236)), (0.34, (164, 208, 226)), (0.62, (255, 214, 150)),
                     (0.80, (255, 158, 112)), (1.0, (246, 112, 116))], (WIDTH, 720), 90)
    full = Image.new("RGB", (WIDTH, HEIGHT), (34, 150, 182))
    full.paste(card)
    card = full
    for r, opacity in ((250, 0.16), (190, 0.22), (140, 0.30)):
        glow = Ink(scale=1)
        glow.ellipse(1010, 640, r, r)
        tint(card, (255, 240, 190), glow.finish(3), opacity)
    sun = Ink(scale=4)
    sun.ellipse(1010, 640, 104, 104)
    tint(card, (255, 232, 130), sun.finish())
    for x, y, w in ((640, 300, 1.0), (1180, 250, 0.8), (860, 420, 0.7)):
        cloud = Ink()
        for dx, dy, r in ((-90, 10, 34), (-44, -10, 46), (10, -22, 54), (62, -4, 44), (104, 12, 30)):
            cloud.ellipse(x + dx * w, y + dy * w, r * w, r * 0.62 * w)
        tint(card, (255, 250, 244), cloud.finish(1.0), 0.85)
    lighthouse(card, 1590, 700, 92)
    gulls = Ink(scale=4)
    for x, y, s in ((1240, 380, 22), (1310, 350, 16), (1180, 420, 14), (760, 540, 14)):
        gulls.line(
            [(x + px * s, y + py * s)
             for px, py in spline([(-1.6, -0.4), (-0.8, -0.75), (0, 0), (0.8, -0.75), (1.6, -0.4)], steps=8)], 3)
    tint(card, NAVY, gulls.finish())
    sea(card, 700)
    glitter = Ink()
    for _ in range(70):
        y = 700 + 200 * rng.random()**1.5
        w = 8 + 46 * rng.random() * (1 - (y - 700) / 320)
        x = 1010 + rng.gauss(0, 34 + (y - 700) * 0.22)
        glitter.box(x - w, y, x + w, y + 4, 2)
    tint(card, (255, 236, 160), glitter.finish(), 0.8)
    swimmer(card, 1200, 886, 52, CORAL)
    swimmer(card, 1520, 990, 64, SUN)
    bunting(card, (-30, 34), (930, 34), 30, 12, 0)
    bunting(card, (930, 34), (1890, 34), 30, 12, 3)

    draw = ImageDraw.Draw(card)
    draw.text((652, 222),
              "Harbour Light",
              fill=NAVY,
              font=font(SERIF_BOLD, 92),
              anchor="ls",
              stroke_width=5,
              stroke_fill=WHITE)
    text(card, (654, 296), "SWIMMING CLUB", BOLD, 44, (206, 56, 62), tracking=9)

    # member: photograph in a porthole
    face = portrait(440, BLACK_HAIRED, 19)
    crop = face.crop((26, 20, 414, 408)).resize((420, 420), Image.LANCZOS)
    hole, rim, bolts = Ink(scale=4), Ink(scale=4), Ink(scale=4)
    cx, cy = 326, 400
    rim.ellipse(cx, cy, 248, 248)
    rim_mask = rim.finish()
    drop = rim_mask.filter(ImageFilter.GaussianBlur(9))
    tint(card, (20, 30, 60), ImageChops.offset(drop, 6, 10), 0.35)
    brass = gradient([(0.0, (250, 226, 150)), (0.45, (212, 160, 70)), (0.6, (244, 212, 130)),
                      (1.0, (160, 108, 44))],
                     angle=55,
                     size=(500, 500))
    sheet = Image.new("RGB", card.size)
    sheet.paste(brass, (cx - 250, cy - 250))
    tint(card, sheet, rim_mask)
    for k in range(12):
        a = 2 * math.pi * (k + 0.5) / 12
        bolts.ellipse(cx + 229 * math.cos(a), cy + 229 * math.sin(a), 8, 8)
    tint(card, (130, 88, 40), bolts.finish())
    hole.ellipse(cx, cy, 208, 208)
    sheet.paste(coarser(crop, 2), (cx - 210, cy - 210))
    tint(card, sheet, hole.finish())
    for r, colour in ((209, (110, 74, 34)), (247, (150, 104, 46))):
        ring = Ink(scale=4)
        ring.ring(cx, cy, r, 4)
        tint(card, colour, ring.finish())

    shadow(card, (72, 716, 724, 1056), 30, 12, 0.28)
    panel = Ink()
    panel.box(72, 716, 724, 1056, 30)
    tint(card, (255, 252, 246), panel.finish())
    stripe = Ink()
    stripe.box(72, 716, 90, 1056, 9)
    tint(card, CORAL, stripe.finish())
    text(card, (118, 790), "MIRA OKONDA-VEY", BOLD, 52, NAVY)
    text(card, (118, 838), "Open-water swimmer, since 2014", SANS, 28, (60, 78, 110))
    text(card, (118, 906), "MEMBER", BOLD, 20, CORAL, tracking=3)
    text(card, (118, 952), "HL-0274-3", MONO_BOLD, 42, NAVY)
    text(card, (440, 906), "VALID", BOLD, 20, CORAL, tracking=3)
    text(card, (440, 952), "04/2032", MONO_BOLD, 42, NAVY)
    for k, colour in enumerate((CORAL, SUN, (40, 160, 96), (36, 96, 190), PINK)):
        chip = Ink()
        chip.box(118 + 114 * k, 986, 118 + 114 * k + 98, 1022, 18)
        tint(card, colour, chip.finish())
        text(card, (118 + 114 * k + 49, 1012), ("SEA", "POOL", "SAUNA", "BOATS", "TEA")[k],
             BOLD,
             21,
             WHITE if k != 1 else NAVY,
             anchor="ms")
    return card


def lane_rope(card, y, colours):
    for k, x in enumerate(range(-10, WIDTH + 20, 34)):
        float_ = colours[(k // 4) % len(colours)]
        ImageDraw.Draw(card).rounded_rectangle((x, y, x + 30, y + 20), 8, fill=float_)
        ImageDraw.Draw(card).line((x + 6, y + 6, x + 24, y + 6), fill=mix(float_, WHITE, 0.6), width=3)


def back():
    rng = random.Random(32)
    card = gradient([(0.0, (120, 214, 222)), (1.0, (64, 178, 208))], angle=60)
    light = Ink()
    for row in range(16):  # the net of light on the bottom of a pool
        for column in range(24):
            x, y = column * 84 + (row % 2) * 42 + rng.uniform(-14, 14), row * 78 + rng.uniform(-14, 14)
            ring = spline([(x + (44 + rng.uniform(-9, 9)) * math.cos(a), y +
                            (40 + rng.uniform(-9, 9)) * math.sin(a))
                           for a in (2 * math.pi * i / 7 for i in range(7))],
                          closed=True,
                          steps=6)
            light.line(ring + ring[:1], 4)
    tint(card, (210, 246, 246), light.finish(0.8, steps=8), 0.5)
    lane_rope(card, 104, (CORAL, WHITE))
    lane_rope(card, 1052, (SUN, WHITE, (36, 96, 190), WHITE))

    for box in ((72, 176, 1080, 732), (1128, 176, 1784, 732), (72, 778, 1784, 1008)):
        shadow(card, box, 26, 12, 0.25)
    panel = Ink()
    panel.box(72, 176, 1080, 732, 26)
    panel.box(1128, 176, 1784, 732, 26)
    panel.box(72, 778, 1784, 1008, 26)
    tint(card, (255, 253, 248), panel.finish())
    text(card, (112, 252), "WATER AND HOURS", BOLD, 36, NAVY, tracking=2)
    rows = (("Mon", 6, 9, CORAL, "early lanes"), ("Tue", 12, 20, SUN, "all the harbour"), ("Wed", 6, 9, CORAL,
                                                                                           "early lanes"),
            ("Thu", 15, 21, (40, 160, 96), "children, then clubs"), ("Fri", 18, 22, (36, 96, 190), "lantern swim"),
            ("Sat", 8, 20, SUN, "all the harbour"), ("Sun", 10, 16, PINK, "races and cake"))
    draw = ImageDraw.Draw(card)
    for hour in range(6, 23, 2):
        x = 214 + (hour - 6) * 50
        draw.line((x, 290, x, 700), fill=(206, 220, 228), width=2)
        text(card, (x, 284), str(hour), SANS, 17, (96, 110, 130), anchor="ms")
    for k, (day, start, end, colour, what) in enumerate(rows):
        y = 302 + k * 57
        text(card, (112, y + 34), day, BOLD, 28, NAVY)
        bar = Ink()
        bar.box(214 + (start - 6) * 50, y, 214 + (end - 6) * 50, y + 44, 14)
        tint(card, colour, bar.finish())
        at = 214 + (start - 6) * 50 + 16 if end - start > 5 else 214 + (end - 6) * 50 + 14
        if end == 22:
            text(card, (214 + (start - 6) * 50 - 14, y + 32), what, SANS, 24, NAVY, anchor="rs")
        else:
            text(card, (at, y + 32), what, SANS, 24, NAVY if colour == SUN or end - start <= 5 else WHITE)

    text(card, (1166, 252), "THE RULES", BOLD, 36, NAVY, tracking=2)
    y = 306
    for k, rule in enumerate(
        ("Look for the red buoys before you dive, and for each other after.",
         "Below eight degrees swim with a friend or not at all.", "What the seals say about the water is final.",
         "Whoever loses this card pays a cake. Whoever finds it eats it.")):
        dot = Ink(scale=4)
        dot.ellipse(1180, y - 9, 11, 11)
        tint(card, (CORAL, SUN, SEA, PINK)[k], dot.finish())
        y = fine_print(card, (1208, y, 1752), rule, SANS, 26, NAVY, 36) + 56

    draw_symbol(draw, 134, 806, code128("HL02743MOV"), 5, 132, (20, 24, 40))
    text(card, (520, 978), "HL-0274-3-MOV", MONO, 26, NAVY, anchor="ms", tracking=6)
    text(card, (1000, 858), "Harbour Light", SERIF_BOLD, 46, CORAL)
    fine_print(
        card, (1000, 904, 1750),
        "Pier 3, Ostermere, Norvania. Made for testing scanners: there is no such club, though there should be. "
        "Bring a towel.", SANS, 23, NAVY, 32)
    return card
