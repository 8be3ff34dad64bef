#!/usr/bin/env bash
# Whole-process timing of opening and saving an OpenDocument spreadsheet with
# the command-line front end, as a user would see it:
#   O1: 200,000 rows × 10 columns of constants (numbers and texts), written
#       the way LibreOffice writes them (value types, cached texts, a styled
#       header row, repeated empty cells up to the sheet's edge).
#   recalc O1 -o out.ods   open, recalculate and save as ODS; target under 2 s.
#   recalc O1 -o out.csv   open, recalculate and save as CSV; target under 2 s.
# Usage: bench/ods_bench.sh [build-dir] [runs]
# The workbook is generated once into <build-dir>/bench-data (Python 3's
# standard library only).
set -euo pipefail
cd "$(dirname "$0")/.."
source bench/lib/whole-process.sh

if [ ! -s "$data/o1.ods" ]; then
  echo "generating O1 ..."
  python3 - "$data/o1.ods" <<'PY'
import sys, zipfile
from workload import w1_rows

def num(v):
    t = repr(v) if isinstance(v, float) else str(v)
    return ('<table:table-cell office:value-type="float" office:value="%s" calcext:value-type="float">'
            '<text:p>%s</text:p></table:table-cell>' % (t, t))

def txt(s):
    return ('<table:table-cell office:value-type="string" calcext:value-type="string"><text:p>%s</text:p>'
            '</table:table-cell>' % s)

parts = ['<?xml version="1.0" encoding="UTF-8"?>\n<office:document-content '
         'xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0" '
         'xmlns:style="urn:oasis:names:tc:opendocument:xmlns:style:1.0" '
         'xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" '
         'xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0" '
         'xmlns:fo="urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0" '
         'xmlns:calcext="urn:org:documentfoundation:names:experimental:calc:xmlns:calcext:1.0" '
         'office:version="1.2"><office:automatic-styles>'
         '<style:style style:name="co1" style:family="table-column"><style:table-column-properties '
         'style:column-width="2.258cm"/></style:style>'
         '<style:style style:name="ce1" style:family="table-cell"><style:text-properties fo:font-weight="bold"/>'
         '</style:style></office:automatic-styles><office:body><office:spreadsheet>'
         '<table:table table:name="Data"><table:table-column table:style-name="co1" '
         'table:number-columns-repeated="1024"/><table:table-row>']
for h in ["Id", "Amount", "Customer", "Count", "Word", "Fraction", "Debit", "Code", "Measure", "City"]:
    parts.append('<table:table-cell table:style-name="ce1" office:value-type="string"><text:p>%s</text:p>'
                 '</table:table-cell>' % h)
parts.append('<table:table-cell table:number-columns-repeated="1014"/></table:table-row>')
for values in w1_rows():
    row = [txt(v) if isinstance(v, str) else num(v) for v in values]
    parts.append("<table:table-row>" + "".join(row) +
                 '<table:table-cell table:number-columns-repeated="1014"/></table:table-row>')
parts.append('<table:table-row table:number-rows-repeated="848375"><table:table-cell '
             'table:number-columns-repeated="1024"/></table:table-row></table:table>'
             '</office:spreadsheet></office:body></office:document-content>')
with zipfile.ZipFile(sys.argv[1], "w") as z:
    z.writestr(zipfile.ZipInfo("mimetype"), "application/vnd.oasis.opendocument.spreadsheet",
               compress_type=zipfile.ZIP_STORED)
    z.writestr("META-INF/manifest.xml",
               '<?xml version="1.0" encoding="UTF-8"?>\n<manifest:manifest '
               'xmlns:manifest="urn:oasis:names:tc:opendocument:xmlns:manifest:1.0" manifest:version="1.2">'
               '<manifest:file-entry manifest:full-path="/" manifest:media-type='
               '"application/vnd.oasis.opendocument.spreadsheet"/><manifest:file-entry '
               'manifest:full-path="content.xml" manifest:media-type="text/xml"/></manifest:manifest>',
               compress_type=zipfile.ZIP_DEFLATED)
    z.writestr("content.xml", "".join(parts), compress_type=zipfile.ZIP_DEFLATED)
PY
fi

measure "O1 -> ods" "$data/o1.ods" "$data/o1-out.ods"
measure "O1 -> csv" "$data/o1.ods" "$data/o1-out.csv"
