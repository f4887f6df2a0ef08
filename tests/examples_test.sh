#!/usr/bin/env bash
# Installs the library into a folder of its own, builds the examples against it as a stranger would, and runs them.
#   examples_test.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
source_dir=$1
build_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
cmake -S "$source_dir/examples" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$work/build" >/dev/null

# pkg-config serves those who do not use CMake.
export PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name mercato.pc)")
c++ "$source_dir/examples/find_product.cpp" -o "$work/by_pkg_config" $(pkg-config --cflags --libs mercato)

# Every class can be used from what was installed alone.
(cd "$work/prefix/include" && find mercato -name '*.h') | sed 's/.*/#include "&"/' >"$work/all.cpp"
for class in product product_xml price_xml catalog t_catalog unspsc; do
  grep -qx "#include \"mercato/$class.h\"" "$work/all.cpp" || { echo "$class.h is not installed"; exit 1; }
done
c++ -fsyntax-only "$work/all.cpp" $(pkg-config --cflags mercato)

store=$work/example.db
tool=$work/prefix/bin/mercato
"$tool" init --store "Provider=SQLite;Data Source=$store" >/dev/null
"$tool" execute - --store "Provider=SQLite;Data Source=$store" >/dev/null <<'SQL'
INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER) VALUES (N'A-1', N'Desk lamp', N'S-1');
SQL

export LD_LIBRARY_PATH=$(dirname "$(find "$work/prefix" -name 'libmercato.so')")
for program in "$work/build/find_product" "$work/by_pkg_config"; do
  output=$("$program" "$store" S-1)
  grep -qx 'PRODUCTDESCRIPTION: Desk lamp' <<<"$output" || { echo "unexpected: $output"; exit 1; }
  if output=$("$program" "$store" S-2); then echo "an unknown product was found"; exit 1; fi
  [ "$output" = "no product has the supplier part number S-2" ] || { echo "unexpected: $output"; exit 1; }
done
echo "examples compiled and ran"
