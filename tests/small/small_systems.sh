#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Measures what the library takes of a small system, and compares it with the tables
# of docs/pages/ports.md: no figure may be above its bound there, nor far below it.
# PROGRAM is what starts small_use. FOLDER/objects.txt names the objects of the
# library; GCC has put a call graph beside each.
# usage: small_systems.sh arm|x86-64 ROOT FOLDER COMPILER PROGRAM
set -euo pipefail
export LC_ALL=C
readonly machine=$1 root=$2 folder=$3/figures compiler=$4 program=$5
readonly here=$root/tests/small
mkdir -p "$folder"
cd "$folder"
mapfile -t objects <../objects.txt

# Text, data and bss of some files together: bytes of the sections that are loaded.
sizes_of() { # FILE...
  readelf -SW "$@" | awk '
    function number(hex,    i, sum) {
      for (i = 1; i <= length(hex); i++) sum = sum * 16 + index("123456789abcdef", substr(hex, i, 1))
      return sum
    }
    { sub(/^ *\[ *[0-9]+\] */, "") }
    $7 ~ /A/ { sum[$2 == "NOBITS" ? "bss" : $7 ~ /W/ ? "data" : "text"] += number($5) }
    END { print sum["text"] + 0, sum["data"] + 0, sum["bss"] + 0 }'
}

note() { # NAME BYTES
  printf '%s\t%s\n' "$@" >>figures
}

note_sizes() { # NAME FILE...
  local text data bss
  read -r text data bss < <(sizes_of "${@:2}")
  note "$1, text and data" $((text + data))
  note "$1, bss" "$bss"
}

module_of() { # SOURCE
  case $1 in
    qn_stack_http_cache*) echo "HTTP cache" ;;
    qn_stack_http* | qn_stack_wap* | qn_stack_trace*) echo "HTTP client" ;;
    qn_stack_porting*) echo "socket layer" ;;
    device_* | qn_fs_file_port* | qn_fs_backup*) echo "platform of the example" ;;
    qn_fs_*) echo "file services" ;;
    *) echo "buffers, strings, list, charsets" ;;
  esac
}

look_at_modules() {
  local object source module
  local -A objects_of=()
  printf '\n| Object | text | data | bss |\n|---|---|---|---|\n'
  for object in "${objects[@]}"; do
    source=${object##*/}
    echo "| ${source%.cpp.o} | $(sizes_of "$object" | sed 's/ / | /g') |"
    objects_of[$(module_of "$source")]+=" $object"
  done
  for module in "${!objects_of[@]}"; do
    # shellcheck disable=SC2086  # one word for each object
    note_sizes "$module" ${objects_of[$module]}
  done
  note_sizes "whole library" "${objects[@]}"
}

# What stays when the linker keeps the client's functions and what they need. What is
# no part of the library stays out: the C library, APR and the compiler's own.
look_at_client() {
  local name keep=()
  while read -r name; do
    keep+=("-Wl,-u,$name")
  done < <(grep -E '^fnQNStack_(Http_|Have_Proxy)' "$root/cmake/exports.txt")
  "$compiler" -r -nostdlib -Wl,--gc-sections -Wl,-e,fnQNStack_Http_Run "${keep[@]}" "${objects[@]}" -o client.o
  note_sizes "HTTP client with what it needs" client.o
}

# APR's formatter, as it is in the static library that is installed.
look_at_formatter() {
  ar x "$("$compiler" -print-file-name=libapr-1.a)" apr_snprintf.o
  note_sizes "APR's formatter" apr_snprintf.o
}

# A table of functions can call what no list of calls shows, so each function whose
# address is taken must be in the list of those that are called by a pointer.
look_at_pointers() {
  readelf -sW "${objects[@]}" | awk '$4 == "FUNC" { print $8 }' | sort -u >functions
  readelf -rW "${objects[@]}" | awk '
    NR == FNR { is_function[$1] = 1; next }
    /^Relocation section/ { skipped = /debug|eh_frame|ARM\./; next }
    skipped || $3 ~ /CALL|JUMP|PLT/ || $7 ~ /[1-9a-f]/ { next }
    { sub(/^\.text\./, "", $5) }
    $5 in is_function { print $5 }' functions - | c++filt |
    sed 's/(anonymous namespace)/{anonymous}/g; s/(.*//' | sort -u >pointed_at
  awk '!/^#/ && NF == 2 { print $2 }' "$here/indirect_calls.txt" | sort -u >listed
  comm -23 pointed_at listed >unlisted
  [[ ! -s unlisted ]] || {
    echo "called by a pointer, and not in indirect_calls.txt:"
    cat unlisted
    return 1
  }
}

deepest() { # NAME PATTERN
  local line
  line=$(awk -F'\t' -v pattern="$2" '$2 ~ pattern && $1 + 0 >= most { most = $1; line = $0 } END { print line }' depths)
  note "$1" "${line%%$'\t'*}"
  printf '\n%s: %s\n' "$1" "${line##*$'\t'}"
}

look_at_stack() {
  look_at_pointers
  awk -f "$here/call_depth.awk" "$here/indirect_calls.txt" "${objects[@]/%.o/.ci}" | c++filt | sort >depths
  deepest "stack: deepest call of the HTTP client" '^fnQNStack_(Http|Have)'
  deepest "stack: deepest call of the library" .
}

# The bounds of this machine, from the tables: a column is "MACHINE" or "MACHINE: KIND".
bounds_of_machine() {
  awk -F' *[|] *' -v machine="$machine" '
    /^## / { here = /^## On a small system/ }
    !here || !/^\|/ { delete kind; next }
    /^\|-/ { next }
    !(2 in kind) { for (i = 2; i < NF; i++) kind[i] = $i; next }
    {
      for (i = 3; i < NF; i++) {
        split(kind[i], part, ": ")
        if (part[1] != machine) continue
        gsub(",", "", $i)
        print $2 (part[2] ? ", " part[2] : "") "\t" $i
      }
    }' "$root/docs/pages/ports.md"
}

compare() {
  printf '\n| Figure, in bytes | %s | at most |\n|---|---|---|\n' "$machine"
  bounds_of_machine >bounds
  [[ -s bounds ]] || {
    echo "ports.md has no table of figures"
    return 1
  }
  awk -F'\t' '
    function complain(text) { complaints = complaints text "\n" }
    NR == FNR { bound[$1] = $2; next }
    {
      printf "| %s | %d | %s |\n", $1, $2, bound[$1]
      if (!($1 in bound)) complain("ports.md has no row for \"" $1 "\"")
      else if ($2 > bound[$1]) complain($1 " is " $2 ", above the " bound[$1] " of ports.md")
      else if (bound[$1] > $2 * 1.25 + 64) complain($1 " is " $2 ": lower the " bound[$1] " of ports.md")
      seen[$1] = 1
    }
    END {
      for (name in bound) if (!(name in seen)) complain("ports.md has \"" name "\", which is not measured")
      printf "\n%s", complaints
      exit complaints != ""
    }' bounds figures
}

rm -f figures
look_at_modules
look_at_client
look_at_formatter
look_at_stack
"$program" measured
cat measured >>figures
sort -o figures figures
compare
