"""The HTTP server of the console.

    GET  /?token=...     sets the cookie and leads to /
    GET  /               the reference with the console's script and style
    GET  /console.js, /console.css
    POST /check, /call   {"procedure": NAME, "argument": TEXT}; the answer is JSON, see calls.py
"""

from __future__ import annotations

import json
import re
from http import HTTPStatus
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from importlib import resources
from typing import Any, Dict, Optional, Tuple
from urllib.parse import parse_qs, urlsplit

from ..schema import own
from .access import LOOPBACK, Access
from .calls import Calls

MOST_BYTES = 4 * 1024 * 1024  # of a request's body
SECONDS = 30.0  # that a client may take to send a request
POLICY_TAG = re.compile(r"<meta http-equiv=Content-Security-Policy content=\"([^\"]*)\">")
SCRIPTS = re.compile(r"'sha256-[^']+'")


class _Refused(Exception):
    def __init__(self, status: HTTPStatus, reason: str) -> None:
        super().__init__(reason)
        self.status = status
        self.reason = reason


class Console(ThreadingHTTPServer):
    """Serves one console. `address` has the token, for the browser."""

    daemon_threads = True

    def __init__(self, calls: Calls, target: str, port: int = 0) -> None:
        super().__init__((LOOPBACK, port), _Handler)
        self.calls = calls
        self.access = Access(self.server_port)
        self.address = f"http://{LOOPBACK}:{self.server_port}/?token={self.access.token}"
        self.page, self.policy = _page(target)


def _page(target: str) -> Tuple[bytes, str]:
    """Returns the page and its policy: the reference's scripts, and requests to the console."""
    text = _file("reference.html")
    found = POLICY_TAG.search(text)
    assert found is not None
    hashes = " ".join(SCRIPTS.findall(found.group(1)))
    shown = target.replace("&", "&amp;").replace("<", "&lt;").replace('"', "&quot;")
    text = text.replace(found.group(0), "<link rel=stylesheet href=/console.css>", 1).replace(
        "</body>", f'<script src=/console.js data-target="{shown}"></script></body>', 1)
    policy = (f"default-src 'none'; script-src 'self' {hashes}; style-src 'self' 'unsafe-inline'; "
              "connect-src 'self'; img-src data:; base-uri 'none'; form-action 'none'; "
              "frame-ancestors 'none'")
    return text.encode("utf-8"), policy


def _file(name: str) -> str:
    return resources.files("kvrpc_tools").joinpath(name).read_text(encoding="utf-8")


class _Handler(BaseHTTPRequestHandler):
    server: Console
    timeout = SECONDS
    protocol_version = "HTTP/1.1"
    server_version = "kvrpc"
    sys_version = ""

    def do_GET(self) -> None:
        """Serves the page and its parts."""
        self._answer(self._get, posted=False)

    def do_POST(self) -> None:
        """Serves the form."""
        self._answer(self._post, posted=True)

    def log_message(self, format: str, *args: Any) -> None:
        """Says nothing: an argument may hold a password."""

    def _answer(self, way: Any, posted: bool) -> None:
        try:
            reason = self.server.access.refusal(self.headers, posted)
            if reason is not None:
                raise _Refused(HTTPStatus.FORBIDDEN, reason)
            way()
        except _Refused as refused:
            # What is left of the request is not read, so the connection cannot go on.
            self.close_connection = True
            self._send(refused.status, "text/plain", f"{refused.reason}\n".encode())

    def _get(self) -> None:
        asked = urlsplit(self.path)
        token = parse_qs(asked.query).get("token", [""])[0]
        if asked.path == "/" and self.server.access.is_token(token):
            self._send(HTTPStatus.SEE_OTHER, "text/plain", b"",
                       {"Location": "/", "Set-Cookie": self.server.access.cookie()})
            return
        self._must_have_token()
        if asked.path == "/":
            self._send(HTTPStatus.OK, "text/html", self.server.page)
        elif asked.path in ("/console.js", "/console.css"):
            kind = "text/javascript" if asked.path.endswith("js") else "text/css"
            self._send(HTTPStatus.OK, kind, _file(f"console{asked.path}").encode("utf-8"))
        else:
            raise _Refused(HTTPStatus.NOT_FOUND, "there is no such page")

    def _post(self) -> None:
        self._must_have_token()
        ways = {"/check": self.server.calls.check, "/call": self.server.calls.call}
        if self.path not in ways:
            raise _Refused(HTTPStatus.NOT_FOUND, "there is no such page")
        name, text = self._form()
        answer = json.dumps(ways[self.path](name, text)).encode()
        self._send(HTTPStatus.OK, "application/json", answer)

    def _must_have_token(self) -> None:
        if not self.server.access.has_cookie(self.headers):
            raise _Refused(HTTPStatus.UNAUTHORIZED,
                           "the token is missing: open the address that kvrpc console printed")

    def _form(self) -> Tuple[str, str]:
        """Returns the procedure's name and the argument's text from the body."""
        length = self.headers.get("Content-Length", "")
        if not length.isascii() or not length.isdigit():
            raise _Refused(HTTPStatus.LENGTH_REQUIRED, "Content-Length is missing")
        if int(length) > MOST_BYTES:
            raise _Refused(HTTPStatus.REQUEST_ENTITY_TOO_LARGE,
                           f"the body has {length} bytes, at most {MOST_BYTES} are taken")
        if self.headers.get_content_type() != "application/json":
            raise _Refused(HTTPStatus.UNSUPPORTED_MEDIA_TYPE, "the body must be application/json")
        try:
            form = json.loads(self.rfile.read(int(length)))
            name, text = form["procedure"], form["argument"]
        except (ValueError, KeyError, TypeError, RecursionError):
            raise _Refused(HTTPStatus.BAD_REQUEST, "this is no form of the console") from None
        if not isinstance(text, str) or not isinstance(name, str) or name not in own().procedures:
            raise _Refused(HTTPStatus.BAD_REQUEST, "there is no such procedure")
        return name, text

    def _send(self, status: HTTPStatus, kind: str, body: bytes,
              headers: Optional[Dict[str, str]] = None) -> None:
        self.send_response(status)
        for name, value in {
            "Content-Type": f"{kind}; charset=utf-8", "Content-Length": str(len(body)),
            "Content-Security-Policy": self.server.policy, "X-Content-Type-Options": "nosniff",
            "Referrer-Policy": "no-referrer", "Cache-Control": "no-store",
            "Cross-Origin-Opener-Policy": "same-origin",
            "Cross-Origin-Resource-Policy": "same-origin", **(headers or {}),
        }.items():
            self.send_header(name, value)
        if self.close_connection:
            self.send_header("Connection", "close")
        self.end_headers()
        self.wfile.write(body)
