#!/usr/bin/env bash
# Builds the downstream project (tests/downstream: an interface, two
# component modules, a host) the ways a user's project is built, and runs
# its tests natively and as a Windows program under Wine:
#   installed  against the framework installed with cmake --install into a
#              prefix of its own (from the linux-release and mingw-x64 builds)
#   subdir     with the framework's sources added through add_subdirectory
#   pkgconfig  with plain compiler lines and the installed pkg-config files
# The last line says how many downstream tests passed and failed; a build
# that fails counts as one failed test. Run by run-all-tests.sh.
set -uo pipefail
cd "$(dirname "$0")/.."
root=$PWD

source scripts/install-tools.sh

export WINEDEBUG=-all
jobs=$(nproc 2>/dev/null || echo 2)
work=build/downstream
mingw_toolchain=$root/cmake/toolchain-mingw-x86_64.cmake
passed=0
failed=0

mkdir -p "$work"

# count LOG: adds the ctest summary in LOG to the totals.
count() {
  local summary total bad
  summary=$(grep -E 'tests passed, [0-9]+ tests? failed out of [0-9]+' "$1" | tail -n 1)
  if [ -z "$summary" ]; then
    echo "== no test summary"
    failed=$((failed + 1))
    return
  fi
  total=$(sed -E 's/.*out of ([0-9]+).*/\1/' <<<"$summary")
  bad=$(sed -E 's/.*passed, ([0-9]+) tests? failed.*/\1/' <<<"$summary")
  passed=$((passed + total - bad))
  failed=$((failed + bad))
}

# route LABEL CONFIGURE-ARGUMENTS...: configures, builds and tests the
# downstream project in build/downstream/LABEL.
route() {
  local label=$1 dir=$work/$1
  shift
  echo "== downstream: $label"
  if ! cmake -S tests/downstream -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release "$@" >"$dir.configure.log" 2>&1 \
     || ! cmake --build "$dir" -j "$jobs"; then
    cat "$dir.configure.log"
    echo "== downstream $label: build failed"
    failed=$((failed + 1))
    return
  fi
  ctest --test-dir "$dir" --output-on-failure 2>&1 | tee "$dir.ctest.log"
  count "$dir.ctest.log"
}

# install PRESET PREFIX: builds the preset if needed and installs it afresh.
install_framework() {
  rm -rf "$2"
  cmake --preset "$1" >/dev/null && cmake --build --preset "$1" -j "$jobs" >/dev/null \
    && cmake --install "build/$1" --prefix "$2" >/dev/null
}

# check LABEL COMMAND...: runs one check of a plain build and counts it.
check() {
  local label=$1 log=$work/$1.log
  shift
  if "$@" >"$log" 2>&1 && ! grep -q FAILED "$log"; then
    echo "   $label: passed"
    passed=$((passed + 1))
  else
    cat "$log"
    echo "   $label: FAILED"
    failed=$((failed + 1))
  fi
}

# plain LABEL PREFIX CXX RUNTIME [RUNNER]: builds the modules and the host
# with plain compiler lines from the pkg-config files of PREFIX, copies the
# framework's RUNTIME files next to them and runs each scenario (through
# RUNNER, for Windows programs).
plain() {
  local label=$1 prefix=$2 cxx=$3 runtime=$4 runner=${5:-} dir=$work/$1 sources=tests/downstream
  echo "== downstream: $label"
  rm -rf "$dir" && mkdir -p "$dir"
  local module_flags host_flags version
  module_flags=$(PKG_CONFIG_LIBDIR=$prefix/lib/pkgconfig pkg-config --cflags --libs orvik-module)
  host_flags=$(PKG_CONFIG_LIBDIR=$prefix/lib/pkgconfig pkg-config --cflags --libs orvik-host)
  version=$(PKG_CONFIG_LIBDIR=$prefix/lib/pkgconfig pkg-config --modversion orvik-host)
  # The flags are meant to be split into words.
  # shellcheck disable=SC2086
  if ! $cxx -shared -fPIC -o "$dir/TextTool.dll" $sources/text_tool_module.cpp $module_flags \
     || ! $cxx -shared -fPIC -o "$dir/TextApp.dll" $sources/text_app_module.cpp $module_flags \
     || ! $cxx -o "$dir/text_host" -DORVIK_PACKAGE_VERSION="\"$version\"" $sources/text_host.cpp $host_flags; then
    echo "== downstream $label: build failed"
    failed=$((failed + 1))
    return
  fi
  # shellcheck disable=SC2086
  cp $sources/Orvik.ini $runtime "$dir"/
  local host=./text_host
  if [ -n "$runner" ]; then
    host="$runner ./text_host.exe"
    check "$label.no_compiler_runtime_imports" bash $sources/check_imports.sh x86_64-w64-mingw32-objdump \
      "$dir"/text_host.exe "$dir"/TextTool.dll "$dir"/TextApp.dll "$dir"/OrvFact.dll
  fi
  for scenario in components unload; do
    # shellcheck disable=SC2086
    check "$label.$scenario" bash -c "cd '$dir' && $host $scenario"
  done
}

prefix_linux=$root/$work/prefix-linux
prefix_mingw=$root/$work/prefix-mingw

if install_framework linux-release "$prefix_linux"; then
  route installed-linux -DCMAKE_PREFIX_PATH="$prefix_linux"
  plain pkgconfig-linux "$prefix_linux" g++ "$prefix_linux/lib/orvik/OrvFact.dll $prefix_linux/lib/libOrvikPlatform.so"
else
  echo "== installing linux-release failed"
  failed=$((failed + 1))
fi
if install_framework mingw-x64 "$prefix_mingw"; then
  route installed-mingw -DCMAKE_TOOLCHAIN_FILE="$mingw_toolchain" -DCMAKE_PREFIX_PATH="$prefix_mingw"
  plain pkgconfig-mingw "$prefix_mingw" x86_64-w64-mingw32-g++-posix "$prefix_mingw/bin/OrvFact.dll" /usr/lib/wine/wine64
else
  echo "== installing mingw-x64 failed"
  failed=$((failed + 1))
fi
route subdir-linux -DORVIK_SOURCE_DIR="$root"
route subdir-mingw -DCMAKE_TOOLCHAIN_FILE="$mingw_toolchain" -DORVIK_SOURCE_DIR="$root"

echo "Downstream tests: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
