"""Random values of the interface's types, the same ones for the same seed."""

import random

from kvrpc_tools.schema import WireType
from kvrpc_tools.simulator.characters import text_of


class Values:
    """Random values of any type."""

    def __init__(self, schema, seed):
        self._records = schema.records
        self._random = random.Random(seed)

    def of(self, kind):
        return getattr(self, "_" + kind.kind, self._number)(kind)

    def _number(self, kind):
        low, high = {"short": (-2**15, 2**15 - 1), "u_long": (0, 2**32 - 1)}.get(
            kind.kind, (-2**31, 2**31 - 1))
        return self._random.choice([0, low, high, self._random.randint(low, high)])

    def _bool(self, kind):
        return self._random.random() < 0.5

    def _nothing(self, kind):
        return None

    def _text(self, kind, room=40):
        size = self._random.randint(0, min(room, 40))
        return text_of(bytes(self._random.randint(1, 255) for _ in range(size)))

    def _chars(self, kind):
        return self._text(kind, kind.count - 1)

    _schars = _fixed_text = _counted_text = _chars
    _string = _text

    def _blob(self, kind):
        return self._random.randbytes(self._random.randint(0, 30))

    def _opaque(self, kind):
        return self._random.randbytes(kind.count)

    def _vector(self, kind):
        return [self.of(kind.item) for _ in range(kind.count)]

    def _array(self, kind):
        return [self._record(kind) for _ in range(self._random.randint(0, 4))]

    def _pointer(self, kind):
        return [self._fields(kind.record, False) for _ in range(self._random.randint(0, 4))]

    def _record(self, kind):
        record = self._records[kind.record]
        if not record.is_union:
            return self._fields(kind.record, True)
        arm = self._random.choice(record.fields)
        return {record.discriminant: arm.value, arm.key: self.of(arm.type)}

    def _fields(self, name, alone):
        value = {}
        for field in self._records[name].fields:
            if field.type.kind != "list_next":
                value[field.key] = self.of(field.type)
            elif alone:
                value[field.key] = self._pointer(WireType("pointer", record=name))
        return value
