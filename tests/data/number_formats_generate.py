#!/usr/bin/python3
"""Rebuilds number_formats.tsv: (format, value, expected, note) rows for the
number-format renderer.

Every expected text is what LibreOffice Calc (en-US) computes for
=TEXT(value; format): the script writes a workbook of such formulas with
openpyxl, has `soffice --headless` recalculate it and export it as CSV, and
reads the results back. Where Calc is known to render a code differently from
the documented behaviour of the common desktop spreadsheets, OVERRIDES gives
the documented text and the reason; the reason lands in the note column.

    /usr/bin/python3 tests/data/number_formats_generate.py   # needs python3-openpyxl
"""
import csv
import os
import re
import subprocess
import sys
import tempfile

import openpyxl

HERE = os.path.dirname(os.path.abspath(__file__))
TABLE = os.path.join(HERE, "number_formats.tsv")

PLAIN = [0, 1, -1, 0.5, -0.5, 12.345, 1234.5678, -1234.5678, 0.001, 1234567.891]
SMALL = [0, 0.125, -0.125, 1, 0.00123, 12.5]
DATES = [0, 1, 59, 60, 61, 367, 36526.5, 43831.25, 45351.75, 45658.0004, 2958465, -1, 2958466]
TIMES = [0, 0.25, 0.5, 0.604166666666667, 0.999988425925926, 1.75, 0.0000115740740740741,
         0.5000064, 2.3456789, -0.25]

GROUPS = [
    # Digit placeholders, separators and rounding.
    (["0", "0.00", "#.##", "#,##0", "#,##0.00", "0.0#", "#", "00000", "#.000", "0.###",
      "?.??", "???.???", "#,###", "0,000", "#,##0.0", "#0.0#"], PLAIN),
    (["0.00", "0", "#,##0.000"], [2.675, 1.005, 0.125, 1.5, 2.5, -2.5, 0.045, 1e15 + 0.3,
                                  123456789012345678, 0.1 + 0.2, 9.995, 99999.995]),
    # A negative value that rounds to zero.
    (["0.0", "0", "#,##0.00", "0.0;(0.0)"], [-0.04, -0.4, -0.004]),
    # Accounting layouts, fills and spacing.
    (["_($* #,##0.00_);_($* (#,##0.00);_($* \"-\"??_);_(@_)", "_(* #,##0_);_(* (#,##0);_(* \"-\"_);_(@_)",
      "**0", "0*-", "$* #,##0", "_-* #,##0.00_-;-* #,##0.00_-;_-* \"-\"??_-;_-@_-", "#,##0_);[Red](#,##0)"],
     [0, 1234.5, -1234.5, 0.004, "abc"]),
    # Trailing-comma scaling.
    (["#,##0,", "0.0,,", "#,##0.0,,\" M\"", "#,.#,", "0,", "#,##0,,", "0.00,K", "#,"],
     [0, 999, 1500, 1234567, -9876543, 123456789012, 0.5]),
    # Percent and per-mille style codes.
    (["0%", "0.0%", "#,##0.00%", "%0", "0%%", "0.0\u2030"], [0, 0.5, 0.12345, -0.0067, 1.5, 12]),
    # Literals, quotes, escapes and spacing.
    (["\"$\"#,##0.00", "$#,##0.00", "0\" units\"", "\\a0\\b", "0_)", "_(0_)", "(0)", "+0;-0;0",
      "0 \"kg\"", "\"Total: \"0.0", "#,##0.00 \u20ac", "[$\u20ac-407] #,##0.00", "[$USD] 0.00", "0-0-0",
      "000-00-0000", "(000) 000-0000", "0.0 \"%\"", "#\" \"?/4", "0;0;\"zero\"", "\"x\"", "0 \"a\"\"b\""],
     [0, 7, -7, 0.5, 1234.5678, 1234567.891]),
    # Sections, signs and conditions.
    (["0;-0", "0;(0)", "0.00;[Red]-0.00", "0;0", "0;-0;\"zero\"", "0;;", ";;;", "0;\"neg\"",
      "[>100]\"big\";[<=-1]\"neg\";0.0", "[<0]\"minus\"0;0", "[>=10]0.0;0.00", "[<5]0;\"hi\"0",
      "[=1]\"one\";[=2]\"two\";0", "[Red]0;[Blue]-0;[Green]0", "[Color 10]0.0", "[Color10]0;[Color3]-0",
      "[Blue][>1000]#,##0;[Red]0", "0;-0;-;@", "\"pos\";\"neg\";\"zero\"", "[>0]0;[<0]-0"],
     [0, 1, -1, 2, 50, 150, -0.4, -5, 1234.5]),
    # Scientific and engineering.
    (["0.00E+00", "0.0E+0", "##0.0E+0", "##0.00E+00", "0E+00", "0.00E-00", "#.##E+0", "0.000e+00",
      "###.##E+00", "00.00E+00", "#0.0E+0", "0.0E+000"],
     [0, 1, 12345.678, -12345.678, 0.000123, 1e100, 1e-100, 9.999, 99999, 1234567890, 0.5]),
    # Fractions.
    (["# ?/?", "# ??/??", "?/8", "# #/100", "?/?", "# ???/???", "0 ?/?", "#/#", "# ?/2",
      "?/16", "# ?/10", "0/0", "??/??", "0/00", "#,### ?/?"],
     [0, 0.5, 1.5, -1.5, 3.14159, 0.333333333, 2.75, 0.05, 12345.6789, 0.99, 1, -0.25]),
    # Dates.
    (["d", "dd", "ddd", "dddd", "m", "mm", "mmm", "mmmm", "mmmmm", "yy", "yyyy",
      "yyyy-mm-dd", "mm-dd-yy", "d-mmm-yy", "d-mmm", "mmm-yy", "m/d/yyyy", "dddd, mmmm d, yyyy",
      "dd/mm/yyyy hh:mm", "m/d/yy h:mm", "yyyymmdd", "d mmmm yyyy", "mmm d", "[$-409]mmmm d, yyyy",
      "dd.mm.yy", "MM/DD/YYYY", "DD-MMM-YYYY", "YYYY", "Mmm", "[$-F800]dddd\\, mmmm dd\\, yyyy",
      "m/d/yyyy h:mm AM/PM", "yyyy mm", "d \"de\" mmmm"], DATES),
    # Times, AM/PM, elapsed time and fractions of a second.
    (["h", "hh", "h:mm", "hh:mm:ss", "h:mm AM/PM", "h:mm:ss AM/PM", "h:mm am/pm", "h A/P", "h:mm a/p",
      "[h]:mm:ss", "[h]:mm", "[mm]:ss", "[ss]", "[m]", "mm:ss", "mm:ss.0", "h:mm:ss.00", "ss.000",
      "hh:mm:ss.000", "mmss.0", "h \"h\" m \"min\"", "[hh]:mm", "AM/PM h", "h:mm:ss AM/PM;@",
      "m:ss", "h:m", "hh:mm AM/PM", "HH:MM:SS", "hh:MM", "hh \"h\" mm", "[$-409]h:mm:ss AM/PM",
      "dd/mm/yyyy hh:mm:ss"], TIMES + [45658.999999]),
    # General and text sections.
    (["General", "0;-0;0;@", "@", "General;General;General", "\"n=\"General", "General\" x\""],
     [0, 1, -1, 0.1, 1.0 / 3, 123456789012, 12345678901, 1234567890.12345, 0.0001234, 1e-10,
      -1234.5678, 99999999999.5, 1e21, 0.1 + 0.2]),
    (["@", "\"<\"@\">\"", "0;-0;0;\"[\"@\"]\"", "0.00", "@ @", "0;0;0;@\" text\"",
      "[Red]@", "General"], ["abc", "12 apples", "-5 x"]),
    # Built-in codes by id.
    (["General", "0", "0.00", "#,##0", "#,##0.00", "0%", "0.00%", "0.00E+00", "# ?/?", "# ??/??",
      "mm-dd-yy", "d-mmm-yy", "d-mmm", "mmm-yy", "h:mm AM/PM", "h:mm:ss AM/PM", "h:mm", "h:mm:ss",
      "m/d/yy h:mm", "#,##0 ;(#,##0)", "#,##0 ;[Red](#,##0)", "#,##0.00;(#,##0.00)",
      "#,##0.00;[Red](#,##0.00)", "_($* #,##0.00_)", "mm:ss", "[h]:mm:ss", "mmss.0", "##0.0E+0"],
     [1234.5678, -1234.5678, 0, 45351.604166666666667]),
]

# Where Calc's TEXT disagrees with the documented rendering of the common
# desktop spreadsheets: the documented text, and why it differs.

# General in a standard-width cell (and TEXT) shows at most 11 characters;
# Calc's TEXT shows up to 15 significant digits.
GENERAL_11 = {1.0 / 3: "0.333333333", 123456789012: "1.23457E+11", 1234567890.12345: "1234567890",
              1e-10: "1E-10", 99999999999.5: "1E+11", 1e21: "1E+21", 45351.604166666664: "45351.60417"}
CALC_GENERAL = {1.0 / 3: "0.333333333333333", 123456789012: "123456789012",
                1234567890.12345: "1234567890.12345", 1e-10: "0.0000000001", 99999999999.5: "99999999999.5",
                1e21: "1.00000000000000E+21", 45351.604166666664: "45351.6041666667"}

# Codes that Calc rejects (Err:502) or reads differently, worked out by hand.
BY_HAND = {
    # Each comma after the last whole-part placeholder (here: before the point
    # and at the end) divides by 1000.
    "#,.#,": ({0: ".", 999: ".", 1500: ".", 1234567: "1.2", -9876543: "-9.9", 123456789012: "123456.8",
               0.5: "."}, "each scaling comma divides by 1000; Calc rejects the code"),
    # Every % multiplies by 100 again.
    "0%%": ({0: "0%%", 0.5: "5000%%", 0.12345: "1235%%", -0.0067: "-67%%", 1.5: "15000%%", 12: "120000%%"},
            "each % multiplies by 100; Calc multiplies once"),
    # Half a step rounds away from zero, and a fraction that rounds to a whole
    # one is carried into the whole part.
    "# ?/2": ({2.75: "3    ", -0.25: "- 1/2", 0: "0    ", 3.14159: "3    ", 0.05: "0    ", 0.99: "1    ",
               1: "1    "}, "half a step rounds up and a blank fraction keeps its width; Calc rounds down"),
    "# ?/10": ({2.75: "2 8/10", -0.25: "- 3/10", 0.05: " 1/10", 0: "0     ", 0.99: "1     ", 1: "1     "},
               "half a step rounds up and a blank fraction keeps its width; Calc rounds down"),
    "#\" \"?/4": ({0: "0    ", 7: "7    ", -7: "-7    ", 1234567.891: "1234568    "},
                  "a blank fraction keeps the width of ?/4 after the quoted blank"),
    # The blank after the whole part is a literal and stays.
    "# #/100": ({0: "0      ", 0.5: " 50/100", 0.333333333: " 33/100", 0.05: " 5/100", 0.99: " 99/100",
                 1: "1      ", -0.25: "- 25/100"}, "the blank before the fraction is a literal; Calc drops it"),
    "[<5]0;\"hi\"0": ({-0.4: "-0"}, "a negative value rounded to zero keeps its sign"),
}

DATE_PARTS = re.compile(r'"[^"]*"|\\.|\[(?i:h+|m+|s+)\]|\[[^\]]*\]|(?i:am/pm|a/p|[dmyhs])')


def is_date_code(code):
    """Whether the first section shows a date or time (quotes, escapes and other brackets aside)."""
    for part in DATE_PARTS.finditer(code.split(";")[0]):
        text = part.group(0)
        if text[0] not in '"\\[' or re.fullmatch(r"\[(?i:h+|m+|s+)\]", text):
            return True
    return False


SYSTEM_LONG_DATE = "dddd, mmmm d, yyyy"  # what [$-F800] stands for in en-US


def shows_whole_seconds(code):
    """A time code without fractions of a second, where Calc cuts off what Excel rounds."""
    return is_date_code(code) and not re.search(r"(?i)s\.0", code)


def to_whole_second(value):
    # A hair past the second, so that Calc's cutting off lands on it.
    return round(value * 86400) / 86400 + 1e-9


def helper_rows(code, value):
    """Further Calc results that documented() draws on."""
    if isinstance(value, str):
        return []
    rows = []
    if code.startswith("[$-F800]"):
        rows.append((SYSTEM_LONG_DATE, value))
    if shows_whole_seconds(code):
        rows.append((code, to_whole_second(value)))
    return rows


def documented(code, value, calc, calc_of):
    """The documented text and the reason, or None where Calc's text stands.
    calc_of(code, value) gives Calc's text for one of helper_rows()."""
    if code in BY_HAND and value in BY_HAND[code][0]:
        return BY_HAND[code][0][value], BY_HAND[code][1]
    if isinstance(value, str):
        return None
    if -1 < value < 0 and ";" not in code and not is_date_code(code) and not calc.startswith("-"):
        return "-" + calc, "a negative value rounded to zero keeps its sign"
    if value in GENERAL_11 and ("General" in code or code == "@"):
        return calc.replace(CALC_GENERAL[value], GENERAL_11[value]), "General shows at most 11 characters"
    if is_date_code(code) and (value < 0 or value >= 2958466) and ";" not in code.replace(";@", ""):
        return "########", "no date before 1899-12-30 or after 9999-12-31; Calc shows one"
    if code.startswith("[$-F800]"):
        return calc_of(SYSTEM_LONG_DATE, value), "[$-F800] is the system's long date, whatever follows"
    if shows_whole_seconds(code) and calc_of(code, to_whole_second(value)) != calc:
        calc = calc_of(code, to_whole_second(value))
        if "A/P" not in code:
            return calc, "time rounded to the nearest second, not cut off"
    if "e+" in code:
        return calc.replace("e", "E"), "the exponent shows as E in every spelling of the code"
    if "A/P" in code:
        return re.sub(r"\b([ap])\b", lambda m: m.group(1).upper(), calc), "A/P keeps its capitals"
    if code in ("#.##", "0.###") and "." not in calc:
        return calc + ".", "the decimal point stays when no decimals follow"
    if code in ("#.##E+0", "###.##E+00") and "." not in calc:
        mantissa, exponent = calc.split("E")
        return ("" if mantissa == "0" else mantissa) + ".E" + exponent, \
            "the decimal point stays when no decimals follow"
    return None


def cases():
    seen = set()
    for codes, values in GROUPS:
        for code in codes:
            for value in values:
                key = (code, repr(value))
                if key not in seen:
                    seen.add(key)
                    yield code, value


def value_text(value):
    if isinstance(value, str):
        return "'" + value
    return repr(float(value)) if isinstance(value, float) else str(value)


def compute(rows):
    work = tempfile.mkdtemp(prefix="numfmt-")
    book = openpyxl.Workbook()
    sheet = book.active
    for index, (code, value) in enumerate(rows, start=1):
        sheet.cell(index, 1, value)
        sheet.cell(index, 2, code)
        sheet.cell(index, 3, f"=TEXT(A{index},B{index})")
    source = os.path.join(work, "formats.xlsx")
    book.save(source)
    profile = "file://" + os.path.join(work, "profile")
    # Tab separated, UTF-8, every text quoted, formula results as shown.
    filter_options = "Text - txt - csv (StarCalc):9,34,76,1,,0,true,true,true"
    subprocess.run(["soffice", f"-env:UserInstallation={profile}", "--headless", "--convert-to",
                    f"csv:{filter_options}", "--outdir", work, source],
                   check=True, stdout=subprocess.DEVNULL, timeout=600,
                   env=dict(os.environ, LC_ALL="en_US.UTF-8", LANG="en_US.UTF-8"))
    with open(os.path.join(work, "formats.csv"), encoding="utf-8", newline="") as f:
        return [line[2] if len(line) > 2 else "" for line in csv.reader(f, delimiter="\t")]


def main():
    rows = list(cases())
    extra = [row for code, value in rows for row in helper_rows(code, value)]
    results = compute(rows + extra)
    if len(results) != len(rows) + len(extra):
        sys.exit(f"expected {len(rows) + len(extra)} results, got {len(results)}")
    calc = {(code, repr(value)): text for (code, value), text in zip(rows + extra, results)}
    with open(TABLE, "w", encoding="utf-8", newline="") as out:
        out.write("format\tvalue\texpected\tnote\n")
        for (code, value), computed in zip(rows, results):
            expected, note = computed, ""
            override = documented(code, value, computed, lambda c, v: calc[(c, repr(v))])
            if override and override[0] != computed:
                expected, note = override
            for field in (code, expected):
                if "\t" in field or "\n" in field:
                    sys.exit(f"unexpected tab or newline in {field!r}")
            out.write(f"{code}\t{value_text(value)}\t{expected}\t{note}\n")
    print(f"{len(rows)} rows written to {TABLE}")


if __name__ == "__main__":
    main()
