#!/usr/bin/env bash
# android_test.sh BUILD_DIR SOURCE_DIR WORK_DIR: configures the preset android-arm64 with a stand-in of the NDK, around the GNU
# compiler of the AArch64 build BUILD_DIR, and links the library from its objects with the preset's command. Checks what Android
# asks for: the system's log, no version in the SONAME, no thread flags, and none of this machine's headers.
set -euo pipefail
build=$(realpath "$1") source=$2 work=$3
rm -rf "$work"
mkdir -p "$work"/ndk/build/cmake "$work"/ndk/include/android
work=$(realpath "$work")

cat >"$work/ndk/include/android/log.h" <<'EOF'
#pragma once
extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...);
EOF
echo 'int __android_log_print(void) { return 0; }' |
  aarch64-linux-gnu-gcc -shared -Wl,-soname,liblog.so -o "$work/ndk/liblog.so" -x c -
cat >"$work/ndk/build/cmake/android.toolchain.cmake" <<'EOF'
get_filename_component(ndk ${CMAKE_CURRENT_LIST_DIR}/../.. ABSOLUTE)
set(CMAKE_SYSTEM_NAME Android)
set(CMAKE_SYSTEM_VERSION 1) # the toolchain file does what CMake would do otherwise
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(ANDROID TRUE)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_CXX_FLAGS_INIT "-D__ANDROID__ -isystem ${ndk}/include")
set(CMAKE_SHARED_LINKER_FLAGS_INIT -L${ndk})
set(CMAKE_FIND_ROOT_PATH ${ndk})
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
EOF

(cd "$source" && ANDROID_NDK_ROOT=$work/ndk cmake --preset android-arm64 -B "$work/build" >"$work/configure.log" 2>&1) ||
  { cat "$work/configure.log" >&2; exit 1; }
for setting in ANDROID_ABI=arm64-v8a ANDROID_PLATFORM=android-21 ANDROID_STL=c++_static; do
  grep -q "^${setting%=*}:[A-Z]*=${setting#*=}$" "$work/build/CMakeCache.txt" || { echo "no $setting" >&2; exit 1; }
done

# All objects but the log's are what the AArch64 build has.
cd "$work/build"
objects=inference/CMakeFiles/tamix_objects.dir
log=$objects/__/platform/android_log.cpp.o
ninja "$log" >/dev/null
cp -R --no-clobber "$build/$objects" inference/CMakeFiles/
commands=$(ninja -t commands inference/libtamix_camera.so)
! grep -E -- '-pthread|-isystem /usr/include( |$)' <<<"$commands" || { echo "flags that are not Android's" >&2; exit 1; }
eval "$(tail -n 1 <<<"$commands")"

dynamic=$(readelf -d inference/libtamix_camera.so)
for entry in '(SONAME).*\[libtamix_camera.so\]' '(NEEDED).*\[liblog.so\]'; do
  grep -q "$entry" <<<"$dynamic" || { echo "no $entry in:"; echo "$dynamic"; exit 1; } >&2
done
! nm -D --defined-only inference/libtamix_camera.so | grep __android_log_print || { echo "brings a log of its own" >&2; exit 1; }
