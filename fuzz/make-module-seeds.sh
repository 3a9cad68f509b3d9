#!/usr/bin/env bash
# Makes the small module images of the module-file fuzzer's seed corpus
# (fuzz/corpus/module_file_fuzzer/elf_*): shared objects of the kinds the
# check reads (GNU or SysV hash, versioned library calls, packed relative
# relocations, thread-locals, initialisers), each prefixed with the byte 0
# that makes the fuzzer read the rest as an image. Needs clang.
set -euo pipefail
cd "$(dirname "$0")"
out=corpus/module_file_fuzzer
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$out"

cat > "$work/plain.c" <<'C'
static int value = 1;
int *pointer = &value;
__attribute__((constructor)) static void start(void) { value = 2; }
int get(void) { return *pointer; }
C
cat > "$work/libc.c" <<'C'
#include <stdio.h>
#include <stdlib.h>
__thread int calls;
static char *kept;
__attribute__((constructor)) static void start(void) { kept = malloc(8); }
__attribute__((destructor)) static void stop(void) { free(kept); }
int hello(const char *name) { ++calls; return printf("%s\n", name); }
C

# build NAME SOURCE FLAGS...: one seed.
build() {
  local name=$1 source=$2
  shift 2
  clang -shared -fPIC -O2 -s -Wl,-z,noseparate-code "$@" "$work/$source" -o "$work/$name.so"
  { printf '\0'; cat "$work/$name.so"; } > "$out/elf_$name"
}
build plain_gnu plain.c -nostdlib -Wl,--hash-style=gnu
build plain_sysv plain.c -nostdlib -Wl,--hash-style=sysv
build libc_gnu libc.c -Wl,--hash-style=gnu
build libc_relr libc.c -Wl,--hash-style=sysv -Wl,-z,pack-relative-relocs
ls -l "$out"/elf_*
