"""The console: from a form to a reply in Chromium, and what it refuses."""

import http.client
import json
import re
import signal
import socket
import subprocess
import sys
from urllib.parse import urlsplit

import pytest

from tests.docs.conftest import wait_until


@pytest.fixture(scope="module")
def address():
    """The address of a console that calls a simulator of its own."""
    command = [sys.executable, "-u", "-m", "kvrpc_tools.cli", "console", "--simulator",
               "--no-browser"]
    with subprocess.Popen(command, stdout=subprocess.PIPE, encoding="utf-8") as process:
        try:
            yield process.stdout.readline().strip()
        finally:
            process.send_signal(signal.SIGINT)
            assert process.wait(timeout=60) == 0


class Client:
    """A client with the console's token, unless headers say otherwise."""

    def __init__(self, address):
        self.place = urlsplit(address)
        self.cookie = None
        answer = self.ask("GET", f"/?{self.place.query}")
        self.cookie = answer.getheader("Set-Cookie")

    def ask(self, method, path, body=None, **headers):
        connection = http.client.HTTPConnection(self.place.hostname, self.place.port, timeout=60)
        sent = {"Host": self.place.netloc, "Cookie": (self.cookie or "").partition(";")[0]}
        if method == "POST":
            sent.update({"Origin": f"http://{self.place.netloc}",
                         "Content-Type": "application/json"})
        sent.update({name.replace("_", "-"): text for name, text in headers.items()})
        connection.request(method, path, body,
                           {name: text for name, text in sent.items() if text is not None})
        answer = connection.getresponse()
        answer.text = answer.read().decode()
        connection.close()
        return answer


@pytest.fixture(scope="module")
def client(address):
    return Client(address)


LOGIN = json.dumps({"procedure": "a_login_1",
                    "argument": '{"userid":"meier","passwor":"geheim"}'})


def test_a_call_is_made(client):
    answer = client.ask("POST", "/call", LOGIN)
    assert answer.status == 200
    found = json.loads(answer.text)
    assert json.loads(found["reply"])["status"] == 0
    assert found["milliseconds"] > 0


@pytest.mark.parametrize(("argument", "path", "reason"), [
    ('{"userid":"meiermeiermeier"}', ["userid"], "15 bytes, 10 fit"),
    ('{"usrid":"x"}', ["usrid"], "unknown member, did you mean userid\\?"),
    ("{", [], "this is no JSON: .*"),
    ("[" * 100_000, [], "this is no JSON: .*"),
])
def test_a_wrong_argument_is_not_sent(client, argument, path, reason):
    form = json.dumps({"procedure": "a_login_1", "argument": argument})
    for way in ("/check", "/call"):
        problems = json.loads(client.ask("POST", way, form).text)["problems"]
        assert problems[0]["path"] == path
        assert re.fullmatch(reason, problems[0]["reason"])


@pytest.mark.parametrize(("headers", "status"), [
    ({"Host": "evil.example"}, 403), ({"Host": "127.0.0.1:1"}, 403), ({"Host": ""}, 403),
    ({"Origin": "http://evil.example"}, 403), ({"Origin": None}, 403), ({"Origin": "null"}, 403),
    ({"Cookie": ""}, 401), ({"Cookie": "kvrpc-console=x"}, 401),
    ({"Content_Type": "text/plain"}, 415),
    ({"Content_Length": "-1"}, 411), ({"Content_Length": "5000000"}, 413),
])
def test_a_request_from_elsewhere_is_refused(client, headers, status):
    assert client.ask("POST", "/call", LOGIN, **headers).status == status


@pytest.mark.parametrize("body", ["", "{", "[]", "7", '{"procedure":"a_login_1"}',
                                  '{"procedure":"no","argument":""}',
                                  '{"procedure":["a"],"argument":""}'])
def test_what_is_no_form_is_refused(client, body):
    assert client.ask("POST", "/call", body).status == 400


def test_it_listens_on_one_address_only(address):
    port = urlsplit(address).port
    socket.create_connection(("127.0.0.1", port), timeout=60).close()
    with pytest.raises(ConnectionRefusedError):
        socket.create_connection(("127.0.0.2", port), timeout=60)


@pytest.mark.parametrize("path", ["/", "/console.js", "/?token=x"])
def test_nothing_is_served_without_the_token(client, path):
    assert client.ask("GET", path, Cookie=None).status == 401


def test_the_page_may_not_be_framed_nor_fetch_elsewhere(client):
    policy = client.ask("GET", "/").getheader("Content-Security-Policy")
    assert "frame-ancestors 'none'" in policy
    assert "connect-src 'self'" in policy
    assert client.cookie.endswith("; HttpOnly; SameSite=Strict; Path=/")


def test_other_paths_and_methods_do_not_exist(client):
    assert client.ask("GET", "/../schema.json").status == 404
    assert client.ask("POST", "/other", LOGIN).status == 404
    assert client.ask("PUT", "/call", LOGIN).status == 501


def test_from_form_to_reply(open_page, address):
    page = open_page(f"{address}#a_login_1")
    assert urlsplit(page.url).query == ""  # so that the token is in no link or bookmark
    text = page.locator("#a_login_1 textarea")
    assert json.loads(text.input_value()) == {"userid": "", "passwor": ""}
    text.fill('{"userid": "meiermeiermeier", "passwor": "geheim"}')
    page.locator("#a_login_1 td .wrong").wait_for()
    row = page.locator("#a_login_1 .told tr", has_text="userid").first
    assert "15 bytes, 10 fit" in row.inner_text()
    text.fill('{"userid": "meier", "passwor": "geheim"}')
    page.locator("#a_login_1 .send").click()
    wait_until(page, "document.querySelector('#a_login_1 .took').textContent.endsWith(' ms')")
    reply = json.loads(page.inner_text("#a_login_1 .form pre"))
    assert (reply["status"], reply["result"]["err"]) == (0, 0)
    assert page.locator("#a_login_1 .wrong").count() == 0
    assert page.inner_text("#a_login_1 .history").startswith("a_login_1")
    assert "the simulator" in page.inner_text(".tools")


def test_the_console_is_accessible(open_page, address, axe):
    for scheme in ("light", "dark"):
        page = open_page(f"{address}#a_login_1", color_scheme=scheme)
        page.locator("#a_login_1 .send").click()
        page.locator("#a_login_1 .form pre").wait_for()
        assert axe(page) == []
