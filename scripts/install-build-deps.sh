#!/usr/bin/env bash
# Installs the Debian packages needed to build and test the headless core,
# the command-line front end, the benchmarks and the fuzz targets.
# Idempotent: packages already present are left alone.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config
  libicu-dev libzip-dev zlib1g-dev libexpat1-dev
  libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev
  clang libclang-rt-14-dev
  libjavascriptcoregtk-4.1-dev
  time
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ "${#missing[@]}" -gt 0 ]; then
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -q
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
