#!/usr/bin/env bash
# release.sh [--skip-tests] [FOLDER]: tests and packs the version that CHANGELOG.md names, from a clean tree, into FOLDER
# (out/release): sources, this machine's library with the tool, the AArch64 Linux library, the Android archive where
# ANDROID_NDK_ROOT names an NDK, and their checksums. The same commit gives the same bytes.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/packages.sh
. scripts/packages.sh
skip_tests=
if [ "${1:-}" = --skip-tests ]; then skip_tests=yes; shift; fi
folder=$(realpath -m "${1:-out/release}")
fail() { echo "release.sh: $1" >&2; exit 1; }

[ -z "$(git status --porcelain)" ] || fail "the tree is not clean: $(git status --porcelain | head -n 1)"
version=$(sed -n 's/^project(tamix_camera VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
grep -qE "^## \[${version//./\\.}\] - [0-9]{4}-[0-9]{2}-[0-9]{2}$" CHANGELOG.md || fail "CHANGELOG.md has no dated version $version"
scripts/setup.sh "${aarch64_packages[@]}" git
[ -n "$skip_tests" ] || scripts/test.sh

SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH
umask 022
name=tamix_camera-$version
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
rm -rf "$folder"
mkdir -p "$folder"

git archive --prefix="$name/" HEAD | gzip -9n >"$folder/$name.tar.gz"

# pack PRESET SYSTEM OPTIONS...: builds and installs without tests, and packs what is installed.
pack() {
  local build=build/release/$1 tree=$name-$2
  cmake --preset "$1" -B "$build" -DTAMIX_BUILD_TESTS=OFF -DTAMIX_BUILD_BENCHMARKS=OFF -DCMAKE_INSTALL_LIBDIR=lib "${@:3}" >/dev/null
  cmake --build "$build" >/dev/null
  cmake --install "$build" --strip --prefix "$stage/$tree" >/dev/null
  tar -C "$stage" --sort=name --mtime="@$SOURCE_DATE_EPOCH" --owner=0 --group=0 --numeric-owner --format=gnu -c "$tree" |
    gzip -9n >"$folder/$tree.tar.gz"
}
pack host linux-x86_64 -DTAMIX_MARCH=x86-64-v2 -DTAMIX_BUILD_TOOL=ON
strings -a "$stage/$name-linux-x86_64/lib/libtamix_camera.so" | grep -q "^SHARED $version\." || fail "getTamixVersion is not $version"
pack aarch64 linux-aarch64
if [ -n "${ANDROID_NDK_ROOT:-}" ]; then
  cmake --preset android-arm64 -B build/release/android-arm64 >/dev/null
  cmake --build build/release/android-arm64 >/dev/null
  scripts/aar.sh build/release/android-arm64 "$folder/$name.aar" >/dev/null
else
  echo "release.sh: no Android archive without ANDROID_NDK_ROOT" >&2
fi

(cd "$folder" && sha256sum -- * >SHA256SUMS && cat SHA256SUMS)
