"""A portrait made up from nothing: the head of head.py, with painted eyes, lips, hair and clothes."""

import math
import random

from PIL import ImageChops, ImageFilter

from .canvas import Ink, gradient, mix, spline, tint
from .head import UNITS_HIGH, UNITS_WIDE, lit_head


class Painter:
    """Paints soft shapes given in units over a picture."""
    def __init__(self, picture, scale):
        self.picture, self.scale = picture, scale

    def _ink(self):
        return Ink(self.picture.size, 2)

    def _px(self, points):
        return [(x * self.scale, y * self.scale) for x, y in points]

    def shape(self, points, colour, blur=0.0, opacity=1.0, clip=None, closed=True):
        ink = self._ink()
        ink.polygon(self._px(spline(points, closed=closed)))
        mask = ink.finish(blur * self.scale)
        if clip is not None:
            mask = ImageChops.multiply(mask, clip)
        tint(self.picture, colour, mask, opacity)
        return mask

    def stroke(self, points, width, colour, blur=0.0, opacity=1.0, clip=None):
        ink = self._ink()
        ink.line(self._px(spline(points)), width * self.scale)
        mask = ink.finish(blur * self.scale)
        if clip is not None:
            mask = ImageChops.multiply(mask, clip)
        tint(self.picture, colour, mask, opacity)

    def spot(self, x, y, rx, ry, colour, blur=0.0, opacity=1.0, clip=None):
        ink = self._ink()
        ink.ellipse(x * self.scale, y * self.scale, rx * self.scale, ry * self.scale)
        mask = ink.finish(blur * self.scale)
        if clip is not None:
            mask = ImageChops.multiply(mask, clip)
        tint(self.picture, colour, mask, opacity)


def hairs(painter, rng, strands, colours, width, opacity, clip=None, jitter=0.18):
    """Many strands at once, each tone in one layer."""
    for colour in colours:
        ink = Ink(painter.picture.size, 2)
        for strand in strands:
            if rng.random() < 1.0 / len(colours):
                points = [(x + rng.gauss(0, jitter), y + rng.gauss(0, jitter)) for x, y in strand]
                ink.line(painter._px(spline(points, steps=8)), width * painter.scale * rng.uniform(0.6, 1.3))
        mask = ink.finish(0.05 * painter.scale)
        if clip is not None:
            mask = ImageChops.multiply(mask, clip)
        tint(painter.picture, colour, mask, opacity)


def mirror(points):
    return [(100 - x, y) for x, y in points]


def draw_eye(p, side, iris_colour):
    """One eye; side -1 is the left one in the picture."""
    def at(points):
        return [(50 + side * (x + 0.10 * (x - 9.4)), y + 0.12 * (y - 49.8)) for x, y in points]

    opening = at([(5.1, 50.6), (6.6, 49.0), (9.0, 47.9), (11.6, 48.2), (13.7, 49.9), (12.0, 51.3), (9.3, 51.9),
                  (6.9, 51.5)])
    p.shape(at([(4.4, 50.6), (6.4, 48.2), (9.2, 46.9), (12.2, 47.4), (14.6, 49.9), (12.2, 52.2), (9.3, 52.9),
                (6.4, 52.3)]), (118, 66, 54),
            blur=0.7,
            opacity=0.42)
    white = p.shape(opening, (226, 221, 216), blur=0.08)
    p.shape(at([(5.1, 50.6), (6.6, 49.0), (9.0, 47.9), (11.6, 48.2), (13.7, 49.9), (11.6, 49.7), (9, 49.3),
                (6.6, 50.0)]), (96, 78, 76),
            blur=0.4,
            opacity=0.6,
            clip=white)
    p.spot(50 + side * 5.3, 50.7, 0.55, 0.5, (196, 118, 108), blur=0.15, opacity=0.8, clip=white)
    x = 50 + side * 9.35 - 0.15
    p.spot(x, 49.75, 2.3, 2.3, mix(iris_colour, (10, 10, 12), 0.75), blur=0.08, clip=white)
    p.spot(x, 49.8, 2.02, 2.02, iris_colour, blur=0.15, clip=white)
    p.spot(x + 0.15, 50.6, 1.3, 0.95, mix(iris_colour, (236, 214, 150), 0.55), blur=0.35, opacity=0.85, clip=white)
    for k in range(26):
        a = 2 * math.pi * k / 26
        p.stroke([(x + 0.9 * math.cos(a), 49.8 + 0.9 * math.sin(a)),
                  (x + 1.9 * math.cos(a), 49.8 + 1.9 * math.sin(a))],
                 0.1,
                 mix(iris_colour, (14, 12, 12), 0.55),
                 blur=0.05,
                 opacity=0.35,
                 clip=white)
    p.spot(x, 49.8, 0.88, 0.88, (14, 11, 11), blur=0.06, clip=white)
    p.shape(at([(5, 50.4), (6.6, 48.8), (9.0, 47.7), (11.6, 48.0), (13.9, 49.9), (11.6, 49.05), (9, 48.75),
                (6.6, 49.6)]), (20, 12, 12),
            blur=0.3,
            opacity=0.6,
            clip=white)
    p.spot(x - 0.62, 49.05, 0.46, 0.42, (255, 255, 255), blur=0.06)
    p.spot(x + 0.7, 50.5, 0.25, 0.22, (255, 255, 255), blur=0.1, opacity=0.5)
    # lids and lashes
    upper = at([(4.9, 50.8), (6.5, 48.95), (9.0, 47.8), (11.7, 48.1), (14.1, 49.9)])
    p.stroke(upper, 0.50, (44, 24, 20), blur=0.12, opacity=0.95)
    p.stroke(at([(9.0, 47.75), (11.7, 48.0), (14.3, 49.75)]), 0.50, (32, 18, 16), blur=0.14, opacity=0.8)
    for k in range(13):
        t = k / 12
        base = at([(7.0 + 7.0 * t, 48.75 - 1.15 * math.sin(math.pi * (0.18 + 0.72 * t)) + 0.9 * t)])[0]
        p.stroke([
            base, (base[0] + side * (0.1 + 0.5 * t), base[1] - 0.55),
            (base[0] + side * (0.3 + 0.95 * t), base[1] - 0.95)
        ],
                 0.11, (34, 18, 16),
                 blur=0.05,
                 opacity=0.55)
    p.stroke(at([(5.2, 48.9), (6.8, 47.2), (9.2, 46.25), (12.2, 46.7), (14.4, 48.6)]),
             0.32, (112, 62, 50),
             blur=0.28,
             opacity=0.65)
    p.stroke(at([(6.4, 51.7), (9.2, 52.25), (12.0, 51.6), (13.6, 50.3)]),
             0.28, (120, 66, 56),
             blur=0.2,
             opacity=0.6)
    p.stroke(at([(6.6, 51.35), (9.2, 51.85), (11.9, 51.2)]), 0.2, (244, 208, 192), blur=0.15, opacity=0.6)
    p.stroke(at([(6.0, 54.4), (8.6, 55.6), (11.6, 55.2)]), 0.6, (132, 76, 62), blur=0.7, opacity=0.22)


def draw_brow(p, rng, side, colour):
    """Hairs in an arch: upright near the nose, lying down towards the temple."""
    strands = []
    for k in range(260):
        t = k / 259
        x = 4.0 + 12.0 * t
        y = 46.0 - 2.4 * math.sin(math.pi * (0.10 + 0.66 * t)) + 1.2 * t * t
        thick = 1.15 * (1 - t)**0.55 * min(1.0, 0.5 + 4 * t) + 0.15
        y += rng.uniform(-thick, thick) * 0.7
        along, up = 0.7 + 0.9 * t, 0.85 * (1 - 1.25 * t)
        strands.append([(50 + side * x, y), (50 + side * (x + 0.5 * along), y - 0.6 * up),
                        (50 + side * (x + along), y - up)])
    p.shape([
        (50 + side * x, y)
        for x, y in [(3.9, 46.0), (7, 44.3), (11, 43.2), (14.4, 44.0), (16.2, 45.9), (13.6,
                                                                                      45.0), (9.5, 45.2), (6, 46.6)]
    ],
            colour,
            blur=0.55,
            opacity=0.55)
    hairs(p, rng, strands, [colour, mix(colour, (20, 12, 10), 0.4)], 0.13, 0.6, jitter=0.05)


def draw_mouth(p):
    upper = [(42.6, 72.6), (45.4, 71.4), (48.2, 70.1), (50, 70.8), (51.8, 70.1), (54.6, 71.4), (57.4, 72.6),
             (53.4, 73.0), (50, 73.4), (46.6, 73.0)]
    lower = [(42.9, 72.8), (46.6, 73.1), (50, 73.5), (53.4, 73.1), (57.1, 72.8), (54.8, 75.6), (52.2, 77.1),
             (50, 77.4), (47.8, 77.1), (45.2, 75.6)]
    p.shape(upper, (158, 58, 60), blur=0.26, opacity=0.74)
    p.shape(lower, (188, 82, 80), blur=0.32, opacity=0.70)
    p.shape([(45, 75.2), (50, 76.6), (55, 75.2), (52.5, 77.0), (50, 77.5), (47.5, 77.0)], (132, 48, 48),
            blur=0.6,
            opacity=0.35)
    p.stroke([(42.3, 72.4), (45.0, 72.9), (48, 72.95), (50, 73.4), (52, 72.95), (55.0, 72.9), (57.7, 72.4)],
             0.32, (78, 22, 26),
             blur=0.14,
             opacity=0.85)
    p.spot(48.4, 75.0, 2.0, 0.45, (255, 218, 212), blur=0.4, opacity=0.55)
    p.spot(47.0, 71.6, 0.9, 0.22, (244, 186, 178), blur=0.25, opacity=0.4)
    for x in (42.0, 58.0):
        p.spot(x, 72.3, 0.55, 0.55, (104, 48, 42), blur=0.4, opacity=0.5)
    p.spot(50, 78.9, 3.0, 0.6, (120, 62, 52), blur=0.7, opacity=0.34)


def draw_nose(p):
    for side in (-1, 1):
        p.shape([(50 + side * x, y) for x, y in [(1.2, 65.9), (2.4, 65.3), (3.5, 65.8), (2.9, 66.5), (1.7, 66.6)]],
                (62, 24, 22),
                blur=0.25,
                opacity=0.8)
        p.stroke([(50 + side * x, y) for x, y in [(4.4, 62.9), (5.1, 64.5), (4.5, 66.2), (3.4, 66.6)]],
                 0.35, (124, 62, 52),
                 blur=0.35,
                 opacity=0.55)
    p.shape([(46.2, 66.6), (50, 67.5), (53.8, 66.6), (52, 68.2), (50, 68.5), (48, 68.2)], (116, 58, 48),
            blur=0.6,
            opacity=0.45)
    p.spot(49.2, 62.6, 0.9, 0.8, (255, 240, 228), blur=0.55, opacity=0.55)
    p.stroke([(49.4, 51), (49.3, 55), (49.2, 60)], 0.7, (255, 236, 220), blur=0.7, opacity=0.28)


class Look:
    """The colours of a sitter."""
    def __init__(self, skin, skin_dark, skin_light, hair, hair_dark, hair_light, eyes, jacket, jacket_dark,
                 jacket_light, backdrop):
        self.skin, self.skin_dark, self.skin_light = skin, skin_dark, skin_light
        self.hair, self.hair_dark, self.hair_light = hair, hair_dark, hair_light
        self.eyes = eyes
        self.jacket, self.jacket_dark, self.jacket_light = jacket, jacket_dark, jacket_light
        self.backdrop = backdrop


BROWN_HAIRED = Look((222, 167, 138), (142, 84, 64), (250, 214, 190), (74, 44, 30), (30, 17, 13), (150, 98, 62),
                    (92, 104, 84), (38, 62, 84), (18, 32, 48), (74, 106, 132), [(226, 234, 238), (196, 210, 220),
                                                                                (160, 178, 192), (118, 137, 153)])
BLACK_HAIRED = Look((150, 98, 70), (78, 44, 32), (206, 154, 118), (34, 26, 26), (14, 10, 12), (92, 74, 70),
                    (74, 46, 28), (196, 88, 48), (120, 44, 26), (232, 140, 90), [(250, 236, 206), (240, 218, 178),
                                                                                 (222, 188, 142), (190, 146, 104)])


def portrait(width, look=BROWN_HAIRED, seed=7):
    """Somebody of about thirty before a studio backdrop, width x 1.25 width pixels."""
    rng = random.Random(seed)
    scale = width / UNITS_WIDE
    size = (width, round(width * UNITS_HIGH / UNITS_WIDE))
    skin, skin_dark, skin_light = look.skin, look.skin_dark, look.skin_light
    hair, hair_dark, hair_light = look.hair, look.hair_dark, look.hair_light

    picture = gradient([(0.0, look.backdrop[1]), (0.6, look.backdrop[2]), (1.0, look.backdrop[3])], size, 62)
    p = Painter(picture, scale)
    p.spot(36, 34, 38, 42, look.backdrop[0], blur=13, opacity=0.75)

    # Hair behind the head, then neck and clothes.
    back_hair = [(50, 10.4), (62, 12.4), (71.5, 19.8), (77.5, 32), (79, 48), (80, 64), (82.5, 79), (83, 92),
                 (76, 99), (66, 98), (50, 97), (34, 98), (24, 99), (17, 92), (17.5, 79), (20, 64), (21, 48),
                 (22.5, 32), (28.5, 19.8), (38, 12.4)]
    hair_mask = p.shape(back_hair, hair_dark, blur=0.25)
    strands = []
    for side in (-1, 1):
        for _ in range(240):
            t = rng.random()
            top = 50 + side * (3 + 18 * t)
            strands.append([(top, 14 + 6 * t), (50 + side * (15 + 11 * t), 30 + 4 * t),
                            (50 + side * (18 + 10.5 * t), 55), (50 + side * (18 + 13 * t), 75),
                            (50 + side * (17 + 16 * t), 97)])
    hairs(p, rng, strands, [hair_dark, mix(hair_dark, hair, 0.6), hair], 0.42, 0.7, hair_mask)

    neck = [(39.5, 70), (60.5, 70), (60.6, 86), (62.5, 93), (72, 98), (70, 112), (50, 124), (30, 112), (28, 98),
            (37.5, 93), (39.4, 86)]
    neck_mask = p.shape(neck, mix(skin, skin_dark, 0.38), blur=0.3)
    p.shape([(38, 76), (62, 76), (62.5, 89), (57.5, 93.5), (50, 95.5), (43, 93.5), (38, 89)],
            mix(skin_dark, (52, 20, 16), 0.55),
            blur=1.7,
            opacity=0.95,
            clip=neck_mask)
    p.shape([(54, 84), (63, 78), (64, 96), (72, 99), (66, 112), (56, 104)],
            skin_dark,
            blur=2.4,
            opacity=0.7,
            clip=neck_mask)
    p.stroke([(42.5, 88), (45, 97), (48, 103)],
             1.0,
             mix(skin, skin_light, 0.4),
             blur=1.2,
             opacity=0.4,
             clip=neck_mask)
    p.stroke([(33, 100.5), (40, 102.5), (47, 105)],
             0.8,
             mix(skin, skin_light, 0.6),
             blur=0.8,
             opacity=0.5,
             clip=neck_mask)
    p.stroke([(67, 100.5), (60, 102.5), (53, 105)], 0.8, skin, blur=0.8, opacity=0.4, clip=neck_mask)
    p.shape([(47.3, 104), (50, 103), (52.7, 104), (51, 108), (49, 108)],
            skin_dark,
            blur=1.0,
            opacity=0.5,
            clip=neck_mask)

    jacket, jacket_dark, jacket_light = look.jacket, look.jacket_dark, look.jacket_light
    body = [(-4, 130), (-3, 118), (3, 109), (14, 103), (27, 98.5), (33, 96.2), (37.5, 104), (43, 113), (50, 121.5),
            (57, 113), (62.5, 104), (67, 96.2), (73, 98.5), (86, 103), (97, 109), (103, 118), (104, 130)]
    body_mask = p.shape(body, jacket, blur=0.25)
    p.shape([(62, 126), (70, 112), (84, 104), (98, 110), (104, 130)],
            jacket_dark,
            blur=4,
            opacity=0.8,
            clip=body_mask)
    p.shape([(4, 112), (14, 105), (26, 100), (27, 104), (14, 111), (5, 122)],
            jacket_light,
            blur=2.5,
            opacity=0.5,
            clip=body_mask)
    for side in (-1, 1):  # blouse, then lapels over it
        p.shape(
            [(50 + side * x, y)
             for x, y in [(17.5, 96.4), (13, 103.5), (7, 112.5), (0, 121.5), (0, 127), (6, 124), (13, 113), (19,
                                                                                                             102)]],
            (232, 234, 236) if side < 0 else (196, 202, 210),
            blur=0.2)
        p.shape([(50 + side * x, y) for x, y in [(19, 97.5), (15, 106), (8.5, 117), (2, 127), (12, 128), (
            17, 117), (24, 112), (20.5, 108), (25, 104), (23, 99)]],
                jacket_light if side < 0 else mix(jacket, jacket_dark, 0.35),
                blur=0.15,
                opacity=0.9)
        p.stroke([(50 + side * x, y) for x, y in [(19, 97.5), (15, 106), (8.5, 117), (2, 127)]],
                 0.35,
                 jacket_dark,
                 blur=0.25,
                 opacity=0.8)
        p.stroke([(50 + side * x, y) for x, y in [(12, 128), (17, 117), (24, 112), (20.5, 108), (25, 104)]],
                 0.4,
                 jacket_dark,
                 blur=0.3,
                 opacity=0.7)
    p.stroke([(31.5, 98), (37, 104), (43, 112), (50, 120)], 0.5, (120, 126, 136), blur=0.6, opacity=0.5)

    head, head_mask = lit_head(size, scale, skin, skin_dark, skin_light)
    head = head.filter(ImageFilter.GaussianBlur(0.16 * scale))
    head_mask = head_mask.filter(ImageFilter.GaussianBlur(0.2 * scale))
    picture.paste(head, (0, 0), head_mask)

    for side in (-1, 1):
        draw_eye(p, side, look.eyes)
        draw_brow(p, rng, side, mix(hair, hair_dark, 0.2))
    draw_nose(p)
    draw_mouth(p)

    # Hair over forehead and temples, parted on the right of the picture.
    left = [(57.5, 12.4), (48, 10.6), (37, 13.2), (27, 22.5), (22.2, 34), (20.8, 50), (20.5, 66), (19, 80),
            (21, 92), (28, 95), (31, 84), (30, 70), (27.8, 58), (28.4, 46), (32.5, 38.5), (40, 32.8), (49, 28),
            (55.5, 22.5)]
    right = [(56.0, 11.8), (63, 13.2), (71.2, 20.0), (77.6, 33), (79.2, 50), (79.5, 66), (81, 80), (79, 92),
             (72, 95), (69, 84), (70, 70), (72.2, 58), (71.8, 47), (69.5, 38), (65.5, 31.0), (61, 25.5), (57.5, 20)]
    # a shadow of the hair on the face
    for shape, dx in ((left, 1.6), (right, -1.0)):
        p.shape([(x + dx, y + 1.2) for x, y in shape], (70, 34, 26), blur=1.3, opacity=0.55, clip=head_mask)
    left_mask = p.shape(left, hair, blur=0.35)
    right_mask = p.shape(right, mix(hair, hair_dark, 0.45), blur=0.35)
    left_strands, right_strands = [], []
    for _ in range(420):
        t = rng.random()
        left_strands.append([(57 - 2 * t, 13 + 9 * (1 - t)), (51 - 9 * t, 11 + 16.5 * (1 - t)),
                             (41 - 12 * t, 15 + 17 * (1 - t)), (32.5 - 8.5 * t, 33 + 8 * (1 - t)),
                             (28 - 6.6 * t, 52), (30 - 9 * t, 72), (31 - 11 * t, 95)])
    for _ in range(300):
        t = rng.random()
        right_strands.append([(57 + 1 * t, 13 + 8 * (1 - t)), (60 + 6 * t, 13.5 + 11.5 * (1 - t)),
                              (66 + 8 * t, 25 + 7 * (1 - t)), (70.5 + 7.3 * t, 38 + 5 * (1 - t)), (72 + 7 * t, 54),
                              (70 + 9.5 * t, 72), (69.5 + 10.5 * t, 95)])
    hairs(p, rng, left_strands, [hair_dark, mix(hair, hair_dark, 0.5),
                                 mix(hair, hair_light, 0.5), hair], 0.34, 0.75, left_mask)
    hairs(p, rng, right_strands, [hair_dark, mix(hair, hair_dark, 0.6), hair], 0.34, 0.75, right_mask)
    # the shine of the key light, across the strands
    shine = Ink(size, 2)
    shine.polygon([
        (x * scale, y * scale)
        for x, y in spline([(30, 29), (38, 21), (47, 17.5), (50, 20), (42, 24.5), (33.5, 34), (27.5, 46), (25, 44)],
                           closed=True)
    ])
    shine_mask = ImageChops.multiply(shine.finish(2.2 * scale), left_mask)
    hairs(p, rng, left_strands[:260], [hair_light, mix(hair_light, (236, 196, 150), 0.4)], 0.3, 0.75, shine_mask)
    p.shape([(20.5, 66), (19, 80), (21, 92), (28, 95), (26, 80), (23.5, 66)],
            hair_dark,
            blur=1.6,
            opacity=0.5,
            clip=left_mask)
    p.stroke([(57.3, 12.8), (57.1, 17), (58.3, 22.5)], 0.28, mix(skin, hair, 0.5), blur=0.2, opacity=0.6)
    for strands, mask in ((left_strands, left_mask), (right_strands, right_mask)):
        hairs(p, rng, strands[:70], [mix(hair, hair_light, 0.7)], 0.22, 0.35, mask)
    # stray hairs
    stray = [[(50 + s * (24 + rng.uniform(0, 3)), 22 + rng.uniform(0, 16)),
              (50 + s * (28 + rng.uniform(0, 2.5)), 44 + rng.uniform(0, 10)),
              (50 + s * (30 + rng.uniform(0, 3)), 72 + rng.uniform(0, 14))] for s in (-1, 1) for _ in range(12)]
    hairs(p, rng, stray, [hair], 0.14, 0.5)
    return picture
