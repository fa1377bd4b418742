#!/usr/bin/env bash
# install.sh SOURCE BUILD: installs into an empty folder, builds an example outside of the tree against the
# CMake package and against the pkg-config file, and runs it and the installed program.
set -eu
source=$1 build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/usr" > "$work/log"
[ -s "$work/usr/share/doc/oPrj/LICENSE" ]
find "$work/usr/share/man" -type f > "$work/pages"
while read -r page; do
  warnings=$(MANWIDTH=80 LC_ALL=C.UTF-8 man --warnings=all -l "$page" 2>&1 > /dev/null || true)
  [ -z "$warnings" ] || { echo "the manual page $page: $warnings"; exit 1; }
  lexgrog "$page" > /dev/null || { echo "$page does not say what it is"; exit 1; }
done < "$work/pages"
for command in $("$build/bin/oprj" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p'); do
  [ -s "$work/usr/share/man/man1/oprj-$command.1" ] || { echo "oprj $command has no manual page"; exit 1; }
done
nm -D --defined-only "$build"/lib/liboPrj.so "$build"/lib/liboPrjToolkit.so | awk 'NF == 3 && $3 !~ /^_/ {print $3}' |
  while read -r name; do
    [ -s "$work/usr/share/man/man3/$name.3" ] || { echo "$name has no manual page"; exit 1; }
  done
completed=$(PATH="$work/usr/bin:$PATH" bash --norc -c '
  source "$1"; COMP_WORDS=(oprj list un) COMP_CWORD=2; compopt() { :; }; _oprj oprj un list; echo "${COMPREPLY[*]}"
  ' bash "$work/usr/share/bash-completion/completions/oprj")
[ "$completed" = units ] || { echo "completed: $completed"; exit 1; }
for shell in zsh fish; do
  script=$(ls "$work"/usr/share/zsh/site-functions/_oprj "$work"/usr/share/fish/vendor_completions.d/oprj.fish | grep $shell/)
  if command -v $shell > /dev/null; then $shell -n "$script"; else echo "$shell is not here to read $script"; fi
done
cmake -S "$source/examples/link" -B "$work/example" -DCMAKE_PREFIX_PATH="$work/usr" > "$work/log"
cmake --build "$work/example" > "$work/log"
libdir=$(dirname "$(find "$work/usr" -name 'liboPrj.so' | head -n 1)")
export LD_LIBRARY_PATH=$libdir ORVIK_PROJECTIONS_PATH=$work/usr/share/oPrj ORVIK_DATUMS_PATH=$work/usr/share/oPrj
first=$("$work/example/project_a_point")
export PKG_CONFIG_PATH=$libdir/pkgconfig
gcc -std=c11 -Wall -Wextra -Wpedantic -Werror "$source/examples/link/project_a_point.c" -o "$work/second" \
  $(pkg-config --cflags --libs oprj)
second=$("$work/second")
cat > "$work/wide.c" <<END
#include <oprj/oprj.h>
int main(void) { return oprj_QueryByName(oint_InitToolkit(NULL), u"Sinusoidal", NULL) == NULL; }
END
gcc -std=c11 -Wall -Wextra -Wpedantic -Werror -DOPRJ_WIDE "$work/wide.c" -o "$work/wide" \
  $(pkg-config --cflags oprj) -L"$libdir" -loPrjU -loPrjToolkit
"$work/wide" || { echo "the wide library finds no projection"; exit 1; }
cmake -S "$source/examples/shift-plugin" -B "$work/plugin" -DCMAKE_PREFIX_PATH="$work/usr" > "$work/log"
cmake --build "$work/plugin" > "$work/log"
readelf -d "$work/plugin/affine_shift.so" | grep -q oPrj && { echo "the plug-in links oPrj"; exit 1; }
# 1.2 + 0.05 * 0.2 = 1.21 and -0.8 - 0.02 * 0.1 = -0.802 arc-seconds
shifted=$("$work/plugin/shift_by_plugin" "$work/plugin/affine_shift.so")
[ "$shifted" = "8.700336111 47.299777222" ] || { echo "by the plug-in: $shifted"; exit 1; }
cmake -S "$source/examples/external-projection" -B "$work/external" -DCMAKE_PREFIX_PATH="$work/usr" > "$work/log"
cmake --build "$work/external" > "$work/log"
for made in natural_earth natural_earth_plugin; do
  readelf -d "$work/external/$made"* | grep -q oPrj && { echo "$made links oPrj"; exit 1; }
  outside=$(echo "10.25 48" | ORVIK_PROJECTIONS_PATH="$ORVIK_PROJECTIONS_PATH;$work/external" "$work/usr/bin/oprj" project \
    --allow-external --from "geographic; datum=WGS 84" --to "external $made; datum=WGS 84; p4=11.25d" --digits 3)
  [ "$outside" = "-85913.310 5388412.649" ] || { echo "by $made: $outside"; exit 1; }  # PROJ's
done
unset LD_LIBRARY_PATH ORVIK_PROJECTIONS_PATH ORVIK_DATUMS_PATH
project() { echo "-77.03524 38.889468" | "$work/usr/bin/oprj" project --from "$1" --to "$2" --digits 3; }
program=$(project "geographic; datum=WGS 84" "utm; zone=18; datum=WGS 84") codes=$(project EPSG:6318 EPSG:6347)
if [ -e "$libdir/oPrj/liboPrjEngine.so" ]; then
  earth=$(project EPSG:4326 EPSG:8857 2> "$work/warned")  # PROJ computes it
  [ "$earth" = "-6590787.889 4796548.462" ] || { echo "through the module: $earth"; cat "$work/warned"; exit 1; }
else
  echo "no module to try what PROJ computes"
fi
if [ -d "$work/usr/lib/python3/dist-packages/oprj" ]; then
  python=$(PYTHONPATH=$work/usr/lib/python3/dist-packages /usr/bin/python3 -c 'import oprj
print("%.3f %.3f" % oprj.Transformer("EPSG:4326", "EPSG:32618").transform(-77.03524, 38.889468), oprj.__file__)')
  [ "$python" = "323483.188 4306479.574 $work/usr/lib/python3/dist-packages/oprj/__init__.py" ] || { echo "$python"; exit 1; }
else
  echo "the Python package is not built here"
fi
echo "$first / $second / $program / $codes"
[ "$first" = "$second" ] && [ "$first" = "$program" ] && [ "$first" = "$codes" ] && [ "$first" = "323483.188 4306479.574" ]
