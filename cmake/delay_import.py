# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
"""Delay-loaded imports for GNU's linker, in the layout that MSVC's linker produces.

generate: writes an assembler source with the delay-load descriptor, its tables, and a thunk for
each symbol that object files import from a DLL.
patch: enters the descriptors into the linked image's header, where the loading helpers look.
"""

import argparse
import struct
import subprocess
import sys

# Not .didat, which LLVM's linker puts into .rdata.
SECTION = ".qvdelay"
DIRECTORY_ENTRY = 13
# The descriptor and the null descriptor that ends the list.
DIRECTORY_SIZE = 2 * 32

HEAD = """\
    .section {section}, "dr"
descriptor:
    .long 1                     # The addresses are relative to the image.
    .rva dll_name, module, address_table, name_table
    .long 0                     # No bound imports.
    .rva unload_table
    .long 0
    .fill 8, 4, 0

    .section .rdata, "dr"
dll_name:
    .asciz "{dll}"

    .text
    .balign 16
    .seh_proc load
load:                           # rax holds the address of the import's slot.
    movq %rcx, 8(%rsp)          # The caller's home space for the arguments in registers.
    movq %rdx, 16(%rsp)
    movq %r8, 24(%rsp)
    movq %r9, 32(%rsp)
    subq $0x68, %rsp
    .seh_stackalloc 0x68
    .seh_endprologue
    movdqa %xmm0, 0x20(%rsp)
    movdqa %xmm1, 0x30(%rsp)
    movdqa %xmm2, 0x40(%rsp)
    movdqa %xmm3, 0x50(%rsp)
    leaq descriptor(%rip), %rcx
    movq %rax, %rdx
    call __delayLoadHelper2
    movdqa 0x20(%rsp), %xmm0
    movdqa 0x30(%rsp), %xmm1
    movdqa 0x40(%rsp), %xmm2
    movdqa 0x50(%rsp), %xmm3
    addq $0x68, %rsp
    movq 8(%rsp), %rcx
    movq 16(%rsp), %rdx
    movq 24(%rsp), %r8
    movq 32(%rsp), %r9
    jmp *%rax
    .seh_endproc
"""

THUNK = """\
    .globl {symbol}
{symbol}:
    jmp *__imp_{symbol}(%rip)
load_{index}:
    leaq __imp_{symbol}(%rip), %rax
    jmp load
"""


def symbols_of(nm, files, kinds):
    """The names of the symbols of these kinds, each once."""
    output = subprocess.run([nm, *files], check=True, capture_output=True, text=True).stdout
    found = set()
    for line in output.splitlines():
        words = line.split()
        if len(words) >= 2 and words[-2] in kinds:
            found.add(words[-1])
    return found


def wanted_symbols(arguments):
    mark = f"{len(arguments.namespace)}{arguments.namespace}"
    wanted = sorted(
        name.removeprefix("__imp_")
        for name in symbols_of(arguments.nm, arguments.objects, {"U"})
        if mark in name
    )
    # The import library has a callable entry for a function, and none for data.
    functions = symbols_of(arguments.nm, [arguments.import_library], {"T"})
    for name in wanted:
        if name not in functions or name.startswith(("_ZTI", "_ZTV", "_ZTS", "_ZTT")):
            sys.exit(f"error: {arguments.dll} has no function {name}, and data cannot be delayed")
    if not wanted:
        sys.exit(f"error: nothing is imported from {arguments.dll}")
    return wanted


def table(label, entries, section):
    lines = [f"    .section {section}", "    .balign 8", f"{label}:"]
    return lines + entries + ["    .quad 0"]


def generate(arguments):
    symbols = wanted_symbols(arguments)
    lines = [HEAD.format(section=SECTION, dll=arguments.dll)]
    for index, symbol in enumerate(symbols):
        lines.append(THUNK.format(symbol=symbol, index=index))

    slots = []
    for index, symbol in enumerate(symbols):
        slots += [f"    .globl __imp_{symbol}", f"__imp_{symbol}:", f"    .quad load_{index}"]
    loads = [f"    .quad load_{index}" for index in range(len(symbols))]
    names = [f"    .rva name_{index}\n    .long 0" for index in range(len(symbols))]
    lines += table("module", [], ".data")
    lines += table("address_table", slots, ".data")
    lines += table("unload_table", loads, '.rdata, "dr"')
    lines += table("name_table", names, '.rdata, "dr"')
    for index, symbol in enumerate(symbols):
        lines += ["    .balign 2", f"name_{index}:", "    .short 0", f'    .asciz "{symbol}"']
    with open(arguments.output, "w", encoding="ascii", newline="\n") as file:
        file.write("\n".join(lines) + "\n")


def checksum(image, field):
    """The image's checksum, taken with zero in its own field."""
    data = bytes(image[:field]) + bytes(4) + bytes(image[field + 4 :])
    words = struct.unpack(f"<{(len(data) + 1) // 2}H", data + bytes(len(data) % 2))
    total = sum(words)
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return total + len(data)


def patch(arguments):
    with open(arguments.image, "rb") as file:
        image = bytearray(file.read())
    header = struct.unpack_from("<I", image, 0x3C)[0]
    section_count, optional_size = struct.unpack_from("<H12xH", image, header + 6)
    optional = header + 24
    sections = optional + optional_size
    for index in range(section_count):
        name, _, address = struct.unpack_from("<8sII", image, sections + 40 * index)
        if name.rstrip(b"\0").decode("ascii") == SECTION:
            break
    else:
        sys.exit(f"error: {arguments.image} has no section {SECTION}")
    struct.pack_into("<II", image, optional + 112 + 8 * DIRECTORY_ENTRY, address, DIRECTORY_SIZE)
    struct.pack_into("<I", image, optional + 64, checksum(image, optional + 64))
    with open(arguments.image, "wb") as file:
        file.write(image)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    commands = parser.add_subparsers(required=True)
    command = commands.add_parser("generate")
    command.add_argument("--nm", required=True)
    command.add_argument("--dll", required=True)
    command.add_argument("--namespace", required=True)
    command.add_argument("--import-library", required=True)
    command.add_argument("--output", required=True)
    command.add_argument("objects", nargs="+")
    command.set_defaults(run=generate)
    command = commands.add_parser("patch")
    command.add_argument("image")
    command.set_defaults(run=patch)
    arguments = parser.parse_args()
    arguments.run(arguments)


if __name__ == "__main__":
    main()
