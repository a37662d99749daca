#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The shared library needs the C library and APR alone, and has its SONAME. On some
# machines the C library's loader is named too, for the guard of the stack.
# usage: linked_libraries.sh LIBRARY SONAME
set -euo pipefail
export LC_ALL=C

needed=$(readelf -d "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | sort | tr '\n' ' ')
soname=$(readelf -d "$1" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
echo "needs: $needed"
echo "soname: $soname"
[[ $(sed -E 's/^ld(64|-linux[a-z0-9-]*)\.so\.[0-9] //' <<<"$needed") == "libapr-1.so.0 libc.so.6 libm.so.6 " && $soname == "$2" ]]
