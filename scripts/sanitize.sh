#!/usr/bin/env bash
# sanitize.sh [NAME...]: the checks for undefined behaviour that take too long for the test command. Names, all by default:
#   thread    the whole suite and instances on two threads, thread sanitizer
#   memory    records of every operator, memory sanitizer
#   aarch64   the whole suite and records under emulation, address and undefined-behaviour sanitizers
#   valgrind  records of every operator
# RECORDS in the environment: records of every operator (1000; 100 emulated, 20 for valgrind).
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/packages.sh
. scripts/packages.sh
scripts/setup.sh "${test_packages[@]}" "${aarch64_packages[@]}" "${clang_packages[@]}" "${sanitize_packages[@]}"

# build PRESET [ARGUMENT...]
build() {
  cmake --preset "$1" >/dev/null
  cmake --build --preset "$@"
}

# digest RECORDS COMMAND...: what the digest program prints must not depend on the build.
digest() {
  local records=$1
  shift
  build host --target record_digest
  build/host/tests/record_digest "$records" >build/digest.host
  "$@" "$records" >build/digest.sanitized
  cmp build/digest.host build/digest.sanitized
}

check_thread() {
  build tsan
  ctest --preset tsan -j "$(nproc)"
  digest "${RECORDS:-1000}" build/tsan/tests/record_digest
}

# Memory that the C++ library's compiled part writes counts as uninitialised: the test framework's strings, for one.
check_memory() {
  build msan --target record_digest
  digest "${RECORDS:-1000}" build/msan/tests/record_digest
}

# The leak check needs ptrace, which the emulator has not; the test command looks for leaks on this machine.
check_aarch64() {
  build aarch64-asan
  ctest --preset aarch64-asan -j "$(nproc)"
  digest "${RECORDS:-100}" env ASAN_OPTIONS=detect_leaks=0 qemu-aarch64 -L /usr/aarch64-linux-gnu \
    build/aarch64-asan/tests/record_digest
}

check_valgrind() {
  build valgrind --target record_digest
  digest "${RECORDS:-20}" valgrind -q --error-exitcode=1 --leak-check=full build/valgrind/tests/record_digest
}

[ $# -gt 0 ] || set -- thread memory aarch64 valgrind
for name in "$@"; do
  echo "== $name"
  "check_$name"
done
