#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The sources that belong to POSIX systems compile with what POSIX.1-2008 declares,
# without the C library's extensions; but for those named *_linux.cpp, which are
# replaced where there is no Linux.
# usage: posix_alone.sh ROOT C++-COMPILER
set -euo pipefail

readonly source=$1/qnstack
readonly flags=(-x c++ -std=c++20 -fsyntax-only -fno-exceptions -fno-rtti -Wall -Wextra -Werror
  -U_GNU_SOURCE -U_DEFAULT_SOURCE -D_POSIX_C_SOURCE=200809L -DQNSTACK_PLAIN_POSIX
  -I"$1/include" -I"$source"{,/qnfs,/qnshare}/common/src)

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
# GCC's C++ library was configured where all extensions are declared. These are the
# ones that its own headers would call; on other C++ libraries this does nothing.
cat >"$folder/prelude.h" <<'TEXT'
#include <version>
#undef _GLIBCXX_USE_PTHREAD_COND_CLOCKWAIT
#undef _GLIBCXX_USE_PTHREAD_MUTEX_CLOCKLOCK
#undef _GLIBCXX_USE_PTHREAD_RWLOCK_CLOCKLOCK
#undef _GLIBCXX_HAVE_LINUX_FUTEX
TEXT

compiles() { # SOURCE COMPILER
  "$2" "${flags[@]}" -include "$folder/prelude.h" "$1"
}

# What only the extensions declare must be refused, or the check checks nothing.
extensions=0
while IFS='|' read -r header use; do
  printf '#include <%s>\nauto use() { return %s; }\n' "$header" "$use" >"$folder/use.cpp"
  if compiles "$folder/use.cpp" "$2" 2>/dev/null; then
    echo "$use of <$header> is taken for POSIX.1-2008"
    exit 1
  fi
  extensions=$((extensions + 1))
done <<'TEXT'
fcntl.h|O_PATH
dirent.h|DT_DIR
string.h|memmem("", 0, "", 0)
unistd.h|syscall(0)
TEXT

failed=0 count=0
for file in "$source"/qnfs/Posix_porting/src/*.cpp "$source"{,/qnfs,/qnshare}/Mac_porting/src/*.cpp \
  "$source/qnfs/common/src/qn_fs_file_port.cpp"; do
  [[ $file != *_linux.cpp ]] || continue
  compiles "$file" "$2" || failed=1
  count=$((count + 1))
done
[[ $failed -eq 0 ]] || exit 1
echo "$count sources need nothing but POSIX.1-2008; $extensions extensions are refused"
