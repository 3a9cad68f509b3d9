#!/usr/bin/env bash
# Installs, with apt-get, whatever the build needs and the machine lacks:
# CMake, Ninja, g++, mingw-w64 for Windows x86_64 and i686, 64-bit and
# 32-bit Wine (install-wine32.sh), the
# GoogleTest sources, clang with libFuzzer for the fuzz targets and the
# lock analysis (linux-clang-tsa), Google
# Benchmark for the benchmark suite, Doxygen for the API reference, and what
# the .debs are made and checked with: dpkg-shlibdeps, lintian, man.
# Sourced by the other scripts.
missing=()
command -v cmake >/dev/null || missing+=(cmake)
command -v ninja >/dev/null || missing+=(ninja-build)
command -v g++ >/dev/null || missing+=(g++)
command -v x86_64-w64-mingw32-g++-posix >/dev/null || missing+=(g++-mingw-w64-x86-64)
command -v i686-w64-mingw32-g++-posix >/dev/null || missing+=(g++-mingw-w64-i686)
[ -x /usr/lib/wine/wine64 ] || missing+=(wine64)
[ -f /usr/src/googletest/CMakeLists.txt ] || missing+=(googletest)
command -v clang++ >/dev/null || missing+=(clang)
# libFuzzer comes with the compiler's run-time libraries.
compgen -G "/usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.fuzzer-*.a" >/dev/null || missing+=(libclang-rt-dev)
[ -f /usr/include/benchmark/benchmark.h ] || missing+=(libbenchmark-dev)
command -v doxygen >/dev/null || missing+=(doxygen)
command -v dpkg-shlibdeps >/dev/null || missing+=(dpkg-dev)
command -v lintian >/dev/null || missing+=(lintian)
command -v man >/dev/null || missing+=(man-db)
if [ ${#missing[@]} -gt 0 ]; then
  echo "== installing: ${missing[*]}"
  apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" \
    || { echo "installation failed"; exit 1; }
fi
source "$(dirname "${BASH_SOURCE[0]}")/install-wine32.sh"

# prepare_wine_prefix WINE PREFIX ARCH: makes the Wine prefix, or brings it
# up to date with the installed Wine, and waits until its server is done.
# Done once before the Windows tests: tests started at once would all wait
# on the one that makes the prefix, and a test that meets an update of it
# waits on that. Without the .NET and HTML run-times, which nothing here
# uses and which would otherwise be offered for download.
prepare_wine_prefix() {
  env WINEDEBUG=-all WINEPREFIX="$2" WINEARCH="$3" WINEDLLOVERRIDES="mscoree,mshtml=" \
    "$1" wineboot --init >/dev/null 2>&1
  env WINEPREFIX="$2" /usr/lib/wine/wineserver -w
}
