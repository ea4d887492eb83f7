#!/usr/bin/python3
"""Draws the sample deck: the pictures and card.txt of every card in samples/.

Needs Debian's python3-pil, fonts-dejavu-core and zint. The same versions draw the same files.
Run with names of cards to draw only those.
"""

import sys
from pathlib import Path

from drawing import bank, chart, club, licence, licence_data, licence_uv, member, night, technical
from drawing.canvas import blank, save

SAMPLES = Path(__file__).resolve().parent / "samples"


def white_card(words, **keys):
    paper = technical.glow(int(words[-3:]))
    return {
        "front.png": lambda: technical.white_card(words),
        "back.png": lambda: blank(technical.WHITE),
        "front-uv.png": lambda: technical.white_card(words, paper),
        "back-uv.png": lambda: blank(paper),
    }, keys


# Each card: its name in words, the function that draws each picture, and what card.txt says beyond its name.
# A card without a picture of its back has a white one.
CARDS = {
    "bank": ("Bank of the Lantern Coast", {
        "front.png": bank.front,
        "back.png": bank.back,
        "front-uv.png": bank.front_uv,
        "back-uv.png": bank.back_uv,
    }, bank.TRACKS),
    "bank-backward": ("Bank of the Lantern Coast, stripe swiped backward", {
        "front.png": bank.plain_front,
        "back.png": bank.back,
    }, {
        **bank.TRACKS, "swipe": "backward"
    }),
    "chart": ("Resolution and colour chart", {
        "front.png": chart.front,
        "back.png": chart.back,
    }, {}),
    "cleaning": ("Cleaning card", {
        "front.png": technical.cleaning,
    }, {
        "behaviour": "cleaning"
    }),
    "club": ("Membership, Harbour Light Swimming Club", {
        "front.png": club.front,
        "back.png": club.back,
    }, {}),
    "decode-mode": ("Barcode decode mode 1", {
        "front.png": technical.decode_mode,
    }, {}),
    "dusty": ("Dusty card", {
        "front.png": technical.dusty,
    }, {
        "dust": "heavy"
    }),
    "jamming": ("Jamming card", {
        "front.png": technical.jamming,
    }, {
        "behaviour": "jamming"
    }),
    "jitter-test": ("Jitter test card", {
        "front.png": technical.jitter_front,
        "back.png": technical.jitter_back,
    }, {}),
    "licence": ("Driver licence, State of Norvania", {
        "front.png": licence.front,
        "back.png": licence.back,
        "front-ir.png": lambda: licence.front(licence.Infrared).convert("L"),
        "back-ir.png": lambda: licence.back(licence.Infrared).convert("L"),
        "front-uv.png": licence_uv.front,
        "back-uv.png": licence_uv.back,
    }, licence_data.TRACKS),
    "member": ("Reader, Library of the Ninth Lighthouse", {
        "front.png": member.front,
        "back.png": member.back,
    }, {}),
    "night": ("Night pass, Felltop Observatory", {
        "front.png": night.front,
        "back.png": night.back,
    }, {}),
    "short": ("Short card", {
        "front.png": technical.short_front,
        "back.png": technical.short_back,
    }, {}),
    "slipping": ("Slipping card", {
        "front.png": technical.slipping,
    }, {
        "behaviour": "slipping"
    }),
    "white": ("Plain white card", {
        "front.png": lambda: blank(technical.WHITE),
        "back.png": lambda: blank(technical.WHITE),
    }, {}),
    "white-c": ("White calibration card", *white_card("C1A.104")),
    "white-c-turned": ("White calibration card, turned round", *white_card("C1A.104", insert="turned")),
    "white-f": ("White factory card", *white_card("F1A.100")),
    "white-f-turned": ("White factory card, turned round", *white_card("F1A.100", insert="turned")),
    "white-s": ("White factory card of a shifted sensor", *white_card("F1S.100")),
}


def main(names):
    unknown = [name for name in names if name not in CARDS]
    if unknown:
        sys.exit("no such card: %s (there are %s)" % (", ".join(unknown), ", ".join(CARDS)))
    for name in names or CARDS:
        title, pictures, keys = CARDS[name]
        for file, draw in pictures.items():
            path = SAMPLES / name / file
            save(draw(), path)
            print("%-40s %4d KB" % (path.relative_to(SAMPLES), (path.stat().st_size + 1023) // 1024))
        lines = {"name": title, "dpi": 550, "corner-radius-inches": 0.125, **keys}
        (SAMPLES / name / "card.txt").write_text("".join("%s = %s\n" % line for line in lines.items()))


if __name__ == "__main__":
    main(sys.argv[1:])
