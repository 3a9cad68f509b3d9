#!/usr/bin/env bash
# Checks the layering of the framework's folders over their #include lines:
# each folder includes only itself and the folders below it, public headers
# ("orvik/<folder>/...") or its own ones; a public header (in a folder's
# include/) includes only public headers; and only platform/ includes the
# operating system's headers. Prints every offending line and fails when
# there is one.
#   platform <- util <- module <- bootstrap <- catalog <- log <- factory <- tools
#                          module <- host (programs, beside the bootstrap)
set -uo pipefail
cd "$(dirname "$0")/.."

declare -A allowed=(
  [platform]="platform"
  [util]="platform util"
  [module]="platform util module"
  [bootstrap]="platform util module bootstrap"
  [catalog]="platform util module bootstrap catalog"
  [log]="platform util module bootstrap catalog log"
  [factory]="platform util module bootstrap catalog log factory"
  [host]="platform util module host"
  [tools]="platform util module bootstrap catalog log factory tools"
)
os_headers='windows\.h|dlfcn\.h|link\.h|elf\.h|dirent\.h|unistd\.h|fcntl\.h|strings\.h|pthread\.h|sys/'

bad=0
for folder in "${!allowed[@]}"; do
  while IFS= read -r hit; do
    file=${hit%%:*}
    included=$(sed -nE 's/.*#include "(orvik\/)?([^/"]+)\/.*/\2/p' <<<"$hit")
    if [ -n "$included" ] && [[ " ${allowed[$folder]} " != *" $included "* ]]; then
      echo "upward include: $hit"
      bad=1
    fi
    if [[ "$file" == */include/* ]] && grep -qE '#include "' <<<"$hit" && ! grep -qE '#include "orvik/' <<<"$hit"; then
      echo "public header includes a header that is not installed: $hit"
      bad=1
    fi
    if [ "$folder" != platform ] && grep -qE "#include <($os_headers)" <<<"$hit"; then
      echo "system header outside platform/: $hit"
      bad=1
    fi
  done < <(grep -rnE '^[[:space:]]*#[[:space:]]*include' "$folder" --include='*.h' --include='*.cpp' --include='*.inc' || true)
done

if [ "$bad" -eq 0 ]; then echo "every folder includes only itself and the folders below it"; fi
exit "$bad"
