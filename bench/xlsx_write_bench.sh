#!/usr/bin/env bash
# Whole-process timing of saving XLSX with the command-line front end:
#   W3: W1's data (200,000 rows × 10 mixed columns: numbers, repeated and
#       unique texts), read from CSV and written as XLSX. Target: under 1.0 s
#       for the write itself, i.e. the XLSX run minus the CSV-only run, and an
#       output within 1.3× the size a default-level deflate of the same parts
#       gives.
# Usage: bench/xlsx_write_bench.sh [build-dir] [runs]
# The CSV is generated once into <build-dir>/bench-data.
set -euo pipefail
cd "$(dirname "$0")/.."
source bench/lib/whole-process.sh

if [ ! -s "$data/w1.csv.src" ]; then
  echo "generating W1 as CSV ..."
  python3 - "$data/w1.csv.src" <<'PY'
import sys
from workload import w1_rows
with open(sys.argv[1], "w") as out:
    for row in w1_rows():
        out.write(",".join(str(v) for v in row) + "\n")
PY
fi
cp "$data/w1.csv.src" "$data/w3.csv"

# Prints "wall-seconds cpu-seconds rss-kB" of one run of the given command.
# CPU time (user + system) is shown too: on a busy machine wall time mostly
# measures the wait for a core.
timed() {
  /usr/bin/time -v "$@" 2>"$data/w3.time" >/dev/null
  local wall cpu rss
  wall=$(grep "Elapsed (wall clock)" "$data/w3.time" | awk '{print $NF}' |
         awk -F: '{ if (NF == 3) print $1 * 3600 + $2 * 60 + $3; else print $1 * 60 + $2 }')
  cpu=$(awk -F': ' '/User time|System time/ { sum += $2 } END { print sum }' "$data/w3.time")
  rss=$(grep "Maximum resident set size" "$data/w3.time" | awk '{print $NF}')
  echo "$wall $cpu $rss"
}

best_csv=""
best_xlsx=""
for ((i = 1; i <= runs; i++)); do
  read -r csv_wall csv_cpu csv_rss < <(timed "$cli" recalc "$data/w3.csv" -o "$data/w3-out.csv")
  read -r xlsx_wall xlsx_cpu xlsx_rss < <(timed "$cli" recalc "$data/w3.csv" -o "$data/w3.xlsx")
  write=$(awk -v a="$xlsx_wall" -v b="$csv_wall" 'BEGIN { printf "%.2f", a - b }')
  write_cpu=$(awk -v a="$xlsx_cpu" -v b="$csv_cpu" 'BEGIN { printf "%.2f", a - b }')
  echo "W3 run $i: CSV only ${csv_wall} s; with XLSX write ${xlsx_wall} s (max RSS $((xlsx_rss / 1024)) MB);" \
       "write ≈ ${write} s wall, ${write_cpu} s CPU"
  best_csv=$(awk -v a="$csv_wall" -v b="${best_csv:-1e9}" 'BEGIN { print (a < b) ? a : b }')
  best_xlsx=$(awk -v a="$xlsx_wall" -v b="${best_xlsx:-1e9}" 'BEGIN { print (a < b) ? a : b }')
done
echo "W3 best: write ≈ $(awk -v a="$best_xlsx" -v b="$best_csv" 'BEGIN { printf "%.2f", a - b }') s (target < 1.0 s)"

# Size against the same parts deflated at the default level.
python3 - "$data/w3.xlsx" <<'PY'
import sys, zipfile, zlib, os
path = sys.argv[1]
with zipfile.ZipFile(path) as z:
    default = sum(len(zlib.compress(z.read(n), 6)) - 6 for n in z.namelist())
size = os.path.getsize(path)
print("W3 size: %.1f MB; parts at default deflate %.1f MB; ratio %.2f (target <= 1.3)"
      % (size / 1e6, default / 1e6, size / default))
PY
