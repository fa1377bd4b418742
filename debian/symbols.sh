#!/usr/bin/env bash
# symbols.sh PACKAGES: the symbols file of the liboprj0 in that folder, with the versions that the present file knows.
# Functions of C stand one by one, so that a package in which one is missing is not built; classes stand as a pattern,
# for their names are the compiler's.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
dpkg-deb -x "$1"/liboprj0_*.deb "$folder"
version=$(dpkg-deb -f "$1"/liboprj0_*.deb Version)
known=$(dirname "${BASH_SOURCE[0]}")/liboprj0.symbols
for library in $(find "$folder" -type l -name 'lib*.so.0' | sort); do
  echo "$(basename "$library") liboprj0 #MINVER#"
  echo "* Build-Depends-Package: liboprj-dev"
  echo ' (c++|regex|optional)"^(typeinfo |vtable |std::|OrvikDatum::|orvik::)" '"$version"
  nm -D --defined-only "$library" | awk 'NF == 3 && $3 !~ /^_/ {print $3}' | sort | while read -r name; do
    grep -sE "^ $name@Base " "$known" || echo " $name@Base $version"
  done
done
