"""What the checks say of an argument, and what they keep to themselves."""

import pytest

from kvrpc_tools import Alpha, ArgumentError, Omega
from kvrpc_tools.schema import SECRETS, own


class Silent:
    """A transport that must not be used, or answers null."""

    def __init__(self, expected=()):
        self.expected = list(expected)

    def call(self, text, verifier):
        assert text == self.expected.pop(0)
        return b'{"status":0,"message":"ok","result":null}'

    def close(self):
        assert self.expected == []


def problems(name, argument):
    client = (Omega if name.startswith("o_") else Alpha)(transport=Silent())
    with pytest.raises(ArgumentError) as caught:
        client.call(name, argument)
    assert caught.value.status == 1
    return [str(problem) for problem in caught.value.problems]


@pytest.mark.parametrize("name, argument, expected", [
    ("a_sende_1", {"s_record": {"empfnr": "0" * 44}}, "s_record.empfnr: 44 bytes, 30 fit"),
    ("a_sende_1", {"s_record": {"prio": 70000}},
     "s_record.prio: 70000 is outside -32768 to 32767"),
    ("a_sende_1", {"s_record": {"crezeit": -2**31 - 1}},
     "s_record.crezeit: -2147483649 is outside -2147483648 to 2147483647"),
    ("a_sende_1", {"s_record": {"prio": 1.0}}, "s_record.prio: an int is expected, not float"),
    ("a_sende_1", {"s_record": {"prio": True}}, "s_record.prio: an int is expected, not bool"),
    ("a_sende_1", {"s_record": {"nachtkz": 1}},
     "s_record.nachtkz: True or False is expected, not int"),
    ("a_sende_1", {"s_record": {"comment": None}},
     "s_record.comment: a str is expected, not NoneType"),
    ("a_sende_1", {"s_recrod": {}}, "s_recrod: unknown member, did you mean s_record?"),
    ("a_sende_1", {"x": {}}, "x: unknown member"),
    ("a_sende_1", {1: {}}, "1: unknown member"),
    ("a_sende_1", [], "argument: a dict is expected, not list"),
    ("a_login_1", {"userid": "it's"},
     "userid: the servers' code lacks U+0027 APOSTROPHE (at 2), U+2019 is sent as one"),
    ("a_login_1", {"userid": "a\0b"},
     "userid: the servers' code lacks U+0000 a control character (at 1)"),
    ("a_login_1", {"userid": "\ufeff"},
     "userid: the servers' code lacks U+FEFF ZERO WIDTH NO-BREAK SPACE (at 0)"),
    ("a_send_new_1", {"v1": {}}, "selection: is missing, it selects one of 0, 1"),
    ("a_send_new_1", {"selection": 2, "v2": {}}, "selection: 2 is none of 0, 1"),
    ("a_send_new_1", {"selection": "1", "v1": {}}, "selection: an int is expected, not str"),
    ("a_send_new_1", {"selection": 1}, "v1: is missing, selection 1 asks for it"),
    ("a_send_new_1", {"selection": 1, "v1": {}, "v0": {}},
     "v0: does not belong to selection 1, but v1 does"),
    ("a_send_new_1", {"selection": 1, "v1": {}, "V1": {}},
     "V1: unknown member, did you mean v1?"),
    ("a_query_tebu_1", {"aktpar": ["x"] * 9}, "aktpar: 9 items, exactly 10 are expected"),
    ("a_query_tebu_1", {"aktpar": ["x"] * 9 + [5]}, "aktpar.9: a str is expected, not int"),
    ("a_put_tgroup_1", {"data": {"permissions": "TWE="}},
     "data.permissions: 2 bytes, exactly 3 fit"),
    ("a_put_tgroup_1", {"data": {"permissions": "TW-u"}},
     "data.permissions: is no complete Base64"),
    ("a_gamma_1", [{"a_g_dok": "x"}, {"next": None}], "1.next: unknown member"),
    ("a_gamma_1", {"next": {"next": {"b": 1}}}, "next.next.b: unknown member"),
    ("a_gamma_1", [], "argument: is empty, a node is expected"),
    ("a_gamma_1", None, "argument: a list is expected, not NoneType"),
    ("a_exit_1", {}, "argument: this procedure takes no argument"),
    ("a_a_log_1", "x" * 80, "argument: 80 bytes, 79 fit"),
    ("o_cha_licence_1", {},
     "argument: the record is not described, so the module refuses every argument"),
])
def test_a_mistake_is_named(name, argument, expected):
    assert problems(name, argument) == [expected]


def test_all_mistakes_are_named_at_once():
    assert problems("a_login_1", {"userid": "x" * 11, "pass": 1, "passwor": 2}) == [
        "userid: 11 bytes, 10 fit", "pass: unknown member, did you mean passwor?",
        "passwor: a str is expected, not int"]


@pytest.mark.parametrize("argument", [
    {"userid": "u", "oldpw": "geheim's", "newpw": "geheim"},
    {"userid": "u", "oldpw": "geheim" * 20, "newpw": ["geheim"]},
    {"userid": "u", "oldpw": b"geheim", "newpw": 12345678901}])
def test_a_secret_is_never_shown(argument):
    told = " ".join(problems("a_cha_pw_1", argument))
    assert "geheim" not in told and "U+" not in told and "(at" not in told
    assert "120" not in told and "12345678901" not in told


def test_the_secrets_are_fields_of_the_interface():
    keys = {field.key for record in own().records.values() for field in record.fields}
    assert SECRETS <= keys
    assert {key for key in keys if "passw" in key or key.endswith("pw")} <= SECRETS


def test_the_checks_can_be_turned_off():
    text = '{"a_login_1":{"passwd":"x"}}'
    Alpha(transport=Silent([text]), check=False).call("a_login_1", {"passwd": "x"})
    Alpha(transport=Silent([text])).a_login_1({"passwd": "x"}, check=False)
    with pytest.raises(ArgumentError):
        Alpha(transport=Silent(), check=False).a_login_1({"passwd": "x"}, check=True)


@pytest.mark.parametrize("argument", [
    [{"b": 1}] * 1_000_000, [{"a_g_dok": "x" * 99}] * 1_000_000], ids=["keys", "texts"])
def test_of_a_million_mistakes_the_first_are_named(argument):
    with pytest.raises(ArgumentError) as caught:
        Alpha(transport=Silent()).a_gamma_1(argument)
    assert len(caught.value.problems) == 100
    assert len(str(caught.value)) < 1000
    assert str(caught.value).endswith("and 90 more")


def test_every_record_of_an_argument_may_be_left_out():
    """A record that is left out is sent as zeroes, so a union in it needs an arm 0."""
    for procedure in own().procedures.values():
        for name in own().reachable(procedure.argument):
            for field in own().records[name].fields:
                if field.type.kind == "record" and not own().records[name].is_union:
                    inner = own().records[field.type.record]
                    assert not inner.is_union or inner.fields[0].value == 0
