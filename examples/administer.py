"""Administers users and lines through `omega`, and shows that `alpha` knows of it at once."""

from common import Server, chain, run

HOST = "zentrale"  # the alpha server that the users belong to


def print_users(omega: Server) -> None:
    print("users:")
    for node in chain(omega.call("o_get_user_ll_1")["first"]):
        user = node["data"]
        deputy = f"  deputy {user['vertretu']}" if user["vertretu"] else ""
        print(f"  {user['userid']:10} {user['name']:20}{deputy}")


def print_lines(omega: Server) -> None:
    print("lines:")
    asked = {"selection": 1, "v1": {"hwfeat": 0, "outselection": 1}}
    for node in chain(omega.call("o_get_faxl_new_ll_1", asked)["first"]):
        line = node["data"]["v1"]
        print(f"  {line['lineid']:10} {line['localtsi']:20} {line['comment']}")


def add_user(omega: Server, name: str, full_name: str, deputy: str) -> None:
    """Adds a user, if the deputy does not lead back to it."""
    if not omega.call("o_check_v_cycle_1", {"x_host": HOST, "x_user": name,
                                            "v_host": HOST, "v_user": deputy}):
        print(f"{deputy} cannot stand in for {name}")
        return
    added = omega.call("o_put_user_1", {"alphaid": HOST, "userid": name, "name": full_name,
                                        "vertreth": HOST, "vertretu": deputy})
    print(f"user {name} added: {added}")


def change_users(omega: Server, alpha: Server) -> None:
    add_user(omega, "weber", "Änne Weber", "meier")
    add_user(omega, "meier", "Ida Meier", "schulz")
    omega.call("o_put_groupl_1", {"groupid": "vertrieb", "alphaid": HOST, "userid": "weber"})
    print_users(omega)
    group = alpha.call("a_get_group_1", "vertrieb")
    print("vertrieb:", ", ".join(node["data"]["name"] for node in chain(group["first"])))


def change_lines(omega: Server, alpha: Server) -> None:
    line = {"lineid": "fax2", "thetaid": HOST, "alphaid": HOST, "typid": "g3", "linenr": 2,
            "localtsi": "+49 30 5550102", "comment": "Leitung 2", "csi": "BEISPIEL"}
    error = omega.call("o_put_faxl_new_1", {"selection": 1, "v1": line})
    print(f"line fax2 added: error {error}")
    route = {"routeid": "eingang2", "comment": "an Weber", "lineid": "fax2", "alphaid": HOST,
             "userid": "weber"}
    omega.call("o_put_route_new_1", {"selection": 1, "v1": route})
    print_lines(omega)
    asked = {"lineid": "fax2", "absender": "Werft Nord", "outselection": 1}
    target = alpha.call("a_apply_route_new_1", {"selection": 2, "v2": asked})["v1"]
    print(f"a fax on fax2 goes to {target['userid']}")


def clean_up(omega: Server) -> None:
    omega.call("o_del_route_new_1", {"selection": 0, "v0": {"routeid": "eingang2"}})
    error = omega.call("o_del_faxl_new_1", {"selection": 0, "v0": {"lineid": "fax2"}})
    print(f"line fax2 deleted: error {error}")
    gone = omega.call("o_del_user_1", {"alphaid": HOST, "userid": "weber"})
    print("user weber deleted:", gone)


def main() -> None:
    with Server("omega") as omega, Server("alpha") as alpha:
        print_users(omega)
        change_users(omega, alpha)
        change_lines(omega, alpha)
        clean_up(omega)


if __name__ == "__main__":
    run(main)
