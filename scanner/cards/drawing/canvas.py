"""Tools for drawing cards: sizes, fonts, smooth lines, gradients, text and files."""

import io
import math
import struct
import zlib
from pathlib import Path

from PIL import Image, ImageDraw, ImageFilter, ImageFont

DPI = 550
WIDTH, HEIGHT = 1856, 1169  # 3.375 x 2.125 inches

FONT_FOLDER = Path("/usr/share/fonts/truetype/dejavu")
SANS, BOLD = "DejaVuSans", "DejaVuSans-Bold"
SERIF, SERIF_BOLD = "DejaVuSerif", "DejaVuSerif-Bold"
MONO, MONO_BOLD = "DejaVuSansMono", "DejaVuSansMono-Bold"


def font(name, size):
    return ImageFont.truetype(str(FONT_FOLDER / (name + ".ttf")), size)


def mix(a, b, t):
    """Colour between a (t = 0) and b (t = 1)."""
    return tuple(round(x + (y - x) * t) for x, y in zip(a, b))


def blank(colour, size=(WIDTH, HEIGHT)):
    return Image.new("RGB", size, colour)


def gradient(stops, size=(WIDTH, HEIGHT), angle=0.0):
    """A linear gradient through (position 0..1, colour) stops; angle 0 runs left to right, in degrees."""
    width, height = size
    c, s = math.cos(math.radians(angle)), math.sin(math.radians(angle))
    # Drawn small and enlarged: smooth, and small in the file.
    small_w, small_h = max(2, width // 8), max(2, height // 8)
    reach = abs(c) * (small_w - 1) + abs(s) * (small_h - 1)
    start = min(0, c * (small_w - 1)) + min(0, s * (small_h - 1))
    picture = Image.new("RGB", (small_w, small_h))
    pixels = picture.load()
    for y in range(small_h):
        for x in range(small_w):
            pixels[x, y] = pick_stop(stops, (x * c + y * s - start) / reach)
    return picture.resize(size, Image.BICUBIC)


def pick_stop(stops, t):
    for (t0, a), (t1, b) in zip(stops, stops[1:]):
        if t <= t1:
            return mix(a, b, (t - t0) / (t1 - t0)) if t > t0 else a
    return stops[-1][1]


class Ink:
    """A mask at several times the card's resolution, so that lines and shapes have smooth edges."""

    def __init__(self, size=(WIDTH, HEIGHT), scale=3):
        self.size, self.scale = size, scale
        self.mask = Image.new("L", (size[0] * scale, size[1] * scale), 0)
        self.draw = ImageDraw.Draw(self.mask)

    def _at(self, points):
        return [((x + 0.5) * self.scale, (y + 0.5) * self.scale) for x, y in points]

    def line(self, points, width, value=255):
        self.draw.line(self._at(points), fill=value, width=max(1, round(width * self.scale)), joint="curve")

    def polygon(self, points, value=255):
        self.draw.polygon(self._at(points), fill=value)

    def ellipse(self, cx, cy, rx, ry, value=255):
        self.draw.ellipse(self._at([(cx - rx, cy - ry), (cx + rx, cy + ry)]), fill=value)

    def ring(self, cx, cy, radius, width, value=255):
        self.ellipse(cx, cy, radius + width / 2, radius + width / 2, value)
        self.ellipse(cx, cy, radius - width / 2, radius - width / 2, 0)

    def box(self, x0, y0, x1, y1, radius=0, value=255):
        (ax, ay), (bx, by) = self._at([(x0 - 0.5, y0 - 0.5), (x1 - 0.5, y1 - 0.5)])
        self.draw.rounded_rectangle((ax, ay, bx - 1, by - 1), radius * self.scale, fill=value)

    def finish(self, blur=0.0, steps=0):
        """The mask at card resolution; steps limits its grey levels, which keeps files small."""
        mask = self.mask.resize(self.size, Image.BOX)
        if blur:
            mask = mask.filter(ImageFilter.GaussianBlur(blur))
        if steps:
            mask = mask.point([round(round(v * steps / 255) * 255 / steps) for v in range(256)])
        return mask


def tint(picture, colour, mask, opacity=1.0):
    """Lays a colour, or a picture of the same size, over the picture where the mask says."""
    if opacity < 1.0:
        mask = mask.point([round(v * opacity) for v in range(256)])
    if isinstance(colour, tuple):
        colour = Image.new("RGB", picture.size, colour)
    picture.paste(colour, (0, 0), mask)


def spline(points, closed=False, steps=12):
    """A smooth curve through the points (Catmull-Rom)."""
    n = len(points)
    curve = []
    for i in range(n if closed else n - 1):
        p = [points[(i + k) % n] if closed else points[min(max(i + k, 0), n - 1)] for k in (-1, 0, 1, 2)]
        for step in range(steps):
            t = step / steps
            curve.append(
                tuple(0.5 * (2 * b + (c - a) * t + (2 * a - 5 * b + 4 * c - d) * t * t +
                             (3 * b - a - 3 * c + d) * t**3) for a, b, c, d in zip(*p)))
    if not closed:
        curve.append(points[-1])
    return curve


def text(picture, xy, words, name, size, colour, anchor="ls", tracking=0.0):
    """Text at a baseline; tracking spreads the letters by so many pixels."""
    draw = ImageDraw.Draw(picture)
    face = font(name, size)
    if not tracking:
        draw.text(xy, words, fill=colour, font=face, anchor=anchor)
        return
    total = sum(face.getlength(c) + tracking for c in words) - tracking
    x = xy[0] - {"l": 0, "m": total / 2, "r": total}[anchor[0]]
    for c in words:
        draw.text((x, xy[1]), c, fill=colour, font=face, anchor="l" + anchor[1])
        x += face.getlength(c) + tracking


def text_width(words, name, size, tracking=0.0):
    face = font(name, size)
    return sum(face.getlength(c)
               for c in words) + tracking * (len(words) - 1) if tracking else face.getlength(words)


def fine_print(picture, box, words, name, size, colour, leading):
    """Words set in lines of the box's width. Returns the baseline of the last line."""
    x0, y0, x1 = box
    face = font(name, size)
    line, y = "", y0
    draw = ImageDraw.Draw(picture)
    for word in words.split():
        longer = (line + " " + word).strip()
        if line and face.getlength(longer) > x1 - x0:
            draw.text((x0, y), line, fill=colour, font=face, anchor="ls")
            line, y = word, y + leading
        else:
            line = longer
    draw.text((x0, y), line, fill=colour, font=face, anchor="ls")
    return y


def microprint(picture, x0, x1, y, words, colour, size=11):
    """A line of very small words that looks like a rule from afar."""
    face = font(SANS, size)
    repeated = words
    while face.getlength(repeated) < x1 - x0:
        repeated += "  " + words
    strip = Image.new("L", (x1 - x0, 2 * size), 0)
    ImageDraw.Draw(strip).text((0, size + size // 2), repeated, fill=255, font=face, anchor="ls")
    picture.paste(Image.new("RGB", strip.size, colour), (x0, y - size - size // 2), strip)


def rosette(ink, cx, cy, radius, petals, inner, lines, width, turn=0.0):
    """Guilloche: interwoven closed waves round a centre."""
    for k in range(lines):
        phase = 2 * math.pi * k / lines + turn
        points = []
        for i in range(0, 721):
            a = math.pi * i / 360
            r = radius * (inner + (1 - inner) * (0.5 + 0.5 * math.sin(petals * a + phase)))
            points.append((cx + r * math.cos(a), cy + r * math.sin(a)))
        ink.line(points, width)


def waves(ink, y0, y1, count, amplitude, length, drift, width, phase=0.0, step=4):
    """Guilloche: a band of waves that run from edge to edge and drift apart."""
    for k in range(count):
        t = k / max(1, count - 1)
        points = []
        for x in range(-8, WIDTH + 9, step):
            a = 2 * math.pi * x / length + phase + drift * t
            y = y0 + (y1 - y0) * t + amplitude * math.sin(a) + 0.4 * amplitude * math.sin(2.3 * a + 1.7 * t * drift)
            points.append((x, y))
        ink.line(points, width)


def shadow(picture, box, radius, blur, opacity, offset=(0, 6)):
    """A soft shadow under something that will be drawn into the box."""
    mask = Image.new("L", picture.size, 0)
    x0, y0, x1, y1 = box
    dx, dy = offset
    ImageDraw.Draw(mask).rounded_rectangle((x0 + dx, y0 + dy, x1 + dx, y1 + dy), radius, fill=255)
    tint(picture, (0, 0, 0), mask.filter(ImageFilter.GaussianBlur(blur)), opacity)


def coarser(picture, step):
    """The picture in fewer levels: unseen, and much smaller in the file."""
    return picture.point([min(255, (v + step // 2) // step * step) for v in range(256)] * 3)


def png(picture, filtered):
    """A PNG file; rows stored as they are suit line work, which is smaller than any prediction makes it."""
    if filtered:
        file = io.BytesIO()
        picture.save(file, "PNG", optimize=True)
        return file.getvalue()

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    width, height = picture.size
    colour_type = {"L": 0, "RGB": 2}[picture.mode]
    rows = picture.tobytes()
    stride = len(rows) // height
    data = b"".join(b"\0" + rows[stride * y:stride * (y + 1)] for y in range(height))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, colour_type, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(data, 9)) + chunk(b"IEND", b""))


def few_colours(picture):
    """The same picture with a table of colours where 256 are enough, else None."""
    colours = picture.getcolors(256)
    if not colours:
        return None
    table = sorted(colour for _, colour in colours)
    if picture.mode == "L":
        table = [(v, v, v) for v in table]
        picture = picture.convert("RGB")
    reduced = Image.new("P", (1, 1))
    reduced.putpalette([v for colour in table for v in colour])
    reduced = picture.quantize(palette=reduced, dither=Image.NONE)
    return reduced if reduced.convert("RGB").tobytes() == picture.tobytes() else None


def save(picture, path):
    """Writes the smallest of several PNG files; each holds every pixel as it is."""
    path.parent.mkdir(parents=True, exist_ok=True)
    if picture.mode != "L":
        picture = picture.convert("RGB")
    files = [png(picture, True), png(picture, False)]
    reduced = few_colours(picture)
    if reduced:
        files.append(png(reduced, True))
    path.write_bytes(min(files, key=len))
