#!/usr/bin/python3
"""Builds the workbooks of the check/diff/trace/profile command tests and
their expected outputs (cases.txt), from outside Sumora's code: openpyxl
writes the formulas, LibreOffice computes them and saves the results the
files store, and the expected texts are those results as openpyxl reads them
back. Run from anywhere with Debian's python3 (python3-openpyxl) and soffice:

    /usr/bin/python3 tests/data/tools/make_workbooks.py

cases.txt holds one block per command: "=== ARGS", "exit N", then the lines
it prints; a "*" in a line matches any text (random or timed values)."""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import zipfile
from copy import copy

from openpyxl import Workbook, load_workbook
from openpyxl.styles import PatternFill

HERE = os.path.dirname(os.path.abspath(__file__))

# The base workbook: a chain that crosses from Data to Calc, and a sheet of
# constants nothing reads.
DATA = {"A1": 10, "A2": 20, "A3": 30, "B1": "=A1*2", "B2": "=A2*2", "B3": "=B1+B2"}
CALC = {"A1": "=1+Data!B3", "A2": "=A1*3", "B1": "=ROUND(A2/7,4)", "C1": "=SUM(Data!A1:A3)+INT(B1)"}
NOTES = {"A1": "owner", "B1": "Ana", "A2": "year", "B2": 2024}


def book(sheets, styles=None):
    wb = Workbook()
    wb.remove(wb.active)
    for name, cells in sheets:
        ws = wb.create_sheet(name)
        for address, value in cells.items():
            ws[address] = value
    for (sheet, address), style in (styles or {}).items():
        style(wb[sheet][address])
    return wb


def computed_by_libreoffice(wb, name, out_dir, work):
    """Saves through LibreOffice, which computes every formula and stores its result."""
    source = os.path.join(work, "src", name)
    os.makedirs(os.path.dirname(source), exist_ok=True)
    wb.save(source)
    convert(source, "xlsx", out_dir, work)


def convert(path, fmt, out_dir, work):
    subprocess.run(["timeout", "300", "soffice", "-env:UserInstallation=file://" + work + "/profile",
                    "--headless", "--convert-to", fmt, "--outdir", out_dir, path],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def replace_cached_value(path, sheet_index, address, new_value):
    """Rewrites one formula cell's stored result, as a stale file would hold it."""
    part = "xl/worksheets/sheet%d.xml" % sheet_index
    with zipfile.ZipFile(path) as z:
        entries = [(info, z.read(info.filename)) for info in z.infolist()]
    rewritten = []
    for info, data in entries:
        if info.filename == part:
            text = data.decode("utf-8")
            pattern = r'(<c r="%s"[^>]*>.*?<v>)[^<]*(</v>)' % address
            text, count = re.subn(pattern, r"\g<1>%s\g<2>" % new_value, text, count=1)
            assert count == 1, "no cached value at " + address
            data = text.encode("utf-8")
        rewritten.append((info, data))
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as z:
        for info, data in rewritten:
            z.writestr(info, data)


def shown(value):
    """A stored result as Sumora's cells render it: whole numbers without a point."""
    if value is True or value is False:
        return "TRUE" if value else "FALSE"
    if isinstance(value, float) and value.is_integer() and abs(value) < 1e15:
        return str(int(value))
    return str(value)


def main():
    work = tempfile.mkdtemp(prefix="sumora-tools-")
    try:
        base = [("Data", DATA), ("Calc", CALC), ("Notes", NOTES)]
        computed_by_libreoffice(book(base), "book.xlsx", HERE, work)
        convert(os.path.join(HERE, "book.xlsx"), "ods", HERE, work)
        computed_by_libreoffice(book([("Data", DATA), ("Calc", CALC), ("Remarks", NOTES)]), "renamed.xlsx", HERE, work)
        computed_by_libreoffice(book([("Data", dict(DATA, A2=25)), ("Calc", dict(CALC, A2="=A1*4")), ("Notes", NOTES)]),
                                "changed.xlsx", HERE, work)
        def bold_yellow(cell):
            font = copy(cell.font)
            font.bold = True
            cell.font = font
            cell.fill = PatternFill("solid", fgColor="FFFFFF00")
        computed_by_libreoffice(book(base, {("Data", "A1"): bold_yellow}), "formatted.xlsx", HERE, work)
        computed_by_libreoffice(book([("Loop", {"A1": "=B1+1", "B1": "=A1+1", "C1": "=A1*2", "D1": 5,
                                                "D2": "=D1*2"})]), "cycle.xlsx", HERE, work)
        computed_by_libreoffice(book([("Vol", {"A1": "=RAND()", "B1": "=A1*2", "C1": "=1+1"})]), "volatile.xlsx",
                                HERE, work)
        shutil.copy(os.path.join(HERE, "book.xlsx"), os.path.join(HERE, "stale.xlsx"))
        replace_cached_value(os.path.join(HERE, "stale.xlsx"), 2, "A2", "999")
    finally:
        shutil.rmtree(work, ignore_errors=True)

    values = load_workbook(os.path.join(HERE, "book.xlsx"), data_only=True)
    v = lambda sheet, address: shown(values[sheet][address].value)
    cycle = load_workbook(os.path.join(HERE, "cycle.xlsx"), data_only=True)["Loop"]
    summary = "%d formulas checked: %d differ, %d volatile, %d without a stored result"

    def show(sheet, address, formula):
        return "%s!%s %s  → %s" % (sheet, address, formula, v(sheet, address))

    cases = []
    add = lambda args, status, *lines: cases.append((args, status, lines))
    add("check book.xlsx", 0, summary % (7, 0, 0, 0))
    add("check book.ods", 0, summary % (7, 0, 0, 0))
    add("check stale.xlsx", 1, "Calc!A2: stored 999, computed " + v("Calc", "A2"), summary % (7, 1, 0, 0))
    add("check stale.xlsx --sheet Data", 0, summary % (3, 0, 0, 0))
    add("check cycle.xlsx", 1,
        *["Loop!%s: stored %s, computed #CIRC!" % (a, shown(cycle[a].value)) for a in ("A1", "B1", "C1")],
        summary % (4, 3, 0, 0))
    add("check volatile.xlsx", 0, "Volatile (not counted as differences):", "Vol!A1: stored *, computed *",
        "Vol!B1: stored *, computed *", summary % (3, 0, 2, 0))

    add("diff book.xlsx book.ods", 0)
    add("diff book.ods stale.xlsx", 0)
    add("diff book.xlsx renamed.xlsx", 1, "Sheet renamed: Notes → Remarks")
    add("diff book.xlsx changed.xlsx", 1, "Data!A2: 20 → 25", "Calc!A2: =A1*3 → =A1*4")
    add("diff book.xlsx changed.xlsx --values", 1, "Data!A2: 20 → 25")
    add("diff book.xlsx changed.xlsx --formulas", 1, "Calc!A2: =A1*3 → =A1*4")
    add("diff book.xlsx formatted.xlsx", 0)
    add("diff book.xlsx formatted.xlsx --formats", 1, "Data!A1 (format): bold no, fill none → bold yes, fill FFFF00")
    add("diff book.xlsx cycle.xlsx", 1, "Sheet removed: Data", "Sheet removed: Calc", "Sheet removed: Notes",
        "Sheet added: Loop")

    c1 = show("Calc", "C1", CALC["C1"])
    add("trace book.xlsx Calc!C1", 0,
        c1,
        "  Data!A1:A3",
        "  " + show("Calc", "B1", CALC["B1"]),
        "    " + show("Calc", "A2", CALC["A2"]),
        "      " + show("Calc", "A1", CALC["A1"]),
        "        " + show("Data", "B3", DATA["B3"]),
        "          " + show("Data", "B1", DATA["B1"]),
        "            Data!A1 10",
        "          " + show("Data", "B2", DATA["B2"]),
        "            Data!A2 20")
    add("trace book.xlsx Calc!C1 --depth 1", 0, c1, "  Data!A1:A3", "  " + show("Calc", "B1", CALC["B1"]) + "  …")
    add("trace book.xlsx Data!A1 --dependents", 0,
        "Data!A1 10",
        "  " + show("Data", "B1", DATA["B1"]),
        "    " + show("Data", "B3", DATA["B3"]),
        "      " + show("Calc", "A1", CALC["A1"]),
        "        " + show("Calc", "A2", CALC["A2"]),
        "          " + show("Calc", "B1", CALC["B1"]),
        "            " + c1,
        "  " + c1)
    add("trace cycle.xlsx Loop!A1", 0,
        "Loop!A1 =B1+1  → #CIRC!", "  Loop!B1 =A1+1  → #CIRC!", "    Loop!A1 =B1+1  → #CIRC!  (see above)")
    add("trace book.xlsx Notes!B2 --dependents", 0, "Notes!B2 2024")

    add("recalc book.xlsx --profile", 0,
        "Recalculated 7 formulas in * ms", "", "Slowest formulas:", "*", *(["*"] * 7), "",
        "Slowest functions (own time, calls inside their arguments excluded):", "*", "*", "*", "*", "",
        "Longest dependency chain: 6 formulas", "  Calc!C1 ← Calc!B1 ← Calc!A2 ← Calc!A1 ← Data!B3 ← Data!B1")

    with open(os.path.join(HERE, "cases.txt"), "w", encoding="utf-8") as f:
        f.write("# Generated by make_workbooks.py from LibreOffice's results; do not edit.\n")
        for args, status, lines in cases:
            f.write("=== %s\nexit %d\n" % (args, status))
            for line in lines:
                f.write(line + "\n")


if __name__ == "__main__":
    sys.exit(main())
