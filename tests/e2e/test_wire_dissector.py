"""Calls captured on loopback and read by an independent dissector, tshark."""

import contextlib
import json
import signal
import subprocess
import time

import pytest
from failures import STATUS, STATUS_REPLY, VERSION, VERSION_REPLY
from needs import missing, need
from peer import messages
from settings import plain_environment

pytestmark = pytest.mark.peers

LAMBDA = "26011932"
CALL, REPLY = "0", "1"
FIELDS = ("rpc.msgtyp", "rpc.version", "rpc.program", "rpc.programversion", "rpc.procedure",
          "rpc.auth.flavor", "rpc.auth.length", "rpc.xid", "rpc.lastfrag", "rpc.fraglen",
          "rpc.reassembled.length", "_ws.malformed", "_ws.expert.message")
BOOLEANS = {"0": False, "1": True, "False": False, "True": True}  # tshark 4.4 writes words
SECONDS = 30


@contextlib.contextmanager
def captured(port, file):
    """Captures the packets of this port in the file while the block runs."""
    need("tshark", "dumpcap")
    process = subprocess.Popen(
        ["dumpcap", "-i", "lo", "-f", f"port {port}", "-w", str(file), "-a", "duration:60", "-q"],
        stderr=subprocess.PIPE, encoding="utf-8", env=plain_environment())
    said = process.stderr.readline()
    while said and "File:" not in said:
        said = process.stderr.readline()
    if not said:
        missing("loopback cannot be captured: only root may")
    yield
    time.sleep(0.5)  # the last packets are on their way through the kernel
    process.send_signal(signal.SIGINT)
    process.communicate(timeout=SECONDS)


def dissected(port, transport, file):
    """Returns the values of FIELDS for each packet with RPC in it."""
    command = ["tshark", "-r", str(file), "-d", f"{transport}.port=={port},rpc",
               "-o", "rpc.dissect_unknown_programs:TRUE", "-Y", "rpc", "-T", "json"]
    for field in FIELDS:
        command += ["-e", field]
    done = subprocess.run(command, capture_output=True, encoding="utf-8", timeout=SECONDS,
                          env=plain_environment(), check=True)
    return [packet["_source"]["layers"] for packet in json.loads(done.stdout)]


def of_type(packets, kind):
    return [packet for packet in packets if packet.get("rpc.msgtyp") == [kind]]


def procedures(calls):
    """Returns the procedure number of each call. tshark prints it twice, in the header and in its
    tree, so duplicates are removed.
    """
    return [int(procedure) for call in calls for procedure in sorted(set(call["rpc.procedure"]))]


def marks(packets):
    """Returns each record mark in the packets: a flag for the last fragment, and the length."""
    return [(BOOLEANS[last], int(length)) for packet in packets
            for last, length in zip(packet.get("rpc.lastfrag", ()), packet.get("rpc.fraglen", ()))]


def test_every_call_is_read_as_what_it_is(module, fault_peer, allow, tmp_path, transport):
    peer = fault_peer(transport)
    file = tmp_path / "capture"
    with captured(peer.port, file):
        client = module.RpcClient("lambda")
        peer.script(otherwise={})
        assert client.call(STATUS, allow) == STATUS_REPLY
        assert client.call(VERSION, allow) == VERSION_REPLY
        client.call('{"l_startserver_1":"fax"}', allow)
        peer.script({"reply": messages.success(messages.words(1, 7))})
        client.call('{"l_statfile_1":{"filename":"%s"}}' % ("x" * 1000), allow)
        client.close()
    packets = dissected(peer.port, transport, file)
    assert [packet for packet in packets
            if "_ws.malformed" in packet or "_ws.expert.message" in packet] == []
    calls, replies = of_type(packets, CALL), of_type(packets, REPLY)
    assert procedures(calls) == [29, 19, 9, 20]
    assert [reply["rpc.xid"] for reply in replies] == [call["rpc.xid"] for call in calls]
    for call in calls:
        assert (call["rpc.version"], call["rpc.program"], call["rpc.programversion"]) == (
            ["2"], [LAMBDA], ["1", "1"])
        assert (call["rpc.auth.flavor"], call["rpc.auth.length"]) == (["0", "0"], ["0", "0"])
    assert marks(calls) == ([] if transport == "udp" else [
        (True, 40), (True, 40), (True, 40 + 44), (True, 40 + 4 + 1000)])


def test_a_long_call_is_put_together_from_its_fragments(module, fault_peer, allow, tmp_path):
    peer = fault_peer("tcp")
    file = tmp_path / "capture"
    with captured(peer.port, file):
        client = module.RpcClient("lambda")
        peer.script({"reply": messages.success(messages.words(1, 7))})
        client.call('{"l_statfile_1":{"filename":"%s"}}' % ("x" * 10000), allow)
        assert client.call(VERSION, allow) == VERSION_REPLY
        client.close()
    packets = dissected(peer.port, "tcp", file)
    calls = of_type(packets, CALL)
    assert procedures(calls) == [20, 19]
    assert marks(packets)[:3] == [(False, 3996), (False, 3996), (True, 2052)]
    assert calls[0]["rpc.reassembled.length"] == [str(40 + 4 + 10000)]
    assert [packet for packet in packets if "_ws.malformed" in packet] == []
