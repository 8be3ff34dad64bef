#!/usr/bin/env bash
# Whole-process timing of the reporting commands against the plain ones they
# build on, as ratios (best of [runs] for each, wall and processor time):
#   check:  `check` of W2 with its stored results (300,001 formulas, saved by
#           `recalc -o` so every formula has one) over `recalc` of the same
#           file; target at most 1.5.
#   diff:   `diff` of W1 and a copy with 1% of its rows changed (200,000 rows
#           each) over opening both (`check` of each: W1 holds no formulas, so
#           that is an open and nothing else); target at most 2.
#   profile: `recalc --profile` of W2 over `recalc` (what profiling costs when on).
# Usage: bench/tools_bench.sh [build-dir] [runs]
# The workbooks are generated once into <build-dir>/bench-data.
set -euo pipefail
cd "$(dirname "$0")/.."
source bench/lib/whole-process.sh

python=""
for candidate in /usr/bin/python3 python3; do
  if "$candidate" -c "import xlsxwriter, openpyxl" 2>/dev/null; then python="$candidate"; break; fi
done
[ -n "$python" ] || { echo "python3 with xlsxwriter and openpyxl is needed (scripts/install-test-deps.sh)"; exit 1; }

# W1 and W2 as xlsx_read_bench.sh makes them.
if [ ! -s "$data/w1.xlsx" ] || [ ! -s "$data/w2.xlsx" ]; then
  bash bench/xlsx_read_bench.sh "$build" 0 >/dev/null
fi
if [ ! -s "$data/w2-stored.xlsx" ]; then
  "$cli" recalc "$data/w2.xlsx" -o "$data/w2-stored.xlsx"
fi
if [ ! -s "$data/w1-changed.xlsx" ]; then
  echo "generating W1 with 1% of its rows changed ..."
  "$python" - "$data/w1-changed.xlsx" <<'PY'
import sys, xlsxwriter
from workload import w1_rows
book = xlsxwriter.Workbook(sys.argv[1])
sheet = book.add_worksheet("Data")
for r, values in enumerate(w1_rows()):
    if r % 100 == 7:
        values[1] = values[1] + 1
    for c, v in enumerate(values):
        if isinstance(v, str):
            sheet.write_string(r, c, v)
        else:
            sheet.write_number(r, c, v)
book.close()
PY
fi

# Best wall and processor seconds of a command over the runs: "wall cpu".
best() {
  local best_wall="" best_cpu=""
  for ((i = 1; i <= runs; i++)); do
    /usr/bin/time -f "%e %U %S" -o "$data/tools.time" "$@" >/dev/null 2>&1 || true
    # The last line: a failing status (diff's 1) adds a line before it.
    read -r wall user sys < <(tail -n 1 "$data/tools.time")
    local cpu
    cpu=$(awk "BEGIN { print $user + $sys }")
    if [ -z "$best_wall" ] || awk "BEGIN { exit !($wall < $best_wall) }"; then best_wall=$wall; fi
    if [ -z "$best_cpu" ] || awk "BEGIN { exit !($cpu < $best_cpu) }"; then best_cpu=$cpu; fi
  done
  echo "$best_wall $best_cpu"
}

ratio() { awk "BEGIN { printf \"%.2f\", $1 / $2 }"; }

read -r recalc_wall recalc_cpu < <(best "$cli" recalc "$data/w2-stored.xlsx")
read -r check_wall check_cpu < <(best "$cli" check "$data/w2-stored.xlsx")
read -r profile_wall profile_cpu < <(best "$cli" recalc "$data/w2-stored.xlsx" --profile)
read -r open1_wall open1_cpu < <(best "$cli" check "$data/w1.xlsx")
read -r open2_wall open2_cpu < <(best "$cli" check "$data/w1-changed.xlsx")
read -r diff_wall diff_cpu < <(best "$cli" diff "$data/w1.xlsx" "$data/w1-changed.xlsx")
open_wall=$(awk "BEGIN { print $open1_wall + $open2_wall }")
open_cpu=$(awk "BEGIN { print $open1_cpu + $open2_cpu }")

echo "recalc W2:          wall ${recalc_wall}s, cpu ${recalc_cpu}s"
echo "check W2:           wall ${check_wall}s, cpu ${check_cpu}s  -> ratio $(ratio "$check_wall" "$recalc_wall") wall, $(ratio "$check_cpu" "$recalc_cpu") cpu (target <= 1.5)"
echo "recalc --profile:   wall ${profile_wall}s, cpu ${profile_cpu}s  -> ratio $(ratio "$profile_wall" "$recalc_wall") wall"
echo "open W1 + W1':      wall ${open_wall}s, cpu ${open_cpu}s"
echo "diff W1 W1':        wall ${diff_wall}s, cpu ${diff_cpu}s  -> ratio $(ratio "$diff_wall" "$open_wall") wall, $(ratio "$diff_cpu" "$open_cpu") cpu (target <= 2)"
