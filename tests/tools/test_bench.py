"""The parts of the benchmark that do not measure."""

import importlib.util
import re
import sys
from pathlib import Path
from xml.etree import ElementTree

import pytest

BENCH = Path(__file__).resolve().parents[2] / "bench"
SVG = "{http://www.w3.org/2000/svg}"


def load(name):
    spec = importlib.util.spec_from_file_location(f"bench_{name}", BENCH / f"{name}.py")
    module = importlib.util.module_from_spec(spec)
    sys.modules[spec.name] = module
    spec.loader.exec_module(module)
    return module


@pytest.fixture(scope="module")
def picture():
    return load("picture")


def drawn(picture, *bars):
    return ElementTree.fromstring(picture.draw("a <title>", [picture.Bar(*bar) for bar in bars]))


def test_the_picture_has_a_bar_for_each_case(picture):
    root = drawn(picture, ("first & last", 1.5, 2.0), ("second", 3.0, 2.0))
    words = [element.text for element in root.iter(f"{SVG}text")]
    assert {"a <title>", "first & last", "second", "1.50", "3.00"} <= set(words)


def test_a_bar_beyond_its_goal_has_another_colour(picture):
    colours = {rect.get("fill") for rect in drawn(picture, ("x", 2.1, 2.0)).iter(f"{SVG}rect")}
    assert picture.BEYOND in colours and picture.WITHIN not in colours
    colours = {rect.get("fill") for rect in drawn(picture, ("x", 2.0, 2.0)).iter(f"{SVG}rect")}
    assert picture.WITHIN in colours and picture.BEYOND not in colours


def test_nothing_lies_outside_the_picture(picture):
    root = drawn(picture, ("short", 0.9, 1.0), ("long", 9.0, 2.0), ("missed", 1.0, 12.0))
    width, height = (float(size) for size in root.get("viewBox").split()[2:])
    for rect in root.iter(f"{SVG}rect"):
        x, y, wide, high = (float(rect.get(name)) for name in ("x", "y", "width", "height"))
        assert 0 <= x <= x + wide <= width and 0 <= y <= y + high <= height


def test_every_colour_stands_out_on_white_and_on_black(picture):
    """The lightness that eyes see, by the usual weights: none near either end."""
    for name in ("INK", "FLOOR", "WITHIN", "BEYOND", "GOAL"):
        parts = [int(part, 16) / 255 for part in re.findall("..", getattr(picture, name)[1:])]
        lightness = sum(w * c ** 2.2 for w, c in zip((0.2126, 0.7152, 0.0722), parts))
        assert 0.15 < lightness < 0.45, name


def test_the_cases_have_goals_and_names_of_their_own():
    cases = load("cases")
    titles = [case.title for case in cases.CASES + cases.LISTS]
    assert len(set(titles)) == len(titles)
    assert all(case.limit >= 1 for case in cases.CASES)
    assert [case.result.count for case in cases.LISTS] == [1_000, 100_000, 1_000_000]
