"""No argument, however odd, makes a procedure fail or answer in another shape than its own."""

from tests.python.simulator.values import Values

ROUNDS = 40
UNSPECIFIED = "o_cha_licence_1"

# What a caller may well have read from the installation before.
KNOWN = {"userid": "meier", "useru": "meier", "topf": 0, "faxid": 1, "loginid": 1, "lineid": "fax0",
         "tbuchid": "firma", "pos": 0, "page": 1, "seitennr": 1}


def likely(argument):
    """The argument with members that lead somewhere."""
    if not isinstance(argument, dict):
        return argument
    return {key: KNOWN[key] if key in KNOWN and type(KNOWN[key]) is type(value) else likely(value)
            for key, value in argument.items()}


def test_every_procedure_takes_every_argument(schema, call):
    values = Values(schema, "arguments")
    call("a_login_1", {"userid": "meier", "passwor": "geheim"})
    for round_number in range(ROUNDS):
        for name, procedure in schema.procedures.items():
            if name != UNSPECIFIED:
                argument = values.of(procedure.argument)
                call(name, likely(argument) if round_number % 2 else argument)
        call.time += 1
