"""What calls and lists cost beside the module and the parser alone, in processor time."""

import gc
import json
import subprocess
import sys
import time

import pytest
from test_long_lists import RECORD

from kvrpc_tools.conversion import conversion
from tests.conftest import LIBRARY, ROOT

pytestmark = pytest.mark.slow


def seconds(work):
    gc.collect()
    start = time.process_time()
    work()
    return time.process_time() - start


def least_ratio(measured, base, rounds=15):
    """The least of one beside the least of the other, measured in turn."""
    pairs = [(seconds(measured), seconds(base)) for _ in range(rounds)]
    return min(one for one, _ in pairs) / min(other for _, other in pairs)


@pytest.mark.parametrize("link_first", [False, True], ids=["link last", "link first"])
def test_a_long_list_costs_at_most_one_and_a_half_arrays(link_first):
    count = 100_000
    nodes = ['"data":' + RECORD % number for number in range(count)]
    if link_first:
        name, chain = "o_get_user_ll_1", '{"next":' * count + "null" + "".join(
            f",{node}}}" for node in nodes)
    else:
        name, chain = "a_get_s_1", "".join(f'{{{node},"next":' for node in nodes) + "null" + (
            "}" * count)
    envelope = '{"status":0,"message":"ok","result":{"anz":1,"first":%s}}'
    nested = (envelope % chain).encode()
    array = (envelope % ("[" + ", ".join(f"{{{node}}}" for node in nodes) + "]")).encode()
    way = conversion(name[:1].replace("a", "alpha").replace("o", "omega"), name)
    assert len(way.result(nested)["first"]) == count
    ratio = least_ratio(lambda: way.result(nested), lambda: json.loads(array), rounds=5)
    print(f"list over array: {ratio:.2f}")
    assert ratio <= 1.5


def test_a_small_call_costs_at_most_two_and_a_half_of_the_modules():
    script = ROOT / "bench" / "library.py"
    done = subprocess.run([sys.executable, str(script), str(LIBRARY)], capture_output=True,
                          encoding="utf-8", timeout=120)
    print(done.stdout)
    assert (done.returncode, done.stderr) == (0, "")
    assert done.stdout.count("ok") == 2
