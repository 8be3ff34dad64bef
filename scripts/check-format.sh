#!/usr/bin/env bash
# Checks that the C++ files the last commit changed are formatted as
# .clang-format says; older files are formatted when they are next touched.
# For a merge commit, "changed" means changed against every parent (the
# files the merge itself resolved), not everything the merged branch brought.
# Usage: scripts/check-format.sh [REVISION]   — all files changed since REVISION
set -euo pipefail
cd "$(dirname "$0")/.."
if [ $# -gt 0 ]; then
  mapfile -t files < <(git diff --name-only --diff-filter=ACMR "$1" -- '*.cpp' '*.h')
else
  mapfile -t files < <(git show --name-only --diff-filter=ACMR --format= HEAD -- '*.cpp' '*.h')
fi
[ "${#files[@]}" -eq 0 ] || clang-format --dry-run --Werror "${files[@]}"
echo "clang-format: the ${#files[@]} C++ files checked are formatted"
