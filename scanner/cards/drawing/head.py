"""A human head as a relief under studio light."""

import math

from PIL import Image

from .canvas import mix, pick_stop, spline

# Drawn in units of a hundredth of the picture's width; the face looks straight ahead at (50, 56).
UNITS_WIDE, UNITS_HIGH = 100, 125

# Half the width of the head at heights from skull to chin.
OUTLINE = [(20, 0.0), (21.5, 7.0), (25, 13.0), (31, 18.0), (38, 20.4), (46, 21.2), (54, 20.8), (61, 19.5),
           (68, 17.0), (74, 13.9), (79, 10.4), (83, 7.2), (85.4, 4.2), (86.6, 0.0)]

# Hills and hollows on the head: x from the middle, y, spread in x and y, height, lean. Those off the middle
# come in pairs.
RELIEF = [
    (0, 34, 11, 6, 1.2, 0),
    (0, 47.5, 2.4, 4, 1.2, 0),
    (0, 54, 2.1, 4.5, 2.9, 0),
    (0, 60, 2.5, 3.4, 3.2, 0),
    (0, 63.4, 2.7, 2.2, 3.1, 0),
    (3.3, 64.6, 1.5, 1.5, 2.3, 0),
    (0, 67.3, 4.6, 0.9, -1.0, 0),
    (9.4, 43.6, 5.5, 1.9, 1.1, 0.1),
    (9.3, 49.2, 5.0, 2.6, -2.0, 0),
    (9.2, 49.7, 3.0, 1.7, 1.5, 0),
    (4.0, 48.3, 1.5, 2.2, -1.5, 0),
    (12.6, 59.5, 5.2, 4.0, 2.1, 0),
    (8.0, 67.0, 1.5, 3.4, -0.45, 0.45),
    (0, 69.0, 0.8, 1.3, -0.35, 0),
    (1.8, 69.4, 0.7, 1.2, 0.25, 0),
    (0, 71.6, 4.6, 1.0, 1.0, 0),
    (0, 75.4, 4.1, 1.35, 1.5, 0),
    (0, 73.1, 4.6, 0.55, -0.8, 0),
    (7.4, 72.8, 1.5, 1.8, -0.55, 0),
    (0, 78.4, 4.0, 1.2, -0.8, 0),
    (0, 82.4, 4.0, 2.6, 2.2, 0),
    (19, 44, 3, 5, -1.2, 0),
    (0, 73, 7.5, 6, 1.2, 0),
]


def between(table, at):
    if at <= table[0][0] or at >= table[-1][0]:
        return 0.0
    for (x0, y0), (x1, y1) in zip(table, table[1:]):
        if at <= x1:
            t = (at - x0) / (x1 - x0)
            return y0 + (y1 - y0) * t
    return 0.0


def head_height(x, y):
    """Height of the relief; x from the middle. None beside the head."""
    half = smooth_outline(y)
    if half <= 0 or abs(x) >= half:
        return None
    across = x / (half * 1.03)
    upright = (y - 54) / 34.5
    z = 21.0 * (1 - abs(across)**2.3)**0.5 * max(0.0, 1 - abs(upright)**3.4)**0.5
    for cx, cy, sx, sy, height, lean in RELIEF:
        dy = (y - cy) / sy
        if abs(dy) > 3:
            continue
        for side in ((1, ) if cx == 0 else (1, -1)):
            dx = (x * side - cx - lean * (y - cy)) / sx
            if abs(dx) < 3:
                z += height * math.exp(-0.5 * (dx * dx + dy * dy))
    return z


OUTLINE_CURVE = [(p[0], p[1]) for p in spline(OUTLINE, steps=16)]


def smooth_outline(y):
    return between(OUTLINE_CURVE, y)


KEY, FILL, RIM = (-0.50, -0.52, 0.69), (0.70, -0.05, 0.71), (0.93, -0.25, 0.28)


def lit_head(size, scale, skin, skin_dark, skin_light):
    """The shaded head and its mask."""
    width, height = size
    z = {}
    y0, y1 = int(19 * scale), int(87 * scale)
    x0, x1 = int(27 * scale), int(73 * scale)
    for py in range(y0, y1):
        for px in range(x0, x1):
            z[px, py] = head_height((px + 0.5) / scale - 50, (py + 0.5) / scale)
    picture, mask = Image.new("RGB", size, skin_dark), Image.new("L", size, 0)
    pixels, covered = picture.load(), mask.load()
    for py in range(y0 + 1, y1 - 1):
        for px in range(x0 + 1, x1 - 1):
            if z[px, py] is None:
                continue
            covered[px, py] = 255
            here = z[px, py]
            left, right = z[px - 1, py], z[px + 1, py]
            above, below = z[px, py - 1], z[px, py + 1]
            nx = -((right if right is not None else here - 1) -
                   (left if left is not None else here - 1)) * scale / 2
            ny = -((below if below is not None else here - 1) -
                   (above if above is not None else here - 1)) * scale / 2
            length = math.sqrt(nx * nx + ny * ny + 1)
            n = (nx / length, ny / length, 1 / length)
            key = max(0.0, sum(a * b for a, b in zip(n, KEY)))
            wrap = max(0.0, (sum(a * b for a, b in zip(n, KEY)) + 0.35) / 1.35)
            fill = max(0.0, sum(a * b for a, b in zip(n, FILL)))
            rim = max(0.0, sum(a * b for a, b in zip(n, RIM)))**3
            half = (KEY[0], KEY[1], KEY[2] + 1)
            h = math.sqrt(sum(a * a for a in half))
            shine = max(0.0, sum(a * b for a, b in zip(n, half)) / h)**26
            light = 0.16 + 0.40 * wrap + 0.26 * key + 0.20 * fill
            x, y = (px + 0.5) / scale - 50, (py + 0.5) / scale
            blush = 0.30 * math.exp(-(((abs(x) - 12.5) / 4.5)**2 + ((y - 60) / 4)**2))
            blush += 0.22 * math.exp(-((x / 4)**2 + ((y - 63.5) / 3)**2))
            colour = pick_stop([(0.0, mix(skin_dark, (40, 12, 10), 0.5)), (0.38, skin_dark), (0.72, skin),
                                (1.0, skin_light)], light)
            colour = mix(colour, mix(colour, (196, 78, 66), 0.55), min(1.0, blush))
            colour = mix(colour, (255, 244, 232), 0.26 * shine)
            colour = mix(colour, (214, 226, 240), 0.20 * rim)
            pixels[px, py] = colour
    return picture, mask
