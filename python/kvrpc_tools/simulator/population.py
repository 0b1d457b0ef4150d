"""Fills an installation with users, address books and jobs, for load tests and demonstrations.

All of it goes through the procedures of the interface. The same number gives the same installation,
but for the times, which are counted from now.
"""

from __future__ import annotations

import random
import time
from typing import Any, List

from kvrpc_tools.schema import Schema
from kvrpc_tools.simulator.codec import Codec
from kvrpc_tools.simulator.state import Installation
from kvrpc_tools.simulator.state.jobs import DONE, FAILED
from kvrpc_tools.simulator.state.people import ALPHA_HOST

PASSWORD = "geheim"
_FIRST = ("Anna Bernd Carla Dirk Eva Frank Gerda Hans Inge Jan Karin Lars Maria Nils Olga Peter "
          "Rita Sven Tina Uwe").split()
_LAST = ("Albers Becker Claasen Dietz Ebert Fuchs Graf Hansen Iversen Jung Kraft Lorenz Möller "
         "Neumann Otto Petersen Quast Richter Schröder Thoms Ulrich Vogt Weber Zimmer").split()
_FIRMS = ("Werft Druckerei Spedition Kanzlei Tischlerei Apotheke Brauerei Gärtnerei Reederei "
          "Bäckerei").split()
_CITIES = (("Hamburg", "40"), ("Berlin", "30"), ("Bremen", "421"), ("Kiel", "431"),
           ("Lübeck", "451"), ("München", "89"))
_SUBJECTS = ("Angebot", "Rechnung", "Lieferschein", "Auftrag", "Mahnung", "Einladung")
_DAY = 86400


class Population:
    """Makes up users and what is theirs, one after the other."""

    def __init__(self, schema: Schema, installation: Installation, number: int) -> None:
        self._schema = schema
        self._codec = Codec(schema)
        self._installation = installation
        self._random = random.Random(number)
        self._now = int(time.time())

    def add_user(self, number: int) -> None:
        """Adds a user with a local record, a book of addresses and a few jobs."""
        first, last = self._random.choice(_FIRST), self._random.choice(_LAST)
        user = f"{last[:5].lower()}{number}"
        self._call("o_put_user_1", alphaid=ALPHA_HOST, userid=user, name=f"{first} {last}",
                   barcode=str(2000 + number), prio=self._random.randint(1, 5))
        self._call("a_put_user_1", userid=user, passwor=PASSWORD, lineid="fax0", printid="laser1",
                   mailadr=f"{user}@example.org")
        numbers = self._add_book(user, number)
        for _ in range(self._random.randint(1, 5)):
            self._add_job(user, self._random.choice(numbers))

    def _add_book(self, user: str, number: int) -> List[str]:
        """Adds a book with its entries. Returns their numbers."""
        owner, book = {"userh": ALPHA_HOST, "useru": user}, f"buch{number}"
        self._call("a_put_tebu_1", **owner, data={
            "tbuchid": book, "comment": f"Adressen von {user}", "permissions": b"\3\1\1"})
        numbers = []
        for entry in range(self._random.randint(3, 12)):
            firm, (city, area) = self._random.choice(_FIRMS), self._random.choice(_CITIES)
            local = f"555{self._random.randint(0, 9999):04}"
            numbers.append(f"0{area} {local}")
            self._call("a_put_tebul_1", **owner, data={
                "tbuchid": book, "telid": f"{firm[:6].lower()}{entry}", "phone": numbers[-1],
                "comment": f"{firm} {city}", "tsi": f"+49 {area} {local}"})
        return numbers

    def _add_job(self, user: str, number: str) -> None:
        """Adds a job that was sent in the last days, has failed, or waits for a later time."""
        document = self._call("a_mk_dok_1", user)
        pages = self._random.randint(1, 4)
        for page in range(1, pages + 1):
            self._call("a_put_page_1", userid=user, faxid=document, seitennr=page,
                       data=f"{self._random.choice(_SUBJECTS)}, Seite {page}\n")
        later = self._now + self._random.randint(1, 7) * _DAY
        job = self._call("a_sende_1", userid=user, poolfaxid=document, s_record={
            "empfnr": number, "comment": self._random.choice(_SUBJECTS), "sollzeit": later,
            "prio": self._random.randint(1, 5)})
        status = self._random.choice((DONE, DONE, DONE, FAILED, None))
        if status is not None:
            self._call("a_put_s_stat_1", faxid=job, status=status, dauer=20 * pages,
                       seitenok=pages if status == DONE else 0,
                       istzeit=self._now - self._random.randint(1, 7 * _DAY))

    def _call(self, procedure: str, bare: Any = None, **members: Any) -> Any:
        kind = self._schema.procedures[procedure].argument
        data = self._codec.encode(kind, members or bare)
        return self._installation.run(procedure, self._codec.decode(kind, data))


def populate(schema: Schema, installation: Installation, users: int) -> None:
    """Adds so many users, with their books and jobs."""
    population = Population(schema, installation, users)
    for number in range(1, users + 1):
        population.add_user(number)
