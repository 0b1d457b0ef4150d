"""Strategies of hypothesis for arguments: good ones, and good ones with one planted mistake."""

import base64

from hypothesis import strategies as st

from kvrpc_tools.check import NUMBERS
from kvrpc_tools.schema import own

TEXTS = ("chars", "schars", "text", "counted_text", "string")
LACKING = st.characters(blacklist_characters=list(own().characters))


def good(wire):
    """Arguments that the check accepts and that arrive as they are."""
    if wire.kind in NUMBERS:
        low, high = NUMBERS[wire.kind]
        return st.integers(low, high) | st.sampled_from([low, high])
    if wire.kind in TEXTS:
        room = wire.count - 1 if wire.count else 200
        return st.text(st.sampled_from(sorted(own().characters)), max_size=room)
    if wire.kind == "opaque":
        binary = st.binary(min_size=wire.count, max_size=wire.count)
        return binary.map(lambda data: base64.b64encode(data).decode())
    if wire.kind == "vector":
        return st.lists(good(wire.item), min_size=wire.count, max_size=wire.count)
    if wire.kind == "record":
        return good_record(own().records[wire.record])
    return {"nothing": st.none(), "bool": st.booleans()}[wire.kind]


def good_record(record):
    fields = {field.key: good(field.type) for field in record.fields if field is not record.link}
    if record.is_union:
        return st.sampled_from(record.fields).flatmap(lambda arm: st.fixed_dictionaries(
            {record.discriminant: st.just(arm.value), arm.key: fields[arm.key]}))
    structure = st.fixed_dictionaries({}, optional=fields)
    return structure if record.link is None else st.lists(structure, min_size=1, max_size=5)


def bad(wire):
    """(argument, path of its only mistake): what must not be sent."""
    at_top = st.tuples(wrong_value(wire), st.just(()))
    if wire.kind != "record":
        return at_top
    record = own().records[wire.record]
    if record.is_union:
        return at_top | bad_union(record)
    inside = st.one_of(
        bad_field(record), st.just(({"nobody": 1}, ("nobody",))),
        good_record(record._replace(fields=record.fields[:1])).map(lambda value: ([value], ()))
        if record.link is None else bad_node(record))
    return at_top | inside


def bad_field(record):
    fields = [field for field in record.fields if field is not record.link]
    return st.sampled_from(fields).flatmap(
        lambda field: bad(field.type).map(
            lambda found: ({field.key: found[0]}, (field.key, *found[1]))))


def bad_node(record):
    return st.integers(0, 3).flatmap(lambda index: bad_field(record).map(
        lambda found: ([{}] * index + [found[0]], (str(index), *found[1]))))


def bad_union(record):
    arms = {arm.value: arm for arm in record.fields}
    selector = record.discriminant
    outside = st.integers().filter(lambda value: value not in arms)
    arm_of = st.sampled_from(record.fields)
    return st.one_of(
        st.just(({}, (selector,))),
        outside.map(lambda value: ({selector: value, "v0": {}}, (selector,))),
        arm_of.map(lambda arm: ({selector: arm.value}, (arm.key,))),
        arm_of.flatmap(lambda arm: bad(arm.type).map(
            lambda found: ({selector: arm.value, arm.key: found[0]}, (arm.key, *found[1])))))


def wrong_value(wire):
    """Values that do not fit a type, whatever it holds."""
    kinds = {
        "int": st.floats() | st.text() | st.booleans(),
        "text": st.integers() | st.binary() | st.lists(st.text(max_size=3), max_size=2),
        "bool": st.integers(0, 1) | st.text(max_size=3),
        "vector": st.just([]) | st.text(max_size=3),
        "record": st.integers() | st.text(max_size=5) | st.none(),
        "nothing": st.booleans() | st.just({}),
    }
    if wire.kind in NUMBERS:
        low, high = NUMBERS[wire.kind]
        return kinds["int"] | st.integers(max_value=low - 1) | st.integers(min_value=high + 1)
    if wire.kind in TEXTS:
        lacking = st.tuples(LACKING).map("".join)
        long = st.integers(wire.count, 3 * wire.count).map(lambda count: "a" * count)
        return kinds["text"] | lacking | (long if wire.count else lacking)
    if wire.kind == "opaque":
        return kinds["text"] | st.sampled_from(["=", "TQ", "TWFuTWFu", "TW-u", "T"])
    return kinds[wire.kind]
