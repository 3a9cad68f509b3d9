#!/usr/bin/env bash
# Packs the framework into build/package/: orvik_<version>_<arch>.deb for
# Linux (installs into /usr) and orvik-<version>-win64.zip for Windows
# x86_64 (mingw-w64). Each comes from a release build of its own without
# tests or example (build/package-linux, build/package-mingw). Installs
# missing tools with apt-get first.
set -euo pipefail
cd "$(dirname "$0")/.."

source scripts/install-tools.sh

jobs=$(nproc 2>/dev/null || echo 2)
out=$PWD/build/package

# pack BUILD-DIRECTORY CONFIGURE-ARGUMENTS...
pack() {
  local dir=build/$1
  shift
  echo "== packing from $dir"
  cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DORVIK_BUILD_TESTS=OFF -DORVIK_BUILD_EXAMPLES=OFF "$@" >/dev/null
  cmake --build "$dir" -j "$jobs"
  (cd "$dir" && cpack -B "$out")
}

pack package-linux -DCMAKE_INSTALL_PREFIX=/usr
pack package-mingw -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchain-mingw-x86_64.cmake"
rm -rf "$out/_CPack_Packages"
ls -l "$out"
