#!/usr/bin/env bash
# symbols.sh BUILD SET...: what leaves the libraries, and what the wide objects share.
# 1. liboPrj exports oprj_…, oawp_PE_… and the classes of the public headers alone, whole.
# 2. Objects of every instruction set but the first hold no weak symbol outside of their own namespace: the linker could
#    take wide code for the whole library.
# 3. liboPrj and liboPrjU, loaded together, stay apart: the wide one exports flat operations alone, neither has a weak
#    or unique symbol that a loader could merge (those of the classes that liboPrj alone has are its own), and neither
#    leaves a call of a flat operation to the loader.
# 4. Thread-local data is there from a thread's start: made on first use, it ends the process without memory.
set -u
build=$1 bad=0
shift 2
# What the standard library's own classes leave there, weak, is nobody's.
foreign=$(nm -DC --defined-only "$build/lib/liboPrj.so" | grep -vE ' [VWu] ((typeinfo|typeinfo name|vtable) for )?std::' |
  awk '{$1="";$2="";print}' | sed 's/^ *//' |
  grep -vE '^(oprj_|oawp_PE_|OrvikDatum::|orvik::oprj::(CoordinateSystem|Location|BoundingBox)::|(typeinfo|vtable|typeinfo name) for OrvikDatum::)')
[ -z "$foreign" ] || { echo "liboPrj exports:"; echo "$foreign"; bad=1; }
# Classes: those of the public headers, and no part of them that is not declared there.
declared=$(grep -hoE '^class OPRJ_API \w+' "$build"/include/oprj/*.h | awk '{print $3}' | sort -u)
exported=$(nm -DC --defined-only "$build/lib/liboPrj.so" |
  grep -oE '(OrvikDatum|orvik::oprj)::[A-Z]\w*::[~A-Za-z][A-Za-z ]*(::\w+)*\(' | sort -u)
difference=$(diff <(echo "$declared") <(grep -oE '::[A-Z]\w*::' <<< "$exported" | tr -d : | sort -u))
[ -z "$difference" ] || { echo "classes declared (<) and exported (>) differ:"; echo "$difference"; bad=1; }
nested=$(grep -E '::[A-Z]\w*::\w+::' <<< "$exported")
[ -z "$nested" ] || { echo "insides of classes are exported:"; echo "$nested"; bad=1; }
foreign=$(nm -D --defined-only "$build/lib/liboPrjToolkit.so" | grep -vE ' [VWu] _ZZ?(T[ISV]|N)St' | awk '{print $3}' |
  grep -vE '^(omsc|oerr|ostr|ofio|ofnp|ocvt|oint|othr|olex|omif|ofga|ohfa|odll|odlm|otxt)_')
[ -z "$foreign" ] || { echo "liboPrjToolkit exports:"; echo "$foreign"; bad=1; }
for set; do
  objects=$(find "$build" -path "$build/clang" -prune -o -path "*_$set.dir*" -name "*.o" -print)
  [ -n "$objects" ] || { echo "no objects of the set $set in $build"; bad=1; continue; }
  weak=$(nm -C $objects | grep -E '^[0-9a-f]* *[WVu] ' | grep -v "orvik::oprj::$set::" | sort -u)
  [ -z "$weak" ] || { echo "weak symbols of $set outside of its namespace:"; echo "$weak"; bad=1; }
done
foreign=$(nm -D --defined-only "$build/lib/liboPrjU.so" | grep -vE ' T (oprj|oawp_PE)_')
[ -z "$foreign" ] || { echo "liboPrjU exports:"; echo "$foreign"; bad=1; }
for library in liboPrj liboPrjU; do
  merged=$(nm -DC --defined-only "$build/lib/$library.so" | grep -E '^[0-9a-f]* *[WVu] ' |
    grep -vE ' [VWu] ((typeinfo|typeinfo name|vtable) for )?(std|OrvikDatum)::')
  [ -z "$merged" ] || { echo "$library has symbols that loaders merge:"; echo "$merged"; bad=1; }
  left=$(readelf -rW "$build/lib/$library.so" | grep -E ' (oprj|oawp_PE)_')
  [ -z "$left" ] || { echo "$library leaves to the loader:"; echo "$left"; bad=1; }
done
for library in liboPrj liboPrjU liboPrjToolkit; do
  late=$(readelf -rW "$build/lib/$library.so" | grep -E 'DTPMOD|TLSDESC')
  [ -z "$late" ] || { echo "$library allocates thread-local data on first use:"; echo "$late"; bad=1; }
done
[ $bad = 0 ] && echo "symbols are as they should be"
exit $bad
