# Sourced by the install-*.sh scripts: installs the named Debian packages that
# are not installed yet, so a second run changes nothing and needs no network.
apt_install_missing() {
  local missing=() p
  for p in "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
  done
  [ "${#missing[@]}" -gt 0 ] || return 0
  local sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -q
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -q --no-install-recommends "${missing[@]}"
}
