"""The exact reply texts of calls that failed, written down apart from the code under test."""

CANTENCODEARGS, CANTDECODERES, CANTSEND, CANTRECV, TIMEDOUT = 1, 2, 3, 4, 5
AUTHERROR, PROGUNAVAIL, PROGVERSMISMATCH, PROCUNAVAIL, CANTDECODEARGS, SYSTEMERROR, FAILED = (
    7, 8, 9, 10, 11, 12, 16)

TEXTS = {
    CANTENCODEARGS: "RPC: Can't encode arguments",
    CANTDECODERES: "RPC: Can't decode result",
    CANTSEND: "RPC: Unable to send",
    CANTRECV: "RPC: Unable to receive",
    TIMEDOUT: "RPC: Timed out",
    AUTHERROR: "RPC: Authentication error",
    PROGUNAVAIL: "RPC: Program unavailable",
    PROGVERSMISMATCH: "RPC: Program/version mismatch",
    PROCUNAVAIL: "RPC: Procedure unavailable",
    CANTDECODEARGS: "RPC: Server can't decode arguments",
    SYSTEMERROR: "RPC: Remote system error",
    FAILED: "RPC: Failed (unspecified error)",
}


def failure(status, member="", text=""):
    """Returns the reply of a failed call. `member` follows `re_status`, and `text` the status's
    text."""
    return (f'{{"status":3,"rpc_err":{{"re_status":{status}{member}}},'
            f'"message":"rpc_call: {TEXTS[status]}{text}\\n"}}').encode("ascii")


def socket_failure(status, number):
    return failure(status, f',"re_errno":{number}', f"- Error {number}")


LOST = socket_failure(CANTRECV, 10054)
UNDECODABLE = failure(CANTDECODERES)

STATUS = '{"l_get_status_1":null}'
STATUS_REPLY = (b'{"status":0,"message":"ok","result":{"state_fax":1,"state_gateways":2,'
                b'"state_daemons":3,"state_drivers":4}}')
VERSION = '{"l_version_1":null}'
VERSION_REPLY = b'{"status":0,"message":"ok","result":7}'
