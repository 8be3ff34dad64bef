#!/usr/bin/env python3
"""Rebuilds conditional_format_marks.tsv: which cells LibreOffice marks for
each conditional-format rule over one column of values.

Each rule gets a column of its own holding the same values, with the rule's
cfRule XML over that column and a fill of its own. LibreOffice converts the
workbook to HTML, whose cells carry the conditionally applied fill as
bgcolor; a cell is marked when it shows the fill.

Run from anywhere: python3 conditional_format_marks_generate.py (needs soffice).
"""
import html.parser
import os
import subprocess
import tempfile
import zipfile

HERE = os.path.dirname(os.path.abspath(__file__))
VALUES = ["5", "12", "12", "-3", "7", "apple", "0", "18", "3.5", "-1", "9", "25", "12", "1", "30", "2",
          "8", "16", "6", "11"]
# {c} is the rule's column letter, {r} its first row; formulas are written
# for the range's top-left cell.
RULES = [
    '<cfRule type="top10" percent="1" rank="10" dxfId="0" priority="1"/>',
    '<cfRule type="top10" percent="1" bottom="1" rank="25" dxfId="0" priority="1"/>',
    '<cfRule type="top10" percent="1" rank="3" dxfId="0" priority="1"/>',
    '<cfRule type="top10" percent="1" bottom="1" rank="100" dxfId="0" priority="1"/>',
    '<cfRule type="cellIs" operator="greaterThanOrEqual" dxfId="0" priority="1"><formula>12</formula></cfRule>',
    '<cfRule type="cellIs" operator="lessThanOrEqual" dxfId="0" priority="1"><formula>5</formula></cfRule>',
    '<cfRule type="cellIs" operator="notEqual" dxfId="0" priority="1"><formula>12</formula></cfRule>',
    '<cfRule type="cellIs" operator="equal" dxfId="0" priority="1"><formula>"apple"</formula></cfRule>',
    '<cfRule type="cellIs" operator="between" dxfId="0" priority="1"><formula>{c}$1</formula><formula>3</formula></cfRule>',
    '<cfRule type="expression" dxfId="0" priority="1"><formula>MOD(ROW(),2)=0</formula></cfRule>',
    '<cfRule type="expression" dxfId="0" priority="1"><formula>{c}1&gt;{c}2</formula></cfRule>',
    '<cfRule type="expression" dxfId="0" priority="1"><formula>{c}1&gt;${c}$2</formula></cfRule>',
    '<cfRule type="expression" dxfId="0" priority="1"><formula>ISTEXT({c}1)</formula></cfRule>',
    '<cfRule type="expression" dxfId="0" priority="1"><formula>AND({c}1&gt;=5,{c}1&lt;15)</formula></cfRule>',
    '<cfRule type="expression" dxfId="0" priority="1"><formula>{c}1</formula></cfRule>',
    '<cfRule type="expression" dxfId="0" priority="1"><formula>"yes"</formula></cfRule>',
    '<cfRule type="expression" dxfId="0" priority="1"><formula>{c}1=MAX(${c}$1:${c}$20)</formula></cfRule>',
]
FILL = "FF0000"
MAIN = "http://schemas.openxmlformats.org/spreadsheetml/2006/main"
REL = "http://schemas.openxmlformats.org/officeDocument/2006/relationships"


def col_letter(i):
    s = ""
    i += 1
    while i:
        i, r = divmod(i - 1, 26)
        s = chr(65 + r) + s
    return s


def cell(ref, text):
    if text == "":
        return ""
    if text in ("TRUE", "FALSE"):
        return f'<c r="{ref}" t="b"><v>{1 if text == "TRUE" else 0}</v></c>'
    try:
        float(text)
        return f'<c r="{ref}"><v>{text}</v></c>'
    except ValueError:
        return f'<c r="{ref}" t="inlineStr"><is><t>{text}</t></is></c>'


def workbook(path):
    rows = []
    for r, v in enumerate(VALUES):
        cells = "".join(cell(f"{col_letter(c)}{r + 1}", v) for c in range(len(RULES)))
        rows.append(f'<row r="{r + 1}">{cells}</row>')
    blocks = "".join(
        f'<conditionalFormatting sqref="{col_letter(c)}1:{col_letter(c)}{len(VALUES)}">'
        + rule.replace("{c}", col_letter(c)) + "</conditionalFormatting>"
        for c, rule in enumerate(RULES))
    sheet = (f'<worksheet xmlns="{MAIN}" xmlns:r="{REL}"><sheetData>{"".join(rows)}</sheetData>'
             f"{blocks}</worksheet>")
    styles = (f'<styleSheet xmlns="{MAIN}"><fonts count="1"><font><sz val="11"/><name val="Calibri"/></font></fonts>'
              '<fills count="2"><fill><patternFill patternType="none"/></fill><fill><patternFill patternType="gray125"/></fill></fills>'
              '<borders count="1"><border/></borders><cellStyleXfs count="1"><xf/></cellStyleXfs>'
              '<cellXfs count="1"><xf/></cellXfs>'
              f'<dxfs count="1"><dxf><fill><patternFill><bgColor rgb="FF{FILL}"/></patternFill></fill></dxf></dxfs>'
              "</styleSheet>")
    with zipfile.ZipFile(path, "w") as z:
        z.writestr("[Content_Types].xml",
                   '<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">'
                   '<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>'
                   '<Default Extension="xml" ContentType="application/xml"/>'
                   '<Override PartName="/xl/workbook.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/>'
                   '<Override PartName="/xl/worksheets/sheet1.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml"/>'
                   '<Override PartName="/xl/styles.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml"/>'
                   "</Types>")
        z.writestr("_rels/.rels",
                   '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
                   f'<Relationship Id="rId1" Type="{REL}/officeDocument" Target="xl/workbook.xml"/></Relationships>')
        z.writestr("xl/workbook.xml",
                   f'<workbook xmlns="{MAIN}" xmlns:r="{REL}"><sheets><sheet name="Sheet1" sheetId="1" r:id="rId1"/></sheets></workbook>')
        z.writestr("xl/_rels/workbook.xml.rels",
                   '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
                   f'<Relationship Id="rId1" Type="{REL}/worksheet" Target="worksheets/sheet1.xml"/>'
                   f'<Relationship Id="rId2" Type="{REL}/styles" Target="styles.xml"/></Relationships>')
        z.writestr("xl/worksheets/sheet1.xml", sheet)
        z.writestr("xl/styles.xml", styles)


class Cells(html.parser.HTMLParser):
    def __init__(self):
        super().__init__()
        self.rows = []

    def handle_starttag(self, tag, attrs):
        if tag == "tr":
            self.rows.append([])
        elif tag == "td" and self.rows is not None:
            a = dict(attrs)
            self.rows[-1].append((a.get("bgcolor") or "").upper() == "#" + FILL)


def main():
    with tempfile.TemporaryDirectory() as tmp:
        path = os.path.join(tmp, "marks.xlsx")
        workbook(path)
        subprocess.run(["soffice", "--headless", "--convert-to", "html", "--outdir", tmp, path],
                       check=True, capture_output=True, timeout=300)
        parser = Cells()
        with open(os.path.join(tmp, "marks.html"), encoding="utf-8", errors="replace") as f:
            parser.feed(f.read())
    rows = [r for r in parser.rows if r][: len(VALUES)]
    with open(os.path.join(HERE, "conditional_format_marks.tsv"), "w") as out:
        out.write("# Generated by conditional_format_marks_generate.py from LibreOffice's HTML export.\n")
        out.write("# values\t" + "\t".join(VALUES) + "\n")
        out.write("# cfRule over {c}1:{c}20 ({c}: its column)\tmarked rows, 1-based\n")
        for c, rule in enumerate(RULES):
            marked = [str(r + 1) for r in range(len(VALUES)) if c < len(rows[r]) and rows[r][c]]
            out.write(rule + "\t" + ",".join(marked) + "\n")


if __name__ == "__main__":
    main()
