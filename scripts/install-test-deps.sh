#!/usr/bin/env bash
# Installs the Debian packages that the interoperability tests use to produce
# workbooks written by other programs (LibreOffice, openpyxl, XlsxWriter).
# Tests that need one of them skip when it is missing, so this is optional.
# Idempotent: packages already present are left alone.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib/apt-install.sh"

packages=(
  libreoffice-calc-nogui
  python3-openpyxl
  python3-xlsxwriter
)

apt_install_missing "${packages[@]}"
