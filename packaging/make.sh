#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds these sources and makes the Debian packages, in their build/package.
# The same sources give the same bytes, wherever and whenever that is done.
# usage: make.sh
set -euo pipefail
cd "$(dirname "$0")/.."
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# What is installed can be read by all.
umask 022
SOURCE_DATE_EPOCH=$(cmake/source_date.sh)
export SOURCE_DATE_EPOCH

# With the compiler's flags of Debian's own packages, which also keep the place
# of the sources out; static libraries keep no debug information.
flags=$(DEB_BUILD_MAINT_OPTIONS='hardening=+all reproducible=+all' dpkg-buildflags --export=sh)
eval "$flags"
export CFLAGS="$CFLAGS $CPPFLAGS -g0" CXXFLAGS="$CXXFLAGS $CPPFLAGS -g0"

quietly() { # COMMAND...
  "$@" >"$log" 2>&1 || {
    cat "$log"
    exit 1
  }
}

rm -f build/package/*.deb
quietly cmake --preset package --fresh
quietly cmake --build --preset package --parallel "$(nproc)"
cd build/package
quietly cpack -G DEB
