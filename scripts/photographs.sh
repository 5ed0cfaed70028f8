# shellcheck shell=bash
# Photographs that Debian packages carry; sourced by other scripts. Packages are unpacked, not installed.

# photograph PACKAGE NAME FILE: copies the picture NAME of the package to FILE, unless it is there already.
photograph() {
  [ ! -e "$3" ] || return 0
  local folder
  folder=$(mktemp -d)
  chmod 755 "$folder" # apt reads it as another user
  (
    cd "$folder" || exit
    apt-get download -qq "$1" 2>/dev/null >&2 || { apt-get update -qq && apt-get download -qq "$1"; } >/dev/null
    dpkg-deb -x "$1"_*.deb .
  )
  mkdir -p "$(dirname "$3")"
  cp "$(find "$folder" -name "$2" | head -n 1)" "$3"
  rm -rf "$folder"
}
