#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Makes the packages once more, of a copy of these sources in another folder and
# as if in another place of the world, and compares them byte by byte with those
# that make.sh made here.
# usage: twice.sh
set -euo pipefail
cd "$(dirname "$0")/.."
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT

SOURCE_DATE_EPOCH=$(cmake/source_date.sh)
export SOURCE_DATE_EPOCH

echo "--- the packages once more, in another folder"
mkdir "$copy/sources"
tar -c --exclude=./build . | tar -x --touch --no-same-owner -C "$copy/sources"
TZ=Pacific/Kiritimati LC_ALL=C.UTF-8 HOME=$copy "$copy/sources/packaging/make.sh"

for package in build/package/*.deb; do
  cmp "$package" "$copy/sources/$package"
done
diff <(ls build/package/*.deb) <(cd "$copy/sources" && ls build/package/*.deb)
echo "the same bytes: $(cd build/package && sha256sum -- *.deb | cut -c 1-16,65- | tr '\n' ' ')"
