"""Reads files of known answers."""

import os

TESTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")


class Answer(dict):
    """A block of `key = value` lines. Reading a value removes it, so whatever remains was not used."""

    def __init__(self, source, lines):
        super().__init__((key.strip(), value.strip()) for key, _, value in (line.partition("=") for line in lines))
        self.source = source

    def octets(self, key):
        return bytes.fromhex(self.pop(key))

    def message(self):
        if "message" in self:
            return self.octets("message")
        return self.octets("message_unit") * int(self.pop("message_repeat"))


def answers(name):
    """The blocks of a file under tests/, each with its source."""
    with open(os.path.join(TESTS, name), encoding="ascii") as file:
        for block in file.read().split("\n\n"):
            lines = block.strip().split("\n")
            values = [line for line in lines if line and not line.startswith("#")]
            if not values:
                continue
            sources = [line for line in lines if line.startswith("# source:")]
            assert len(sources) == 1, block
            yield Answer(sources[0], values)
