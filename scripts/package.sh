#!/usr/bin/env bash
# Packs the framework into build/package/: for Linux (into /usr) the runtime
# package liborvikplatform<soversion>_<version>-1_<arch>.deb and the
# liborvik-dev one beside it, orvik-<version>-win64.zip for Windows x86_64
# and orvik-<version>-win32.zip for Windows i686 (mingw-w64; each zip holds
# its toolchain file in share/orvik/). Each comes from a release build of its
# own without tests or example (build/package-<kind>) and carries the API
# reference when the build found Doxygen: in the -dev package's
# /usr/share/doc/liborvik-dev/reference/, in share/doc/Orvik/reference/ of
# the zips. Names of kinds (deb, win64, win32) pack only those; none packs
# all three. Installs missing tools with apt-get first.
set -euo pipefail
cd "$(dirname "$0")/.."

source scripts/install-tools.sh

jobs=$(nproc 2>/dev/null || echo 2)
out=$PWD/build/package

# pack KIND CONFIGURE-ARGUMENTS...
pack() {
  local dir=build/package-$1
  shift
  echo "== packing from $dir"
  cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DORVIK_BUILD_TESTS=OFF -DORVIK_BUILD_EXAMPLES=OFF "$@" >/dev/null
  cmake --build "$dir" -j "$jobs"
  if grep -q '^DOXYGEN_EXECUTABLE:FILEPATH=/' "$dir/CMakeCache.txt"; then
    cmake --build "$dir" -j "$jobs" --target orvik_reference
  fi
  (cd "$dir" && cpack -B "$out")
}

kinds=("$@")
[ ${#kinds[@]} -gt 0 ] || kinds=(deb win64 win32)
for kind in "${kinds[@]}"; do
  case $kind in
    deb) pack deb -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_DOCDIR=share/doc/liborvik-dev ;;
    win64) pack win64 -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchain-mingw-x86_64.cmake" ;;
    win32) pack win32 -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchain-mingw-i686.cmake" ;;
    *) echo "unknown package kind: $kind (deb, win64, win32)"; exit 2 ;;
  esac
done
rm -rf "$out/_CPack_Packages"
ls -l "$out"
