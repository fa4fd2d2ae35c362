#!/usr/bin/env bash
# names.sh LIBRARY TOOL SOURCE: export list, header, pages, library and tool name the same things, and the library asks
# its host for the store, the logger and libc alone.
set -euo pipefail
library=$1 tool=$2 source=$3
wrong=0

same() {
    diff <(sort <<<"$2") <(sort <<<"$3") && return
    echo "$1 differ"
    wrong=1
}

# missing PAGE NAMES PATTERN: the names that do not stand in the page as the pattern has them.
missing() { comm -23 <(sort -u <<<"$2") <(sed 's/[\]//g' "$source/man/$1" | grep -oE "$3" | tr -s '*|' '\n' | sort -u); }

exported=$(nm -D --defined-only "$library" | awk '{print $3}')
listed=$(sed -e 's,/\*.*\*/,,' "$source/core/exports.map" | grep -oE '[A-Za-z_][A-Za-z0-9_]*;' | tr -d ';')
declared=$(grep -E '^(extern )?SARN_API' "$source/include/sarn.h" |
    sed -E 's/\(.*//; s/\[.*//; s/;.*//; s/.*[ *]//')
same "export list and library" "$listed" "$exported"
same "header and library" "$declared" "$exported"

store=$(grep -oE '\bkora_[a-z0-9_]+\(|\blog_printf\(' "$source/platform/kora.h" | tr -d '(')
asked=$(nm -D --undefined-only "$library" | awk '{print $2}' | grep -vE '@GLIBC_|^(_ITM_|__gmon|__cxa_finalize)')
same "what is asked of the host and what it has" "" "$(comm -13 <(sort -u <<<"$store") <(sort -u <<<"$asked"))"

commands=$("$tool" --help | sed -nE '/^Subcommands:/,/^$/s/^  ([a-z-]+) .*/\1/p')
options=$(printf '%s --help\n' '' list show name set 'report '{detail,connection,signature} | xargs -L1 "$tool" |
    grep -oE '^  (-.,)?(--)?[a-z][a-z-]+' | sed 's/.*[ ,]//')
same "library and its page" "" "$(missing libsarn.3.scd "$exported" '\*[A-Za-z0-9_]+\*')"
same "store and its page" "" "$(missing kora.7.scd "$store" '\*[a-z0-9_]+\*')"
same "commands and paragraphs of the page" "" "$(missing sarn.1.scd "$commands" '^(\*[a-z-]+\*[|]?)+')"
same "options and page" "" "$(missing sarn.1.scd "$options" '(--)?[a-z][a-z-]+')"

needed=$(readelf -d "$library" | sed -nE 's/.*(NEEDED|SONAME).*\[(.*)\]/\2/p')
same "needed library and soname" $'libc.so.6\nlibsarn.so.0' "$needed"
exit $wrong
