#!/usr/bin/env python3
"""header-filter.py HEADER: writes a public header with its plain comments turned into Doxygen's.

The first comment becomes the page's own, a comment that begins with a "----" rule the heading of a
section, one behind code the text of that member. A comment above several declarations in a row
belongs to each of them. Lines that are indented further than the text keep their layout.
"""

import os
import re
import sys

EXPORTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "cmake", "exports.txt")
COMMENT = re.compile(r"/\*.*?\*/", re.DOTALL)
SECTION = re.compile(r"-{4,} (.*?) -{2,}\s*(.*)", re.DOTALL)
# Also words that would be taken for commands, entities and dashes.
SPECIAL = re.compile(r'[\\@&$#<>%"]|--|::')
LISTED = re.compile(r" *- ")
NUMBER = re.compile(r"((?:^|\. )\d+)\.(?= |$)")  # a sentence, not the start of a list
INDENT = 2  # what stands this far in is laid out by hand


def exported_names():
    with open(EXPORTS) as file:
        return set(re.findall(r"^zk_\w+", file.read(), re.MULTILINE))


FUNCTIONS = exported_names()


def prose(text):
    """Text that Doxygen shows as it is, with the functions in it linked."""
    text = SPECIAL.sub(lambda found: "\\" + found[0], text)
    text = NUMBER.sub(r"\1&zwnj;.", text)
    return re.sub(r"\bzk_\w+\b(?!\()",
                  lambda found: "#" + found[0] if found[0] in FUNCTIONS else found[0], text)


def body(comment):
    """The lines of a comment without its marks, up to the text's own indentation."""
    lines = comment[2:-2].rstrip().split("\n")
    lines = [re.sub(r"^ *\*( |$)|^ {3}(?=\S)", " " if i else "", line).rstrip()
             for i, line in enumerate(lines)]
    return [line.strip() if i == 0 else line[1:] for i, line in enumerate(lines)]


def documentation(lines):
    result = []
    block = False
    listed = False
    for line in lines:
        indent = len(line) - len(line.lstrip())
        listed = bool(LISTED.match(line)) or (listed and indent > 0)
        laid_out = line != "" and indent >= INDENT and not listed
        if laid_out != block and (line != "" or not block):
            result.append("@verbatim" if laid_out else "@endverbatim")
            block = laid_out
        result.append(line if block else prose(line))
    if block:
        result.append("@endverbatim")
    return "\n".join(result)


class Filter:
    def __init__(self, name):
        self.name = name
        self.out = []
        self.in_section = False
        self.shared = ""  # the comment of the declaration before, as long as no line is left free

    def put_comment(self, comment, first, behind_code):
        lines = body(comment)
        section = SECTION.match("\n".join(lines))
        if first:
            self.out.append(f"/** @file {self.name}\n{documentation(lines)}\n*/")
        elif section:
            self.close_section()
            text = documentation(section[2].split("\n"))
            self.out.append(f"/** @name {prose(section[1])}\n{text}\n*/\n/** @{{ */")
            self.in_section = True
            self.shared = ""
        elif behind_code:
            self.out.append(f"/**< {documentation(lines)} */")
        else:
            self.shared = f"/** {documentation(lines)} */"
            self.out.append(self.shared)

    def put_code(self, code):
        lines = code.split("\n")
        for i, line in enumerate(lines):
            if line.strip() == "" and 0 < i < len(lines) - 1:
                self.shared = ""
            elif line.startswith("ZK_EXTERN_C_END"):
                self.close_section()
            elif i > 1 and self.shared and line.startswith("ZK_API"):
                line = self.shared + "\n" + line
            self.out.append(line + ("\n" if i < len(lines) - 1 else ""))

    def close_section(self):
        if self.in_section:
            self.out.append("/** @} */\n")
        self.in_section = False

    def run(self, text):
        end = 0
        for found in COMMENT.finditer(text):
            self.put_code(text[end:found.start()])
            line_start = text.rfind("\n", 0, found.start()) + 1
            behind_code = text[line_start:found.start()].strip() != ""
            self.put_comment(found[0], found.start() == 0, behind_code)
            end = found.end()
        self.put_code(text[end:])
        self.close_section()
        return "".join(self.out)


if __name__ == "__main__":
    path = sys.argv[1]
    with open(path) as file:
        sys.stdout.write(Filter(os.path.basename(path)).run(file.read()))
