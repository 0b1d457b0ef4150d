"""Documents with their pages, logs and marks, in the three compartments of a user's mailbox.

A document is made in the pool, page by page. Sending copies it to the compartment of sent ones,
receiving brings it to that of received ones. Numbers are given out once for the whole
installation, so that `sigma` finds a document without its user.
"""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any, Callable, Dict, List, Optional, Tuple

from kvrpc_tools.simulator.state.keeping import Kept
from kvrpc_tools.simulator.state.table import put_or_remove, window

Name = Tuple[int, str]  # the number and the user of a document

POOL, SENT, RECEIVED = 0, 1, 2

# The most pages that get_inf can describe.
MOST_PAGES = 1000

_COVER = """\
FAX    an: {user}    von: Werft Nord    Seiten: 2

Sehr geehrte Damen und Herren,
anbei die Zeichnung, um die Sie gebeten haben.
"""


@dataclass
class Document:
    """One document. A page is a text. The log is in pieces, because each line is one at first."""

    faxid: int
    userid: str
    topf: int
    created: int
    comment: str = ""
    status: int = 0
    public: bool = False
    mark: bool = False
    pages: List[str] = field(default_factory=list)
    log: List[str] = field(default_factory=list)
    received: Dict[str, Any] = field(default_factory=dict)

    def log_text(self) -> str:
        """Returns the log. Keeps it as one text, for the next block of it."""
        self.log = ["".join(self.log)]
        return self.log[0]

    def pool_row(self) -> Dict[str, Any]:
        """Returns the document as `get_p_rec_res` has it."""
        return {"faxid": self.faxid, "userid": self.userid, "public_": self.public,
                "status": self.status, "seiten": len(self.pages), "comment": self.comment,
                "crezeit": self.created}

    def received_row(self) -> Dict[str, Any]:
        """Returns the document as `get_e_rec_res` has it."""
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
        self.look_again()
        self.receive("meier", "Werft Nord", "fax0", "Zeichnung",
                     [_COVER.format(user="Ida Meier"), "[Zeichnung, Blatt 1]\n"])
        self.receive("schulz", "Anzeigenannahme", "fax1", "Korrekturabzug", ["[Abzug]\n"])

    # ---- for the other families

    def find(self, userid: str, topf: int, faxid: int) -> Optional[Document]:
        """Returns a user's document, or None."""
        return self._documents.get((userid, topf, faxid))

    def find_any(self, topf: int, faxid: int) -> Optional[Document]:
        """Returns a document, whoever it belongs to."""
        userid = self._owners.get((topf, faxid))
        return None if userid is None else self.find(userid, topf, faxid)

    def listed(self, userid: str, topf: int, start: int = 0, most: int = 0) -> List[Document]:
        """Returns at most `most` documents from number `start` on; all for 0 or less.

        They are in the order of their numbers. The pool also has what others have made public.
        """
        names = self._compartments.get((userid, topf), [])
        if topf == POOL and self._public:
            names = self._pool_of(userid, names)
        return [self._documents[user, topf, faxid] for faxid, user in window(names, start, most)]

    def _pool_of(self, userid: str, own: List[Name]) -> List[Name]:
        """Returns the own and the public documents. They are kept until one comes or goes."""
        if userid not in self._pools:
            others = [name for name in self._public if name[1] != userid]
            self._pools[userid] = sorted([*own, *others])
        return self._pools[userid]

    def has_marked(self, userid: str, topf: int) -> bool:
        """Returns whether one of the documents that `listed` has is marked."""
        own = self._marked.get((userid, topf))
        return bool(own) or (topf == POOL and bool(self._public_marked))

    def mark(self, document: Document, mark: bool) -> None:
        """Marks a document, or takes its mark away."""
        document.mark = mark
        marked = self._marked.setdefault((document.userid, document.topf), [])
        put_or_remove(marked, _name(document), mark)
        self._enter_public(document)

    def make(self, userid: str, topf: int, comment: str = "") -> Document:
        """Makes an empty document, with the next number."""
        self._last_id += 1
        document = Document(self._last_id, userid, topf, int(self._now()), comment)
        self._documents[userid, topf, document.faxid] = document
        self._enter(document)
        return document

    def publish(self, document: Document, public: bool) -> None:
        """Makes a document of the pool everybody's, or its user's only."""
        document.public = public
        self._enter_public(document)

    def _enter_public(self, document: Document) -> None:
        public = document.public and document.topf == POOL
        put_or_remove(self._public, _name(document), public)
        put_or_remove(self._public_marked, _name(document), public and document.mark)
        if document.topf == POOL:
            self._pools.clear()

    def look_again(self) -> None:
        """Makes what a search needs, because other documents were loaded."""
        self._compartments: Dict[Tuple[str, int], List[Name]] = {}
        self._public: List[Name] = []
        self._pools: Dict[str, List[Name]] = {}
        self._marked: Dict[Tuple[str, int], List[Name]] = {}
        self._public_marked: List[Name] = []
        self._owners: Dict[Tuple[int, int], str] = {}
        for document in self._documents.values():
            self._enter(document)

    def _enter(self, document: Document) -> None:
        names = self._compartments.setdefault((document.userid, document.topf), [])
        put_or_remove(names, _name(document), True)
        self._owners.setdefault((document.topf, document.faxid), document.userid)
        self.mark(document, document.mark)

    def receive(self, userid: str, sender: str, line: str, comment: str,
                pages: List[str]) -> Document:
        """Files a fax that has come in."""
        document = self.make(userid, RECEIVED, comment)
        document.pages = list(pages)
        document.received = {"absender": sender, "lineid": line, "dauer": 20 * len(pages),
                             "abscomm": comment}
        self.note(document, f"received from {sender} on {line}, {len(pages)} pages")
        return document

    def note(self, document: Document, text: str) -> None:
        """Adds a line to a document's own log."""
        document.log.append(text + "\n")

    def delete(self, document: Document) -> None:
        """Removes a document."""
        del self._documents[document.userid, document.topf, document.faxid]
        document.public = False
        self.mark(document, False)
        put_or_remove(self._compartments[document.userid, document.topf], _name(document), False)
        self._owners.pop((document.topf, document.faxid), None)


def _name(document: Document) -> Name:
    return (document.faxid, document.userid)
