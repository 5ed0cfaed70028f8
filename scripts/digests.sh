#!/usr/bin/env bash
# digests.sh [RECORDS]: one digest for each operator over RECORDS records (1000), from builds by both compilers, without and with
# optimisation, for every vector width, and on several AArch64 cores. Prints a line for each; exits with 1 if any differs.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/packages.sh
. scripts/packages.sh
scripts/setup.sh "${test_packages[@]}" "${aarch64_packages[@]}" "${clang_packages[@]}"
records=${1:-1000}
out=build/digests
differing=0
rm -rf "$out"
mkdir -p "$out"

# build NAME PRESET [OPTION...]: the digest program of a preset with other options.
build() {
  local folder=build/digest-$1 preset=$2
  shift 2
  cmake --preset "$preset" -B "$folder" -DTAMIX_BUILD_TOOL=OFF -DTAMIX_BUILD_BENCHMARKS=OFF "$@" >/dev/null
  cmake --build "$folder" --target record_digest >"$folder/build.log" || { cat "$folder/build.log"; exit 1; }
}

# compare NAME COMMAND...: what the command prints, beside what the first one printed.
compare() {
  local name=$1 verdict=same
  shift
  "$@" "$records" >"$out/$name"
  [ -e "$out/first" ] || cp "$out/$name" "$out/first"
  if ! cmp -s "$out/first" "$out/$name"; then
    verdict="differs: $(comm -13 <(sort "$out/first") <(sort "$out/$name") | cut -d: -f1 | paste -sd,)"
    differing=1
  fi
  printf '%-28s %s  %s\n' "$name" "$(sha256sum <"$out/$name" | cut -c1-16)" "$verdict"
}

# A processor without an instruction set cannot run what is compiled for it.
runs() { grep -qw "$1" /proc/cpuinfo || { echo "$2: this machine has no $1" && false; }; }

on_host() {
  build "$@"
  compare "$1" "build/digest-$1/tests/record_digest"
}
on_host gcc host
on_host gcc-O0 host -DCMAKE_BUILD_TYPE= -DCMAKE_CXX_FLAGS=-O0
on_host gcc-128 host -DTAMIX_MARCH=x86-64-v2
! runs avx2 gcc-256 || on_host gcc-256 host -DTAMIX_MARCH=x86-64-v3
! runs avx512bw gcc-512 || on_host gcc-512 host -DTAMIX_MARCH=x86-64-v4
on_host clang host-clang
on_host clang-O0 host-clang -DCMAKE_BUILD_TYPE= -DCMAKE_CXX_FLAGS=-O0
on_host clang-128 host-clang -DTAMIX_MARCH=x86-64-v2
for preset in aarch64 aarch64-clang; do
  build "$preset" "$preset"
  for core in cortex-a53 cortex-a72 cortex-a76 a64fx max; do
    compare "$preset-$core" qemu-aarch64 -cpu "$core" -L /usr/aarch64-linux-gnu "build/digest-$preset/tests/record_digest"
  done
done
exit "$differing"
