#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs the library into a folder of its own, builds the examples against it as a stranger would, and runs them; so is the
# installed tool. Nothing is installed, and nothing exported, but what is public.
#   examples_test.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
export LC_ALL=C  # orders of names and words of tools are compared
source_dir=$1
build_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset LD_LIBRARY_PATH

fail() { echo "$*" >&2; exit 1; }
expect() { [ "$2" = "$1" ] || fail "expected: $1"$'\n'"but it was: $2"; }

prefix=$work/prefix
cmake --install "$build_dir" --prefix "$prefix" >/dev/null

# What is installed, by folder and kind.
export PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name mercato.pc)")
libraries=$(dirname "$PKG_CONFIG_PATH")
version=$(pkg-config --modversion mercato)
kinds=$(cd "$prefix" && find . -type f -o -type l | sed -E 's#/[^/]*$# &#; s#/[^/]*(\.[a-z]+)$#*\1#; s#^\./##' | sort -u)
expect "bin /mercato
include/mercato *.h
lib *.so
lib /libmercato.so.${version%.*}
lib /libmercato.so.$version
lib/cmake/mercato *.cmake
lib/pkgconfig *.pc
share/bash-completion/completions /mercato
share/doc/mercato *.md
share/doc/mercato /LICENSE
share/doc/mercato/console *.md
share/doc/mercato/console *.png
share/doc/mercato/decisions *.md
share/doc/mercato/formats *.md
share/fish/vendor_completions.d *.fish
share/man/man1 /mercato.1
share/mercato/samples *.sql
share/mercato/samples *.xml
share/mercato/schema *.sql
share/mercato/xmlschemas *.xml
share/zsh/site-functions /_mercato" "$(sed "s#^${libraries#"$prefix/"}\b#lib#" <<<"$kinds")"
installed=$(cd "$prefix/include/mercato" && printf '%s\n' *.h)
expect "$( (cd "$source_dir/include/mercato" && ls -- *.h && echo version.h) | sort)" "$(sort <<<"$installed")"
expect "$(cd "$source_dir/schema" && ls ./*.sql)" "$(cd "$prefix/share/mercato/schema" && ls ./*)"

# Every word in the name of an exported function, type or variable is a word of the public headers.
words() { grep -oE '[A-Za-z_][A-Za-z0-9_]*' | sort -u; }
exported=$(nm -DC --defined-only "$libraries/libmercato.so" | sed -E 's/^[0-9a-f]* +[A-Za-z] +//')
[ "$(grep -c '^mercato::' <<<"$exported")" -gt 200 ] || fail "the library exports next to nothing"
names=$(sed -E 's/^(typeinfo( name)?|vtable) for //; s/\[abi:[a-z0-9]*\]//g; s/[(<].*//; s/.* //' <<<"$exported")
if hidden=$(comm -23 <(words <<<"$names") <(cat "$prefix"/include/mercato/*.h | words) | grep .); then
  fail "exported, but not public: $hidden"
fi

# A project of somebody's own, by CMake; pkg-config serves those who do not use it.
cmake -S "$source_dir/examples" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Debug >/dev/null
cmake --build "$work/build" >/dev/null
c++ "$source_dir/examples/find_product.cpp" -o "$work/by_pkg_config" $(pkg-config --cflags --libs mercato)

# Where programs of CMake look for libraries is written in them; others are told.
store=$work/example.db
expect "mercato $version made $(cat "$source_dir"/schema/*.sql | grep -c '^CREATE TABLE ') tables
product 1
product 99: Product not present" "$("$work/build/new_store" "$store")"
expect "there is no product 99
logged: Mercato
Mercato raised -2146825023
filed, committed
refused, taken back
4 threads have found it" "$("$work/build/guide" "$store")"
for program in "$work/build/find_product" "env LD_LIBRARY_PATH=$libraries $work/by_pkg_config"; do
  output=$($program "$store" S-1)
  grep -qx 'PRODUCTDESCRIPTION: Desk lamp' <<<"$output" || fail "unexpected: $output"
  if output=$($program "$store" S-2); then fail "an unknown product was found"; fi
  expect "no product has the supplier part number S-2" "$output"
done

# The tool, found by its name: it knows the store that the example made, and the schema that was installed beside it.
cd "$work"
export PATH=$prefix/bin:$PATH
grep -q 'Desk lamp' <<<"$(mercato find A-1 --store "Provider=SQLite;Data Source=$store")" || fail "the tool does not find the product"
echo '<UNSPSC_ITEMS><UNSPSC_ITEM><CODE>44000000</CODE><DESCRIPTION>Office supplies</DESCRIPTION></UNSPSC_ITEM></UNSPSC_ITEMS>' >codes.xml
mercato unspsc load codes.xml --store "Provider=SQLite;Data Source=$store" >/dev/null || fail "the tool does not load codes"
echo "examples compiled and ran"
