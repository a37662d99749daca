#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Each pointer that an exported function takes is NULL in some call of the given
# test sources, and the page that says what NULL gives names every one of these
# functions. The parameters come from the headers, the names from the list.
# usage: null_arguments.sh HEADER-FOLDER LIST PAGE SOURCE...
set -euo pipefail
export LC_ALL=C
headers=$1 list=$2 page=$3
shift 3

# One line "FUNCTION POSITION PARAMETER" for each pointer, from position 1 on.
# The types that hide a pointer are the callbacks and the file handle.
pointers=$(cat "$headers"/*.h | awk '
  BEGIN { hidden = "^(QNListRelease|QNListReleaseByType|QNListCompare|QNFSCardSynFile|QNFSFile|" \
                   "QNFSRecordWrite|QNFSRecordRead|QNFSTimerFunction)$" }
  /^QN_API/ || statement != "" {
    statement = statement " " $0
    if ($0 !~ /;/) next
    text = statement; statement = ""
    sub(/ *QN_PRINTF_LIKE.*/, "", text)
    if (text !~ /\(/) next
    name = text; sub(/\(.*/, "", name); sub(/^.*[ *]/, "", name)
    sub(/^[^(]*\(/, "", text); sub(/\)[^)]*$/, "", text)
    count = split(text, parameters, ",")
    for (i = 1; i <= count; i++) {
      parameter = parameters[i]; gsub(/^ +| +$/, "", parameter)
      type = parameter; sub(/ .*/, "", type)
      if (parameter !~ /\*/ && type !~ hidden) continue
      sub(/^.*[ *]/, "", parameter)
      print name, i, parameter
    }
  }' | sort -u)

# One line "FUNCTION POSITION" for each argument that is nullptr.
nulls=$(sed 's://.*::' "$@" | awk '
  { text = text " " $0 }
  END {
    while (match(text, /[A-Za-z_][A-Za-z_0-9]*\(/)) {
      name = substr(text, RSTART, RLENGTH - 1)
      text = substr(text, RSTART + RLENGTH)
      depth = 1; position = 1; argument = ""; quoted = 0
      for (i = 1; depth > 0 && i <= length(text); i++) {
        c = substr(text, i, 1)
        if (c == "\"" && substr(text, i - 1, 1) != "\\") quoted = !quoted
        if (quoted) { argument = argument c; continue }
        if (c ~ /[({[]/) depth++
        if (c ~ /[])}]/) depth--
        if (depth == 0 || (depth == 1 && c == ",")) {
          gsub(/ /, "", argument)
          if (argument == "nullptr") print name, position
          position++; argument = ""
        } else {
          argument = argument c
        }
      }
    }
  }' | sort -u)

missing=0
while read -r name position parameter; do
  grep -qx "$name" "$list" || continue
  grep -qE "\b$name\b" "$page" || {
    echo "$page does not say what a NULL $parameter of $name gives"
    missing=$((missing + 1))
  }
  # The raw memory functions must not get NULL.
  [[ $name != fnQN_MEM@(CPY|SET|CHR|CMP) ]] || continue
  grep -qx "$name $position" <<<"$nulls" || {
    echo "no test calls $name with a NULL $parameter"
    missing=$((missing + 1))
  }
done <<<"$pointers"
echo "$(wc -l <<<"$pointers") pointers of $(cut -d' ' -f1 <<<"$pointers" | uniq | wc -l) functions, $missing places missing"
[[ $missing == 0 && -n $pointers ]]
