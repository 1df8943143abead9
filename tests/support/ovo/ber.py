"""Just enough BER (X.690) for SNMPv2c messages (RFC 1901, RFC 3416).

Object identifiers are tuples of numbers; a binding is what the agent said of one of them.
"""

from typing import NamedTuple

SEQUENCE, INTEGER, OCTETS, NULL, OID = 0x30, 2, 4, 5, 6
IP_ADDRESS, COUNTER32, GAUGE32, TIMETICKS, COUNTER64 = 0x40, 0x41, 0x42, 0x43, 0x46

KINDS = {INTEGER: "INTEGER", OCTETS: "OCTET STRING", NULL: "NULL", OID: "OBJECT IDENTIFIER",
         IP_ADDRESS: "IpAddress", COUNTER32: "Counter32", GAUGE32: "Gauge32",
         TIMETICKS: "TimeTicks", COUNTER64: "Counter64", 0x44: "Opaque",
         0x80: "noSuchObject", 0x81: "noSuchInstance", 0x82: "endOfMibView"}
TAGS = {kind: tag for tag, kind in KINDS.items()}
_SIGNED, _UNSIGNED = {INTEGER}, {COUNTER32, GAUGE32, TIMETICKS, COUNTER64}
_EXCEPTIONS = {0x80, 0x81, 0x82}


def oid(text):
    """The tuple of a dotted text (or of a tuple)."""
    return tuple(map(int, text.split("."))) if isinstance(text, str) else tuple(text)


def dotted(arcs):
    return ".".join(map(str, arcs))


class Binding(NamedTuple):
    oid: tuple
    kind: str
    value: object = None

    def __str__(self):
        value = dotted(self.value) if self.kind == "OBJECT IDENTIFIER" else self.value
        return f"{dotted(self.oid)} = {self.kind}: {value}"


def tlv(tag, body):
    size = len(body)
    if size < 128:
        return bytes([tag, size]) + body
    return bytes([tag, 0x82]) + size.to_bytes(2, "big") + body


def integer(value, tag=INTEGER):
    return tlv(tag, value.to_bytes(value.bit_length() // 8 + 1, "big", signed=True))


def _septets(arc):
    parts = [arc & 0x7F]
    while arc := arc >> 7:
        parts.append(arc & 0x7F | 0x80)
    return bytes(reversed(parts))


def oid_body(arcs):
    return b"".join(map(_septets, (arcs[0] * 40 + arcs[1], *arcs[2:])))


def _arcs(body):
    arcs, arc = [], 0
    for octet in body:
        arc = arc << 7 | octet & 0x7F
        if not octet & 0x80:
            arcs.append(arc)
            arc = 0
    return (min(arcs[0] // 40, 2), arcs[0] - 40 * min(arcs[0] // 40, 2), *arcs[1:])


def encode_value(kind, value=None):
    tag = TAGS[kind]
    if tag in _SIGNED | _UNSIGNED:
        return integer(value, tag)
    return tlv(tag, oid_body(value) if tag == OID else value or b"")


def encode_binding(arcs, kind="NULL", value=None):
    return tlv(SEQUENCE, tlv(OID, oid_body(arcs)) + encode_value(kind, value))


def take(data, start=0):
    """The tag and body of the element at `start`, and where it ends."""
    size, body = data[start + 1], start + 2
    if size & 0x80:
        body, first = body + (size & 0x7F), body
        size = int.from_bytes(data[first:body], "big")
    return data[start], data[body:body + size], body + size


def elements(data):
    start = 0
    while start < len(data):
        tag, body, start = take(data, start)
        yield tag, body


def decode_binding(data):
    (_, name), (tag, body) = elements(data)
    if tag in _SIGNED | _UNSIGNED:
        value = int.from_bytes(body, "big", signed=tag in _SIGNED)
    elif tag in _EXCEPTIONS or tag == NULL:
        value = None
    else:
        value = _arcs(body) if tag == OID else body
    return Binding(_arcs(name), KINDS[tag], value)
