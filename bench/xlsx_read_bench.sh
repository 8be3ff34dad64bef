#!/usr/bin/env bash
# Whole-process timing of opening XLSX workbooks with the command-line front
# end, as a user would see it:
#   W1: 200,000 rows × 10 columns of constants (numbers and shared strings),
#       written by XlsxWriter; target under 1.0 s and 200 MB.
#   W2: 100,000 rows of chained formulas without cached results (A numbers,
#       B = A*2+1, C = B + C above, D = SUM of the 100-row window of B, and
#       one SUM over all of C); target under 0.8 s.
# Usage: bench/xlsx_read_bench.sh [build-dir] [runs]
# The workbooks are generated once into <build-dir>/bench-data.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build}"
runs="${2:-3}"
cli="$build/cli/sumora-cli"
data="$build/bench-data"
mkdir -p "$data"

python=""
for candidate in /usr/bin/python3 python3; do
  if "$candidate" -c "import xlsxwriter, openpyxl" 2>/dev/null; then python="$candidate"; break; fi
done
if [ -z "$python" ]; then
  echo "python3 with xlsxwriter and openpyxl is needed (scripts/install-test-deps.sh)"
  exit 1
fi
[ -x "$cli" ] || { echo "build $cli first"; exit 1; }

if [ ! -s "$data/w1.xlsx" ]; then
  echo "generating W1 ..."
  "$python" - "$data/w1.xlsx" <<'PY'
import random, sys, xlsxwriter
random.seed(1)
words = ["alpha", "bravo", "charlie", "delta", "echo", "foxtrot", "golf", "hotel", "india", "juliet", "kilo",
         "lima", "mike", "november", "oscar", "papa", "quebec", "romeo", "sierra", "tango", "uniform", "victor",
         "whiskey", "xray", "yankee", "zulu"]
customers = ["Customer %03d" % i for i in range(500)]
cities = ["City %02d" % i for i in range(97)]
letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
book = xlsxwriter.Workbook(sys.argv[1])
sheet = book.add_worksheet("Data")
for r in range(200000):
    sheet.write_number(r, 0, r + 1)
    sheet.write_number(r, 1, random.randint(0, 10**6) / 100)
    sheet.write_string(r, 2, customers[random.randrange(500)])
    sheet.write_number(r, 3, random.randint(0, 10**6))
    sheet.write_string(r, 4, words[random.randrange(26)])
    sheet.write_number(r, 5, random.randrange(1024) / 1024)
    sheet.write_number(r, 6, -random.randint(1, 10**6))
    sheet.write_string(r, 7, "".join(random.choice(letters) for _ in range(10)))
    sheet.write_number(r, 8, random.random() * 1000)
    sheet.write_string(r, 9, cities[random.randrange(97)])
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

measure() {
  local name="$1" input="$2" output="$3"
  for ((i = 1; i <= runs; i++)); do
    /usr/bin/time -v "$cli" recalc "$input" -o "$output" 2>"$data/$name.time" >/dev/null
    local wall rss
    wall=$(grep "Elapsed (wall clock)" "$data/$name.time" | awk '{print $NF}')
    rss=$(grep "Maximum resident set size" "$data/$name.time" | awk '{print $NF}')
    echo "$name run $i: wall $wall, max RSS $((rss / 1024)) MB"
  done
}

measure W1 "$data/w1.xlsx" "$data/w1.csv"
measure W2 "$data/w2.xlsx" "$data/w2.csv"
