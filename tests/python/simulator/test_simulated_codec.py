"""Values to bytes and back, for every record of the interface."""

import json
from pathlib import Path

import pytest

from kvrpc_tools import schema as schemas
from kvrpc_tools.schema import WireType
from kvrpc_tools.simulator.xdr import XdrError
from tests.python.simulator.values import Values

VECTORS = Path(__file__).resolve().parents[2] / "vectors" / "procedures.jsonl"

# A text that the call leaves out goes as no bytes at all; a server's text has its NUL at least.
WITHOUT_TEXT = ['{"a_tra_str_1":{}}']


def lines():
    return [json.loads(line) for line in VECTORS.read_text(encoding="utf-8").splitlines()]


RECORDS = sorted(schemas.load().records)


def test_every_record_comes_back_as_it_went(schema, codec):
    changed = []
    for name in RECORDS:
        values = Values(schema, name)
        kind = WireType("record", record=name)
        for _ in range(5):
            value = values.of(kind)
            data = codec.encode(kind, value)
            if len(data) % 4 or codec.decode(kind, data) != value:
                changed.append((name, value))
    assert changed == []


def test_every_record_of_which_nothing_is_said_is_well_formed(codec):
    changed = []
    for name in RECORDS:
        kind = WireType("record", record=name)
        data = codec.encode(kind, None)
        if codec.encode(kind, codec.decode(kind, data)) != data:
            changed.append(name)
    assert changed == []


def test_the_interface_is_whole(schema):
    assert len(schema.records) == 342
    counts = {name: len(server.procedures) for name, server in schema.servers.items()}
    assert counts == {"alpha": 154, "omega": 111, "lambda": 29, "theta": 15, "sigma": 10,
                      "nue": 2, "gamma": 0}
    assert sorted(server.slot for server in schema.servers.values()) == list(range(7))


def test_arguments_of_the_vectors_are_read_and_written_byte_for_byte(schema, codec):
    changed = []
    for line in lines():
        kind = schema.procedures[line["procedure"]].argument
        data = bytes.fromhex(line["arg_xdr"])
        if codec.encode(kind, codec.decode(kind, data)) != data:
            changed.append(line["call"])
    assert changed == WITHOUT_TEXT


def test_results_of_the_vectors_are_read(schema, codec):
    for line in lines():
        kind = schema.procedures[line["procedure"]].result
        value = codec.decode(kind, bytes.fromhex(line["res_xdr"]))
        assert codec.decode(kind, codec.encode(kind, value)) == value


@pytest.mark.parametrize("procedure", ["a_get_tele_1", "a_get_s_1", "a_get_configdata_new_1"])
def test_a_chain_of_any_length_needs_no_stack(schema, codec, procedure):
    """`next` first, in the middle and last of its node."""
    kind = schema.procedures[procedure].result
    empty = codec.decode(kind, codec.encode(kind, None))
    owner = empty["v1"] if "v1" in empty else empty
    key = "gwuser_count" if "gwuser_count" in owner else "first"
    owner[key] = [{} for _ in range(20_000)]
    full = codec.decode(kind, codec.encode(kind, empty))
    assert len((full["v1"] if "v1" in full else full)[key]) == 20_000


def test_characters_go_with_their_sign_and_texts_with_their_end(codec):
    assert codec.encode(WireType("chars", 3), "ä") == bytes.fromhex(
        "ffffffe40000000000000000")
    assert codec.encode(WireType("text"), "ab") == bytes.fromhex("0000000361620000")
    assert codec.encode(WireType("chars", 3), "abcd") == bytes.fromhex(
        "000000610000006200000000")


@pytest.mark.parametrize("data", ["", "000000", "0000000100000000"])
def test_bytes_too_few_or_too_many_are_refused(codec, data):
    with pytest.raises(XdrError):
        codec.decode(WireType("long"), bytes.fromhex(data))


def test_a_union_without_such_an_arm_is_refused(codec):
    kind = WireType("record", record="e_rec_new")
    with pytest.raises(XdrError):
        codec.decode(kind, bytes(4))
