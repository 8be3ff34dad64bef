#!/usr/bin/env bash
# Sets up and runs Sumora: the desktop application on the sample workbook
# when a display is available, otherwise the headless front end recalculating it.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-build-deps.sh
bash scripts/build.sh
sample=examples/budget.xlsx
if [ -x build/app/sumora ] && [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  exec build/app/sumora "$sample"
fi
exec build/cli/sumora-cli recalc "$sample"
