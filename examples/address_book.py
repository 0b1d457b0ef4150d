"""Maintains an address book: makes one, fills it, corrects it, makes a group, looks a number up."""

from typing import Any, Dict

from common import Server, chain, run

# Whose book it is: a server and a user of it.
OWNER = {"userh": "zentrale", "useru": "meier"}
BOOK, GROUP = "kunden", "nord"

CUSTOMERS = (
    ("hafen", "Hafenverwaltung", "+49 40 5550700", "040 5550700"),
    ("kontor", "Kontor Lüders", "+49 451 5550800", "0451 5550800"),
    ("mühle", "Mühle Süd", "+49 89 5550900", "089 5550900"),
)


def put_entry(alpha: Server, name: str, comment: str, tsi: str, phone: str) -> None:
    entry = {"tbuchid": BOOK, "telid": name, "comment": comment, "tsi": tsi, "phone": phone}
    alpha.call("a_put_tebul_1", {**OWNER, "data": entry})


def print_book(alpha: Server) -> None:
    asked: Dict[str, Any] = {**OWNER, "tbuchid": BOOK, "pos": "", "anz": 100}
    entries = alpha.call("a_get_tebul_ll_1", asked)
    print(f"{entries['anz']} entries in {BOOK}")
    for node in chain(entries["first"]):
        entry = node["data"]
        print(f"  {entry['telid']:10} {entry['comment']:20} {entry['phone']}")


def main() -> None:
    with Server("alpha") as alpha:
        alpha.call("a_put_tebu_1", {**OWNER, "data": {"tbuchid": BOOK, "comment": "Kundschaft"}})
        for customer in CUSTOMERS:
            put_entry(alpha, *customer)
        print_book(alpha)

        print("-- a new number for kontor, and mühle leaves")
        put_entry(alpha, "kontor", "Kontor Lüders", "+49 451 5550888", "0451 5550888")
        alpha.call("a_del_tebul_1", {**OWNER, "tbuchid": BOOK, "telid": "mühle"})
        print_book(alpha)

        print(f"-- the group {GROUP}")
        alpha.call("a_put_tgroup_1", {**OWNER, "data": {"groupid": GROUP, "comment": "im Norden"}})
        for name in ("hafen", "kontor"):
            alpha.call("a_put_tgroupl_1", {**OWNER, "data": {
                "groupid": GROUP, "tbuchid": BOOK, "telid": name}})
        members = alpha.call("a_get_tgroupl_ll_1", {**OWNER, "groupid": GROUP})
        print("  members:", ", ".join(node["data"]["telid"] for node in chain(members["first"])))

        found = alpha.call("a_lookup_tsi_1", {"tsi": "+49 451 5550888", "phonedir": BOOK})
        print(f"+49 451 5550888 is {found['data']['comment']}")
        alpha.call("a_del_tgroup_1", {**OWNER, "groupid": GROUP})
        alpha.call("a_del_tebu_1", {**OWNER, "tbuchid": BOOK})


if __name__ == "__main__":
    run(main)
