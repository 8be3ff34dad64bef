#!/usr/bin/env bash
# Checks that the C++ files changed since a revision (default: the last
# commit, HEAD~1) are formatted as .clang-format says. Older files are
# formatted when they are next touched.
# Usage: scripts/check-format.sh [REVISION]
set -euo pipefail
cd "$(dirname "$0")/.."
base="${1:-HEAD~1}"
git rev-parse --verify -q "$base^{commit}" >/dev/null || base="$(git hash-object -t tree /dev/null)"
mapfile -t files < <(git diff --name-only --diff-filter=ACMR "$base" -- '*.cpp' '*.h')
[ "${#files[@]}" -eq 0 ] || clang-format --dry-run --Werror "${files[@]}"
echo "clang-format: ${#files[@]} C++ files changed since $base are formatted"
