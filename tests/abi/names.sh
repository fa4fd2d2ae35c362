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

none() {
    [ -n "$2" ] || return 0
    echo "$1: ${2//$'\n'/ }"
    wrong=1
}

# named_in PAGE PATTERN: what stands in the page as the pattern has it.
named_in() { sed 's/[\]//g' "$source/man/$1" | grep -oE "$2" | tr -s '*|' '\n' | sort -u; }

# lacking PAGE NAMES PATTERN; and page, which also looks for what the page alone has.
lacking() { none "man/$1 lacks" "$(comm -23 <(sort -u <<<"$2") <(named_in "$1" "$3"))"; }
page() {
    lacking "$@"
    none "man/$1 alone has" "$(comm -13 <(sort -u <<<"$2") <(named_in "$1" "$3") | grep -vxE -e '--.*|(lib)?(sarn|kora)|')"
}

exported=$(nm -D --defined-only "$library" | awk '{print $3}')
listed=$(sed -e 's,/\*.*\*/,,' "$source/core/exports.map" | grep -oE '[A-Za-z_][A-Za-z0-9_]*;' | tr -d ';')
declared=$(grep -E '^(extern )?SARN_API' "$source/include/sarn.h" |
    sed -E 's/\(.*//; s/\[.*//; s/;.*//; s/.*[ *]//')
same "export list and library" "$listed" "$exported"
same "header and library" "$declared" "$exported"

store=$(grep -oE '\bkora_[a-z0-9_]+\(|\blog_printf\(' "$source/platform/kora.h" | tr -d '(')
asked=$(nm -D --undefined-only "$library" | awk '{print $2}' | grep -vE '@GLIBC_|^(_ITM_|__gmon|__cxa_finalize)')
none "asked of the host, which has it not" "$(comm -13 <(sort -u <<<"$store") <(sort -u <<<"$asked"))"

commands=$("$tool" --help | sed -nE '/^Subcommands:/,/^$/s/^  ([a-z-]+) .*/\1/p')
options=$(printf '%s --help\n' '' list show name set 'report '{detail,connection,signature} | xargs -L1 "$tool" |
    grep -oE '^  (-.,)?(--)?[a-z][a-z-]+' | sed 's/.*[ ,]//')
page libsarn.3.scd "$exported" '\*[A-Za-z0-9_]+\*'
page kora.7.scd "$store" '\*[a-z0-9_]+\*'
page sarn.1.scd "$commands" '^(\*[a-z-]+\*[|]?)+'
lacking sarn.1.scd "$options" '(--)?[a-z][a-z-]+'

# Hosts were built with these; a new one changes the sum too.
numbers=$(grep -oE '\bSARN_[A-Z0-9_]+ *= *-?[0-9]+' "$source/include/sarn.h" | cksum)
same "numbers of the header and those that hosts have" '2419665944 1803' "$numbers"
path=$(sed -nE 's/.*KORA_DEFAULT_STORE "(.*)"/\1/p' "$source/platform/kora.h")
none "without the default store's path, $path" "$(cd "$source" && grep -L "$path" README.md docs/store.md \
    man/{kora.7,sarn.1,sarn-dhcp.8}.scd packaging/{completion/sarn,init.d/*.in,systemd/*.service.in})"

# The loader is libc's too; on Arm it holds what guards the stack.
needed=$(readelf -d "$library" | sed -nE 's/.*(NEEDED|SONAME).*\[(.*)\]/\2/p' | grep -v '^ld-linux')
same "needed library and soname" $'libc.so.6\nlibsarn.so.0' "$needed"
exit $wrong
