#!/usr/bin/env bash
# test.sh: every check of a change. The format and the documentation; all tests on this machine with GCC, on AArch64 under
# emulation, and with Clang's address and undefined-behaviour sanitizers; the library for AArch64 with Clang; the same bytes from
# every build. Installs what it needs.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/packages.sh
. scripts/packages.sh
scripts/setup.sh "${test_packages[@]}" "${aarch64_packages[@]}" "${clang_packages[@]}" "${docs_packages[@]}"

echo "== format"
find bench examples include inference platform tests tools -regex '.*\.\(cpp\|hpp\|h\|c\)' -print0 |
  xargs -0 clang-format --dry-run --Werror

echo "== documentation"
mkdir -p build
doxygen docs/Doxyfile

emulated() { qemu-aarch64 -L /usr/aarch64-linux-gnu "$@"; }

# Asking a compiler what it can do keeps one core busy: all presets at once.
cmake --preset aarch64-clang -DTAMIX_BUILD_TESTS=OFF >/dev/null &
configuring=($!)
for preset in host aarch64 asan; do
  cmake --preset "$preset" >/dev/null &
  configuring+=($!)
done
for job in "${configuring[@]}"; do wait "$job"; done

for preset in host aarch64 asan; do
  echo "== $preset"
  cmake --build --preset "$preset"
  ctest --preset "$preset" -j "$(nproc)"
done

echo "== AArch64 with Clang"
cmake --build --preset aarch64-clang
scripts/size.sh build/aarch64

echo "== AArch64 with pages of 16 KiB"
emulated -p 16384 build/aarch64/tests/record_planes_test --gtest_brief=1

echo "== the same bytes from every build"
digests=$(mktemp)
trap 'rm -f "$digests"' EXIT
build/host/tests/record_digest >"$digests"
build/asan/tests/record_digest | diff "$digests" -
emulated build/aarch64/tests/record_digest | diff "$digests" -
