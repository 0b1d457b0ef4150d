"""What clients report about their calls, and what they never report."""

import json
import logging

import pytest
from opentelemetry.semconv._incubating.attributes import onc_rpc_attributes, rpc_attributes
from opentelemetry.semconv.attributes import error_attributes, server_attributes

from kvrpc_tools import Alpha, CallError, Lambda, Omega, masking, tracing
from kvrpc_tools.schema import SECRETS, own

LOGIN = {"userid": "meier", "passwor": "geheim"}
OK = b'{"status":0,"message":"ok","result":null}'


class Echo:
    """A transport that answers every call with one reply, or raises."""

    def __init__(self, reply=OK):
        self.reply = reply

    def call(self, text, verifier, timeout=None):
        if isinstance(self.reply, Exception):
            raise self.reply
        return self.reply

    def close(self):
        pass


@pytest.fixture
def events():
    found = []
    with tracing.on_call(found.append):
        yield found


def test_a_call_is_told_once_with_its_sizes(events):
    Lambda("fax", transport=Echo()).call("l_stopserver_1", "Fäx", check=False)
    (event,) = events
    assert (event.program, event.procedure, event.host, event.status, event.error) == (
        "lambda", "l_stopserver_1", "fax", 0, None)
    assert event.number == own().procedures["l_stopserver_1"].number
    assert event.bytes_out == len(json.dumps({"l_stopserver_1": "Fäx"}, separators=(",", ":")))
    assert event.bytes_in == len(OK)
    assert 0 < event.seconds < 10
    assert event.argument is None


def test_a_failed_call_is_told_with_its_status_or_its_exception(events):
    with pytest.raises(CallError):
        Lambda(transport=Echo(b'{"status":2,"message":"no"}')).l_exit_1()
    with pytest.raises(TimeoutError):
        Lambda(transport=Echo(TimeoutError("late"))).l_exit_1()
    assert [(each.status, each.error) for each in events] == [(2, None), (None, "TimeoutError")]
    assert [each.attributes()["error.type"] for each in events] == ["2", "TimeoutError"]


def test_the_names_are_those_that_opentelemetry_registers(events):
    Lambda("fax", transport=Echo()).l_exit_1()
    with pytest.raises(TimeoutError):
        Lambda(transport=Echo(TimeoutError("late"))).l_exit_1()
    registered = {value for module in (onc_rpc_attributes, rpc_attributes, error_attributes,
                                       server_attributes)
                  for name, value in vars(module).items() if name.isupper()}
    names = {name for event in events for name in event.attributes()}
    assert names <= registered
    assert names >= {"rpc.system.name", "onc_rpc.program.name", "onc_rpc.version",
                     "onc_rpc.procedure.name", "onc_rpc.procedure.number"}
    assert events[0].attributes()["rpc.system.name"] == rpc_attributes.RpcSystemValues.ONC_RPC.value


def test_arguments_are_told_only_who_asks_and_without_passwords(events):
    asked = []
    with tracing.on_call(asked.append, arguments=True):
        Alpha(transport=Echo()).a_login_1(LOGIN)
        Omega(transport=Echo()).call("o_check_admpw_1", "geheim")
    Alpha(transport=Echo()).a_login_1(LOGIN)
    assert [each.argument for each in asked] == [{"userid": "meier", "passwor": "***"}, "***"]
    assert [each.argument for each in events] == [None] * 3
    assert "geheim" not in repr(asked + events)
    assert LOGIN["passwor"] == "geheim"


def test_every_password_of_the_interface_is_known():
    keys = {field.key for record in own().records.values() for field in record.fields}
    assert keys >= SECRETS
    parts = ("pw", "passw", "pin", "code")
    suspicious = {key for key in keys if any(part in key for part in parts)}
    assert suspicious - SECRETS == {"barcode", "code", "errcode"}


def test_secrets_are_masked_at_any_depth():
    value = inner = {}
    for _ in range(100_000):
        inner["passwor"], inner["next"] = "geheim", {}
        inner = inner["next"]
    masked = masking.masked_value([value, (1, {"pincode": "1234"})])
    assert masked[1] == [1, {"pincode": "***"}]
    node = masked[0]
    while node:
        assert node["passwor"] == "***"
        node = node["next"]
    assert value["passwor"] == "geheim"


def test_the_logger_is_silent_until_it_is_asked(caplog, capfd):
    Alpha("fax", transport=Echo()).a_login_1(LOGIN)
    assert caplog.records == []
    with caplog.at_level(logging.DEBUG, "kvrpc"):
        Alpha("fax", transport=Echo()).a_login_1(LOGIN)
    (record,) = caplog.records
    assert record.getMessage().startswith("a_login_1 of alpha on fax: status 0 after ")
    assert "geheim" not in caplog.text
    assert capfd.readouterr() == ("", "")


def test_a_hook_that_raises_does_not_end_the_call(capsys):
    def bad(event):
        raise KeyError("hook")

    with tracing.on_call(bad) as registration:
        assert Lambda(transport=Echo()).l_exit_1() is None
    registration.close()
    assert "KeyError: 'hook'" in capsys.readouterr().err
    assert not tracing.is_on()
