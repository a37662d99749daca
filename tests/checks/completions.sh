#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What a shell's completion proposes is what qnget says of itself: its options,
# methods, character sets, commands and keys; the operators that have settings;
# and files where it takes a file.
# usage: completions.sh bash|zsh QNGET FOLDER
set -euo pipefail
shell=$1 qnget=$(realpath "$2") folder=$(realpath "$3") here=$(realpath "$(dirname "$0")")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export XDG_CONFIG_HOME=$work/home XDG_CACHE_HOME=$work/home
mkdir "$work/home" "$work/files"
cd "$work/files"
touch letter.mms

# Calls the function as bash does. Where it neither replies nor turns that off,
# bash completes files.
propose_bash() { # WORD...
  # shellcheck disable=SC2016  # for the inner bash
  bash -c '
    set -euo pipefail
    compopt() { files=no; }
    files=yes
    source "$0"
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMPREPLY=()
    _qnget
    [[ ${#COMPREPLY[@]} -gt 0 || $files == no ]] || mapfile -t COMPREPLY < <(compgen -f)
    printf "%s\n" "${COMPREPLY[@]}"' "$folder/qnget.bash" "$@"
}

propose_zsh() { # WORD...
  zsh -f "$here/propose.zsh" "$folder" "$*" "$work/zcompdump"
}

failed=0
same() { # WHAT EXPECTED WORD...
  local what=$1 expected=$2 proposed
  shift 2
  case $shell in
    bash) proposed=$(propose_bash "$qnget" "$@") ;;
    zsh) proposed=$(propose_zsh "$qnget" "$@") ;;
  esac
  diff <(tr ' ' '\n' <<<"$expected" | sort -u) <(sort -u <<<"$proposed") || {
    echo "$what: what qnget says (<) is not what $shell proposes (>)"
    failed=1
  }
}

# The names in a part of a help, from its heading to the next empty line.
names() { # HEADING COMMAND...
  local heading=$1
  shift
  "$qnget" "$@" --help |
    awk -v heading="$heading" '$0 == heading { on = 1; next } on && /^$/ { exit } on && /^  [a-z]/ { print $1 }'
}

# The long options, or those of which a pattern matches what follows.
options() { # PATTERN
  "$qnget" --help | grep -oE "^  (-[A-Za-z], )?--[a-z-]+$1" | grep -oE -- '--[a-z-]+'
}

complaint() { # ARGUMENT...
  "$qnget" "$@" http://127.0.0.1:9/ 2>&1 || true
}

same options "$(options "") $("$qnget" --help | grep -oE "^  -[A-Za-z]" | tr -d " ")" -
same methods "$(complaint --method x | grep -oE '[A-Z]{3,}')" --method ''
same "character sets" "$(complaint --charset x | grep -oE '[0-9]+ [(]' | tr -d ' (')" --charset ''
same commands "$(names Commands: config)" config ''
for command in set get unset; do
  same "keys of $command" "$(names 'Keys, each the name of an option:' config set)" config "$command" ''
done
for operator in red blue-2_x; do
  "$qnget" --operator "$operator" config set accept a/b
done
same operators "red blue-2_x" --operator ''
"$qnget" --root "$work/root" --operator green config set accept a/b
same "operators of a root" "green" --root "$work/root" --operator ''
for option in $(options ' FILE'); do
  same "files of $option" letter.mms "$option" ''
done
exit "$failed"
