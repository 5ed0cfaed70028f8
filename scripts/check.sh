#!/usr/bin/env bash
# check.sh: formatting, warnings of Clang on both architectures, and the whole suite under sanitizers.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/packages.sh
. scripts/packages.sh
scripts/setup.sh "${clang_packages[@]}" "${aarch64_packages[@]}"
echo "== format"
git ls-files '*.cpp' '*.hpp' '*.h' '*.c' | xargs clang-format --dry-run --Werror
echo "== sanitizers"
cmake --preset asan >/dev/null
cmake --build --preset asan
ctest --preset asan -j "$(nproc)"
echo "== AArch64 with Clang"
cmake --preset aarch64-clang -DTAMIX_BUILD_TESTS=OFF >/dev/null
cmake --build --preset aarch64-clang
