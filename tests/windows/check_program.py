#!/usr/bin/env python3
"""Checks what a program for Windows has to be: check_program.py PROGRAM... [--version VERSION]
[--console]

64-bit, without a console (or with one), not executing data, loaded at a changing address from the whole address
space, with the manifest, icon and version that players and Windows look at, and without a DLL that
Windows does not bring."""

import argparse
import pathlib
import re
import struct
import sys

# Part of every Windows 10 and 11.
SYSTEM_DLLS = {
    "advapi32", "authz", "bcrypt", "comdlg32", "crypt32", "d3d11", "d3d9", "dnsapi", "dwmapi",
    "dwrite", "dxgi", "gdi32", "imm32", "iphlpapi", "kernel32", "mpr", "msvcrt", "ncrypt", "netapi32",
    "ole32", "oleaut32", "secur32", "setupapi", "shcore", "shell32", "shlwapi", "user32", "userenv",
    "uxtheme", "version", "winhttp", "winmm", "winspool.drv", "ws2_32", "wtsapi32"}
MANIFEST_WORDS = ("asInvoker", "PerMonitorV2", "longPathAware", "UTF-8",
                  "8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a")
X86_64, GUI, CONSOLE, PE32_PLUS = 0x8664, 2, 3, 0x20B
HIGH_ENTROPY, DYNAMIC_BASE, NO_EXECUTE = 0x20, 0x40, 0x100
RELOCATIONS_STRIPPED = 0x1
EXPORTS, IMPORTS, RESOURCES, RELOCATIONS, DEBUG = 0, 1, 2, 5, 6
ICON_GROUP, VERSION, MANIFEST = 14, 16, 24


class Program:
    def __init__(self, path):
        self.data = path.read_bytes()
        start = self.word(0x3C, "<I")
        assert self.data[start:start + 4] == b"PE\0\0", "not a program for Windows"
        (self.machine, sections, self.time, _, _, optional_size,
         self.characteristics) = struct.unpack_from("<HHIIIHH", self.data, start + 4)
        optional = start + 24
        self.magic = self.word(optional, "<H")
        self.image_base = self.word(optional + 24, "<Q")
        self.subsystem, self.dll_characteristics = struct.unpack_from("<HH", self.data, optional + 68)
        self.directories = [struct.unpack_from("<II", self.data, optional + 112 + 8 * number)
                            for number in range(16)]
        self.sections = [struct.unpack_from("<8sIIII", self.data, optional + optional_size + 40 * n)
                         for n in range(sections)]
        self.section_flags = [self.word(optional + optional_size + 40 * n + 36, "<I")
                              for n in range(sections)]

    def word(self, offset, form):
        return struct.unpack_from(form, self.data, offset)[0]

    def offset(self, address):
        for _, size, start, raw_size, raw in self.sections:
            if start <= address < start + max(size, raw_size):
                return raw + address - start
        raise AssertionError(f"address {address:#x} lies in no section")

    def dlls(self):
        at = self.offset(self.directories[IMPORTS][0])
        while name := self.word(at + 12, "<I"):
            text = self.data[self.offset(name):]
            yield text[:text.index(b"\0")].decode("ascii").lower()
            at += 20

    def resources(self, kind):
        """The raw bytes of all resources of a kind."""
        root = self.offset(self.directories[RESOURCES][0])

        def leaves(at):
            named, numbered = struct.unpack_from("<HH", self.data, at + 12)
            for number in range(named + numbered):
                name, target = struct.unpack_from("<II", self.data, at + 16 + 8 * number)
                yield name, target

        def walk(at):
            for _, target in leaves(at):
                if target & 0x80000000:
                    yield from walk(root + (target & 0x7FFFFFFF))
                else:
                    address, size = struct.unpack_from("<II", self.data, root + target)
                    yield self.data[self.offset(address):][:size]

        return [leaf for name, target in leaves(root) if name == kind
                for leaf in walk(root + (target & 0x7FFFFFFF))]


def faults(program, version, console):
    if program.machine != X86_64 or program.magic != PE32_PLUS:
        yield "is no 64-bit program for x86-64"
    if program.subsystem != (CONSOLE if console else GUI):
        yield "has no console" if console else "opens a console"
    for bit, name in ((NO_EXECUTE, "execution of data is not refused"),
                      (DYNAMIC_BASE, "the load address is fixed"),
                      (HIGH_ENTROPY, "the load address is not taken from 64 bits")):
        if not program.dll_characteristics & bit:
            yield name
    if program.characteristics & RELOCATIONS_STRIPPED or not program.directories[RELOCATIONS][1]:
        yield "has no relocations, so that the load address cannot change"
    if program.image_base < 1 << 32:
        yield "is made for the low 4 GiB of the address space"
    for (name, *_), flags in zip(program.sections, program.section_flags):
        if flags & 0x20000000 and flags & 0x80000000:
            yield f"section {name!r} is writable and executable"
    if not program.directories[DEBUG][1]:
        yield "has no build id for crash reports"
    if b".debug_info" in program.data:
        yield "carries its symbols"
    for dll in program.dlls():
        if dll.removesuffix(".dll") not in SYSTEM_DLLS and not dll.startswith("api-ms-win-"):
            yield f"needs {dll}, which Windows does not bring"
    manifests = program.resources(MANIFEST)
    if len(manifests) != 1:
        yield f"has {len(manifests)} manifests"
    for word in MANIFEST_WORDS:
        if not all(word.encode() in manifest for manifest in manifests):
            yield f"its manifest does not name {word}"
    if not program.resources(ICON_GROUP):
        yield "has no icon"
    versions = program.resources(VERSION)
    if len(versions) != 1:
        yield "has no version"
    elif version and "ProductVersion\0".encode("utf-16-le") not in versions[0]:
        yield "its version names no product version"
    elif version and f"{version}\0".encode("utf-16-le") not in versions[0]:
        yield f"its version is not {version}"


def faults_of_notices(notices, program):
    """The libraries that the notices name are those that the program is made of."""
    text = notices.read_text()
    qt = re.search(r"^Qt (\d+\.\d+\.\d+) ", text, re.MULTILINE)
    if not qt or f"Qt {qt[1]} (".encode() not in program.data:
        yield "names another Qt than the program holds"
    if "@" in text:
        yield "names something without its version"
    for name in re.findall(r"\b[a-z0-9.-]+\.txt\b", text):
        if not (notices.parent / "licences" / name).is_file():
            yield f"{name} is missing"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("programs", nargs="+", type=pathlib.Path)
    parser.add_argument("--version")
    parser.add_argument("--console", action="store_true")
    arguments = parser.parse_args()
    bad = False
    for path in arguments.programs:
        for fault in faults(Program(path), arguments.version, arguments.console):
            print(f"{path.name}: {fault}")
            bad = True
        notices = path.parent / "third-party-notices.txt"
        if path.name in ("vornak-launcher.exe", "vornak-publish.exe"):
            for fault in faults_of_notices(notices, Program(path)):
                print(f"{notices.name}: {fault}")
                bad = True
    return bad


if __name__ == "__main__":
    sys.exit(main())
