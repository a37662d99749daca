#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The core and the public headers include nothing of a system: only what every C
# and C++ library has, APR's formatter, and the library's own headers. The core is
# all in the common/ folders, and all in the Mac_porting/ folders but the platform.
# usage: core_includes.sh ROOT
set -euo pipefail
export LC_ALL=C
cd "$1"

# Clocks, locales, signals and threads are the C library's too, but how they behave
# is the platform's: they are not here.
allowed=(algorithm array bit bitset cerrno charconv climits cmath cstdarg cstddef
cstdint cstdio cstdlib cstring functional iterator limits memory numeric optional span
string_view type_traits utility
stdarg.h stddef.h stdint.h stdio.h
apr_lib.h)
# The C++ face is compiled into programs and needs what those have anyway.
sources=$(find qnstack include/qnstack \( -path '*/common/src/*' -o -path '*/Mac_porting/src/*' \
  -o -path 'include/qnstack/*.h' \) -type f ! -path '*/Mac_porting/src/*_platform.cpp' | sort)

included=$(xargs grep -HE '^ *# *include' <<<"$sources" |
  sed -E 's/^([^:]*):.*include *(<([^>]*)>|"([^"]*)").*/\1 \3\4/')
own=$(find qnstack include -path '*/common/src/*.h' -o -path '*/Mac_porting/src/*.h' \
  -o -path 'include/*.h' | sed -E 's:^include/::; s:^qnstack/.*/::')
strange=$(awk 'NR == FNR { known[$1] = 1; next } !($2 in known) { print $1 " includes " $2 }' \
  <(printf '%s\n' "${allowed[@]}" "$own") <(echo "$included"))
if [[ -n $strange ]]; then
  printf 'headers of a system in the core:\n%s\n' "$strange"
  exit 1
fi
conditions=$(xargs grep -nE '^ *# *(if|ifdef|elif)\b' <<<"$(grep '\.cpp$' <<<"$sources")" || true)
if [[ -n $conditions ]]; then
  printf 'conditions in the core, where a platform is whole files:\n%s\n' "$conditions"
  exit 1
fi
echo "$(wc -l <<<"$sources") files, $(wc -l <<<"$included") includes"
