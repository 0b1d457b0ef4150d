"""Every system call of a connection and of a call fails in turn, with each error that its manual
page names: the exact failure, no descriptor or memory left behind, and the next call works.

A tracer that is attached for one step at a time makes the system calls fail.
"""

import contextlib
import json
import os
import signal
import subprocess
import sys
from pathlib import Path

import pytest
from failures import CANTRECV, CANTSEND, STATUS_REPLY, socket_failure
from needs import need
from settings import clean_environment, plain_environment

HERE = Path(__file__).resolve().parent
WAIT_SECONDS = 20

# Winsock's numbers. 10107 is the number for every error that Winsock has no name for.
NUMBERS = {
    "EACCES": 10013, "EPERM": 10013, "EFAULT": 10014, "EINVAL": 10022, "EMFILE": 10024,
    "ENFILE": 10024, "EAGAIN": 10035, "EINPROGRESS": 10036, "EALREADY": 10037, "ENOTSOCK": 10038,
    "EBADF": 10038, "EDESTADDRREQ": 10039, "EMSGSIZE": 10040, "EPROTOTYPE": 10041,
    "EPROTONOSUPPORT": 10043, "EOPNOTSUPP": 10045, "EAFNOSUPPORT": 10047, "EADDRINUSE": 10048,
    "EADDRNOTAVAIL": 10049, "ENETDOWN": 10050, "ENETUNREACH": 10051, "ECONNABORTED": 10053,
    "ECONNRESET": 10054, "EPIPE": 10054, "ENOBUFS": 10055, "ENOMEM": 10055, "EISCONN": 10056,
    "ENOTCONN": 10057, "ETIMEDOUT": 10060, "ECONNREFUSED": 10061, "EHOSTUNREACH": 10065,
    "EDQUOT": 10069, "EIO": 10107, "ENOSPC": 10107,
}

SOCKET = "EACCES EAFNOSUPPORT EINVAL EMFILE ENFILE ENOBUFS ENOMEM EPROTONOSUPPORT".split()
CONNECT = ("EACCES EPERM EADDRINUSE EADDRNOTAVAIL EAFNOSUPPORT EAGAIN EBADF ECONNREFUSED EFAULT "
           "EISCONN ENETUNREACH ENOTSOCK EPROTOTYPE ETIMEDOUT EHOSTUNREACH").split()
CONNECTING = "EINPROGRESS EALREADY EINTR".split()
SEND = ("EACCES EALREADY EBADF ECONNRESET EDESTADDRREQ EFAULT EINVAL EISCONN EMSGSIZE "
        "ENOBUFS ENOMEM ENOTCONN ENOTSOCK EOPNOTSUPP EPIPE ENETUNREACH EHOSTUNREACH "
        "ENETDOWN").split()
POLL = "EFAULT EINVAL ENOMEM".split()
RECEIVE = ("EBADF ECONNREFUSED EFAULT EINVAL ENOMEM ENOTCONN ENOTSOCK ECONNRESET ETIMEDOUT "
           "EHOSTUNREACH").split()
CLOSE = "EBADF EIO ENOSPC EDQUOT".split()
RECEIVE_CALL = {"tcp": "recvfrom", "udp": "recvmsg"}

pytestmark = [
    pytest.mark.peers,
    pytest.mark.skipif(not sys.platform.startswith("linux"), reason="strace is Linux's"),
]


@pytest.fixture(scope="module", autouse=True)
def strace():
    need("strace")


# glibc counts a block in a thread's cache as in use, so without this a leak and a block that waits
# there look alike.
EXACT_COUNTS = {"GLIBC_TUNABLES": "glibc.malloc.tcache_count=0"}


class TracedClient:
    def __init__(self, environment, directory):
        self.log = directory / "trace"
        self.errors = directory / "errors"
        with self.errors.open("w") as errors:
            self.process = subprocess.Popen(
                [sys.executable, str(HERE / "traced_client.py")], stdin=subprocess.PIPE,
                stdout=subprocess.PIPE, stderr=errors, encoding="utf-8",
                env={**clean_environment(), **EXACT_COUNTS, **environment})
        self.pid = self.line()

    def line(self):
        return json.loads(self.process.stdout.readline())

    def do(self, command):
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        return self.line()

    @contextlib.contextmanager
    def failing(self, call, error, when="1..2"):
        """Makes the system call fail until the end of the block. The client must make it there."""
        tracer = subprocess.Popen(
            ["strace", "-p", str(self.pid), "-o", str(self.log), "-e", f"trace={call}",
             "-e", f"inject={call}:error={error}:when={when}"],
            stderr=subprocess.PIPE, encoding="utf-8", env=plain_environment())
        try:
            assert "attached" in tracer.stderr.readline()
            yield
        finally:
            tracer.send_signal(signal.SIGINT)
            tracer.communicate(timeout=WAIT_SECONDS)
        assert "(INJECTED)" in self.log.read_text(), f"{call} was not made"

    def failures(self):
        """Returns whether the traced system calls of the last block failed, in their order."""
        return ["(INJECTED)" in line for line in self.log.read_text().splitlines() if " = " in line]

    def said(self):
        """Returns what the client has written to the standard error stream."""
        return self.errors.read_text()

    def stop(self):
        self.process.stdin.close()
        self.process.stdout.close()
        return self.process.wait(WAIT_SECONDS)


@pytest.fixture
def traced(fault_peer, transport, tmp_path):
    peer = fault_peer(transport)
    client = TracedClient({"KORVEXRPCPORT": str(peer.base_port()), "RPCTRANSPORT": transport,
                           "ZOLMHOST": "127.0.0.1"}, tmp_path)
    client.peer = peer
    yield client
    assert client.stop() == 0  # here the sanitizer's leak check runs


# A handle is several hundred bytes; a few of the interpreter's objects come and go.
LEAST_LEAK = 200


def assert_nothing_left(traced, steps):
    """Runs the steps three times. Only the first time may leave memory in use."""
    usages = []
    for _ in range(3):
        steps()
        assert traced.do("create") == "connected"
        assert traced.do("call") == STATUS_REPLY.decode()
        traced.do("close")
        usages.append(traced.do("usage"))
    assert {descriptors for descriptors, _ in usages} == {usages[0][0]}
    if not os.environ.get("KVRPC_SANITIZED"):  # whose leak check runs when the process ends
        assert usages[2][1] - usages[1][1] < LEAST_LEAK


def creation_failure(number):
    return f"clnt_create: RPC: Remote system error - Error {number}\n"


def failed_creations(traced, call, errors):
    for error in errors:
        with traced.failing(call, error):
            assert traced.do("create") == creation_failure(NUMBERS[error]), error


def failed_calls(traced, call, errors, status, connection_serves=True):
    for error in errors:
        assert traced.do("create") == "connected"
        with traced.failing(call, error):
            assert traced.do("call") == socket_failure(status, NUMBERS[error]).decode(), error
        if connection_serves:
            assert traced.do("call") == STATUS_REPLY.decode(), error
        traced.do("close")


def call_with_failing_waits(traced, error):
    """Makes the waits for the replies fail, and not the wait for the connection between them."""
    for _ in range(20):
        assert traced.do("create") == "connected"
        with traced.failing("poll,ppoll", error, when="1..3+2"):
            said = traced.do("call")
        if traced.failures() == [True, False, True]:
            return said
        traced.do("close")  # The machine was so busy that the client waited more often, or less.
    raise AssertionError("the client never waited once for each")


def failed_waits(traced):
    for error in POLL:
        said = call_with_failing_waits(traced, error)
        assert said == socket_failure(CANTRECV, NUMBERS[error]).decode(), error
        assert traced.do("call") == STATUS_REPLY.decode(), error
        traced.do("close")


def test_a_socket_that_cannot_be_made_is_no_client(traced):
    assert_nothing_left(traced, lambda: failed_creations(traced, "socket", SOCKET))


@pytest.mark.parametrize("transport", ["tcp"], indirect=True)
def test_a_connection_that_cannot_be_made_is_no_client(traced):
    assert_nothing_left(traced, lambda: failed_creations(traced, "connect", CONNECT))


@pytest.mark.parametrize("transport", ["tcp"], indirect=True)
def test_a_connection_that_is_under_way_is_waited_for(traced):
    def steps():
        for error in CONNECTING:
            with traced.failing("connect", error, when="1..3"):
                assert traced.do("create") == "connected"
            traced.do("close")

    assert_nothing_left(traced, steps)


def test_a_send_that_fails_is_a_failed_call(traced, transport):
    # On a stream the unsent bytes stay first in line.
    serves = transport == "udp"
    errors = SEND + ["EAGAIN"] if transport == "udp" else SEND
    assert_nothing_left(traced, lambda: failed_calls(traced, "sendto", errors, CANTSEND, serves))


@pytest.mark.parametrize("transport", ["tcp"], indirect=True)
def test_a_stream_without_room_is_waited_for(traced):
    assert traced.do("create") == "connected"
    with traced.failing("sendto", "EAGAIN", when="1..3"):
        assert traced.do("call") == STATUS_REPLY.decode()
    traced.do("close")


@pytest.mark.parametrize("transport", ["tcp"], indirect=True)
def test_unsent_bytes_leave_in_front_of_the_next_call(traced):
    traced.do("create")
    with traced.failing("sendto", "ENOBUFS"):
        assert traced.do("call") == socket_failure(CANTSEND, 10055).decode()
    traced.peer.script({"cut": 0, "then": "close"})
    assert traced.do("call") == STATUS_REPLY.decode()  # by the second attempt
    both, alone = traced.peer.calls()
    assert both.fragments == [80]
    assert both.data[4:40] == both.data[44:] == alone.data[4:]
    unsent, sent = (int.from_bytes(both.data[at:at + 4], "little") for at in (0, 40))
    assert sent == (unsent - 1) % 2**32
    traced.do("close")


@pytest.mark.parametrize("transport", ["tcp"], indirect=True)
def test_a_wait_on_a_stream_that_fails_is_a_failed_call(traced):
    # The receive itself waits at first.
    traced.peer.script(otherwise={"delay": 0.1})
    assert_nothing_left(traced, lambda: failed_waits(traced))


@pytest.mark.parametrize("transport", ["udp"], indirect=True)
def test_a_wait_for_a_datagram_that_fails_is_a_failed_call(traced):
    assert_nothing_left(traced, lambda: failed_calls(traced, "poll,ppoll", POLL, CANTRECV))


@pytest.mark.parametrize("transport", ["tcp"], indirect=True)
def test_a_wait_for_a_connection_that_fails_is_no_client(traced):
    assert_nothing_left(traced, lambda: failed_creations(traced, "poll,ppoll", POLL))


def test_a_receive_that_fails_is_a_failed_call(traced, transport):
    assert_nothing_left(
        traced, lambda: failed_calls(traced, RECEIVE_CALL[transport], RECEIVE, CANTRECV))


def test_what_is_not_there_after_all_is_waited_for(traced, transport):
    assert traced.do("create") == "connected"
    with traced.failing(RECEIVE_CALL[transport], "EAGAIN", when="1..3"):
        assert traced.do("call") == STATUS_REPLY.decode()
    traced.do("close")


@pytest.mark.parametrize("transport", ["tcp"], indirect=True)
def test_a_socket_that_takes_no_receive_timeout_serves_as_well(traced):
    def steps():
        with traced.failing("setsockopt", "ENOPROTOOPT"):
            assert traced.do("create") == "connected"
        assert traced.do("call") == STATUS_REPLY.decode()
        traced.do("close")

    assert_nothing_left(traced, steps)


@pytest.mark.parametrize("transport", ["udp"], indirect=True)
def test_a_socket_that_stays_blocking_serves_as_well(traced):
    def steps():
        for error in ("EBADF", "EINVAL", "EPERM"):
            with traced.failing("ioctl", error):
                assert traced.do("create") == "connected"
            assert traced.do("call") == STATUS_REPLY.decode()
            traced.do("close")

    assert_nothing_left(traced, steps)


def test_an_interrupted_system_call_is_made_again(traced, transport):
    traced.peer.script(otherwise={"delay": 0.1})  # over TCP the receive itself waits at first

    def steps():
        assert traced.do("create") == "connected"
        for call in ("sendto", "poll,ppoll", RECEIVE_CALL[transport]):
            with traced.failing(call, "EINTR", when="1..3"):
                assert traced.do("call") == STATUS_REPLY.decode()
        traced.do("close")

    assert_nothing_left(traced, steps)


def closes(traced, number):
    return [line for line in traced.log.read_text().splitlines()
            if line.startswith(f"close({number})")]


def test_a_close_that_fails_is_told_over_tcp_and_never_repeated(traced, transport):
    told = []

    def steps():
        for error in [*CLOSE, "EINTR"]:
            assert traced.do("create") == "connected"
            number = traced.do("number")
            with traced.failing("close", error, when="1"):
                traced.do("close")
            assert len(closes(traced, number)) == 1, error
            traced.do("drop")  # the failed system call never took place
            if transport == "tcp" and error != "EINTR":
                told.append(
                    f"clnttcp_destroy: closesocket({number}) returned {NUMBERS[error]}\n")

    assert_nothing_left(traced, steps)
    assert traced.said() == "".join(told)
