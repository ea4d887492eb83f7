"""The driver licence of the State of Norvania, a place on no map: both sides in visible light and in infrared."""

import math

from PIL import Image, ImageChops, ImageDraw, ImageFilter

from .barcode import code128, draw_symbol, pdf417
from .canvas import (BOLD, MONO, MONO_BOLD, SANS, SERIF_BOLD, WIDTH, Ink, blank, coarser, fine_print, gradient,
                     microprint, mix, rosette, spline, text, text_width, tint, waves)
from .licence_data import LICENCE_NUMBER, PDF417_TEXT
from .portrait import portrait

NAVY, RED, INK = (24, 46, 86), (176, 36, 40), (28, 30, 36)
TEAL, OCHRE, ROSE = (112, 172, 166), (214, 178, 122), (206, 150, 156)
LABEL = (52, 92, 128)


class Visible:
    """The inks as the eye sees them."""
    infrared = False
    navy, red, ink, label, pen = NAVY, RED, INK, LABEL, (26, 30, 66)


class Infrared:
    """Coloured inks look like the paper; black print and the pen do not."""
    infrared = True
    paper = (236, 236, 236)
    navy = red = label = paper
    ink = pen = (34, 34, 34)


def paler(colour, t, light):
    """Towards white; a colour that cannot be seen stays so."""
    return colour if light.infrared else mix(colour, (255, 255, 255), t)


def security_paper(stops, angle, centre):
    """Pale paper under interwoven lines."""
    paper = gradient(stops, angle=angle)
    for colour, y0, y1, count, amplitude, length, drift, phase in ((TEAL, 210, 700, 13, 46, 900, 2.2, 0.3),
                                                                   (OCHRE, 520, 1190, 14, 52, 1100, -2.0,
                                                                    2.1), (ROSE, 240, 900, 7, 80, 1500, 3.0, 4.0)):
        ink = Ink()
        waves(ink, y0, y1, count, amplitude, length, drift, 1.4, phase, step=6)
        tint(paper, colour, ink.finish(steps=3), 0.42)
    for (cx, cy, radius, petals, inner, lines), colour in (((centre[0], centre[1], 400, 9, 0.52, 10), TEAL),
                                                           ((centre[0], centre[1], 205, 7, 0.30, 8), OCHRE)):
        ink = Ink()
        rosette(ink, cx, cy, radius, petals, inner, lines, 1.4)
        tint(paper, colour, ink.finish(steps=3), 0.60)
    # Fewer colours than lines crossing on a gradient would make: unseen, and a third of the file.
    return paper.quantize(96, method=Image.MEDIANCUT, dither=Image.NONE).convert("RGB")


def emblem(picture, cx, cy, radius):
    """The state's arms: a lantern star over mountains and sea."""
    disc = Ink(scale=4)
    disc.ellipse(cx, cy, radius, radius)
    disc_mask = disc.finish()
    sky = gradient([(0.0, (38, 74, 128)), (1.0, (124, 176, 206))], angle=90, size=(WIDTH, 2 * radius))
    full = Image.new("RGB", picture.size)
    full.paste(sky, (0, cy - radius))
    tint(picture, full, disc_mask)
    for points, colour in (([(-1, 0.35), (-0.55, -0.12), (-0.3, 0.1), (0.05, -0.38), (0.42, 0.08), (0.62, -0.08),
                             (1, 0.35)], (226, 234, 238)), ([(-1, 0.42), (-0.6, 0.1), (-0.25, 0.32), (0.1, -0.05),
                                                             (0.5, 0.3), (0.75, 0.16), (1, 0.42)], (86, 122, 138)),
                           ([(-1.1, 0.30), (1.1, 0.30), (1.1, 1.1), (-1.1, 1.1)], (30, 74, 110))):
        ink = Ink(scale=4)
        ink.polygon([(cx + x * radius, cy + y * radius) for x, y in points])
        tint(picture, colour, ImageChops.multiply(ink.finish(), disc_mask))
    for k in range(3):
        ink = Ink(scale=4)
        ink.line([(cx + radius * (i / 20 - 1), cy + radius * (0.47 + 0.16 * k + 0.035 * math.sin(i * 0.9 + k)))
                  for i in range(41)], 3)
        tint(picture, (150, 196, 214), ImageChops.multiply(ink.finish(), disc_mask))
    star = Ink(scale=4)
    star.polygon([(cx + (0.30 if i % 2 == 0 else 0.09) * radius * math.sin(math.pi * i / 8),
                   cy - 0.55 * radius - (0.30 if i % 2 == 0 else 0.09) * radius * math.cos(math.pi * i / 8))
                  for i in range(16)])
    tint(picture, (250, 214, 110), star.finish())
    for r, w in ((radius + 7, 4), (radius + 1, 6)):
        ring = Ink(scale=4)
        ring.ring(cx, cy, r, w)
        tint(picture, NAVY if w == 4 else (214, 178, 96), ring.finish())


def signature(picture, x, y, size, colour):
    """A name nobody can read, in one go of the pen."""
    strokes = [
        [(0, 20), (14, -30), (30, -62), (38, -50), (30, -6), (34, 18), (46, 2), (52, -14)],
        [(8, -12), (30, -18), (62, -20), (70, -12), (60, 6), (72, 10), (84, -8), (96, -58), (100, -40), (92, 2),
         (104, 10), (116, -12), (124, -14), (122, 4), (134, 8), (146, -10)],
        [(186, -52), (164, -44), (156, -10), (176, 8), (202, -14), (206, -44), (190, -56), (180, -40)],
        [(186, -2), (204, 14), (224, 10), (232, -12), (236, 4), (248, 6), (256, -12), (258, 4), (270, 6),
         (282, -50), (284, -34), (276, 4), (288, 8), (298, -44), (300, -30), (294, 6), (306, 8), (318, -10),
         (330, -4), (324, 8), (338, 6), (352, -12), (356, 6), (372, 2), (420, -16), (446, -34)],
        [(40, 34), (160, 22), (300, 26), (400, 14)],
    ]
    ink = Ink(scale=4)
    for k, stroke in enumerate(strokes):
        ink.line([(x + px * size, y + py * size) for px, py in spline(stroke, steps=16)], 2.6 if k == 4 else 4.0)
    tint(picture, colour, ink.finish(0.4))


def caption(picture, x, y, number, label, light):
    text(picture, (x, y), number, BOLD, 17, light.label)
    text(picture, (x + text_width(number, BOLD, 17) + 8, y), label, SANS, 17, light.label)


def field(picture, light, x, y, number, label, value, size=36, colour=None, face=BOLD):
    """A small numbered label and the value below it."""
    caption(picture, x, y, number, label, light)
    text(picture, (x, y + size + 5), value, face, size, colour or light.ink)


def ghost(picture, face, box, colour):
    """The portrait again, small, in one ink, fading at its edge."""
    x0, y0, x1, y1 = box
    small = face.convert("L").resize((x1 - x0, y1 - y0), Image.LANCZOS)
    mask = small.point([round(min(255, max(0, 214 - v) * 1.25)) for v in range(256)])
    fade = Image.new("L", small.size, 0)
    w, h = small.size
    ImageDraw.Draw(fade).ellipse((w * 0.05, h * 0.02, w * 0.95, h * 1.08), fill=255)
    fade = fade.filter(ImageFilter.GaussianBlur(16))
    mask = ImageChops.multiply(mask, fade).point([v // 6 * 6 for v in range(256)])
    part = picture.crop(box)
    part.paste(Image.new("RGB", part.size, colour), (0, 0), mask)
    picture.paste(part, box)


def grey_ramp(picture, x0, x1, y0, y1, steps, frame):
    """A scale of greys in steps over a smooth one."""
    draw = ImageDraw.Draw(picture)
    middle = (y0 + y1) // 2
    for k in range(steps):
        v = round(255 * k / (steps - 1))
        draw.rectangle((x0 + (x1 - x0) * k // steps, y0, x0 + (x1 - x0) * (k + 1) // steps - 1, middle - 1),
                       fill=(v, v, v))
    for x in range(x0, x1):
        v = round(255 * (x - x0) / (x1 - 1 - x0))
        draw.line((x, middle, x, y1 - 1), fill=(v, v, v))
    draw.rectangle((x0 - 2, y0 - 2, x1 + 1, y1 + 1), outline=frame, width=2)


def foil(card):
    """A bright patch of foil over the corner of the photograph."""
    petals, rings = Ink(scale=3), Ink(scale=3)
    rosette(petals, 492, 788, 66, 8, 0.30, 6, 1.8)
    for r in (70, 76):
        ring = Ink(scale=3)
        ring.ring(492, 788, r, 2.4)
        rings.mask = ImageChops.lighter(rings.mask, ring.mask)
    shimmer = gradient([(0.0, (110, 230, 226)), (0.5, (252, 232, 140)), (1.0, (238, 140, 210))], (160, 160), 45)
    full = Image.new("RGB", card.size)
    full.paste(shimmer, (412, 708))
    tint(card, full, petals.finish(steps=6), 0.85)
    tint(card, full, rings.finish(steps=6), 0.85)


def header(card):
    band = Ink(scale=2)
    band.box(0, 46, WIDTH, 190)
    wash = gradient([(0.0, (196, 222, 232)), (0.6, (228, 236, 232)), (1.0, (246, 226, 200))])
    tint(card, wash, band.finish(), 0.85)
    emblem(card, 140, 118, 62)


def front(light=Visible):
    if light.infrared:
        card = blank(light.paper)
    else:
        card = security_paper([(0.0, (222, 238, 234)), (0.5, (242, 243, 230)), (1.0, (250, 232, 212))], 18,
                              (1150, 640))
        header(card)
    text(card, (228, 128), "STATE OF NORVANIA", SERIF_BOLD, 76, light.navy, tracking=3)
    text(card, (230, 172), "REGISTRY OF ROADS AND WATERWAYS", SANS, 25, light.label, tracking=5.6)
    text(card, (1786, 112), "DRIVER LICENCE", BOLD, 46, light.red, anchor="rs", tracking=1)
    text(card, (1786, 164), "SPECIMEN", SANS, 30, light.navy, anchor="rs", tracking=10)
    for y in (46, 190):
        ImageDraw.Draw(card).line((0, y, WIDTH, y), fill=paler(light.navy, 0.35, light), width=2)
    microprint(card, 0, WIDTH, 206, "STATE OF NORVANIA REGISTRY OF ROADS AND WATERWAYS",
               paler(light.navy, 0.25, light), 9)

    face = portrait(468)
    # Skin and hair reflect more infrared than light: the red channel comes nearest.
    card.paste(
        coarser(Image.merge("RGB", [face.getchannel("R")] * 3), 4) if light.infrared else coarser(face, 2),
        (70, 240))
    frame = ImageDraw.Draw(card)
    frame.rectangle((70, 240, 537, 824), outline=(236, 240, 240), width=4)
    frame.rectangle((66, 236, 541, 828), outline=light.navy, width=2)

    signature(card, 96, 918, 0.98, light.pen)
    microprint(card, 70, 540, 966, "THE BEARER SIGNS ABOVE THIS LINE", light.navy, 8)
    text(card, (70, 1002), "5", BOLD, 17, light.label)
    text(card, (88, 1002), "DD", SANS, 17, light.label)
    text(card, (122, 1004), "0274-44190-7716-NV", MONO, 24, light.ink)

    x = 590
    field(card, light, x, 246, "4d", "LICENCE NO", LICENCE_NUMBER, 52, light.red, MONO_BOLD)
    field(card, light, 1240, 246, "9", "CLASS", "D", 52)
    field(card, light, 1400, 246, "9a", "END", "NONE", 52)
    field(card, light, x, 342, "1", "FAMILY NAME", "QUILLON-MARSH", 46)
    field(card, light, x, 428, "2", "GIVEN NAMES", "ADA LINNEA", 46)
    field(card, light, x, 516, "8", "ADDRESS", "12 LANTERN WHARF", 34, light.ink, SANS)
    text(card, (x, 596), "OSTERMERE, NORVANIA 20274", SANS, 34, light.ink)
    field(card, light, x, 640, "3", "BORN", "09/14/1992", 46, light.red, BOLD)
    field(card, light, 960, 640, "15", "SEX", "F", 42)
    field(card, light, 1080, 640, "16", "HEIGHT", "5'-07\"", 42)
    field(card, light, 1280, 640, "18", "EYES", "GRN", 42)
    field(card, light, x, 732, "4a", "ISSUED", "03/02/2021", 38)
    field(card, light, 900, 732, "4b", "EXPIRES", "09/14/2029", 38, light.red)
    field(card, light, 1210, 732, "12", "RESTR", "01", 38)

    if not light.infrared:
        ghost(card, face, (1500, 428, 1786, 786), (46, 92, 110))
    text(card, (1643, 812), "09 14 92", BOLD, 25, paler(light.label, 0.1, light), anchor="ms", tracking=8)

    heart = Ink(scale=4)
    heart.polygon([(620 + 2.5 * 16 * math.sin(a)**3,
                    894 - 2.5 * (13 * math.cos(a) - 5 * math.cos(2 * a) - 2 * math.cos(3 * a) - math.cos(4 * a)))
                   for a in (math.pi * i / 60 for i in range(120))])
    tint(card, light.red, heart.finish())
    text(card, (620, 897), "DONOR", BOLD, 15, light.paper if light.infrared else (255, 255, 255), anchor="ms")
    fine_print(
        card, (690, 880, 1460),
        "This licence remains the property of the Registry. It is evidence of the right to drive vehicles of the class "
        "shown on every road and ice road of Norvania, from the Lantern Coast to the High Fells, and must be carried when driving.",
        SANS, 17, light.ink, 24)
    fine_print(
        card, (690, 976, 1786),
        "Made for testing scanners: no such state, no such person. Any likeness would be a surprise. Lines of print grow "
        "smaller from here on, as those of a diligent notary do; whoever can read the last of them has good eyes or a good scanner.",
        SANS, 13, light.ink, 17)
    fine_print(
        card, (690, 1013, 1786),
        "abcdefghijklmnopqrstuvwxyz 0123456789 ABCDEFGHIJKLMNOPQRSTUVWXYZ the quick brown fox jumps over the lazy dog "
        "while the registrar of roads looks the other way and counts the lighthouses of the coast from one to forty-four.",
        SANS, 10, light.ink, 13)

    if not light.infrared:
        foil(card)

    text(card, (70, 1062), "0", BOLD, 17, light.label)
    text(card, (70, 1098), "NV-16", MONO, 24, light.ink)
    grey_ramp(card, 692, 1786, 1052, 1104, 17, light.label)
    return card


def pictogram(ink, kind, x, y):
    """Vehicles as seen from the side, 120 x 60."""

    def at(points):
        return [(x + px, y + py) for px, py in points]

    if kind == "car":
        ink.polygon(
            at(
                spline([(4, 44), (8, 30), (28, 26), (44, 10), (76, 10), (94, 26), (114, 32), (117, 44)], steps=10) +
                [(117, 47), (4, 47)]))
        ink.polygon(at([(38, 26), (48, 15), (60, 15), (60, 26)]), 0)
        ink.polygon(at([(65, 26), (65, 15), (75, 15), (86, 26)]), 0)
        wheels = [(30, 47), (92, 47)]
    elif kind == "van":
        ink.box(x + 4, y + 4, x + 82, y + 47, 4)
        ink.polygon(at([(84, 14), (102, 14), (116, 32), (116, 47), (84, 47)]))
        ink.polygon(at([(90, 19), (100, 19), (109, 31), (90, 31)]), 0)
        wheels = [(26, 48), (96, 48)]
    else:
        ink.line(at([(24, 44), (48, 24), (76, 24), (96, 44)]), 7)
        ink.line(at([(76, 24), (84, 8), (94, 6)]), 5)
        ink.polygon(at(spline([(40, 24), (54, 14), (78, 18), (72, 34), (50, 36)], closed=True)))
        wheels = [(22, 44), (98, 44)]
    for wx, wy in wheels:
        ink.ellipse(x + wx, y + wy, 14, 14, 0)
        ink.ellipse(x + wx, y + wy, 11, 11)
        ink.ellipse(x + wx, y + wy, 4, 4, 0)


CLASSES = (("D", "car", "03/02/21", "09/14/29", "01"), ("D1", "van", "06/11/23", "09/14/29", "01 78"))


def class_table(card, left, top, right, light):
    """What the bearer may drive, and since when."""
    draw = ImageDraw.Draw(card)
    bottom = top + 38 + 72 * len(CLASSES)
    columns = [left, left + 130, left + 330, left + 560, left + 790, right]
    if not light.infrared:
        tint(card, (250, 250, 246), table_mask(left, top, right, bottom), 0.6)
    for title, x in zip(("9", "", "10 from", "11 until", "12"), columns):
        text(card, (x + 14, top + 28), title, BOLD, 20, light.label)
    for k, (name, kind, since, until, codes) in enumerate(CLASSES):
        y = top + 38 + k * 72
        draw.line((left, y, right, y), fill=light.label, width=2)
        text(card, (left + 14, y + 50), name, BOLD, 38, light.ink)
        ink = Ink()
        pictogram(ink, kind, columns[1] + 34, y + 6)
        tint(card, light.navy, ink.finish())
        for words, x in zip((since, until, codes), columns[2:]):
            text(card, (x + 14, y + 47), words, MONO_BOLD, 29, light.ink)
    draw.rectangle((left, top, right, bottom), outline=light.label, width=3)
    for x in columns[1:-1]:
        draw.line((x, top, x, bottom), fill=light.label, width=2)


def back(light=Visible):
    if light.infrared:
        card = blank(light.paper)
    else:
        card = security_paper([(0.0, (248, 234, 216)), (0.5, (240, 242, 230)), (1.0, (220, 236, 236))], -14,
                              (1420, 640))
    stripe = gradient([(0.0, (44, 36, 34)), (0.5, (58, 48, 44)), (1.0, (40, 33, 32))], size=(WIDTH, 206), angle=90)
    card.paste(stripe, (0, 124))
    microprint(card, 0, WIDTH, 348, "REGISTRY OF ROADS AND WATERWAYS OF NORVANIA", paler(light.navy, 0.25, light),
               9)

    draw = ImageDraw.Draw(card)
    panel = light.paper if light.infrared else (250, 250, 248)
    draw.rectangle((64, 368, 1004, 536), fill=panel)
    draw_symbol(draw, 122, 382, code128(LICENCE_NUMBER.replace("-", "")), 5, 110, (20, 20, 24))
    text(card, (534, 524), "N4417 0274 158", MONO, 26, light.ink, anchor="ms", tracking=8)
    class_table(card, 64, 552, 1004, light)

    x0, x1 = 1052, 1792
    text(card, (x0, 396), "CODES", BOLD, 24, light.navy, tracking=3)
    y = fine_print(
        card, (x0, 426, x1),
        "01 with glasses or lenses. 78 without clutch. 105 not faster than the ferry. 131 by daylight, which in the north "
        "means from March to September. 144 only where the ice has been measured.", SANS, 19, light.ink, 25)
    text(card, (x0, y + 42), "MOVING HOUSE?", BOLD, 24, light.navy, tracking=3)
    y = fine_print(
        card, (x0, y + 72, x1),
        "Tell the Registry within thirty days. Write the new address on the label that comes by return and "
        "stick it here.", SANS, 19, light.ink, 25)
    draw.rounded_rectangle((x0, y + 18, x1, 734), 14, fill=panel, outline=light.label, width=2)
    for k in range(2):
        microprint(card, x0 + 22, x1 - 22, y + 56 + 42 * k, "NEW ADDRESS", paler(light.label, 0.3, light), 7)

    rows = pdf417(PDF417_TEXT, columns=12, security=5)
    draw.rectangle((64, 752, 1484, 1080), fill=panel)
    height = 300 // len(rows)
    draw_symbol(draw, 92, 752 + (328 - height * len(rows)) // 2, rows, 5, height, (20, 20, 24))

    if not light.infrared:
        emblem(card, 1654, 838, 74)
    text(card, (1516, 962), "FOUND?", BOLD, 24, light.navy, tracking=3)
    fine_print(
        card, (1516, 990, 1792), "Drop this card into any letter box: 1 Beacon Square, Ostermere. The finder's "
        "reward is the gratitude of the bearer.", SANS, 17, light.ink, 23)
    microprint(card, 64, 1660, 1104, "MADE FOR TESTING SCANNERS NO SUCH STATE NO SUCH PERSON", light.navy, 8)
    text(card, (1792, 1104), "REV 11/2020", MONO, 17, light.ink, anchor="rs")
    return card


def table_mask(x0, y0, x1, y1):
    ink = Ink(scale=1)
    ink.box(x0, y0, x1, y1)
    return ink.finish()
