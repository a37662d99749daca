#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Every public declaration, structure field and constant carries a
# documentation comment, and every function names its arguments and result.
# usage: documented_names.sh HEADER-FOLDER
set -euo pipefail

awk '
function complain(what) {
  printf "%s:%d: %s\n", FILENAME, FNR, what
  bad = 1
}
# Arguments of the declaration in `text`, one word each.
function check_arguments(text, names, count, i, name) {
  sub(/^[^(]*\(/, "", text)
  sub(/\)[^)]*$/, "", text)
  if (text == "void") return
  count = split(text, names, ",")
  for (i = 1; i <= count; i++) {
    name = names[i]
    if (name ~ /\.\.\./) continue
    sub(/\[[^]]*\]/, "", name)
    sub(/ *$/, "", name)
    sub(/^.*[ *]/, "", name)
    if (comment !~ ("@param " name "[ \n]")) complain("no @param " name)
  }
}
FNR == 1 { comment = ""; in_comment = 0; in_record = 0; statement = "" }
/^ *\/\*\*/ { if (statement == "") { comment = ""; in_comment = 1 } }
in_comment { comment = comment "\n" $0; if (/\*\//) in_comment = 0; next }
/^(typedef struct|enum|typedef enum)/ {
  if (/\{/) { in_record = 1; if (comment == "") complain("record without documentation") }
  comment = ""; next
}
in_record && /^}/ { in_record = 0; next }
in_record && /[,;=]/ && !/\/\*\*</ && !/^ *[^\/]*\*\/$/ {
  if ($0 !~ /^ *[a-z0-9 .,;:()`-]+\*\/$/) complain("field without documentation: " $0)
  next
}
in_record { next }
/^(extern )?QN_API/ || statement != "" {
  statement = statement " " $0
  if ($0 !~ /;/) next
  declarations++
  if (comment == "") complain("no documentation: " statement)
  if (statement ~ /\(/ && statement !~ /^ extern/) {
    sub(/ *QN_PRINTF_LIKE\([^)]*\)/, "", statement)
    check_arguments(statement)
    if (statement !~ /^ QN_API void [A-Za-z]/ && comment !~ /@return/) complain("no @return: " statement)
  }
  statement = ""; comment = ""; next
}
END {
  if (declarations == 0) { print "no declarations found"; bad = 1 }
  if (!bad) print declarations " declarations, all documented"
  exit bad
}' "$1"/*.h
