"""The directive `diagram`: boxes and arrows from a text, as SVG inside the page.

    ```{diagram} What a reader who cannot see the picture is told
    box script    0 0 4 2  script | your Python
    box module    6 0 4 2  kvrpc
    arrow script module  JSON text
    note 0 3  A text of its own
    ```

Numbers are cells of 20 pixels: left, top, width, height. The colours are those of the theme, so the
picture follows it into the dark. Nothing is fetched and no program is needed.
"""

from __future__ import annotations

from html import escape
from typing import Dict, List, NamedTuple, Tuple

from docutils import nodes
from docutils.parsers.rst import Directive

CELL = 20
FONT = 13
HALF_CHAR = 0.16  # half the width of a small character, in cells


class Box(NamedTuple):
    left: float
    top: float
    width: float
    height: float
    lines: List[str]

    @property
    def middle(self) -> Tuple[float, float]:
        return self.left + self.width / 2, self.top + self.height / 2

    def svg(self) -> str:
        x, y = self.middle
        first = y - (len(self.lines) - 1) * 0.5 + 0.25
        texts = "".join(text(x, first + row, line, "middle", "title" if row == 0 else "small")
                        for row, line in enumerate(self.lines))
        return (f'<rect x="{px(self.left)}" y="{px(self.top)}" width="{px(self.width)}" '
                f'height="{px(self.height)}" rx="5"/>{texts}')


def px(cells: float) -> str:
    return f"{cells * CELL:g}"


def text(x: float, y: float, words: str, anchor: str, style: str) -> str:
    return (f'<text x="{px(x)}" y="{px(y)}" text-anchor="{anchor}" class="{style}">'
            f"{escape(words)}</text>")


def arrow(start: Box, end: Box, words: str) -> str:
    """Returns an arrow between the nearest sides of two boxes, with words beside its middle."""
    x1, y1 = start.middle
    x2, y2 = end.middle
    if start.left + start.width <= end.left or end.left + end.width <= start.left:
        forward = x2 > x1
        x1 = start.left + start.width if forward else start.left
        x2 = end.left if forward else end.left + end.width
        rise = abs((y2 - y1) / (x2 - x1)) * len(words) * HALF_CHAR  # of the line, below the words
        label = text((x1 + x2) / 2, (y1 + y2) / 2 - 0.3 - rise, words, "middle", "small")
    else:
        # In the middle of what the two boxes have in common from left to right.
        x1 = x2 = (max(start.left, end.left)
                   + min(start.left + start.width, end.left + end.width)) / 2
        down = y2 > y1
        y1 = start.top + start.height if down else start.top
        y2 = end.top if down else end.top + end.height
        label = text(x1 + 0.4, (y1 + y2) / 2 + 0.25, words, "start", "small")
    return (f'<line x1="{px(x1)}" y1="{px(y1)}" x2="{px(x2)}" y2="{px(y2)}" '
            f'marker-end="url(#arrow)"/>{label}')


def draw(lines: List[str], title: str) -> str:
    """Returns the SVG of a diagram. Raises ValueError for a line that says nothing known."""
    boxes: Dict[str, Box] = {}
    parts: List[str] = []
    width = height = 0.0
    for line in filter(str.strip, lines):
        kind, *words = line.split()
        if kind == "box" and len(words) > 5:
            left, top, wide, high = map(float, words[1:5])
            texts = [each.strip() for each in " ".join(words[5:]).split("|")]
            boxes[words[0]] = box = Box(left, top, wide, high, texts)
            width, height = max(width, left + wide), max(height, top + high)
            parts.append(box.svg())
        elif kind == "arrow" and len(words) > 1 and {words[0], words[1]} <= set(boxes):
            parts.append(arrow(boxes[words[0]], boxes[words[1]], " ".join(words[2:])))
        elif kind == "note" and len(words) > 2:
            left, top = map(float, words[:2])
            parts.append(text(left, top, " ".join(words[2:]), "start", "small"))
            height = max(height, top + 0.5)
        else:
            raise ValueError(f"no box, arrow or note: {line}")
    wide, high = px(width), px(height)
    return (f'<svg class="diagram" viewBox="-2 -2 {float(wide) + 4:g} {float(high) + 4:g}" '
            f'style="max-width:{wide}px" role="img" aria-label="{escape(title)}" '
            f'font-size="{FONT}"><defs><marker id="arrow" viewBox="0 0 8 8" refX="8" refY="4" '
            'markerWidth="8" markerHeight="8" orient="auto"><path d="M0 0 8 4 0 8z"/></marker>'
            f'</defs>{"".join(parts)}</svg>')


class Diagram(Directive):
    has_content = True
    required_arguments = 1
    final_argument_whitespace = True

    def run(self) -> List[nodes.Node]:
        try:
            picture = draw(list(self.content), self.arguments[0])
        except ValueError as error:
            raise self.error(str(error)) from error
        return [nodes.raw("", f'<div class="diagram">{picture}</div>', format="html")]


def setup(app):
    app.add_directive("diagram", Diagram)
    return {"parallel_read_safe": True, "parallel_write_safe": True}
