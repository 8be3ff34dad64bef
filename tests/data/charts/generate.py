#!/usr/bin/python3
"""Builds charts.xlsx with openpyxl (an independent writer of DrawingML
charts) and expected.tsv: for each chart, by title, the chart the model
should read from it, or "-" where the model cannot hold the chart and the
part is to be carried through unchanged.

Anchors: openpyxl places a chart with a oneCellAnchor at the given cell,
15 cm x 7.5 cm, which is 9 columns x 15 rows of the default size
(64 x 20 pixels, 9525 EMU per pixel, rounded up).

Run: /usr/bin/python3 tests/data/charts/generate.py
"""
import math
import os

from openpyxl import Workbook
from openpyxl.chart import (AreaChart, BarChart, DoughnutChart, LineChart, PieChart, Reference,
                            ScatterChart, Series)
from openpyxl.utils import column_index_from_string, coordinate_to_tuple

HERE = os.path.dirname(os.path.abspath(__file__))

wb = Workbook()
data = wb.active
data.title = "Data"
data.append(["Month", "North", "South", "East"])
for i in range(1, 7):
    data.append([i, 10 * i, 7 + i, 30 - 2 * i])
summary = wb.create_sheet("Summary")

rows = []
EMU_COL, EMU_ROW = 64 * 9525, 20 * 9525


def place(ws, chart, title, anchor, modelled, block):
    chart.title = title
    ws.add_chart(chart, anchor)
    row, col = coordinate_to_tuple(anchor)
    width = math.ceil(chart.width * 360000 / EMU_COL)
    height = math.ceil(chart.height * 360000 / EMU_ROW)
    rows.append([title, modelled] + (list(block) if modelled != "-" else ["-"] * 4) +
                [col - 1, row - 1, width, height])


def series_block(chart, ws, last_col):
    values = Reference(data, min_col=2, min_row=1, max_col=last_col, max_row=7)
    chart.add_data(values, titles_from_data=True)
    chart.set_categories(Reference(data, min_col=1, min_row=2, max_row=7))


# block: first column, first row, last column, last row (zero-based)
c = BarChart(); c.type = "col"; c.grouping = "clustered"; series_block(c, data, 4)
place(data, c, "Columns", "F2", "Bar", (0, 0, 3, 6))
c = LineChart(); series_block(c, data, 4)
place(data, c, "Lines", "F20", "Line", (0, 0, 3, 6))
c = PieChart(); series_block(c, data, 2)
place(data, c, "Slices", "F38", "Pie", (0, 0, 1, 6))
c = AreaChart(); series_block(c, data, 3)
place(data, c, "Areas", "P2", "Area", (0, 0, 2, 6))
c = ScatterChart()
for col in (2, 3):
    s = Series(Reference(data, min_col=col, min_row=1, max_row=7),
               Reference(data, min_col=1, min_row=2, max_row=7), title_from_data=True)
    c.series.append(s)
place(data, c, "Points", "P20", "Scatter", (0, 0, 2, 6))
c = BarChart(); c.type = "bar"; series_block(c, data, 4)
place(data, c, "Sideways", "P38", "-", None)
c = BarChart(); c.grouping = "stacked"; c.overlap = 100; series_block(c, data, 4)
place(data, c, "Stacked", "Z2", "-", None)
c = DoughnutChart(); series_block(c, data, 2)
place(data, c, "Ring", "Z20", "-", None)
c = BarChart(); series_block(c, summary, 4)
place(summary, c, "Elsewhere", "B2", "-", None)

wb.save(os.path.join(HERE, "charts.xlsx"))
with open(os.path.join(HERE, "expected.tsv"), "w") as out:
    out.write("# title\ttype\tstartCol\tstartRow\tendCol\tendRow\tanchorCol\tanchorRow\twidthCols\theightRows\n")
    for r in rows:
        out.write("\t".join(str(x) for x in r) + "\n")
