#!/usr/bin/env bash
# Builds the downstream project (tests/downstream: an interface, two
# component modules, a host) the ways a user's project is built, and runs
# its tests natively and as a Windows program under Wine (64-bit and 32-bit):
#   installed  against the framework installed with cmake --install into a
#              prefix of its own (linux-release)
#   zip        against the unpacked Windows package of each architecture
#              (scripts/package.sh win64 win32), with its own toolchain file
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

# refused CXX CFLAGS: passes when a program using TOrvikPtr does not compile
# with CFLAGS (the host's) and the compiler names what to use instead.
refused() {
  local out
  # shellcheck disable=SC2086
  if out=$($1 -fsyntax-only tests/host/host_using_orvik_ptr.cpp $2 2>&1); then
    echo "FAILED: a program using TOrvikPtr compiled"
    return 1
  fi
  grep -q 'a host program obtains components through Orvik::Host::AppHost' <<<"$out" || { echo "$out"; echo FAILED; return 1; }
}

# plain LABEL PREFIX CXX RUNTIME [RUNNER OBJDUMP]: builds the modules and
# the host with plain compiler lines from the pkg-config files of PREFIX,
# copies the framework's RUNTIME files next to them and runs each scenario
# (through RUNNER, for Windows programs, whose imports OBJDUMP reads).
plain() {
  local label=$1 prefix=$2 cxx=$3 runtime=$4 runner=${5:-} objdump=${6:-} dir=$work/$1 sources=tests/downstream
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
  check "$label.orvik_ptr_refused_in_a_program" refused "$cxx" \
    "$(PKG_CONFIG_LIBDIR=$prefix/lib/pkgconfig pkg-config --cflags orvik-host)"
  # The flags make a module carry its record, which the tool reads from the file.
  local tool=$prefix/bin/orvik
  [ -n "$runner" ] && tool="$runner $prefix/bin/orvik.exe"
  check "$label.module_record" bash -c \
    "$tool module '$dir/TextTool.dll' | grep '^record: built with framework $version, contract '"
  local host=./text_host
  if [ -n "$runner" ]; then
    host="$runner ./text_host.exe"
    check "$label.no_compiler_runtime_imports" bash $sources/check_imports.sh "$objdump" \
      "$dir"/text_host.exe "$dir"/TextTool.dll "$dir"/TextApp.dll "$dir"/OrvFact.dll
  fi
  for scenario in components unload; do
    # shellcheck disable=SC2086
    check "$label.$scenario" bash -c "cd '$dir' && $host $scenario"
  done
}

# windows WIN MINGW RUNNER: the zip of one Windows architecture (win64 or
# win32, for the mingw-w64 target MINGW), unpacked, used with the toolchain
# file it holds and with its pkg-config files; programs run with RUNNER.
windows() {
  local kind=$1 mingw=$2 runner=$3 zip prefix=$root/$work/zip-$1
  rm -rf "$prefix"
  if ! bash scripts/package.sh "$kind" >"$work/package-$kind.log" 2>&1; then
    cat "$work/package-$kind.log"
    echo "== packing $kind failed"
    failed=$((failed + 1))
    return
  fi
  zip=$(ls build/package/orvik-*-"$kind".zip)
  mkdir -p "$prefix" && (cd "$prefix" && cmake -E tar xf "$root/$zip")
  # The zip holds one top directory named after itself.
  prefix=$(ls -d "$prefix"/*/)
  prefix=${prefix%/}
  local toolchain
  toolchain=$(ls "$prefix"/share/orvik/toolchain-mingw-*.cmake)
  route "zip-$kind" -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_PREFIX_PATH="$prefix"
  plain "pkgconfig-$kind" "$prefix" "$mingw-g++-posix" "$prefix/bin/OrvFact.dll" "$runner" "$mingw-objdump"
}

# with_wine32 COMMAND...: runs COMMAND with the environment of 32-bit Wine.
with_wine32() {
  export WINEARCH=win32 WINEPREFIX=$wine32_prefix
  "$@"
  unset WINEARCH WINEPREFIX
}

prefix_linux=$root/$work/prefix-linux

if install_framework linux-release "$prefix_linux"; then
  route installed-linux -DCMAKE_PREFIX_PATH="$prefix_linux"
  # The program asks the loader for the platform library's soname.
  soname=$(objdump -p "$prefix_linux/lib/libOrvikPlatform.so" | awk '$1 == "SONAME" {print $2}')
  plain pkgconfig-linux "$prefix_linux" g++ "$prefix_linux/lib/orvik/OrvFact.dll $prefix_linux/lib/$soname"
else
  echo "== installing linux-release failed"
  failed=$((failed + 1))
fi
windows win64 x86_64-w64-mingw32 /usr/lib/wine/wine64
with_wine32 windows win32 i686-w64-mingw32 /usr/lib/wine/wine
route subdir-linux -DORVIK_SOURCE_DIR="$root"
route subdir-mingw-x64 -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-mingw-x86_64.cmake" -DORVIK_SOURCE_DIR="$root"
with_wine32 route subdir-mingw-i686 -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-mingw-i686.cmake" \
  -DORVIK_SOURCE_DIR="$root"

echo "Downstream tests: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
