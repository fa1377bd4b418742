#!/usr/bin/env bash
# headers.sh BUILD: what users include.
# 1. Each public header compiles alone as C11 and as C++11, without extensions, for texts of either width, and oprj.h
#    brings in all of the flat interface (headers of classes, which need Boost, and of functions that are compiled where
#    they are included, are included by themselves).
# 2. The functions that the headers declare are those that the libraries export; the wide one has all but the
#    bridges to it.
set -u
build=$1 bad=0
prefixes='(oprj|oawp_PE|omsc|oerr|ostr|ofio|ofnp|ocvt|oint|othr|olex|omif|ofga|ohfa|odll|odlm|otxt)_'
include=$build/include
for header in "$include"/oprj/*.h; do
  for language in "gcc c11 c" "g++ c++11 c++"; do
    for width in OPRJ_NARROW OPRJ_WIDE; do
      set -- $language
      echo "#include <oprj/$(basename "$header")>" |
        $1 -std=$2 -pedantic-errors -Wall -Wextra -Werror -fsyntax-only -D$width -I"$include" -x $3 - || bad=1
    done
  done
done
text=$(echo "#include <oprj/oprj.h>" | gcc -std=c11 -E -I"$include" -x c -)
for header in "$include"/oprj/*.h; do
  grep -qE "^(class OPRJ_API|static inline)" "$header" && continue
  grep -q "$header" <<< "$text" || { echo "oprj.h does not bring in $(basename "$header")"; bad=1; }
done
declared=$(grep -v '^#' <<< "$text" | grep -oE "\b$prefixes\w+ *\(" | tr -d ' (' | sort -u)
exported=$(nm -D --defined-only "$build"/lib/liboPrj.so "$build"/lib/liboPrjToolkit.so | awk '{print $3}' |
  grep -E "^$prefixes" | sort -u)
[ -n "$declared" ] && [ "$(wc -l <<< "$declared")" -gt 300 ] || { echo "no declarations found"; bad=1; }
difference=$(diff <(echo "$declared") <(echo "$exported"))
[ -z "$difference" ] || { echo "declared (<) and exported (>) differ:"; echo "$difference"; bad=1; }
bridges=$(grep -oE "\boprj_\w+ *\(" "$include/oprj/bridges.h" | tr -d ' (' | sort -u)
wide=$(nm -D --defined-only "$build"/lib/liboPrjU.so | awk '{print $3}' | sort -u)
difference=$(diff <(grep -E '^(oprj|oawp_PE)_' <<< "$declared" | grep -vxF "$bridges") <(echo "$wide"))
[ -z "$difference" ] || { echo "declared (<) and exported by liboPrjU (>) differ:"; echo "$difference"; bad=1; }
[ $bad = 0 ] && echo "$(wc -l <<< "$declared") functions, declared and exported"
exit $bad
