#!/usr/bin/env bash
# size.sh BUILD_DIR: prints the size of the stripped library; fails above 1 MiB.
set -euo pipefail
build=$1 limit=1048576
strip=$(sed -n 's/^CMAKE_STRIP:[A-Z]*=//p' "$build/CMakeCache.txt")
stripped=$(mktemp)
trap 'rm -f "$stripped"' EXIT
"$strip" -o "$stripped" "$build/inference/libtamix_camera.so"
bytes=$(stat -c %s "$stripped")
echo "libtamix_camera.so, stripped: $bytes bytes of at most $limit"
[ "$bytes" -le "$limit" ]
