#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# What is shipped: the tool and the library, which take nothing from the working directory, are hardened, and start where
# they are installed. Those of the build tree are held to the same.
#   shipped_binaries_test.sh SOURCE_DIR BUILD_DIR BUILD_TYPE
set -euo pipefail
export LC_ALL=C  # orders of names and words of tools are compared
source_dir=$1 build_dir=$2 build_type=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset LD_LIBRARY_PATH

fail() { echo "$*" >&2; exit 1; }

# Each entry is the binary's own folder, or counts from it, or is an absolute path outside of the source and the build.
check_run_path() {
  local entry paths
  paths=$(readelf -d "$1" | sed -nE 's/.*\((RPATH|RUNPATH)\).*\[(.*)\]/\2/p')
  [ -n "$paths" ] || return 0
  while IFS= read -r -d : entry; do
    case $entry in
      \$ORIGIN | \$ORIGIN/*) ;;
      "$source_dir"* | "$build_dir"*) fail "$1: the run path '$paths' leads into the build" ;;
      /*) ;;
      *) fail "$1: the run path '$paths' has an empty or a relative entry, which counts from the working directory" ;;
    esac
  done <<<"$paths:"
}

check_hardening() {
  local dynamic segments
  dynamic=$(readelf -dW "$1")
  segments=$(readelf -lW "$1")
  grep -q 'file type is DYN' <<<"$segments" || fail "$1: is not loaded at a random address"
  grep -q 'GNU_RELRO' <<<"$segments" || fail "$1: its tables of addresses can be written"
  grep -Eq 'FLAGS.*\bNOW\b' <<<"$dynamic" || fail "$1: its functions are bound late, so that their table can be written"
  grep -Eq 'GNU_STACK .* RW ' <<<"$segments" || fail "$1: its stack can be executed"
  [ "$build_type" = Debug ] || grep -q __stack_chk_fail <<<"$(nm -D --undefined-only "$1")" || fail "$1: has no stack protector"
}

# The tool starts in a folder that has a file without content for each library that it and the library need.
check_start() {
  local tool=$1 library=$2 bait needed
  bait=$(mktemp -d -p "$work")
  for needed in $(readelf -d "$tool" "$library" | sed -nE 's/.*\(NEEDED\).*\[(.*)\]/\1/p'); do touch "$bait/$needed"; done
  ls "$bait" | grep -q '^libsqlite3\.so\.' || fail "$tool: does not need the store's engine"
  (cd "$bait" && "$tool" version >/dev/null) || fail "$tool: does not start"
}

check() {
  local tool=$1/bin/mercato library
  library=$(find "$1" -name 'libmercato.so.*' -type f)
  for binary in "$tool" "$library"; do
    check_run_path "$binary"
    check_hardening "$binary"
  done
  check_start "$tool" "$library"
}

check "$build_dir"
cmake --install "$build_dir" --prefix "$work/installed" >/dev/null
check "$work/installed"

# The flags of an optimised build, and the run path where libraries are kept by architecture: asked for, not built.
cmake -S "$source_dir" -B "$work/release" -G Ninja -DCMAKE_BUILD_TYPE=Release -DMERCATO_TESTS=OFF \
  -DCMAKE_INSTALL_LIBDIR=lib/by-architecture >/dev/null
commands=$(grep '"command":' "$work/release/compile_commands.json")
grep -q platform/store <<<"$commands" && grep -q tools/cli/main <<<"$commands" || fail "not all sources are compiled"
if unprotected=$(grep -vE -- ' -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 ' <<<"$commands"); then
  fail "compiled without protection: $unprotected"
fi
if unoptimised=$(grep -vE -- ' -O[123] ' <<<"$commands"); then fail "compiled without the optimiser: $unoptimised"; fi
grep -Fq -- '-rpath,"\$ORIGIN/../lib:\$ORIGIN/../lib/by-architecture"' <<<"$(ninja -C "$work/release" -t commands mercato_tool)" ||
  fail "an installed tool does not find its library by architecture"
echo "shipped binaries are as they should be"
