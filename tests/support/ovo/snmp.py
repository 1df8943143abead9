"""A small SNMPv2c client, for tests that ask thousands of times.

Speaks just enough BER (X.690) and SNMPv2c (RFC 1901, RFC 3416) for GET and GETNEXT of one object;
the functional scenarios use the net-snmp tools instead.
"""

import os
import socket

GET, GETNEXT = 0xA0, 0xA1
ERRORS = {5: "genErr", 2: "noSuchName"}
EXCEPTIONS = {0x80: "noSuchObject", 0x81: "noSuchInstance", 0x82: "endOfMibView"}


def _tlv(tag, body):
    size = len(body)
    return bytes([tag, size] if size < 128 else [tag, 0x82, size >> 8, size & 0xFF]) + body


def _integer(value):
    return _tlv(2, value.to_bytes(value.bit_length() // 8 + 1, "big"))


def _oid(text):
    arcs = [int(arc) for arc in text.split(".")]
    body = bytearray([arcs[0] * 40 + arcs[1]])
    for arc in arcs[2:]:
        septets = [arc & 0x7F]
        while arc := arc >> 7:
            septets.append(arc & 0x7F | 0x80)
        body += bytes(reversed(septets))
    return _tlv(6, bytes(body))


def _take(data):
    """The first element's tag and body, and what follows it."""
    size, start = data[1], 2
    if size & 0x80:
        start += size & 0x7F
        size = int.from_bytes(data[2:start], "big")
    return data[0], data[start:start + size], data[start + size:]


def _reply(data):
    _, message, _ = _take(data)
    _, _, rest = _take(message)      # version
    _, _, rest = _take(rest)         # community
    _, pdu, _ = _take(rest)
    _, request, rest = _take(pdu)
    _, status, rest = _take(rest)
    _, _, rest = _take(rest)         # error index
    _, binding, _ = _take(_take(rest)[1])
    tag, value, _ = _take(_take(binding)[2])
    number = int.from_bytes(status, "big")
    if number:
        return int.from_bytes(request, "big"), ERRORS.get(number, f"error {number}")
    value = int.from_bytes(value, "big", signed=True) if tag == 2 else value
    return int.from_bytes(request, "big"), EXCEPTIONS.get(tag, value)


class Client:
    """Asks 127.0.0.1:PORT of the network namespace in which it was made."""

    def __init__(self, port, community="public"):
        self._socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self._socket.connect(("127.0.0.1", port))
        self._community = community.encode()
        self._request = int.from_bytes(os.urandom(2), "big")

    def close(self):
        self._socket.close()

    def ask(self, oid, kind=GET, timeout=1.0):
        """An integer, octets, an exception's or an error's name, or None when nothing came."""
        self._request += 1
        pdu = _integer(self._request) + _integer(0) + _integer(0)
        pdu += _tlv(0x30, _tlv(0x30, _oid(oid) + _tlv(5, b"")))
        message = _integer(1) + _tlv(4, self._community) + _tlv(kind, pdu)
        self._socket.settimeout(timeout)
        try:
            self._socket.send(_tlv(0x30, message))
            while True:
                request, answer = _reply(self._socket.recv(65536))
                if request == self._request:
                    return answer
        except (TimeoutError, ConnectionRefusedError):
            return None
