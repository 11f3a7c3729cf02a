#!/usr/bin/env python3
"""Prints version and symbol store keys of programs and libraries: pe_image.py FILE..."""

import struct
import sys
from pathlib import Path


class Image:
    """The parts of a program or library that identify it."""

    def __init__(self, path):
        self.path = Path(path)
        self.bytes = self.path.read_bytes()
        header = self._number("<I", 0x3C)
        self.timestamp = self._number("<I", header + 8)
        optional = header + 24
        self.size = self._number("<I", optional + 56)
        sections = optional + self._number("<H", header + 20)
        self._sections = [struct.unpack_from("<III", self.bytes, sections + 40 * index + 12)
                          for index in range(self._number("<H", header + 6))]
        self._debug = struct.unpack_from("<II", self.bytes, optional + 112 + 6 * 8)

    def _number(self, form, offset):
        return struct.unpack_from(form, self.bytes, offset)[0]

    def _offset(self, address):
        for start, size, offset in self._sections:
            if start <= address < start + size:
                return offset + address - start
        raise ValueError(f"{self.path}: address {address:#x} is in no section")

    def version(self):
        """The version of the version resource, whose fixed part begins with a signature."""
        mark = self.bytes.find(struct.pack("<II", 0xFEEF04BD, 0x10000))
        if mark < 0:
            return None
        high, low = struct.unpack_from("<II", self.bytes, mark + 8)
        return f"{high >> 16}.{high & 0xFFFF}.{low >> 16}.{low & 0xFFFF}"

    def store_key(self):
        """The key of the file in a symbol store."""
        return f"{self.timestamp:08X}{self.size:x}"

    def pdb_key(self):
        """GUID and age of its PDB, in the form of a symbol store."""
        address, size = self._debug
        for entry in range(self._offset(address), self._offset(address) + size, 28) if size else ():
            kind, _, _, offset = struct.unpack_from("<IIII", self.bytes, entry + 12)
            if kind == 2 and self.bytes[offset:offset + 4] == b"RSDS":
                return key_of_pdb(self.bytes[offset + 4:offset + 20], self._number("<I", offset + 20))
        return None

    def pdb(self):
        return self.path.with_suffix(".pdb")


def key_of_pdb(guid, age):
    first, second, third = struct.unpack_from("<IHH", guid)
    return f"{first:08X}{second:04X}{third:04X}{guid[8:].hex().upper()}{age:X}"


def main():
    for path in sys.argv[1:]:
        image = Image(path)
        print(f"version {image.version()}\nkey {image.store_key()}\npdb key {image.pdb_key()}")


if __name__ == "__main__":
    main()
