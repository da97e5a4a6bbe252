#!/usr/bin/env bash
# Builds the Debian package from a release build and checks it with lintian.
# Usage: scripts/package.sh [--install]
#   --install  then installs it with apt-get, which pulls in what it depends on.
# The package lands in build-package/; its path is the last line printed.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="$root/build-package"
install=0
case "${1:-}" in
  --install) install=1 ;;
  "") ;;
  *) echo "usage: scripts/package.sh [--install]" >&2; exit 64 ;;
esac

# The build's own packages, then lintian for the check.
"$root/scripts/setup.sh" "$root/build" >/dev/null
if ! dpkg-query -W -f='${Status}' lintian 2>/dev/null | grep -q "install ok installed"; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends lintian >/dev/null
fi

# Debian's own compiler and linker flags, every hardening feature on, as its packages
# are built.
export DEB_BUILD_MAINT_OPTIONS="hardening=+all"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DPARQUETA_BUILD_TESTS=OFF \
  -DCMAKE_CXX_FLAGS="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS)" \
  -DCMAKE_EXE_LINKER_FLAGS="$(dpkg-buildflags --get LDFLAGS)" >/dev/null
# Only what the package holds; the fuzz replays and tools are not shipped.
cmake --build "$build" --target parqueta parqueta_data
rm -f "$build"/parqueta_*.deb
(cd "$build" && cpack --config CPackConfig.cmake -B "$build" >/dev/null)
deb="$(ls "$build"/parqueta_*.deb)"

echo "== lintian"
# lintian refuses nothing as root but says so; keep the report readable.
lintian --info --fail-on error,warning "$deb" 2> >(grep -v "root privileges" >&2)

if ((install)); then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y "$deb"
fi
echo "$deb"
