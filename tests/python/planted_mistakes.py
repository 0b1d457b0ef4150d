"""A script with mistakes for type checkers to name: each line that has one says so."""

from kvrpc_tools import Alpha, Omega
from kvrpc_tools.arguments import LoginArg, SendNewArg
from kvrpc_tools.results import LoginRes

login: LoginArg = {"userid": "meier", "passwor": "geheim"}
none_given: LoginArg = {}
misspelt: LoginArg = {"userid": "meier", "passwort": "geheim"}  # mistake
send: SendNewArg = {"selection": 1, "v1": {"userid": "meier", "poolfaxid": 7}}
wrong_arm: SendNewArg = {"selection": 1, "v0": {}}  # mistake
no_case: SendNewArg = {"selection": 2, "v1": {}}  # mistake
inside: SendNewArg = {"selection": 1, "v1": {"userid": "meier", "poolfaxidd": 7}}  # mistake

with Alpha("fax.example", check=True, timeout=5.0) as alpha:
    session: LoginRes = alpha.a_login_1(login)
    number: int = session["loginid"] + session["err"]
    print(session["loginnid"])  # mistake
    alpha.a_login_1({"userid": 5})  # mistake
    alpha.a_login_1()  # mistake
    alpha.a_logn_1(login)  # mistake
    for entry in alpha.a_get_s_1({"loginid": number})["first"]:
        print(entry["data"]["comment"].upper(), entry["data"]["prio"] + 1)
        print(entry["next"])  # mistake
        print(entry["data"]["prio"].upper())  # mistake
    raw = alpha.a_get_s_1({"loginid": number}, raw=True)
    print(raw["first"]["next"]["next"])
    sent = alpha.a_send_new_1(send, timeout=1)
    print(sent["v0"]["errcode"], sent["v1"])  # mistake
    alpha.a_gamma_1([{"a_g_dok": "x"}, {}])
    alpha.a_gamma_1({"a_g_dok": "x"})  # mistake
    line: str = alpha.a_get_faxl_1("line")["lineid"]
    alpha.a_get_faxl_1(1)  # mistake
    alpha.a_get_faxl_1("line", chek=False)  # mistake
    now: str = alpha.a_get_jetzt_1()  # mistake
    anything = alpha.call("a_" + line, {"any": 1}, raw=True, check=False)

with Omega() as omega:
    omega.a_login_1(login)  # mistake
    omega.o_get_alpha_ll_1({})  # mistake
