"""A bus client of the barest kind, so that a test can send what no library would: calls without an interface."""
import os
import socket
import struct

CALL, RETURN, ERROR, SIGNAL = 1, 2, 3, 4
BUS = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus")


def _pad(data, size):
    return data + b"\0" * (-len(data) % size)


def _text(text):
    raw = text.encode()
    return struct.pack("<I", len(raw)) + raw + b"\0"


def _body(signature, values):
    data = b""
    for kind, value in zip(signature.replace("a{sv}", "m"), values):
        data = _pad(data, 4) + (_text(value) if kind == "s" else struct.pack("<I", value))
        if kind == "m":  # only the empty map is ever sent
            data = _pad(data, 8)
    return data


class Connection:
    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(30)
        self.socket.connect(path)
        self.input = self.socket.makefile("rb")
        self.socket.sendall(b"\0AUTH EXTERNAL " + str(os.getuid()).encode().hex().encode() + b"\r\n")
        if not self.input.readline().startswith(b"OK"):
            raise ConnectionError("the bus refuses the connection")
        self.socket.sendall(b"BEGIN\r\n")
        self.serial = 0
        self.waiting = []
        self.name = self.bus("Hello")[2]

    def bus(self, member, signature="", *values):
        """Calls the bus itself. Returns (type, error name, first text of the body)."""
        return self.call(*BUS, member, signature, *values)

    def call(self, destination, path, interface, member, signature="", *values):
        serial = self.send(CALL, destination, path, interface, member, signature, *values)
        while True:
            message = self.receive()
            if message[0] != CALL and message[1].get(5) == serial:
                return message[0], message[1].get(4, ""), message[2]
            self.waiting.append(message)

    def send(self, kind, destination, path, interface, member, signature="", *values, answers=0):
        fields = b"\x05\x01u\0" + struct.pack("<I", answers) if answers else b""
        for code, kind_of_field, value in ((1, "o", path), (2, "s", interface), (3, "s", member), (6, "s", destination)):
            if value:
                fields = _pad(fields, 8) + bytes((code, 1)) + kind_of_field.encode() + b"\0" + _text(value)
        if signature:
            fields = _pad(fields, 8) + b"\x08\x01g\0" + bytes((len(signature),)) + signature.encode() + b"\0"
        body = _body(signature, values)
        self.serial += 1
        head = struct.pack("<cBBBIII", b"l", kind, 0, 1, len(body), self.serial, len(fields))
        self.socket.sendall(_pad(head + fields, 8) + body)
        return self.serial

    def receive(self):
        head = self.input.read(16)
        if len(head) < 16:
            raise ConnectionError("the bus closed the connection")
        _, kind, _, _, body_size, serial, fields_size = struct.unpack("<cBBBIII", head)
        raw = self.input.read(fields_size + -fields_size % 8)
        body = self.input.read(body_size)
        fields, at = {0: serial}, 0
        while at < fields_size:
            at += -at % 8
            code, signature = raw[at], raw[at + 2:at + 3]
            at += 4
            if signature == b"u":
                fields[code] = struct.unpack_from("<I", raw, at)[0]
                at += 4
            else:
                size = raw[at] if signature == b"g" else struct.unpack_from("<I", raw, at)[0]
                at += 1 if signature == b"g" else 4
                fields[code] = raw[at:at + size].decode()
                at += size + 1
        text = ""
        if fields.get(8, "").startswith("s"):
            text = body[4:4 + struct.unpack_from("<I", body)[0]].decode()
        return kind, fields, text

    def messages(self):
        while True:
            yield self.waiting.pop(0) if self.waiting else self.receive()

    def arrived(self):
        """What came unasked up to now; the bus keeps the order, so its answer comes behind all of it."""
        self.bus("GetId")
        messages, self.waiting = self.waiting, []
        return messages
