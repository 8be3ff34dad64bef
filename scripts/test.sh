#!/usr/bin/env bash
# Sets up, builds and runs every test: the formatting of the last commit's
# lines, the unit, integration and interface tests (ctest; the interface
# tests run Qt on its offscreen platform), then each fuzz target briefly
# under a clang build with sanitizers.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-build-deps.sh
bash scripts/install-test-deps.sh
bash scripts/check-format.sh
bash scripts/build.sh
(cd build && ctest --output-on-failure -j2)
bash scripts/fuzz.sh 20
