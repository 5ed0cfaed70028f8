#!/usr/bin/env bash
# setup.sh PACKAGE...: installs the Debian packages that are missing; says nothing when none is.
set -euo pipefail
missing=()
for package in $(printf '%s\n' "$@" | sort -u); do
  dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0
as_root=()
if [ "$(id -u)" -ne 0 ]; then
  as_root=(sudo)
  command -v sudo >/dev/null || { echo "setup: as root, please: apt-get install ${missing[*]}" >&2; exit 1; }
fi
echo "setup: installing ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
export DEBIAN_FRONTEND=noninteractive
if ! { "${as_root[@]}" apt-get update && "${as_root[@]}" apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
  cat "$log" >&2
  exit 1
fi
