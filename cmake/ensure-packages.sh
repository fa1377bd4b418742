# Sourced by ./run, ./test and ./package: installs the Debian packages that are missing, nothing when all are there.
# With "tests" as argument also those that only tests and benchmarks need, with "packages" those that make packages.
ensure_packages() {
  local wanted="g++ cmake ninja-build pkg-config libboost-dev libcli11-dev libcairo2-dev zlib1g-dev libtiff-dev libproj-dev proj-data libsqlite3-dev"
  [ "${1:-}" = tests ] && wanted="$wanted libgtest-dev proj-bin libgctp-dev libmpfr-dev python3 clang libclang-rt-dev \
    python3-dev pybind11-dev python3-numpy python3-pytest python3-pandas python3-shapely python3-pyproj python3-pip mypy \
    python3-dask python3-distributed"
  [ "${1:-}" = packages ] && wanted="$wanted dpkg-dev debhelper dh-python lintian \
    python3-dev python3-numpy pybind11-dev"
  local missing="" package
  for package in $wanted; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing="$missing $package"
  done
  [ -z "$missing" ] && return 0
  echo "Installing:$missing" >&2
  local sudo=""
  [ "$(id -u)" = 0 ] || sudo=sudo
  $sudo apt-get update -qq >&2
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends $missing >&2
}
