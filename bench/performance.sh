#!/usr/bin/env bash
# performance.sh [BUILD] [GRID]: docs/performance.md on standard output, all its tables measured now. GRID is the official
# conterminous grid in CTABLE V2, for PROJ's side of the grid shifts. Takes minutes, of an idle machine.
set -eu
here=$(dirname "$0") build=${1:-build-release} grid=${2:-}
version() { dpkg-query -W -f '${Version}' "$1" 2>/dev/null | sed 's/-.*//' || echo '?'; }
cat <<EOF
# Performance

Output of \`bench/performance.sh\` (see [bench/README.md](../bench/README.md)): $(. /etc/os-release; echo "$PRETTY_NAME"), g++ $(g++ -dumpfullversion), PROJ
$(version libproj-dev), libgctp $(version libgctp-dev), $(nproc) cores. Ratios depend on the processor; this is one machine. All peers of a row run interleaved, so
that ratios are steadier than nanoseconds. "One point a call" is a call per point at the widest instruction set.

What binds a row: memory, where it is within 1.5 times of the loop without a formula (reading and writing a million
points, results stored past the caches from 100,000 points on); iterations, whose chain of divisions and polynomials
the second vector hides only in part; else arithmetic, of which divisions and roots are the part that wider vectors do
not make cheaper.

## Families

EOF
"$build/bin/bench_oprj" families
printf '## Whole jobs\n\n'
"$build/bin/bench_oprj" pipeline
printf '\n## Datum shifts\n\n'
printf 'Points scattered over the conterminous states, where neighbours of an array share no cell; nanoseconds a point.\n\n'
"$build/bin/bench_oprj" shifts ${grid:+--grid "$grid"}
printf '\n## The program\n\n'
"$here/program.sh" "$build"
