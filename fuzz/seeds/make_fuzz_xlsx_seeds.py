#!/usr/bin/env python3
"""Writes the seed packages of the fuzz_xlsx target into fuzz/seeds/fuzz_xlsx/.

Small hand-made workbooks, one per group of features the reader handles, so
that the fuzzer starts from valid packages instead of discovering the ZIP and
XML structure by chance. Run it again after changing it; the output is
deterministic.
"""
import os
import zipfile

MAIN = "http://schemas.openxmlformats.org/spreadsheetml/2006/main"
REL = "http://schemas.openxmlformats.org/officeDocument/2006/relationships"
PKG = "http://schemas.openxmlformats.org/package/2006/relationships"
DECL = '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>'


def worksheet(rows, before="", after=""):
    return f'<worksheet xmlns="{MAIN}" xmlns:r="{REL}">{before}<sheetData>{rows}</sheetData>{after}</worksheet>'


def package(sheets, parts=None, workbook_tail="", sheet_rels=None):
    parts = dict(parts or {})
    files = {
        "[Content_Types].xml": '<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types"/>',
        "_rels/.rels": f'<Relationships xmlns="{PKG}"><Relationship Id="rId1" Type="{REL}/officeDocument" '
                       'Target="xl/workbook.xml"/></Relationships>',
    }
    book = f'<workbook xmlns="{MAIN}" xmlns:r="{REL}"><sheets>'
    rels = f'<Relationships xmlns="{PKG}">'
    for i, (name, xml, attrs) in enumerate(sheets, 1):
        book += f'<sheet name="{name}" sheetId="{i}"{attrs} r:id="rId{i}"/>'
        rels += f'<Relationship Id="rId{i}" Type="{REL}/worksheet" Target="worksheets/sheet{i}.xml"/>'
        files[f"xl/worksheets/sheet{i}.xml"] = xml
    for path, kind in (("xl/sharedStrings.xml", "sharedStrings"), ("xl/styles.xml", "styles"),
                       ("xl/theme/theme1.xml", "theme")):
        if path in parts:
            rels += f'<Relationship Id="r{kind}" Type="{REL}/{kind}" Target="{path[3:]}"/>'
    files["xl/workbook.xml"] = book + "</sheets>" + workbook_tail + "</workbook>"
    files["xl/_rels/workbook.xml.rels"] = rels + "</Relationships>"
    files.update(parts)
    for path, xml in (sheet_rels or {}).items():
        files[path] = xml
    return files


def write(directory, name, files):
    with zipfile.ZipFile(os.path.join(directory, name), "w", zipfile.ZIP_DEFLATED) as z:
        for path, text in files.items():
            info = zipfile.ZipInfo(path, date_time=(1980, 1, 1, 0, 0, 0))
            info.compress_type = zipfile.ZIP_DEFLATED
            z.writestr(info, text)


def main():
    out = os.path.join(os.path.dirname(os.path.abspath(__file__)), "fuzz_xlsx")
    os.makedirs(out, exist_ok=True)
    sst = f'<sst xmlns="{MAIN}"><si><t>text</t></si><si><r><t>ri</t></r><r><t>ch</t></r><rPh><t>x</t></rPh></si>' \
          '<si><t>a_x000D_b</t></si></sst>'

    write(out, "values.xlsx", package(
        [("Values", worksheet('<row r="1" spans="1:6"><c r="A1"><v>0.1</v></c><c r="B1" t="s"><v>0</v></c>'
                              '<c r="C1" t="s"><v>1</v></c><c r="D1" t="b"><v>1</v></c><c r="E1" t="e"><v>#N/A</v></c>'
                              '<c r="F1" t="inlineStr"><is><t>in</t></is></c></row>'
                              '<row><c><v>1</v></c><c t="d"><v>2024-01-31T06:00:00</v></c></row>'), "")],
        {"xl/sharedStrings.xml": sst}))

    styles = (f'<styleSheet xmlns="{MAIN}"><numFmts count="1"><numFmt numFmtId="164" formatCode="0.0%"/></numFmts>'
              '<fonts count="2"><font><sz val="11"/><color theme="1"/><name val="Calibri"/></font>'
              '<font><b/><i/><u/><strike/><sz val="14"/><color rgb="FFFF0000"/><name val="Arial"/></font></fonts>'
              '<fills count="3"><fill><patternFill patternType="none"/></fill><fill><patternFill patternType="gray125"/>'
              '</fill><fill><patternFill patternType="solid"><fgColor theme="4" tint="0.4"/></patternFill></fill></fills>'
              '<borders count="2"><border/><border><left style="thin"/><bottom style="thick"/></border></borders>'
              '<cellXfs count="3"><xf/><xf numFmtId="164" fontId="1" fillId="2" borderId="1"/>'
              '<xf numFmtId="14"><alignment horizontal="center" wrapText="1"/><protection locked="0"/></xf></cellXfs>'
              '<colors><indexedColors><rgbColor rgb="FF000000"/></indexedColors></colors></styleSheet>')
    write(out, "styles.xlsx", package(
        [("Styled", worksheet('<row r="1"><c r="A1" s="1"><v>0.5</v></c><c r="B1" s="2"><v>45000</v></c></row>',
                              '<sheetPr><tabColor indexed="10"/></sheetPr><cols><col min="1" max="2" width="12"/></cols>'),
          "")],
        {"xl/styles.xml": styles}))

    write(out, "formulas.xlsx", package(
        [("Calc", worksheet('<row r="1"><c r="A1"><v>1</v></c><c r="B1"><f t="shared" ref="B1:B2" si="0">A1*2</f>'
                            '<v>2</v></c><c r="C1"><f t="array" ref="C1:C2">SEQUENCE(2)</f><v>1</v></c></row>'
                            '<row r="2"><c r="A2"><v>2</v></c><c r="B2"><f t="shared" si="0"/><v>4</v></c>'
                            '<c r="C2"><v>2</v></c><c r="D2" t="str"><f>_xlfn.CONCAT("a",A2)</f><v>a2</v></c></row>'),
          "")]))

    comments = (f'<comments xmlns="{MAIN}"><authors><author>a</author></authors><commentList>'
                '<comment ref="A1" authorId="0"><text><r><t>note</t></r></text></comment></commentList></comments>')
    write(out, "features.xlsx", package(
        [("Data", worksheet('<row r="1" ht="30" customHeight="1"><c r="A1"><v>1</v></c></row>',
                            '<sheetViews><sheetView workbookViewId="0"><pane xSplit="1" ySplit="1" state="frozen"/>'
                            '</sheetView></sheetViews>',
                            '<sheetProtection sheet="1" formatCells="0"/><mergeCells><mergeCell ref="A1:B2"/></mergeCells>'
                            '<dataValidations><dataValidation type="list" sqref="C1:C5"><formula1>"Yes,No,Maybe"'
                            '</formula1></dataValidation><dataValidation type="whole" operator="between" sqref="D1">'
                            '<formula1>1</formula1><formula2>10</formula2></dataValidation></dataValidations>'), ""),
         ("Hidden", worksheet(""), ' state="veryHidden"')],
        workbook_tail='<definedNames><definedName name="_xlnm.Print_Area">Data!$A$1:$B$2</definedName>'
                      '<definedName name="Table">Data!$A$1:$C$10</definedName></definedNames>',
        sheet_rels={"xl/comments1.xml": comments,
                    "xl/worksheets/_rels/sheet1.xml.rels":
                        f'<Relationships xmlns="{PKG}"><Relationship Id="c" Type="{REL}/comments" '
                        'Target="../comments1.xml"/></Relationships>'}))

    # Charts and pictures: one chart the model holds, one whose part is broken,
    # one that names a missing part, one outside the grid, a picture, and a
    # pivot table to carry through.
    xdr = "http://schemas.openxmlformats.org/drawingml/2006/spreadsheetDrawing"
    chart_ns = "http://schemas.openxmlformats.org/drawingml/2006/chart"

    def anchor(col, rid, kind="chart"):
        body = (f'<c:chart xmlns:c="{chart_ns}" r:id="{rid}"/>' if kind == "chart" else
                f'<a:blip r:embed="{rid}"/>')
        return (f'<xdr:twoCellAnchor><xdr:from><xdr:col>{col}</xdr:col><xdr:colOff>0</xdr:colOff><xdr:row>1</xdr:row>'
                f'<xdr:rowOff>0</xdr:rowOff></xdr:from><xdr:to><xdr:col>{col + 5}</xdr:col><xdr:colOff>9</xdr:colOff>'
                f'<xdr:row>9</xdr:row><xdr:rowOff>0</xdr:rowOff></xdr:to><xdr:graphicFrame><a:graphic><a:graphicData>'
                f'{body}</a:graphicData></a:graphic></xdr:graphicFrame><xdr:clientData/></xdr:twoCellAnchor>')
    drawing = (f'<xdr:wsDr xmlns:xdr="{xdr}" xmlns:a="http://schemas.openxmlformats.org/drawingml/2006/main" '
               f'xmlns:r="{REL}">' + anchor(3, "rId1") + anchor(10, "rId2") + anchor(17, "rId3") +
               anchor(99999, "rId1") + anchor(0, "rId4", "picture") + '</xdr:wsDr>')
    chart = (f'<c:chartSpace xmlns:c="{chart_ns}"><c:chart><c:title><c:tx><c:rich><a:p '
             'xmlns:a="http://schemas.openxmlformats.org/drawingml/2006/main"><a:r><a:t>T</a:t></a:r></a:p></c:rich>'
             '</c:tx></c:title><c:plotArea><c:barChart><c:barDir val="col"/><c:ser><c:tx><c:strRef><c:f>Data!$B$1'
             '</c:f></c:strRef></c:tx><c:cat><c:strRef><c:f>Data!$A$2:$A$3</c:f></c:strRef></c:cat><c:val><c:numRef>'
             '<c:f>Data!$B$2:$B$3</c:f></c:numRef></c:val></c:ser></c:barChart></c:plotArea><c:legend/></c:chart>'
             '</c:chartSpace>')
    write(out, "charts.xlsx", package(
        [("Data", worksheet('<row r="1"><c r="B1" t="inlineStr"><is><t>n</t></is></c></row>'
                            '<row r="2"><c r="A2"><v>1</v></c><c r="B2"><v>2</v></c></row>',
                            after='<pageSetup r:id="p"/><drawing r:id="d"/>'), "")],
        {"xl/drawings/drawing1.xml": drawing,
         "xl/drawings/_rels/drawing1.xml.rels":
             f'<Relationships xmlns="{PKG}"><Relationship Id="rId1" Type="{REL}/chart" Target="../charts/chart1.xml"/>'
             f'<Relationship Id="rId2" Type="{REL}/chart" Target="../charts/chart2.xml"/>'
             f'<Relationship Id="rId3" Type="{REL}/chart" Target="../charts/missing.xml"/>'
             f'<Relationship Id="rId4" Type="{REL}/image" Target="../media/image1.png"/></Relationships>',
         "xl/charts/chart1.xml": chart,
         "xl/charts/chart2.xml": chart[:200],
         "xl/media/image1.png": "\x89PNG",
         "xl/printerSettings/printerSettings1.bin": "printer"},
        sheet_rels={"xl/worksheets/_rels/sheet1.xml.rels":
                        f'<Relationships xmlns="{PKG}"><Relationship Id="d" Type="{REL}/drawing" '
                        'Target="../drawings/drawing1.xml"/><Relationship Id="p" Type="{REL}/printerSettings" '
                        'Target="../printerSettings/printerSettings1.bin"/></Relationships>'.replace("{REL}", REL)}))

    # What the fast XML scanner reads (references, tabs in attributes, an
    # inline string with phonetics) and what it leaves to expat (a comment).
    write(out, "scanner-edges.xlsx", package(
        [("Edges", worksheet('<row r="1" spans="1:3"><c r="A1" t="inlineStr"><is><t xml:space="preserve"> a&amp;b&#x20AC; '
                             '</t><rPh sb="0" eb="1"><t>x</t></rPh></is></c><c r="B1" t="s" s="0"><v>1</v></c>'
                             '<c r="C1"><f>"&lt;"&amp;"&#9;"</f><v>&lt;	</v></c></row>',
                             '<dimension ref="A1:XFD1048576"/>'), ""),
         ("Commented", worksheet('<!-- left to expat --><row r="2"><c r="B2"><v>3</v></c></row>'), "")],
        {"xl/sharedStrings.xml": sst}))

    # Plain cells the worksheet handler reads straight from the markup, with
    # shared and array formulas, blanks between them, a second <v> it leaves
    # to the events and a cell cut off by the end of the part.
    plain = "".join(f'<row r="{r}"><c r="A{r}" s="1"><v>{r}</v></c><c r="B{r}" t="s"><v>{r % 2}</v></c>'
                    f'<c r="C{r}"><f>A{r}*2+1</f><v></v></c>'
                    + (f'<c r="D{r}"><f t="shared" ref="D{r}:D{r + 3}" si="0">A{r}+1</f><v>2</v></c>' if r == 1
                       else f'<c r="D{r}"><f t="shared" si="0"/><v>{r}</v></c>')
                    + '</row>\n' for r in range(1, 9))
    write(out, "plain-cells.xlsx", package(
        [("Plain", worksheet(plain + '<row r="9">\n <c r="A9"><f t="array" ref="A9:B9">C1:D1</f><v>1</v></c> '
                             '<c r="B9"><v>2</v><v>3</v></c><c r="C9" t="b"/><c><v>4</v></c></row>'), ""),
         ("Strings", worksheet('<row r="1"><c r="A1" t="s"><v>2</v></c></row>'), "")],
        {"xl/sharedStrings.xml": sst, "xl/styles.xml": styles}))
    write(out, "plain-cells-cut.xlsx", package([("Cut", DECL + worksheet(plain)[:-60], "")]))

    write(out, "doubled-declaration.xlsx", package(
        [("Sheet1", DECL + "\n" + DECL + worksheet('<row r="1"><c r="A1"><v>5</v></c></row>'), "")]))


if __name__ == "__main__":
    main()
