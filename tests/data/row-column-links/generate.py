#!/usr/bin/python3
"""Builds the row, column, hyperlink and font fixtures and their expectations.

book.xlsx is written by openpyxl; book.ods is LibreOffice's conversion of it,
so both readers meet another producer's markup. expected.tsv lists what each
must yield: the values set here, as the two programs store them.

Run from this folder: /usr/bin/python3 generate.py (needs python3-openpyxl and soffice).
"""
import os
import shutil
import subprocess
import tempfile

import openpyxl
from openpyxl.styles import Font
from openpyxl.worksheet.hyperlink import Hyperlink

wb = openpyxl.Workbook()
ws = wb.active
ws.title = "Data"
for r in range(1, 13):
    ws.cell(row=r, column=1, value=r * 10)
ws["B1"] = "site"
ws["B1"].hyperlink = "https://example.org/a?b=1&c=2"
ws["B2"] = "mail"
ws["B2"].hyperlink = "mailto:someone@example.org"
ws["B3"] = "jump"
ws["B3"].hyperlink = Hyperlink(ref="B3", location="Sheet2!C4")
ws["A1"].font = Font(name="Liberation Serif", size=14)
ws["A2"].font = Font(name="DejaVu Sans Mono")

ws.row_dimensions[3].hidden = True
ws.row_dimensions[5].height = 30  # points
for r in range(6, 10):
    ws.row_dimensions[r].outline_level = 1
for r in (7, 8):
    ws.row_dimensions[r].outline_level = 2
    ws.row_dimensions[r].hidden = True
ws.row_dimensions[9].collapsed = True

ws.column_dimensions["C"].hidden = True
ws.column_dimensions["D"].width = 20
ws.column_dimensions.group("E", "F", outline_level=1)

ws2 = wb.create_sheet("Sheet2")
ws2["C4"] = "target"

here = os.path.dirname(os.path.abspath(__file__))
wb.save(os.path.join(here, "book.xlsx"))

work = tempfile.mkdtemp()
try:
    subprocess.run(["soffice", "-env:UserInstallation=file://" + work + "/profile", "--headless",
                    "--convert-to", "ods", "--outdir", work, os.path.join(here, "book.xlsx")],
                   check=True, capture_output=True)
    shutil.copy(os.path.join(work, "book.ods"), os.path.join(here, "book.ods"))
finally:
    shutil.rmtree(work)

# kind, sheet, key, expected. Rows and columns are one-based as a user counts
# them; heights and widths in screen pixels (96 per inch).
rows = [
    ("hiddenRow", "Data", "3", "1"),
    ("hiddenRow", "Data", "7", "1"),
    ("hiddenRow", "Data", "8", "1"),
    ("hiddenRow", "Data", "4", "0"),
    ("hiddenColumn", "Data", "C", "1"),
    ("hiddenColumn", "Data", "D", "0"),
    ("rowHeight", "Data", "5", "40"),
    ("rowGroup", "Data", "6:9", "1"),
    ("rowGroup", "Data", "7:8", "2 collapsed"),
    ("columnGroup", "Data", "E:F", "1"),
    ("hyperlink", "Data", "B1", "https://example.org/a?b=1&c=2"),
    ("hyperlink", "Data", "B2", "mailto:someone@example.org"),
    ("hyperlink", "Data", "B3", "#Sheet2!C4"),
    ("font", "Data", "A1", "Liberation Serif"),
    ("font", "Data", "A2", "DejaVu Sans Mono"),
    ("value", "Sheet2", "C4", "target"),
]
with open(os.path.join(here, "expected.tsv"), "w") as out:
    out.write("# kind\tsheet\tkey\texpected (written by generate.py)\n")
    for row in rows:
        out.write("\t".join(row) + "\n")
