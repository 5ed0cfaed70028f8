#!/usr/bin/env bash
# abi.sh LIBRARY [--renew]: compares the binary interface of a library with debug information to abi/, and fails on any change.
# A compatible addition is taken up with --renew; an incompatible change needs a new major version first.
set -euo pipefail
library=$1
cd "$(dirname "$0")/.."
baseline=abi/libtamix_camera.x86_64.abi
current=$(mktemp --suffix .abi)
trap 'rm -f "$current"' EXIT
abidw --exported-interfaces-only --headers-dir include --drop-private-types --no-show-locs --no-corpus-path --no-comp-dir-path \
  --no-architecture --no-elf-needed --no-parameter-names --type-id-style hash --out-file "$current" "$library"
if [ "${2:-}" = --renew ]; then
  cp "$current" "$baseline"
elif ! abidiff "$baseline" "$current"; then
  echo "abi.sh: the interface changed. Compatible: scripts/abi.sh $library --renew, and commit $baseline" >&2
  exit 1
fi
