"""A table of command lines, each with its input, its exit code and what it prints."""

import json
import re
import socket
from pathlib import Path

import pytest
from peer import messages

from kvrpc_tools import Omega
from kvrpc_tools.cli import pinging
from kvrpc_tools.pytest_plugin import kvrpc_simulator, kvrpc_simulator_process  # noqa: F401

LOGIN = '{"userid":"meier","passwor":"geheim"}'
STATUS = r'{"state_fax":1,"state_gateways":1,"state_daemons":1,"state_drivers":1}\n'
ALL_SERVERS = ["alpha", "lambda", "nue", "omega", "sigma", "theta"]
CALL_BYTES = "00000001000000000000000200f452bf000000010000000b" + "0" * 32  # a call of a_login_1
LOGIN_BYTES = ("6d656965720000000000000067656865696d" + "00" * 15).ljust(64, "0")


def line(words, code=0, out="", err="", stdin=""):
    """A command line; `out` and `err` are patterns that all of the output must match."""
    return pytest.param(words.split(), code, out, err, stdin, id=words[:70] or "(nothing)")


# Nothing but the interface is needed.
ALONE = [
    line("", 0, r"Usage: kvrpc .*"),
    line("--help", 0, r"Usage: kvrpc .*ping.*"),
    line("-h", 0, r"Usage: kvrpc .*"),
    line("nonsense", 2, err=r"kvrpc: there is no command 'nonsense'\n"),
    line("cal a_login", 2, err=r"kvrpc: there is no command 'cal', did you mean call\?\n"),
    line("--nonsense", 2, err=r"kvrpc: No such option:? '?--nonsense'?\.?\n"),
    line("list", 0, r"alpha: Sessions\n  a_login_1 .*sigma: .*"),
    line("list lambda", 0, r"lambda: .*l_get_status_1.*"),
    line("list Lambda --grep l_ps", 0, r"lambda: Process control\n  l_ps_1 [^\n]*\n"),
    line("list nonsense", 2, err=r"kvrpc: .*'SERVER': 'nonsense' is not one of.*\n"),
    line("list alpha --grep login_1", 0, r"alpha: Sessions\n  a_login_1 [^\n]*\n(  a_.*)+"),
    line("list --grep=LOGIN_1 alpha", 0, r"alpha: Sessions\n  a_login_1 [^\n]*\n(  a_.*)+"),
    line("--grep zzzz list", 0, err=r"no name or meaning has 'zzzz'\n"),
    line("--grep zzzz list --json", 0, r"\[\]\n"),
    line("--grep list list lambda", 0, r"lambda: Process control\n  l_ps_1 +Lists.*"),
    line("--json list nue", 0, r'\[{"server":"nue",.*}\]\n'),
    line("list nue --json", 0, r'\[{"server":"nue",.*}\]\n'),
    line("list --help", 0, r"Usage: kvrpc list \[OPTIONS\] \[alpha\|.*\|sigma\]\n.*--grep WORD.*"),
    line("describe a_login", 0, r"a_login_1\n.*userid: text, at most 10 bytes\..*login_res.*"),
    line("describe a_login_1 --template", 0, r'{\n  "userid": "",\n  "passwor": ""\n}\n'),
    line("describe --template l_get_status", 0, r"null\n"),
    line("describe a_login --json", 0, r'{"procedure":"a_login_1","server":"alpha","number":11,.*'),
    line("describe login_arg", 0, r"login_arg\n  Argument of a_login_1.*Used by a_login_1\n"),
    line("describe login_arg --template", 0, r'{\n  "userid": "",\n  "passwor": ""\n}\n'),
    line("describe login_arg --json", 0, r'{"record":"login_arg",.*"used_by":\["a_login_1"\]}\n'),
    line("describe a_logn", 2,
         err=r"kvrpc: .*no procedure or record 'a_logn', did you mean a_login_1\?\n"),
    line("describe zzzzzzz", 2, err=r"kvrpc: .*no procedure or record 'zzzzzzz'; kvrpc list "
                                    r"--grep WORD looks for a word\n"),
    line("describe login", 2, err=r"kvrpc: .*'login', did you mean a_login_1\?\n"),
    line("describe logn_arg", 2, err=r"kvrpc: .*'logn_arg', did you mean .*\?\n"),
    line("describe", 2, err=r"kvrpc: Missing argument 'NAME'\.\n"),
    line("console --simulator --host x", 2, err=r"kvrpc: --simulator and --host exclude .*\n"),
    line("docs --path", 0, r".*kvrpc_tools[/\\]reference\.html\n"),
    line("docs a_logn_1", 2, err=r"kvrpc: .*no procedure or record 'a_logn_1', did you mean .*\n"),
    line("call", 2, err=r"kvrpc: Missing argument 'PROCEDURE'\.\n"),
    line("call a_logn_1", 2, err=r"kvrpc: .*no procedure 'a_logn_1', did you mean a_login_1\?\n"),
    line("call login_arg", 2, err=r"kvrpc: .*no procedure 'login_arg'.*\n"),
    line('call a_login {"usrid":1}', 2,
         err=r"kvrpc: a_login_1: usrid: unknown member, did you mean userid\?\n"),
    line('call a_login {"userid":"meiermeiermeier"}', 2,
         err=r"kvrpc: a_login_1: userid: 15 bytes, 10 fit\n"),
    line("call a_login -s userid=meiermeiermeier", 2,
         err=r"kvrpc: a_login_1: userid: 15 bytes, 10 fit\n"),
    line("call a_login -s usrid=x", 2,
         err=r"kvrpc: -s usrid: login_arg has no member 'usrid', did you mean userid\?\n"),
    line("call a_login -s userid", 2, err=r"kvrpc: -s userid: PATH=VALUE is expected\n"),
    line("call a_login -s userid.x=1", 2, err=r"kvrpc: -s userid\.x: there is no member 'x'.*\n"),
    line("call l_stopserver -s x=1", 2, err=r"kvrpc: .*\n"),
    line("call a_logout -s loginid=seven", 2,
         err=r"kvrpc: -s loginid: 'seven' is no JSON for a long\n"),
    line("call a_login {", 2, err=r"kvrpc: the argument is no JSON: [^;]*\n"),
    line("call l_stopgateway mail", 2,
         err=r"kvrpc: the argument is no JSON: .*; write a text as ('\"mail\"'|\\\"mail\\\")\n"),
    line("call l_stopgateway", 2, err=r"kvrpc: an argument is needed: text, at most 10 bytes\n"),
    line("call l_kill", 2, err=r"kvrpc: an argument is needed: number of 32 bits\n"),
    line("call a_login -", 2, err=r"kvrpc: the argument on the standard input is no JSON: .*\n",
         stdin="{"),
    line("call a_login @no/such/file", 2, err=r"kvrpc: no/such/file: No such file.*\n"),
    line("call l_get_status 5", 2, err=r"kvrpc: l_get_status_1: argument: this procedure takes "
                                       r"no argument\n"),
    line("call l_get_status --timeout=-1", 2, err=r"kvrpc: .*--timeout.*\n"),
    line("call l_get_status --port 99999", 2, err=r"kvrpc: .*--port.*\n"),
    line("call l_get_status --transport sctp", 2, err=r"kvrpc: .*--transport.*\n"),
    line("call a_logn_1 --json", 2, err=r'{"error": "UsageError", .*"exit_code": 2}\n'),
    line(f"call a_login {LOGIN} --dry-run", 0,
         r"[0-9a-f]{8}000000000000000200f452bf000000010000000b0{32}.*\n"),
    line("call a_login -s userid=meier --dry-run --timeout 5", 0, r"[0-9a-f]{80}0000006d.*\n"),
    line(f"decode a_login {CALL_BYTES}", 2, err=r"kvrpc: these are not the bytes of a_login_1.*\n"),
    line(f"decode l_ps {CALL_BYTES}", 2,
         err=r"kvrpc: this calls procedure 11, and l_ps_1 is procedure \d+\n"),
    line("decode a_login xyz", 2, err=r"kvrpc: these are no hexadecimal digits\n"),
    line("decode a_login 00", 2, err=r"kvrpc: these bytes are neither a call nor .*\n"),
    line("decode l_version 000000010000000100000000000000000000000000000000000000" + "07", 0,
         r'{"procedure":"l_version_1","result":7}\n'),
    line("decode l_version -", 0, r'{"procedure":"l_version_1","result":7}\n',
         stdin="8000001c 00:00:00:01 00000001 00000000 0000 0000 00000000 00000000\n00000007"),
    line("watch alpha", 2, err=r"kvrpc: .*'alpha' is not .*\n"),
    line("trace", 2, err=r"kvrpc: either SCRIPT or --listen is needed\n"),
    line("export a_logn", 2, err=r"kvrpc: .*did you mean a_login_1\?\n"),
    line("completion bash", 0, r".*_KVRPC_COMPLETE=bash_complete.*"),
    line("completion zsh", 0, r"#compdef kvrpc.*"),
    line("completion fish", 0, r".*_KVRPC_COMPLETE=fish_complete.*"),
    line("completion tcsh", 2, err=r"kvrpc: .*'tcsh' is not one of.*\n"),
    line("console --simulator --port 8642", 2, err=r"kvrpc: --simulator and --port exclude .*\n"),
    line("call a_get_configdata_new", 2, err=r"kvrpc: an argument is needed: true or false\n"),
    line("call a_get_configdata_new True", 2, err=r"kvrpc: .* no JSON: .*; write true or false\n"),
]

# A simulator is there.
SERVED = [
    line("call l_get_status_1", 0, STATUS),
    line("call l_get_status", 0, STATUS),
    line("call l_get_status null", 0, STATUS),
    line("call l_get_status --host localhost --transport udp", 0, STATUS),
    line("--host 127.0.0.1 --timeout 20 call l_get_status", 0, STATUS),
    line("call --timeout 20 l_get_status", 0, STATUS),
    line("call l_get_status -v", 0, STATUS,
         r"l_get_status_1 of lambda: [\d.]+ ms, 1 attempt, 23 bytes out, 107 in\n"),
    line("call l_get_status -vv", 0, STATUS,
         r'call: {"l_get_status_1": null}\nbytes: [0-9a-f]{80}\n.*\nreply: {"status":0,.*}\n'),
    line("call l_get_status --raw", 0, r'{"status":0,"message":"ok","result":{.*}}\n'),
    line(f"call a_login {LOGIN}", 0, r'{"loginid":\d+,"err":0}\n'),
    line("call a_login -", 0, r'{"loginid":\d+,"err":0}\n', stdin=LOGIN),
    line("call a_login - -s passwor=wrong", 0, r'{"loginid":0,"err":2}\n', stdin=LOGIN),
    line("call a_login -s userid=meier -s passwor=geheim -vv", 0, r'{"loginid":\d+,"err":0}\n',
         r'call: {"a_login_1": {"userid": "meier", "passwor": "\*\*\*"}}\na_login_1 .*'),
    line("call a_login -s passwor=geheim -vv --show-secrets", 0, r".*",
         r'call: {"a_login_1": {"passwor": "geheim"}}\n.*'),
    line('call a_login {"nonsense":1} --no-check', 65,
         err=r"kvrpc: a_login_1: can not json encode arg\n"),
    line('call a_login {"nonsense":1} --no-check --raw', 65, r'{"status":1,"message":.*}\n',
         r"kvrpc: .*\n"),
    line("call l_ps", 0, r'\[{"slot":0,.*}\]\n'),
    line("ping", 0, "".join(rf"{each} on localhost, port \d+, tcp: [\d.]+ ms\n"
                            for each in ALL_SERVERS)),
    line("ping lambda --transport udp", 0, r"lambda on localhost, port \d+, udp: [\d.]+ ms\n"),
    line("ping --count 3 sigma", 0, r"(sigma on .* ms\n){3}3 of 3 answered; .*\n"),
    line("watch --count 2 --interval 0.1", 0,
         r"\S+ lambda on localhost, port \d+, tcp\n\S+ fax system 1, gateways 1, daemons 1, "
         r"drivers 1\n\S+ slot 0: lambda, pid \d+, status 1\n.*"
         r"daemon archive-collector started, pid \d+\n"),
    line("watch lambda --count 1 --json", 0, r'{"states":{.*"records":\[{.*}\],"error":""}\n'),
    line("ping nue --json", 0, r'\[{"server":"nue",.*"transport":"tcp","milliseconds":[\d.]+}\]\n'),
]


def check(done, code, out, err):
    assert (done.code, done.err if done.code != code else "") == (code, "")
    assert re.fullmatch(out, done.out, re.DOTALL), done.out
    assert re.fullmatch(err, done.err, re.DOTALL), done.err


@pytest.mark.parametrize(("words", "code", "out", "err", "stdin"), ALONE)
def test_without_a_server(kvrpc, words, code, out, err, stdin):
    check(kvrpc(*words, stdin=stdin), code, out, err)


@pytest.mark.parametrize(("words", "code", "out", "err", "stdin"), SERVED)
def test_with_a_server(kvrpc, simulator, words, code, out, err, stdin):
    check(kvrpc(*words, stdin=stdin), code, out, err)


# The peer misbehaves: what it does, the words, the exit code, the pattern of the error.
LYING = [
    ([], "call l_get_status --timeout 0.3", 3,
     r"kvrpc: no answer within 0\.3 s; lambda on 127\.0\.0\.1 \(port \d+, tcp\): is it busy, .*\n"),
    ([], "--json call l_get_status --timeout 0.3", 3,
     r'{"error": "TimeoutError", .*"server": "lambda", "host": .*"exit_code": 3}\n'),
    ([], "ping lambda --timeout 0.3", 3, r"kvrpc: lambda on 127\.0\.0\.1, port \d+, tcp: .*\n"),
    ({"reply": messages.auth_error(5)}, "call l_get_status", 67,
     r"kvrpc: l_get_status_1: rpc_call: .*\(re_status 7\).*; lambda on 127\.0\.0\.1 "
     r".*credentials.*\n"),
    ({"reply": messages.accepted(messages.PROC_UNAVAIL)}, "call l_get_status", 67, r"kvrpc: .*\n"),
    ({"cut": 8, "then": "close"}, "call l_get_status --json", 67,
     r'{"error": "RpcError", .*"status": 3, "exit_code": 67}\n'),
    ({"reply": messages.prog_mismatch(2, 3)}, "ping lambda", 3,
     r"kvrpc: lambda on .*: the answer is not that of this server\n"),
]


@pytest.mark.parametrize(("action", "words", "code", "err"), LYING, ids=lambda each: str(each)[:40])
def test_with_a_peer_that_misbehaves(kvrpc, fault_peer, action, words, code, err):
    fault_peer().script(otherwise=action)
    check(kvrpc(*words.split()), code, "", err)


def test_what_is_too_long_for_a_datagram_is_told(kvrpc, kvrpc_simulator):  # noqa: F811
    page = json.dumps({"userid": "meier", "data": "x" * 9000})
    kvrpc_simulator.fault("pad:l_version_1")
    for words in (["a_put_page", page], ["l_version"]):
        check(kvrpc("call", "--transport", "udp", *words), 67, "",
              r"kvrpc: .*, udp\): at most 8,800 bytes fit over UDP: use --transport tcp\n")


@pytest.mark.parametrize(("words", "err"), [
    ("call l_get_status",
     r"kvrpc: no connection to lambda on 127\.0\.0\.1 \(port \d+, tcp\): .*\n"),
    ("call l_get_status --json", r'{"error": "ConnectError", .*"server": "lambda", "host": .*}\n'),
    ("ping lambda", r"kvrpc: lambda on .*refused.*; does lambda listen there, .*\n"),
    ("export l_ps", r"kvrpc: no connection to lambda on 127\.0\.0\.1 .*\n"),
])
def test_with_no_peer_at_all(kvrpc, fault_peer, words, err):
    fault_peer().stop()
    check(kvrpc(*words.split()), 3, "", err)


def test_ping_without_a_portmapper_says_what_to_set(kvrpc, monkeypatch):
    for name in ("KORVEXRPCPORT", "KORVEXRPCMAP"):
        monkeypatch.delenv(name, raising=False)
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as free:
        free.bind(("127.0.0.1", 0))
        monkeypatch.setattr(pinging, "_PORTMAPPER_PORT", free.getsockname()[1])
    done = kvrpc("ping", "nue", "--host", "127.0.0.1", "--timeout", "0.5")
    assert (done.code, done.out) == (3, "")
    assert re.fullmatch(r"kvrpc: nue on 127\.0\.0\.1, port unknown, tcp: .*; the portmapper of the "
                        r"host does not answer: set KORVEXRPCPORT .*\n", done.err)


@pytest.mark.parametrize("words", ["ping lambda", "call l_version"])
@pytest.mark.parametrize("transport", ["icmp", "pigeon", ""])
def test_another_transport_is_told(kvrpc, simulator, monkeypatch, words, transport):
    monkeypatch.setenv("RPCTRANSPORT", transport)
    check(kvrpc(*words.split()), 3, "", r"kvrpc: .*; RPCTRANSPORT is neither tcp nor udp\n")


def test_watch_tells_that_nobody_answers(kvrpc, fault_peer):
    fault_peer().stop()
    done = kvrpc("watch", "--count", "2", "--interval", "0.1")
    assert (done.code, done.err) == (3, "")
    assert re.fullmatch(r"\S+ no answer: no connection to lambda on 127\.0\.0\.1 .*\n", done.out)


@pytest.mark.parametrize("columns", ["40", "60", "80"])
def test_no_line_of_the_help_is_cut(kvrpc, monkeypatch, columns):
    monkeypatch.setenv("COLUMNS", columns)
    commands = kvrpc("--help").out.partition("Commands:")[2]
    assert "..." not in commands
    assert "Serve the reference with a form on every procedure" in " ".join(commands.split())


@pytest.mark.parametrize("words, default", [
    ("ping", r"so many seconds\. \[default: 3\.0; x>0\]"), ("watch", r"\[default: 5\.0; x>0\]"),
    ("trace", r"on a portmapper after so many seconds\. \[default: 3\.0; x>0\]"),
    ("console", r"\[default: 30\.0; x>0\]"), ("call", "else after 25 without a byte"),
    ("export", "else after 25 without a byte")])
def test_the_help_says_how_long_a_command_waits(kvrpc, words, default):
    told = " ".join(kvrpc(words, "--help").out.partition("--timeout")[2].split())
    assert re.search(default, told.partition("--listen")[0]), told


@pytest.mark.parametrize("transport", ["tcp", "udp"])
def test_ping_asks_the_portmapper_over_the_transport_that_a_script_would_use(
        kvrpc, monkeypatch, transport):
    for name in ("KORVEXRPCPORT", "KORVEXRPCMAP", "RPCTRANSPORT"):
        monkeypatch.delenv(name, raising=False)
    ways = []
    monkeypatch.setattr(pinging, "_exchange", lambda way, *_: ways.append(way) or bytes(28))
    assert kvrpc("ping", "nue", "--transport", transport).code == 3
    assert kvrpc("ping", "nue").code == 3
    assert ways == [transport, "udp"]


def test_the_table_is_long_enough():
    assert len(ALONE) + len(SERVED) + len(LYING) >= 60


def test_a_template_edited_in_a_file_works(kvrpc, simulator, tmp_path):
    file = tmp_path / "a.json"
    argument = json.loads(kvrpc("describe", "a_login", "--template").out)
    file.write_text(json.dumps({**argument, "userid": "meier", "passwor": "geheim"}))
    assert kvrpc("call", "a_login", f"@{file}").code == 0


def test_a_list_is_exported_as_lines_and_as_a_table(kvrpc, simulator, tmp_path):
    listed = json.loads(kvrpc("call", "l_ps").out)
    lines = kvrpc("export", "l_ps")
    assert (lines.code, lines.err) == (0, "")
    assert [json.loads(each) for each in lines.out.splitlines()] == listed
    file = tmp_path / "ps.csv"
    assert kvrpc("export", "--csv", "l_ps", "-o", str(file)) == (0, "", "")
    table = [each.split(",") for each in file.read_text("utf-8").splitlines()]
    assert table[0] == list(listed[0])
    assert table[1:] == [[str(cell) for cell in each.values()] for each in listed]


def test_a_list_that_is_read_in_blocks_is_exported_whole(kvrpc, kvrpc_simulator):  # noqa: F811
    with Omega() as omega:
        whole = omega.o_get_printer_llb_1({"anz": 50})
    (entry,) = whole["first"]
    entries = [{"data": {**entry["data"], "comment": f"number {number}", "printid": f"p{number}"}}
               for number in range(5)]
    blocks = [entries[:2], entries[2:4], entries[4:], []]
    kvrpc_simulator.answer("o_get_printer_llb_1", [
        {**whole, "anz": len(block), "first": block} for block in blocks])
    done = kvrpc("export", "o_get_printer_llb", "--step", "2")
    assert (done.code, done.err) == (0, "")
    assert [json.loads(each) for each in done.out.splitlines()] == [each["data"]
                                                                    for each in entries]


def test_a_list_without_entries_has_columns_all_the_same(kvrpc, kvrpc_simulator):  # noqa: F811
    kvrpc_simulator.answer("o_get_user_ll_1", {"first": []})
    assert kvrpc("export", "o_get_user_ll") == (0, "", "")
    done = kvrpc("export", "o_get_user_ll", "--csv")
    assert done.out.startswith("alphaid,userid,")


def test_each_case_of_a_union_has_columns(kvrpc, simulator):
    done = kvrpc("export", "a_get_s_rec_new_ll", "--csv",
                 "-s", "selection=1", "-s", "v1.loginid=1")
    assert (done.code, done.err) == (0, "")
    assert done.out.startswith("selection,v0.faxid,")
    assert ",v1.faxid," in done.out


@pytest.mark.skipif(not Path("/dev/full").exists(), reason="needs a device that is always full")
@pytest.mark.parametrize("words", ["export l_ps -o /dev/full", "export l_ps --csv -o /dev/full"])
def test_a_full_disk_is_told_in_one_line(kvrpc, simulator, words):
    check(kvrpc(*words.split()), 1, "", r"kvrpc: .*No space left on device\n")


def test_the_simulator_is_a_command_too(kvrpc):
    assert "--portmapper" in kvrpc("simulate", "--help").out
    assert kvrpc("simulate", "--nonsense").code == 2
