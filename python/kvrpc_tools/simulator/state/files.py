"""The files that `lambda` lets a client read, in pieces of at most 512 bytes."""

from __future__ import annotations

from typing import Any, Callable, Dict, Optional

from kvrpc_tools.simulator.characters import bytes_of
from kvrpc_tools.simulator.state.journal import Journal

PIECE = 512

_TEXTS = {
    "/etc/fax.conf": """\
# Faxsystem Beispielstadt
country      = 49
area         = 30
station      = +49 30 5550100
retries      = 3
retry-pause  = 180
night-rate   = 22:00-06:00
headline     = Faxsystem Beispielstadt   %d   Seite %p von %P
""",
    "/etc/lines.conf": """\
# line     device      type   use
fax0       /dev/fax0   G3     send and receive
fax1       /dev/fax1   G3     send and receive
""",
    "/usr/doc/readme.txt": """\
Die Anlage besteht aus den Servern alpha, omega, theta, sigma, nue und gamma,
die lambda startet und überwacht.

alpha   Benutzer, Dokumente und Aufträge
omega   Verwaltung: Benutzer, Gruppen, Leitungen, Drucker, Wege
theta   Leitungen und ihre Belegung
sigma   Übergabe der Seiten
nue     Nummernvergabe
gamma   Umwandlung

Jede Leitung hat einen Treiber (fax0, fax1), jeder Weg nach außen ein Gateway
(mail, sms). Die Dienste clean, backup und archive-collector laufen nachts.

Ein Auftrag wartet, bis eine Leitung frei ist, wird gesendet und steht danach
im Ausgang. Empfangene Faxe liegen im Eingang ihres Benutzers.
""",
}

JOURNAL = "/var/log/lambda.log"


class Files:
    """A few texts, and the log as it is now."""

    def __init__(self, journal: Journal) -> None:
        self._journal = journal

    def handlers(self) -> Dict[str, Callable[[Any], Any]]:
        """Returns what carries out each procedure of the family, by its name."""
        return {"l_statfile_1": self._stat, "l_readfile_1": self._read}

    def _content(self, name: str) -> Optional[bytes]:
        text = self._journal.lines() if name == JOURNAL else _TEXTS.get(name)
        return None if text is None else bytes_of(text)

    def _stat(self, argument: Dict[str, Any]) -> Dict[str, Any]:
        content = self._content(argument["filename"])
        return {"ok": content is not None, "size": len(content or b"")}

    def _read(self, argument: Dict[str, Any]) -> Dict[str, Any]:
        """Returns at most `len` and at most 512 bytes from `offset` on, none after the end."""
        content = self._content(argument["filename"])
        offset, size = argument["offset"], argument["len"]
        if content is None or offset < 0 or size < 0:
            return {"ok": False}
        piece = content[offset:offset + min(size, PIECE)]
        return {"ok": True, "len": len(piece), "data": piece}
