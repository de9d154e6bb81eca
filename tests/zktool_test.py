#!/usr/bin/env python3
"""Tests of the command line: python3 tests/zktool_test.py PATH-TO-ZKTOOL [-v]

Independent readers (python3-dbfread, pgdbf, libdbd-xbase-perl) check what zktool writes and reads.
Tables written by other programs are taken from ZK_TEST_DATA (default: ../shared/data beside the
checkout); those tests are skipped when the folder is absent. ZK_TABLE_EDITOR names the program
table_editor, which changes records; without it, what needs changed records is skipped. ZK_LIBRARY
names the library; what needs the application component is skipped when that is not beside it.
"""

import csv
import datetime
import decimal
import glob
import io
import json
import os
import pty
import random
import re
import resource
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest

import dbfread

ZKTOOL = ""
HERE = os.path.dirname(os.path.abspath(__file__))
TABLE_EDITOR = os.environ.get("ZK_TABLE_EDITOR", "")
LIBRARY = os.environ.get("ZK_LIBRARY", "")
COMPONENT = os.path.join(os.path.dirname(LIBRARY), "JNApplication2.so")
DATA = os.environ.get("ZK_TEST_DATA", os.path.join(HERE, "..", "..", "shared", "data"))


def run(*arguments, **options):
    return subprocess.run([ZKTOOL, *arguments], capture_output=True, timeout=60, **options)


def make_table(path, fields, records, version=0x03, code_page=0):
    """Writes a table byte by byte: fields (name, type, width, decimals), records as raw bytes."""
    length = 1 + sum(width for _, _, width, _ in fields)
    header = struct.pack("<BBBBIHH17xB2x", version, 124, 5, 6, len(records),
                         32 * (len(fields) + 1) + 1, length, code_page)
    for name, kind, width, decimals in fields:
        header += struct.pack("<11sc4xBB14x", name.encode("latin-1"), kind.encode(), width,
                              decimals)
    for record in records:
        assert len(record) == length, (record, length)
    with open(path, "wb") as file:
        file.write(header + b"\r" + b"".join(records) + b"\x1a")


class Case(unittest.TestCase):
    maxDiff = 2000

    def setUp(self):
        self.directory = tempfile.mkdtemp(prefix="zktool-")
        self.addCleanup(shutil.rmtree, self.directory)

    def path(self, name):
        return os.path.join(self.directory, name)

    def write(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())
        return self.path(name)

    def contents(self):
        """Every file of the directory with its bytes."""
        result = {}
        for name in os.listdir(self.directory):
            with open(self.path(name), "rb") as file:
                result[name] = file.read()
        return result

    def ok(self, *arguments):
        result = run(*arguments)
        self.assertEqual((result.returncode, result.stderr), (0, b""), arguments)
        return result.stdout

    def fails(self, status, *arguments, **options):
        """The message; it must be one line on standard error alone."""
        result = run(*arguments, **options)
        message = result.stderr.decode()
        self.assertEqual((result.returncode, result.stdout), (status, b""), (arguments, message))
        self.assertRegex(message, r"\Azktool: [^\n]+\n\Z")
        return message

    def import_csv(self, content, *options, table="t.dbf"):
        return self.ok("import", self.path(table), self.write("in.csv", content), *options)

    def csv_rows(self, table="t.dbf", *options):
        text = self.ok("cat", self.path(table), "--format", "csv", *options)
        return list(csv.reader(io.StringIO(text.decode("latin-1"), newline="")))

    def json_rows(self, table="t.dbf", *options):
        return json.loads(self.ok("cat", self.path(table), "--format", "json", *options))

    def fields(self, table="t.dbf"):
        """(name, type, width, decimals) as `info` prints them."""
        text = self.ok("info", self.path(table)).decode()
        lines = text.split("\n\n")[1].splitlines()[1:]
        parts = [line.split() for line in lines]
        return [(name, kind, int(width), int(decimals)) for name, kind, width, decimals in parts]


class Usage(Case):
    def test_wrong_usage_is_2(self):
        table = self.write("t.dbf", b"")
        cases = [
            (),
            ("nonsense",),
            ("info",),
            ("info", table, "extra"),
            ("cat", table, "--format", "xml"),
            ("cat", table, "--limit", "-1"),
            ("cat", table, "--limit", "ten"),
            ("cat", table, "--unknown"),
            ("cat", table, "--index", "x.cdx"),
            ("seek", table),
            ("index", table),
            ("index", table, ""),
            ("index", table, "A,"),
            ("index", table, "A, ,B"),
            ("index", table, "A,B", "--tag", "X"),
            ("import", table),
            ("import", table, "x.csv", "--append", "--fields", "A,C,1"),
            ("pack",),
            ("ini",),
            ("ini", "get", "x.ini", "GROUP"),
            ("ini", "set", "x.ini", "GROUP", "NAME"),
            ("env", "expand"),
            ("messages", "list", "../GERMAN", "--directory", "."),
            ("messages", "list", "--format", "xml"),
            ("messages", "import", "GERMAN"),
            ("messages", "import", "a/b", "x.csv"),
        ]
        for fields in ["", ";", "A", "A,C", "A,C,0", "A,C,x", "A,N,5,5", "A,N,5,-1", "A,N,300",
                       "A,Q,4",
                       "A,D,9", "A,C,4,0", "ELEVENCHARS,C,1", ",C,1", "A B,C,1", "A,C,1;a,C,2"]:
            cases.append(("import", self.path("new.dbf"), "absent.csv", "--fields=" + fields))
        for arguments in cases:
            with self.subTest(arguments=arguments):
                self.fails(2, *arguments)

    def test_help_and_version(self):
        self.assertRegex(self.ok("--version"), rb"\Azktool \d+\.\d+\.\d+\n\Z")
        for arguments in [("--help",), ("info", "--help"), ("cat", "-h"), ("seek", "--help"),
                          ("index", "--help"), ("import", "--help"), ("pack", "--help")]:
            self.assertIn(b"Usage: zktool", self.ok(*arguments))

    def test_missing_and_damaged_files_are_1(self):
        damaged = self.write("damaged.dbf", b"this is no table at all, only some text in a file")
        for command, *more in [("info",), ("cat",), ("pack",), ("index", "A")]:
            with self.subTest(command=command):
                self.assertRegex(self.fails(1, command, self.path("absent"), *more),
                                 r"absent\.DBF: Opening File \(-60\)\n")
                self.assertIn("File is not a Data File (-200)",
                              self.fails(1, command, damaged, *more))
        self.assertIn("absent.csv: No such file",
                      self.fails(1, "import", self.path("t.dbf"), "absent.csv"))
        self.assertIn("(-60)", self.fails(1, "import", self.path("absent.dbf"),
                                          self.write("in.csv", "A\n1\n"), "--append"))
        self.assertIn("line 1: no header", self.fails(1, "import", self.path("t.dbf"), "/dev/null"))


class Info(Case):
    def test_facts_and_fields(self):
        make_table(self.path("t.dbf"), [("NAME", "C", 10, 0), ("PRICE", "N", 8, 2)],
                   [b" " + b"a" * 18, b"*" + b"b" * 18], code_page=0xC9)
        text = self.ok("info", self.path("T")).decode()
        for line in [r"version +0x03 .*", r"records +2", r"record length +19",
                     r"last update +2024-05-06",
                     r"code page +0xC9 \(cp1251\)"]:
            self.assertRegex(text, "(?m)^" + line + "$")
        self.assertNotIn("memo", text)
        self.assertNotIn("read-only", text)
        self.assertEqual(self.fields(), [("NAME", "C", 10, 0), ("PRICE", "N", 8, 2)])
        os.chmod(self.path("t.dbf"), 0o444)
        self.assertIn("read-only", self.ok("info", self.path("t.dbf")).decode())

    def test_memo_block_size(self):
        self.import_csv("A,NOTE\n1,hello\n", "--fields", "A,N,3;NOTE,M")
        self.assertRegex(self.ok("info", self.path("t")).decode(), r"(?m)^memo blocks +64 bytes$")


class Cat(Case):
    FIELDS = [("T", "C", 5, 0), ("N", "N", 6, 2), ("D", "D", 8, 0), ("L", "L", 1, 0)]

    def odd_table(self, **options):
        make_table(self.path("t.dbf"), self.FIELDS, [
            b" " + b"a,\"b " + b"  1.50" + b"20240131" + b"T",
            b"*" + b"gone " + b"  2.00" + b"20240201" + b"F",
            b" " + b" x   " + b"      " + b"        " + b" ",
            b" " + b"\r\ny  " + b"******" + b"20241399" + b"n",
            b" " + b"     " + b"    .5" + b"2024    " + b"?",
            b" " + b"     " + b"  -007" + b"00000000" + b"\x01",
            b" " + b"     " + b"  1.2." + b"00000000" + b"y",
        ], **options)

    def test_csv_is_exact(self):
        self.odd_table()
        self.assertEqual(self.ok("cat", self.path("t.dbf"), "--format", "csv"),
                         b'T,N,D,L\r\n'
                         b'"a,""b",1.50,20240131,T\r\n'
                         b' x,,,\r\n'
                         b'"\r\ny",******,20241399,n\r\n'
                         b',.5,2024,?\r\n'
                         b',-007,00000000,\x01\r\n'
                         b',1.2.,00000000,y\r\n')

    def test_json_values(self):
        self.odd_table()
        text = self.ok("cat", self.path("t.dbf"), "--format", "json").decode()
        self.assertIn('"N":1.50,', text)  # digits as stored
        rows = json.loads(text)
        self.assertEqual([list(row.values()) for row in rows], [
            ['a,"b', 1.5, "2024-01-31", True],
            [" x", None, None, None],
            ["\r\ny", "******", "2024-13-99", False],
            ["", 0.5, "2024", None],
            ["", -7, "0000-00-00", None],
            ["", "1.2.", "0000-00-00", True],
        ])

    def test_limit_and_deleted(self):
        self.odd_table()
        for options, texts in [(["--limit", "0"], []), (["--limit", "2"], ['a,"b', " x"]),
                               (["--limit", "2", "--deleted"], ['a,"b', "gone"])]:
            self.assertEqual([row["T"] for row in self.json_rows("t.dbf", *options)], texts)
            self.assertEqual([row[0] for row in self.csv_rows("t.dbf", *options)[1:]], texts)
        lines = self.ok("cat", self.path("t.dbf"), "--deleted").decode().splitlines()
        self.assertEqual([line for line in lines if line.startswith("*")],
                         ["* gone    2.00  20240201  F"])

    def test_where(self):
        self.odd_table()
        self.ok("index", self.path("t.dbf"), "T", "--descending", "--tag", "DOWN")
        cases = [  # options, values of T
            (["--where", "N > 1.4 .and. N < 3"], ['a,"b']),
            (["--where", "N>1.4 .AND. N<3", "--deleted"], ['a,"b', "gone"]),
            (["--where", "t = ' '", "--order", "down"], [" x", "", "", ""]),
            (["--where", "T = ' '", "--order", "DOWN", "--limit", "2"], [" x", ""]),
            (["--where", "DELETED()"], []),
            (["--where", "RECNO() = 7 .OR. RECNO() = 3"], [" x", ""]),
            (["--where", ""], ['a,"b', " x", "\r\ny", "", "", ""]),
        ]
        for options, texts in cases:
            with self.subTest(options=options):
                self.assertEqual([row["T"] for row in self.json_rows("t.dbf", *options)], texts)
                self.assertEqual([row[0] for row in self.csv_rows("t.dbf", *options)[1:]], texts)
        for condition, message in [("N +", "N +: Expression not Complete (-410)"),
                                   ("N", "N: Expecting logical result. (-950)"),
                                   ("NOBODY = 1", "NOBODY = 1: Unrecognized Value (-490)"),
                                   ("1/(RECNO()-1) > 0", ": Overflow while Evaluating Expression (-440), record 1")]:
            for limit in ["0", "5"]:
                self.assertIn(message, self.fails(1, "cat", self.path("t"), "--where", condition,
                                                  "--limit", limit))

    def test_empty_table(self):
        make_table(self.path("t.dbf"), self.FIELDS, [])
        self.assertEqual(self.json_rows(), [])
        self.assertEqual(self.json_rows("t.dbf", "--where", "N = 1"), [])
        self.assertEqual(self.csv_rows(), [["T", "N", "D", "L"]])
        self.assertEqual(len(self.ok("cat", self.path("t.dbf")).splitlines()), 2)

    def test_code_pages(self):
        cases = [
            (0xC9, "Привет".encode("cp1251"), "Привет"),
            (0x26, "Привет".encode("cp866"), "Привет"),
            (0x01, b"\x81\xe1", "üß"),
            (0x03, b"\x80\x81", "€\x81"),
            (0x00, "Größe".encode(), "Größe"),        # valid UTF-8 is kept
            (0x00, "Größe".encode("cp1252"), "Größe"),
            (0x00, b"\xed\xa0\x80", "í\xa0€"),        # a surrogate is not valid UTF-8
            (0x00, b"\xc0\xafA", "À¯A"),              # nor is an overlong form
            (0xEE, b"\xfc", "ü"),                     # an unknown page
        ]
        for code_page, raw, text in cases:
            with self.subTest(code_page=code_page, raw=raw):
                make_table(self.path("t.dbf"), [("A", "C", 10, 0)], [b" " + raw.ljust(10)],
                           code_page=code_page)
                self.assertEqual(self.json_rows(), [{"A": text}])
                self.assertIn(text, self.ok("cat", self.path("t.dbf")).decode())
                self.assertIn(raw, self.ok("cat", self.path("t.dbf"), "--format", "csv"))

    def test_fields_with_one_name_and_a_lone_empty_value(self):
        make_table(self.path("t.dbf"), [("A", "C", 2, 0), ("A", "C", 2, 0)], [b" 1 2 "])
        self.assertEqual(self.csv_rows(), [["A", "A"], ["1", "2"]])
        make_table(self.path("u.dbf"), [("A", "C", 2, 0)], [b"   ", b" x "])
        self.assertEqual(self.csv_rows("u.dbf"), [["A"], [""], ["x"]])

    def test_long_tables_stay_aligned(self):
        rows = ["A,B"] + ["x,1"] * 1500 + ["abcdefghij,123456"]
        self.import_csv("\n".join(rows))
        lines = self.ok("cat", self.path("t.dbf")).decode().splitlines()
        self.assertEqual({len(line) for line in lines}, {len("abcdefghij  123456")})

    def test_memo_lines_stay_in_their_column(self):
        self.import_csv('A,NOTE,B\n1,"first\r\nsecond",x\n', "--fields", "A,N,3;NOTE,M;B,C,1")
        self.assertEqual(self.ok("cat", self.path("t.dbf")).decode().splitlines()[2:],
                         ["1  first   x", "   second"])

    def test_terminal_shows_escapes_and_cuts(self):
        self.import_csv('A,NOTE\n1,"\x1b[31m\n' + "x" * 300 + '"\n')
        try:
            leader, follower = pty.openpty()
        except OSError as reason:
            self.skipTest(f"no pseudo-terminal to be had: {reason}")
        result = subprocess.run([ZKTOOL, "cat", self.path("t.dbf")], stdout=follower, timeout=60)
        os.close(follower)
        shown = os.read(leader, 65536).decode()
        os.close(leader)
        self.assertEqual(result.returncode, 0)
        self.assertIn(r"\x1B[31m\nxxx", shown)
        self.assertNotIn("\x1b", shown)
        self.assertNotIn("x" * 61, shown)
        self.assertIn(b"\x1b[31m", self.ok("cat", self.path("t.dbf")))

    def test_unreadable_memo(self):
        self.import_csv("A,NOTE\n1,good\n2,bad\n3,bad\n4,good too\n", "--fields", "A,N,3;NOTE,M")
        memo = bytearray(self.contents()["t.fpt"])
        at = memo.find(b"bad")
        memo[at - 4:at] = b"\x7f\xff\xff\xff"  # a length beyond the file
        self.write("t.fpt", bytes(memo))
        for form in ["csv", "json", "table"]:
            result = run("cat", self.path("t.dbf"), "--format", form)
            self.assertEqual(result.returncode, 1)
            self.assertRegex(result.stderr,
                             rb"\Azktool: [^\n]*t\.(dbf|fpt): [^\n]*record 2, field NOTE\n\Z")
            self.assertIn(b"good too", result.stdout)
        csv_text = run("cat", self.path("t.dbf"), "--format", "csv").stdout
        self.assertEqual(csv_text, b"A,NOTE\r\n1,good\r\n2,\r\n3,bad\r\n4,good too\r\n")

    def test_closed_pipe_is_quiet_and_full_disk_is_not(self):
        self.import_csv("A\n" + "some text in a row\n" * 20000)
        for form in ["csv", "json", "table"]:
            process = subprocess.Popen([ZKTOOL, "cat", self.path("t.dbf"), "--format", form],
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            process.stdout.read(10)
            process.stdout.close()
            self.assertEqual((process.stderr.read(), process.wait(60)), (b"", 0))
            process.stderr.close()
            with open("/dev/full", "wb") as full:
                result = subprocess.run([ZKTOOL, "cat", self.path("t.dbf"), "--format", form],
                                        stdout=full, stderr=subprocess.PIPE, timeout=60)
            self.assertEqual(result.returncode, 1)
            self.assertRegex(result.stderr, rb"\Azktool: standard output: No space[^\n]*\n\Z")


@unittest.skipUnless(os.path.isfile(os.path.join(DATA, "setup.CDX")),
                     "no index of another program (ZK_TEST_DATA)")
class Tags(Case):
    """The tag KEY_NAME of three records in an index that another program wrote."""
    KEYS = ["CALLS", "CONTACTS", "CONTACT_TYPES"]
    TAG_HEADER = 1536  # where the index has that tag's header

    def setUp(self):
        super().setUp()
        for name in ["setup.dbf", "setup.CDX"]:
            with open(os.path.join(DATA, name), "rb") as file:
                self.write(name, file.read())

    def patch(self, name, offset, content):
        data = bytearray(self.contents()[name])
        data[offset:offset + len(content)] = content
        self.write(name, bytes(data))

    def patch_tag(self, offset, content):
        self.patch("setup.CDX", self.TAG_HEADER + offset, content)

    def add_table_without_production_index(self, mode):
        shutil.copy(self.path("setup.dbf"), self.path("plain.dbf"))
        self.patch("plain.dbf", 28, b"\0")
        os.chmod(self.path("plain.dbf"), mode)
        return self.path("plain.dbf")

    def seek(self, *arguments, table="setup"):
        """(exit status, record number or None, message)"""
        result = run("seek", self.path(table), *arguments)
        record = re.match(r"record (\d+)", result.stdout.decode())
        return result.returncode, record and int(record[1]), result.stderr.decode()

    def test_info(self):
        def tags():
            return self.ok("info", self.path("setup")).decode().split("\n\n")[2].splitlines()

        file, heading, *lines = tags()
        self.assertRegex(file, r"^index +\S*setup\.CDX$")
        self.assertEqual(heading.split(), ["tag", "key", "length", "keys", "flags", "expression"])
        self.assertEqual([line.split() for line in lines],
                         [["KEY_NAME", "50", "3", "candidate", "key_name"]])
        self.patch_tag(502, b"\1")
        self.assertRegex(tags()[2], "candidate, descending  key_name$")
        self.patch_tag(14, b"\x61")
        self.assertRegex(tags()[2], "unique, descending  key_name$")
        self.patch_tag(512, b"no_field")
        self.assertRegex(tags()[3], r"^  no seeks, as its keys cannot be evaluated: .+ \(-\d+\)$")
        root = struct.unpack_from("<I", self.contents()["setup.CDX"], self.TAG_HEADER)[0]
        self.patch("setup.CDX", root, b"\xff" * 512)
        _, message, _, line, _ = tags()
        self.assertEqual(message.strip(), "Corrupt index file (-310): zktool check --repair " +
                         self.path("setup"))
        self.assertEqual(line.split()[2], "?")

    def test_cat_in_order(self):
        for descending in [False, True]:
            self.patch_tag(502, bytes([descending]))
            rows = self.csv_rows("setup.dbf", "--order", "key_name")[1:]
            self.assertEqual([row[0] for row in rows], sorted(self.KEYS, reverse=descending))
        rows = self.csv_rows("setup.dbf", "--order", "KEY_NAME", "--limit", "1")[1:]
        self.assertEqual([row[0] for row in rows], self.KEYS[2:])
        self.assertEqual([row[0] for row in self.csv_rows("setup.dbf")[1:]], self.KEYS)
        self.patch_tag(512, b"no_field")  # a walk needs no keys of its own
        self.assertEqual(len(self.csv_rows("setup.dbf", "--order", "KEY_NAME")), 4)

    def test_unknown_tags(self):
        plain = self.add_table_without_production_index(0o444)
        for message, *arguments in [
                ("no tag NAME", "cat", self.path("setup"), "--order", "NAME"),
                ("no tag ", "cat", self.path("setup"), "--order", ""),
                ("no tag NAME", "seek", self.path("setup"), "CALLS", "--tag", "NAME"),
                ("no tag KEY_NAME", "cat", plain, "--order", "KEY_NAME"),
                ("no tag", "seek", plain, "CALLS")]:
            with self.subTest(arguments=arguments):
                self.assertTrue(self.fails(1, *arguments).endswith(f": {message}\n"))

    def test_seek(self):
        cases = [  # key, exit status, record, message
            ("CALLS", 0, 1, ""),
            ("CALLS".ljust(60), 0, 1, ""),  # no more than the key's length counts
            ("CONT", 0, 2, ""),
            ("CONTACT_", 0, 3, ""),
            ("", 0, 1, ""),
            ("CB", 0, 2, "this is the next greater one"),
            ("calls", 1, None, "and no next greater one"),
            ("D", 1, None, "and no next greater one"),
        ]
        for key, *expected in cases:
            for options in [(), ("--tag", "key_name")]:
                with self.subTest(key=key, options=options):
                    status, record, message = self.seek(key, *options)
                    self.assertEqual([status, record], expected[:2])
                    self.assertEqual(message.count("\n"), 1 if expected[2] else 0)
                    self.assertIn(expected[2], message)
        self.assertEqual(self.ok("seek", self.path("setup"), "CALLS"),
                         b"record 1\nKEY_NAME  CALLS\nVALUE     21\n")
        self.patch_tag(502, b"\1")
        self.assertIn("next smaller", self.seek("CB")[2])
        self.assertEqual(self.seek("CB")[:2], (0, 1))
        self.patch_tag(512, b"no_field")
        self.assertRegex(self.fails(1, "seek", self.path("setup"), "CALLS"),
                         r"setup\.CDX: .+ \(-\d+\)")

    def test_record_marked_as_deleted(self):
        header = struct.unpack_from("<H", self.contents()["setup.dbf"], 8)[0]
        self.patch("setup.dbf", header, b"*")
        self.assertEqual(self.ok("seek", self.path("setup"), "CALLS").splitlines()[0],
                         b"record 1, marked as deleted")

    def test_long_names_and_memos_stay_in_their_columns(self):
        self.import_csv('KEY_NAME,A,NOTE,B\nCALLS,Größe,"first\r\n second",1.5\n', "--fields",
                        "KEY_NAME,C,50;A,C,9;NOTE,M;B,N,6,2")
        os.chmod(self.path("t.dbf"), 0o444)
        self.assertEqual(
            self.ok("seek", self.path("t"), "CA", "--index", self.path("setup")).decode(),
            "record 1\nKEY_NAME  CALLS\nA         Größe\nNOTE      first\n"
            "           second\nB         1.50\n")

    def test_further_index_files(self):
        plain = self.add_table_without_production_index(0o644)
        index = self.path("setup.CDX")
        for mode in [0o644, 0o444]:
            os.chmod(plain, mode)
            self.assertEqual(self.seek("CONT", "--index", index, table="plain"), (0, 2, ""))
            rows = self.csv_rows("plain.dbf", "--order", "KEY_NAME", "--index", index)
            self.assertEqual(rows[3][0], self.KEYS[2])
        # The production index is open already; the tag of another file has the same name.
        self.assertEqual(self.seek("CONT", "--index", index), (0, 2, ""))
        shutil.copy(index, self.path("other.cdx"))
        with open(self.path("other.cdx"), "r+b") as other:
            other.seek(0x600 + 502)
            other.write(b"\1")  # descending, so that the two can be told apart
        for options in [(), ("--tag", "key_name")]:
            self.assertEqual(self.seek("CONT", "--index", self.path("other"), *options)[:2], (0, 3))
        self.assertIn("(-60)", self.fails(1, "seek", plain, "X", "--index", self.path("absent")))
        self.assertIn("(-310)", self.fails(1, "seek", plain, "X", "--index", plain))


class Index(Case):
    FIELDS = [("A", "C", 4, 0), ("B", "N", 5, 1)]
    ROWS = [("pear", 2), ("fig", -1.5), ("fig", 30), ("kiwi", 2)]

    def setUp(self):
        super().setUp()
        make_table(self.path("t.dbf"), self.FIELDS,
                   [b" %-4s%5.1f" % (a.encode(), b) for a, b in self.ROWS])

    def index(self, *arguments):
        return self.ok("index", self.path("t.dbf"), *arguments).decode().splitlines()

    def tag_lines(self):
        text = self.ok("info", self.path("t")).decode()
        return text[text.index("\nindex "):].splitlines()[1:]

    def order(self, tag, *options):
        """Record numbers in the order of the tag."""
        rows = self.csv_rows("t.dbf", "--order", tag, *options)[1:]
        texts = [(a, float(b)) for a, b in rows]
        return [self.ROWS.index(text) + 1 for text in texts]

    def test_lists_of_expressions(self):
        cases = [  # argument, expressions
            ("A", ["A"]),
            (" A , B ", ["A", "B"]),
            ("SUBSTR(A,1,3),B", ["SUBSTR(A,1,3)", "B"]),
            ("IIF(B>1,SUBSTR(A,1,2),LEFT(A,2)) , -B", ["IIF(B>1,SUBSTR(A,1,2),LEFT(A,2))", "-B"]),
            ("A+',(', B", ["A+',('", "B"]),
            ('A+")\',", B', ['A+")\',"', "B"]),
            ("A+[,')(], B", ["A+[,')(]", "B"]),
        ]
        for argument, expressions in cases:
            with self.subTest(argument=argument):
                self.assertEqual(self.index(argument, "--name", self.path("x.cdx")),
                                 [f"{self.path('x.cdx')}: tag TAG00{i}, 4 keys: {expression}"
                                  for i, expression in enumerate(expressions)])
                os.remove(self.path("x.cdx"))

    def test_production_index(self):
        self.index("A, B")
        self.index("B", "--descending", "--tag", "down")
        self.index("A + STR(B)", "--unique", "--filter", "B > 0")  # replaces the first
        file, heading, *lines = self.tag_lines()
        self.assertRegex(file, r"^index +\S*t\.cdx$")
        self.assertEqual(heading.split()[-2:], ["expression", "filter"])
        self.assertEqual([line.split(maxsplit=3) for line in lines], [
            ["DOWN", "8", "4", "descending  B"],
            ["TAG000", "14", "3", "unique      A + STR(B)  B > 0"],
            ["TAG001", "8", "4", "            B".strip()]])
        self.assertEqual(self.order("TAG000"), [3, 4, 1])
        self.assertEqual(self.order("tag001"), [2, 1, 4, 3])
        self.assertEqual(self.order("DOWN"), [3, 4, 1, 2])
        self.assertEqual(self.ok("seek", self.path("t"), "2", "--tag", "TAG001").split()[1], b"1")

        # The index is kept up to date, and refuses equal keys in the unique tag.
        self.import_csv("A,B\nplum,7\nplum,-7\n", "--append")
        self.assertEqual([line.split()[2] for line in self.tag_lines()[2:]], ["6", "4", "6"])
        self.assertEqual(self.csv_rows("t.dbf", "--order", "DOWN")[-1], ["plum", "-7.0"])
        self.write("in.csv", "A,B\nnew,1\nplum,7\n")
        self.assertRegex(
            self.fails(1, "import", self.path("t"), self.path("in.csv"), "--append"),
            r"Unique Key Error \(-340\), after 1 records\n$")
        self.assertEqual(self.ok("pack", self.path("t")).split()[1], b"0")
        self.assertEqual([line.split()[2] for line in self.tag_lines()[2:]], ["7", "5", "7"])

    def test_further_files(self):
        self.index("A")
        self.assertEqual(self.index("B", "--name", self.path("other")),
                         [f"{self.path('other.CDX')}: tag TAG000, 4 keys: B"])
        self.assertEqual(self.order("TAG000"), [2, 3, 4, 1])
        self.assertEqual(self.order("TAG000", "--index", self.path("other")), [2, 1, 4, 3])
        self.assertEqual(len(self.tag_lines()), 3)
        self.write("data.cdx", "something else")
        self.assertIn("data.cdx: Corrupt index file (-310)",
                      self.fails(1, "index", self.path("t"), "A", "--name", self.path("data.cdx")))

    def test_failures_change_nothing(self):
        self.index("A,B")
        cases = [  # arguments, message
            (["A,NOBODY"], "NOBODY: Unrecognized Value (-490)"),
            (["B,UPPER(A"], "UPPER(A: Right Bracket Missing (-450)"),
            (["B,A", "--unique"], ": B: Unique Key Error (-340)"),
            (["A,A", "--unique"], ": A: Unique Key Error (-340)"),
            (["1/B+A"], "1/B+A: "),
            (["A", "--filter", "B"], "B: Filter should be Logical (-950)"),
            (["A", "--filter", "B >"], "B >: Expression not Complete (-410)"),
            (["A", "--tag", "ELEVENCHARS"], "A: Tag name should have at most 10 characters (-930)"),
            (["A", "--tag", ""], "A: Tag Name not Found (-330)"),
            (["A", "--name", self.path("no/such/file")], "(-20)"),
        ]
        before = self.contents()
        for arguments, message in cases:
            with self.subTest(arguments=arguments):
                self.assertIn(message, self.fails(1, "index", self.path("t.dbf"), *arguments))
                self.assertEqual(self.contents(), before)
        os.chmod(self.path("t.dbf"), 0o444)
        self.assertIn("read-only", self.fails(1, "index", self.path("t.dbf"), "A"))
        self.assertEqual(self.contents(), before)
        self.index("A", "--name", self.path("other"))

    def test_a_table_in_use(self):
        self.import_csv("A\n" + "some text in a row\n" * 20000, table="u.dbf")
        reader = subprocess.Popen([ZKTOOL, "cat", self.path("u.dbf")], stdout=subprocess.PIPE)
        self.addCleanup(reader.stdout.close)
        reader.stdout.read(10)  # it now waits for its output to be read, with the table open
        self.assertRegex(self.fails(1, "index", self.path("u"), "A"), r"u\.dbf: .+ \(-\d+\)\n")
        self.ok("index", self.path("u"), "A", "--name", self.path("other"))
        reader.stdout.read()
        reader.wait(60)
        self.ok("index", self.path("u"), "A")

    def test_an_index_that_is_behind(self):
        self.index("A")
        table = bytearray(self.contents()["t.dbf"])
        table[4:8] = struct.pack("<I", 3)  # a record went without the index
        self.write("t.dbf", bytes(table))
        _, message, _, line = self.tag_lines()
        self.assertEqual(message.strip(), "Index is behind its table (-310): "
                         "zktool check --repair " + self.path("t"))
        self.assertEqual(line.split()[:3], ["TAG000", "4", "?"])
        for arguments in [("cat", self.path("t"), "--order", "TAG000"),
                          ("seek", self.path("t"), "fig"),
                          ("import", self.path("t"), self.write("in.csv", "A\nx\n"), "--append")]:
            self.assertIn("t.cdx: Index is behind its table (-310)", self.fails(1, *arguments))
        self.assertEqual(len(self.csv_rows()), 4)  # the records are there


class Import(Case):
    def test_guessed_types(self):
        cases = [  # values, field, values read back when they differ
            (["1", "-22", ""], ("N", 3, 0)),
            (["1.5", "10.25"], ("N", 5, 2), ["1.50", "10.25"]),
            (["-.5", "3"], ("N", 4, 1), ["-0.5", "3.0"]),
            (["0", "0.5"], ("N", 3, 1), ["0.0", "0.5"]),
            (["007", "8"], ("C", 3, 0)),
            (["123456789012345"], ("N", 15, 0)),
            (["1234567890123456"], ("C", 16, 0)),
            (["1e5", "2"], ("C", 3, 0)),
            (["1,000", "2"], ("C", 5, 0)),
            (["+5"], ("C", 2, 0)),
            (["5."], ("C", 2, 0)),
            (["."], ("C", 1, 0)),
            (["-"], ("C", 1, 0)),
            (["12345678901234", "0.123456789"], ("C", 14, 0)),  # together too wide for a number
            (["2024-02-29", "20240301"], ("D", 8, 0), ["20240229", "20240301"]),
            (["2023-02-29"], ("C", 10, 0)),
            (["20230229"], ("N", 8, 0)),
            (["T", "f", "yes", ""], ("L", 1, 0), ["T", "F", "T", ""]),
            (["T", "x"], ("C", 1, 0)),
            (["", ""], ("C", 1, 0)),
            (["  both "], ("C", 6, 0), ["  both"]),
            (["x" * 254], ("C", 254, 0)),
            (["x" * 255, "  kept  "], ("M", 10, 0)),
        ]
        for number, (values, field, *read) in enumerate(cases):
            with self.subTest(values=values):
                table = f"t{number}.dbf"
                rows = "".join(f'{i},"{value}"\n' for i, value in enumerate(values))
                self.import_csv("ID,A\n" + rows, table=table)
                self.assertEqual(self.fields(table)[1], ("A", *field))
                expected = read[0] if read else values
                self.assertEqual([row[1] for row in self.csv_rows(table)[1:]], expected)

    def test_csv_forms(self):
        cases = [
            (b"\xef\xbb\xbfA,B\r\n1,x\r\n", [["1", "x"]]),
            (b'A,B\r1,"x\ry"\r', [["1", "x\ry"]]),
            (b'A,B\n\n1,x\n\n\n2,y', [["1", "x"], ["2", "y"]]),
            (b'"A","B"\n"1","say ""hi"", ok"\n', [["1", 'say "hi", ok']]),
            (b'A,B\n1,"two\r\nlines"\n2,""\n', [["1", "two\r\nlines"], ["2", ""]]),
            (b'A,B\n1, x \n', [["1", " x"]]),
            (b'A,B\n1,\xfc\x00z\n', [["1", "\xfc\x00z"]]),
            (b"A,B\n", []),
        ]
        for number, (content, rows) in enumerate(cases):
            with self.subTest(content=content):
                table = f"t{number}.dbf"
                self.import_csv(content, table=table)
                self.assertEqual(self.csv_rows(table)[1:], rows)

    def test_rejected_files_leave_nothing(self):
        list_ = ("--fields", "A,N,5,2;B,C,3;D,D;L,L")
        cases = [  # content, options, message
            ('A,B\n1,"x\ny"\n2\n', (), r"line 4, column 1: the row has 1 values, the header 2"),
            ("A,B\n1,x,y\n", (), r"line 2, column 3: the row has 3 values"),
            ('A,B\n1,x\n2,3" pipe\n', (), r"line 3, column 2: misplaced quote"),
            ('A,B\n"1"x,2\n', (), r"line 2, column 1: misplaced quote"),
            ('A,B\n1,x\n2,"open\n\n', (), r"line 3, column 2: the quote that begins here"),
            ("A,,C\n1,2,3\n", (), r"line 1, column 2: the header has no name"),
            (b"\xff\xfeA\0,\0B\0\n\0", (), r"line 1, column 1: .*not plain text"),
            ("A,X\n1,2\n", list_, r"line 1, column 2: the table has no field X"),
            ('B,A\n"q\nr",1\nab,1\nabc,12.345\n', list_, 
             r"line 5, column 2: A: '12.345' has more than 2 decimals"),
            ("A\n12345\n", list_,
             r"line 2, column 1: A: '12345' needs 8 characters, the field has 5"),
            ("A\n-10.25\n", list_, r"needs 6 characters"),
            ("A\n1e2\n", list_, r"'1e2' is not a number"),
            ("A\n1 2\n", list_, r"'1 2' is not a number"),
            ("A\n0x10\n", list_, r"is not a number"),
            ("A\nnan\n", list_, r"is not a number"),
            ('B\nabc\n"ab\n\n"\nabcd\n', list_,
             r"line 3, column 1: B: 'ab\\n\\n' has 4 bytes, the field 3"),
            ("D\n2023-02-29\n", list_, r"'2023-02-29' is not a date"),
            ("D\n31.12.2023\n", list_, r"is not a date"),
            ("L\nmaybe\n", list_, r"'maybe' is not a logical value"),
        ]
        for content, options, message in cases:
            with self.subTest(content=content):
                source = self.write("in.csv", content)
                text = self.fails(1, "import", self.path("t.dbf"), source, *options)
                self.assertRegex(text, r"\Azktool: .*in\.csv: .*" + message)
                self.assertEqual(os.listdir(self.directory), ["in.csv"])

    def test_given_fields(self):
        rows = "l,d,n,f,m\n1,2024-02-29, 12.500 ,-0.5,\"a\nb  \"\n?,,007,-0,\nYes,20240101,.5,,x\n"
        self.import_csv(rows, "--fields", "N,N,7,2; X,C,5; D,D; L,L,1; M,M; F,F,6,1")
        self.assertEqual(self.fields(), [("N", "N", 7, 2), ("X", "C", 5, 0), ("D", "D", 8, 0),
                                         ("L", "L", 1, 0), ("M", "M", 10, 0), ("F", "F", 6, 1)])
        self.assertEqual(self.csv_rows()[1:], [["12.50", "", "20240229", "T", "a\nb  ", "-0.5"],
                                               ["7.00", "", "", "?", "", "0.0"],
                                               ["0.50", "", "20240101", "T", "x", ""]])

    def test_names_become_valid(self):
        header = 'a long field name,a long field nome,qty (m),qty (m),\xe4\xf6\xfc'
        result = run("import", self.path("t.dbf"), self.write("in.csv", header + "\n1,2,3,4,5\n"))
        self.assertEqual(result.returncode, 0)
        names = [field[0] for field in self.fields()]
        self.assertEqual(names[:4], ["A_LONG_FIE", "A_LONG_F_2", "QTY__M_", "QTY__M__2"])
        notes = result.stderr.decode().splitlines()
        self.assertEqual(len(notes), 4)
        self.assertIn('column 2 "a long field nome" becomes field A_LONG_F_2', notes[1])
        self.assertEqual(list(self.json_rows()[0].values()), [1, 2, 3, 4, 5])

    def test_existing_files_are_left_alone(self):
        self.import_csv("A,NOTE\n1,old\n", "--fields", "A,N,3;NOTE,M")
        before = self.contents()
        for name in ["t.dbf", "t", "T.DBF"]:
            self.assertIn("exists already",
                          self.fails(1, "import", self.path(name), self.path("in.csv")))
        self.assertEqual(self.contents(), before)
        os.remove(self.path("t.dbf"))
        self.assertIn("t.fpt: exists already",
                      self.fails(1, "import", self.path("t.dbf"), self.path("in.csv")))

    def test_append(self):
        self.import_csv("A,B,NOTE\n1,x,first memo\n", "--fields", "A,N,3;B,C,4;NOTE,M")
        self.import_csv("note,a\nsecond memo,2\n,3\n", "--append")
        expected = [["1", "x", "first memo"], ["2", "", "second memo"], ["3", "", ""]]
        self.assertEqual(self.csv_rows()[1:], expected)
        before = {name: data for name, data in self.contents().items() if name != "in.csv"}
        for bad in ["A,B\n4,x\n5,too long\n", "A,C\n4,x\n", "A\n4\n1e9\n", 'A\n4\n"5\n',
                    "A,B\n4\n"]:
            source = self.write("in.csv", bad)
            self.fails(1, "import", self.path("t.dbf"), source, "--append")
            os.remove(source)
            self.assertEqual(self.contents(), before)

    def test_append_to_newer_types(self):
        fields = [("I", "I", 4, 0), ("Y", "Y", 8, 4), ("B", "B", 8, 2), ("T", "T", 8, 0)]
        make_table(self.path("t.dbf"), fields, [], version=0x30)
        raw = self.contents()["t.dbf"]
        header = bytearray(raw[:-1] + bytes(263))  # the room for a database's name
        header[8:10] = struct.pack("<H", len(header))
        self.write("t.dbf", bytes(header) + b"\x1a")
        rows = ["-2147483647,922337203685477.5807,0.1,2024-01-31 23:59:59", "7,-1.5,1e300,", ",,,"]
        self.import_csv("I,Y,B,T\n" + "\n".join(rows) + "\n", "--append")
        records = [list(record.values()) for record in dbfread.DBF(
            self.path("t.dbf"), ignore_missing_memofile=True)]
        self.assertEqual([[None if v is None else str(v) for v in record] for record in records],
                         [["-2147483647", "922337203685477.5807", "0.1", "2024-01-31 23:59:59"],
                          ["7", "-1.5", "1e+300", None], ["0", "0", "0.0", None]])
        self.assertEqual(self.csv_rows()[1][0:3], ["-2147483647", "922337203685477.5807", "0.1"])
        for bad in ["I\n2147483648", "I\n1.5", "Y\n1.00001", "Y\n922337203685477.5808", "B\ninf",
                    "B\n1x", "T\n2024-01-31", "T\n2024-01-31 24:00:00"]:
            with self.subTest(bad=bad):
                source = self.write("in.csv", bad + "\n")
                self.assertIn("line 2, column 1",
                              self.fails(1, "import", self.path("t.dbf"), source, "--append"))

    def test_interrupt_leaves_nothing(self):
        source = self.write("in.csv", "A,B\n" + "x,12\n" * 1500000)
        process = subprocess.Popen([ZKTOOL, "import", self.path("t.dbf"), source],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        while process.poll() is None and not glob.glob(self.path("zk_*")):
            time.sleep(0.002)
        process.send_signal(signal.SIGINT)
        output, message = process.communicate(timeout=60)
        self.assertEqual((process.returncode, output), (1, b""))
        self.assertRegex(message, rb"\Azktool: interrupted[^\n]*\n\Z")
        self.assertEqual(os.listdir(self.directory), ["in.csv"])

    def test_unwritable_places(self):
        source = self.write("in.csv", "A\n1\n")
        self.assertIn("(-20)", self.fails(1, "import", self.path("no/such/t.dbf"), source))
        self.import_csv("A\n1\n")
        os.chmod(self.path("t.dbf"), 0o444)
        before = self.contents()
        self.assertIn("read-only", self.fails(1, "import", self.path("t.dbf"), source, "--append"))
        self.assertIn("read-only", self.fails(1, "pack", self.path("t.dbf")))
        self.assertEqual(self.contents(), before)


    def test_full_disk(self):
        """Files cannot grow beyond 256 KiB here; the signal that would say so is ignored."""
        limited = {"restore_signals": False, "preexec_fn": lambda: resource.setrlimit(
            resource.RLIMIT_FSIZE, (1 << 18, 1 << 18))}
        content = "A,NOTE\n" + "text,memo\n" * 20000
        source = self.write("in.csv", content)
        fields = ("--fields", "A,C,4;NOTE,M")
        self.assertRegex(self.fails(1, "import", self.path("t.dbf"), source, *fields, **limited),
                         r"\(-\d+\)\n")
        self.assertEqual(os.listdir(self.directory), ["in.csv"])

        self.import_csv("A,NOTE\n", *fields)
        self.write("in.csv", content)
        message = self.fails(1, "import", self.path("t.dbf"), source, "--append", **limited)
        self.assertRegex(message, r"\(-\d+\), after \d+ records\n")
        rows = self.csv_rows()[1:]
        self.assertEqual(rows, [["text", "memo"]] * len(rows))


class Pack(Case):
    def test_pack_removes_deleted_records(self):
        make_table(self.path("t.dbf"), [("A", "C", 3, 0)], [b" one", b"*two", b" six", b"*ten"])
        self.assertIn(b"2 records removed, 2 kept", self.ok("pack", self.path("t.dbf")))
        self.assertEqual(self.csv_rows("t.dbf", "--deleted"), [["A"], ["one"], ["six"]])
        self.assertEqual(os.path.getsize(self.path("t.dbf")), 65 + 2 * 4 + 1)

    def test_a_table_in_use_is_left_alone(self):
        self.import_csv("A\n" + "some text in a row\n" * 20000)
        before = self.contents()
        reader = subprocess.Popen([ZKTOOL, "cat", self.path("t.dbf"), "--format", "csv"],
                                  stdout=subprocess.PIPE)
        self.addCleanup(reader.stdout.close)
        reader.stdout.read(10)  # it now waits for its output to be read, with the table open
        for arguments in [("pack", self.path("t.dbf")),
                          ("import", self.path("t.dbf"), self.path("in.csv"), "--append")]:
            self.assertRegex(self.fails(1, *arguments), r"t\.dbf: .* \(-?\d+\)\n")
        self.assertEqual(self.contents(), before)
        reader.stdout.read()
        reader.wait(60)


class Check(Case):
    """The findings themselves are tested with the library."""

    def setUp(self):
        super().setUp()
        self.table = self.path("t.dbf")
        self.import_csv("A,N\n" + "".join(f"text {i},{i * 7 % 100}\n" for i in range(300)))
        self.ok("index", self.table, "A,N")
        self.ok("index", self.table, "N", "--name", self.path("other.cdx"))

    def lines(self, status, *arguments):
        """Each line without the folder; with findings one line on standard error says how many."""
        result = run("check", self.table, *arguments)
        self.assertEqual(result.returncode, status, result)
        self.assertEqual(bool(result.stderr), status == 1, result)
        if status == 1:
            self.assertRegex(result.stderr, rb"\Azktool: .*t\.dbf: \d+ findings?\n\Z")
        return result.stdout.decode().replace(self.directory + "/", "").splitlines()

    def patch(self, name, offset, data):
        with open(self.path(name), "r+b") as file:
            file.seek(offset)
            file.write(data)

    def test_a_good_table(self):
        self.assertEqual(self.lines(0, "--index", self.path("other"), "--index", self.path("t.cdx")),
                         ["t.dbf: nothing is wrong"])

    def test_findings_and_repair(self):
        rows = self.csv_rows()
        self.patch("t.dbf", 4, struct.pack("<I", 307))
        self.patch("t.cdx", 68, b"\0\0\0\1")
        self.patch("other.cdx", 68, b"\0\0\0\1")
        before = self.contents()
        found = ["t.dbf: header: it counts 307 records, but the file holds 300",
                 "t.cdx: a change was begun, but not finished"]
        self.assertEqual(self.lines(1), found)
        other = "other.cdx: a change was begun, but not finished"
        self.assertEqual(self.lines(1, "--index", self.path("other")), found + [other])
        self.assertEqual(self.contents(), before)
        mended = ["t.dbf: mended: the header counts 300 records",
                  "t.cdx: mended: written anew with 2 tags", "t.dbf: nothing is wrong"]
        self.assertEqual(self.lines(0, "--repair"), found + mended)
        self.assertEqual(self.lines(1, "--index", self.path("other")), [other])
        self.assertEqual(self.csv_rows(), rows)
        self.assertEqual(sorted(self.csv_rows("t.dbf", "--order", "TAG000")[1:]), sorted(rows[1:]))

    def test_what_cannot_be_mended_is_left(self):
        with open(self.table, "rb") as file:
            header = struct.unpack_from("<8xH", file.read())[0]
        self.patch("t.dbf", header, b"?")
        self.patch("t.cdx", 68, b"\0\0\0\1")
        lines = self.lines(1, "--repair")
        finding = "record 1: the deletion mark 0x3F is neither blank nor an asterisk"
        self.assertEqual((lines[0], lines[-1]),
                         (f"t.dbf: {finding}", f"t.dbf: left: {finding}"))

    def test_tables_that_cannot_be_checked(self):
        self.fails(1, "check", self.path("none.dbf"))
        self.fails(1, "check", self.table, "--index", self.path("none.cdx"))
        self.fails(2, "check", self.table, self.table)
        self.import_csv("A,N\n" + "more,1\n" * 20000, "--append")
        busy = subprocess.Popen([ZKTOOL, "cat", self.table, "--format", "csv"],
                                stdout=subprocess.PIPE)
        self.addCleanup(busy.stdout.close)
        busy.stdout.read(10)  # it now waits for its output to be read, with the table open
        self.assertEqual(self.lines(0), ["t.dbf: nothing is wrong"])
        self.assertRegex(self.fails(1, "check", self.table, "--repair"),
                         r"In use by another program \(-50\)")
        busy.stdout.read()
        busy.wait(60)


class Settings(Case):
    """INI files, texts with settings in them, and how commands find the network directory."""

    def setUp(self):
        super().setUp()
        before = os.environ.get("ZK_CONFIG_DIR")
        self.addCleanup(lambda: os.environ.pop("ZK_CONFIG_DIR") if before is None
                        else os.environ.update(ZK_CONFIG_DIR=before))
        os.environ["ZK_CONFIG_DIR"] = self.directory
        self.ini = self.path("zk.ini")

    @unittest.skipUnless(os.path.exists(COMPONENT), "no component beside the library")
    def test_ini(self):
        self.write("zk.ini", "; hands off\r\n[General]\r\nJN = C:\\Plant  \r\nEmpty=\r\n\r\n[Last]\r\n")
        for name, value in [("jn", "%JN%\\new"), ("NEGATIVE", "-5"), ("Other", "a = b ; c")]:
            self.assertEqual(self.ok("ini", "set", self.ini, "GENERAL", name, "--", value), b"")
            self.assertEqual(self.ok("ini", "get", self.ini, "general", name.upper()),
                             value.encode() + b"\n")
        self.ok("ini", "set", self.ini, "New", "A", "1")
        self.assertEqual(self.ok("ini", "list", self.ini), b"General\nLast\nNew\n")
        self.assertEqual(self.ok("ini", "list", self.ini, "GENERAL"),
                         b"JN=%JN%\\new\nNEGATIVE=-5\nOTHER=a = b ; c\n")
        text = self.contents()["zk.ini"]
        for kept in [b"; hands off\r\n[General]\r\n", b"Empty=\r\n", b"[Last]\r\n"]:
            self.assertIn(kept, text)

        self.ok("ini", "set", self.path("fresh.ini"), "G", "N", "value")
        self.assertIn(b"value", self.contents()["fresh.ini"])

        self.assertIn("no value of EMPTY in [GENERAL]",
                      self.fails(1, "ini", "get", self.ini, "GENERAL", "EMPTY"))
        self.assertIn("no group [Nowhere]", self.fails(1, "ini", "list", self.ini, "Nowhere"))
        self.assertIn("absent.ini: no such file",
                      self.fails(1, "ini", "get", self.path("absent.ini"), "G", "N"))
        self.assertIn("cannot be stored", self.fails(1, "ini", "set", self.ini, "G", "N", "a\nb"))
        os.chmod(self.ini, 0o444)
        self.assertIn("is read-only", self.fails(1, "ini", "set", self.ini, "GENERAL", "JN", "x"))
        self.assertEqual(self.contents()["zk.ini"], text)

    @unittest.skipUnless(os.path.exists(COMPONENT), "no component beside the library")
    def test_settings_come_from_zk_ini_and_the_environment(self):
        os.environ["ZK_TEST_SETTING"] = "from outside"
        self.addCleanup(os.environ.pop, "ZK_TEST_SETTING")
        self.assertEqual(self.ok("env", "expand", "<%ZK_TEST_SETTING%> 100%% %NOBODY%."),
                         b"<from outside> 100% .\n")
        self.ok("ini", "set", self.ini, "GENERAL", "ZK_TEST_SETTING", "from zk.ini")
        self.assertEqual(self.ok("env", "expand", "%zk_test_setting%"), b"from zk.ini\n")
        self.assertIn("longer than", self.fails(1, "env", "expand", "x" * 511))

        source = self.write("in.csv", "id,text\nTOOL_1,eins\n")
        self.assertIn("no network directory", self.fails(1, "messages", "import", "GERMAN", source))
        os.mkdir(self.path("Net"))
        self.ok("ini", "set", self.ini, "GENERAL", "JN", self.path("Net"))
        self.ok("messages", "import", "German", source)
        self.assertTrue(os.path.exists(self.path("Net/language/TOOL_GERMAN.dbf")))
        self.assertIn(b"TOOL_GERMAN         1\n", self.ok("messages", "list"))

    @unittest.skipUnless(LIBRARY, "where the library is, is not known (ZK_LIBRARY)")
    def test_without_a_component(self):
        shutil.copy(LIBRARY, self.path("libzk_baselib.so.0"))
        alone = {**os.environ, "LD_LIBRARY_PATH": self.directory, "HOME": "/home/me"}
        self.write("zk.ini", "[GENERAL]\nHOME=zk.ini\n")
        for arguments in [("get", self.ini, "GENERAL", "HOME"), ("list", self.ini),
                          ("set", self.ini, "GENERAL", "HOME", "x")]:
            self.assertIn("component JNApplication2", self.fails(1, "ini", *arguments, env=alone))
        self.assertEqual(run("env", "expand", "%HOME%", env=alone).stdout, b"/home/me\n")


class Messages(Case):
    FIRST = ("id,english,text\r\n"
             "TOOL_216,Unable to allocate,Kein Speicher für\r\n"
             "217,,\"Bytes, \"\"frei\"\"\"\r\n"
             "dbcols,Length,Länge\r\n"
             "DBCols,Weight,Gewicht\r\n"
             "TOOL,Unable to start,Start unmöglich\r\n"
             "Host-App_12,,Zwölf\r\n")

    def import_messages(self, content, *options):
        return self.ok("messages", "import", "german", self.write("in.csv", content), "--directory",
                       self.path("language"), *options).decode()

    def rows(self, prefix):
        """As dbfread sees them: number, text, English text. The table must be without findings."""
        path = self.path(f"language/{prefix}_GERMAN.dbf")
        self.ok("check", path)
        self.assertRegex(self.ok("info", path).decode(), r"TAG000 .* unique +MSG_NO\n")
        table = dbfread.DBF(path, encoding="utf-8")
        self.assertEqual(table.field_names, ["MSG_NO", "MSG_NAME", "MSG_ENGLIS"])
        return [tuple(value or "" for value in record.values()) for record in table]

    def listed(self, *options):
        text = self.ok("messages", "list", "GERMAN", "--format", "csv", "--directory",
                       self.path("language"), *options).decode()
        return sorted(tuple(row) for row in csv.reader(io.StringIO(text, newline="")))

    def test_tables_are_made(self):
        self.assertRegex(self.import_messages(self.FIRST),
                         r"TOOL_GERMAN.dbf: 3 messages added, 0 changed, 0 as before\n\Z")
        self.assertEqual(self.rows("TOOL"), [
            ("216", "Kein Speicher für", "Unable to allocate"), ("217", 'Bytes, "frei"', ""),
            ("000001", "Start unmöglich", "Unable to start")])
        self.assertEqual(self.rows("DBCOLS"),
                         [("000001", "Länge", "Length"), ("000002", "Gewicht", "Weight")])
        self.assertEqual(self.rows("HOST-APP"), [("12", "Zwölf", "")])
        self.assertEqual(self.ok("messages", "list", "--directory", self.path("language")).split(),
                         [b"TABLE", b"MESSAGES", b"-" * 15, b"-" * 8, b"DBCOLS_GERMAN", b"2",
                          b"HOST-APP_GERMAN", b"1", b"TOOL_GERMAN", b"3"])

    def test_a_list_can_be_imported_again(self):
        self.import_messages(self.FIRST)
        before = self.listed()
        self.assertIn(("TOOL", "Unable to start", "Start unmöglich"), before)
        copy = self.write("copy.csv", self.ok("messages", "list", "german", "--format", "csv",
                                              "--directory", self.path("language")))
        self.assertRegex(self.ok("messages", "import", "GERMAN", copy, "--directory",
                                 self.path("language")), rb"TOOL_.* 0 messages added, 0 changed, 3 as")
        shutil.rmtree(self.path("language"))
        self.ok("messages", "import", "GERMAN", copy, "--directory", self.path("language"))
        self.assertEqual(self.listed(), before)

    def test_messages_are_changed_and_added(self):
        self.import_messages(self.FIRST)
        self.assertRegex(
            self.import_messages("Number,Text,English\nTOOL_216,Voll,\nTOOL_9,neun,\n"
                                 "tool,Kein Start, Unable to start \nTOOL,zwei,Other\n"
                                 "TOOL_217,\"Bytes, \"\"frei\"\"\",\n"),
            r"TOOL_GERMAN.dbf: 2 messages added, 2 changed, 1 as before\n")
        expected = [("216", "Voll", "Unable to allocate"), ("217", 'Bytes, "frei"', ""),
                    ("000001", "Kein Start", "Unable to start"), ("9", "neun", ""),
                    ("000002", "zwei", "Other")]
        self.assertEqual(self.rows("TOOL"), expected)
        for prefix, count in [("DBCOLS", 2), ("HOST-APP", 1)]:
            self.assertEqual(len(self.rows(prefix)), count)

        # Longer than their fields: the table is written anew, at last with memos.
        long_text, long_english = "lang " * 100 + "!", "long " * 60 + "."
        for text, english in [("x" * 60, ""), (long_text, ""), ("kurz", long_english)]:
            self.import_messages(f"id,text,english\n216,{text},{english}\n1234567,{text},\n")
            expected[0] = ("216", text, english or expected[0][2])
            expected[5:] = [("1234567", text, "")]
            self.assertEqual(self.rows("TOOL"), expected)
        self.assertEqual(sorted(os.listdir(self.path("language")))[-3:],
                         ["TOOL_GERMAN.cdx", "TOOL_GERMAN.dbf", "TOOL_GERMAN.fpt"])

    def test_an_index_that_is_missing_or_behind(self):
        self.import_messages(self.FIRST)
        table = self.path("language/TOOL_GERMAN.dbf")
        index = self.path("language/TOOL_GERMAN.cdx")
        os.rename(index, self.path("old.cdx"))
        self.import_messages("id,text\nTOOL_1,eins\n")
        self.assertEqual(len(self.rows("TOOL")), 4)
        self.assertRegex(self.ok("seek", table, "216").decode(), r"MSG_NAME +Kein")
        os.rename(self.path("old.cdx"), index)
        source = self.write("in.csv", "id,text\nTOOL_2,zwei\n")
        again = ("messages", "import", "GERMAN", source, "--directory", self.path("language"))
        self.assertIn("TOOL_GERMAN.cdx: ", self.fails(1, *again))
        run("check", table, "--repair")
        self.ok(*again)
        self.assertEqual(len(self.rows("TOOL")), 5)

    def test_equal_english_texts_are_kept_apart(self):
        content = "id,english,text\nTOOL_5,Open,auf\nTOOL,Open,offen\nTOOL_6,Open,auf\n"
        self.import_messages(content)
        self.assertIn(" 0 changed, 3 as before", self.import_messages(content))
        self.assertEqual([row[:2] for row in self.rows("TOOL")],
                         [("5", "auf"), ("000001", "offen"), ("6", "auf")])

    def test_tables_without_english_texts_get_them(self):
        os.mkdir(self.path("language"))
        make_table(self.path("language/DBCOLS_GERMAN.dbf"),
                   [("MSG_NO", "C", 10, 0), ("MSG_NAME", "C", 10, 0)],
                   [b" Length    Lang      ", b" 7         sieben    "])
        self.assertEqual(self.listed()[:2],
                         [("DBCOLS", "Length", "Lang"), ("DBCOLS_7", "", "sieben")])
        self.import_messages("id,english,text\nDBCols,Length,Weite\nDBCols,Weight,Gewicht\n")
        self.assertEqual(self.rows("DBCOLS"), [("Length", "Weite", "Length"), ("7", "sieben", ""),
                                               ("000001", "Gewicht", "Weight")])

    @unittest.skipUnless(os.access(TABLE_EDITOR, os.X_OK), "no table_editor (ZK_TABLE_EDITOR)")
    def test_deleted_messages_come_back(self):
        self.import_messages(self.FIRST)
        subprocess.run([TABLE_EDITOR, self.path("language/TOOL_GERMAN.dbf"), "0"], check=True,
                       input=b"delete 1\ndelete 2\n", timeout=60)
        self.assertEqual(len(self.rows("TOOL")), 1)
        self.assertNotIn("TOOL_216", [row[0] for row in self.listed()])
        self.import_messages(self.FIRST)
        self.assertEqual([row[0] for row in self.rows("TOOL")], ["216", "217", "000001"])

    def test_while_another_program_has_the_table_open(self):
        rows = "".join(f"TOOL_{i},{i:05}{'x' * 200}\n" for i in range(2000))
        self.import_messages("id,text\n" + rows)
        table = self.path("language/TOOL_GERMAN.dbf")
        reader = subprocess.Popen([ZKTOOL, "cat", table, "--format", "csv"], stdout=subprocess.PIPE)
        try:
            reader.stdout.read(1)  # the table is open until all has been read
            self.import_messages("id,text\nTOOL_5,fünf\nTOOL_2000,neu\n")
            source = self.write("in.csv", f"id,text\nTOOL_6,{'y' * 300}\n")
            self.assertIn("no other program may have the table open",
                          self.fails(1, "messages", "import", "german", source, "--directory",
                                     self.path("language")))
        finally:
            reader.stdout.read()
            reader.stdout.close()
            reader.wait()
        listed = dict((row[0], row[2]) for row in self.listed())
        self.assertEqual((len(listed), listed["TOOL_5"], listed["TOOL_6"][:7], listed["TOOL_2000"]),
                         (2002, "fünf", "00006xx", "neu"))  # with the header
        self.ok("check", table)

    def test_faults_change_nothing(self):
        self.import_messages(self.FIRST)
        os.mkdir(self.path("other"))
        make_table(self.path("other/HOST_GERMAN.dbf"), [("MSG_NO", "N", 6, 0)], [])
        make_table(self.path("other/MORE_GERMAN.dbf"),
                   [("MSG_NO", "C", 6, 0), ("MSG_NAME", "C", 5, 0), ("MINE", "C", 1, 0)],
                   [b" 1     one  x"])
        cases = [
            ("", "no header line"),
            ("id,english\n", "needs the columns id and text"),
            ("id,text,txt\n", "line 1, column 3: is none of id, english and text"),
            ("id,text,ID\n", "line 1, column 3: is there already"),
            ("id,text\nTOOL_1,a\nTOOL_2\n", "line 3, column 1: the row has 1 values"),
            ("id,text\n,a\n", "line 2, column 1: is no message id"),
            ("id,text\n_5,a\n", "line 2, column 1: is no message id"),
            ("id,text\n../TOOL_5,a\n", "line 2, column 1: is no message id"),
            ("id,text\nDBCols,a\n", "line 2, column 1: an id without a number needs an English"),
            ("id,text\nTOOL_1,a\ntool_1,b\n", "line 3, column 1: the message is there already"),
            ("id,text,english\nDBCols,a,E\nDBCOLS,b, E\n", "the message is there already"),
            (f"id,text\nTOOL_{'1' * 200},a\n", "is too long for a message id"),
            ("id,text\nHOST_1,a\n", "HOST_GERMAN.dbf: is no message table"),
            ("id,text\nMORE_1,longer\n", "MORE_GERMAN.dbf: a text does not fit, and with field MINE"),
        ]
        before = {**self.tree("language"), **self.tree("other")}
        for content, message in cases:
            with self.subTest(content=content):
                source = self.write("in.csv", content)
                for directory in ["language", "other"] if "_GERMAN" not in message else ["other"]:
                    self.assertIn(message, self.fails(1, "messages", "import", "GERMAN", source,
                                                      "--directory", self.path(directory)))
        self.assertEqual({**self.tree("language"), **self.tree("other")}, before)
        self.ok("messages", "import", "GERMAN", self.write("in.csv", "id,text\nMORE_1,uno\n"),
                "--directory", self.path("other"))
        self.assertEqual(self.csv_rows("other/MORE_GERMAN.dbf")[1:], [["1", "uno", "x"]])

    def tree(self, name):
        result = {}
        for entry in os.scandir(self.path(name)):
            with open(entry.path, "rb") as file:
                result[entry.path] = file.read()
        return result


# Independent readers: each gives rows of values in the form of normal().


def normal(kind, text):
    """A value of zktool's CSV (text, latin-1) in the form in which readers are compared."""
    if kind in "NFIYB":
        try:
            return decimal.Decimal(text).normalize() if text else None
        except decimal.InvalidOperation:
            return "invalid"
    if kind == "L":
        return {"T": True, "Y": True, "F": False, "N": False}.get(text.upper())
    if kind in "DT":
        return re.sub(r"\D", "", text).strip("0")
    return text if kind == "M" else text.rstrip(" \0")


def zktool_rows(case, table, kinds):
    text = case.ok("cat", table, "--format", "csv").decode("latin-1")
    rows = list(csv.reader(io.StringIO(text, newline="")))[1:]
    return [[normal(kind, value) for kind, value in zip(kinds, row)] for row in rows]


class LenientParser(dbfread.FieldParser):
    """Dates and logicals as their stored letters, so that odd ones are compared, not refused."""

    def parseD(self, field, data):
        return data.decode("latin-1")

    def parseL(self, field, data):
        return data.decode("latin-1")


def dbfread_rows(table, kinds):
    rows = []
    for record in dbfread.DBF(table, encoding="latin-1", parserclass=LenientParser,
                              recfactory=list):  # a list: field names may come twice
        row = []
        values = [value for name, value in record if not name.startswith("_NullFlags")]
        for kind, value in zip(kinds, values):
            if isinstance(value, datetime.datetime):
                value = value.strftime("%Y%m%d%H%M%S")
            elif kind == "M" and isinstance(value, bytes):
                value = value.decode("latin-1")
            row.append(normal(kind, "" if value is None else str(value)))
        rows.append(row)
    return rows


def memo_of(table):
    names = [table[:-4] + extension for extension in (".fpt", ".FPT")]
    return next(filter(os.path.exists, names), None)


def pgdbf_value(kind, text):
    if kind == "T" and text:  # "J2453846 17:13:05", a Julian day
        day, clock = text[1:].split()
        text = datetime.date.fromordinal(int(day) - 1721425).isoformat() + clock
    return normal(kind, text.strip() if kind in "NF" else text)


def pgdbf_rows(table, kinds):
    memo = memo_of(table)
    result = subprocess.run(["pgdbf", "-N", *(["-m", memo] if memo else []), table], check=True,
                            capture_output=True)
    body = result.stdout.decode("latin-1").split("FROM STDIN\n", 1)[1].split("\n\\.\n")[0]
    escapes = {"\\t": "\t", "\\n": "\n", "\\r": "\r", "\\\\": "\\"}
    rows = []
    for line in body.split("\n") if body != "\\." else []:
        values = ["" if v == "\\N" else re.sub(r"\\.", lambda m: escapes[m.group()], v)
                  for v in line.split("\t")]
        rows.append([pgdbf_value(kind, value) for kind, value in zip(kinds, values)])
    return rows


XBASE_SCRIPT = """
my ($file, $memo) = @ARGV;
my $table = XBase->new(name => $file, ($memo ? (memofile => $memo) : ())) or die XBase->errstr;
for my $number (0 .. $table->last_record) {
  my ($deleted, @values) = $table->get_record($number);
  print join(",", map { defined $_ ? unpack("H*", $_) : "" } @values), "\\n" unless $deleted;
}
"""


def xbase_rows(table, kinds):
    result = subprocess.run(["perl", "-MXBase", "-e", XBASE_SCRIPT, table, memo_of(table) or ""],
                            check=True, capture_output=True)
    rows = []
    for line in result.stdout.decode().splitlines():
        values = [bytes.fromhex(value).decode("latin-1") for value in line.split(",")]
        values = [{"1": "T", "0": "F"}.get(value, value) if kind == "L" else value
                  for kind, value in zip(kinds, values)]
        rows.append([normal(kind, value) for kind, value in zip(kinds, values)])
    return rows


READERS = {"dbfread": dbfread_rows, "pgdbf": pgdbf_rows, "XBase": xbase_rows}


def comparable(reader, kinds, row):
    """The row without what the reader is known to lack."""
    if reader == "XBase":  # takes the newer types T, Y and B for something else
        return [None if kind in "TYB" else value for kind, value in zip(kinds, row)]
    if reader == "dbfread":  # cuts off the milliseconds: 17:13:04.999 is the time 17:13:05
        return [None if kind == "T" else value for kind, value in zip(kinds, row)]
    # pgdbf drops trailing blanks of memos.
    return [value.rstrip(" ") if kind == "M" else value for kind, value in zip(kinds, row)]


class Witnesses(Case):
    def compare(self, table, readers):
        kinds = [kind for _, kind, _, _ in self.fields(table) if kind != "0"]
        ours = zktool_rows(self, table, kinds)
        for name in readers:
            with self.subTest(reader=name, table=os.path.basename(table)):
                theirs = READERS[name](table, kinds)
                self.assertEqual(len(ours), len(theirs))
                for number, (mine, other) in enumerate(zip(ours, theirs), 1):
                    self.assertEqual(comparable(name, kinds, mine), comparable(name, kinds, other),
                                     f"row {number}")

    def test_imported_tables_read_alike(self):
        text = io.StringIO(newline="")
        writer = csv.writer(text)
        writer.writerow(["TAG", "LEN", "WEIGHT", "DAY", "OK", "NOTE"])
        for i in range(300):
            writer.writerow([f"P-{i:04}", i, f"{i * 1.25 - 100:.2f}" if i % 7 else "",
                             f"20{i % 60:02}-{i % 12 + 1:02}-{i % 28 + 1:02}" if i % 5 else "",
                             "TFYN"[i % 4], "x\n" * i if i % 3 else ""])
        self.import_csv(text.getvalue())
        self.assertEqual([field[1] for field in self.fields()], list("CNNDLM"))
        self.compare(self.path("t.dbf"), READERS)
        rows = READERS["dbfread"](self.path("t.dbf"), "CNNDLM")
        self.assertEqual(rows[4], ["P-0004", 4, -95, "20040505".strip("0"), True, "x\n" * 4])

        self.import_csv(text.getvalue(), "--append")
        self.compare(self.path("t.dbf"), READERS)

    def test_plant_table(self):
        source = os.path.join(HERE, "..", "examples", "plant", "piping.csv")
        run("import", self.path("t.dbf"), source)
        self.compare(self.path("t.dbf"), READERS)

    TAGS = {  # options of `index`; whether a row is in the tag; its key as XBase shows it
        "NAME": (["NAME"], lambda row: True, lambda row: row["NAME"]),
        "QTY": (["QTY"], lambda row: True, lambda row: row["QTY"]),
        "DAY": (["DAY"], lambda row: True, lambda row: row["DAY"].toordinal() + 1721425),
        "DOWN": (["QTY", "--descending"], lambda row: True, lambda row: row["QTY"]),
        "LIVE": (["LEFT(NAME,3)+STR(ID,6)", "--filter", ".NOT. DELETED() .AND. QTY < 0"],
                 lambda row: not row["deleted"] and row["QTY"] < 0,
                 lambda row: f"{row['NAME'][:3]:3}{row['ID']:6}"),
    }

    def compare_tags(self, rows):
        table = self.path("t.dbf")
        dumps = {name: subprocess.Popen(
            ["index_dump", "--type", "char" if name in ("NAME", "LIVE") else "num",
             self.path("t.cdx"), name], stdout=subprocess.PIPE) for name in self.TAGS}
        for name, (_, included, key) in self.TAGS.items():
            with self.subTest(tag=name, records=len(rows)):
                expected = sorted((key(row), row["ID"]) for row in rows if included(row))
                lines = dumps[name].communicate()[0].decode().splitlines()
                theirs = [line.rsplit(" ", 1) for line in lines]
                kind = type(expected[0][0])
                self.assertTrue(expected == [(kind(k), int(record)) for k, record in theirs])
                if name == "DOWN":
                    expected.reverse()
                text = self.ok("cat", table, "--order", name, "--deleted", "--format", "csv")
                ours = [int(line.split(b",", 1)[0]) for line in text.splitlines()[1:]]
                self.assertTrue(ours == [record for _, record in expected])

    @unittest.skipUnless(os.access(TABLE_EDITOR, os.X_OK), "no table_editor (ZK_TABLE_EDITOR)")
    def test_tags(self):
        chance = random.Random(20240607)

        def row(record):
            return {"ID": record, "NAME": f"N{chance.randrange(50000)}", "deleted": False,
                    "QTY": chance.randrange(-10**6, 10**6) / 8,
                    "DAY": datetime.date.fromordinal(chance.randrange(700000, 740000))}

        def texts(row):
            return [str(row["ID"]), row["NAME"], f"{row['QTY']:.3f}", f"{row['DAY']:%Y%m%d}"]

        rows = [row(record) for record in range(1, 100001)]
        make_table(self.path("t.dbf"), [("ID", "N", 6, 0), ("NAME", "C", 8, 0),
                                        ("QTY", "N", 12, 3), ("DAY", "D", 8, 0)],
                   [" {:>6}{:8}{:>12}{}".format(*texts(row)).encode() for row in rows])
        for name, (options, _, _) in self.TAGS.items():
            self.ok("index", self.path("t"), *options, "--tag", name)
        self.compare_tags(rows)

        rows += [row(record) for record in range(100001, 101001)]
        appended = "".join(",".join(texts(row)) + "\n" for row in rows[-1000:])
        self.import_csv("ID,NAME,QTY,DAY\n" + appended, "--append")
        edits = {"0": "", "2": ""}  # shared and exclusive
        for i in range(6000):
            changed = chance.choice(rows)
            edit = chance.choice(["set", "set", "delete", "recall"])
            line = f"{edit} {changed['ID']}"
            if edit == "set":
                field = chance.choice(["NAME", "QTY", "DAY"])
                changed[field] = row(0)[field]
                line += f" {field} {texts(changed)[['NAME', 'QTY', 'DAY'].index(field) + 1]:>4}"
            else:
                changed["deleted"] = edit == "delete"
            edits["0" if i < 2000 else "2"] += line + "\n"
        for mode, lines in edits.items():
            subprocess.run([TABLE_EDITOR, self.path("t.dbf"), mode], input=lines.encode(),
                           check=True, timeout=60)
        self.compare_tags(rows)

    @unittest.skipUnless(os.path.isdir(DATA), "no tables of other programs (ZK_TEST_DATA)")
    def test_tables_of_other_programs(self):
        for name in sorted(os.listdir(DATA)):
            if name.lower().endswith(".dbf"):
                self.compare(os.path.join(DATA, name), READERS)


if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[1].startswith("-"):
        sys.exit("usage: zktool_test.py PATH-TO-ZKTOOL [unittest options]")
    ZKTOOL = os.path.abspath(sys.argv.pop(1))
    for program in ("pgdbf", "perl"):
        if shutil.which(program) is None:
            sys.exit(f"{program} is missing: scripts/install-deps.sh test")
    subprocess.run(["perl", "-MXBase", "-e", "1"], check=True)
    unittest.main()
