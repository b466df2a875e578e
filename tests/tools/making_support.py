"""What the tests of sample, damage, plugins, export and import share beside support.py."""

import json
import os
import struct

from support import BEGIN, SECOND, Case

# ---- damage ------------------------------------------------------------------------------------

INPUT = bytes(range(1, 251)) * 400


class DamageCase(Case):
    def setUp(self):
        super().setUp()
        self.write("a.vkt", INPUT)

    def damaged(self, *arguments):
        """Status 0, the output and the lines of the ledger."""
        ledger = ("--ledger", "ledger", "--force")
        out = self.run_program("damage", "a.vkt", *ledger, *arguments, expect=0).out
        return out, [json.loads(line) for line in self.read("ledger").decode().splitlines()]

    def redo(self, ledger, output):
        """Does to the input what the ledger tells."""
        data = bytearray(INPUT)
        for entry in ledger:
            at, length = entry["output_offset"], entry["length"]
            if entry["kind"] == "change":
                self.assertEqual(data[at], entry["before"])
                data[at] = entry["after"]
            elif entry["kind"] == "zero":
                data[at : at + length] = bytes(length)
            elif entry["kind"] == "cut":
                del data[at : at + length]
            else:
                data[at:at] = output[at : at + length]
        return bytes(data)


# ---- plugins -----------------------------------------------------------------------------------

PLUGINS = os.environ["VEKTRACE_PLUGINS"]

PING = 0x8008
ETHERNET = 0x0004
# Where the fields lie behind the magic number.
INTERFACE = 8
SIZE = 12
NAME = 16
VERSION = 80


def plugin(name):
    return os.path.join(PLUGINS, name + ".so")


class PluginCase(Case):
    def copy(self, name, new, offset=None, value=b""):
        """A copy of a plugin with some bytes behind its magic number replaced."""
        with open(plugin(name), "rb") as file:
            data = file.read()
        if offset is not None:
            self.assertEqual(data.count(b"VEKPLUG\0"), 1)
            at = data.index(b"VEKPLUG\0") + offset
            data = data[:at] + value + data[at + len(value) :]
        return self.write(new, data)

    def refused(self, path):
        """Nothing of the plugin ran, and nothing else was done. Returns the reason."""
        result = self.run_program("plugins", "--plugin", path, expect=1)
        self.assertEqual(result.out, b"")
        self.assertNotIn("initialised", self.files())
        prefix = "vektrace: " + path + ": "
        self.assertTrue(result.complaint.startswith(prefix), result.complaint)
        return result.complaint[len(prefix) :].rstrip("\n")


# ---- export and import -------------------------------------------------------------------------

USER0 = 147
ETHERNET_LINK = 1
LAST_SECOND = 2**32 - 1


def head(order="<", magic=0xA1B2C3D4, link=USER0, snaplen=262144):
    return struct.pack(order + "IHHiIII", magic, 2, 4, 0, 0, snaplen, link)


def packet(data, stamp, order="<", nanoseconds=False, length=None):
    fraction = stamp % SECOND * (1000 if nanoseconds else 1)
    length = len(data) if length is None else length
    return struct.pack(order + "IIII", stamp // SECOND, fraction, len(data), length) + data


def capture(records, stamps=None, **options):
    stamps = stamps or [BEGIN + i * SECOND for i in range(len(records))]
    return head() + b"".join(packet(r, s, **options) for r, s in zip(records, stamps))


class CaptureCase(Case):
    def export(self, trace, expect=0):
        return self.run_program("export", input=trace, expect=expect).out

    def imported(self, data, expect=0):
        return self.run_program("import", input=data, expect=expect).out
