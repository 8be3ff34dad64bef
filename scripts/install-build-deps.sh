#!/usr/bin/env bash
# Installs the Debian packages needed to build the headless core, the
# command-line front end, the desktop application, the benchmarks and the
# fuzz targets.
# Idempotent: packages already present are left alone.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib/apt-install.sh"

packages=(
  build-essential cmake ninja-build ccache pkg-config
  libicu-dev libzip-dev libdeflate-dev zlib1g-dev libexpat1-dev
  libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev
  clang libclang-rt-14-dev clang-format
  libjavascriptcoregtk-4.1-dev
  qt6-base-dev qt6-charts-dev libqt6opengl6-dev libgl-dev
  xvfb xauth poppler-utils
  time
  libboost-math-dev
)

apt_install_missing "${packages[@]}"
