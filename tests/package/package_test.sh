#!/usr/bin/env bash
# package_test.sh BUILD_DIR SOURCE_DIR WORK_DIR: uses the library from a project of its own: installed, through the CMake package
# and pkg-config, and as sources, through add_subdirectory and FetchContent. C and C++, shared and static.
set -euo pipefail
build=$1 source=$2 work=$3
consumer=$source/tests/package/consumer
operators=$(sed -n 's/^ *TAMIX_OP_[A-Z0-9_]* = \([0-9]*\),.*/\1/p' "$source/include/tamix/tamix.h" | grep -vx 27)
[ "$(wc -w <<<"$operators")" -eq 46 ]

rm -rf "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$work/installed" >"$work/install.log"
mv "$work/installed" "$work/moved" # an installed folder may be moved
prefix=$work/moved

# runConsumer COMMAND...: the C one with every operator's number, so that none is lost from a static library.
runConsumer() {
  # shellcheck disable=SC2086  # a list of numbers
  "$@" $operators
}

export TAMIX_BUILD=$build
for uses in package subdirectory fetch; do
  folder=$work/$uses
  cmake -S "$consumer" -B "$folder" -G Ninja -DCONSUMER_USES=$uses -DCMAKE_PREFIX_PATH="$prefix" -DTAMIX_SOURCE="$source" \
    -DCMAKE_C_COMPILER_LAUNCHER="$source/tests/package/reuse_objects.sh" \
    -DCMAKE_CXX_COMPILER_LAUNCHER="$source/tests/package/reuse_objects.sh" >"$folder.log"
  cmake --build "$folder" >>"$folder.log" || { cat "$folder.log" >&2; exit 1; }
  for library in camera camera_static; do
    runConsumer "$folder/consumer_c_$library"
    "$folder/consumer_cpp_$library"
  done
  [ "$(ctest --test-dir "$folder" -N | grep -c 'Test *#')" -eq 0 ] # the library brings no tests,
  cmake --install "$folder" --prefix "$folder/prefix" >/dev/null
  [ ! -e "$folder/prefix" ] # and installs nothing, of its own accord
done

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name tamix_camera.pc)")
export PKG_CONFIG_PATH
libdir=$(pkg-config --variable=libdir tamix_camera)
for language in c cpp; do
  compile=(cc -std=c99)
  [ $language = c ] || compile=(c++ -std=c++17)
  # shellcheck disable=SC2046  # flags
  "${compile[@]}" -o "$work/shared" "$consumer/consumer.$language" $(pkg-config --cflags --libs tamix_camera)
  # shellcheck disable=SC2046
  "${compile[@]}" -o "$work/static" "$consumer/consumer.$language" $(pkg-config --cflags tamix_camera) \
    -Wl,-Bstatic $(pkg-config --libs-only-L --libs-only-l tamix_camera) \
    -Wl,-Bdynamic $(pkg-config --static --libs-only-l tamix_camera | sed 's/-ltamix_camera//')
  LD_LIBRARY_PATH=$libdir runConsumer "$work/shared"
  runConsumer "$work/static"
done

for standard in c99 c11; do
  echo '#include "tamix/kernels.h"' | cc -std=$standard -Wall -Wextra -pedantic -Werror -I"$source/include" -fsyntax-only -x c -
done
for standard in c++11 c++14 c++17 c++20; do
  echo '#include "tamix/kernels.h"
#include "tamix/framework.hpp"' | c++ -std=$standard -Wall -Wextra -pedantic -Werror -I"$source/include" -fsyntax-only -x c++ -
done
echo '#include "tamix/camera.hpp"' | c++ -std=c++20 -Wall -Wextra -pedantic -Werror -I"$source/include" -fsyntax-only -x c++ -
echo "package: installed, found, linked and run"
