"""A small SNMPv2c client, for tests that ask thousands of times and in odd ways.

One socket, one request at a time, no retries. (What people use instead: clients_test.)
"""

import os
import socket
from typing import NamedTuple

from ovo import ber

GET, GETNEXT, SET, GETBULK = 0xA0, 0xA1, 0xA3, 0xA5
ERRORS = {0: "noError", 1: "tooBig", 2: "noSuchName", 3: "badValue", 4: "readOnly", 5: "genErr",
          6: "noAccess", 7: "wrongType", 8: "wrongLength", 9: "wrongEncoding", 10: "wrongValue",
          11: "noCreation", 12: "inconsistentValue", 13: "resourceUnavailable",
          14: "commitFailed", 15: "undoFailed", 16: "authorizationError", 17: "notWritable"}


class Silence(Exception):
    """No answer in time."""


class Answer(NamedTuple):
    error: str
    index: int
    bindings: list


def decoded(status, index, bindings):
    """An answer as it came, decoded."""
    status = int.from_bytes(status, "big")
    return Answer(ERRORS.get(status, f"error {status}"), int.from_bytes(index, "big"),
                  [ber.decode_binding(one) for _, one in ber.elements(bindings)])


class Client:
    """Asks 127.0.0.1:PORT of the network namespace in which it was made."""

    patience = 30.0  # seconds for an answer: of a sanitized daemon, on a machine that is busy

    def __init__(self, port, community="public"):
        self._socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self._socket.connect(("127.0.0.1", port))
        self._community = ber.tlv(ber.OCTETS, community.encode())
        self._request = int.from_bytes(os.urandom(2), "big")

    def close(self):
        self._socket.close()

    def fileno(self):
        return self._socket.fileno()

    def get(self, *oids):
        return self.exchange(GET, [ber.encode_binding(ber.oid(one)) for one in oids])

    def getnext(self, *oids):
        return self.exchange(GETNEXT, [ber.encode_binding(ber.oid(one)) for one in oids])

    def getbulk(self, *oids, repetitions=10, once=0):
        """The first `once` of the names are asked as by GETNEXT (RFC 3416's non-repeaters)."""
        return self.exchange(GETBULK, [ber.encode_binding(ber.oid(one)) for one in oids],
                             once, repetitions)

    def set(self, *bindings):
        """Each an object identifier, a kind and a value."""
        return self.exchange(SET, [ber.encode_binding(ber.oid(one), kind, value)
                                   for one, kind, value in bindings])

    def walk(self, root, repetitions=0):
        """Every binding below `root`, by GETNEXT, or by GETBULK of so many repetitions."""
        root = last = ber.oid(root)
        while True:
            answer = (self.getbulk(last, repetitions=repetitions) if repetitions
                      else self.getnext(last))
            assert answer.error == "noError", answer
            for binding in answer.bindings:
                if binding.oid[:len(root)] != root or binding.kind == "endOfMibView":
                    return
                yield binding
            last = answer.bindings[-1].oid

    def bulk_bytes(self, name, repetitions):
        """A GETBULK of the encoded name: the answer's bindings as they came."""
        binding = ber.tlv(ber.SEQUENCE, ber.tlv(ber.OID, name) + b"\5\0")
        status, _, bindings = self.raw(GETBULK, [binding], 0, repetitions)
        assert not any(status), ERRORS.get(status[0])
        return bindings

    def raw(self, kind, bindings, first=0, second=0, version=1, timeout=None):
        """One request and its answer as it came: error status, error index, bindings."""
        self._request += 1
        pdu = ber.integer(self._request) + ber.integer(first) + ber.integer(second)
        pdu += ber.tlv(ber.SEQUENCE, b"".join(bindings))
        message = ber.tlv(ber.SEQUENCE,
                          ber.integer(version) + self._community + ber.tlv(kind, pdu))
        self._socket.settimeout(timeout or self.patience)
        try:
            self._socket.send(message)
            while True:
                _, _, (_, answer) = ber.elements(ber.take(self._socket.recv(65536))[1])
                (_, request), *parts = ber.elements(answer)
                if int.from_bytes(request, "big") == self._request:
                    return tuple(body for _, body in parts)
        except (TimeoutError, ConnectionRefusedError) as silence:
            raise Silence(f"no answer in {timeout or self.patience} s") from silence

    def exchange(self, kind, bindings, first=0, second=0, timeout=None):
        """One request and its answer; `first` and `second` as the PDU has them."""
        return decoded(*self.raw(kind, bindings, first, second, timeout=timeout))

    def ask(self, oid, kind=GET, timeout=1.0):
        """An integer, octets, an exception's or an error's name, or None when nothing came."""
        try:
            answer = self.exchange(kind, [ber.encode_binding(ber.oid(oid))], timeout=timeout)
        except Silence:
            return None
        if answer.error != "noError":
            return answer.error
        binding = answer.bindings[0]
        return binding.kind if binding.value is None else binding.value
