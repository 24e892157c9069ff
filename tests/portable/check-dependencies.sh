#!/usr/bin/env bash
# Every ELF file of the installer bundle, and the one file's launcher, finds each library
# it needs (walked through NEEDED, recursively) inside the bundle through its RUNPATH, or
# the library is on the host list. Prints the newest C library version any of them needs.
#   check-dependencies.sh HOST_LIST BUNDLE.app LAUNCHER
set -euo pipefail
host_list=$1 bundle=$2 launcher=$3
mapfile -t host < <(grep -v '^#' "$host_list" | awk 'NF {print $1}')
declare -A on_host=() checked=()
for name in "${host[@]}"; do on_host[$name]=1; done
failures=0

# Folders the dynamic loader searches for the file at $1 (dynamic section $2, read when
# not given): its RUNPATH, $ORIGIN expanded.
search_path() {
    local origin dynamic=${2:-$(readelf -d "$1")}
    origin=$(dirname "$(readlink -f "$1")")
    sed -n 's/.*(RUNPATH).*\[\(.*\)\]/\1/p' <<<"$dynamic" | tr ':' '\n' | sed "s|\$ORIGIN|$origin|g"
}

check() {
    local file=$1
    [[ -n ${checked[$file]:-} ]] && return
    checked[$file]=1
    local needed folder found dynamic
    dynamic=$(readelf -d "$file")
    mapfile -t folders < <(search_path "$file" "$dynamic")
    for needed in $(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic"); do
        [[ -n ${on_host[$needed]:-} ]] && continue
        found=
        for folder in "${folders[@]}"; do
            [[ -n $folder && -f "$folder/$needed" ]] && { found="$folder/$needed"; break; }
        done
        if [[ -z $found ]]; then
            echo "FAIL: ${file#"$bundle/"} needs $needed, which is neither in the bundle nor on the host list" >&2
            failures=$((failures + 1))
        elif [[ $(readlink -f "$found") != "$(readlink -f "$bundle")"/* && $file != "$launcher" ]]; then
            echo "FAIL: ${file#"$bundle/"} finds $needed outside the bundle: $found" >&2
            failures=$((failures + 1))
        else
            check "$(readlink -f "$found")"
        fi
    done
}

count=0
while IFS= read -r file; do
    check "$file"
    count=$((count + 1))
done < <(find "$bundle" -type f -exec sh -c 'for f; do [ "$(head -c 4 "$f" | od -An -c | tr -d " ")" = "177ELF" ] && echo "$f"; done' _ {} +)
check "$launcher"
[[ -z $(search_path "$launcher") ]] || { echo "FAIL: the launcher searches $(search_path "$launcher")" >&2; failures=$((failures + 1)); }

newest=$(for file in "${!checked[@]}"; do readelf -V "$file" 2>/dev/null; done |
    grep -o 'Name: GLIBC_[0-9.]*' | sed 's/Name: GLIBC_//' | sort -V | tail -1)
echo "dependencies: $count ELF files in the bundle, and the launcher; ${#checked[@]} files walked; newest C library version needed: GLIBC_$newest"
((failures == 0))
