#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Every sample in the documents and headers is a whole translation unit: the
# blocks that are fenced as c compile as strict C99, those as cpp as C++17.
# usage: samples_compile.sh ROOT CC CXX
set -euo pipefail
cd "$1"
cc=$2 cxx=$3
flags=(-Wall -Wextra -Werror -pedantic -fsyntax-only -Iinclude)

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# The samples of a file, each in one of its own that is named for its line.
extract() { # FILE FOLDER
  awk -v folder="$2" '
    function complain(what) { printf "%s:%d: %s\n", FILENAME, FNR, what; bad = 1 }
    # In a header a sample stands in a comment.
    { text = $0; if (FILENAME !~ /[.]md$/) sub(/^ \* ?/, "", text) }
    !inside && text ~ /^ *(```|[@\\]code)/ {
      inside = FNR; language = ""
      if (text ~ /(```|[{][.])c([}]|$)/) language = "c"
      if (text ~ /(```|[{][.])cpp([}]|$)/) language = "cpp"
      sample = folder "/" FNR "." language
      if (language != "") printf "#line %d \"%s\"\n", FNR + 1, FILENAME >sample
      next
    }
    inside && text ~ /^ *(```|[@\\]endcode)/ { inside = 0; next }
    inside && language != "" { print text >sample }
    inside && language == "" && /fnQN|#include/ { complain("a sample without a language is not compiled") }
    END {
      if (inside) { FNR = inside; complain("a block without an end") }
      exit bad
    }' "$1"
}

compile() { # SAMPLE
  case $1 in
    *.c) "$cc" -std=c99 "${flags[@]}" -x c "$1" ;;
    *) "$cxx" -std=c++17 "${flags[@]}" -x c++ "$1" ;;
  esac
}

failed=0 count=0
while read -r file; do
  folder=$scratch/${file//\//_}
  mkdir "$folder"
  extract "$file" "$folder" || failed=1
  for sample in "$folder"/*; do
    [[ -e $sample ]] || continue
    count=$((count + 1))
    compile "$sample" || failed=1
  done
done < <(find README.md docs include -name '*.md' -o -name '*.h' -o -name '*.hpp' -o -name '*.dox' | sort)
echo "$count samples"
[[ $failed == 0 && $count -gt 0 ]]
