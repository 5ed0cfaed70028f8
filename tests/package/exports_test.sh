#!/usr/bin/env bash
# exports_test.sh LIBRARY VERSION_SCRIPT NM READELF SONAME: the library exports what the version script lists and nothing else,
# needs the C and C++ run-time libraries only (a sanitized one that sanitizer's too), has that SONAME, and loads where pages have
# 16 KiB.
set -euo pipefail
library=$1 script=$2 nm=$3 readelf=$4 soname=$5
listed=$(sed -n '/global:/,/local:/s/^ *\([A-Za-z_][A-Za-z0-9_]*\);.*/\1/p' "$script" | sort)
exported=$("$nm" -D --defined-only "$library" | awk '{print $3}' | sort)
diff <(echo "$listed") <(echo "$exported") || { echo "exports differ from $script (<: listed, >: exported)" >&2; exit 1; }
others=$("$readelf" -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
  grep -vE '^(lib(a|t|ub)san|libstdc\+\+|libgcc_s|libm|libc|ld-linux.*)\.so' || true)
[ -z "$others" ] || { echo "needs $others" >&2; exit 1; }
"$readelf" -d "$library" | grep -q "(SONAME).*\[$soname\]" || { echo "SONAME is not $soname" >&2; exit 1; }
alignments=$("$readelf" -lW "$library" | awk '$1 == "LOAD" {print $NF}' | sort -u)
[ "$alignments" = 0x4000 ] || { echo "segments are aligned to $alignments" >&2; exit 1; }
echo "$(wc -l <<<"$exported") symbols exported"
