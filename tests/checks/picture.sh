#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The arrows inside the library, in the picture of what calls what, are exactly the
# includes of its sources.
# usage: picture.sh ROOT
set -euo pipefail
export LC_ALL=C
cd "$1"
picture=docs/diagrams/architecture.dot

# The box of the picture that a source or header belongs to.
box_of() { # FILE NAME
  case $1 in
    qn_export.h | qn_version.h | qnstack.h) ;;
    qn_stack_wap*) echo wap ;;
    qn_stack_http_head* | qn_stack_http_cookie*) echo tables ;;
    qn_stack_http_cache*) echo cache ;;
    qn_stack_http* | qn_stack_trace*) echo http ;;
    qn_stack_porting* | qn_stack_platform*) echo sockets ;;
    qn_fs_file.* | qn_fs_file_port.* | qn_fs_file_stream.*) echo port ;;
    qn_fs_beneath* | qn_fs_descriptor* | qn_fs_directory* | qn_fs_hash* | qn_fs_load_area* | qn_fs_lock* | qn_fs_replacement* | qn_fs_resolve* | qn_fs_store* | qn_fs_unread* | qn_fs_walk*) echo port ;;
    qn_fs_*) echo files ;;
    *) echo base ;;
  esac
}

included=$(
  grep -rE '^#include "' qnstack include/qnstack --include='*.h' --include='*.cpp' |
    sed -E 's|^([^:]*/)?([^/:]+):#include "([^"]*/)?([^"]+)"|\2 \4|' | sort -u |
    while read -r file header; do
      from=$(box_of "$file") to=$(box_of "$header")
      [[ -z $from || -z $to || $from == "$to" ]] || echo "$from $to"
    done | sort -u
)
boxes='wap|http|tables|cache|files|base|sockets|port'
drawn=$(sed -nE "s/^ *($boxes) -> ($boxes)( .*|;)?\$/\\1 \\2/p" "$picture" | sort -u)

difference=$(diff <(echo "$drawn") <(echo "$included")) || {
  printf 'the picture and the includes differ (<: drawn only, >: included only):\n%s\n' "$difference"
  exit 1
}
echo "$(wc -l <<<"$drawn") arrows, all of them includes and no other"
