# SPDX-License-Identifier: MIT
# Completion of qnget for bash. Options and what they take, the commands of the
# settings and their keys are read from the program's help, so that they are those
# of the qnget that is typed.
# shellcheck shell=bash

_qnget_help() { # COMMAND...
  "${COMP_WORDS[0]/#\~\//$HOME/}" "$@" --help 2>/dev/null
}

# Says by name what each option takes, as in [-o]=FILE; nothing for a flag.
_qnget_read_options() {
  local line
  while IFS= read -r line; do
    [[ $line =~ ^\ \ ((-[A-Za-z]),\ )?(--[a-z-]+)(\ ([A-Z:]+))?(\ \ |$) ]] || continue
    takes[${BASH_REMATCH[3]}]=${BASH_REMATCH[5]}
    [[ -z ${BASH_REMATCH[2]} ]] || takes[${BASH_REMATCH[2]}]=${BASH_REMATCH[5]}
  done < <(_qnget_help)
}

# The names below a heading of a help.
_qnget_names() { # HEADING COMMAND...
  local heading=$1
  shift
  _qnget_help "$@" |
    awk -v heading="$heading" 'index($0, heading) == 1 { on = 1 } /^$/ { on = 0 } on && /^  [a-z]/ { print $1 }'
}

# The folder of the settings; --root, if it is among the words, names another.
_qnget_folder() {
  local i folder=${XDG_CONFIG_HOME:-}
  [[ $folder == /* ]] || folder=~/.config
  folder+=/qnget
  for ((i = 1; i + 1 < ${#COMP_WORDS[@]}; i++)); do
    [[ ${COMP_WORDS[i]} == --root ]] || continue
    folder=${COMP_WORDS[i + 1]}
    [[ $folder != "=" ]] || folder=${COMP_WORDS[i + 2]-}
  done
  printf '%s\n' "${folder/#\~\//$HOME/}"
}

_qnget_operators() {
  local file
  for file in "$(_qnget_folder)"/operator-*.ini; do
    file=${file##*/operator-}
    file=${file%.ini}
    # What is proposed is expanded by bash, and anybody may have named a file.
    [[ ! $file =~ ^[A-Za-z0-9_-]+$ ]] || printf '%s\n' "$file"
  done
}

# Words that are no files.
_qnget_reply() { # WORD...
  compopt +o default 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -W "$*" -- "$cur")
}

# What belongs behind an option. Without a reply bash completes a file's name.
_qnget_reply_value() { # WHAT
  case $1 in
    FILE) ;;
    DIR) compopt +o default -o dirnames 2>/dev/null ;;
    METHOD) _qnget_reply GET HEAD POST PUT ;;
    MIBENUM) _qnget_reply 3 4 106 1000 1015 ;;
    NAME) _qnget_reply "$(_qnget_operators)" ;;
    TYPE) _qnget_reply application/vnd.wap.mms-message application/x-www-form-urlencoded ;;
    *) _qnget_reply ;;
  esac
}

# The words before the cursor that are neither options nor their values.
_qnget_read_arguments() {
  local i
  for ((i = 1; i < COMP_CWORD; i++)); do
    if [[ -n ${takes[${COMP_WORDS[i]}]-} ]]; then
      i=$((i + 1))
      [[ ${COMP_WORDS[i]} != "=" ]] || i=$((i + 1))
    elif [[ ${COMP_WORDS[i]} != -* ]]; then
      arguments+=("${COMP_WORDS[i]}")
    fi
  done
}

_qnget() {
  local cur=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} arguments=()
  local -A takes=()
  _qnget_read_options
  _qnget_read_arguments
  # Of "--name=value" bash makes three words.
  if [[ $cur == "=" ]]; then
    cur=''
  elif [[ $before == "=" ]] && ((COMP_CWORD > 2)); then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi

  if [[ -n ${takes[$before]-} ]]; then
    _qnget_reply_value "${takes[$before]}"
  elif [[ $cur == -* && ${arguments[0]-} == config ]]; then
    _qnget_reply --root --operator --help
  elif [[ $cur == -* ]]; then
    _qnget_reply "${!takes[@]}"
  elif [[ ${#arguments[@]} -eq 0 ]]; then
    _qnget_reply config
  elif [[ ${#arguments[@]} -eq 1 && ${arguments[0]} == config ]]; then
    _qnget_reply "$(_qnget_names Commands: config)"
  elif [[ ${#arguments[@]} -eq 2 && ${arguments[*]} =~ ^config\ (set|get|unset)$ ]]; then
    _qnget_reply "$(_qnget_names Keys config set)"
  else
    _qnget_reply
  fi
}

complete -o default -F _qnget qnget
