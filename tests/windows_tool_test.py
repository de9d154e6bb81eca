"""zktool under Windows: windows_tool_test.py RUN ZKTOOL. RUN starts Windows programs.

What it does is tested elsewhere; here it is that bytes come through whole, and names."""

import os
import subprocess
import sys
import tempfile

run, zktool = sys.argv[1:]
CSV = ("PART,WEIGHT,MADE,NOTE\r\n"
       'ELBOW,12.50,20010203,"two\nlines, ""quoted"""\r\n'
       "FLANGE,7.25,19991231,\r\n"
       "VALVE,40.00,20240229,plain\r\n")


def tool(*arguments, status=0, data=None):
    result = subprocess.run([run, zktool, *arguments], input=data, capture_output=True, timeout=120,
                            check=False)
    assert result.returncode == status, (arguments, result)
    return result


def main():
    with tempfile.TemporaryDirectory(prefix="zk_tool_") as folder:
        os.chdir(folder)
        with open("parts.csv", "w", encoding="ascii", newline="") as file:
            file.write(CSV)
        tool("import", "parts.dbf", "parts.csv", "--fields",
             "PART,C,10;WEIGHT,N,8,2;MADE,D;NOTE,M")
        written = tool("cat", "PARTS", "--format", "csv").stdout.decode()
        assert written == CSV, written
        tool("index", "Parts", "PART", "--tag", "PART")
        assert b"VALVE" in tool("seek", "parts.dbf", "VALVE", "--tag", "PART").stdout
        assert b"parts.dbf" in tool("check", "parts.dbf").stdout
        assert b"\r" not in tool("cat", "parts", "--format", "json").stdout
        assert b"(-60)" in tool("info", ".\\none.dbf", status=1).stderr
        tool("no-such-command", status=2)


main()
