#!/usr/bin/env bash
# test.sh: builds and runs all tests, on this machine with GCC and on AArch64 under emulation. Installs what it needs.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/packages.sh
. scripts/packages.sh
scripts/setup.sh "${test_packages[@]}" "${aarch64_packages[@]}"
for preset in host aarch64; do
  echo "== $preset"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset"
  ctest --preset "$preset" -j "$(nproc)"
done
echo "== the same bytes from both"
digests=$(mktemp)
trap 'rm -f "$digests"' EXIT
build/host/tests/record_digest >"$digests"
qemu-aarch64 -L /usr/aarch64-linux-gnu build/aarch64/tests/record_digest | diff "$digests" -
