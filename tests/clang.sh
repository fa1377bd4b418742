#!/usr/bin/env bash
# clang.sh SOURCE BUILD COMPILER: builds both libraries with clang, without tests and benchmarks, and projects a
# point with them. The folder stays, so that the next run builds what has changed.
set -eu
source=$1 build=$2/clang cxx=$3
cc=${cxx/clang++/clang}
cmake -S "$source" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE="-O1 -DNDEBUG" \
  -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -DOPRJ_TESTS=OFF > "$build.log" || { cat "$build.log"; exit 1; }
cmake --build "$build" --target oPrj > "$build.log" || { cat "$build.log"; exit 1; }
"$cc" -std=c11 -Wall -Wextra -Wpedantic -Werror -I"$build/include" "$source/examples/link/project_a_point.c" \
  -L"$build/lib" -loPrj -loPrjToolkit -Wl,-rpath,"$build/lib" -o "$build/project_a_point"
export ORVIK_PROJECTIONS_PATH=$source/data ORVIK_DATUMS_PATH=$source/data
point=$("$build/project_a_point")
echo "$point"
[ "$point" = "323483.188 4306479.574" ]
