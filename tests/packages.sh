#!/usr/bin/env bash
# packages.sh SOURCE PACKAGES: the Debian packages in a clean root, installed, used and removed again.
# The root is no whole Debian. dpkg takes this machine's list of packages for the root's, so that it checks dependencies
# for real; of their files there are only those that the installed programs load. Whether the archive has everything
# is asked of apt, in simulation, for a system that has no package at all.
set -euo pipefail
source=$1 packages=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root all=$work/all
triplet=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
debs=("$packages"/*.deb)
names=$(for deb in "${debs[@]}"; do dpkg-deb -f "$deb" Package; done)
[ -n "$names" ] || { echo "there are no packages in $packages: ./package makes them"; exit 1; }
fail() { echo "$*"; exit 1; }
same() { [ "$2" = "$3" ] || fail "$1: \"$2\", not \"$3\""; }

echo "apt, in simulation, for an empty system:"
apt-get -s -o Dir::State::status=/dev/null install "${debs[@]}" > "$work/apt" 2>&1 || { tail -n 20 "$work/apt"; exit 1; }
echo "  $(grep -c '^Inst' "$work/apt") packages would be installed, $(wc -w <<< "$names") of them ours"

for deb in "${debs[@]}"; do  # nothing of theirs runs when they are installed, but what compiles modules of Python
  dpkg-deb -e "$deb" "$work/control"
  for file in "$work"/control/{pre,post}{inst,rm} "$work"/control/config; do
    [ ! -e "$file" ] || grep -q py3compile "$file" || grep -q py3clean "$file" || fail "$deb has a $(basename "$file")"
  done
  rm -r "$work/control"
  dpkg-deb -x "$deb" "$all"
done

# what their programs and libraries load, and what the module of codes reads
mkdir -p "$root"/usr/{lib,lib64,share/proj} "$root"/var/lib/dpkg/{info,updates} "$root"/{tmp,dev}
mkdir -p "$root/proc/self"  # no system runs there that would tell a program its own place
ln -s /usr/bin/oprj "$root/proc/self/exe"
ln -s usr/lib "$root/lib"
ln -s usr/lib64 "$root/lib64"
cp /usr/share/proj/proj.db "$root/usr/share/proj"
# Python with NumPy, and what the scripts of Python packages call (without py3compile: modules are not compiled when they
# are installed)
mkdir "$root/usr/bin"
ln -s usr/bin "$root/bin"
cp -L --parents /usr/bin/{dash,dpkg,dpkg-query,find,python3,rm,rmdir,sed,xargs} "$root"
ln -s dash "$root/usr/bin/sh"
touch "$root/dev/null"  # where no device can be made, a file serves
mkdir -p "$root/usr/lib/python3/dist-packages"
cp -a --parents "$(/usr/bin/python3 -c 'import sysconfig; print(sysconfig.get_path("stdlib"))')" "$root"
cp -a "$(/usr/bin/python3 -c 'import numpy, os; print(os.path.dirname(numpy.__file__))')" "$root/usr/lib/python3/dist-packages"
find "$root/usr/bin" "$root/usr/lib/python3"* "$all/usr/bin" "$all/usr/lib" -type f \( -name '*.so*' -o -path '*/bin/*' \) \
  -exec sh -c 'head -c 4 "$1" | grep -q ELF' sh {} \; -print |
  LD_LIBRARY_PATH=$all/usr/lib/$triplet xargs ldd | grep -oE '/[^ ]+\.so[^ ]*' | grep -v "^$work" | sort -u > "$work/loaded"
while read -r library; do cp -L --parents "$library" "$root"; done < "$work/loaded"
sed -n '/./{H;$!d};x;/\nPackage: \('"$(paste -sd'|' <<< "$names" | sed 's/|/\\|/g')"'\)\n/!p' /var/lib/dpkg/status > "$root/var/lib/dpkg/status"
contents() { (cd "$root" && find . -path ./var/lib/dpkg -prune -o -print | sort); }
contents > "$work/before"
dpkg --root="$root" --log="$work/log" -i "${debs[@]}" > "$work/dpkg" 2>&1 || { grep -v 'files list file' "$work/dpkg"; exit 1; }
echo "dpkg installed $(wc -w <<< "$names") packages in a root of $(wc -l < "$work/loaded") shared libraries"

if chroot "$root" /usr/bin/oprj --version > "$work/version" 2>&1; then
  inside=(env -i "$(command -v chroot)" "$root") prefix=
  echo "programs run in that root: $(cat "$work/version")"
else
  inside=(env -i LD_LIBRARY_PATH="$root/usr/lib/$triplet") prefix=$root
  echo "programs run outside of that root, by their paths: chroot is not allowed here ($(cat "$work/version"))"
fi
oprj() { "${inside[@]}" "$prefix/usr/bin/oprj" "$@"; }
project() { oprj project --from "$1" --to "$2" --digits "$3"; }
mall="323483.188 4306479.574"
same "by the program" "$(echo "-77.03524 38.889468" | project "geographic; datum=WGS 84" "utm; zone=18; datum=WGS 84" 3)" "$mall"
same "by codes" "$(echo "-77.03524 38.889468" | project EPSG:6318 EPSG:6347 3)" "$mall"
same "by PROJ, through a module" "$(echo "-77.03524 38.889468" | project EPSG:4326 EPSG:8857 3)" "-6590787.889 4796548.462"
same "by a grid" "$(echo "-122.4194 37.7749" | project "geographic; datum=NAD27" "geographic; datum=WGS 84" 9)" \
  "-122.420482174 37.774829514"
# four nodes as GTX: south, west, steps, rows, columns, metres
python3 -c 'import struct, sys; sys.stdout.buffer.write(struct.pack(">4d2i4f", 40, -80, 1, 1, 2, 2, 1, 2, 3, 4))' > "$root/tmp/a.gtx"
oprj grid convert "$prefix/tmp/a.gtx" "$prefix/tmp/a.tif" > /dev/null
oprj grid info "$prefix/tmp/a.tif" > "$work/grid"
grep -q GeoTIFF "$work/grid" || fail "no GeoTIFF was read"
oprj draw "Mollweide; datum=WGS 84" -o "$prefix/tmp/map.svg" 2> "$work/draw" || fail "$(cat "$work/draw")"
head -c 400 "$root/tmp/map.svg" | grep -q '<svg' || fail "no map was drawn"

# Python's interpreter is the root's where chroot is allowed, this machine's where not
python() { "${inside[@]}" "$prefix/tmp/env" PYTHONDONTWRITEBYTECODE=1 "PYTHONPATH=$prefix/usr/lib/python3/dist-packages" \
  /usr/bin/python3 -c "$@"; }
cp "$(command -v env)" "$root/tmp/env"
same "by Python" "$(python 'import oprj; print("%.3f %.3f" % oprj.Transformer("EPSG:4326", "EPSG:32618").transform(-77.03524, 38.889468))')" \
  "$mall"
same "by Python and a grid" "$(python 'import oprj, numpy
print(oprj.Transformer("EPSG:4267", "EPSG:4326").transform(numpy.array([[-122.4194, 37.7749]]))[0].round(9).tolist())')" \
  "[-122.420482174, 37.774829514]"

# a program of one's own: compiled here against the root, run there
export PKG_CONFIG_PATH=$root/usr/lib/$triplet/pkgconfig
gcc -std=c11 -Wall -Werror "$source/examples/link/project_a_point.c" -o "$root/tmp/example" $(pkg-config --cflags --libs oprj) \
  -Wl,-rpath-link,"$root/usr/lib/$triplet"
data=$prefix/usr/share/oPrj
same "by a linked program" "$("${inside[@]}" "$prefix/tmp/env" ORVIK_PROJECTIONS_PATH="$data" ORVIK_DATUMS_PATH="$data" \
  "$prefix/tmp/example")" "$mall"
rm -r "$root"/tmp/*

dpkg --root="$root" --log="$work/log" --purge $names > "$work/dpkg" 2>&1 || { grep -v 'files list file' "$work/dpkg"; exit 1; }
contents | diff "$work/before" - || fail "removed with remains"
echo "used by command, by code, by grid, by GeoTIFF, drawn with, by Python, linked; removed without remains"
