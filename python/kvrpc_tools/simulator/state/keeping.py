"""The state of a family as JSON, and back.

A family names in `KEPT` the attributes that make its state, with the class of what they hold if
that is a dataclass: `KEPT = {"_documents": Document, "_last_id": None}`.

    Table               a list of rows
    dataclass           an object of its fields
    dict with str keys  an object
    other dicts         a list of [key, value]
    bytes               {"base64": TEXT}
"""

from __future__ import annotations

import base64
import dataclasses
from typing import Any, Dict, Optional, Type

from kvrpc_tools.check import did_you_mean
from kvrpc_tools.simulator.state.table import Table

Kept = Dict[str, Optional[Type[Any]]]


def save(family: Any) -> Dict[str, Any]:
    """Returns the state of a family."""
    return {name.lstrip("_"): _saved(getattr(family, name)) for name in family.KEPT}


def load(family: Any, state: Dict[str, Any]) -> None:
    """Replaces the state of a family. What `state` does not name stays.

    Raises ValueError for a name that the family does not keep.
    """
    owner = type(family).__name__
    names = {name.lstrip("_"): name for name in family.KEPT}
    if not isinstance(state, dict):
        raise ValueError(f"{owner} is an object with some of {', '.join(names)}")
    for key, value in state.items():
        if key not in names:
            raise ValueError(f"{owner} keeps no {key}{did_you_mean(key, names)} "
                             f"(it keeps {', '.join(names)})")
        try:
            _load_one(family, names[key], value)
        except (AttributeError, KeyError, TypeError, ValueError) as error:
            raise ValueError(f"{key} of {owner} cannot be loaded: {error!r}") from error


def _load_one(family: Any, name: str, value: Any) -> None:
    current = getattr(family, name)
    loaded = _loaded(value, family.KEPT[name])
    if isinstance(current, Table):
        current.replace(loaded)
    elif isinstance(current, dict) and isinstance(loaded, list):
        setattr(family, name, {_hashable(key): item for key, item in loaded})
    elif isinstance(loaded, type(current)):
        setattr(family, name, loaded)
    else:
        raise TypeError(f"{type(loaded).__name__} in the place of {type(current).__name__}")


def _saved(value: Any) -> Any:
    if isinstance(value, Table):
        return [_saved(row) for row in value.rows()]
    if dataclasses.is_dataclass(value) and not isinstance(value, type):
        return {field.name: _saved(getattr(value, field.name))
                for field in dataclasses.fields(value)}
    if isinstance(value, dict):
        if all(isinstance(key, str) for key in value) and value:
            return {key: _saved(item) for key, item in value.items()}
        return [[_saved(key), _saved(item)] for key, item in value.items()]
    if isinstance(value, (list, tuple)):
        return [_saved(item) for item in value]
    return {"base64": base64.b64encode(value).decode()} if isinstance(value, bytes) else value


def _loaded(value: Any, kind: Optional[Type[Any]]) -> Any:
    if isinstance(value, list):
        return [_loaded(item, kind) for item in value]
    if isinstance(value, dict):
        if set(value) == {"base64"}:
            return base64.b64decode(value["base64"])
        fields = {field.name for field in dataclasses.fields(kind)} if kind else set()
        items = {key: _loaded(item, None) for key, item in value.items()}
        return kind(**items) if kind is not None and set(items) == fields else items
    return value


def _hashable(key: Any) -> Any:
    return tuple(key) if isinstance(key, list) else key
