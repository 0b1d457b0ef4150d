"""Who may ask the console.

Other pages in the same browser can send requests to loopback, and a name that they control can be
made to lead there. Other users of the machine can connect. So a request must

    name loopback as its Host, with the console's port    (against a name that leads to loopback)
    have the token: in the address once, then in a cookie (against other users of the machine)
    have the console's own Origin if it is a POST         (against other pages)
"""

from __future__ import annotations

import hmac
import secrets
from email.message import Message
from http.cookies import CookieError, SimpleCookie
from typing import Optional

LOOPBACK = "127.0.0.1"


class Access:
    """The token of one console, and its rules."""

    def __init__(self, port: int) -> None:
        self.token = secrets.token_urlsafe(24)
        self._hosts = {f"{name}:{port}" for name in (LOOPBACK, "localhost")}
        # Browsers share cookies among the ports of a host, so the name has the port.
        self._cookie = f"kvrpc-console-{port}"

    def refusal(self, headers: Message[str, str], posted: bool) -> Optional[str]:
        """Returns why a request is refused, whatever its token. None if it is not."""
        host = headers.get("Host", "")
        if host not in self._hosts:
            return "this Host is not the console's"
        if posted and headers.get("Origin") != f"http://{host}":
            return "this Origin is not the console's"
        return None

    def is_token(self, text: str) -> bool:
        """Returns true if this is the token."""
        return hmac.compare_digest(text.encode(), self.token.encode())

    def has_cookie(self, headers: Message[str, str]) -> bool:
        """Returns true if a request carries the token in its cookie."""
        try:
            cookies = SimpleCookie(headers.get("Cookie", ""))
        except CookieError:
            return False
        found = cookies.get(self._cookie)
        return found is not None and self.is_token(found.value)

    def cookie(self) -> str:
        """Returns the value of Set-Cookie."""
        return f"{self._cookie}={self.token}; HttpOnly; SameSite=Strict; Path=/"
