"""Lists between the text of the wire and Python: every type, any length, a small stack."""

import itertools
import json
import random
import threading
import tracemalloc

import pytest

from kvrpc_tools import lists
from kvrpc_tools.conversion import conversion
from kvrpc_tools.lists import ResultLists
from kvrpc_tools.schema import Field, Record, Schema, WireType, own

# Pieces of the text that the rewriting looks for, and what a JSON string makes special.
PIECES = ['},"data":{', ',"next":{', ',"next":null', '"first":{"next":{', "null", '"', "\\", "}}]",
          "{", '\\"', "ä", "’", "abc", "\n"]

LISTS = [procedure for procedure in own().procedures.values()
         if ResultLists(own(), procedure.result)]


class Values:
    """Random values as a reply has them, each list as a Python list."""

    def __init__(self, seed, lengths):
        self._random = random.Random(seed)
        self._lengths = lengths

    def of(self, wire):
        record = own().records.get(wire.record)
        if record is not None:
            return self._of_record(wire, record)
        if wire.item is not None:
            return [self.of(wire.item) for _ in range(3)]
        if wire.kind == "bool":
            return self._random.random() < 0.5
        if wire.kind in ("long", "int", "u_long", "short"):
            return self._random.randint(-99, 99)
        return "".join(self._random.choices(PIECES, k=3))

    def _of_record(self, wire, record):
        if wire.kind == "pointer":
            return [self.fields(record) for _ in range(self._random.choice(self._lengths))]
        if record.is_union:
            arm = self._random.choice(record.fields)
            return {record.discriminant: arm.value, arm.key: self.of(arm.type)}
        return self.fields(record)

    def fields(self, record):
        return {field.key: self.of(field.type) for field in record.fields
                if field is not record.link}


def text_of(wire, value):
    """The text of a value as the module writes it, by a writing of its own."""
    record = own().records.get(wire.record)
    if record is None:
        return json.dumps(value, ensure_ascii=False)
    if wire.kind == "pointer":
        return chain_of(record, value)
    arms = {field.key: field.type for field in record.fields}
    return "{" + ",".join(f'"{key}":' + (text_of(arms[key], item) if key in arms else str(item))
                          for key, item in value.items()) + "}"


def chain_of(record, nodes):
    at = record.fields.index(record.link)
    before, after = "", ""
    for node in nodes:
        fields = [f'"{field.key}":' + text_of(field.type, node[field.key])
                  for field in record.fields if field is not record.link]
        before += "{" + "".join(each + "," for each in fields[:at]) + f'"{record.link.key}":'
        after = "".join("," + each for each in fields[at:]) + "}" + after
    return before + "null" + after


def nested(wire, value):
    """A value in the shape of the wire, by recursion."""
    record = own().records.get(wire.record)
    if record is None:
        return value
    if wire.kind == "pointer":
        rest = None
        for node in reversed(value):
            link = {record.link.key: rest}
            rest = {field.key: link[field.key] if field is record.link
                    else nested(field.type, node[field.key]) for field in record.fields}
        return rest
    arms = {field.key: field.type for field in record.fields}
    return {key: nested(arms[key], item) if key in arms else item for key, item in value.items()}


def reply(text):
    return ('{"status":0,"message":"ok","result":' + text + "}").encode()


def test_every_list_of_the_interface_is_known():
    nodes = {record.name for record in own().records.values() if record.link is not None}
    reached = set().union(*(own().reachable(procedure.result) for procedure in LISTS))
    assert len(LISTS) == 74
    assert nodes - reached == {"gamma_arg"}


@pytest.mark.parametrize("procedure", LISTS, ids=lambda each: each.name)
def test_a_list_comes_as_a_list(procedure, monkeypatch):
    monkeypatch.setattr(lists, "_PIECE", 1)  # a piece for each node
    way = conversion(procedure.server, procedure.name)
    for seed, lengths in itertools.product(range(10), ([0], [1], [2], [0, 1, 3], [7])):
        value = Values(seed, lengths).of(procedure.result)
        text = text_of(procedure.result, value)
        assert json.loads(text) == nested(procedure.result, value)
        assert way.result(reply(text)) == value == way.result_in_pieces(reply(text))
        raw = way.result(reply(text), raw=True)
        assert json.dumps(raw) == json.dumps(nested(procedure.result, value))
        entries = list(way.entries(reply(text)))
        assert entries == ([value] if way.entry_type == procedure.result else first_list(value))


def first_list(value):
    """Returns the outermost list in a value; [] if it has none."""
    if isinstance(value, list):
        return value
    found = [first_list(each) for each in value.values() if isinstance(each, (dict, list))]
    return found[0] if found else []


@pytest.mark.parametrize("name, shape", [("a_get_groups_1", "first"), ("a_get_s_1", "last")])
def test_the_entries_of_a_list_are_not_held_all_at_once(name, shape):
    way = conversion("alpha", name)
    text = reply(link_first(50_000) if shape == "first" else link_last(50_000))

    def read():
        return sum(1 for _ in way.entries(text))

    assert 3 * peak_of(read) < peak_of(lambda: way.result(text))


def peak_of(work):
    """Returns the bytes that `work` takes at most, beside what there was before."""
    tracemalloc.start()
    try:
        work()
        return tracemalloc.get_traced_memory()[1]
    finally:
        tracemalloc.stop()


def test_the_entries_of_an_array_are_parsed_one_by_one():
    way = conversion("lambda", "l_ps_1")
    for items in ([], [{"slot": 0}], [{"slot": 0, "cmd": "]"}, {"slot": 1}]):
        assert list(way.entries(reply(json.dumps(items)))) == items



def in_a_small_stack(work):
    """Runs `work` on a thread of 512 KiB of stack. Returns its result."""
    results = []
    before = threading.stack_size(512 * 1024)
    try:
        thread = threading.Thread(target=lambda: results.append(work()))
        thread.start()
        thread.join()
    finally:
        threading.stack_size(before)
    return results.pop()


# A recursion as deep as the shorter one ends in 512 KiB as well.
LENGTHS = [20_000, pytest.param(1_000_000, marks=pytest.mark.slow)]


def link_first(length):
    return ('{"anz":1,"first":' + '{"next":' * length + "null"
            + "".join(',"data":{"groupid":"%d"}}' % at for at in range(length)) + "}")


def link_last(length):
    return ('{"anz":1,"first":' + "".join('{"data":{"faxid":%d},"next":' % at
                                          for at in range(length)) + "null" + "}" * length + "}")


@pytest.mark.parametrize("length", LENGTHS)
@pytest.mark.parametrize("name, make, key", [
    ("a_get_groups_1", link_first, "groupid"), ("a_get_s_1", link_last, "faxid")])
def test_a_list_of_any_length_comes_in_a_small_stack(length, name, make, key):
    way, text = conversion("alpha", name), make(length)
    nodes = in_a_small_stack(lambda: way.result(reply(text))["first"])
    assert len(nodes) == length
    assert [int(nodes[at]["data"][key]) for at in (0, -1)] in ([0, length - 1], [length - 1, 0])
    node = in_a_small_stack(lambda: way.result(reply(text), raw=True)["first"])
    for expected in nodes:
        assert node["data"] == expected["data"]
        node = node["next"]
    assert node is None


@pytest.mark.parametrize("length", LENGTHS)
def test_a_list_of_any_length_goes_in_a_small_stack(length):
    way = conversion("alpha", "a_gamma_1")
    nodes = [{"a_g_dok": str(at)} for at in range(length)]
    text = in_a_small_stack(lambda: way.call_text(nodes))
    wire = None
    for node in reversed(nodes):
        wire = {**node, "next": wire}
    assert in_a_small_stack(lambda: way.call_text(wire)) == text
    assert text.startswith('{"a_gamma_1":{"a_g_dok":"0","next":{"a_g_dok":"1","next":{')
    assert text.endswith('{"a_g_dok":"%d","next":null' % (length - 1) + "}" * (length + 1))


@pytest.mark.parametrize("argument, text", [
    ([{}], '{"next":null}'), ([{}, {}], '{"next":{"next":null}}'), ({}, '{"next":null}'),
    ({"next": None, "a_g_dok": "x"}, '{"a_g_dok":"x","next":null}'),
    ([5], "[5]"), (7, "7"), ({"next": 5}, '{"next":5}')])
def test_a_list_goes_nested_and_anything_else_as_it_is(argument, text):
    way = conversion("alpha", "a_gamma_1")
    assert way.call_text(argument, check=False) == '{"a_gamma_1":' + text + "}"


def schema_of(**records):
    schema = Schema({"records": {}, "programs": [], "servers": [], "characters": []})
    schema.records.update({name: Record(name, tuple(fields)) for name, fields in records.items()})
    return schema


def field(key, kind, record=""):
    return Field(key, WireType(kind, record=record))


NODE = [field("next", "list_next", "node"), field("data", "record", "data")]


@pytest.mark.parametrize("records", [
    pytest.param({"result": [field("first", "pointer", "node"), field("data", "record", "data")],
                  "node": NODE, "data": []}, id="a second field as after the border"),
    pytest.param({"result": [field("first", "pointer", "node"), field("other", "record", "more")],
                  "more": [field("first", "pointer", "node")], "node": NODE, "data": []},
                 id="a second head"),
    pytest.param({"result": [field("first", "pointer", "node")], "data": [],
                  "node": [field("a", "long"), field("next", "list_next", "node"),
                           field("b", "long")]}, id="a link in the middle"),
    pytest.param({"result": [field("all", "array", "more")], "node": NODE, "data": [],
                  "more": [field("first", "pointer", "node")]}, id="a list in an array"),
])
def test_a_result_that_cannot_be_rewritten_safely_is_refused(records):
    with pytest.raises(ValueError):
        ResultLists(schema_of(**records), WireType("record", record="result"))
