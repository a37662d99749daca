#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Makes once more what make.sh (the packages) or plain.sh made here: of a copy of
# these sources in another folder, as if in another place of the world, and by no
# cache of compilers. Compares the two byte by byte.
# usage: twice.sh packages|plain
set -euo pipefail
cd "$(dirname "$0")/.."
what=$1
# On the same file system: the size that a package names is counted in its blocks.
copy=$(mktemp -d -p "$PWD/build" elsewhere.XXXXXX)
trap 'rm -rf "$copy"' EXIT

made() {
  case $what in
    packages) ls build/package/*.deb ;;
    plain) ls build/plain/lib*.a build/plain/lib*.so.*.* build/plain/apps/qnget/{,installed/}qnget ;;
  esac
}

make_elsewhere() {
  case $what in
    packages) "$copy/sources/packaging/make.sh" ;;
    plain) "$copy/sources/packaging/plain.sh" ;;
  esac
}

SOURCE_DATE_EPOCH=$(cmake/source_date.sh)
export SOURCE_DATE_EPOCH

echo "--- the same once more, in another folder: $what"
mkdir "$copy/sources"
tar -c --exclude=./build . | tar -x --touch --no-same-owner -C "$copy/sources"
CCACHE_DISABLE=1 TZ=Pacific/Kiritimati LC_ALL=C.UTF-8 HOME=$copy make_elsewhere

diff <(made) <(cd "$copy/sources" && made)
for file in $(made); do
  cmp "$file" "$copy/sources/$file"
  echo "the same bytes: $(sha256sum <"$file" | cut -c 1-16) $file"
done
