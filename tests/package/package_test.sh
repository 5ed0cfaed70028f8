#!/usr/bin/env bash
# package_test.sh BUILD_DIR SOURCE_DIR WORK_DIR: installs the build and uses it from a project of its own, through the CMake
# package, through pkg-config, and as a subdirectory.
set -euo pipefail
build=$1 source=$2 work=$3
consumer=$source/tests/package/consumer
operators=$(sed -n 's/^ *TAMIX_OP_[A-Z0-9_]* = \([0-9]*\),.*/\1/p' "$source/include/tamix/tamix.h" | grep -vx 27)
[ "$(wc -w <<<"$operators")" -eq 46 ]

rm -rf "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$work/prefix" >"$work/install.log"

cmake -S "$consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$work/prefix" >"$work/configure.log"
cmake --build "$work/consumer" >"$work/build.log"
for library in camera camera_static; do
  # shellcheck disable=SC2086  # a list of numbers
  "$work/consumer/consumer_c_$library" $operators
  "$work/consumer/consumer_cpp_$library"
done

export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name tamix_camera.pc)")
# shellcheck disable=SC2046  # flags
cc -std=c99 -o "$work/consumer_pc" "$consumer/consumer.c" \
  $(pkg-config --define-variable=prefix="$work/prefix" --cflags --libs tamix_camera)
LD_LIBRARY_PATH=$(pkg-config --define-variable=prefix="$work/prefix" --variable=libdir tamix_camera) "$work/consumer_pc"

for standard in c99 c11; do
  echo '#include "tamix/kernels.h"' | cc -std=$standard -Wall -Wextra -pedantic -Werror -I"$source/include" -fsyntax-only -x c -
done
for standard in c++11 c++14 c++17 c++20; do
  echo '#include "tamix/kernels.h"
#include "tamix/framework.hpp"' | c++ -std=$standard -Wall -Wextra -pedantic -Werror -I"$source/include" -fsyntax-only -x c++ -
done
echo "package: installed, found, linked and run"
