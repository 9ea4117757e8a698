"""Requests to a daemon of either byte order, and a few hundred of them to try it with."""

import random
import re
import socket
import struct
import xml.etree.ElementTree as ElementTree

ROOT = "InternetGatewayDevice."


class Client:
    """Speaks to the daemon behind a socket, with lengths in its byte order ("<" or ">")."""

    def __init__(self, path, order):
        self.path = path
        self.order = order

    def message(self, body):
        return struct.pack(self.order + "i", len(body)) + body

    def ask(self, *texts):
        """The messages of an answer, the result last."""
        with self._send([self.message(text.encode() + b"\0") for text in texts]) as link:
            return self._messages(link)

    def ask_wrongly(self, messages):
        """Sends messages as they are. Of a request that it cannot read the daemon neither answers nor closes the
        connection; it is done with it when it has served the next one."""
        with self._send(messages) as link:
            self.ask("2", ROOT)
            link.setblocking(False)
            return self._messages(link)

    def _send(self, messages):
        link = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        link.settimeout(30)
        try:
            link.connect(self.path)
            link.sendall(b"".join(messages))
            link.shutdown(socket.SHUT_WR)
        except OSError:
            link.close()
            raise
        return link

    def _messages(self, link):
        answer = bytearray()
        try:
            while piece := link.recv(65536):
                answer += piece
        except (BlockingIOError, ConnectionResetError):
            pass
        found = []
        at = 0
        while at < len(answer):
            (length,) = struct.unpack_from(self.order + "i", answer, at)
            found.append(bytes(answer[at + 4 : at + 4 + length]))
            at += 4 + length
        return found


class Model:
    """The paths of a defaults file. Live parameters are left out: two daemons measure at two moments."""

    def __init__(self, file):
        self.parameters, self.objects, self.tables = [], [], []
        self._walk(ElementTree.parse(file).getroot().find("OBJECT"), "")

    def _walk(self, element, around):
        path = around + element.get("name")
        self.objects.append(path)
        for child in element:
            name = child.get("name")
            if child.tag == "PARAMETER" and not child.get("function"):
                self.parameters.append(path + name)
            elif child.tag == "OBJECT":
                if name == "0.":
                    self.tables.append(path)
                self._walk(child, path)


NUMBERS = ["", "0", "1", "2", "3", "4", "7", "12", "007", "-1", "99999", "123456", "x", "2147483648", "-2147483649"]
VALUES = [
    "",
    "0",
    "1",
    "192.168.1.7",
    "a & b < c > d \" e ' f",
    "gr\u00fc\u00df \u4f60\u597d",
    "4294967295",
    "\x01\x7f",
    "0001-01-01T00:00:00Z",
    "w" * 1500,
]


def random_requests(model, seed, count):
    """Yields the texts of requests, most of them sensible."""
    dice = random.Random(seed)

    def path():
        place = dice.choice([model.parameters, model.parameters, model.objects, model.tables])
        chosen = dice.choice(place)
        if dice.random() < 0.1:
            chosen = chosen[: dice.randrange(len(chosen) + 1)]
        if dice.random() < 0.1:
            chosen = re.sub(r"\.\d+\.", f".{dice.choice(NUMBERS)}.", chosen, count=1)
        return chosen

    def table():
        return path() if dice.random() < 0.1 else dice.choice(model.tables)

    def number():
        return dice.choice(NUMBERS)

    for _ in range(count):
        command = dice.choice(
            [0] * 6 + [1, 1] + list(range(2, 10)) + [10] * 5 + [11, 12, 12, 13, 14, 14, 14, 15, 16, 17]
            + [18, 18, 21, 23, 24, 25, 26, 27, 28, 31, 32, -1, 34, 2147483647]
        )
        if command in (0, 23):
            yield str(command), path(), dice.choice(VALUES)
        elif command in (1, 24):
            yield str(command), path(), f"{dice.randrange(-1, 17)},{dice.choice('012x')}"
        elif command in (10, 11, 12, 14, 15):
            yield str(command), table(), number()
        elif command == 18:
            yield str(command), number(), number(), table()
        elif command == 21:
            yield str(command), path(), path()
        else:
            yield str(command), path()


def broken_requests(client):
    """Messages that no daemon can read, built for the byte order of one."""
    lengths = [-1, 0, 32770, 2147483647, -2147483648]
    for length in lengths:
        yield [struct.pack(client.order + "i", length)]
        yield [struct.pack(client.order + "i", length), b"2\0"]
        yield [client.message(b"2\0"), struct.pack(client.order + "i", length), b"x\0"]
    yield [b"\0"]
    yield [client.message(b"2")]
    yield [client.message(b"\xff\0"), client.message(b"\xfe\xff\0")]
    yield [client.message(b"2\0"), client.message(b"I" * 32768 + b"\0")]
