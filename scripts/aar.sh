#!/usr/bin/env bash
# aar.sh BUILD_DIR OUTPUT.aar: packs an AArch64 build (preset android-arm64) as an Android archive with a Prefab module. The same
# build gives the same bytes; SOURCE_DATE_EPOCH dates the entries.
set -euo pipefail
build=$(realpath "$1") output=$(realpath -m "$2")
cd "$(dirname "$0")/.."
# shellcheck source=scripts/packages.sh
. scripts/packages.sh
scripts/setup.sh "${aar_packages[@]}"

fromCache() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
version=$(fromCache CMAKE_PROJECT_VERSION)
library=$build/inference/libtamix_camera.so
"$(fromCache CMAKE_READELF)" -h "$library" | grep -q 'Machine:.*AArch64' || { echo "aar.sh: $library is not for AArch64" >&2; exit 1; }
# The NDK's major version; 0 for a build without the NDK.
ndk=$(sed -n 's/^Pkg.Revision *= *\([0-9]*\).*/\1/p' "$(fromCache CMAKE_TOOLCHAIN_FILE | sed 's|/build/cmake/.*||')/source.properties" \
  2>/dev/null || echo 0)

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
umask 022
module=$folder/aar/prefab/modules/tamix_camera
mkdir -p "$module/libs/android.arm64-v8a" "$module/include" "$folder/jar/META-INF"

cat >"$folder/aar/AndroidManifest.xml" <<EOF
<?xml version="1.0" encoding="utf-8"?>
<manifest xmlns:android="http://schemas.android.com/apk/res/android" package="tamix.camera" android:versionName="$version">
  <uses-sdk android:minSdkVersion="21"/>
</manifest>
EOF
cat >"$folder/aar/prefab/prefab.json" <<EOF
{"schema_version": 2, "name": "tamix_camera", "version": "$version", "dependencies": []}
EOF
cat >"$module/module.json" <<EOF
{"export_libraries": [], "library_name": "libtamix_camera"}
EOF
cat >"$module/libs/android.arm64-v8a/abi.json" <<EOF
{"abi": "arm64-v8a", "api": 21, "ndk": $ndk, "stl": "none", "static": false}
EOF
cp -R include/tamix "$module/include/"
"$(fromCache CMAKE_STRIP)" -o "$module/libs/android.arm64-v8a/libtamix_camera.so" "$library"
# There is no Java code, but the archive's readers want the file.
printf 'Manifest-Version: 1.0\r\n\r\n' >"$folder/jar/META-INF/MANIFEST.MF"

# archive FOLDER FILE: a zip of sorted entries with one date and plain permissions.
archive() {
  find "$1" -type d -exec chmod 755 {} + -o -type f -exec chmod 644 {} +
  find "$1" -exec touch -d "@${SOURCE_DATE_EPOCH:-315532800}" {} +
  rm -f "$2"
  (cd "$1" && find . -type f | LC_ALL=C sort | TZ=UTC zip -q -X -@ "$2")
}
archive "$folder/jar" "$folder/aar/classes.jar"
mkdir -p "$(dirname "$output")"
archive "$folder/aar" "$output"
echo "$output"
