#!/usr/bin/env bash
# other_machines.sh SOURCE BUILD: node files between this machine, a big-endian one and one of 32 bits. The toolkit
# is built for each machine with a cross compiler at hand (g++-s390x-linux-gnu with qemu-user, g++-i686-linux-gnu),
# writes a file there which is changed here, and the other way round; all must show the same. Status 77, with the
# reason, when there is no other machine.
set -eu
source=$1 build=$2/other_machines
mkdir -p "$build/include"
ln -sfn /usr/include/boost "$build/include/boost"  # a cross compiler does not look into /usr/include
ln -sfn "$2/include/oprj" "$build/include/oprj"

make_program() {  # MACHINE COMPILER [FLAG...]
  local machine=$1; shift
  local program=$build/$machine object objects=()
  for unit in "$source"/toolkit/*.cpp "$source/tests/other_machines.cpp"; do
    object=$program.$(basename "$unit").o
    objects+=("$object")
    [ "$object" -nt "$unit" ] || "$@" -std=c++20 -O1 -I"$source" -isystem "$build/include" -c "$unit" -o "$object"
  done
  "$@" -static "${objects[@]}" -o "$program" 2> "$program.log" || { cat "$program.log"; exit 1; }  # warns of dlopen
}

run() {  # MACHINE WHAT FILE
  case $1 in
    s390x) qemu-s390x "$build/s390x" "$2" "$build/$3" ;;
    *) "$build/$1" "$2" "$build/$3" ;;
  esac
}

others=()
if command -v s390x-linux-gnu-g++ > /dev/null && command -v qemu-s390x > /dev/null; then others+=(s390x); fi
if command -v i686-linux-gnu-g++ > /dev/null; then others+=(i686); fi
if [ ${#others[@]} = 0 ]; then
  echo "skipped: neither g++-s390x-linux-gnu with qemu-user nor g++-i686-linux-gnu is installed"
  exit 77
fi

make_program here "${CXX:-g++}"
rm -f "$build"/*.img
run here write here.img
run here change here.img
run here show here.img > "$build/here.txt"
[ "$(wc -l < "$build/here.txt")" = 67 ]  # two parents with 33 objects each, of which one was removed
for machine in "${others[@]}"; do
  make_program "$machine" "$machine-linux-gnu-g++"
  run "$machine" write there.img; run here change there.img
  run here write mixed.img; run "$machine" change mixed.img
  run "$machine" show here.img > "$build/$machine.txt"
  for file in there mixed; do
    run here show $file.img | cmp - "$build/here.txt"
    run "$machine" show $file.img | cmp - "$build/here.txt"
  done
  cmp "$build/$machine.txt" "$build/here.txt"
  rm "$build/there.img" "$build/mixed.img"
  echo "$machine: files written, changed and read here and there are the same"
done
