#!/usr/bin/env python3
"""Writes engine/UpperMaps.inc: upper case of the code pages that UPPER() knows.

    python3 scripts/make-upper-maps.py > engine/UpperMaps.inc

A letter whose capital is no single character of its page stays as it is.
"""

CODECS = ["cp437", "cp850", "cp1252"]


def upper(codec, byte):
    try:
        capital = bytes([byte]).decode(codec).upper().encode(codec)
    except UnicodeError:
        return byte
    return capital[0] if len(capital) == 1 else byte


def main():
    print("// Made by scripts/make-upper-maps.py; change that instead.")
    for codec in CODECS:
        print(f"\nconstexpr unsigned char kUpper_{codec}[128] = {{  // from 0x80")
        for start in range(0x80, 0x100, 16):
            print("    " + ", ".join(f"{upper(codec, b):3}" for b in range(start, start + 16)) + ",")
        print("};")


if __name__ == "__main__":
    main()
