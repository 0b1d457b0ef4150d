"""The procedures on documents: pages whole and in blocks, copying, deleting, logs, marks, lists."""

from __future__ import annotations

from typing import Dict, List, Optional

from kvrpc_tools.simulator.state.documents import POOL, RECEIVED, Document, Documents
from kvrpc_tools.simulator.state.keeping import Kept
from kvrpc_tools.simulator.state.people import People
from kvrpc_tools.simulator.state.shape import Row, opened
from kvrpc_tools.simulator.state.structure import Structure
from kvrpc_tools.simulator.state.table import Handler

DAT = 100  # characters that one piece of a list of texts can hold


class Pages:
    """What `alpha` does with documents."""

    KEPT: Kept = {"_signatures": None}

    def __init__(self, documents: Documents, people: People, structure: Structure) -> None:
        self._documents = documents
        self._people = people
        self._structure = structure
        self._signatures: Dict[str, str] = {}

    def handlers(self) -> Dict[str, Handler]:
        """Returns what carries out each procedure of the family, by its name."""
        return {**self._whole(), **self._parts(), **self._lists(), **self._texts()}

    def _find(self, asked: Row, topf: Optional[int] = None) -> Optional[Document]:
        """Returns the document that an argument names, from the pool if it names no compartment."""
        return self._documents.find(
            asked["userid"], asked.get("topf", POOL) if topf is None else topf, asked["faxid"])

    # ---- documents as a whole

    def _whole(self) -> Dict[str, Handler]:
        return {
            "a_mk_dok_1": self._make,
            "a_cp_dok_1": self._copy,
            "a_del_dok_1": self._delete,
            "a_forward_1": self._forward,
            "a_print_dok_1": self._print,
            "a_put_comment_1": self._comment,
            "a_put_public_1": self._publish,
            "a_put_bif_1": lambda asked: self._mark(asked, asked["bif"]),
            "a_exc_bif_1": self._exchange_mark,
            "a_exc_status_1": self._exchange_status,
            "a_bif_1": self._marked,
            "a_bif_new_1": lambda asked: {"out": self._marked(opened(asked))},
            "a_gamma_1": lambda asked: bool(asked["a_g_dok"]),
        }

    def _make(self, userid: str) -> int:
        """Returns the new document's number, 0 if there is no such user."""
        if not self._people.is_local(userid):
            return 0
        return self._documents.make(userid, POOL).faxid

    def _copy(self, asked: Row) -> bool:
        """Appends the source's pages to those of a document of the pool."""
        source = self._documents.find(asked["userid"], asked["sourcetopf"], asked["sourcefaxid"])
        target = self._documents.find(asked["userid"], POOL, asked["destfaxid"])
        if source is None or target is None:
            return False
        target.pages += list(source.pages)
        return True

    def _delete(self, asked: Row) -> bool:
        document = self._find(asked)
        if document is not None:
            self._documents.delete(document)
        return document is not None

    def _forward(self, asked: Row) -> bool:
        """Makes a copy for another user, or for each member of a group."""
        source = self._find(asked, asked["sourcetopf"])
        group = [row["userid"] for row in self._people.members_of(asked["groupid"])]
        users = [user for user in ([asked["destu"]] if asked["destu"] else group)
                 if self._people.is_local(user)]
        if source is None or not users:
            return False
        for user in users:
            copy = self._documents.make(user, asked["desttopf"], source.comment)
            copy.pages, copy.received = list(source.pages), dict(source.received)
            self._documents.note(copy, f"forwarded by {source.userid}")
        return True

    def _print(self, asked: Row) -> bool:
        document = self._find(asked, asked["sourcetopf"])
        if document is None or self._structure.printers.get(asked["printid"]) is None:
            return False
        self._documents.note(document, f"printed on {asked['printid']}")
        return True

    def _comment(self, asked: Row) -> bool:
        document = self._find(asked)
        if document is not None:
            document.comment = asked["comment"]
        return document is not None

    def _publish(self, asked: Row) -> bool:
        document = self._find(asked)
        if document is not None:
            self._documents.publish(document, asked["public_"])
        return document is not None

    def _mark(self, asked: Row, mark: bool) -> bool:
        document = self._find(asked)
        if document is not None:
            self._documents.mark(document, mark)
        return document is not None

    def _exchange_mark(self, asked: Row) -> Row:
        document = self._find(asked)
        old = document is not None and document.mark
        return {"ok": self._mark(asked, asked["newflag"]), "oldflag": old}

    def _exchange_status(self, asked: Row) -> Row:
        """Sets or clears the bits of `status`; `oldflag` is true if any was set."""
        document = self._find(asked)
        if document is None:
            return {"errcode": 1}
        old = bool(document.status & asked["status"])
        document.status = (document.status | asked["status"] if asked["newflag"]
                           else document.status & ~asked["status"])
        return {"oldflag": old}

    def _marked(self, asked: Row) -> bool:
        return self._documents.has_marked(asked["userid"], asked["topf"])

    # ---- pages

    def _parts(self) -> Dict[str, Handler]:
        return {
            "a_put_page_1": lambda asked: self._put_page(asked, 0, asked["data"]),
            "a_put_pageb_1": lambda asked: self._put_page(
                asked, asked["pos"], asked["data"][:max(0, asked["lng"])]),
            "a_get_page_1": lambda asked: self._page(asked) or "",
            "a_get_pageb_1": lambda asked: _block(self._page(asked), asked),
            "a_ins_page_1": self._insert_page,
            "a_del_page_1": self._delete_page,
            "a_cp_page_1": self._copy_page,
            "a_get_inf_1": self._information,
        }

    def _put_page(self, asked: Row, start: int, data: str) -> bool:
        """Replaces a page from character `start` on, or adds one after the last."""
        document = self._find(asked)
        number = asked["seitennr"]
        if document is None or not 1 <= number <= min(len(document.pages) + 1, MOST_NUMBER):
            return False
        if number > len(document.pages):
            document.pages.append("")
        old = document.pages[number - 1]
        if not 0 <= start <= len(old):
            return False
        document.pages[number - 1] = old[:start] + data
        return True

    def _page(self, asked: Row) -> Optional[str]:
        return _page_of(self._find(asked), asked["page"])

    def _insert_page(self, asked: Row) -> bool:
        document = self._find(asked)
        if document is None or not 1 <= asked["page"] <= len(document.pages) + 1:
            return False
        document.pages.insert(asked["page"] - 1, "")
        return True

    def _delete_page(self, asked: Row) -> bool:
        document = self._find(asked)
        if document is None or _page_of(document, asked["page"]) is None:
            return False
        del document.pages[asked["page"] - 1]
        return True

    def _copy_page(self, asked: Row) -> bool:
        source = _page_of(self._documents.find(asked["userid"], asked["sourcetopf"],
                                               asked["sourcefaxid"]), asked["sourcepage"])
        if source is None:
            return False
        return self._put_page({"userid": asked["userid"], "faxid": asked["destfaxid"],
                               "seitennr": asked["destpage"]}, 0, source)

    def _information(self, asked: Row) -> Row:
        """Returns the length of each page."""
        document = self._find(asked)
        return page_sizes(document)

    # ---- lists

    def _lists(self) -> Dict[str, Handler]:
        return {
            "a_get_p_rec_1": self._pool_row,
            "a_get_e_rec_1": self._received_row,
            "a_get_e_rec_new_1": self._received_row,
            "a_get_p_1": lambda asked: self._pool(asked),
            "a_get_pb_1": lambda asked: self._pool(asked, asked["pos"], asked["anz"]),
            "a_get_e_1": lambda asked: self._inbox(asked),
            "a_get_eb_1": lambda asked: self._inbox(asked, asked["pos"], asked["anz"]),
            "a_get_e_rec_new_ll_1": lambda asked: self._inbox(asked, asked["pos"], asked["anz"]),
        }

    def _of_login(self, asked: Row, topf: int, start: int, most: int) -> List[Document]:
        user = self._people.user_of(asked["loginid"])
        return [] if user is None else self._documents.listed(user, topf, start, most)

    def _pool(self, asked: Row, start: int = 0, most: int = 0) -> List[Row]:
        return [document.pool_row() for document in self._of_login(asked, POOL, start, most)]

    def _inbox(self, asked: Row, start: int = 0, most: int = 0) -> List[Row]:
        return [document.received_row()
                for document in self._of_login(asked, RECEIVED, start, most)]

    def _pool_row(self, asked: Row) -> Optional[Row]:
        document = self._find(asked, POOL)
        return document.pool_row() if document else None

    def _received_row(self, asked: Row) -> Optional[Row]:
        document = self._find(asked, RECEIVED)
        return document.received_row() if document else None

    # ---- logs and signatures

    def _texts(self) -> Dict[str, Handler]:
        return {
            "a_get_log_1": lambda asked: self._log(asked) or "",
            "a_get_logb_1": lambda asked: _block(self._log(asked), asked),
            "a_get_logl_1": self._log_lines,
            "a_put_log_1": self._put_log,
            "a_get_sig_1": lambda user: self._signatures.get(user, ""),
            "a_put_sig_1": lambda asked: self._put_signature(asked, 0, asked["data"]),
            "a_get_sigb_1": lambda asked: _block(self._signatures.get(asked["userid"]), asked),
            "a_put_sigb_1": lambda asked: self._put_signature(
                asked, asked["pos"], asked["data"][:max(0, asked["lng"])]),
        }

    def _log(self, asked: Row) -> Optional[str]:
        document = self._find(asked)
        return document.log_text() if document else None

    def _put_log(self, asked: Row) -> bool:
        document = self._find(asked)
        if document is not None:
            self._documents.note(document, asked["zeile"])
        return document is not None

    def _log_lines(self, asked: Row) -> Row:
        """Returns a block of the log as a list of texts. `pos` is where the next block starts."""
        block = _block(self._log(asked), asked)
        text = block.get("data", "")
        return {"ok": block["ok"], "pos": asked["pos"] + len(text),
                "data": [{"dat": text[at:at + DAT]} for at in range(0, len(text), DAT)]}

    def _put_signature(self, asked: Row, start: int, data: str) -> bool:
        user = asked["userid"]
        old = self._signatures.get(user, "")
        if not self._people.is_local(user) or not 0 <= start <= len(old):
            return False
        self._signatures[user] = old[:start] + data
        return True


MOST_NUMBER = 32767


def page_sizes(document: Optional[Document]) -> Row:
    """Returns the number of pages and the length of each, as `laenge` and `data` have them."""
    sizes = [len(page) for page in document.pages] if document else []
    return {"laenge": len(sizes), "data": sizes}


def _page_of(document: Optional[Document], number: int) -> Optional[str]:
    if document is None or not 1 <= number <= len(document.pages):
        return None
    return document.pages[number - 1]


def _block(text: Optional[str], asked: Row) -> Row:
    """Returns `lng` characters from `pos` on, and an empty block after the end."""
    if text is None or asked["pos"] < 0 or asked["lng"] < 0:
        return {"ok": False}
    piece = text[asked["pos"]:asked["pos"] + asked["lng"]]
    return {"ok": True, "lng": len(piece), "data": piece}
