"""What the DLL's file says of itself: windows_dll_test.py DLL EXPORT-LIST VERSION.

Its exports are exactly the list's names, functions in code and "ZK_" names in data; it needs only
DLLs that every Windows has; its resource tells the version."""

import re
import struct
import sys

SYSTEM_DLLS = {"advapi32.dll", "kernel32.dll", "mpr.dll", "msvcrt.dll", "ole32.dll",
               "oleaut32.dll", "shell32.dll", "user32.dll", "version.dll"}
CODE = 0x20


class Image:
    def __init__(self, path):
        with open(path, "rb") as file:
            self.bytes = file.read()
        head = self.number("<I", 0x3C)
        assert self.bytes[head:head + 4] == b"PE\0\0"
        self.machine, count = self.number("<H", head + 4), self.number("<H", head + 6)
        optional = head + 24
        assert self.number("<H", optional) == 0x10B, "32 bits"
        self.directories = [struct.unpack_from("<II", self.bytes, optional + 96 + 8 * i)
                            for i in range(16)]
        first = optional + self.number("<H", head + 20)
        # (address, size, place in the file, flags)
        self.sections = [(self.number("<I", at + 12), self.number("<I", at + 8),
                          self.number("<I", at + 20), self.number("<I", at + 36))
                         for at in range(first, first + 40 * count, 40)]

    def number(self, form, at):
        return struct.unpack_from(form, self.bytes, at)[0]

    def section(self, address):
        return next(s for s in self.sections if s[0] <= address < s[0] + s[1])

    def place(self, address):
        start, _, place, _ = self.section(address)
        return place + address - start

    def text(self, address):
        at = self.place(address)
        return self.bytes[at:self.bytes.index(b"\0", at)].decode("ascii")

    def exports(self):
        """Name and whether it is code, for each."""
        table = self.place(self.directories[0][0])
        count, functions, names, ordinals = (
            self.number("<I", table + at) for at in (24, 28, 32, 36))
        start, size = self.directories[0]
        for i in range(count):
            name = self.text(self.number("<I", self.place(names) + 4 * i))
            ordinal = self.number("<H", self.place(ordinals) + 2 * i)
            address = self.number("<I", self.place(functions) + 4 * ordinal)
            assert not start <= address < start + size, f"{name} is forwarded"
            yield name, self.section(address)[3] & CODE != 0

    def imports(self):
        at = self.place(self.directories[1][0])
        while self.number("<I", at + 12) != 0:
            yield self.text(self.number("<I", at + 12)).lower()
            at += 20

    def resources(self):
        start, size = self.directories[2]
        at = self.place(start)
        return self.bytes[at:at + size].decode("utf-16-le", "replace")


def main(dll, export_list, version):
    image = Image(dll)
    assert image.machine == 0x14C, "for 32-bit Intel processors"

    with open(export_list, encoding="ascii") as file:
        listed = re.findall(r"^[A-Za-z_]\w*", file.read(), re.MULTILINE)
    exports = dict(image.exports())
    assert sorted(exports) == sorted(listed), set(exports) ^ set(listed)
    assert len([name for name in exports if name.startswith("ZK_")]) == 6
    for name, code in exports.items():
        assert code == name.startswith("zk_"), f"{name} is in the wrong kind of section"

    foreign = set(image.imports()) - SYSTEM_DLLS
    assert not foreign, f"needs {foreign}"

    resources = image.resources()
    assert f"FileVersion\0{version}\0" in resources.replace("\0\0", "\0"), "no version resource"
    assert "ZK_BASELIB.dll" in resources


if __name__ == "__main__":
    main(*sys.argv[1:])
