#!/usr/bin/env bash
# clang.sh SOURCE BUILD COMPILER [SECONDS]: builds both libraries and the fuzz harnesses of fuzz/ with clang and the
# sanitizers, projects a point with the library, and runs each harness from its seeds, for 5 seconds unless told
# otherwise, two at a time. What a harness finds beyond the seeds stays in BUILD/clang/corpus, and an input that fails
# in BUILD/clang/NAME-crash-....
set -eu
source=$1 build=$2/clang cxx=$3 seconds=${4:-5}
cc=${cxx/clang++/clang}
cmake -S "$source" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -DOPRJ_TESTS=OFF -DOPRJ_FUZZ=ON \
  > "$build.log" || { cat "$build.log"; exit 1; }
cmake --build "$build" --target oPrj oprj_fuzz > "$build.log" || { cat "$build.log"; exit 1; }

# Linked by the C++ driver: the sanitizers' own library for C++ must be in the program.
"$cc" -std=c11 -Wall -Wextra -Wpedantic -Werror -I"$build/include" -c "$source/examples/link/project_a_point.c" \
  -o "$build/project_a_point.o"
"$cxx" -fsanitize=address,undefined "$build/project_a_point.o" -L"$build/lib" -loPrj -loPrjToolkit \
  -Wl,-rpath,"$build/lib" -o "$build/project_a_point"
point=$(ORVIK_PROJECTIONS_PATH=$source/data ORVIK_DATUMS_PATH=$source/data "$build/project_a_point")
echo "$point"
[ "$point" = "323483.188 4306479.574" ]

run_harness() {
  local harness=$1 name=${1##*/fuzz_}
  mkdir -p "$build/corpus/$name"
  # One input may take 10 seconds and 1 GiB; single allocations beyond that are findings too.
  "$harness" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=1024 -print_final_stats=1 \
    -artifact_prefix="$build/$name-" "$build/corpus/$name" "$source/fuzz/seeds/$name" > "$build/$name.log" 2>&1 || {
    grep -E -m1 -A30 'ERROR|runtime error' "$build/$name.log" || tail -40 "$build/$name.log"
    grep 'Test unit written' "$build/$name.log"
    return 255 # xargs stops
  }
  echo "fuzz_$name: $(sed -n 's/^stat::number_of_executed_units: *//p' "$build/$name.log") inputs without a finding"
}
export -f run_harness
export build source seconds
printf '%s\0' "$build"/bin/fuzz_* | xargs -0 -n 1 -P 2 bash -euc 'run_harness "$0"'
