"""An argument that the regular expression of quick_check matches is valid; the full check decides
about all others."""

import json

import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

from kvrpc_tools import quick_check
from kvrpc_tools.check import FINE, Compiler
from kvrpc_tools.schema import own
from tests.python.arguments import bad, good

MATCHERS = {name: quick_check.matcher(own(), procedure.argument)
            for name, procedure in own().procedures.items()}
KNOWN = [name for name, matches in MATCHERS.items() if matches is not None]
PROCEDURES = st.sampled_from(KNOWN).map(own().procedures.get)
some = settings(max_examples=100, deadline=None, database=None,
                suppress_health_check=list(HealthCheck))


def matches(name, argument):
    try:
        text = json.dumps(argument, separators=(",", ":"))
    except TypeError:  # bytes
        return False
    return MATCHERS[name](text) is not None


def check(name, argument):
    return Compiler(own()).check(own().procedures[name].argument)(argument)


@some
@given(PROCEDURES.flatmap(lambda each: st.tuples(st.just(each.name), bad(each.argument))))
def test_no_mistake_matches(drawn):
    name, (argument, _) = drawn
    assert not matches(name, argument)


@some
@given(PROCEDURES.flatmap(lambda each: st.tuples(st.just(each.name), good(each.argument))))
def test_what_matches_is_good(drawn):
    name, argument = drawn
    if matches(name, argument):
        assert check(name, argument) == FINE


@pytest.mark.parametrize(("name", "argument"), [
    ("a_login_1", {}),
    ("a_login_1", {"passwor": "p" * 10, "userid": "meier"}),
    ("a_sende_1", {"s_record": {"prio": -9999, "nachtkz": True, "crezeit": 999_999_999}}),
    ("a_get_faxl_1", "meier"),
])
def test_a_common_argument_matches(name, argument):
    assert matches(name, argument)
    assert check(name, argument) == FINE


@pytest.mark.parametrize(("name", "argument"), [
    ("a_login_1", {"passwor": "p" * 21}),
    ("a_login_1", {"passwor": "it's"}),
    ("a_login_1", {"passwor": 5}),
    ("a_login_1", {"userid": None}),
    ("a_login_1", {"usrid": "meier"}),
    ("a_login_1", {"userid": "meier", "x": 1}),
    ("a_login_1", []),
    ("a_login_1", None),
    ("a_sende_1", {"s_record": {"prio": 32768}}),
    ("a_sende_1", {"s_record": {"prio": 1.0}}),
    ("a_sende_1", {"s_record": {"prio": True}}),
    ("a_sende_1", {"s_record": {"nachtkz": 1}}),
    ("a_get_kzg_1", 2**31),
    ("a_get_kzg_1", "0"),
])
def test_a_mistake_or_a_rare_value_is_left_to_the_check(name, argument):
    assert not matches(name, argument)


def test_a_text_with_an_end_of_line_is_left_to_the_check():
    assert not matches("a_login_1", {"passwor": "geheim\n"})
    assert MATCHERS["a_get_kzg_1"]("7\n") is None


def test_a_value_that_json_refuses_is_named_by_the_check():
    from kvrpc_tools import Alpha, ArgumentError

    class Unused:
        def close(self):
            pass

    loop = {}
    loop["userid"] = loop
    for value in ({"userid": b"meier"}, {"userid": {1, 2}}, loop):
        with pytest.raises(ArgumentError, match="userid: a str is expected"):
            Alpha(transport=Unused()).a_login_1(value)
