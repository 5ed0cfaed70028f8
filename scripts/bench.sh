#!/usr/bin/env bash
# bench.sh [NAME] [ARGUMENTS...]: builds and runs the benchmarks whose name contains NAME.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/packages.sh
. scripts/packages.sh
scripts/setup.sh "${bench_packages[@]}"
cmake --preset bench >/dev/null
cmake --build --preset bench --target tamix_bench >/dev/null
exec build/bench/bench/tamix_bench --benchmark_filter="${1:-.}" "${@:2}"
