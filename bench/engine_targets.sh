#!/usr/bin/env bash
# In-process figures, each with its target, from the Google Benchmark
# programs of bench/ (configure with -DSUMORA_BUILD_BENCH=ON):
#   full recalculation of W2's sheet (full_recalc_bench)           <= 200 ms
#   undo of an entry in a 100,000-formula sheet (editor_entry_bench) <= 1 ms
#   heap bytes per stored cell of W1, XLSX and CSV (storage_bench)  <= 52
# bench/perf_targets.sh runs it after the whole-process figures.
# Usage: bench/engine_targets.sh [build-dir]
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build}"
data="$build/bench-data"
for program in full_recalc_bench editor_entry_bench storage_bench; do
  [ -x "$build/bench/$program" ] || { echo "in-process figures: build $build/bench/$program first"; exit 0; }
done

json() { # program [args...]: its results as JSON on stdout
  local program="$1"; shift
  "$build/bench/$program" --benchmark_format=json "$@" 2>/dev/null
}
{
  json full_recalc_bench
  json editor_entry_bench --benchmark_filter=BM_UndoEntryInLargeSheet
  json storage_bench "$data"
} | python3 -c '
import json, sys
decoder, text, pos = json.JSONDecoder(), sys.stdin.read(), 0
print("in-process figures (means over the iterations of each benchmark)")
while True:
    while pos < len(text) and text[pos].isspace():
        pos += 1
    if pos >= len(text):
        break
    report, pos = decoder.raw_decode(text, pos)
    for b in report["benchmarks"]:
        if b.get("error_occurred"):
            print("  %-34s %s" % (b["name"], b.get("error_message", "failed")))
        elif "bytes_per_cell" in b:
            print("  %-34s %6.1f bytes per cell of %d  target <= 52" % (b["name"], b["bytes_per_cell"], b["cells"]))
        else:
            print("  %-34s %8.2f %s (cpu %.2f %s)  %s" % (b["name"], b["real_time"], b["time_unit"],
                  b["cpu_time"], b["time_unit"], b.get("label", "")))
'
