"""The simulator as tests use it: the fixture, its questions, and what it says of a failure."""

import json
import os
import time

import pytest

import kvrpc
from kvrpc_tools import Alpha, Lambda, RpcError
from kvrpc_tools.pytest_plugin import kvrpc_simulator, kvrpc_simulator_process  # noqa: F401
from kvrpc_tools.testing import start

LOGIN = {"userid": "meier", "passwor": "geheim"}
NUMBER = "040 5550300"
ATTEMPTS = 10


def submit(alpha):
    """Makes a document of one page and sends it. Returns the number of the job."""
    document = alpha.a_mk_dok_1("meier")
    alpha.a_put_page_1({"userid": "meier", "faxid": document, "seitennr": 1, "data": "Text"})
    return alpha.a_send_new_1({"selection": 0, "v0": {
        "userid": "meier", "poolfaxid": document, "s_record": {"empfnr": NUMBER}}})["v0"]["faxid"]


def status(alpha, job):
    asked = {"selection": 1, "v1": {"userid": "meier", "faxid": job}}
    return alpha.a_get_s_rec_new_1(asked)["s_rec_new"]["v1"]["status"]


def test_calls_are_told_with_their_arguments(kvrpc_simulator):  # noqa: F811
    with Alpha() as alpha:
        alpha.a_login_1(LOGIN)
    call = kvrpc_simulator.calls("a_login_1")[0]
    assert (call.server, call.argument, call.transport) == ("alpha", LOGIN, "tcp")
    assert abs(call.time - time.time()) < 10
    assert call.outcome == "answered"
    assert kvrpc_simulator.assert_called("a_login_1", userid="meier") == call
    assert kvrpc_simulator.assert_called("a_login_1", LOGIN, times=1) == call


def test_each_test_finds_a_new_installation(kvrpc_simulator):  # noqa: F811
    assert kvrpc_simulator.calls() == []
    limit = 0.05 if "KVRPC_SANITIZED" in os.environ else 0.02
    assert any(mean_of_resets(kvrpc_simulator) < limit for _ in range(ATTEMPTS))


def mean_of_resets(simulator, count=20):
    """Returns the seconds of one. Other work of the machine can only add to it."""
    began = time.perf_counter()
    for _ in range(count):
        simulator.reset()
    return (time.perf_counter() - began) / count


def test_members_are_found_however_deep(kvrpc_simulator):  # noqa: F811
    with Alpha() as alpha:
        submit(alpha)
    kvrpc_simulator.assert_called("a_send_new_1", empfnr=NUMBER, userid="meier")


def test_a_failed_assertion_shows_the_nearest_calls(kvrpc_simulator):  # noqa: F811
    with Alpha() as alpha:
        submit(alpha)
    with pytest.raises(AssertionError) as failure:
        kvrpc_simulator.assert_called("a_send_new_1", empfnr="1", userid="meier")
    assert f"empfnr is {NUMBER!r}, not '1'" in str(failure.value)
    assert '"seitenok"' not in str(failure.value)  # which is 0
    with pytest.raises(AssertionError, match="no empfnrr, did you mean empfnr?"):
        kvrpc_simulator.assert_called("a_send_new_1", empfnrr="1")
    with pytest.raises(AssertionError, match=r"was not called; these calls came:\n  a_mk_dok_1"):
        kvrpc_simulator.assert_called("a_logout_1")
    with pytest.raises(AssertionError, match="was called once, not 2 times"):
        kvrpc_simulator.assert_called("a_mk_dok_1", "meier", times=2)


def test_a_call_that_must_not_have_come(kvrpc_simulator):  # noqa: F811
    kvrpc_simulator.assert_not_called("a_mk_dok_1")
    with Alpha() as alpha:
        alpha.a_mk_dok_1("meier")
    kvrpc_simulator.assert_not_called("a_mk_dok_1", "schulz")
    kvrpc_simulator.assert_not_called("a_login_1", userid="meier")
    with pytest.raises(AssertionError,
                       match=r"a_mk_dok_1\(\) was called 1 times:\n  a_mk_dok_1\(\"meier\"\)"):
        kvrpc_simulator.assert_not_called("a_mk_dok_1")
    with pytest.raises(ValueError, match="times=0: assert_not_called"):
        kvrpc_simulator.assert_called("a_login_1", times=0)


def test_a_misspelt_name_is_answered_with_the_nearest(kvrpc_simulator):  # noqa: F811
    for wrong in (lambda: kvrpc_simulator.calls("a_logn_1"),
                  lambda: kvrpc_simulator.answer("a_logn_1", 1),
                  lambda: kvrpc_simulator.fault("drop:a_logn_1"),
                  lambda: kvrpc_simulator.allow_only("a_logn_1")):
        with pytest.raises(ValueError, match="did you mean a_login_1"):
            wrong()
    with pytest.raises(ValueError, match="did you mean drop"):
        kvrpc_simulator.fault("dropp")


def test_answers_come_in_turn_and_the_last_one_stays(kvrpc_simulator):  # noqa: F811
    kvrpc_simulator.answer("a_mk_dok_1", [7, 8])
    with Alpha() as alpha:
        assert [alpha.a_mk_dok_1("meier") for _ in range(3)] == [7, 8, 8]


def test_an_answer_can_be_a_list_of_records_and_bytes(kvrpc_simulator):  # noqa: F811
    processes = [{"slot": 1, "pid": 2, "status": 3, "cmd": "a", "dir": "/"}]
    kvrpc_simulator.answer("l_ps_1", [processes, []])
    with Lambda() as control:
        assert control.l_ps_1() == processes
        assert control.l_ps_1() == []
    kvrpc_simulator.answer("a_get_tebu_1", {"tbuchid": "b", "permissions": "AQID"})
    with Alpha() as alpha:
        book = alpha.a_get_tebu_1({"userh": "", "useru": "meier", "tbuchid": "b"})
        assert book["permissions"] == "AQID"


def test_an_answer_can_be_a_function_of_the_argument(kvrpc_simulator):  # noqa: F811
    offset = 40
    kvrpc_simulator.answer("a_mk_dok_1", lambda user: len(json.dumps(user)) + offset)
    with Alpha() as alpha:
        assert alpha.a_mk_dok_1("meier") == 47


def test_a_function_that_makes_no_answer_is_told(kvrpc_simulator):  # noqa: F811
    def fails(_):
        raise LookupError("no such user")

    for function, reason in ((fails, "LookupError: no such user"),
                             (lambda user: user, "cannot return this: result: an int is")):
        kvrpc_simulator.reset()
        kvrpc_simulator.answer("a_mk_dok_1", function)
        with Alpha() as alpha, pytest.raises(RpcError):
            alpha.a_mk_dok_1("meier")
        with pytest.raises(AssertionError, match=f'a_mk_dok_1\\("meier"\\)\n    .*{reason}'):
            kvrpc_simulator.assert_nothing_unexpected()
    kvrpc_simulator.reset()


def test_the_clock_only_advances(kvrpc_simulator):  # noqa: F811
    with pytest.raises(ValueError, match="cannot advance by -1 seconds"):
        kvrpc_simulator.clock.advance(-1)


def test_an_answer_that_does_not_fit_is_refused(kvrpc_simulator):  # noqa: F811
    with pytest.raises(ValueError, match="l_stopgateway_1 cannot return this: result: True or"):
        kvrpc_simulator.answer("l_stopgateway_1", "yes")
    with pytest.raises(ValueError, match="l_stopfax_1 cannot return this: it returns nothing"):
        kvrpc_simulator.answer("l_stopfax_1", True)
    with pytest.raises(ValueError, match="a_login_1 cannot return this: logind: unknown member"):
        kvrpc_simulator.answer("a_login_1", {"logind": 1})
    with pytest.raises(ValueError, match="outside"):
        kvrpc_simulator.answer("a_mk_dok_1", 2**40)
    with pytest.raises(TypeError, match="cannot be sent"):
        lock = __import__("threading").Lock()
        kvrpc_simulator.answer("a_mk_dok_1", lambda user: lock)


def test_faults_strike_from_then_on(kvrpc_simulator):  # noqa: F811
    with Alpha() as alpha:
        alpha.a_login_1(LOGIN)
        kvrpc_simulator.fault("refuse:a_login_1:2")
        with pytest.raises(RpcError):
            alpha.a_login_1(LOGIN)
        assert alpha.a_login_1(LOGIN)["err"] == 0
    assert [call.outcome for call in kvrpc_simulator.calls("a_login_1")] == [
        "answered", "refuse", "refuse", "answered"]


def test_time_passes_when_the_clock_is_advanced(kvrpc_simulator):  # noqa: F811
    with Alpha() as alpha:
        job = submit(alpha)
        assert status(alpha, job) in (1, 2)
        before = alpha.a_get_jetzt_1()
        kvrpc_simulator.clock.advance(3600)
        assert status(alpha, job) == 3
        assert 3600 <= alpha.a_get_jetzt_1() - before < 3700
        assert abs(kvrpc_simulator.clock.now() - time.time() - 3600) < 10


def test_a_state_is_saved_changed_and_loaded(kvrpc_simulator, tmp_path):  # noqa: F811
    file = tmp_path / "state.json"
    with Alpha() as alpha:
        job = submit(alpha)
        book = {"tbuchid": "b", "permissions": "AQID"}
        alpha.a_put_tebu_1({"userh": "zentrale", "useru": "meier", "data": book})
        kvrpc_simulator.save(file)
        kvrpc_simulator.reset()
        assert alpha.a_get_s_rec_1({"userid": "meier", "faxid": job})["empfnr"] == ""
        state = json.loads(file.read_text(encoding="utf-8"))
        state["people"]["local_records"].append({"userid": "neu", "passwor": "pw"})
        file.write_text(json.dumps(state), encoding="utf-8")
        kvrpc_simulator.load(file)
        assert alpha.a_get_s_rec_1({"userid": "meier", "faxid": job})["empfnr"] == NUMBER
        assert alpha.a_login_1({"userid": "neu", "passwor": "pw"})["err"] == 0
        asked = {"userh": "zentrale", "useru": "meier", "tbuchid": "b"}
        assert alpha.a_get_tebu_1(asked)["permissions"] == "AQID"
    second = tmp_path / "again.json"
    kvrpc_simulator.save(second)
    assert json.loads(second.read_text(encoding="utf-8"))["addresses"] == state["addresses"]


def test_a_state_with_a_wrong_name_is_refused(kvrpc_simulator, tmp_path):  # noqa: F811
    file = tmp_path / "state.json"
    for text, answer in (('{"peple": {}}', "there is no peple, did you mean people"),
                         ('{"people": {"usrs": []}}', "People keeps no usrs, did you mean users"),
                         ('{', "state.json: Expecting property name"),
                         ('[]', "a state is an object with some of people"),
                         ('{"people": 1}', "People is an object with some of users"),
                         ('{"people": {"users": 1}}', "users of People cannot be loaded"),
                         ('{"people": {"last_login": "x"}}', "str in the place of int"),
                         ('{"jobs": {"jobs": [[1, {"faxid": 1}]]}}', "does not fit together")):
        file.write_text(text, encoding="utf-8")
        with pytest.raises(ValueError, match=answer):
            kvrpc_simulator.load(file)


def test_what_is_not_allowed_is_refused_and_told(kvrpc_simulator):  # noqa: F811
    kvrpc_simulator.allow_only("a_login_1")
    with Alpha() as alpha:
        assert alpha.a_login_1(LOGIN)["err"] == 0
        with pytest.raises(RpcError):
            alpha.a_mk_dok_1("meier")
    with pytest.raises(AssertionError, match='unexpected calls:\n  a_mk_dok_1\\("meier"\\)'):
        kvrpc_simulator.assert_nothing_unexpected()
    kvrpc_simulator.reset()


def test_the_environment_leads_here_only_within_the_test(kvrpc_simulator):  # noqa: F811
    assert os.environ["KORVEXRPCPORT"] == str(kvrpc_simulator.port)
    assert "ALPHAHOST" not in os.environ
    kvrpc.RpcClient("lambda").close()


def test_a_simulator_of_its_own_ends_with_its_block():
    with start() as simulator:
        assert simulator.calls() == []
        port = simulator.port
    assert port and simulator.environment()["KORVEXRPCPORT"] == str(port)
    with pytest.raises((OSError, ValueError)):
        simulator.calls()


def test_a_control_connection_without_the_token_changes_nothing(kvrpc_simulator):  # noqa: F811
    kvrpc_simulator._token, token = "wrong", kvrpc_simulator._token
    try:
        with pytest.raises(ValueError, match="wrong token"):
            kvrpc_simulator.fault("drop")
    finally:
        kvrpc_simulator._token = token
