"""The bytes of calls as they arrive: header, ids, records and fragments."""

import struct

import pytest
from failures import STATUS, STATUS_REPLY, VERSION
from peer import messages

LAMBDA, VERSION_NUMBER = 26011932, 1


def id_word(call):
    """Returns the id as the number that a little-endian machine stores."""
    return struct.unpack("<I", call.id)[0]


@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_a_call_is_its_header_and_its_argument(module, fault_peer, allow, transport):
    peer = fault_peer(transport)
    client = module.RpcClient("lambda")
    client.call('{"l_startserver_1":"fax"}', allow)
    (call,) = peer.calls()
    name = messages.words(*b"fax", *[0] * 8)
    assert call.data[4:] == messages.words(0, 2, LAMBDA, VERSION_NUMBER, 9, 0, 0, 0, 0) + name
    if transport == "tcp":
        assert call.whole == struct.pack(">I", 0x80000000 | 84) + call.data
    client.close()


def test_the_id_over_tcp_goes_down_by_one_in_the_stored_word(module, fault_peer, allow):
    peer = fault_peer("tcp")
    client = module.RpcClient("lambda")
    for _ in range(600):
        client.call(VERSION, allow)
    ids = [id_word(call) for call in peer.calls()]
    assert len(ids) == 600
    assert ids == [(ids[0] - step) % 2**32 for step in range(600)]
    client.close()


def test_the_id_over_udp_goes_up_in_its_first_two_bytes(module, fault_peer, allow):
    peer = fault_peer("udp")
    client = module.RpcClient("lambda")
    for _ in range(600):
        client.call(VERSION, allow)
    ids = [id_word(call) for call in peer.calls()]
    assert len(ids) == 600
    high, low = divmod(ids[0], 2**16)
    assert ids == [high * 2**16 + (low + step) % 2**16 for step in range(600)]
    client.close()


@pytest.mark.parametrize(("length", "fragments"), [
    # 44 bytes go before the name, 4 at a time; 3,996 fit in a fragment.
    (3952, [3996, 0]), (3951, [3996, 0]), (3948, [3992]), (3953, [3996, 4]),
    (10000 - 44, [3996, 3996, 2008])])
def test_a_long_call_leaves_in_fragments(module, fault_peer, allow, length, fragments):
    peer = fault_peer("tcp")
    client = module.RpcClient("lambda")
    peer.script({"reply": messages.success(messages.words(1, 7))})
    name = "x" * length
    assert client.call(f'{{"l_statfile_1":{{"filename":"{name}"}}}}', allow) == (
        b'{"status":0,"message":"ok","result":{"ok":true,"size":7}}')
    (call,) = peer.calls()
    assert call.fragments == fragments
    assert call.data[40:] == struct.pack(">I", length) + name.encode() + b"\0" * (-length % 4)
    assert client.call(STATUS, allow) == STATUS_REPLY
    client.close()
