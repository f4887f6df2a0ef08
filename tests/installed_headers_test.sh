#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Each header that is installed compiles alone and without a warning: a host may include any of them first, or only that one.
#   installed_headers_test.sh BUILD_DIR
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$1" --prefix "$work" --component development >/dev/null
mkdir "$work/sources"
for header in "$work"/include/mercato/*.h; do
  name=$(basename "$header")
  printf '#include "mercato/%s"\n' "$name" >"$work/sources/${name%.h}.cpp"
done
[ "$(ls "$work/sources" | wc -l)" -gt 30 ] || { echo "next to no header is installed"; exit 1; }
printf '%s\n' "$work"/sources/*.cpp |
  xargs -P "$(nproc)" -I{} c++ -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror "-I$work/include" {}
echo "each installed header compiles alone"
