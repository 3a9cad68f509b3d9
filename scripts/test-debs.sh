#!/usr/bin/env bash
# Builds the .deb packages (scripts/package.sh deb) and checks them: lintian
# reports no error, the runtime package holds the platform library under its
# soname, the factory module, the orvik command and its manual page and
# nothing for building, the -dev package holds what building needs, the API
# reference and no runtime file, and each carries its copyright and
# changelogs. Then it installs both with apt-get, as a user would: orvik
# --version and man orvik answer, and the downstream project
# (tests/downstream) builds against /usr and passes its tests; the packages
# are removed again afterwards. The last line says how many checks passed
# and failed. Run by run-all-tests.sh.
set -uo pipefail
cd "$(dirname "$0")/.."

out=build/package
work=build/deb-check
passed=0
failed=0

# check LABEL COMMAND...: runs one check and counts it.
check() {
  local label=$1
  shift
  if "$@"; then
    echo "   $label: passed"
    passed=$((passed + 1))
  else
    echo "   $label: FAILED"
    failed=$((failed + 1))
  fi
}

# lists PACKAGE: the paths of PACKAGE's files, without the leading dot.
lists() { dpkg-deb -c "$1" | awk '{print $6}' | sed 's/^\.//'; }

# holds LIST REGEX...: every REGEX matches a line of LIST.
holds() {
  local list=$1 pattern
  shift
  for pattern in "$@"; do
    grep -qE "$pattern" <<<"$list" || { echo "missing: $pattern"; return 1; }
  done
}

# lacks LIST REGEX: no line of LIST matches REGEX.
lacks() {
  ! grep -E "$2" <<<"$1"
}

lintian_clean() {
  lintian --fail-on error "$runtime" "$dev" 2>&1 | tee "$work/lintian.log"
  [ "${PIPESTATUS[0]}" -eq 0 ] && ! grep -q '^E:' "$work/lintian.log"
}

soname_matches() {
  rm -rf "$work/runtime" && dpkg-deb -x "$runtime" "$work/runtime"
  local library
  library=$(ls "$work"/runtime/usr/lib/*/"$soname")
  readelf -d "$library" | grep -q "Library soname: \[$soname\]"
}

dev_depends_on_runtime() {
  local version
  version=$(dpkg-deb -f "$runtime" Version)
  [ "$(dpkg-deb -f "$dev" Depends)" = "$runtime_name (= $version)" ]
}

echo "== packing the .debs"
rm -f "$out"/*.deb
mkdir -p "$work"
if ! bash scripts/package.sh deb >"$work/package.log" 2>&1; then
  cat "$work/package.log"
  echo "== packing the .debs failed"
  echo "Deb tests: 0 passed, 1 failed"
  exit 1
fi
runtime=$(ls "$out"/liborvikplatform*.deb)
dev=$(ls "$out"/liborvik-dev_*.deb)
runtime_name=$(dpkg-deb -f "$runtime" Package)
dev_name=$(dpkg-deb -f "$dev" Package)
# Debian names the library's package after its soname: liborvikplatformX.Y.
soname=libOrvikPlatform.so.${runtime_name#liborvikplatform}
runtime_files=$(lists "$runtime")
dev_files=$(lists "$dev")
docs=(copyright changelog.gz changelog.Debian.gz)

check lintian lintian_clean
check runtime.soname soname_matches
check runtime.contents holds "$runtime_files" "^/usr/lib/[^/]+/$soname\$" "^/usr/lib/[^/]+/orvik/OrvFact.dll\$" \
  "^/usr/bin/orvik\$" "^/usr/share/man/man1/orvik.1.gz\$" "${docs[@]/#/^/usr/share/doc/$runtime_name/}"
check runtime.nothing_for_building lacks "$runtime_files" '^/usr/include/|\.a$|\.so$|/cmake/|/pkgconfig/|\.map$'
check dev.contents holds "$dev_files" "^/usr/lib/[^/]+/libOrvikPlatform.so\$" "^/usr/include/orvik/module/component_impl.h\$" \
  "^/usr/lib/[^/]+/liborvik_module.a\$" "^/usr/lib/[^/]+/cmake/Orvik/OrvikConfig.cmake\$" \
  "^/usr/lib/[^/]+/pkgconfig/orvik-module.pc\$" "^/usr/share/orvik/orvik_module.map\$" \
  "${docs[@]/#/^/usr/share/doc/$dev_name/}"
check dev.reference holds "$dev_files" "^/usr/share/doc/$dev_name/reference/index.html\$"
check dev.no_runtime_file lacks "$dev_files" '\.so\.[0-9]|OrvFact\.dll$|^/usr/bin/|^/usr/share/man/'
check dev.depends_on_runtime dev_depends_on_runtime

# The installed packages, as a user meets them.
installed=0
remove_packages() {
  [ "$installed" -eq 1 ] && DEBIAN_FRONTEND=noninteractive apt-get purge -y -qq "$dev_name" "$runtime_name" >/dev/null
}
trap remove_packages EXIT

installs() {
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "$PWD/$runtime" "$PWD/$dev" >"$work/install.log" 2>&1 \
    || { cat "$work/install.log"; return 1; }
  installed=1
}

version_answers() {
  local expected
  expected=$(dpkg-deb -f "$runtime" Version)
  /usr/bin/orvik --version | tee "$work/version.log" | grep -qF "${expected%%-*}"
}

manual_answers() {
  MANPAGER=cat man orvik 2>/dev/null | grep -q 'orvik resolve'
}

downstream_builds() {
  local dir=$work/downstream
  rm -rf "$dir"
  cmake -S tests/downstream -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release >"$work/downstream.log" 2>&1 \
    && cmake --build "$dir" >>"$work/downstream.log" 2>&1 \
    && ctest --test-dir "$dir" --output-on-failure >>"$work/downstream.log" 2>&1 \
    || { cat "$work/downstream.log"; return 1; }
  # The framework came from the packages, not from a build tree.
  grep -q 'Orvik_DIR:PATH=/usr/lib/' "$dir/CMakeCache.txt"
}

check installed.with_apt_get installs
if [ "$installed" -eq 1 ]; then
  check installed.version version_answers
  check installed.manual_page manual_answers
  check installed.downstream_project downstream_builds
fi

echo "Deb tests: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
