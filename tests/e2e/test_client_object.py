"""RpcClient as an object: its type, its life, and what it refuses."""

import abc
import copy
import gc
import inspect
import pickle
import weakref

import pytest

PICKLING_TEXT = "no default __reduce__ due to non-trivial __cinit__"


def test_the_class_is_a_static_type_with_this_name(module):
    client_type = module.RpcClient
    assert client_type.__bases__ == (object,)
    assert (client_type.__name__, client_type.__module__) == ("RpcClient", "kvrpc")
    assert repr(client_type) == "<class 'kvrpc.RpcClient'>"
    assert client_type.__flags__ & (1 << 14), "takes part in garbage collection"
    with pytest.raises(TypeError):
        client_type.extra = 1


def test_has_no_members_and_no_properties(module):
    kinds = (inspect.isdatadescriptor, inspect.ismemberdescriptor, inspect.isgetsetdescriptor)
    for name, value in vars(module.RpcClient).items():
        assert not any(kind(value) for kind in kinds), name


def test_an_instance_shows_no_field_and_holds_no_attribute(module, lambda_peer):
    lambda_peer("answer")
    client = module.RpcClient("lambda")
    for name in ("clnt", "which", "host", "calls", "__dict__"):
        assert not hasattr(client, name)
    with pytest.raises(AttributeError):
        client.extra = 1
    with pytest.raises(TypeError):
        weakref.ref(client)
    client.close()


def test_a_subclass_reaches_no_field_either(frame_client):
    client = frame_client("lambda", "host")
    for name in ("clnt", "which", "host"):
        assert not hasattr(client, name)
    client.which = "alpha"
    assert client.which == "alpha"
    assert weakref.ref(client)() is client


def test_a_subclass_may_have_an_init_of_its_own(module):
    class Named(module.RpcClient):
        def __init__(self, which, host=None):
            super().__init__()
            self.name = (which, host)

        def create(self):
            self.created = True

    client = Named("lambda", host="h")
    assert client.name == ("lambda", "h") and client.created


def test_the_whole_construction_runs_in_new(module):
    class Quiet(module.RpcClient):
        count = 0

        def create(self):
            type(self).count += 1

        def __init__(self):
            raise AssertionError("not called")

    assert isinstance(Quiet.__new__(Quiet, "lambda"), Quiet)
    assert Quiet.count == 1


def test_the_object_is_made_before_init_sees_other_arguments(module):
    class Other(module.RpcClient):
        def __new__(cls, number):
            return super().__new__(cls, "lambda")

        def __init__(self, number):
            self.number = number

        def create(self):
            pass

    assert Other(7).number == 7


def test_an_abstract_subclass_makes_no_instance(module):
    class Abstract(module.RpcClient, metaclass=abc.ABCMeta):
        @abc.abstractmethod
        def todo(self):
            pass

        def create(self):
            raise AssertionError("not reached")

    with pytest.raises(TypeError, match="abstract"):
        Abstract("lambda")


def test_a_failing_create_propagates_and_leaves_no_instance(module):
    class Failing(module.RpcClient):
        def create(self):
            raise LookupError("not today")

    class Witness:
        pass

    witness = Witness()
    dead = weakref.ref(witness)
    with pytest.raises(LookupError, match="not today"):
        Failing("lambda", witness)
    del witness
    gc.collect()
    assert dead() is None


@pytest.mark.parametrize("protocol", range(pickle.HIGHEST_PROTOCOL + 1))
def test_pickling_is_refused_in_every_protocol(frame_client, protocol):
    with pytest.raises(TypeError) as caught:
        pickle.dumps(frame_client("lambda"), protocol)
    assert str(caught.value) == PICKLING_TEXT


def test_everything_that_copies_is_refused(frame_client):
    client = frame_client("lambda")
    attempts = [
        client.__reduce__,
        lambda: client.__reduce_ex__(2),
        lambda: client.__reduce_ex__(0),
        lambda: client.__setstate__({}),
        lambda: client.__setstate__(None),
        lambda: copy.copy(client),
        lambda: copy.deepcopy(client),
    ]
    for attempt in attempts:
        with pytest.raises(TypeError) as caught:
            attempt()
        assert str(caught.value) == PICKLING_TEXT


def test_the_collector_sees_which_and_host(frame_client):
    which, host = object(), object()
    client = frame_client(which, host)
    seen = gc.get_referents(client)
    assert any(each is which for each in seen) and any(each is host for each in seen)


@pytest.mark.parametrize("place", ["which", "host"])
def test_a_cycle_through_a_field_is_collected(frame_client, place):
    class Text:
        pass

    text = Text()
    keywords = {"which": "lambda", place: text}
    text.client = frame_client(**keywords)
    dead = weakref.ref(text)
    del text, keywords
    gc.collect()
    assert dead() is None


def test_a_plain_instance_in_a_cycle_is_collected(module, lambda_peer):
    """Without a subclass, whose own traversal would do."""
    peer = lambda_peer("answer")

    class Text(str):
        pass

    text = Text("lambda")
    text.client = module.RpcClient(text)
    text.client.close()
    dead = weakref.ref(text)
    del text
    gc.collect()
    assert dead() is None
    assert peer.events(2) == ["open", "gone"]


def test_a_finaliser_of_a_subclass_runs_once_and_may_save_the_object(frame_client):
    saved = []

    class Final(frame_client):
        def __del__(self):
            saved.append(self)

    Final("lambda")
    assert len(saved) == 1
    assert saved[0].call("", None) == b'{"status":6,"message":"can not parse json object"}'
    saved.clear()
    gc.collect()
    assert saved == []


def test_dropping_an_instance_drops_its_fields_at_once(frame_client):
    class Text:
        pass

    which, host = Text(), Text()
    client = frame_client(which, host)
    dead = [weakref.ref(which), weakref.ref(host)]
    del which, host
    assert None not in [each() for each in dead]
    del client
    assert [each() for each in dead] == [None, None]


def test_a_million_clients_inside_each_other_go_without_trouble(frame_client):
    client = None
    for _ in range(1_000_000):
        client = frame_client(client, client)
    del client
