"""Shows how to test a script without a server. It needs kvrpc and pytest, and nothing else.

The fixture `kvrpc_simulator` comes with the package. Each test finds a new installation in which
meier and schulz may log in.
"""

from pathlib import Path
from typing import Iterator

import pytest
from fax_script import QUEUED, SENT, FaxError, Session, main

from kvrpc_tools.testing import Simulator

NUMBER = "040 5550300"


@pytest.fixture
def session(kvrpc_simulator: Simulator) -> Iterator[Session]:
    with Session("meier", "geheim") as opened:
        yield opened


def test_the_number_and_the_pages_arrive(kvrpc_simulator: Simulator, session: Session) -> None:
    session.send(NUMBER, ["first", "second"], headline="Offer")
    kvrpc_simulator.assert_called("a_put_page_1", seitennr=2, data="second")
    kvrpc_simulator.assert_called("a_send_new_1", empfnr=NUMBER, headline="Offer")


def test_an_hour_later_the_fax_is_sent(kvrpc_simulator: Simulator, session: Session) -> None:
    job = session.send(NUMBER, ["text"])
    assert session.status(job) == QUEUED
    kvrpc_simulator.clock.advance(3600)
    assert session.status(job) == SENT
    assert session.wait(job)


def test_a_fax_without_a_number_fails(kvrpc_simulator: Simulator, session: Session) -> None:
    job = session.send("", ["text"])
    kvrpc_simulator.clock.advance(60)
    assert not session.wait(job)


def test_a_wrong_password_is_told(kvrpc_simulator: Simulator) -> None:
    with pytest.raises(FaxError, match="may not log in"):
        Session("meier", "wrong")


def test_a_refusal_of_the_server_is_told(kvrpc_simulator: Simulator, session: Session) -> None:
    kvrpc_simulator.answer("a_send_new_1", {"selection": 0, "v0": {"faxid": 0, "errcode": 17}})
    with pytest.raises(FaxError, match="error 17"):
        session.send(NUMBER, ["text"])


def test_numbers_of_documents_may_be_large(kvrpc_simulator: Simulator, session: Session) -> None:
    kvrpc_simulator.answer("a_mk_dok_1", lambda user: 2**31 - 1)
    with pytest.raises(FaxError):  # the installation has no such document
        session.send(NUMBER, [])
    kvrpc_simulator.assert_called("a_send_new_1", poolfaxid=2**31 - 1)


def test_a_lost_connection_ends_with_2_and_says_so(kvrpc_simulator: Simulator, tmp_path: Path,
                                                   capsys: pytest.CaptureFixture[str]) -> None:
    kvrpc_simulator.fault("cut:a_mk_dok_1")
    page = tmp_path / "page.txt"
    page.write_text("text")
    assert main([NUMBER, str(page)]) == 2
    assert "a_mk_dok_1" in capsys.readouterr().err


def test_one_lost_answer_is_asked_for_again(kvrpc_simulator: Simulator, session: Session) -> None:
    kvrpc_simulator.fault("cut:a_mk_dok_1:1")
    job = session.send(NUMBER, ["text"])
    assert job and len(kvrpc_simulator.calls("a_mk_dok_1")) == 2


def test_the_script_logs_out_and_calls_nothing_else(kvrpc_simulator: Simulator) -> None:
    kvrpc_simulator.allow_only("a_login_1", "a_logout_1")
    with Session("schulz", "geheim"):
        pass
    kvrpc_simulator.assert_called("a_logout_1", userid="schulz", times=1)


def test_an_installation_can_be_loaded(kvrpc_simulator: Simulator, tmp_path: Path) -> None:
    state = tmp_path / "state.json"
    state.write_text('{"people": {"local_records": [{"userid": "weber", "passwor": "x"}]}}')
    kvrpc_simulator.load(state)
    with Session("weber", "x") as session:
        assert session.send(NUMBER, ["text"])
