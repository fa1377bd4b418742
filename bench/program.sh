#!/usr/bin/env bash
# program.sh [BUILD]: the program's lines a second beside cs2cs's on the same job, its memory and its start.
set -eu
build=${1:-build-release}
oprj=$build/bin/oprj
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
lines=2000000
awk -v n=$lines 'BEGIN { srand(3); for (i = 0; i < n; ++i) printf "%.6f %.6f\n", -78 + 6 * rand(), 25 + 35 * rand() }' > "$work/points"
head -n 200000 "$work/points" > "$work/few"
from="geographic; datum=NAD27 (CONUS)" to="utm; zone=18; datum=WGS 84"
median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
seconds() { local out; out=$( { /usr/bin/time -f %U+%S "$@" > /dev/null; } 2>&1 ); echo "$out" | tail -n 1 | awk -F+ '{ print $1 + $2 }'; }
ours=$(for i in 1 2 3 4 5; do seconds "$oprj" project --from "$from" --to "$to" "$work/points"; done | median)
fixed=$(for i in 1 2 3 4 5; do seconds "$oprj" project --digits 3 --from "$from" --to "$to" "$work/points"; done | median)
peer=$(for i in 1 2 3 4 5; do seconds cs2cs -f %.3f +proj=longlat +ellps=clrk66 +towgs84=-8,160,176 +to +proj=utm +zone=18 +datum=WGS84 "$work/few"; done | median)
memory=$( { /usr/bin/time -f %M "$oprj" project --from "$from" --to "$to" "$work/points" > /dev/null; } 2>&1 | tail -n 1)
echo "-75 40" > "$work/one"
# microseconds from start to end: the shell's fork is in it, no other
start() { local i s; for i in $(seq 201); do s=${EPOCHREALTIME/[.,]/}; "$@" > /dev/null; echo $(( ${EPOCHREALTIME/[.,]/} - s )); done | median; }
start=$(start "$oprj" project --from "$from" --to "$to" "$work/one") nothing=$(start /bin/true)
awk -v n=$lines -v ours="$ours" -v fixed="$fixed" -v peer="$peer" -v memory="$memory" -v start="$start" -v nothing="$nothing" 'BEGIN {
  printf "| job | lines a second | x cs2cs |\n|---|---|---|\n"
  printf "| cs2cs -f %%.3f | %.0f | |\n", 200000 / peer
  printf "| oprj project --digits 3 | %.0f | %.1f |\n", n / fixed, (n / fixed) / (200000 / peer)
  printf "| oprj project, shortest digits that reproduce the double | %.0f | %.1f |\n\n", n / ours, (n / ours) / (200000 / peer)
  printf "Memory %.1f MiB for %d lines; from start to the end of a one-line job %.1f ms, of /bin/true %.1f ms (medians, processor time for lines).\n", memory / 1024, n, start / 1000, nothing / 1000 }'
