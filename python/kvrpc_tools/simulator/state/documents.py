"""Documents with their pages, logs and marks, in the three compartments of a user's mailbox.

A document is made in the pool, page by page. Sending copies it to the compartment of sent ones,
receiving brings it to that of received ones. Numbers are given out once for the whole
installation, so that `sigma` finds a document without its user.
"""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any, Callable, Dict, List, Optional, Tuple

from kvrpc_tools.simulator.state.keeping import Kept

POOL, SENT, RECEIVED = 0, 1, 2

# What get_inf can tell of at most.
MOST_PAGES = 1000

_COVER = """\
FAX    an: {user}    von: Werft Nord    Seiten: 2

Sehr geehrte Damen und Herren,
anbei die Zeichnung, um die Sie gebeten haben.
"""


@dataclass
class Document:
    """One document; a page is a text."""

    faxid: int
    userid: str
    topf: int
    created: int
    comment: str = ""
    status: int = 0
    public: bool = False
    mark: bool = False
    pages: List[str] = field(default_factory=list)
    log: str = ""
    received: Dict[str, Any] = field(default_factory=dict)

    def pool_row(self) -> Dict[str, Any]:
        """As `get_p_rec_res` has it."""
        return {"faxid": self.faxid, "userid": self.userid, "public_": self.public,
                "status": self.status, "seiten": len(self.pages), "comment": self.comment,
                "crezeit": self.created}

    def received_row(self) -> Dict[str, Any]:
        """As `get_e_rec_res` has it."""
        return {"faxid": self.faxid, "userid": self.userid, "status": self.status,
                "seiten": len(self.pages), "comment": self.comment, "empfzeit": self.created,
                **self.received}


class Documents:
    """All documents of all users."""

    KEPT: Kept = {"_documents": Document, "_last_id": None}

    def __init__(self, now: Callable[[], float]) -> None:
        self._now = now
        self._documents: Dict[Tuple[str, int, int], Document] = {}
        self._last_id = 0
        self.receive("meier", "Werft Nord", "fax0", "Zeichnung",
                     [_COVER.format(user="Ida Meier"), "[Zeichnung, Blatt 1]\n"])
        self.receive("schulz", "Anzeigenannahme", "fax1", "Korrekturabzug", ["[Abzug]\n"])

    # ---- for the other families

    def find(self, userid: str, topf: int, faxid: int) -> Optional[Document]:
        """Returns a user's document, or None."""
        return self._documents.get((userid, topf, faxid))

    def find_any(self, topf: int, faxid: int) -> Optional[Document]:
        """Whoever it belongs to."""
        return next((document for document in self._documents.values()
                     if (document.topf, document.faxid) == (topf, faxid)), None)

    def all_of(self, userid: str, topf: int) -> List[Document]:
        """In the order of their numbers; of the pool also what others have made public."""
        return sorted((document for document in self._documents.values()
                       if document.topf == topf
                       and (document.userid == userid or (topf == POOL and document.public))),
                      key=lambda document: document.faxid)

    def make(self, userid: str, topf: int, comment: str = "") -> Document:
        """Makes an empty document, with the next number."""
        self._last_id += 1
        document = Document(self._last_id, userid, topf, int(self._now()), comment)
        self._documents[userid, topf, document.faxid] = document
        return document

    def receive(self, userid: str, sender: str, line: str, comment: str,
                pages: List[str]) -> Document:
        """A fax has come in."""
        document = self.make(userid, RECEIVED, comment)
        document.pages = list(pages)
        document.received = {"absender": sender, "lineid": line, "dauer": 20 * len(pages),
                             "abscomm": comment}
        self.note(document, f"received from {sender} on {line}, {len(pages)} pages")
        return document

    def note(self, document: Document, text: str) -> None:
        """Adds a line to a document's own log."""
        document.log += text + "\n"

    def delete(self, document: Document) -> None:
        """Removes a document."""
        del self._documents[document.userid, document.topf, document.faxid]
