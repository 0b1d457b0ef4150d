"""Results as a picture: one bar a case, as long as the call took in floors, and its goal.

The colours are of middle lightness and the ground is transparent, so that the picture can be read
on light and dark pages.
"""

from __future__ import annotations

from html import escape
from typing import List, NamedTuple

INK = "#808894"
FLOOR = "#9aa3ad"
WITHIN = "#3f8fd2"
BEYOND = "#d2603f"
GOAL = "#c9932b"

ROW = 26
LEFT = 190
WIDTH = 760
RIGHT = 70


class Bar(NamedTuple):
    title: str
    ratio: float
    limit: float


def text(x: float, y: float, words: str, anchor: str = "start", weight: str = "normal") -> str:
    return (f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" font-weight="{weight}" '
            f'fill="{INK}">{escape(words)}</text>')


def rectangle(x: float, y: float, width: float, height: float, colour: str) -> str:
    return (f'<rect x="{x:.1f}" y="{y:.1f}" width="{width:.1f}" height="{height:.1f}" rx="2" '
            f'fill="{colour}"/>')


def draw(title: str, bars: List[Bar]) -> str:
    """The picture as SVG."""
    most = max(max(bar.ratio, bar.limit) for bar in bars)
    scale = (WIDTH - LEFT - RIGHT) / most
    height = ROW * (len(bars) + 3)
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" '
             f'font-family="sans-serif" font-size="13" role="img">',
             f"<title>{escape(title)}</title>", text(0, 18, title, weight="bold")]
    for row, bar in enumerate(bars):
        top = ROW * (row + 1) + 6
        parts += [text(LEFT - 10, top + 14, bar.title, "end"),
                  rectangle(LEFT, top + 3, bar.ratio * scale, 14,
                            WITHIN if bar.ratio <= bar.limit else BEYOND),
                  rectangle(LEFT + bar.limit * scale - 1, top, 2, 20, GOAL),
                  text(LEFT + max(bar.ratio, bar.limit) * scale + 8, top + 14,
                       f"{bar.ratio:.2f}")]
    bottom = ROW * (len(bars) + 1) + 10
    parts += [rectangle(LEFT + scale - 0.5, ROW, 1, bottom - ROW, FLOOR),
              text(LEFT + scale, bottom + 14, "1 = the floor", "middle"),
              rectangle(LEFT, bottom + 26, 2, 14, GOAL), text(LEFT + 8, bottom + 38, "goal"),
              "</svg>"]
    return "\n".join(parts) + "\n"
