#!/usr/bin/env bash
# Whole-process timing of opening XLSX workbooks with the command-line front
# end, as a user would see it:
#   W1: 200,000 rows × 10 columns of constants (numbers and shared strings),
#       written by XlsxWriter; target under 1.0 s and 200 MB.
#   W2: 100,000 rows of chained formulas without cached results (A numbers,
#       B = A*2+1, C = B + C above, D = SUM of the 100-row window of B, and
#       one SUM over all of C); target under 0.8 s.
#   W3: 100,000 sheets of one cell each (the workbook, its relationships and
#       the package are read in time linear in the sheets); target under 5 s.
# Usage: bench/xlsx_read_bench.sh [build-dir] [runs]
# The workbooks are generated once into <build-dir>/bench-data.
set -euo pipefail
cd "$(dirname "$0")/.."
source bench/lib/whole-process.sh

python=""
for candidate in /usr/bin/python3 python3; do
  if "$candidate" -c "import xlsxwriter, openpyxl" 2>/dev/null; then python="$candidate"; break; fi
done
if [ -z "$python" ]; then
  echo "python3 with xlsxwriter and openpyxl is needed (scripts/install-test-deps.sh)"
  exit 1
fi

if [ ! -s "$data/w1.xlsx" ]; then
  echo "generating W1 ..."
  "$python" - "$data/w1.xlsx" <<'PY'
import sys, xlsxwriter
from workload import w1_rows
book = xlsxwriter.Workbook(sys.argv[1])
sheet = book.add_worksheet("Data")
for r, values in enumerate(w1_rows()):
    for c, v in enumerate(values):
        if isinstance(v, str):
            sheet.write_string(r, c, v)
        else:
            sheet.write_number(r, c, v)
book.close()
PY
fi

if [ ! -s "$data/w2.xlsx" ]; then
  echo "generating W2 ..."
  "$python" - "$data/w2.xlsx" <<'PY'
import sys
from openpyxl import Workbook
book = Workbook(write_only=True)
sheet = book.create_sheet("Chain")
n = 100000
for r in range(1, n + 1):
    row = [r % 1000, "=A%d*2+1" % r, ("=B%d+C%d" % (r, r - 1)) if r > 1 else "=B1",
           "=SUM(B%d:B%d)" % (max(1, r - 99), r)]
    if r == 1:
        row.append("=SUM(C1:C%d)" % n)
    sheet.append(row)
book.save(sys.argv[1])
PY
fi

if [ ! -s "$data/w3.xlsx" ]; then
  echo "generating W3 ..."
  "$python" - "$data/w3.xlsx" <<'PY'
import sys, zipfile
n = 100000
main = "http://schemas.openxmlformats.org/spreadsheetml/2006/main"
rel = "http://schemas.openxmlformats.org/officeDocument/2006/relationships"
with zipfile.ZipFile(sys.argv[1], "w", zipfile.ZIP_DEFLATED) as z:
    z.writestr("[Content_Types].xml", '<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types"/>')
    z.writestr("_rels/.rels", '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
               '<Relationship Id="rId1" Type="%s/officeDocument" Target="xl/workbook.xml"/></Relationships>' % rel)
    z.writestr("xl/workbook.xml", '<workbook xmlns="%s" xmlns:r="%s"><sheets>%s</sheets></workbook>' % (
        main, rel, "".join('<sheet name="S%d" sheetId="%d" r:id="rId%d"/>' % (i, i, i) for i in range(1, n + 1))))
    z.writestr("xl/_rels/workbook.xml.rels",
               '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">%s</Relationships>' %
               "".join('<Relationship Id="rId%d" Type="%s/worksheet" Target="worksheets/sheet%d.xml"/>' % (i, rel, i)
                       for i in range(1, n + 1)))
    for i in range(1, n + 1):
        z.writestr("xl/worksheets/sheet%d.xml" % i,
                   '<worksheet xmlns="%s"><sheetData><row r="1"><c r="A1"><v>%d</v></c></row></sheetData></worksheet>' % (main, i))
PY
fi

measure W1 "$data/w1.xlsx" "$data/w1.csv"
measure W2 "$data/w2.xlsx" "$data/w2.csv"
measure W3 "$data/w3.xlsx" "$data/w3.csv"
