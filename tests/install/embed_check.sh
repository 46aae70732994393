#!/usr/bin/env bash
# Runs the embedding example's Monte Carlo (200 runs of an RC stage, r1 5% Gaussian, c1 10%
# uniform) and checks its statistics: the -3 dB frequency spreads around 1 kHz by about 6%
# (sqrt((5/3)^2 + (10/sqrt(3))^2) percent), and a seed repeats a run exactly.
#   embed_check.sh CANAL_EMBED EXAMPLE_FOLDER
set -euo pipefail
embed=$1
folder=$2

run() { "$embed" "$folder/rc_stage.cir" "$folder/rc_stage.analyses" "$@"; }
out=$(run)
value() { printf '%s\n' "$out" | sed -n "s/^$1: //p"; }

status=0
fail() { echo "embed_check: $*" >&2; status=1; }

[ "$(value 'Runs made')" = 202 ] || fail "runs made: '$(value 'Runs made')', want 202"
[ "$(value 'Runs with a valid measurement')" = "201 / 201" ] ||
    fail "valid runs: '$(value 'Runs with a valid measurement')'"
mean=$(value 'Mean Frequency')
sigma=$(value 'Standard Deviation Frequency')
awk -v m="$mean" 'BEGIN { exit !(m > 970 && m < 1030) }' || fail "mean -3 dB frequency $mean Hz"
awk -v s="$sigma" 'BEGIN { exit !(s > 45 && s < 75) }' || fail "its deviation $sigma Hz"
grep -q '^stop polls answered by the host: [1-9]' <<<"$out" || fail "the host's stop hook was never asked"

# The same seed draws the same values; another seed others.
[ "$(run --seed 11 | grep Frequency)" = "$(run --seed 11 | grep Frequency)" ] ||
    fail "a seed does not repeat the run"
[ "$(run --seed 11 | grep 'Mean Frequency')" != "$(run --seed 12 | grep 'Mean Frequency')" ] ||
    fail "two seeds gave the same draws"

if [ $status -ne 0 ]; then
    printf '%s\n' "$out" >&2
fi
exit $status
