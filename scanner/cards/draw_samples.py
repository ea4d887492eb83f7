#!/usr/bin/python3
"""Draws the sample deck: samples/<name>/{front.png,back.png,card.txt}.

Needs Debian's python3-pil and fonts-dejavu-core. The same versions draw the same files.
Run with names of cards to draw only those.
"""

import sys
from pathlib import Path

from drawing import chart, club, licence, night
from drawing.canvas import blank, save

SAMPLES = Path(__file__).resolve().parent / "samples"

WHITE = (250, 250, 250)  # paper: white, but not more than the scanner's white target

CARDS = {
    "chart": ("Resolution and colour chart", chart.front, chart.back),
    "club": ("Membership, Harbour Light Swimming Club", club.front, club.back),
    "licence": ("Driver licence, State of Norvania", licence.front, licence.back),
    "night": ("Night pass, Felltop Observatory", night.front, night.back),
    "white": ("Plain white card", lambda: blank(WHITE), lambda: blank(WHITE)),
}


def main(names):
    unknown = [name for name in names if name not in CARDS]
    if unknown:
        sys.exit("no such card: %s (there are %s)" % (", ".join(unknown), ", ".join(CARDS)))
    for name in names or CARDS:
        title, front, back = CARDS[name]
        for file, draw in (("front.png", front), ("back.png", back)):
            path = SAMPLES / name / file
            save(draw(), path)
            print("%-40s %4d KB" % (path.relative_to(SAMPLES), path.stat().st_size // 1024))
        (SAMPLES / name / "card.txt").write_text("name = %s\ndpi = 550\ncorner-radius-inches = 0.125\n" % title)


if __name__ == "__main__":
    main(sys.argv[1:])
