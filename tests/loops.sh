#!/usr/bin/env bash
# loops.sh BUILD: the point loops of all sets call nothing but the handling of odd groups and the loop of single points: a
# function that was not inlined would pass its vectors through memory and cost several times what its arithmetic does.
set -u
build=$1
objects=$(find "$build/projections" "$build/datum" -path '*oprj_families_*' -name '*.o' -o -path '*oprj_shifts_*' -name '*.o')
report=$(objdump -drC --no-show-raw-insn $objects | awk '
  /^[0-9a-f]+ <.*>:$/ { loop = index($0, "pointsInGroups<") > 0; loops += loop; name = $0 }
  loop && /\tcall/ { calls = $0 !~ /pointByPoint<|oddGroup</; next }  # named there when it lies beside
  calls { calls = 0; if ($0 !~ /pointByPoint<|oddGroup</ && $0 !~ /\tmemcpy/) print name " calls " $NF }
  END { print loops " loops" }')
echo "$report"
loops=$(echo "$report" | tail -1) faults=$(echo "$report" | grep -c ' calls ')
[ "$faults" = 0 ] && [ "${loops% loops}" -gt 100 ]
