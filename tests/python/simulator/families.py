"""The families of the interface that keep rows: what writes a row, and what must then show it.

An argument is filled from values by the keys of its fields, in every arm of a union. The procedures
of `alpha` and `omega` that have the same name but for the server are written as one, "ao".
"""

from typing import Dict, NamedTuple, Tuple

OWNER = {"userh": "zentrale", "useru": "meier"}
BOOK = ("a_put_tebu_1", {**OWNER, "data": {"tbuchid": "buch"}})
GROUP = ("a_put_tgroup_1", {**OWNER, "data": {"groupid": "kunden"}})


class Family(NamedTuple):
    """`row` is written; `key` is the field that names it.

    `asked` replaces values in the arguments of list procedures. `bare` names the field that is the
    argument of a procedure whose argument is no record, if it is not the first of the row. `twins`
    are fields that the later form of a record calls by another name.
    """

    writers: str
    readers: str
    key: str
    row: dict
    deleters: str = ""
    asked: dict = {}
    bare: Dict[str, str] = {}
    first: Tuple = ()
    twins: Dict[str, str] = {}


FAMILIES = {
    "user": Family(
        "a_put_o_user_1 o_put_user_1",
        "a_get_o_user_1 o_get_user_1 o_get_user_ll_1 o_get_user_llb_1 a_get_system_userlist_1 "
        "a_get_system_userlistb_1 o_search_bar_1", "userid",
        {"alphaid": "nord", "userid": "weber", "name": "Eva Weber", "barcode": "77", "prio": 3,
         "vertreth": "nord", "vertretu": "otto", "kopie": True},
        "o_del_user_1", {"userid": "", "alphaid": ""}, {"o_search_bar_1": "barcode"}),
    "local user": Family(
        "a_put_user_1", "a_get_user_1", "userid",
        {"userid": "weber", "printid": "laser1", "lineid": "fax1", "prio": 2, "mailadr": "w@x"},
        "a_del_user_1"),
    "group": Family(
        "o_put_group_1", "o_get_group_1 a_get_o_group_1 o_get_group_ll_1 a_get_groups_1", "groupid",
        {"groupid": "einkauf", "comment": "Einkauf"}, "o_del_group_1"),
    "member of a group": Family(
        "o_put_groupl_1", "o_get_groupl_ll_1 o_get_group_member_ll_1 a_get_group_1", "userid",
        {"groupid": "einkauf", "alphaid": "zentrale", "userid": "schulz"}, "o_del_groupl_1",
        first=(("o_put_group_1", {"groupid": "einkauf"}),)),
    "usrconf": Family(
        "a_put_usrconf_1 a_put_usrconf_new_1",
        "a_get_usrconf_1 a_get_usrconf_new_1 a_get_usrconf_ll_1 a_get_usrconf_new_ll_1", "content",
        {"userid": "meier", "name": "layout", "content": "quer"},
        "a_del_usrconf_1 a_del_usrconf_new_1", {"user_only": True}),
    "muser": Family(
        "ao_put_muser_1",
        "ao_get_muser_addr_1 ao_get_muser_line_1 ao_get_muser_addr_ll_1 ao_get_muser_line_ll_1",
        "mailaddr", {"mailaddr": "m@x.de", "lineid": "fax1", "lastaccess": 5},
        "ao_del_muser_1", bare={"get_muser_line_1": "lineid"}),
    "gwuser": Family(
        "ao_put_gwuser_1", "ao_get_gwuser_1 ao_get_gwuser_ll_1", "mailaddr",
        {"gw_type": "mail", "mailaddr": "m@x.de", "lineid": "fax1"}, "ao_del_gwuser_1"),
    "reply_addr": Family(
        "ao_put_reply_addr_1", "ao_get_reply_addr_1 ao_get_reply_addr_ll_1", "userid",
        {"nettype": 2, "tsi": "+49 1", "userid": "meier", "alphaid": "zentrale", "phone": "0301",
         "barred": 1}, "ao_del_reply_addr_1", {"tsi": ""}),
    "tele": Family(
        "ao_put_tele_1", "a_get_tele_1 a_search_tele_1 o_get_tele_ll_1 o_get_tele_1 o_search_tsi_1",
        "telid", {"telid": "bahn", "comment": "Bahn", "tsi": "+49 7", "phone": "11861",
                  "nettype": 1}, "ao_del_tele_1",
        bare={"o_search_tsi_1": "tsi"}),
    "tebu": Family(
        "ao_put_tebu_1", "ao_get_tebu_1 ao_get_tebu_ll_1 ao_get_tebu_llb_1", "tbuchid",
        {**OWNER, "tbuchid": "buch", "comment": "Privates", "ownerh": "zentrale",
         "owneru": "meier", "tbtyp": 1, "shcmd": "cat", "listhead": "Kopf"},
        "ao_del_tebu_1"),
    "tebul": Family(
        "ao_put_tebul_1", "ao_get_tebul_1 ao_get_tebul_ll_1 ao_lookup_tsi_1", "telid",
        {**OWNER, "tbuchid": "buch", "telid": "oma", "comment": "Oma", "tsi": "+49 8",
         "phone": "0302", "nettype": 2}, "ao_del_tebul_1", first=(BOOK,)),
    "tgroup": Family(
        "ao_put_tgroup_1", "ao_get_tgroup_1 ao_get_tgroup_ll_1 ao_get_tgroup_llb_1", "groupid",
        {**OWNER, "groupid": "kunden", "comment": "Kunden", "ownerh": "zentrale",
         "owneru": "meier"}, "ao_del_tgroup_1"),
    "tgroupl": Family(
        "ao_put_tgroupl_1", "ao_get_tgroupl_ll_1 ao_get_tgroupl_llb_1", "telid",
        {**OWNER, "groupid": "kunden", "tbuchid": "firma", "telid": "werft"},
        "ao_del_tgroupl_1", first=(GROUP,)),
    "faxl": Family(
        "o_put_faxl_1 o_put_faxl_new_1",
        "o_get_faxl_1 a_get_faxl_1 o_get_faxl_new_1 a_get_faxl_new_1 o_get_faxl_ll_1 "
        "a_get_faxl_ll_1 o_get_faxl_new_ll_1 a_get_frei_ll_1", "lineid",
        {"lineid": "fax7", "thetaid": "nord", "alphaid": "nord", "typid": "g3", "linenr": 7,
         "boxid": "box2", "localtsi": "+49 9", "comment": "Leitung", "device": "/dev/fax7",
         "headline": "Kopf", **dict.fromkeys(("res", "scan_res"), 1),
         **dict.fromkeys(("timeout", "scan_timeout"), 30),
         **dict.fromkeys(("pagewait", "scan_pagewait"), 4),
         **dict.fromkeys(("reserveh", "scan_reserveh"), "nord"),
         **dict.fromkeys(("reserveu", "scan_reserveu"), "otto")},
        "o_del_faxl_1 o_del_faxl_new_1", twins={
            name: f"scan_{name}" for name in ("res", "timeout", "pagewait", "reserveh",
                                              "reserveu")}),
    "faxg": Family(
        "o_put_faxg_1", "o_get_faxg_1 o_get_faxg_ll_1", "typid",
        {"typid": "g4", "comment": "Gruppe 4", "linesmin": 1, "linesmax": 2, "hwfeat": 8,
         "postfeat": 1}, "o_del_faxg_1"),
    "printer": Family(
        "o_put_printer_1", "ao_get_printer_1 ao_get_printer_ll_1 ao_get_printer_llb_1", "printid",
        {"printid": "laser9", "comment": "Flur", "typ": 1, "piid": "nord", "lpfilter": "lp",
         "paper": 4, "pgsplit": True}, "o_del_printer_1"),
    "alpha": Family("o_put_alpha_1", "o_get_alpha_1 o_get_alpha_ll_1", "alphaid",
                    {"alphaid": "nord", "net": "tcp", "comment": "im Norden"}, "o_del_alpha_1"),
    "theta": Family("o_put_theta_1", "o_get_theta_1 o_get_theta_ll_1", "thetaid",
                    {"thetaid": "nord"}, "o_del_theta_1"),
    "pi": Family("o_put_pi_1", "o_get_pi_1 o_get_pi_ll_1", "piid", {"piid": "nord", "net": "tcp"},
                 "o_del_pi_1"),
    "route": Family(
        "o_put_route_1 o_put_route_new_1",
        "o_get_route_1 o_get_route_ll_1 o_get_route_new_1 o_get_route_new_ll_1 "
        "a_get_route_new_ll_1 ao_apply_route_1 ao_apply_route_new_1", "userid",
        {"routeid": "weg1", "comment": "Weg", "lineid": "fax1", "absender": "Werft",
         "alphaid": "nord", "userid": "weber", "groupid": "einkauf"},
        "o_del_route_1 o_del_route_new_1"),
    "config": Family(
        "o_put_config_1", "a_get_config_1 o_get_config_1 o_get_config_ll_1", "contents",
        {"name": "farbe", "contents": "blau", "protect": True},
        "o_del_config_1", {"basename": "fa"}),
    "flag": Family("t_put_flag_1", "t_get_flag_1 t_get_flag_ll_1", "msg",
                   {"group": "nacht", "id": 4, "termin": 99, "msg": "Sicherung"},
                   "t_del_flag_1", bare={"t_get_flag_ll_1": "group"}),
    "scan": Family("a_put_scan_1 t_put_scan_1", "t_get_scan_1", "userid",
                   {"lineid": "fax0", "alphaid": "zentrale", "userid": "meier", "res": 1,
                    "comment": "Vertrag"}),
    "board": Family("a_put_board_1", "a_get_board_1 a_get_boardl_1", "msg",
                    {"color": 2, "id": "eins", "msg": "Wartung"}),
    "state of a line": Family("t_put_trstat_1", "t_get_trstat_1", "hwfeat",
                              {"lineid": "fax0", "hwfeat": 8}),
}


def procedures(names):
    """The procedures of a text, for both servers where it says "ao"."""
    return [prefix + name[name.index("_"):] for name in names.split()
            for prefix in name[:name.index("_")]]


class Filler:
    """Fills the arguments of procedures from values."""

    def __init__(self, schema):
        self._schema = schema

    def variants(self, procedure, values, bare):
        """An argument for each arm of its union, and for each form that it can ask for."""
        kind = self._schema.procedures[procedure].argument
        if kind.kind == "nothing":
            return [None]
        if kind.kind != "record":
            number, value = kind.kind in ("long", "short"), values.get(bare)
            return [value if isinstance(value, int) == number else 0 if number else ""]
        return list(self._records(kind.record, values))

    def _records(self, name, values):
        record = self._schema.records[name]
        if not record.is_union:
            yield from self._structures(record, values)
            return
        for arm in record.fields:
            for inner in self._records(arm.type.record, values):
                yield {record.discriminant: arm.value, arm.key: inner}

    def _structures(self, record, values):
        row = {field.key: values[field.key] for field in record.fields if field.key in values}
        inner = next((field for field in record.fields if field.key == "data"), None)
        forms = (0, 1) if any(field.key == "outselection" for field in record.fields) else (None,)
        for form in forms:
            whole = {**row, **({} if form is None else {"outselection": form})}
            if inner is None or inner.type.kind != "record":
                yield whole
            else:
                for data in self._records(inner.type.record, values):
                    yield {**whole, "data": data}


def rows_with(value, key, wanted):
    """The records in a result, however deep, that have this value in this field."""
    if isinstance(value, list):
        return [row for each in value for row in rows_with(each, key, wanted)]
    if not isinstance(value, dict):
        return []
    own = [value] if value.get(key) == wanted else []
    return own + [row for each in value.values() for row in rows_with(each, key, wanted)]
