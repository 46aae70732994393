#!/usr/bin/env bash
# The generated bash completion completes commands, options, nicknames, files and folders as
# the tool's help names them.
#   completion_test.sh COMPLETION_FILE
completion=$1
# shellcheck source=/dev/null
source "$completion"

status=0
# expect WANT WORD...: completing the last WORD of the command line gives WANT (sorted).
expect() {
    local want=$1
    shift
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    COMPREPLY=()
    _canal
    local got
    got=$(printf '%s\n' "${COMPREPLY[@]}" | sort | xargs)
    if [ "$got" != "$want" ]; then
        echo "completing '$*': got '$got', want '$want'"
        status=1
    fi
}

cd "$(mktemp -d)" || exit 1
trap 'rm -rf "$PWD"' EXIT
touch rc.cir rc.prop notes.txt
mkdir results

expect "script" canal sc
expect "demo describe" canal de
expect "--help --version" canal --
expect "members" canal help me
expect "MONTE" canal plan MO
expect "PSWEEP PZ PostProc" canal script --mask 1 P
expect "--seed --settings" canal plan MONTE --se
expect "--out" canal demo --o
expect "rc.cir rc.prop" canal describe AC --settings rc
expect "results" canal run rc.cir AC --out r
expect "rc.cir rc.prop" canal run rc
expect "AC ANALYSES" canal run --save "v(out)" rc.cir A
expect "" canal run rc.cir AC x
expect "" canal plan MONTE --seed 4
exit $status
