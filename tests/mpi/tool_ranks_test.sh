#!/usr/bin/env bash
# canal run under mpirun with two ranks writes, from rank 0 alone, the files one process writes.
# Usage: tool_ranks_test.sh MPIEXEC CANAL DATA_DIR
set -euo pipefail
mpiexec=$1 canal=$2 data=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

sed 's/NumRuns:int{500}/NumRuns:int{24}/' "$data/amp.monte.prop" >"$work/mc.prop"
"$canal" run "$data/amp.cir" MONTE --settings "$work/mc.prop" --jobs 1 --out "$work/one" >/dev/null
# Output and messages apart: the status line on stderr shares no line with the summary.
"$mpiexec" -n 2 --oversubscribe "$canal" run "$data/amp.cir" MONTE --settings "$work/mc.prop" \
    --out "$work/ranks" >"$work/ranks.out" 2>"$work/ranks.err" || { cat "$work"/ranks.*; exit 1; }

# One summary: only rank 0 prints.
summaries=$(grep -c '^MONTE: ' "$work/ranks.out" || true)
[ "$summaries" = 1 ] || { echo "expected one summary, got $summaries:"; cat "$work"/ranks.*; exit 1; }
(cd "$work/one" && ls) >"$work/one.list"
(cd "$work/ranks" && ls) >"$work/ranks.list"
diff "$work/one.list" "$work/ranks.list"
for f in $(cat "$work/one.list"); do
    case "$f" in report.html) continue ;; esac  # names the output folder
    cmp "$work/one/$f" "$work/ranks/$f"
done
# The other rank's scratch copy is gone.
if ls -d "${TMPDIR:-/tmp}"/canal-rank-* 2>/dev/null | grep -q .; then
    echo "a rank's scratch folder was left behind"; exit 1
fi
echo "two ranks wrote the one-process files"
