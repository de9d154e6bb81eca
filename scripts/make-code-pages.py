#!/usr/bin/env python3
"""Writes zktool/CodePages.inc: the code pages of table headers, from Python's own codecs.

    python3 scripts/make-code-pages.py > zktool/CodePages.inc

Pages with characters of several bytes (932, 936, 949, 950) and those that Python lacks (Kamenicky,
Mazovia) are left out: zktool then keeps valid UTF-8 and takes anything else for Windows-1252.
"""

# Codec -> the header bytes that name it.
DRIVERS = {
    "cp437": [0x01, 0x09, 0x0B, 0x0D, 0x0F, 0x11, 0x15, 0x18, 0x19, 0x1B],
    "cp737": [0x6A, 0x86],
    "cp850": [0x02, 0x0A, 0x0E, 0x10, 0x12, 0x14, 0x16, 0x1A, 0x1D, 0x25, 0x37],
    "cp852": [0x1F, 0x22, 0x23, 0x40, 0x64, 0x87],
    "cp857": [0x6B, 0x88],
    "cp860": [0x24],
    "cp861": [0x67],
    "cp863": [0x1C, 0x6C],
    "cp865": [0x08, 0x17, 0x66],
    "cp866": [0x26, 0x65],
    "cp874": [0x50, 0x7C],
    "cp1250": [0xC8],
    "cp1251": [0xC9],
    "cp1252": [0x03, 0x57, 0x58, 0x59],
    "cp1253": [0xCB],
    "cp1254": [0xCA],
    "cp1255": [0x7D],
    "cp1256": [0x7E],
    "cp1257": [0xCC],
    "mac_roman": [0x04],
    "mac_cyrillic": [0x96],
    "mac_latin2": [0x97],
    "mac_greek": [0x98],
}


def character(codec, byte):
    """What the byte means; an unassigned one stays a control character or becomes U+FFFD."""
    try:
        return ord(bytes([byte]).decode(codec))
    except UnicodeDecodeError:
        return byte if byte < 0xA0 else 0xFFFD


def upper_half(codec):
    lines = []
    for start in range(0x80, 0x100, 8):
        codes = (f"0x{character(codec, b):04X}" for b in range(start, start + 8))
        lines.append("    " + ", ".join(codes) + ",")
    return "\n".join(lines)


def main():
    print("// Made by scripts/make-code-pages.py; change that instead.\n")
    for codec in DRIVERS:
        print(f"constexpr char16_t kUpper_{codec}[128] = {{\n{upper_half(codec)}\n}};\n")
    print("constexpr Page kPages[] = {")
    for driver, codec in sorted((d, c) for c, drivers in DRIVERS.items() for d in drivers):
        print(f'    {{0x{driver:02X}, "{codec}", kUpper_{codec}}},')
    print("};")


if __name__ == "__main__":
    main()
