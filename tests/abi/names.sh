#!/usr/bin/env bash
# names.sh LIBRARY SOURCE: export list, header and library name the same things, and the library asks its host for the
# store, the logger and libc alone.
set -euo pipefail
library=$1
source=$2
wrong=0

same() {
    diff <(sort <<<"$2") <(sort <<<"$3") >/dev/null && return
    echo "$1 differ:"
    diff <(sort <<<"$2") <(sort <<<"$3") || true
    wrong=1
}

exported=$(nm -D --defined-only "$library" | awk '{print $3}')
listed=$(sed -e 's,/\*.*\*/,,' "$source/core/exports.map" | grep -oE '[A-Za-z_][A-Za-z0-9_]*;' | tr -d ';')
declared=$(grep -E '^(extern )?SARN_API' "$source/include/sarn.h" |
    sed -E 's/\(.*//; s/\[.*//; s/;.*//; s/.*[ *]//')
same "export list and library" "$listed" "$exported"
same "header and library" "$declared" "$exported"

store=$(grep -oE '\bkora_[a-z0-9_]+\(|\blog_printf\(' "$source/platform/kora.h" | tr -d '(' | sort -u)
asked=$(nm -D --undefined-only "$library" | awk '{print $2}' | grep -vE '@GLIBC_|^(_ITM_|__gmon|__cxa_finalize)')
strangers=$(comm -13 <(echo "$store") <(sort -u <<<"$asked"))
[ -z "$strangers" ] || { echo "asks the host for more than the store and the logger: $strangers"; wrong=1; }

needed=$(readelf -d "$library" | sed -nE 's/.*NEEDED.*\[(.*)\]/\1/p')
same "needed libraries" "libc.so.6" "$needed"
soname=$(readelf -d "$library" | sed -nE 's/.*SONAME.*\[(.*)\]/\1/p')
same "soname" "libsarn.so.0" "$soname"
exit $wrong
