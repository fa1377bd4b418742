#!/usr/bin/env bash
# performance.sh [BUILD] [GRID]: docs/performance.md on standard output, all its tables measured now. GRID is the official
# conterminous grid in CTABLE V2, for PROJ's side of the grid shifts. Takes minutes, of an idle machine.
set -eu
here=$(dirname "$0") build=${1:-build-release} grid=${2:-}
for program in bench_oprj oprj; do
  [ -x "$build/bin/$program" ] || { echo "performance.sh: no $build/bin/$program" >&2; exit 1; }
done
version() { dpkg-query -W -f '${Version}' "$1" 2>/dev/null | sed 's/-.*//' || echo '?'; }
processor=$(awk -F': ' '/^cpu family/ && !f { f = $2 } /^model\t/ && !m { m = $2 } /^model name/ && !n { n = $2 }
  END { printf "%s (family %s, model %s)", n, f, m }' /proc/cpuinfo)
cat <<EOF
# Performance

Output of \`bench/performance.sh\` (see [bench/README.md](../bench/README.md)) on $processor, of
which it had $(nproc): $(. /etc/os-release; echo "$PRETTY_NAME"), g++ $(g++ -dumpfullversion), PROJ $(version libproj-dev), libgctp
$(version libgctp-dev). Ratios depend on the processor; this is one machine. All peers of a row run interleaved, so that
ratios are steadier than nanoseconds. "One point a call" is a call per point at the widest instruction set.

What binds a row: memory, where it is within 1.5 times of the loop without a formula (reading and writing a million
points, results stored past the caches from 100,000 points on); iterations, whose chain of divisions and polynomials
the second vector hides only in part; divisions, where the divisions and roots in the loop's code, counted in its
disassembly, take at least half of the row's time at the speed of a loop that does nothing else, which wider vectors
hardly raise; else arithmetic.

EOF
"$build/bin/bench_oprj" ${grid:+--grid "$grid"}
printf '## The program\n\n'
"$here/program.sh" "$build"
