#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What the core's objects refer to outside themselves: functions that every C
# library has, APR's formatter, the file port and the platform. A header that has
# more than the standard asks for cannot bring a call of a system in unseen.
# usage: core_calls.sh PLATFORM-HEADERS... -- OBJECT...
set -euo pipefail
export LC_ALL=C

headers=()
while [[ $1 != -- ]]; do
  headers+=("$1")
  shift
done
shift

standard=(abs atoi calloc fclose fflush fputs fread free fseek fwrite malloc memchr memcmp memcpy
memmove memset pow printf putchar puts qsort rand realloc snprintf srand strcat strchr strcmp
strcpy strcspn strlen strncmp strncpy strpbrk strrchr strspn strstr strtod strtol strtoul
vfprintf vprintf vsnprintf stdout modf floor fabs fma
apr_vformatter)
# Compilers write this for a memcmp() that is only asked whether there is a difference.
standard+=(bcmp)
file_port=(RootDirectory TellWritten Store Load CountsAsNone NoteUnread)
# Names of functions that the platform's headers declare.
platform=$(sed -nE 's:^[A-Za-z].*[ *]([A-Z][A-Za-z]+)\(.*:\1:p' "${headers[@]}" | sort -u)

defined=$(nm -g --defined-only "$@" | awk 'NF == 3 { print $3 }' | sort -u)
missing=$(nm -gu "$@" | awk 'NF == 2 { print $2 }' | sort -u | comm -23 - <(echo "$defined"))
# The compiler's own helpers begin with two underscores. So do the C library's
# bounded and renamed functions, and errno.
called=$(c++filt <<<"$missing" | sed -E 's/^__isoc[0-9]+_//; s/^__([a-z]+)_chk$/\1/; s/\(.*//' |
  grep -vE '^(_GLOBAL_OFFSET_TABLE_|__.*|fnQNFS_[A-Za-z_]+)$' | sort -u)
strange=$(grep -vE '^qn::platform::' <<<"$called" |
  comm -23 - <(printf '%s\n' "${standard[@]}" "${file_port[@]/#/qn::}" | sort) || true)
asked=$(sed -nE 's/^qn::platform:://p' <<<"$called" | sort -u)

failed=0
[[ -z $strange ]] || {
  printf 'what no C library need have:\n%s\n' "$strange"
  failed=1
}
difference=$(diff <(echo "$platform") <(echo "$asked")) || {
  printf 'the headers and the calls differ (<: declared only, >: called only):\n%s\n' "$difference"
  failed=1
}
echo "$(wc -l <<<"$called") names, $(wc -l <<<"$asked") of them the platform's"
exit $failed
