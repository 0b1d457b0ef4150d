"""Clients that are closed, re-created or called again while one of their calls is under way."""

import json
import threading

VERSION = '{"l_version_1":0}'
REPLY = b'{"status":0,"message":"ok","result":7}'
CANNOT_SEND = (
    b'{"status":3,"rpc_err":{"re_status":3,"re_errno":10038},'
    b'"message":"rpc_call: RPC: Unable to send- Error 10038\\n"}'
)


class Acting:
    """Runs the actions in turn, one at each vetting, and allows every call."""

    def __init__(self, *actions):
        self.actions = list(actions)
        self.results = []

    def verify_call(self, name):
        if self.actions:
            self.results.append(self.actions.pop(0)())
        return True


def test_a_client_closed_while_vetting_fails_to_send_and_tries_again(module, lambda_peer):
    peer = lambda_peer("answer")
    client = module.RpcClient("lambda")
    assert client.call(VERSION, Acting(client.close)) == REPLY
    assert sorted(peer.events(4)) == ["call 19", "gone", "open", "open"]
    client.close()


def test_a_client_closed_in_both_vettings_reports_that_it_cannot_send(module, lambda_peer):
    peer = lambda_peer("answer")
    client = module.RpcClient("lambda")
    assert client.call(VERSION, Acting(client.close, client.close)) == CANNOT_SEND
    assert sorted(peer.events(4)) == ["gone", "gone", "open", "open"]
    assert client.call(VERSION, Acting()) == REPLY
    client.close()


def test_the_socket_is_closed_at_once_while_vetting(module, lambda_peer):
    peer = lambda_peer("answer")
    client = module.RpcClient("lambda")

    def close():
        client.close()
        return peer.events(2)

    acting = Acting(close)
    assert client.call(VERSION, acting) == REPLY
    assert acting.results == [["open", "gone"]]
    client.close()


def test_a_client_re_created_while_vetting_does_not_lend_its_new_connection(module, lambda_peer):
    """The attempt goes on with the old handle; the retry replaces the new one."""
    peer = lambda_peer("answer")
    client = module.RpcClient("lambda")

    def renew():
        client.close()
        client.create()

    assert client.call(VERSION, Acting(renew)) == REPLY
    assert peer.event() == "open"
    assert sorted(peer.events(5)) == ["call 19", "gone", "gone", "open", "open"]
    client.close()


def test_a_nested_call_of_the_same_client_works(module, lambda_peer, allow):
    peer = lambda_peer("answer")
    client = module.RpcClient("lambda")
    acting = Acting(lambda: client.call('{"l_startserver_1":""}', allow))
    assert client.call(VERSION, acting) == REPLY
    assert json.loads(acting.results[0])["result"] is True
    assert peer.events(3) == ["open", "call 9", "call 19"]
    client.close()


def test_calls_nest_deep(module, lambda_peer, allow):
    lambda_peer("answer")
    client = module.RpcClient("lambda")

    class Nesting:
        depth = 100

        def verify_call(self, name):
            self.depth -= 1
            return self.depth == 0 or client.call(VERSION, self) == REPLY

    assert client.call(VERSION, Nesting()) == REPLY
    client.close()


def test_endless_nesting_ends_in_a_refusal(run_script):
    done = run_script("""
        import kvrpc
        class Client(kvrpc.RpcClient):
            def create(self):
                pass
        client = Client("lambda")
        class Nesting:
            depth = 0
            def verify_call(self, name):
                self.depth += 1
                return b'"status":4' in client.call('{"l_nothing_1":0}', self)
        nesting = Nesting()
        print(client.call('{"l_nothing_1":0}', nesting), nesting.depth > 100)
    """)
    refused = b'{"status":9,"message":"call is not allowed"}'
    assert (done.returncode, done.stdout) == (0, f"{refused} True\n")


def test_a_nested_call_that_loses_the_connection_takes_it_from_the_outer_one(
    module, lambda_peer, allow
):
    peer = lambda_peer("drop", "answer")
    client = module.RpcClient("lambda")
    acting = Acting(lambda: client.call('{"l_startserver_1":""}', allow))
    assert client.call(VERSION, acting) == REPLY
    assert json.loads(acting.results[0])["status"] == 0
    nested = ["open", "call 9", "open", "call 9"]
    assert peer.events(4) == nested
    assert sorted(peer.events(3)) == ["call 19", "gone", "open"]
    client.close()


def test_another_thread_may_call_or_close_while_one_vets(module, lambda_peer, allow):
    lambda_peer("answer")
    client = module.RpcClient("lambda")
    results = []

    def in_thread(action):
        thread = threading.Thread(target=lambda: results.append(action()))
        thread.start()
        thread.join()

    acting = Acting(
        lambda: in_thread(lambda: client.call(VERSION, allow)), lambda: in_thread(client.close)
    )
    assert client.call(VERSION, acting) == REPLY
    assert client.call(VERSION, acting) == REPLY
    assert results == [REPLY, None]
    client.close()


def test_overlapping_calls_of_threads_end_in_any_order(module, lambda_peer):
    """The first call to begin is the first to end, while the second still vets."""
    lambda_peer("answer")
    client = module.RpcClient("lambda")
    second_vets, first_done = threading.Event(), threading.Event()
    results = []

    class Second:
        def verify_call(self, name):
            second_vets.set()
            assert first_done.wait(20)
            return True

    second = threading.Thread(target=lambda: results.append(client.call(VERSION, Second())))

    class First:
        def verify_call(self, name):
            second.start()
            return second_vets.wait(20)

    results.append(client.call(VERSION, First()))
    first_done.set()
    second.join()
    assert results == [REPLY, REPLY]
    client.close()


def test_a_create_inside_create_leaves_one_connection(module, lambda_peer, allow):
    """The outer connection takes the place of the inner one."""
    peer = lambda_peer("answer")

    class Creating(str):
        client = None

        def encode(self, codec):
            client, self.client = self.client, None
            if client is not None:
                client.create()
            return b"lambda"

    which = Creating()
    client = module.RpcClient(which)
    client.close()
    assert peer.events(2) == ["open", "gone"]
    which.client = client
    client.create()
    assert sorted(peer.events(3)) == ["gone", "open", "open"]
    assert client.call(VERSION, allow) == REPLY
    client.close()


def test_a_buffer_cannot_change_under_a_call(module, lambda_peer):
    lambda_peer("answer")
    client = module.RpcClient("lambda")
    buffer = bytearray(VERSION, "ascii")

    class Text:
        def encode(self, codec):
            return buffer

    assert client.call(Text(), Acting(buffer.clear)) == REPLY
    client.close()
