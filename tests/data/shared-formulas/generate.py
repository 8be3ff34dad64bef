#!/usr/bin/python3
"""Rebuilds shifted.tsv: what a shared formula reads as in each cell of its
group, according to LibreOffice.

Writes a workbook whose sheet "Data" holds one shared-formula group per
master formula (master plus followers at fixed distances), lets
`soffice --headless` convert it to XLSX (LibreOffice expands the groups and
saves every cell's formula on its own), and reads those formulas back with
openpyxl. Each line of the table: master, row distance, column distance,
formula text of that cell (without "=" and without the "_xlfn." prefixes).

Usage: tests/data/shared-formulas/generate.py   (needs soffice and openpyxl)
"""
import os
import shutil
import subprocess
import sys
import tempfile
import zipfile

import openpyxl
from openpyxl.utils import get_column_letter

HERE = os.path.dirname(os.path.abspath(__file__))
LAST_ROW, LAST_COL = 1048576, 16384

# Masters, each with the distances of its followers from it.
INSIDE = [(1, 0), (0, 1), (3, 2)]
GROUPS = [
    ("DAYS360(B2,A2)", INSIDE),
    ("LOG10(A1)+DEC2BIN(A1)", INSIDE),
    ("DEC2HEX(A1)&BIN2DEC(\"101\")", INSIDE),
    ("ATAN2(A1,B1)", INSIDE),
    ("_xlfn.T.DIST.2T(A1,2)", INSIDE),
    ("'Q1 2024'!A1+Q1!B2", INSIDE),
    ("\"AB12\"&A1&\"Sheet1!C3\"", INSIDE),
    ("$A$1+A$1+$A1+A1", INSIDE),
    ("SUM(A1:B3)", INSIDE),
    ("SUM($A$1:A1)", INSIDE),
    ("SUM('Q1 2024'!A1:B2)", INSIDE),
    ("A1*TaxRate", INSIDE),
    ("IF(a1>0,a1,-b2)", INSIDE),
]
# Masters on the last row and column, whose followers' references leave the grid.
EDGE = [
    ("A1048576+1", (LAST_ROW - 2, 3), [(1, 0)]),
    ("SUM(B1048575:B1048576)", (LAST_ROW - 2, 6), [(1, 0)]),
    ("Q1!A1048576", (LAST_ROW - 2, 9), [(1, 0)]),
    ("XFD1&\"x\"", (10, LAST_COL - 2), [(0, 1)]),
    ("Q1!XFC5+$XFD5", (13, LAST_COL - 2), [(0, 1)]),
    ("SUM(XFC1:XFD2)", (16, LAST_COL - 2), [(0, 1)]),
]


def ref(row, col):  # zero-based
    return f"{get_column_letter(col + 1)}{row + 1}"


def escape(text):
    return text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;").replace('"', "&quot;")


def sheet_xml(cells):
    rows = {}
    for (r, c), xml in cells.items():
        rows.setdefault(r, []).append((c, xml))
    body = "".join(
        f'<row r="{r + 1}">' + "".join(x for _, x in sorted(cs)) + "</row>" for r, cs in sorted(rows.items()))
    return ('<worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main">'
            f"<sheetData>{body}</sheetData></worksheet>")


def layout():
    """(master text, master row, master col, [(dr, dc)]) for every group."""
    groups = []
    for i, (text, deltas) in enumerate(GROUPS):
        groups.append((text, 20 + 6 * i, 4, deltas))
    for text, (row, col), deltas in EDGE:
        groups.append((text, row, col, deltas))
    return groups


def write_book(path):
    cells = {}
    for si, (text, row, col, deltas) in enumerate(layout()):
        last_r = row + max(d[0] for d in deltas)
        last_c = min(col + max(d[1] for d in deltas), LAST_COL - 1)
        area = f"{ref(row, col)}:{ref(last_r, last_c)}"
        cells[(row, col)] = (f'<c r="{ref(row, col)}"><f t="shared" ref="{area}" si="{si}">'
                             f"{escape(text)}</f><v>0</v></c>")
        for dr, dc in deltas:
            if col + dc < LAST_COL:
                cells[(row + dr, col + dc)] = f'<c r="{ref(row + dr, col + dc)}"><f t="shared" si="{si}"/><v>0</v></c>'
    main = "http://schemas.openxmlformats.org/spreadsheetml/2006/main"
    rel = "http://schemas.openxmlformats.org/officeDocument/2006/relationships"
    names = ["Data", "Q1 2024", "Q1"]
    with zipfile.ZipFile(path, "w") as z:
        z.writestr("[Content_Types].xml",
                   '<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">'
                   '<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>'
                   '<Default Extension="xml" ContentType="application/xml"/>'
                   '<Override PartName="/xl/workbook.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/>'
                   + "".join(f'<Override PartName="/xl/worksheets/sheet{i + 1}.xml" ContentType='
                             '"application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml"/>'
                             for i in range(len(names)))
                   + "</Types>")
        z.writestr("_rels/.rels",
                   '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
                   f'<Relationship Id="rId1" Type="{rel}/officeDocument" Target="xl/workbook.xml"/></Relationships>')
        z.writestr("xl/workbook.xml",
                   f'<workbook xmlns="{main}" xmlns:r="{rel}"><sheets>'
                   + "".join(f'<sheet name="{n}" sheetId="{i + 1}" r:id="rId{i + 1}"/>' for i, n in enumerate(names))
                   + "</sheets><definedNames><definedName name=\"TaxRate\">Data!$A$1</definedName>"
                   "</definedNames></workbook>")
        z.writestr("xl/_rels/workbook.xml.rels",
                   '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
                   + "".join(f'<Relationship Id="rId{i + 1}" Type="{rel}/worksheet" Target="worksheets/sheet{i + 1}.xml"/>'
                             for i in range(len(names)))
                   + "</Relationships>")
        z.writestr("xl/worksheets/sheet1.xml", sheet_xml(cells))
        for i in range(1, len(names)):
            z.writestr(f"xl/worksheets/sheet{i + 1}.xml", sheet_xml({}))


def main():
    work = tempfile.mkdtemp(prefix="sumora-shared-")
    try:
        source = os.path.join(work, "in", "shared.xlsx")
        os.makedirs(os.path.dirname(source))
        write_book(source)
        subprocess.run(["soffice", f"-env:UserInstallation=file://{work}/profile", "--headless",
                        "--convert-to", "xlsx", "--outdir", work, source],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        with zipfile.ZipFile(os.path.join(work, "shared.xlsx")) as z:
            if 't="shared"' in z.read("xl/worksheets/sheet1.xml").decode():
                sys.exit("LibreOffice kept shared formulas; the table would not be its own")
        sheet = openpyxl.load_workbook(os.path.join(work, "shared.xlsx"))["Data"]
        lines = []
        for text, row, col, deltas in layout():
            master = text.replace("_xlfn.", "")
            for dr, dc in deltas:
                if col + dc >= LAST_COL:
                    continue  # no such cell
                value = sheet.cell(row + dr + 1, col + dc + 1).value
                formula = str(value)[1:].replace("_xlfn.", "") if value is not None else ""
                lines.append(f"{master}\t{dr}\t{dc}\t{formula}\n")
        with open(os.path.join(HERE, "shifted.tsv"), "w") as out:
            out.write("# master\trow distance\tcolumn distance\tformula (LibreOffice); rebuilt by generate.py\n")
            out.writelines(lines)
    finally:
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
