#!/usr/bin/env bash
# coverage.sh [PRESET...]: runs the tests and writes docs/coverage.md: what of inference/ they reach, on this machine and on
# AArch64 under emulation together. With presets: only these (host, aarch64).
set -euo pipefail

# coverage.sh compile [LAUNCHER] COMPILER ARGUMENT...: what the build calls in place of its compiler.
if [ "${1-}" = compile ]; then
  shift
  launcher=()
  while [[ $1 != *g++ && $1 != *c++ ]]; do launcher+=("$1") && shift; done
  target=()
  [[ $1 != *aarch64* ]] || target=(--target=aarch64-linux-gnu)
  exec "${launcher[@]}" clang++ "${target[@]}" -Wno-unknown-warning-option "${@:2}" -O1 -fprofile-instr-generate -fcoverage-mapping
fi

cd "$(dirname "$0")/.."
# shellcheck source=scripts/packages.sh
. scripts/packages.sh
scripts/setup.sh "${coverage_packages[@]}"
runtime=$(clang -print-resource-dir)/lib/linux

# Clang's profile library for AArch64 comes from the package of that architecture, which need not be installed for its own.
aarch64_runtime() {
  local state=$PWD/build/coverage-apt
  local options=(-o APT::Architecture=arm64 -o APT::Architectures=arm64 -o Dir::State::lists="$state/lists" -o Dir::Cache="$state"
    -o APT::Sandbox::User=root)
  local library=usr/lib/llvm-14/lib/clang/14.0.6/lib/linux/libclang_rt.profile-aarch64.a
  if [ ! -f "$state/$library" ]; then
    mkdir -p "$state/lists/partial" "$state/archives/partial"
    (cd "$state" && apt-get "${options[@]}" update && apt-get "${options[@]}" download libclang-rt-14-dev:arm64) >&2
    dpkg-deb -x "$state"/libclang-rt-14-dev_*_arm64.deb "$state"
  fi
  echo "$state/$library"
}

presets=("$@")
[ $# -gt 0 ] || presets=(host aarch64)
for preset in "${presets[@]}"; do
  echo "== $preset"
  build=build/coverage-$preset
  library=$runtime/libclang_rt.profile-x86_64.a
  [ "$preset" = host ] || library=$(aarch64_runtime)
  cmake --preset "$preset" -B "$build" -DTAMIX_COVERAGE="$library" -DTAMIX_BUILD_TOOL=OFF -DTAMIX_BUILD_BENCHMARKS=OFF >/dev/null
  cmake --build "$build"
  rm -rf "$build/profiles"
  (cd "$build" && LLVM_PROFILE_FILE=$PWD/profiles/%m.profraw ctest -j "$(nproc)" --output-on-failure -E '^(abi|exports|package)_test$')
  llvm-profdata merge -o "$build/profile" "$build"/profiles/*.profraw
  # Every test program contains the whole library.
  for format in text lcov; do
    llvm-cov export -format="$format" -instr-profile="$build/profile" "$build/tests/operator_test" >"$build/coverage.$format"
  done
done
scripts/coverage_report.py "${presets[@]/#/build/coverage-}"
