# Shared set-up of the whole-process benchmarks, sourced after `cd` to the
# project root: reads [build-dir] [runs], checks the command-line binary and
# makes the data folder; `measure NAME IN OUT` times `sumora-cli recalc`.
build="${1:-build}"
runs="${2:-3}"
cli="$build/cli/sumora-cli"
data="$build/bench-data"
mkdir -p "$data"
[ -x "$cli" ] || { echo "build $cli first"; exit 1; }
export PYTHONPATH="$PWD/bench/lib${PYTHONPATH:+:$PYTHONPATH}"

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
