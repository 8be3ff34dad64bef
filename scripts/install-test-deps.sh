#!/usr/bin/env bash
# Installs the Debian packages that the interoperability tests use to produce
# workbooks written by other programs (LibreOffice, openpyxl, XlsxWriter),
# and the X server the menus-after-printing check runs on (Xvfb).
# Tests that need one of them skip when it is missing, so this is optional.
# Idempotent: packages already present are left alone.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib/apt-install.sh"

packages=(
  libreoffice-calc-nogui
  python3-openpyxl
  python3-xlsxwriter
  locales
  xvfb
)

apt_install_missing "${packages[@]}"

# A comma-decimal locale: the writers are tested to keep their number texts
# independent of the process locale.
if ! locale -a 2>/dev/null | grep -qix 'de_DE.utf-\?8'; then
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd sed -i 's/^# *\(de_DE.UTF-8 UTF-8\)/\1/' /etc/locale.gen
  $sudo_cmd locale-gen
fi
