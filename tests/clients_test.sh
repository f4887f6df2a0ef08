#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Generates a client from what the gateway says of itself, and runs a program with it on a store of its own.
#   clients_test.sh SOURCE_DIR TOOL python
#   clients_test.sh SOURCE_DIR TOOL typescript NODE_MODULES     skipped (77) without Node, or without TypeScript in NODE_MODULES
set -euo pipefail
export LC_ALL=C.UTF-8
clients=$(realpath "$1")/examples/clients tool=$(realpath "$2") language=$3
compiler=$(realpath -m "${4:-.}")/typescript/bin/tsc
if [ "$language" = typescript ] && ! { command -v node >/dev/null && [ -e "$compiler" ]; }; then
  echo "The client in TypeScript is not tested: there is no Node, or no $compiler"
  exit 77
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "$*" >&2; exit 1; }

cp "$clients"/{gateway,program,node}.* "$work"
cd "$work"
PATH=$(dirname "$tool"):$PATH
mercato init --store shop.db >/dev/null
generate() { mercato describe --openrpc | "$clients/generate.py" "$1" >"$2"; }
if [ "$language" = python ]; then
  generate python mercato_client.py
  output=$(python3 -B program.py shop.db)
else
  generate typescript mercato_client.ts
  echo '{"type": "module"}' >package.json
  compile() { node "$compiler" --strict --target es2022 --lib es2022 --module nodenext node.d.ts "$@"; }
  compile program.ts >log || fail "$(cat log)"
  output=$(node program.js shop.db)
  # Arguments and results have types.
  cat >wrong.ts <<'TS'
import { Mercato } from "./mercato_client.js";
const mercato = new Mercato();
await mercato.Product.GetProductEx({ i_lProductID: "1" });
const text: string = (await mercato.Unit.GetAllUnits()).value;
TS
  if compile --noEmit wrong.ts >log; then fail "a text is taken for a number"; fi
  [ "$(cut -d' ' -f1-3 log)" = $'wrong.ts(3,38): error TS2322:\nwrong.ts(4,7): error TS2322:' ] || fail "$(cat log)"
fi
expected='product 1 committed
A-1 Desk lamp PC
[["PC","PC"]]
none
[["A"],["B"]] [["C"]]
-32000 -2147221304 Mercato.Product.GetProductEx Product not present
-32601 null There is no method '"'nosuch'"
[ "${output//, /,}" = "$expected" ] || fail "the program wrote:"$'\n'"$output"
