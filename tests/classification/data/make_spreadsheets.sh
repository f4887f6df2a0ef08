#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Makes the workbooks of this folder anew from the sources beside them, with LibreOffice Calc. The workbooks are kept with
# the sources: no test needs LibreOffice.
set -euo pipefail
cd "$(dirname "$0")"
command -v soffice >/dev/null || { echo "LibreOffice Calc is missing (package libreoffice-calc)" >&2; exit 1; }

profile=$(mktemp -d)
trap 'rm -rf "$profile"' EXIT
convert() { soffice "-env:UserInstallation=file://$profile" --headless --convert-to xlsx "$@" >/dev/null; }

# All columns as text, then as whatever they look like.
cp codes.csv codes-as-text.csv
cp codes.csv codes-as-numbers.csv
convert --infilter='Text - txt - csv (StarCalc):44,34,76,1,1/2/2/2' codes-as-text.csv
convert --infilter='Text - txt - csv (StarCalc):44,34,76,1' codes-as-numbers.csv
rm codes-as-text.csv codes-as-numbers.csv
convert displayed.fods
