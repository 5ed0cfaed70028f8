#!/usr/bin/env bash
# aar_test.sh BUILD_DIR SOURCE_DIR WORK_DIR: packs an AArch64 Linux build, as the stand-in of an Android one, and uses it from the
# archive: its layout, its descriptions, and a program linked with it that runs where pages have 16 KiB.
set -euo pipefail
build=$1 source=$2 work=$3
fromCache() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }

rm -rf "$work"
mkdir -p "$work"
"$source/scripts/aar.sh" "$build" "$work/first.aar" >/dev/null
sleep 2 # the resolution of dates in a zip
(umask 077 && TZ=Asia/Tokyo "$source/scripts/aar.sh" "$build" "$work/second.aar" >/dev/null)
cmp "$work/first.aar" "$work/second.aar"
unzip -q "$work/first.aar" -d "$work/aar"

module=prefab/modules/tamix_camera
libs=$module/libs/android.arm64-v8a
diff <(cd "$work/aar" && find . -type f | sort) <(
  {
    printf './%s\n' AndroidManifest.xml classes.jar prefab/prefab.json $module/module.json $libs/abi.json $libs/libtamix_camera.so
    (cd "$source" && find include/tamix -type f | sed "s|^|./$module/|")
  } | sort)
unzip -tq "$work/aar/classes.jar" >/dev/null
python3 - "$work/aar" "$(fromCache CMAKE_PROJECT_VERSION)" <<'EOF'
import json, sys, xml.etree.ElementTree
root, version = sys.argv[1:]
def read(path):
    with open(f"{root}/{path}", encoding="utf-8") as file:
        return json.load(file)
module = "prefab/modules/tamix_camera"
assert read("prefab/prefab.json") == {"schema_version": 2, "name": "tamix_camera", "version": version, "dependencies": []}
assert read(f"{module}/module.json") == {"export_libraries": [], "library_name": "libtamix_camera"}
abi = read(f"{module}/libs/android.arm64-v8a/abi.json")
assert type(abi.pop("ndk")) is int
assert abi == {"abi": "arm64-v8a", "api": 21, "stl": "none", "static": False}
assert "package" in xml.etree.ElementTree.parse(f"{root}/AndroidManifest.xml").getroot().attrib
EOF

library=$work/aar/$libs/libtamix_camera.so
readelf -h "$library" | grep -q 'Class: *ELF64' && readelf -h "$library" | grep -q 'Machine: *AArch64'
! readelf -S "$library" | grep -q '\.debug_\|\.symtab' || { echo "not stripped" >&2; exit 1; }
soname=$(readelf -d "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
"$source/tests/package/exports_test.sh" "$library" "$source/cmake/exports.map" "$(fromCache CMAKE_NM)" readelf "$soname"

[ "$soname" = libtamix_camera.so ] || ln -s libtamix_camera.so "$(dirname "$library")/$soname"
aarch64-linux-gnu-gcc -std=c99 -o "$work/consumer" "$source/tests/package/consumer/consumer.c" \
  -I"$work/aar/$module/include" -L"$(dirname "$library")" -ltamix_camera
qemu-aarch64 -p 16384 -L /usr/aarch64-linux-gnu -E LD_LIBRARY_PATH="$(dirname "$library")" "$work/consumer"
