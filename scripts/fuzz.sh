#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (address and undefined-behaviour
# sanitizers) and runs each for the given number of seconds (default 20).
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-20}"
if ! command -v clang++ >/dev/null; then
  echo "clang++ not found: fuzz targets skipped"
  exit 0
fi
CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DSUMORA_BUILD_FUZZ=ON -DSUMORA_BUILD_BENCH=OFF -DSUMORA_BUILD_APP=OFF -DBUILD_TESTING=OFF \
  -DSUMORA_SANITIZE=ON >/dev/null
ninja -C build-fuzz $(cd fuzz && ls *.cpp 2>/dev/null | sed 's/\.cpp$//')
for src in fuzz/*.cpp; do
  name=$(basename "$src" .cpp)
  corpus="build-fuzz/corpus-$name"
  mkdir -p "$corpus"
  # The sample workbooks seed every target (the XLSX one carries styles,
  # merges, comments and conditional formats).
  seeds=(examples)
  [ -d "fuzz/seeds/$name" ] && seeds+=("fuzz/seeds/$name")
  echo "fuzzing $name for ${seconds}s"
  "build-fuzz/fuzz/$name" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=0 \
    "$corpus" "${seeds[@]}" 2>"build-fuzz/$name.log" || { tail -50 "build-fuzz/$name.log"; exit 1; }
done
echo "fuzz targets passed"
