"""Which values of the interface are secret, and how to leave them out of what people read."""

from __future__ import annotations

from typing import Any, List, Tuple

from .schema import SECRETS

MASK = "***"

# The whole argument of these procedures is a secret.
ARGUMENTS = frozenset(("o_check_admpw_1", "o_cha_licence_1"))


def masked(procedure: str, argument: Any) -> Any:
    """Returns a copy of an argument with a mask in the place of each secret.

    For example, {"passwor": "geheim", "userid": "meier"} becomes {"passwor": "***", ...}.
    """
    return MASK if procedure in ARGUMENTS else masked_value(argument)


def masked_value(value: Any) -> Any:
    """Returns a copy of a value, an argument or a result, with a mask in the place of each secret.

    Values may be nested to any depth.
    """
    top: List[Any] = [value]
    unread: List[Tuple[Any, Any]] = [(top, 0)]  # containers of the copy, and places in them
    while unread:
        container, place = unread.pop()
        found = container[place]
        if isinstance(found, dict):
            copy: Any = {key: MASK if key in SECRETS else each for key, each in found.items()}
            places: Any = copy
        elif isinstance(found, (list, tuple)):
            copy = list(found)
            places = range(len(copy))
        else:
            continue
        container[place] = copy
        unread.extend((copy, each) for each in places)
    return top[0]
