"""The environment as a script sees it at that moment, and each reason why a client is not made."""


import pytest
from failures import STATUS, STATUS_REPLY
from peer.started import FaultPeer

UNKNOWN_HOST = "clnt_create: RPC: Unknown host\n"
SYSTEM_ERROR = "clnt_create: RPC: Remote system error - Error "


@pytest.fixture
def other_peer():
    peer = FaultPeer()
    yield peer
    peer.stop()


def reason(module, *arguments):
    with pytest.raises(module.ClntCreateError) as caught:
        module.RpcClient(*arguments)
    assert caught.value.args == ()
    return caught.value.message


def opened(peer):
    """Returns true if a client connects, or has connected since the last time."""
    try:
        while peer.event(10)["event"] != "open":
            continue
    except TimeoutError:
        return False
    return True


# ---- the reasons


@pytest.mark.parametrize("host", ["", "no host", "no.such.host.invalid", "1.2.3.4.5"])
def test_a_host_without_an_address_is_unknown(module, host, monkeypatch):
    monkeypatch.setenv("KORVEXRPCPORT", "7000")
    assert reason(module, "lambda", host) == UNKNOWN_HOST


def test_a_refused_connection(module, fault_peer):
    fault_peer("tcp").stop()
    assert reason(module, "lambda") == SYSTEM_ERROR + "10061\n"


def test_a_transport_that_nobody_knows(module, fault_peer, monkeypatch):
    fault_peer()
    for name in ("xyz", "", "TCP2", " tcp"):
        monkeypatch.setenv("RPCTRANSPORT", name)
        assert reason(module, "lambda") == "clnt_create: RPC: Unknown protocol\n", name


def test_a_transport_that_is_no_transport(module, fault_peer, monkeypatch):
    fault_peer()
    monkeypatch.setenv("RPCTRANSPORT", "ip")
    assert reason(module, "lambda") == SYSTEM_ERROR + "10046\n"


def test_an_unknown_host_comes_after_an_unknown_transport(module, monkeypatch):
    monkeypatch.setenv("RPCTRANSPORT", "xyz")
    assert reason(module, "lambda", "no host") == "clnt_create: RPC: Unknown protocol\n"
    monkeypatch.setenv("RPCTRANSPORT", "ip")
    assert reason(module, "lambda", "no host") == UNKNOWN_HOST


def test_an_unknown_server_keeps_the_last_reason(module, fault_peer, monkeypatch):
    fault_peer()
    monkeypatch.setenv("RPCTRANSPORT", "ip")
    for name in ("Lambda", "", "lambda ", "pi"):
        assert reason(module, "lambda", "no host") == UNKNOWN_HOST
        assert reason(module, name) == UNKNOWN_HOST, name
        assert reason(module, "lambda") == SYSTEM_ERROR + "10046\n"


def test_before_any_failure_the_reason_is_success(run_script):
    done = run_script("""
        import kvrpc
        try:
            kvrpc.RpcClient("pi")
        except kvrpc.ClntCreateError as error:
            print(repr(error.message))
    """)
    assert (done.stdout, done.stderr) == ("'clnt_create: RPC: Success\\n'\n", "")


def test_a_connection_over_udp_is_never_refused(module, fault_peer, allow, monkeypatch):
    peer = fault_peer("udp")
    peer.stop()
    module.RpcClient("lambda").close()


# ---- the moment


def test_the_port_counts_at_each_creation(module, fault_peer, other_peer, allow, monkeypatch):
    first = fault_peer("tcp")
    client = module.RpcClient("lambda")
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert len(first.calls()) == 1
    monkeypatch.setenv("KORVEXRPCPORT", str(other_peer.base_port()))
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert len(first.calls()) == 1
    client.close()
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert (first.calls(), len(other_peer.calls())) == ([], 1)
    client.close()


def test_the_port_counts_for_the_second_attempt(
    module, fault_peer, other_peer, allow, monkeypatch
):
    first = fault_peer("tcp")
    client = module.RpcClient("lambda")
    first.script({"cut": 0, "then": "close"})
    monkeypatch.setenv("KORVEXRPCPORT", str(other_peer.base_port()))
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert [len(peer.calls()) for peer in (first, other_peer)] == [1, 1]
    client.close()


def test_the_transport_counts_at_each_creation(module, fault_peer, allow, monkeypatch):
    peer = fault_peer("tcp")
    for transport in ("tcp", "udp", "tcp"):
        monkeypatch.setenv("RPCTRANSPORT", transport)
        client = module.RpcClient("lambda")
        assert client.call(STATUS, allow) == STATUS_REPLY
        assert [call.transport for call in peer.calls()] == [transport]
        client.close()


def test_a_variable_that_is_removed_is_gone(module, fault_peer, allow, monkeypatch):
    peer = fault_peer("udp")
    monkeypatch.delenv("RPCTRANSPORT")
    client = module.RpcClient("lambda")
    assert client.call(STATUS, allow) == STATUS_REPLY
    assert [call.transport for call in peer.calls()] == ["tcp"]
    client.close()


@pytest.mark.parametrize(("server", "variable"), [
    ("alpha", "ALPHAHOST"), ("omega", "OMEGAHOST"), ("lambda", "ZOLMHOST")])
def test_each_server_has_its_host_at_each_creation(module, fault_peer, monkeypatch, server,
                                                   variable):
    peer = fault_peer("tcp", server)
    for other in ("ALPHAHOST", "OMEGAHOST", "ZOLMHOST"):
        monkeypatch.setenv(other, "no host")
    monkeypatch.setenv(variable, "127.0.0.1")
    module.RpcClient(server).close()
    assert opened(peer)
    monkeypatch.setenv(variable, "no host")
    assert reason(module, server) == UNKNOWN_HOST
    module.RpcClient(server, "127.0.0.1").close()
    assert opened(peer)


def test_an_empty_host_is_one_for_lambda_and_none_for_alpha(run_script, fault_peer):
    peer = fault_peer("tcp", "alpha")
    done = run_script("""
        import kvrpc, os
        for which in ("alpha", "lambda"):
            try:
                kvrpc.RpcClient(which).close()
                print("connected")
            except kvrpc.ClntCreateError as error:
                print(error.message, end="")
    """, environment={"KORVEXRPCPORT": str(peer.base_port("alpha")), "ALPHAHOST": "",
                      "ZOLMHOST": "", "LOCALHOST": "127.0.0.1"})
    assert done.stdout == "connected\n" + UNKNOWN_HOST


def test_the_local_host_is_settled_by_its_first_use(run_script, fault_peer):
    peer = fault_peer("tcp", "alpha")
    done = run_script("""
        import kvrpc, os
        def make():
            try:
                kvrpc.RpcClient("alpha").close()
                print("connected")
            except kvrpc.ClntCreateError as error:
                print(error.message, end="")
        make()
        os.environ["LOCALHOST"] = "127.0.0.1"
        make()
        os.environ["ALPHAHOST"] = "127.0.0.1"
        make()
    """, environment={"KORVEXRPCPORT": str(peer.base_port("alpha")), "LOCALHOST": "no host"})
    assert done.stdout == UNKNOWN_HOST * 2 + "connected\n"


def test_the_offset_is_settled_for_the_program_and_read_anew_for_the_port(run_script, fault_peer):
    peer = fault_peer("tcp")
    done = run_script("""
        import kvrpc, os
        class Allow:
            def verify_call(self, name):
                return True
        def call():
            client = kvrpc.RpcClient("lambda", "127.0.0.1")
            print(client.call('{"l_version_1":null}', Allow()).decode())
            client.close()
        base = int(os.environ["KORVEXRPCPORT"])
        call()
        os.environ["KORVEXRPCOFFSET"] = "0"  # the shifted number has no slot any more
        os.environ["KORVEXRPCPORT"] = str(base + 3)
        call()
    """, environment={"KORVEXRPCPORT": str(peer.base_port()), "KORVEXRPCOFFSET": " -1000x"})
    assert done.stdout == '{"status":0,"message":"ok","result":7}\n' * 2
    assert [int.from_bytes(call.data[12:16], "big") for call in peer.calls()] == [26010932] * 2


# ---- the map


@pytest.mark.parametrize("form", [
    "127.0.0.1:{}", "a:1;127.0.0.1:{}", " 1 27. 0.0.1 : {} ", "127.0.0.1:{};x", "::127.0.0.1:;{};",
    "127.0.0.1:{};127.0.0.1:1"])
def test_the_map_gives_the_port_of_its_host(module, fault_peer, monkeypatch, capfd, form):
    peer = fault_peer("tcp")
    monkeypatch.setenv("KORVEXRPCPORT", "1")
    monkeypatch.setenv("KORVEXRPCMAP", form.format(peer.base_port()))
    module.RpcClient("lambda", "127.0.0.1").close()
    assert opened(peer)
    assert capfd.readouterr().err == ""


def test_a_faulty_number_of_the_map_is_told_and_counts(module, fault_peer, monkeypatch, capfd):
    peer = fault_peer("tcp")
    monkeypatch.setenv("KORVEXRPCMAP", f"127.0.0.1:{peer.base_port()}x")
    module.RpcClient("lambda").close()
    assert opened(peer)
    assert capfd.readouterr().err.splitlines() == [
        "bad KORVEXRPCMAP: number expected near character 11"]


@pytest.mark.parametrize(("text", "place"), [("a", 3), ("a b ", 4), ("a:", 3), ("x:1;ab", 8)])
def test_a_map_without_a_number_is_told_and_the_common_port_stands(
    module, fault_peer, monkeypatch, capfd, text, place
):
    peer = fault_peer("tcp")
    monkeypatch.setenv("KORVEXRPCMAP", text)
    module.RpcClient("lambda").close()
    assert opened(peer)
    assert capfd.readouterr().err.splitlines() == [
        f"bad KORVEXRPCMAP: syntax error near character {place}"]


@pytest.mark.parametrize("text", ["", ":", "other:1", "other:x;another:y", "127.0.0.2:1"])
def test_a_map_without_the_host_says_nothing(module, fault_peer, monkeypatch, capfd, text):
    peer = fault_peer("tcp")
    monkeypatch.setenv("KORVEXRPCMAP", text)
    module.RpcClient("lambda").close()
    assert opened(peer)
    assert capfd.readouterr().err == ""
