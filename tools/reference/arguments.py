"""An argument for the example of each procedure.

The values come from the tables below, key by key, so that a login uses the same user as the
document that is sent. They show the shape of a call, not its meaning: the numbers are those that
the simulator answers to. A member without a value is left out, because it arrives as zero anyway.
"""

# o_cha_licence_1 has an argument that is not described, so nothing can be sent to it.
WITHOUT_EXAMPLE = frozenset({"o_cha_licence_1"})

# The arm of a union that an example shows, by the union's record; the first one otherwise.
ARMS = {"send_new_arg": 1, "subscribe_arg_trigger": 2}

# The value of a key, of a key of one procedure's argument, or of a procedure's whole argument.
VALUES = {
    "userid": "meier", "passwor": "geheim", "oldpw": "geheim", "newpw": "geheim",
    "admpw": "verwalter", "o_cha_admpw_1.oldpw": "verwalter", "o_cha_admpw_1.newpw": "verwalter",
    "o_check_admpw_1": "verwalter",
    "loginid": 1, "faxid": 3, "poolfaxid": 3, "sourcefaxid": 3, "destfaxid": 4, "page": 1,
    "seitennr": 1, "sourcepage": 1, "destpage": 1, "firstpage": 1, "lastpage": 1, "copies": 1,
    "alphaid": "zentrale", "userh": "zentrale", "useru": "meier", "owneru": "meier",
    "ownerh": "zentrale", "desth": "zentrale", "destu": "schulz", "vertreth": "zentrale",
    "vertretu": "schulz", "x_host": "zentrale", "x_user": "meier", "v_host": "zentrale",
    "v_user": "schulz", "groupid": "vertrieb", "tbuchid": "firma", "telid": "huber",
    "printid": "laser1", "lineid": "fax0", "typid": "g3", "routeid": "eingang0",
    "thetaid": "zentrale", "piid": "zentrale", "name": "headline", "content": "1", "contents": "1",
    "comment": "Example", "headline": "Example", "empfnr": "0301234567", "tsi": "+49 30 1234567",
    "phone": "0301234567", "anz": 10, "lng": 256, "len": 256, "mailaddr": "meier@example.org",
    "data": "Text of the page", "zeile": "An entry", "group": "zeiten", "id": "alpha",
    "msg": "Back at noon", "filename": "/etc/fax.conf", "slot": 1, "pid": 408, "barcode": "1001",
    "ip_address": 2130706433, "port": 7000, "meta_zeile": "ok", "hwfeat": 1, "ok": True,
    "gw_type": "mail", "sollzeit": 1767610800, "phonedir": "firma",
    "a_get_usrconf_1.name": "cover", "a_get_usrconf_new_1.v1.name": "cover",
    "a_del_usrconf_1.name": "cover", "a_del_usrconf_new_1.v1.name": "cover",
    # A new job's record has only what a script decides. The rest is for the server to fill in.
    **{f"{record}.{key}": "" for key in ("faxid", "userid", "gw_type", "mailaddr")
       for record in ("a_send_new_1.v1.s_rec_v1", "a_sende_1.s_record")},
    "l_kill_1": 464, "a_check_login_1": 1, "a_zeitstring_1": 1767607200,
    "a_str2zeit_1": "05.01.2026 10:00", "a_search_tele_1": "huber", "a_a_log_1": "An entry",
    "o_search_tsi_1": "+49 30 1234567", "o_search_bar_1": "1001", "o_legalhost_1": "zentrale",
    "a_get_muser_line_1": "fax0", "o_get_muser_line_1": "fax0", "t_get_flag_ll_1": "zeiten",
    "long1": 1, "t_reserve_1.lineid": "fax1", "a_mk_dok_1": "meier",
    "a_get_sig_1": "meier", "a_fetch_result_1": 1,
    "t_get_trstat_1": "fax0", "t_get_scan_1": "fax0", "s_closepage_old_1": 1,
}
# The value of a key in a group's procedures: a job, a received fax.
IN_GROUP = {
    "Sending": {"faxid": 5}, "Transmission": {"faxid": 5},
    "Receiving": {"faxid": 1}, "Page transfer": {"faxid": 1, "topf": 2, "handle": 1},
}
# The argument of procedures that take one text: what follows the verb in the name, and the text.
OF_ONE_TEXT = {
    "faxl": "fax0", "faxg": "g3", "printer": "laser1", "alpha": "zentrale", "theta": "zentrale",
    "pi": "zentrale", "route": "eingang0", "config": "headline", "tele": "huber",
    "group": "vertrieb", "o_group": "vertrieb", "groupl_ll": "vertrieb",
    "group_member_ll": "vertrieb", "user": "meier", "muser": "meier@example.org",
    "muser_addr": "meier@example.org", "startserver": "omega", "stopserver": "omega",
    "startdriver": "fax0", "stopdriver": "fax0", "startgateway": "mail", "stopgateway": "mail",
    "startdaemon": "clean", "stopdaemon": "clean", "startdaemon64": "archive-collector",
    "stopdaemon64": "archive-collector",
}


class Arguments:
    """Makes arguments in the shape that the client library takes."""

    def __init__(self, schema, notes):
        self._schema = schema
        self._notes = notes

    def of(self, procedure):
        """Returns an argument that fits the procedure's record."""
        return self._value(procedure.argument, procedure.name, "")

    def _value(self, wire, path, key):
        if wire.kind == "record":
            return self._members(self._schema.records[wire.record], path)
        if wire.kind in ("pointer", "list_next"):
            return None
        if wire.kind == "array":
            return []
        if wire.item is not None:
            return [self._value(wire.item, path, key)] * wire.count
        return _scalar(wire, self._chosen(path, key))

    def _chosen(self, path, key):
        name = path.partition(".")[0]
        family = OF_ONE_TEXT.get(name[2:-2].replace("get_", "").replace("del_", ""))
        in_group = IN_GROUP.get(self._notes.group(name).name, {})
        values = VALUES.get(path), in_group.get(key), VALUES.get(key), family
        return next((value for value in values if value is not None), None)

    def _members(self, record, path):
        fields = {field.value: field for field in record.fields}
        if record.is_union:
            arm = fields[ARMS.get(record.name, record.fields[0].value)]
            return {record.discriminant: arm.value,
                    arm.key: self._value(arm.type, f"{path}.{arm.key}", arm.key)}
        members = {field.key: self._value(field.type, f"{path}.{field.key}", field.key)
                   for field in record.fields if field is not record.link}
        return {key: value for key, value in members.items() if value}


def _scalar(wire, value):
    if wire.kind == "nothing":
        return None
    if wire.kind == "bool":
        return value is True
    if wire.kind in ("long", "int", "u_long", "short"):
        return value if isinstance(value, int) else 0
    if wire.kind in ("blob", "opaque"):
        return "RmF4"
    text = value if isinstance(value, str) else ""
    return text[: wire.count - 1] if wire.count else text
