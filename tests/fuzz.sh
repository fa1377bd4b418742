#!/usr/bin/env bash
# fuzz.sh SOURCE BUILD COMPILER [SECONDS]: builds the fuzz harnesses of fuzz/ with clang and runs each from its seeds,
# for 5 seconds unless told otherwise. What it finds beyond the seeds stays in BUILD/fuzz/corpus, and an input that
# fails in BUILD/fuzz/NAME-crash-....
set -eu
source=$1 build=$2/fuzz cxx=$3 seconds=${4:-5}
cmake -S "$source" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_C_COMPILER="${cxx/clang++/clang}" -DCMAKE_CXX_COMPILER="$cxx" -DOPRJ_TESTS=OFF -DOPRJ_FUZZ=ON \
  > "$build.log" || { cat "$build.log"; exit 1; }
cmake --build "$build" --target oprj_fuzz > "$build.log" || { cat "$build.log"; exit 1; }
for harness in "$build"/bin/fuzz_*; do
  name=${harness##*/fuzz_}
  mkdir -p "$build/corpus/$name"
  # One input may take 10 seconds and 1 GiB; single allocations beyond that are findings too.
  "$harness" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=1024 -print_final_stats=1 \
    -artifact_prefix="$build/$name-" "$build/corpus/$name" "$source/fuzz/seeds/$name" > "$build/$name.log" 2>&1 || {
    grep -E -m1 -A30 'ERROR|runtime error' "$build/$name.log" || tail -40 "$build/$name.log"
    grep 'Test unit written' "$build/$name.log"
    exit 1
  }
  echo "fuzz_$name: $(sed -n 's/^stat::number_of_executed_units: *//p' "$build/$name.log") inputs without a finding"
done
