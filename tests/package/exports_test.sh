#!/usr/bin/env bash
# exports_test.sh LIBRARY VERSION_SCRIPT NM READELF: the library exports what the version script lists and nothing else, and
# needs the C and C++ run-time libraries only.
set -euo pipefail
library=$1 script=$2 nm=$3 readelf=$4
listed=$(sed -n '/global:/,/local:/s/^ *\([A-Za-z_][A-Za-z0-9_]*\);.*/\1/p' "$script" | sort)
exported=$("$nm" -D --defined-only "$library" | awk '{print $3}' | sort)
diff <(echo "$listed") <(echo "$exported") || { echo "exports differ from $script (<: listed, >: exported)" >&2; exit 1; }
others=$("$readelf" -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
  grep -vE '^(libstdc\+\+|libgcc_s|libm|libc|ld-linux.*)\.so' || true)
[ -z "$others" ] || { echo "needs $others" >&2; exit 1; }
echo "$(wc -l <<<"$exported") symbols exported"
