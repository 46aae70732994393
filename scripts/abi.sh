#!/usr/bin/env bash
# The exported symbols of a shared library: what a host that links it may rely on.
#   scripts/abi.sh list LIBRARY OUTPUT     its SONAME, then its exported symbols, demangled and
#                                          sorted, one a line
#   scripts/abi.sh check COMMITTED BUILT   prints the difference and fails when the lists differ
set -euo pipefail
export LC_ALL=C

case ${1:-} in
list)
    library=$2 output=$3
    soname=$(readelf -d "$library" | sed -n 's/.*Library soname: \[\(.*\)\]/\1/p')
    text=$(printf '# SONAME %s\n' "$soname"
        nm -D --defined-only --demangle --format=just-symbols "$library" | sort -u)
    mkdir -p "$(dirname "$output")"
    printf '%s\n' "$text" >"$output"
    ;;
check)
    committed=$2 built=$3
    if [ ! -f "$committed" ]; then
        echo "$committed is missing: run 'make abi-update' and commit it" >&2
        exit 1
    fi
    if ! diff -u "$committed" "$built"; then
        echo "The exported symbols of $(basename "$built" .symbols) differ from $committed" \
            "(- committed, + built). If the change is intended, run 'make abi-update' and" \
            "commit the list with the change." >&2
        exit 1
    fi
    ;;
*)
    echo "usage: $0 list LIBRARY OUTPUT | check COMMITTED BUILT" >&2
    exit 2
    ;;
esac
