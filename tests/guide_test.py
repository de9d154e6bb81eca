#!/usr/bin/env python3
"""guide_test.py COMPILER INCLUDE-DIR FILE.md...: compiles every C example of the documents."""

import re
import subprocess
import sys

BLOCK = re.compile(r"^```c\n(.*?)^```$", re.DOTALL | re.MULTILINE)
OPTIONS = ["-std=c99", "-Wall", "-Wextra", "-Werror", "-fsyntax-only", "-x", "c", "-"]


def main(compiler, include, *documents):
    failed = 0
    for document in documents:
        with open(document, encoding="utf-8") as file:
            text = file.read()
        blocks = list(BLOCK.finditer(text))
        if not blocks:
            sys.exit(f"{document}: no C examples")
        for block in blocks:
            line = text.count("\n", 0, block.start(1)) + 1
            source = f'#line {line} "{document}"\n{block[1]}'
            result = subprocess.run([compiler, "-I", include, *OPTIONS], input=source.encode())
            failed += result.returncode != 0
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
