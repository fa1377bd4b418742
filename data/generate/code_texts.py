#!/usr/bin/env python3
"""Writes ../code_texts.tab: what the codes of ../codes.tab mean, as texts of the Projection Engine.

    code_texts.py BUILD            BUILD is a build tree, whose library asks PROJ's database
    code_texts.py --check BUILD    compares what it would write; status 1 when it is something else

Codes that have no such text are told and left out. The same database gives the same bytes.
"""

import ctypes
import sys
import tempfile
from pathlib import Path

from libraries import HERE, Library, Pointer, Text

TARGET = HERE.parent / "code_texts.tab"
HEADER = """\
# What the codes of codes.tab mean, as texts of the Projection Engine, in the same order:
#
#     AUTHORITY CODE TEXT
#
# The engine's database, which says the same, is asked for what is not here.
"""


class Code(ctypes.Structure):
    _fields_ = [("authority", Text), ("number", ctypes.c_int32), ("projected", ctypes.c_int32),
                ("deprecated", ctypes.c_int32), ("area", ctypes.c_double * 4), ("name", Text), ("engine_name", Text)]


def lines(library):
    count, report = ctypes.c_int32(), Pointer()
    codes = library.call("oprj_CodesGet", ctypes.byref(count), None, result=ctypes.POINTER(Code))
    for code in codes[:count.value]:
        text = library.text(library.call("oprj_CodeToPEString", ctypes.byref(code), ctypes.byref(report)))
        if text:
            yield f"{code.authority.decode()} {code.number} {text}\n"
        else:
            print(f"left out: {library.reason(report)}", file=sys.stderr)


def main():
    check = sys.argv[1] == "--check"
    with tempfile.TemporaryDirectory() as folder:  # the tables but for the one that is written
        for table in HERE.parent.glob("*.*"):
            if table != TARGET:
                (Path(folder) / table.name).symlink_to(table)
        content = HEADER + "".join(lines(Library(sys.argv[1 + check], folder)))
    if check:
        sys.exit(0 if TARGET.read_text(encoding="utf-8") == content else f"{TARGET} is something else")
    TARGET.write_text(content, encoding="utf-8", newline="\n")


if __name__ == "__main__":
    main()
