"""Lists of the wire to Python lists and back, of any length, without recursion.

On the wire a list is a chain of nodes, each of which holds the rest of the list in its link, the
field `next`. In JSON text that is one object inside the other, as deep as the list is long, which
`json.loads` cannot read. So the text of a chain is rewritten to the text of an array before it is
parsed. There are two shapes, by the position of the link in the node:

    link first    {"next":{"next":null,"data":B},"data":A}    ->    [{"data":B},{"data":A}]
    link last     {"data":A,"next":{"data":B,"next":null}}    ->    [{"data":A},{"data":B}]

The array of the first shape is in reverse order and is reversed after the parse.

The rewriting replaces the text at the border of two nodes, `},"data":` and `,"next":{`. Neither can
match inside a string: a quote in a string has a backslash in front of it, and the quote that ends a
string is followed by one of `,:}]`. Nor can they match at another field, because `ResultLists`
raises ValueError for a result in which the same text could occur elsewhere.
"""

from __future__ import annotations

import json
from typing import Any, Callable, Dict, Iterator, List, NamedTuple, Optional, Sequence, Tuple, Union

from .schema import Field, Record, Schema, WireType

_value_at = json.JSONDecoder().raw_decode

_PIECE = 1 << 16  # characters, which take less than a millisecond to parse
OBJECTS = ("record", "pointer", "list_next")  # the kinds whose JSON text is an object


class Chain:
    """One kind of list: the text of its border, and how to rewrite it.

    `head` is the key of the field that leads to the first node.
    """

    def __init__(self, node: Record, head: str) -> None:
        link = node.link
        assert link is not None
        if link not in (node.fields[0], node.fields[-1]):
            raise ValueError(f"{node.name}: the link is neither the first field nor the last")
        self.record = node.name
        self.head = head
        self.link = link.key
        self.link_first = node.fields[0] is link
        self.after = node.fields[1].key if self.link_first else link.key  # the key in the border
        self._opening = f'{{"{node.fields[0].key}":'
        self._border = f'}},"{self.after}":' if self.link_first else f',"{self.after}":{{'
        # What the border becomes, and how much of it belongs to the node after it.
        self._between = "},{" + (self._border[len("},"):] if self.link_first else "")
        self._kept = len(self._border) - len("},") if self.link_first else 0

    def flatten(self, text: str) -> str:
        """Returns `text` with each list of this kind as an array."""
        head = f'"{self.head}":{self._opening}'
        pieces: List[str] = []
        done, at = 0, text.find(head)
        while at >= 0:
            next_head = text.find(head, at + len(head))
            stop = next_head if next_head >= 0 else len(text)
            first = at + len(head) - len(self._opening)
            begin, close, end = self._bounds(text, first, stop)
            array = text[begin:close].replace(self._border, self._between)
            pieces += text[done:first], "[{", array, "}]"
            done, at = end, next_head
        return "".join([*pieces, text[done:]])

    def take_out(self, text: str) -> Tuple[str, Iterator[str]]:
        """Returns `text` with an empty array for the list of this kind, and the list in pieces.

        There must be no more than one. Each piece is the text of an array of some hundred nodes.
        """
        head = f'"{self.head}":{self._opening}'
        at = text.find(head)
        if at < 0:
            return text, iter(())
        first = at + len(head) - len(self._opening)
        begin, close, end = self._bounds(text, first, len(text))
        return f"{text[:first]}[]{text[end:]}", self._pieces(text, begin, close)

    def nodes(self, text: str) -> Iterator[Dict[str, Any]]:
        """Yields the nodes of the list of this kind, first to last, parsed some hundred at a time.

        There must be no more than one list of this kind.
        """
        head = f'"{self.head}":{self._opening}'
        at = text.find(head)
        if at < 0:
            return
        first = at + len(head) - len(self._opening)
        begin, close, _ = self._bounds(text, first, len(text))
        pieces = self._pieces_from_the_end if self.link_first else self._pieces
        for piece in pieces(text, begin, close):
            nodes = json.loads(piece)
            yield from reversed(nodes) if self.link_first else nodes

    def _pieces_from_the_end(self, text: str, begin: int, close: int) -> Iterator[str]:
        while begin < close:
            cut = text.rfind(self._border, begin, max(begin, close - _PIECE))
            start = cut + len(self._border) - self._kept if cut >= 0 else begin
            yield "[{" + text[start:close].replace(self._border, self._between) + "}]"
            close = max(begin, cut)

    def _pieces(self, text: str, begin: int, close: int) -> Iterator[str]:
        while begin < close:
            cut = text.find(self._border, min(begin + _PIECE, close), close)
            stop = cut if cut >= 0 else close
            yield "[{" + text[begin:stop].replace(self._border, self._between) + "}]"
            begin = stop + len(self._border) - self._kept

    def _bounds(self, text: str, first: int, stop: int) -> Tuple[int, int, int]:
        find = self._link_first if self.link_first else self._link_last
        return find(text, first, stop)

    def _link_first(self, text: str, first: int, stop: int) -> Tuple[int, int, int]:
        """Returns where the nodes of one list begin and end, without braces, and the list's end.

        `first` is where its first node starts. Before `stop` there is no other list of this kind.
        """
        null = text.index("null", first)
        nodes = null + len("null,")
        if null - first == len(self._opening):  # one node
            last = nodes
        else:
            last = text.rindex(self._border, nodes, stop) + len("},")
        # The fields of the last node have no opening brace here, so the brace comes from elsewhere.
        _, end = _value_at("{" + text[last:stop])
        end += last - 1
        return nodes, end - 1, end

    def _link_last(self, text: str, first: int, stop: int) -> Tuple[int, int, int]:
        """Returns where the nodes of one list begin and end, without braces, and the list's end."""
        last_link = f',"{self.link}":null'
        end = text.index(last_link, first, stop)
        count = 1 + text.count(self._border, first, end)
        return first + 1, end, end + len(last_link) + count

    def nested(self, nodes: Sequence[Dict[str, Any]]) -> Optional[Dict[str, Any]]:
        """Returns the nodes nested as on the wire; None for an empty list."""
        rest: Optional[Dict[str, Any]] = None
        for node in reversed(nodes):
            rest = {self.link: rest, **node} if self.link_first else {**node, self.link: rest}
        return rest

    def is_border(self, before: Field, field: Field) -> bool:
        """Returns true if the border's text can occur between these two fields."""
        ends = before if self.link_first else field
        return field.key == self.after and ends.type.kind in OBJECTS


class Head(NamedTuple):
    """The field of a result that leads to a list.

    `path` leads from the result to the field. `inner` are the lists in each node, with paths that
    start at the node.
    """

    path: Tuple[str, ...]
    chain: Chain
    inner: Tuple[Head, ...]


class ResultLists:
    """The lists in the results of one type."""

    def __init__(self, schema: Schema, wire: WireType) -> None:
        self._heads = tuple(_heads(schema, wire))
        # The lists in a node come before the list of the nodes.
        self._chains = list(_chains(self._heads))[::-1]
        records = [schema.records[name] for name in sorted(schema.reachable(wire))]
        for chain in self._chains:
            _refuse_ambiguous(records, chain)

    def __bool__(self) -> bool:
        return bool(self._heads)

    def flatten(self, text: str) -> str:
        """Returns the text of a reply with an array in the place of each list."""
        for chain in self._chains:
            text = chain.flatten(text)
        return text

    def take_out(self, text: str) -> Tuple[str, List[Tuple[Head, Iterator[str]]]]:
        """Returns the text of a reply without its lists, and each list in pieces of an array."""
        outer = [head.chain for head in self._heads]
        for chain in self._chains:
            if chain not in outer:
                text = chain.flatten(text)
        taken = []
        for head in self._heads:
            text, pieces = head.chain.take_out(text)
            taken.append((head, pieces))
        return text, taken

    @property
    def only_record(self) -> str:
        """Returns the record of the nodes if there is one list outside of lists, else ""."""
        return self._heads[0].chain.record if len(self._heads) == 1 else ""

    def nodes(self, text: str) -> Iterator[Dict[str, Any]]:
        """Yields the nodes of the only list in the text of a reply."""
        (head,) = self._heads
        for chain in self._chains:
            if chain is not head.chain:
                text = chain.flatten(text)
        for node in head.chain.nodes(text):
            for inner in head.inner:
                _settle(node, inner, False)
            yield node

    def put_only(self, result: Any, nodes: Iterator[Any]) -> None:
        """Puts an iterator into the place of the only list of a parsed result."""
        put_in(result, self._heads[0], nodes)

    def settle(self, result: Any, raw: bool) -> None:
        """Puts the lists of a parsed result in order; with `raw`, nests them as on the wire."""
        for head in self._heads:
            _settle(result, head, raw)


def array_items(text: str, at: int) -> Iterator[Any]:
    """Yields the elements of the JSON array that begins at `at`, one parsed after the other."""
    at += 1
    while text[at] != "]":
        item, at = _value_at(text, at)
        yield item
        if text[at] == ",":
            at += len(", ")


def put_in(result: Any, head: Head, nodes: Union[List[Any], Iterator[Any]]) -> None:
    """Puts the nodes of a list that was taken out into its place in the parsed result."""
    *way, key = head.path
    for step in way:
        if step not in result:
            return
        result = result[step]
    result[key] = nodes


def _settle(record: Dict[str, Any], head: Head, raw: bool) -> None:
    *way, key = head.path
    for step in way:
        if step not in record:  # the arm of a union that is not selected
            return
        record = record[step]
    nodes = record[key] or []
    if head.chain.link_first:
        nodes.reverse()
    for inner in head.inner:
        for node in nodes:
            _settle(node, inner, raw)
    record[key] = head.chain.nested(nodes) if raw else nodes


def _heads(schema: Schema, wire: WireType) -> Iterator[Head]:
    """Yields the lists that a value of this type holds."""
    for field in schema.records[wire.record].fields if wire.record else ():
        if field.type.kind == "list_next" or not field.type.record:
            continue
        record = schema.records[field.type.record]
        inner = tuple(_heads(schema, field.type))
        if record.link is not None:
            yield Head((field.key,), Chain(record, field.key), inner)
        elif inner and field.type.kind != "record":
            raise ValueError(f"{wire.record}.{field.key}: a list in an array or behind a pointer")
        else:
            yield from (head._replace(path=(field.key, *head.path)) for head in inner)


def _chains(heads: Tuple[Head, ...]) -> Iterator[Chain]:
    for head in heads:
        yield head.chain
        yield from _chains(head.inner)


def _refuse_ambiguous(records: List[Record], chain: Chain) -> None:
    """Raises ValueError if the text of the border, or of the head, occurs at two fields."""
    heads = borders = 0
    for record in records:
        fields = record.fields
        heads += sum(each.key == chain.head and each.type.kind in OBJECTS for each in fields)
        borders += sum(map(chain.is_border, fields, fields[1:]))
    if (heads, borders) != (1, 1):
        raise ValueError(f"{chain.head}: {heads} fields of this key, {borders} possible borders")


def chain_text(argument: Any, link: str, encode: Callable[[Any], str]) -> str:
    """Returns the JSON text of a list of nodes, nested as on the wire.

    `argument` is a list of nodes, or the first of nodes that are nested already. Anything else is
    encoded as it is, for the module to refuse.
    """
    nodes = argument if isinstance(argument, (list, tuple)) else _nodes(argument, link)
    if not all(isinstance(node, dict) for node in nodes):
        return encode(argument)
    pieces = []
    for node in nodes:
        text = encode(node)[:-1]
        pieces.append(text + (f',"{link}":' if len(text) > 1 else f'"{link}":'))
    return "".join(pieces) + "null" + "}" * len(pieces)


def _nodes(chain: Any, link: str) -> List[Any]:
    """Returns the nodes of a chain without their links, and last what is neither node nor None."""
    nodes: List[Any] = []
    while isinstance(chain, dict):
        nodes.append({key: value for key, value in chain.items() if key != link})
        chain = chain.get(link)
    return nodes if chain is None else [*nodes, chain]
