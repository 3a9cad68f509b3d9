#!/usr/bin/env bash
# Installs 32-bit Wine (wine32:i386, binary /usr/lib/wine/wine) for the i686
# tests. Sourced by install-tools.sh; sets wine32_ok=1 when Wine is there,
# and wine32_prefix, the Wine prefix of the 32-bit runs (the mingw-i686 test
# preset uses the same one).
#
# Multi-Arch "same" libraries must have one version on amd64 and on i386,
# and Debian's i386 index (its security updates in particular) can be out of
# step with the amd64 one, or fail to download. So every library of
# wine32's dependency closure that amd64 already has is named with the
# newest version both architectures offer, downgrades allowed. The install
# is simulated first and only carried out when the simulation succeeds; a
# failed attempt leaves apt as it found it (the i386 architecture is taken
# away again when nothing of it got installed).
wine32_ok=0
wine32_prefix=$HOME/.wine-orvik-i686

wine32_versions() {  # PACKAGE:ARCH -> the versions apt knows, one per line
  apt-cache madison "$1" | awk -F'|' '{gsub(/ /, "", $2); print $2}'
}

# The newest version that both architectures offer for PACKAGE, or nothing.
wine32_common_version() {
  local amd64 i386 version best=""
  amd64=$(wine32_versions "$1:amd64")
  i386=$(wine32_versions "$1:i386")
  for version in $amd64; do
    grep -qxF "$version" <<<"$i386" || continue
    if [ -z "$best" ] || dpkg --compare-versions "$version" gt "$best"; then best=$version; fi
  done
  echo "$best"
}

wine32_undo_architecture() {
  if [ -z "$(dpkg-query -W -f '${Package}:${Architecture}\n' 2>/dev/null | grep ':i386$')" ]; then
    dpkg --remove-architecture i386 2>/dev/null
    apt-get update -qq >/dev/null 2>&1
  fi
}

wine32_install() {
  local added=0 closure installed pins=() package version
  if ! dpkg --print-foreign-architectures | grep -qx i386; then
    dpkg --add-architecture i386 || return 1
    added=1
  fi
  # An index that fails to download (a mirror in sync) is only skipped:
  # the versions below are chosen from what did arrive.
  apt-get update -qq >/dev/null 2>&1
  closure=$(apt-cache depends --recurse --no-recommends --no-suggests --no-conflicts \
              --no-breaks --no-replaces --no-enhances wine32:i386 2>/dev/null |
            grep -v '^ ' | grep ':i386$' | sed 's/:i386$//' | sort -u)
  installed=$(dpkg-query -W -f '${Package} ${Multi-Arch} ${db:Status-Status}\n' 2>/dev/null |
              awk '$2 == "same" && $3 == "installed" { sub(/:amd64$/, "", $1); print $1 }' | sort -u)
  for package in $(comm -12 <(echo "$closure") <(echo "$installed")); do
    version=$(wine32_common_version "$package")
    [ -n "$version" ] && pins+=("$package:amd64=$version" "$package:i386=$version")
  done
  local install=(apt-get install -y -q --no-install-recommends --allow-downgrades wine32:i386 "${pins[@]}")
  if ! DEBIAN_FRONTEND=noninteractive "${install[@]}" -s >/tmp/orvik-wine32-plan.log 2>&1; then
    echo "== 32-bit Wine cannot be installed here (apt's plan: /tmp/orvik-wine32-plan.log)"
    [ "$added" -eq 1 ] && wine32_undo_architecture
    return 1
  fi
  if ! DEBIAN_FRONTEND=noninteractive "${install[@]}" >/tmp/orvik-wine32-install.log 2>&1; then
    echo "== installing 32-bit Wine failed (/tmp/orvik-wine32-install.log); repairing apt's state"
    DEBIAN_FRONTEND=noninteractive dpkg --configure -a >/dev/null 2>&1
    DEBIAN_FRONTEND=noninteractive apt-get install -f -y -q >/dev/null 2>&1
    return 1
  fi
}

if [ ! -x /usr/lib/wine/wine ]; then
  echo "== installing 32-bit Wine (wine32:i386)"
  wine32_install || echo "== the i686 tests cannot run without it"
fi
if [ -x /usr/lib/wine/wine ]; then wine32_ok=1; fi
